// fuzz_scratch.hh --
//
//    A per-process scratch file for fuzz targets whose code under test
//    reads files by path.

#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace fuzz {

// The scratch file's name, kept in plain storage so that it is still there
// when the exit handler removes the file.
inline char *ScratchName() {
   static char name[256];
   return name;
}

inline void RemoveScratch() {
   if (ScratchName()[0] != '\0') {
      unlink(ScratchName());
   }
}

// The file is removed when the process exits normally, so that replays
// leave nothing behind in /tmp.
inline const std::string &ScratchPath(const char *tag) {
   static const std::string path = [tag] {
      std::string templ = std::string("/tmp/trguest-fuzz-") + tag + "-XXXXXX";
      int fd = mkstemp(templ.data());
      if (fd < 0 || templ.size() >= 256) {
         std::abort();
      }
      close(fd);
      templ.copy(ScratchName(), templ.size());
      std::atexit(RemoveScratch);
      return templ;
   }();
   return path;
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
