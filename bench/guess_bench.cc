// guess_bench.cc --
//
//    Guess_Guest on every sample image of scripts/samples/ (recognised media
//    of each family, warm page cache) and on unrecognised DVD-sized sparse
//    images, ISO 9660 and UDF bridge, that every detector of the chain
//    searches. Reports the time per detection and the bytes the readers took
//    from the image per detection.

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <trguest/guess.h>
#include <trplatform/iso9660.h>
#include <trplatform/udf.h>

#include "media_builder.hh"

namespace {

constexpr long long kDvdSize = 4'700'000'000LL;

// An installation DVD of no known family: a realistic tree, then the image
// extended (sparsely) to DVD size.
std::string UnknownDvd(const trtest::TempDir &dir, trtest::MediaFormat format,
                       const std::string &name) {
   trtest::MediaSpec d;
   d.format = format;
   for (int i = 0; i < 300; i++) {
      d.files.push_back({"packages/pkg-" + std::to_string(i) + ".rpm", "data"});
   }
   for (const char *p : {"boot/isolinux/isolinux.cfg", "boot/isolinux/vmlinuz", "README",
                         "docs/index.html", "EFI/BOOT/BOOTX64.EFI", "install/stage2.img"}) {
      d.files.push_back({p, std::string(3000, 'x')});
   }
   std::string path = trtest::BuildImage(dir, d, name);
   if (path.empty() || truncate(path.c_str(), kDvdSize) != 0) {
      return "";
   }
   return path;
}

void Detect(benchmark::State &state, const std::string &path, int expected) {
   GuessInfo info;
   if (path.empty() || Guess_Guest(path.c_str(), 0, &info) != expected) {  // warms the cache
      state.SkipWithError("image missing or not detected as expected");
      return;
   }
   Iso9660_ResetBytesRead();
   UDF_ResetBytesRead();
   for (auto _ : state) {
      int result = Guess_Guest(path.c_str(), 0, &info);
      benchmark::DoNotOptimize(result);
   }
   double bytes = static_cast<double>(Iso9660_GetBytesRead() + UDF_GetBytesRead());
   state.counters["bytes_read"] = benchmark::Counter(bytes, benchmark::Counter::kAvgIterations);
   state.SetLabel(info.guestOS != nullptr ? info.guestOS : "no match");
}

}  // namespace

int main(int argc, char **argv) {
   benchmark::Initialize(&argc, argv);
   static trtest::TempDir dir;

   // The README's sample media, mastered as the sample script does.
   trtest::CommandResult made = trtest::RunCommand(
      {std::string(TRGUEST_SOURCE_DIR) + "/scripts/make-samples.sh", dir.path() + "/samples"});
   std::istringstream lines(made.output);
   for (std::string image; std::getline(lines, image);) {
      std::string name = "Guess/" + std::filesystem::path(image).stem().string();
      benchmark::RegisterBenchmark(name.c_str(), [image](benchmark::State &s) {
         Detect(s, image, GUESS_RESULT_FOUND);
      })->Unit(benchmark::kMicrosecond);
   }

   std::string iso = UnknownDvd(dir, trtest::MediaFormat::JolietRockRidge, "dvd.iso");
   benchmark::RegisterBenchmark("Guess/unrecognised-dvd-iso9660", [iso](benchmark::State &s) {
      Detect(s, iso, GUESS_RESULT_NO_MATCH);
   })->Unit(benchmark::kMicrosecond);
   std::string udf = UnknownDvd(dir, trtest::MediaFormat::UdfBridge, "dvd-udf.iso");
   benchmark::RegisterBenchmark("Guess/unrecognised-dvd-udf-bridge", [udf](benchmark::State &s) {
      Detect(s, udf, GUESS_RESULT_NO_MATCH);
   })->Unit(benchmark::kMicrosecond);

   benchmark::RunSpecifiedBenchmarks();
   benchmark::Shutdown();
   return 0;
}
