// udf_fuzzer.cc --
//
//    Untrusted UDF images: open, walk every directory to a bounded depth,
//    open and read every entry.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <trplatform/udf.h>

#include "fuzz_scratch.hh"

namespace {

void Walk(UDFImage *udf, UDFDir *dir, int depth, int *budget) {
   std::vector<std::string> subdirs;
   while (*budget > 0) {
      const char *name = UDF_ReadDir(dir);
      if (name == nullptr) {
         break;
      }
      (*budget)--;
      std::string n = name;
      if (UDF_IsDirEntryDirectory(dir)) {
         subdirs.push_back(n);
      }
      UDFFile *f = UDF_OpenFile(udf, dir, n.c_str());
      if (f != nullptr) {
         char *buf = nullptr;
         if (UDF_GetFileSize(f) < (1u << 24) && UDF_ReadFile(f, &buf)) {
            std::free(buf);
         }
         UDF_CloseFile(f);
      }
   }
   UDF_RewindDir(dir);
   if (depth >= 6) {
      return;
   }
   for (const std::string &s : subdirs) {
      UDFDir *child = UDF_OpenDir(udf, dir, s.c_str());
      if (child != nullptr) {
         Walk(udf, child, depth + 1, budget);
         UDF_CloseDir(child);
      }
   }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   const std::string &path = fuzz::WriteScratch("udf", data, size);
   UDFImage *udf = UDF_Open(path.c_str());
   if (udf == nullptr) {
      return 0;
   }
   UDFDir *root = UDF_OpenDir(udf, nullptr, "/");
   if (root != nullptr) {
      int budget = 2000;
      Walk(udf, root, 0, &budget);
      UDF_CloseDir(root);
   }
   UDF_Close(udf);
   return 0;
}
