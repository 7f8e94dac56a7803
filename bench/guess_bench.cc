// guess_bench.cc --
//
//    Guess_Guest on recognised images (warm page cache) and on an
//    unrecognised DVD-sized sparse image that every detector of the chain
//    searches. Reports time per detection and the bytes the readers took
//    from the image per detection.

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <string>

#include <trguest/guess.h>
#include <trplatform/iso9660.h>
#include <trplatform/udf.h>

#include "media_builder.hh"

namespace {

struct Media {
   trtest::TempDir dir;
   std::string solaris, freebsdUdf, zelt, dvd;

   Media() {
      trtest::MediaSpec s;
      s.format = trtest::MediaFormat::RockRidge;
      s.dirs = {"Solaris_10/Product", "Solaris_10/Tools/Boot", "boot/grub"};
      s.files = {{"boot/grub/menu.lst", "title Solaris\n"}};
      solaris = trtest::BuildImage(dir, s, "solaris.iso");

      trtest::MediaSpec f;
      f.format = trtest::MediaFormat::UdfBridge;
      std::string kernel(16384, '\0');
      kernel[18] = 62;
      f.files = {{"boot/kernel/kernel", kernel}, {"boot/loader.conf", "x\n"}};
      freebsdUdf = trtest::BuildImage(dir, f, "freebsd.iso");

      trtest::MediaSpec z;
      z.format = trtest::MediaFormat::Joliet;
      z.files = {{"packages.xml", "<iso_build><product><name>Tarvel Zelt Server</name>"
                                  "<zelt_version>4.1</zelt_version></product></iso_build>"}};
      zelt = trtest::BuildImage(dir, z, "zelt.iso");

      // An installation DVD of no known family: a realistic tree, then the
      // image extended (sparsely) to 4.7 GB.
      trtest::MediaSpec d;
      d.format = trtest::MediaFormat::JolietRockRidge;
      for (int i = 0; i < 300; i++) {
         d.files.push_back({"packages/pkg-" + std::to_string(i) + ".rpm", "data"});
      }
      for (const char *p : {"boot/isolinux/isolinux.cfg", "boot/isolinux/vmlinuz", "README",
                            "docs/index.html", "EFI/BOOT/BOOTX64.EFI", "install/stage2.img"}) {
         d.files.push_back({p, std::string(3000, 'x')});
      }
      dvd = trtest::BuildImage(dir, d, "dvd.iso");
      if (truncate(dvd.c_str(), 4'700'000'000LL) != 0) {
         dvd.clear();
      }
   }
};

Media &Images() {
   static auto *media = new Media;
   return *media;
}

void Detect(benchmark::State &state, const std::string &path, const char *expected) {
   if (path.empty()) {
      state.SkipWithError("image could not be built");
      return;
   }
   GuessInfo info;
   Guess_Guest(path.c_str(), 0, &info);  // warm the page cache
   Iso9660_ResetBytesRead();
   UDF_ResetBytesRead();
   for (auto _ : state) {
      int result = Guess_Guest(path.c_str(), 0, &info);
      benchmark::DoNotOptimize(result);
   }
   const char *got = info.guestOS != nullptr ? info.guestOS : "";
   if (std::string(got) != (expected != nullptr ? expected : "")) {
      state.SkipWithError(("detected as '" + std::string(got) + "'").c_str());
      return;
   }
   double bytes = static_cast<double>(Iso9660_GetBytesRead() + UDF_GetBytesRead());
   state.counters["bytes_read"] =
      benchmark::Counter(bytes, benchmark::Counter::kAvgIterations);
}

void BM_GuessSolarisRockRidge(benchmark::State &state) {
   Detect(state, Images().solaris, "solaris10");
}
void BM_GuessFreeBSDUdfBridge(benchmark::State &state) {
   Detect(state, Images().freebsdUdf, "freeBSD-64");
}
void BM_GuessZeltJoliet(benchmark::State &state) {
   Detect(state, Images().zelt, "trkernel");
}
void BM_GuessUnrecognisedDvd(benchmark::State &state) {
   Detect(state, Images().dvd, nullptr);
}

BENCHMARK(BM_GuessSolarisRockRidge)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GuessFreeBSDUdfBridge)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GuessZeltJoliet)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GuessUnrecognisedDvd)->Unit(benchmark::kMicrosecond);

}  // namespace
