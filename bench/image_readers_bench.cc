// image_readers_bench.cc --
//
//    The ISO 9660 and UDF readers doing what a detector does: open an
//    image, look a file up in a directory of two hundred entries, read
//    it whole, close. Reports the bytes each iteration read from the image
//    (the readers' counters) next to the time.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <trplatform/iso9660.h>
#include <trplatform/udf.h>

#include "media_builder.hh"
#include "testsupport.hh"
#include "udf_builder.hh"

namespace {

constexpr int kEntries = 200;
constexpr size_t kFileBytes = 256 * 1024;

struct Images {
   trtest::TempDir dir;
   std::string iso;  // empty without xorriso
   std::string udf;
};

const Images &TheImages() {
   static const std::unique_ptr<Images> images = [] {
      auto im = std::make_unique<Images>();
      trtest::UdfSpec udf;
      trtest::MediaSpec iso;
      for (int i = 0; i < kEntries; i++) {
         std::string path = "sources/entry" + std::to_string(i) + ".txt";
         udf.files.push_back({path, "x"});
         iso.files.push_back({path, "x"});
      }
      udf.files.push_back({"sources/install.wim", std::string(kFileBytes, 'w')});
      iso.files.push_back({"sources/install.wim", std::string(kFileBytes, 'w')});
      im->udf = im->dir.file("bench.udf");
      if (!trtest::BuildUdfImage(im->udf, udf)) {
         im->udf.clear();
      }
      if (trtest::CanBuild(iso.format)) {
         im->iso = trtest::BuildImage(im->dir, iso, "bench.iso");
      }
      return im;
   }();
   return *images;
}

void BM_IsoFindAndRead(benchmark::State &state) {
   const std::string &path = TheImages().iso;
   if (path.empty()) {
      state.SkipWithError("xorriso is not installed");
      return;
   }
   Iso9660_ResetBytesRead();
   std::string buf(2048, '\0');
   for (auto _ : state) {
      uint32_t formats = 0;
      Iso9660_ListFormats(path.c_str(), &formats);
      Iso9660Image *img = nullptr;
      if (Iso9660_Open(path.c_str(), formats, 0, &img) != ISO9660_OK) {
         state.SkipWithError("cannot open the image");
         return;
      }
      Iso9660DirHandle d;
      Iso9660DirEntry e;
      uint64_t got = 0;
      if (Iso9660_OpenDir(img, "sources", &d) == ISO9660_OK) {
         while (Iso9660_ReadDir(img, d, &e) == ISO9660_OK) {
            if (std::strcmp(e.name, "install.wim") != 0) continue;
            Iso9660FileHandle f;
            if (Iso9660_OpenFile(img, &e, &f) == ISO9660_OK) {
               uint32_t count = 2048;
               while (Iso9660_ReadFile(img, f, buf.data(), &count) == ISO9660_OK) {
                  got += count;
                  count = 2048;
               }
               Iso9660_CloseFile(img, f);
            }
            break;
         }
         Iso9660_CloseDir(img, d);
      }
      Iso9660_Close(img);
      benchmark::DoNotOptimize(got);
   }
   state.counters["imageBytesPerIter"] = benchmark::Counter(
      static_cast<double>(Iso9660_GetBytesRead()), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_IsoFindAndRead);

void BM_UdfFindAndRead(benchmark::State &state) {
   const std::string &path = TheImages().udf;
   if (path.empty()) {
      state.SkipWithError("cannot build the UDF image");
      return;
   }
   UDF_ResetBytesRead();
   for (auto _ : state) {
      UDFImage *udf = UDF_Open(path.c_str());
      if (udf == nullptr) {
         state.SkipWithError("cannot open the image");
         return;
      }
      UDFDir *d = UDF_OpenDir(udf, nullptr, "sources");
      UDFFile *f = d != nullptr ? UDF_OpenFile(udf, d, "install.wim") : nullptr;
      char *data = nullptr;
      if (f != nullptr && UDF_ReadFile(f, &data)) {
         benchmark::DoNotOptimize(data[0]);
         std::free(data);
      }
      UDF_CloseFile(f);
      UDF_CloseDir(d);
      UDF_Close(udf);
   }
   state.counters["imageBytesPerIter"] = benchmark::Counter(
      static_cast<double>(UDF_GetBytesRead()), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_UdfFindAndRead);

}  // namespace
