// toolsCacheFile.cc --
//
//    Temporary files beside a target and their commit by rename (see
//    toolsCacheFile.hh).

#include "toolsCacheFile.hh"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <trplatform/util.h>

namespace trguest::tools {

namespace {

std::string DirectoryOf(const std::string &path) {
   size_t slash = path.rfind('/');
   if (slash == std::string::npos) {
      return ".";
   }
   return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

char *MakeTempBeside(const char *path) noexcept {
   std::string name = DirectoryOf(path) + "/.trtools-XXXXXX";
   int fd = mkstemp(name.data());
   if (fd < 0) {
      return nullptr;
   }
   ::close(fd);
   return UtilSafeStrdup0(name.c_str());
}

bool CommitTemp(const char *tempPath, const char *path) noexcept {
   int fd = ::open(tempPath, O_RDONLY | O_CLOEXEC);
   bool ok = fd >= 0 && ::fchmod(fd, 0644) == 0 && ::fsync(fd) == 0;
   if (fd >= 0) {
      ::close(fd);
   }
   ok = ok && std::rename(tempPath, path) == 0;
   if (!ok) {
      ::unlink(tempPath);
      return false;
   }
   int dirFd = ::open(DirectoryOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
   if (dirFd >= 0) {
      ::fsync(dirFd);
      ::close(dirFd);
   }
   return true;
}

}  // namespace trguest::tools
