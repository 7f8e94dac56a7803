// regularfile.cc --
//
//    Opening a host path only when it names a regular file (see
//    internal/regularfile.hh).

#include "file/regularfile.hh"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace trp {

Result<int, OpenRegularError> OpenRegularFile(const char *path, int flags, struct stat *st,
                                              mode_t mode) {
   int fd;
   do {
      fd = ::open(path, flags | O_NONBLOCK, mode);
   } while (fd < 0 && errno == EINTR);
   if (fd < 0) {
      return Err{OpenRegularError::kCannotOpen};
   }
   const int status = fcntl(fd, F_GETFL);
   if (fstat(fd, st) != 0 || !S_ISREG(st->st_mode) || status < 0 ||
       fcntl(fd, F_SETFL, status & ~O_NONBLOCK) != 0) {
      ::close(fd);
      return Err{OpenRegularError::kNotRegular};
   }
   return fd;
}

}  // namespace trp
