// iso9660_fuzzer.cc --
//
//    Untrusted ISO 9660 images: open through each name space, walk every
//    directory to a bounded depth, read every file, get the volume id;
//    extract the whole tree (Rock Ridge names) and one file of the root.
//    However the records repeat data, an extraction writes no more than
//    eight times the image's size.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <trplatform/iso9660.h>

#include "fuzz_scratch.hh"

namespace {

void Walk(Iso9660Image *img, const std::string &path, int depth, int *budget) {
   Iso9660DirHandle d;
   if (depth > 6 || Iso9660_OpenDir(img, path.c_str(), &d) != ISO9660_OK) {
      return;
   }
   Iso9660DirEntry e;
   while (*budget > 0 && Iso9660_ReadDir(img, d, &e) == ISO9660_OK) {
      (*budget)--;
      Iso9660FileHandle f;
      if (Iso9660_OpenFile(img, &e, &f) == ISO9660_OK) {
         char buf[4096];
         uint32_t count = sizeof buf;
         uint64_t total = 0;
         while (total < (1u << 20) && Iso9660_ReadFile(img, f, buf, &count) == ISO9660_OK) {
            total += count;
            count = sizeof buf;
         }
         Iso9660_CloseFile(img, f);
      }
      if (e.isDirectory) {
         Walk(img, path + "/" + e.name, depth + 1, budget);
      }
   }
   Iso9660_RewindDir(img, d);
   Iso9660_CloseDir(img, d);
}

// Bytes of the regular files below dir.
uint64_t BytesBelow(const std::string &dir) {
   uint64_t total = 0;
   std::error_code ec;
   for (auto it = std::filesystem::recursive_directory_iterator(dir, ec);
        !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
      if (it->is_regular_file(ec)) {
         total += it->file_size(ec);
      }
   }
   return total;
}

void CheckWritten(const std::string &dir, size_t inputSize) {
   if (BytesBelow(dir) > 8 * static_cast<uint64_t>(inputSize)) {
      std::abort();
   }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   const std::string &path = fuzz::WriteScratch("iso", data, size);
   uint32_t formats = 0;
   Iso9660_ListFormats(path.c_str(), &formats);
   for (uint32_t requested : {1u, 2u, 4u}) {
      Iso9660Image *img = nullptr;
      if (Iso9660_Open(path.c_str(), requested, 0, &img) != ISO9660_OK) {
         continue;
      }
      int budget = 2000;
      Walk(img, "", 0, &budget);
      char *label = nullptr;
      if (Iso9660_GetVolumeId(img, &label) == ISO9660_OK) {
         std::free(label);
      }
      if (requested == 4) {
         const std::string &out = fuzz::EmptyScratchDir("iso");
         Iso9660_Extract(img, "/", out.c_str());
         CheckWritten(out, size);
         Iso9660DirHandle d;
         Iso9660DirEntry e;
         if (Iso9660_OpenDir(img, "", &d) == ISO9660_OK) {
            if (Iso9660_ReadDir(img, d, &e) == ISO9660_OK) {
               const std::string &one = fuzz::EmptyScratchDir("iso");
               Iso9660_ExtractFileEx(img, e.name, (one + "/one").c_str());
               Iso9660_Extract(img, e.name, one.c_str());
               CheckWritten(one, size);
            }
            Iso9660_CloseDir(img, d);
         }
      }
      Iso9660_Close(img);
   }
   return 0;
}
