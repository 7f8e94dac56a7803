// file.cc --
//
//    Host path helpers and whole-file operations.

#include <trplatform/file.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <trplatform/util.h>

#include "file/regularfile.hh"
#include "file/replace.hh"

namespace {

char *Dup(std::string_view s) {
   return UtilSafeStrndup0(s.empty() ? "" : s.data(), s.size());
}

bool CopyContents(int from, int to) {
   char buf[65536];
   for (;;) {
      ssize_t n = ::read(from, buf, sizeof buf);
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n < 0) {
         return false;
      }
      if (n == 0) {
         return true;
      }
      if (!trp::WriteAll(to, buf, static_cast<size_t>(n))) {
         return false;
      }
   }
}

int RemoveEntry(const char *path, const struct stat *, int type, struct FTW *) {
   int rc = type == FTW_DP ? ::rmdir(path) : ::unlink(path);
   return rc == 0 || errno == ENOENT ? 0 : -1;
}

}  // namespace

extern "C" {

TRPLATFORM_API Bool File_Exists(const char *path) noexcept {
   struct stat st;
   return path != nullptr && lstat(path, &st) == 0 ? TRUE : FALSE;
}

TRPLATFORM_API Bool File_IsDirectory(const char *path) noexcept {
   struct stat st;
   return path != nullptr && stat(path, &st) == 0 && S_ISDIR(st.st_mode) ? TRUE : FALSE;
}

TRPLATFORM_API Bool File_IsFile(const char *path) noexcept {
   struct stat st;
   return path != nullptr && stat(path, &st) == 0 && S_ISREG(st.st_mode) ? TRUE : FALSE;
}

TRPLATFORM_API int64_t File_GetSize(const char *path) noexcept {
   struct stat st;
   if (path == nullptr || stat(path, &st) != 0) {
      return -1;
   }
   return static_cast<int64_t>(st.st_size);
}

TRPLATFORM_API char *File_PathJoin(const char *dir, const char *name) noexcept {
   std::string out(dir);
   if (out.empty() || out.back() != '/') {
      out.push_back('/');
   }
   out.append(name);
   return Dup(out);
}

TRPLATFORM_API void File_GetPathName(const char *path, char **dir, char **base) noexcept {
   std::string_view p(path);
   size_t slash = p.rfind('/');
   std::string_view d, b;
   if (slash == std::string_view::npos) {
      b = p;
   } else {
      d = slash == 0 ? p.substr(0, 1) : p.substr(0, slash);
      b = p.substr(slash + 1);
   }
   if (dir != nullptr) {
      *dir = Dup(d);
   }
   if (base != nullptr) {
      *base = Dup(b);
   }
}

TRPLATFORM_API void File_SplitName(const char *path, char **volume, char **dir,
                                   char **base) noexcept {
   std::string_view p(path);
   size_t slash = p.rfind('/');
   std::string_view d = slash == std::string_view::npos ? std::string_view() : p.substr(0, slash + 1);
   std::string_view b = slash == std::string_view::npos ? p : p.substr(slash + 1);
   if (volume != nullptr) {
      *volume = Dup("");
   }
   if (dir != nullptr) {
      *dir = Dup(d);
   }
   if (base != nullptr) {
      *base = Dup(b);
   }
}

TRPLATFORM_API Bool File_CopyFromNameToName(const char *src, const char *dst,
                                            int overwrite) noexcept {
   if (src == nullptr || dst == nullptr) {
      return FALSE;
   }
   if (!overwrite && File_Exists(dst)) {
      return FALSE;
   }
   struct stat st;
   auto opened = trp::OpenRegularFile(src, O_RDONLY | O_CLOEXEC, &st);
   if (!opened) {
      return FALSE;
   }
   const int from = *opened;
   bool ok = trp::ReplaceFileWith(dst, [from](int to) { return CopyContents(from, to); });
   ::close(from);
   return ok ? TRUE : FALSE;
}

TRPLATFORM_API Bool File_CreateDirectory(const char *path) noexcept {
   if (path == nullptr) {
      return FALSE;
   }
   if (::mkdir(path, 0755) == 0) {
      return TRUE;
   }
   return errno == EEXIST && File_IsDirectory(path) ? TRUE : FALSE;
}

TRPLATFORM_API Bool File_CreateDirectoryHierarchy(const char *path) noexcept {
   if (path == nullptr || *path == '\0') {
      return FALSE;
   }
   std::string p(path);
   for (size_t i = 1; i <= p.size(); i++) {
      if (i == p.size() || p[i] == '/') {
         std::string prefix = p.substr(0, i);
         if (::mkdir(prefix.c_str(), 0755) != 0 && errno != EEXIST) {
            return FALSE;
         }
      }
   }
   return File_IsDirectory(path);
}

TRPLATFORM_API int File_ListDirectory(const char *dir, char ***names) noexcept {
   if (names != nullptr) {
      *names = nullptr;
   }
   DIR *d = dir != nullptr ? opendir(dir) : nullptr;
   if (d == nullptr) {
      return -1;
   }
   std::vector<std::string> list;
   errno = 0;
   struct dirent *e;
   while ((e = readdir(d)) != nullptr) {
      if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) {
         list.emplace_back(e->d_name);
      }
   }
   bool failed = errno != 0;
   closedir(d);
   if (failed) {
      return -1;
   }
   std::sort(list.begin(), list.end());
   if (names != nullptr) {
      char **out = static_cast<char **>(UtilSafeCalloc0(list.size() + 1, sizeof(char *)));
      for (size_t i = 0; i < list.size(); i++) {
         out[i] = Dup(list[i]);
      }
      *names = out;
   }
   return static_cast<int>(list.size());
}

TRPLATFORM_API Bool File_DeleteDirectoryTree(const char *dir) noexcept {
   if (dir == nullptr) {
      return FALSE;
   }
   struct stat st;
   if (lstat(dir, &st) != 0) {
      return errno == ENOENT ? TRUE : FALSE;
   }
   if (!S_ISDIR(st.st_mode)) {
      return FALSE;
   }
   // Depth first, never following symbolic links.
   if (nftw(dir, RemoveEntry, 32, FTW_DEPTH | FTW_PHYS) != 0) {
      return FALSE;
   }
   return File_Exists(dir) ? FALSE : TRUE;
}

TRPLATFORM_API Bool File_DeleteEmptyDirectory(const char *dir) noexcept {
   return dir != nullptr && ::rmdir(dir) == 0 ? TRUE : FALSE;
}

TRPLATFORM_API int File_UnlinkIfExists(const char *path) noexcept {
   if (path == nullptr) {
      return EINVAL;
   }
   if (::unlink(path) == 0 || errno == ENOENT) {
      return 0;
   }
   return errno;
}

// A directory of the current user only: created with mode 0700 and, when
// it already exists, accepted only if it is a real directory owned by the
// user and closed to others. Otherwise (someone else made it first) a fresh
// directory with a random name is made instead.
TRPLATFORM_API char *File_GetSafeTmpDir(Bool) noexcept {
   const char *env = std::getenv("TMPDIR");
   std::string base = env != nullptr && *env != '\0' ? env : "/tmp";
   std::string dir = base + "/trguest-" + std::to_string(getuid());
   if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
      return nullptr;
   }
   struct stat st;
   if (lstat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == getuid() &&
       (st.st_mode & 077) == 0) {
      return Dup(dir);
   }
   std::string templ = dir + "-XXXXXX";
   if (mkdtemp(templ.data()) == nullptr) {
      return nullptr;
   }
   return Dup(templ);
}

}  // extern "C"
