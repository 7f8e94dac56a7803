// floppy_bench.cc --
//
//    Making an unattended-install floppy: format a new 1.44 MB image and add
//    the ten files a Windows installation puts there (answer files, password
//    store, command script, a 300 KB tools upgrader and a mass-storage
//    driver), each with AddFileToFloppyImg. Target: 5 ms per floppy.
//    Also the way back: copying the upgrader out of a filled floppy.

#include <benchmark/benchmark.h>

#include <trguest/autoinstall.h>

#include "fat_support.hh"

namespace {

// Name on the floppy and size of each file.
const std::pair<const char *, size_t> kFloppyFiles[] = {
   {"winnt.sif", 3 * 1024},     {"autoun~0.xml", 9 * 1024}, {"storePwd.ini", 300},
   {"storePwd.exe", 48 * 1024}, {"unattend.cmd", 2 * 1024}, {"upgrader.exe", 300 * 1024},
   {"txtsetup.oem", 2 * 1024},  {"trscsi.sys", 40 * 1024},  {"trscsi.inf", 5 * 1024},
   {"trscsi.cat", 9 * 1024},
};

// A scratch directory holding the host copies of the floppy's files.
const trtest::TempDir &Scratch() {
   static const trtest::TempDir dir;
   static const bool filled = [] {
      uint32_t seed = 1;
      for (const auto &[name, size] : kFloppyFiles) {
         trtest::WriteFile(dir.file(name), fattest::Pattern(size, seed++));
      }
      return true;
   }();
   static_cast<void>(filled);
   return dir;
}

// Formats path and adds every file; false on the first failure.
bool MakeFloppy(const std::string &path) {
   fattest::Image image(path, fattest::Image::How::Format);
   bool ok = image.error() == FSIMAGE_OK;
   for (const auto &[name, size] : kFloppyFiles) {
      ok = ok && AddFileToFloppyImg(image.dir(), Scratch().file(name).c_str(), name);
   }
   return image.close() == FSIMAGE_OK && ok;
}

void BM_FormatAndAddTenFiles(benchmark::State &state) {
   const std::string image = Scratch().file("autoinst.flp");
   int64_t bytes = 0;
   for (const auto &file : kFloppyFiles) {
      bytes += static_cast<int64_t>(file.second);
   }
   for (auto _ : state) {
      if (!MakeFloppy(image)) {
         state.SkipWithError("making the floppy failed");
         break;
      }
   }
   state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes);
}
BENCHMARK(BM_FormatAndAddTenFiles)->Unit(benchmark::kMillisecond);

void BM_GetUpgraderFromFloppy(benchmark::State &state) {
   const std::string image = Scratch().file("filled.flp"), out = Scratch().file("upgrader.out");
   const bool made = MakeFloppy(image);
   fattest::Image floppy(image, fattest::Image::How::Open);
   if (!made || floppy.error() != FSIMAGE_OK) {
      state.SkipWithError("cannot make the filled floppy");
      return;
   }
   for (auto _ : state) {
      if (!GetFileFromFloppyImg(floppy.dir(), "upgrader.exe", out.c_str())) {
         state.SkipWithError("copying the upgrader out failed");
         break;
      }
   }
   state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 300 * 1024);
}
BENCHMARK(BM_GetUpgraderFromFloppy)->Unit(benchmark::kMillisecond);

}  // namespace
