// log.cc --
//
//    The product log: one line per call, appended to the file that
//    TRGUEST_LOG names, else written to stderr.

#include <trplatform/log.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

void WriteAll(int fd, const char *data, size_t len) {
   while (len > 0) {
      ssize_t n = ::write(fd, data, len);
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n <= 0) {
         return;
      }
      data += n;
      len -= static_cast<size_t>(n);
   }
}

// Writes one line: the text, with a line feed added when it has none. The
// log file is opened for appending on every call and the line goes out in
// one write, so lines of several threads or processes never interleave
// within a line, and a log file that is rotated or removed is simply
// created again.
void EmitLine(const char *text, size_t len) {
   const char *path = std::getenv("TRGUEST_LOG");
   int fd = STDERR_FILENO;
   bool own = false;
   if (path != nullptr && *path != '\0') {
      int f = ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
      if (f >= 0) {
         fd = f;
         own = true;
      }
   }
   WriteAll(fd, text, len);
   if (own) {
      ::close(fd);
   }
}

TR_PRINTF(1, 0) void FormatAndEmit(const char *fmt, va_list args) {
   char stackBuf[4096];
   va_list copy;
   va_copy(copy, args);
   int n = std::vsnprintf(stackBuf, sizeof stackBuf - 1, fmt, copy);
   va_end(copy);
   if (n < 0) {
      return;
   }
   char *text = stackBuf;
   char *heap = nullptr;
   size_t len = static_cast<size_t>(n);
   if (len >= sizeof stackBuf - 1) {
      // Long line: format it whole on the heap; without memory, log it cut.
      heap = static_cast<char *>(std::malloc(len + 2));
      if (heap != nullptr) {
         std::vsnprintf(heap, len + 1, fmt, args);
         text = heap;
      } else {
         len = sizeof stackBuf - 2;
      }
   }
   if (len == 0 || text[len - 1] != '\n') {
      text[len++] = '\n';
   }
   EmitLine(text, len);
   std::free(heap);
}

}  // namespace

extern "C" {

TRPLATFORM_API void LogV(const char *fmt, va_list args) noexcept {
   FormatAndEmit(fmt, args);
}

TRPLATFORM_API void Log(const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   FormatAndEmit(fmt, args);
   va_end(args);
}

TRPLATFORM_API void Warning(const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   FormatAndEmit(fmt, args);
   va_end(args);
}

TRPLATFORM_API void Panic(const char *fmt, ...) noexcept {
   static thread_local bool inPanic = false;
   if (!inPanic) {
      inPanic = true;
      va_list args;
      va_start(args, fmt);
      FormatAndEmit(fmt, args);
      va_end(args);
   }
   std::abort();
}

}  // extern "C"
