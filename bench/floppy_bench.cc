// floppy_bench.cc --
//
//    Making an unattended-install floppy: format a new 1.44 MB image and add
//    the ten files a Windows installation puts there (answer files, password
//    store, command script, a 300 KB tools upgrader and a mass-storage
//    driver), each with AddFileToFloppyImg. Target: 5 ms per floppy.
//    Also the way back: copying the upgrader out of a filled floppy.

#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

#include <trguest/autoinstall.h>
#include <trplatform/fsimage.h>

#include "testsupport.hh"

namespace {

// Name on the floppy and size of each file.
const std::pair<const char *, size_t> kFloppyFiles[] = {
   {"winnt.sif", 3 * 1024},        {"autoun~0.xml", 9 * 1024},   {"storePwd.ini", 300},
   {"storePwd.exe", 48 * 1024},    {"unattend.cmd", 2 * 1024},   {"upgrader.exe", 300 * 1024},
   {"txtsetup.oem", 2 * 1024},     {"trscsi.sys", 40 * 1024},    {"trscsi.inf", 5 * 1024},
   {"trscsi.cat", 9 * 1024},
};

std::string Content(size_t size, unsigned seed) {
   std::string s(size, '\0');
   unsigned x = seed;
   for (char &c : s) {
      x = x * 1103515245u + 12345u;
      c = static_cast<char>(x >> 16);
   }
   return s;
}

// Host copies of the floppy's files, made once.
class HostFiles {
public:
   HostFiles() {
      unsigned seed = 1;
      for (const auto &[name, size] : kFloppyFiles) {
         paths_.emplace_back(dir_.file(std::string("src/") + name), name);
         trtest::WriteFile(paths_.back().first, Content(size, seed++));
      }
   }
   const std::vector<std::pair<std::string, const char *>> &files() const { return paths_; }
   std::string scratch(const char *name) const { return dir_.file(name); }

private:
   trtest::TempDir dir_;
   std::vector<std::pair<std::string, const char *>> paths_;  // host path, name on floppy
};

const HostFiles &Files() {
   static const HostFiles files;
   return files;
}

// Formats path and adds every file; false on the first failure.
bool MakeFloppy(const std::string &path) {
   FSImageVolume *volume = nullptr;
   FSImageDir *dir = nullptr;
   bool ok = FSImage_FormatVolume(nullptr, path.c_str(), 1, 1, &volume) == FSIMAGE_OK &&
             FSImage_SkipVolumeBoot(volume, FSIMAGE_FAT_FILE_SYSTEM) == FSIMAGE_OK &&
             FSImage_OpenRootDirectory(volume, &dir) == FSIMAGE_OK;
   for (const auto &[host, name] : Files().files()) {
      ok = ok && AddFileToFloppyImg(dir, host.c_str(), name);
   }
   FSImage_Close(dir);
   ok = FSImage_Close(volume) == FSIMAGE_OK && ok;
   return ok;
}

void BM_FormatAndAddTenFiles(benchmark::State &state) {
   const std::string image = Files().scratch("autoinst.flp");
   size_t bytes = 0;
   for (const auto &[name, size] : kFloppyFiles) {
      bytes += size;
   }
   for (auto _ : state) {
      if (!MakeFloppy(image)) {
         state.SkipWithError("making the floppy failed");
         break;
      }
   }
   state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_FormatAndAddTenFiles)->Unit(benchmark::kMillisecond);

void BM_GetUpgraderFromFloppy(benchmark::State &state) {
   const std::string image = Files().scratch("filled.flp");
   const std::string out = Files().scratch("upgrader.out");
   FSImageVolume *volume = nullptr;
   FSImageDir *dir = nullptr;
   if (!MakeFloppy(image) ||
       FSImage_OpenVolume(nullptr, image.c_str(), 1, &volume) != FSIMAGE_OK ||
       FSImage_SkipVolumeBoot(volume, FSIMAGE_FAT_FILE_SYSTEM) != FSIMAGE_OK ||
       FSImage_OpenRootDirectory(volume, &dir) != FSIMAGE_OK) {
      state.SkipWithError("cannot open the filled floppy");
      FSImage_Close(volume);
      return;
   }
   for (auto _ : state) {
      if (!GetFileFromFloppyImg(dir, "upgrader.exe", out.c_str())) {
         state.SkipWithError("copying the upgrader out failed");
         break;
      }
   }
   state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 300 * 1024);
   FSImage_Close(dir);
   FSImage_Close(volume);
}
BENCHMARK(BM_GetUpgraderFromFloppy)->Unit(benchmark::kMillisecond);

}  // namespace
