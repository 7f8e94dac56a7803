// iniWrite.cc --
//
//    Setting one value in an INI file: IniUtil_WriteIniFileString and
//    IniUtil_WriteIniFileInt.
//
//    The whole new text is assembled in a fixed working buffer first; the
//    file is replaced only when that succeeded, atomically
//    (File_ReplaceContents), so that a process that dies, or a disk that
//    fills, while writing leaves the old file as it was.

#include <trguest/iniutil.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>

#include <trplatform/file.h>
#include <trplatform/str.h>
#include <trplatform/util.h>

#include "iniLines.hh"

namespace {

using namespace trguest::ini;

constexpr size_t kWorkingBufferSize = 524288;
// Assembled text beyond which no further line is taken: the margin holds
// one line read plus one line added.
constexpr size_t kMaxAssembled = kWorkingBufferSize - 2048;
// A rewritten value is cut so that the rewritten line, with its quotes,
// line feed and NUL, fits the line buffer.
constexpr size_t kRewriteBudget = kLineBufferSize - 4;

struct FileCloser {
   void operator()(std::FILE *f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

struct FreeDeleter {
   void operator()(char *p) const { std::free(p); }
};

// The text of the new file, in the zero-filled working buffer.
class Assembly {
public:
   Assembly() : buf_(static_cast<char *>(UtilSafeMalloc0(kWorkingBufferSize))) {}

   size_t size() const { return size_; }
   std::string_view text() const { return std::string_view(buf_.get(), size_); }
   bool full() const { return size_ > kMaxAssembled; }

   // Appends bytes as they are; false when the buffer cannot hold them.
   bool append(std::string_view bytes) {
      if (bytes.size() > kWorkingBufferSize - size_) {
         return false;
      }
      if (bytes.empty()) {
         return true;
      }
      std::memcpy(buf_.get() + size_, bytes.data(), bytes.size());
      size_ += bytes.size();
      return true;
   }

   // Appends a line that the writer makes. A file whose last line has no
   // line end would otherwise run on into it, so one is added first.
   bool appendNewLine(std::string_view line) {
      if (size_ > 0 && buf_.get()[size_ - 1] != '\n' && !append("\n")) {
         return false;
      }
      return append(line);
   }

private:
   std::unique_ptr<char, FreeDeleter> buf_;
   size_t size_ = 0;
};

// Formats a line the writer adds, cut to the line buffer; the cut keeps
// the line feed, since every line the writer adds ends with one.
TR_PRINTF(1, 2) std::string FormatAddedLine(const char *fmt, ...) {
   char line[kLineBufferSize];
   va_list args;
   va_start(args, fmt);
   Str_Vsnprintf(line, sizeof line, fmt, args);
   va_end(args);
   size_t len = std::strlen(line);
   if (len > 0 && line[len - 1] != '\n') {
      line[len - 1] = '\n';
   }
   return std::string(line, len);
}

std::string NewEntryLine(const char *key, const char *value, Bool quote) {
   if (*value == '\0') {
      return FormatAddedLine("%s\n", key);
   }
   return quote ? FormatAddedLine("%s=\"%s\"\n", key, value)
                : FormatAddedLine("%s=%s\n", key, value);
}

std::string NewHeaderLine(const char *section) {
   return FormatAddedLine("[%s]\n", section);
}

// The matching entry line with its value replaced. Everything up to and
// including the "=" stays (indentation included); a line without "=" keeps
// its key and gains one.
std::string RewriteEntryLine(std::string_view line, const EntryLine &entry, const char *value,
                             Bool quote) {
   std::string out;
   if (entry.hasEquals) {
      out.assign(line.substr(0, entry.valueStart));
   } else {
      out.assign(line.substr(0, entry.indent + entry.key.size()));
      out.push_back('=');
   }
   size_t budget = out.size() < kRewriteBudget ? kRewriteBudget - out.size() : 0;
   std::string_view v(value);
   v = v.substr(0, budget);
   if (quote) {
      out.push_back('"');
   }
   out.append(v);
   if (quote) {
      out.push_back('"');
   }
   out.push_back('\n');
   return out;
}

// Reads the file and assembles its new text. False when the file cannot be
// read, holds a header without "]", or grows beyond the working buffer.
bool AssembleNewText(const char *path, const char *section, const char *key, const char *value,
                     Bool quote, Assembly *out) {
   FilePtr file(OpenRegularFile(path));
   if (!file) {
      return false;
   }
   const std::string entryLine = NewEntryLine(key, value, quote);
   char buf[kLineBufferSize];
   bool inSection = false;
   bool written = false;
   size_t n;
   while ((n = ReadLine(file.get(), buf)) > 0) {
      if (out->full()) {
         return false;
      }
      std::string_view raw(buf, n);
      // Keys and headers are looked at as text, up to any NUL byte; the
      // line itself is copied whole.
      std::string_view line(buf, std::strlen(buf));

      if (buf[0] == ';') {
         if (!out->append(raw)) return false;
         continue;
      }
      if (buf[0] == '[') {
         if (inSection && !written) {
            // The requested section ends here without the key.
            if (!out->appendNewLine(entryLine)) return false;
            written = true;
         }
         std::string_view name;
         if (!SectionName(line, &name)) {
            return false;
         }
         inSection = EqualsCaseless(name, section);
         if (!out->append(raw)) return false;
         continue;
      }
      if (inSection) {
         EntryLine entry = SplitEntry(line);
         if (EqualsCaseless(entry.key, key)) {
            // Every matching line of the section gets the new value.
            if (!out->append(RewriteEntryLine(line, entry, value, quote))) return false;
            written = true;
            continue;
         }
      }
      if (!out->append(raw)) return false;
   }
   if (std::ferror(file.get())) {
      return false;
   }
   // An entry already set (in place, or before the header that ended its
   // section) is not added a second time at the end, also when the file
   // ends in another section: one set, one entry.
   if (!written) {
      if (out->full()) {
         return false;
      }
      if (!inSection && !out->appendNewLine(NewHeaderLine(section))) {
         return false;
      }
      if (!out->appendNewLine(entryLine)) {
         return false;
      }
   }
   return true;
}

// Whether text is given and holds no CR or LF.
bool IsOneLine(const char *text) {
   return text != nullptr && std::strpbrk(text, "\r\n") == nullptr;
}

// Replaces the file at path by text (atomically, keeping its mode; a
// symbolic link stays a link and its target is rewritten).
bool ReplaceFile(const char *path, std::string_view text) {
   // The rename would replace a file that the caller may not write (a
   // read-only answer file); refuse it as an open for writing would.
   if (access(path, W_OK) != 0) {
      return false;
   }
   return File_ReplaceContents(path, text.data(), text.size()) != FALSE;
}

}  // namespace

extern "C" {

TRGUEST_API Bool IniUtil_WriteIniFileString(const char *path, const char *section,
                                            const char *key, const char *value,
                                            Bool quote) noexcept {
   // A line break in any of the texts would end the line the writer adds
   // and start another one of the caller's choosing (a password that opens
   // a new section): refused before the file is read.
   if (path == nullptr || !IsOneLine(section) || !IsOneLine(key) || !IsOneLine(value)) {
      return FALSE;
   }
   Assembly text;
   if (!AssembleNewText(path, section, key, value, quote, &text)) {
      return FALSE;
   }
   return ReplaceFile(path, text.text()) ? TRUE : FALSE;
}

TRGUEST_API Bool IniUtil_WriteIniFileInt(const char *path, const char *section, const char *key,
                                         int32_t value) noexcept {
   char text[64] = "";
   if (std::snprintf(text, sizeof text, "%d", value) < 0) {
      return FALSE;
   }
   return IniUtil_WriteIniFileString(path, section, key, text, FALSE);
}

}  // extern "C"
