// tools_status_bench.cc --
//
//    ToolsVersion_GetStatus as the product calls it for a running virtual
//    machine: the host manifest taken from a warm cache file (50 components
//    and the monolithic version), an AVR file beside the tools image, and
//    the guest manifest given as text. Target: 200 us per call.

#include <string>

#include <benchmark/benchmark.h>

#include <trguest/toolsversion.h>

#include <trplatform/dictionary.h>

#include "testsupport.hh"
#include "toolsversion/toolsStatusInt.h"

namespace {

constexpr int kComponents = 50;

struct Setup {
   trtest::TempDir dir;
   trtest::ScopedEnv log{"TRGUEST_LOG", "/dev/null"};
   std::string config = dir.file("vm.cfg");
   std::string host, avr, guest;

   Setup() {
      trtest::WriteFile(config, "guestOS = \"ubuntu-64\"\nlibdir = \"" + dir.file("lib") + "\"\n");
      host = "monolithic.version = \"9.4.5.1000#4\"\n";
      avr = "monolithic.version = \"9.0.0\"\nmonolithic.version_max = \"9.9\"\n";
      guest = "monolithic.version = \"9.4.5.1000\"\nmonolithic.installed = \"TRUE\"\n";
      for (int i = 0; i < kComponents; i++) {
         std::string name = "component" + std::to_string(i);
         host += name + ".version = \"1." + std::to_string(i) + ".0.12\"\n";
         avr += name + ".version = \"1.0\"\n" + name + ".version_max = \"1.99\"\n" + name +
                ".version_illegal = \"0.9.1,0.9.2#3\"\n";
         guest += name + ".version = \"1." + std::to_string(i) + ".0\"\n" + name +
                  ".installed = \"TRUE\"\n";
      }
      trtest::WriteFile(dir.file("cache/linux_manifest.txt"), host);
      trtest::WriteFile(dir.file("lib/isoimages/linux_avr_manifest.txt"), avr);
      ToolsVersion_SetHostManifestCacheDir(dir.file("cache").c_str());
   }
};

void BM_ToolsStatusWarmCache(benchmark::State &state) {
   static Setup setup;
   for (auto _ : state) {
      ToolsVersionStatus s =
         ToolsVersion_GetStatus(setup.config.c_str(), nullptr, setup.guest.c_str(), 0);
      if (s != TOOLS_STATUS_CURRENT) {
         state.SkipWithError("unexpected status");
         break;
      }
      benchmark::DoNotOptimize(s);
   }
}
BENCHMARK(BM_ToolsStatusWarmCache)->Unit(benchmark::kMicrosecond);

// The share of the above spent parsing the three manifests from memory into
// a component table and classifying it: what is left is file work.
void BM_ManifestTextsOnly(benchmark::State &state) {
   static Setup setup;
   for (auto _ : state) {
      ComponentTable *table = ComponentTableAlloc();
      for (auto [text, kind] : {std::pair{&setup.host, MANIFEST_HOST},
                                std::pair{&setup.avr, MANIFEST_AVR},
                                std::pair{&setup.guest, MANIFEST_GUEST}}) {
         Dictionary *d = Dictionary_Create();
         Dictionary_LoadFromBuffer(d, text->c_str(), 0);
         ManifestParseContext ctx = {table, kind, nullptr};
         Dictionary_Iterate(d, AddManifestEntry, &ctx, TRUE);
         Dictionary_Free(d);
      }
      HashTable_ForEach(
         table,
         [](const char *, void *value, void *) -> int {
            ClassifyComponent(static_cast<ComponentRecord *>(value));
            return 0;
         },
         nullptr);
      HashTable_Free(table);
   }
}
BENCHMARK(BM_ManifestTextsOnly)->Unit(benchmark::kMicrosecond);

}  // namespace
