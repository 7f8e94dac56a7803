// linux_media_bench.cc --
//
//    AutoInstall_ScanISO on a DVD-sized sparse image whose 30 MiB kernel
//    and 60 MiB initrd lie past the 4 GiB mark, page cache warm, against
//    copying the same byte ranges out of the same image with dd (what cat
//    does: 128 KiB reads and writes; to a file and to /dev/null, the I/O
//    floor) and against xorriso extracting the two files, measured side by
//    side in one run. Prints bytes per second and the ratios.
//
//    linux_media_bench [ROUNDS]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <trguest/autoinstall.h>
#include <trplatform/file.h>

#include "../tests/iso9660/iso_craft.hh"
#include "testsupport.hh"

namespace {

using isocraft::DotRecords;
using isocraft::Record;

constexpr uint64_t kImageSize = 4'700'000'000ULL;
constexpr uint32_t kKernelSize = 30u << 20;
constexpr uint32_t kInitrdSize = 60u << 20;
// Past 4 GiB: 2^32 / 2048 = 2097152 blocks.
constexpr uint32_t kKernelBlock = 2'150'000;
constexpr uint32_t kInitrdBlock = kKernelBlock + kKernelSize / isocraft::kBlock;

std::string Pattern(size_t n, unsigned seed) {
   std::string s(n, '\0');
   uint32_t x = seed;
   for (auto &c : s) {
      x = x * 1103515245u + 12345u;
      c = static_cast<char>(x >> 16);
   }
   return s;
}

// Plain ISO 9660 names only: the configuration names the files as the
// image presents them.
std::string BuildImage(const trtest::TempDir &dir) {
   const std::string path = dir.file("dvd.iso");
   isocraft::Image img(path, kImageSize);
   const std::string cfg =
      "label linux\n  kernel ../IMAGES/VMLINUZ\n  append initrd=../IMAGES/INITRD.IMG quiet\n";
   std::string pvd = isocraft::Descriptor(
      1, 20, 2048, static_cast<uint32_t>(kImageSize / isocraft::kBlock), "BENCH_DVD");
   // What other readers insist on beyond the fields this reader uses:
   // volume set and sequence, path tables, file structure version.
   isocraft::PutLe16(pvd, 120, 1);
   isocraft::PutBe16(pvd, 122, 1);
   isocraft::PutLe16(pvd, 124, 1);
   isocraft::PutBe16(pvd, 126, 1);
   isocraft::PutLe32(pvd, 132, 40);
   isocraft::PutBe32(pvd, 136, 40);
   isocraft::PutLe32(pvd, 140, 18);
   isocraft::PutBe32(pvd, 148, 19);
   pvd[881] = 1;
   img.putBlock(16, pvd);
   // Path tables: the root, then its two directories (10 + 14 + 16 bytes).
   auto pathTable = [](bool bigEndian) {
      std::string t;
      auto entry = [&](const std::string &id, uint32_t block) {
         std::string e(8 + id.size() + id.size() % 2, '\0');
         e[0] = static_cast<char>(id.size());
         bigEndian ? isocraft::PutBe32(e, 2, block) : isocraft::PutLe32(e, 2, block);
         bigEndian ? isocraft::PutBe16(e, 6, 1) : isocraft::PutLe16(e, 6, 1);
         e.replace(8, id.size(), id);
         t += e;
      };
      entry(std::string(1, '\0'), 20);
      entry("IMAGES", 22);
      entry("ISOLINUX", 21);
      return t;
   };
   img.putBlock(18, pathTable(false));
   img.putBlock(19, pathTable(true));
   img.putBlock(17, isocraft::Terminator());
   img.putBlock(20, DotRecords(20, 2048, 20, 2048) + Record(22, 2048, 2, "IMAGES") +
                       Record(21, 2048, 2, "ISOLINUX"));
   img.putBlock(21, DotRecords(21, 2048, 20, 2048) +
                       Record(23, static_cast<uint32_t>(cfg.size()), 0, "ISOLINUX.CFG;1") +
                       Record(24, 4096, 0, "ISOLINUX.BIN;1"));
   img.putBlock(22, DotRecords(22, 2048, 20, 2048) +
                       Record(kInitrdBlock, kInitrdSize, 0, "INITRD.IMG;1") +
                       Record(kKernelBlock, kKernelSize, 0, "VMLINUZ.;1"));
   img.putBlock(23, cfg);
   img.putBlock(24, Pattern(4096, 1));
   img.putBlock(kKernelBlock, Pattern(kKernelSize, 2));
   img.putBlock(kInitrdBlock, Pattern(kInitrdSize, 3));
   return path;
}

double Seconds(const std::function<bool()> &run) {
   auto start = std::chrono::steady_clock::now();
   if (!run()) {
      std::fprintf(stderr, "linux_media_bench: a run failed\n");
      std::exit(1);
   }
   return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool Run(const std::vector<std::string> &argv) {
   auto r = trtest::RunCommand(argv);
   if (r.exitCode != 0) {
      std::fprintf(stderr, "%s", r.output.c_str());
   }
   return r.exitCode == 0;
}

// dd of one byte range, 128 KiB at a time, as cat copies.
std::vector<std::string> Dd(const std::string &image, uint32_t block, uint32_t size,
                            const std::string &out) {
   return {"dd", "if=" + image, "of=" + out, "bs=128K", "iflag=skip_bytes,count_bytes",
           "skip=" + std::to_string(static_cast<uint64_t>(block) * isocraft::kBlock),
           "count=" + std::to_string(size), "status=none"};
}

}  // namespace

int main(int argc, char **argv) {
   const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
   trtest::TempDir dir;
   const std::string image = BuildImage(dir);
   const std::string stage = dir.file("stage"), out = dir.file("out");
   File_CreateDirectoryHierarchy(out.c_str());

   struct Method {
      const char *name;
      std::function<bool()> run;
      std::vector<double> times;
   };
   std::vector<Method> methods = {
      {"AutoInstall_ScanISO",
       [&] {
          File_DeleteDirectoryTree(stage.c_str());
          return AutoInstall_ScanISO(image.c_str(), stage.c_str(), "rhel6-64", nullptr) != FALSE;
       },
       {}},
      {"dd (as cat) to files",
       [&] {
          return Run(Dd(image, kKernelBlock, kKernelSize, out + "/k")) &&
                 Run(Dd(image, kInitrdBlock, kInitrdSize, out + "/i"));
       },
       {}},
      {"dd (as cat) to /dev/null",
       [&] {
          return Run(Dd(image, kKernelBlock, kKernelSize, "/dev/null")) &&
                 Run(Dd(image, kInitrdBlock, kInitrdSize, "/dev/null"));
       },
       {}},
      {"xorriso -osirrox on -extract",
       [&] {
          return Run({"xorriso", "-osirrox", "on", "-indev", image, "-extract", "/IMAGES/VMLINUZ",
                      out + "/x-vmlinuz", "-extract", "/IMAGES/INITRD.IMG", out + "/x-initrd"});
       },
       {}},
   };
   // One round to warm the page cache, then the rounds interleaved so that
   // every method sees the same machine.
   for (Method &m : methods) Seconds(m.run);
   for (int r = 0; r < rounds; r++) {
      for (Method &m : methods) m.times.push_back(Seconds(m.run));
   }
   // All methods copied the same bytes.
   for (const auto &[a, b] : {std::pair<std::string, std::string>{"/isolinux/VMLINUZ", "/k"},
                              {"/isolinux/INITRD.IMG", "/i"}}) {
      if (!Run({"cmp", stage + a, out + b})) {
         return 1;
      }
   }
   if (!Run({"cmp", out + "/k", out + "/x-vmlinuz"}) || !Run({"cmp", out + "/i", out + "/x-initrd"})) {
      return 1;
   }
   const double bytes = static_cast<double>(kKernelSize) + kInitrdSize;
   double base = 0, floor = 0;
   std::printf("%-32s %10s %12s\n", "method (kernel+initrd, 90 MiB)", "median s", "MB/s");
   for (Method &m : methods) {
      std::sort(m.times.begin(), m.times.end());
      double median = m.times[m.times.size() / 2];
      double rate = bytes / median / 1e6;
      if (&m == &methods[1]) base = rate;
      if (&m == &methods[2]) floor = rate;
      std::printf("%-32s %10.3f %12.1f\n", m.name, median, rate);
   }
   const double scan = bytes / methods[0].times[methods[0].times.size() / 2] / 1e6;
   std::printf("ScanISO / dd to files: %.2f   ScanISO / dd to /dev/null: %.2f\n", scan / base,
               scan / floor);
   return 0;
}
