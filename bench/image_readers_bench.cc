// image_readers_bench.cc --
//
//    The ISO 9660 and UDF readers doing what a detector does: open an
//    image, look a file up in a directory of two hundred entries, read
//    it whole, close. Reports the bytes each iteration read from the image
//    (the readers' counters) next to the time.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include <trplatform/iso9660.h>
#include <trplatform/udf.h>

#include "media_builder.hh"
#include "udf_builder.hh"

namespace {

constexpr uint64_t kFileBytes = 256 * 1024;

// The two images, built once; a path is empty when its image cannot be.
struct Images {
   trtest::TempDir dir;
   std::string iso, udf;
   Images() {
      trtest::UdfSpec udfSpec;
      trtest::MediaSpec isoSpec;
      for (int i = 0; i <= 200; i++) {
         const bool last = i == 200;
         const std::string path =
            last ? "sources/install.wim" : "sources/entry" + std::to_string(i) + ".txt";
         const std::string data = last ? std::string(kFileBytes, 'w') : "x";
         udfSpec.files.push_back({path, data});
         isoSpec.files.push_back({path, data});
      }
      if (trtest::BuildUdfImage(dir.file("bench.udf"), udfSpec)) udf = dir.file("bench.udf");
      if (trtest::CanBuild(isoSpec.format)) iso = trtest::BuildImage(dir, isoSpec, "bench.iso");
   }
};

// Opens the image, finds sources/install.wim and reads it whole; its size.
uint64_t IsoFindAndRead(const std::string &path) {
   uint32_t formats = 0;
   Iso9660Image *img = nullptr;
   Iso9660_ListFormats(path.c_str(), &formats);
   if (Iso9660_Open(path.c_str(), formats, 0, &img) != ISO9660_OK) return 0;
   Iso9660DirHandle d;
   Iso9660DirEntry e;
   Iso9660FileHandle f;
   uint64_t got = 0;
   bool found = false;
   if (Iso9660_OpenDir(img, "sources", &d) == ISO9660_OK) {
      while (!found && Iso9660_ReadDir(img, d, &e) == ISO9660_OK) {
         found = std::strcmp(e.name, "install.wim") == 0;
      }
      if (found && Iso9660_OpenFile(img, &e, &f) == ISO9660_OK) {
         char buf[2048];
         uint32_t n = sizeof buf;
         for (; Iso9660_ReadFile(img, f, buf, &n) == ISO9660_OK; n = sizeof buf) got += n;
         Iso9660_CloseFile(img, f);
      }
      Iso9660_CloseDir(img, d);
   }
   Iso9660_Close(img);
   return got;
}

// The same through the UDF reader.
uint64_t UdfFindAndRead(const std::string &path) {
   UDFImage *udf = UDF_Open(path.c_str());
   UDFDir *d = udf != nullptr ? UDF_OpenDir(udf, nullptr, "sources") : nullptr;
   UDFFile *f = d != nullptr ? UDF_OpenFile(udf, d, "install.wim") : nullptr;
   char *data = nullptr;
   const uint64_t got = f != nullptr && UDF_ReadFile(f, &data) ? kFileBytes : 0;
   std::free(data);
   UDF_CloseFile(f);
   UDF_CloseDir(d);
   UDF_Close(udf);
   return got;
}

// One reader over its image, failing when it does not find the whole file.
void BM_FindAndRead(benchmark::State &state, std::string Images::*image,
                    uint64_t (*findAndRead)(const std::string &), uint64_t (*bytesRead)(),
                    void (*reset)()) {
   static const Images images;
   const std::string &path = images.*image;
   if (path.empty()) {
      state.SkipWithError("cannot build the image");
      return;
   }
   reset();
   for (auto _ : state) {
      if (findAndRead(path) != kFileBytes) {
         state.SkipWithError("install.wim not found or not read whole");
         return;
      }
   }
   state.counters["imageBytesPerIter"] =
      benchmark::Counter(static_cast<double>(bytesRead()), benchmark::Counter::kAvgIterations);
}
BENCHMARK_CAPTURE(BM_FindAndRead, iso, &Images::iso, IsoFindAndRead, Iso9660_GetBytesRead,
                  Iso9660_ResetBytesRead);
BENCHMARK_CAPTURE(BM_FindAndRead, udf, &Images::udf, UdfFindAndRead, UDF_GetBytesRead,
                  UDF_ResetBytesRead);

}  // namespace
