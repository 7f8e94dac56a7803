// fuzz_scratch.hh --
//
//    A per-process scratch file (and directory) for fuzz targets whose code
//    under test reads or writes files by path; both go when the process
//    ends.

#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace fuzz {

// A scratch path, removed with anything below it when the process ends.
struct ScratchEntry {
   std::string path;
   ~ScratchEntry() {
      std::error_code ec;
      std::filesystem::remove_all(path, ec);
   }
};

inline const std::string &ScratchPath(const char *tag) {
   static const ScratchEntry entry{[tag] {
      std::string templ = std::string("/tmp/trguest-fuzz-") + tag + "-XXXXXX";
      int fd = mkstemp(templ.data());
      if (fd < 0) {
         std::abort();
      }
      close(fd);
      return templ;
   }()};
   return entry.path;
}

// A per-process scratch directory, emptied on each call.
inline const std::string &EmptyScratchDir(const char *tag) {
   static const ScratchEntry entry{[tag] {
      std::string templ = std::string("/tmp/trguest-fuzz-") + tag + "-dir-XXXXXX";
      if (mkdtemp(templ.data()) == nullptr) {
         std::abort();
      }
      return templ;
   }()};
   std::error_code ec;
   for (const auto &item : std::filesystem::directory_iterator(entry.path, ec)) {
      std::filesystem::remove_all(item.path(), ec);
   }
   return entry.path;
}

// Replaces the scratch file's content with the input.
inline const std::string &WriteScratch(const char *tag, const uint8_t *data, size_t size) {
   const std::string &path = ScratchPath(tag);
   FILE *f = std::fopen(path.c_str(), "wb");
   if (f == nullptr || (size > 0 && std::fwrite(data, 1, size, f) != size)) {
      std::abort();
   }
   std::fclose(f);
   return path;
}

}  // namespace fuzz
