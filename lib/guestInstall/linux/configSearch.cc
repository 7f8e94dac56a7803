// configSearch.cc --
//
//    Finding a file by name anywhere on a distribution's disc, as an image
//    or as a tree on the host: a depth-first walk in listing order whose
//    first hit ends the search. Both walks are bounded, as the disc is
//    untrusted: a directory record may point back up the tree, a host tree
//    may hold links to its own ancestors.

#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/stat.h>

#include <trplatform/file.h>
#include <trplatform/util.h>

#include "guestInstall/linux/linuxMediaInt.h"

namespace {

// Nesting below the starting directory that is searched; real discs keep
// their boot configuration three or four levels down.
constexpr unsigned kMaxSearchDepth = 32;
// Directories of an image opened in one search: far more than any disc has,
// few enough that records linking one directory from many places cannot
// make the walk explode.
constexpr unsigned kMaxImageDirectories = 100000;

// The path of name inside dir; a search that starts at the root ("/" or
// none) names its entries "/" + name.
std::string ChildPath(const char *dir, const char *name) {
   if (dir == nullptr || std::strcmp(dir, "/") == 0) {
      return std::string("/") + name;
   }
   return std::string(dir) + "/" + name;
}

bool IsDotName(const char *name) {
   return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

bool SearchDisk(const char *name, const char *dir, unsigned depth, char **path) {
   char **names = nullptr;
   int count = File_ListDirectory(dir != nullptr ? dir : "/", &names);
   if (count < 0) {
      return false;
   }
   bool found = false;
   for (int i = 0; i < count; i++) {
      std::string full = ChildPath(dir, names[i]);
      if (!found && SameNameIgnoringCase(names[i], name)) {
         *path = UtilSafeStrdup0(full.c_str());
         found = true;
      }
      // A plain file lists as nothing; a symbolic link is not followed, as
      // it may lead back up the tree.
      struct stat st;
      if (!found && !IsDotName(names[i]) && depth < kMaxSearchDepth &&
          lstat(full.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
         found = SearchDisk(name, full.c_str(), depth + 1, path);
      }
      std::free(names[i]);
   }
   std::free(names);
   return found;
}

Iso9660DirEntry *SearchIso(Iso9660Image *iso, const char *name, const char *dir, unsigned depth,
                           unsigned *budget, Iso9660DirHandle *dirHandle, char **path) {
   if (*budget == 0) {
      return nullptr;
   }
   (*budget)--;
   Iso9660DirHandle handle;
   if (Iso9660_OpenDir(iso, dir != nullptr ? dir : "/", &handle) != ISO9660_OK) {
      return nullptr;
   }
   auto *entry = static_cast<Iso9660DirEntry *>(UtilSafeMalloc0(sizeof(Iso9660DirEntry)));
   while (Iso9660_ReadDir(iso, handle, entry) == ISO9660_OK) {
      std::string full = ChildPath(dir, entry->name);
      if (SameNameIgnoringCase(entry->name, name)) {
         *dirHandle = handle;
         *path = UtilSafeStrdup0(full.c_str());
         return entry;
      }
      if (entry->isDirectory && !IsDotName(entry->name) && depth < kMaxSearchDepth) {
         Iso9660DirEntry *hit =
            SearchIso(iso, name, full.c_str(), depth + 1, budget, dirHandle, path);
         if (hit != nullptr) {
            Iso9660_CloseDir(iso, handle);
            std::free(entry);
            return hit;
         }
      }
   }
   Iso9660_CloseDir(iso, handle);
   std::free(entry);
   return nullptr;
}

}  // namespace

bool SameNameIgnoringCase(const char *a, const char *b) {
   for (;; a++, b++) {
      char ca = *a >= 'A' && *a <= 'Z' ? static_cast<char>(*a - 'A' + 'a') : *a;
      char cb = *b >= 'A' && *b <= 'Z' ? static_cast<char>(*b - 'A' + 'a') : *b;
      if (ca != cb) {
         return false;
      }
      if (ca == '\0') {
         return true;
      }
   }
}

Bool findFileInDisk(const char *name, const char *dir, char **path) {
   *path = nullptr;
   return name != nullptr && SearchDisk(name, dir, 0, path) ? TRUE : FALSE;
}

Iso9660DirEntry *findFileInIso(Iso9660Image *iso, const char *name, const char *dir,
                               Iso9660DirHandle *dirHandle, char **path) {
   *path = nullptr;
   if (iso == nullptr || name == nullptr) {
      return nullptr;
   }
   unsigned budget = kMaxImageDirectories;
   return SearchIso(iso, name, dir, 0, &budget, dirHandle, path);
}
