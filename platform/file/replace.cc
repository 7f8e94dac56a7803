// replace.cc --
//
//    Replacing a file's contents atomically: the new contents go to a
//    temporary file in the target's directory, which is synced and then
//    renamed over the target. A reader (or a crash) sees the old file or the
//    whole new one, never a part. Every writer of whole host files uses this.

#include <trplatform/file.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <trplatform/util.h>

#include "file/replace.hh"

namespace {

// Mode of a file that did not exist before.
constexpr mode_t kNewFileMode = 0644;
// As many links as the kernel follows in one lookup.
constexpr int kMaxLinkHops = 40;

std::string DirOf(const std::string &path) {
   size_t slash = path.rfind('/');
   if (slash == std::string::npos) {
      return ".";
   }
   return slash == 0 ? "/" : path.substr(0, slash);
}

// The file a write to path lands on: path itself, or when path is a
// symbolic link, the file at the end of its chain (which may not exist
// yet). Replacing the link itself would turn it into a plain file and
// leave its target stale. Returns "" for a loop or an unreadable link.
std::string WriteTarget(const char *path) {
   std::string p(path);
   for (int hop = 0; hop <= kMaxLinkHops; hop++) {
      struct stat st;
      if (lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) {
         return p;
      }
      char buf[PATH_MAX];
      ssize_t n = readlink(p.c_str(), buf, sizeof buf);
      if (n <= 0 || static_cast<size_t>(n) >= sizeof buf) {
         return "";
      }
      std::string link(buf, static_cast<size_t>(n));
      p = link[0] == '/' ? link : DirOf(p) + "/" + link;
   }
   return "";
}

// Makes the rename itself durable. Some file systems cannot sync a
// directory (EINVAL); the file is in place then, which is all they offer.
bool SyncDir(const std::string &dir) {
   int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
   if (fd < 0) {
      return false;
   }
   bool ok = ::fsync(fd) == 0 || errno == EINVAL;
   ::close(fd);
   return ok;
}

// Gives the temporary file the target's mode and, when this process may,
// its owner and group (or 0644 for a new file), and syncs its data.
bool PrepareForCommit(int fd, const std::string &target) {
   struct stat st;
   mode_t mode = kNewFileMode;
   if (stat(target.c_str(), &st) == 0) {
      mode = st.st_mode & 07777;
      struct stat own;
      if (fstat(fd, &own) == 0 && (own.st_uid != st.st_uid || own.st_gid != st.st_gid) &&
          fchown(fd, st.st_uid, st.st_gid) != 0) {
         // Not allowed to give the file away: at least keep the group when
         // the caller belongs to it. Either failure leaves a file the
         // caller owns, as a plain rewrite by the caller would.
         (void)!fchown(fd, static_cast<uid_t>(-1), st.st_gid);
      }
   } else if (errno != ENOENT) {
      return false;
   }
   // After the change of owner, which clears set-id bits.
   return fchmod(fd, mode) == 0 && ::fsync(fd) == 0;
}

}  // namespace

extern "C" {

TRPLATFORM_API char *File_MakeTempBeside(const char *path) noexcept {
   if (path == nullptr || *path == '\0') {
      return nullptr;
   }
   std::string target = WriteTarget(path);
   if (target.empty()) {
      return nullptr;
   }
   // A short name of its own: a target name of 255 bytes leaves no room
   // for a suffix. Hidden, so that directory walks pass it by.
   std::string tmp = DirOf(target) + "/.trtmp-XXXXXX";
   int fd = mkostemp(tmp.data(), O_CLOEXEC);
   if (fd < 0) {
      return nullptr;
   }
   ::close(fd);
   return UtilSafeStrdup0(tmp.c_str());
}

TRPLATFORM_API Bool File_CommitTemp(const char *tempPath, const char *path) noexcept {
   if (tempPath == nullptr) {
      return FALSE;
   }
   std::string target = path != nullptr && *path != '\0' ? WriteTarget(path) : "";
   bool ok = !target.empty();
   if (ok) {
      int fd = ::open(tempPath, O_RDWR | O_CLOEXEC | O_NOFOLLOW);
      ok = fd >= 0 && PrepareForCommit(fd, target);
      ok = (fd < 0 || ::close(fd) == 0) && ok;
   }
   ok = ok && ::rename(tempPath, target.c_str()) == 0;
   if (!ok) {
      ::unlink(tempPath);
      return FALSE;
   }
   return SyncDir(DirOf(target)) ? TRUE : FALSE;
}

TRPLATFORM_API Bool File_ReplaceContents(const char *path, const void *data,
                                         size_t size) noexcept {
   if (path == nullptr || (data == nullptr && size != 0)) {
      return FALSE;
   }
   return trp::ReplaceFileWith(path, [&](int fd) { return trp::WriteAll(fd, data, size); }) ? TRUE
                                                                                       : FALSE;
}

}  // extern "C"

namespace trp {

bool WriteAll(int fd, const void *data, size_t size) {
   const char *bytes = static_cast<const char *>(data);
   for (size_t done = 0; done < size;) {
      ssize_t n = ::write(fd, bytes + done, size - done);
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n <= 0) {
         return false;
      }
      done += static_cast<size_t>(n);
   }
   return true;
}

bool ReplaceFileWith(const char *path, const std::function<bool(int fd)> &write) {
   char *tmp = File_MakeTempBeside(path);
   if (tmp == nullptr) {
      return false;
   }
   int fd = ::open(tmp, O_WRONLY | O_CLOEXEC | O_NOFOLLOW);
   bool ok = fd >= 0 && write(fd);
   ok = (fd < 0 || ::close(fd) == 0) && ok;
   if (ok) {
      ok = File_CommitTemp(tmp, path) != FALSE;
   } else {
      ::unlink(tmp);
   }
   std::free(tmp);
   return ok;
}

}  // namespace trp
