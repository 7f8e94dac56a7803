// textfile.cc --
//
//    Reading a whole, bounded text file (see internal/textfile.hh).

#include "file/textfile.hh"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "file/regularfile.hh"

namespace trp {

bool ReadTextFile(const char *path, size_t maxSize, std::string *text, TextFileError *error) {
   struct stat st;
   auto opened = OpenRegularFile(path, O_RDONLY | O_CLOEXEC, &st);
   if (!opened) {
      *error = opened.error() == OpenRegularError::kCannotOpen ? TextFileError::kCannotOpen
                                                               : TextFileError::kNotRegular;
      return false;
   }
   const int fd = *opened;
   if (static_cast<uint64_t>(st.st_size) > maxSize) {
      close(fd);
      *error = TextFileError::kTooLarge;
      return false;
   }
   text->clear();
   char buf[65536];
   for (;;) {
      ssize_t n = read(fd, buf, sizeof buf);
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n < 0) {
         int saved = errno;
         close(fd);
         errno = saved;
         *error = TextFileError::kReadError;
         return false;
      }
      if (n == 0) {
         break;
      }
      if (static_cast<size_t>(n) > maxSize - text->size()) {
         close(fd);
         *error = TextFileError::kTooLarge;
         return false;
      }
      text->append(buf, static_cast<size_t>(n));
   }
   close(fd);
   return true;
}

}  // namespace trp
