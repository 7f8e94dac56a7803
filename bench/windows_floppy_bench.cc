// windows_floppy_bench.cc --
//
//    The Windows unattended-install floppy with a 10-file driver directory
//    taken from a tools ISO image: AutoInstall_MakeFloppyImg against what a
//    script would run for the same floppy (xorriso to extract the drivers,
//    mformat for a new image, mcopy for the files), and against mformat +
//    mcopy alone from files already on the host. Target: the library at
//    least 10 times faster than the script.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/resource.h>

#include <trguest/autoinstall.h>

#include "fat_support.hh"
#include "media_builder.hh"

namespace {

// Driver files of a typical mass-storage driver directory: name and size.
const std::pair<const char *, size_t> kDriverFiles[] = {
   {"txtsetup.oem", 2 * 1024}, {"trscsi.sys", 40 * 1024}, {"trscsi.inf", 5 * 1024},
   {"trscsi.cat", 9 * 1024},   {"trscsi64.sys", 48 * 1024}, {"trscsi64.inf", 5 * 1024},
   {"trscsi64.cat", 9 * 1024}, {"disk1", 16},               {"readme.txt", 3 * 1024},
   {"trcoinst.dll", 60 * 1024},
};

struct Setup {
   trtest::TempDir dir;
   std::string config = dir.file("vm"), support = dir.file("support"),
               upgrader = dir.file("upgrader"), iso, hostFiles = dir.file("host");
   bool ok = false;

   Setup() {
      if (!fattest::HaveFatTools() || !trtest::HaveTool("xorriso")) {
         return;
      }
      trtest::MediaSpec spec;
      uint32_t seed = 1;
      for (const auto &[name, size] : kDriverFiles) {
         std::string content = fattest::Pattern(size, seed++);
         if (std::string(name) == "txtsetup.oem") {
            content = "[SCSI]\r\ntrscsi = \"Tarvel SCSI Controller\"\r\n";
         }
         spec.files.push_back({std::string("drivers/scsi/") + name, content});
         trtest::WriteFile(hostFiles + "/" + name, content);
      }
      spec.files.push_back({"upgrader.exe", "x"});
      iso = trtest::BuildImage(dir, spec, "tools.iso");
      for (const std::string &d : {support, hostFiles}) {
         trtest::WriteFile(d + "/storePwd.exe", fattest::Pattern(48 * 1024, 20));
         trtest::WriteFile(d + "/unattend.cmd", fattest::Pattern(2 * 1024, 21));
      }
      trtest::WriteFile(upgrader + "/TarvelToolsUpgrader.exe", fattest::Pattern(300 * 1024, 22));
      WriteAnswerFiles(config);
      WriteAnswerFiles(hostFiles);
      trtest::WriteFile(hostFiles + "/upgrader.exe", fattest::Pattern(300 * 1024, 22));
      ok = !iso.empty();
   }

   static void WriteAnswerFiles(const std::string &d) {
      trtest::WriteFile(d + "/winnt.sif", "[Data]\nAutoPartition=1\n" + std::string(3000, ';') +
                                             "\n[Unattended]\nUnattendMode=FullUnattended\n");
      trtest::WriteFile(d + "/autoun~0.xml", fattest::Pattern(9 * 1024, 23));
      trtest::WriteFile(d + "/storePwd.ini", "[Password]\nEncrypted=0\n");
   }
};

Setup &TheSetup() {
   static Setup setup;
   return setup;
}

void BM_MakeFloppyImg(benchmark::State &state) {
   Setup &s = TheSetup();
   if (!s.ok) {
      state.SkipWithError("mtools, dosfstools or xorriso missing");
      return;
   }
   for (auto _ : state) {
      state.PauseTiming();
      Setup::WriteAnswerFiles(s.config);  // the call removes them
      state.ResumeTiming();
      if (!AutoInstall_MakeFloppyImg(nullptr, s.config.c_str(), s.iso.c_str(), "/drivers/scsi",
                                     s.upgrader.c_str(), s.support.c_str())) {
         state.SkipWithError("AutoInstall_MakeFloppyImg failed");
         break;
      }
   }
}
BENCHMARK(BM_MakeFloppyImg)->Unit(benchmark::kMillisecond)->UseRealTime();

// The host files of the floppy, as mcopy arguments.
std::vector<std::string> McopyCommand(const Setup &s, const std::string &driverDir,
                                      const std::string &image) {
   std::vector<std::string> cmd = {"mcopy", "-i", image};
   for (const auto &d : kDriverFiles) cmd.push_back(driverDir + "/" + d.first);
   for (const char *f : {"winnt.sif", "autoun~0.xml", "storePwd.ini", "storePwd.exe",
                         "upgrader.exe", "unattend.cmd"}) {
      cmd.push_back(s.hostFiles + "/" + f);
   }
   cmd.push_back("::");
   return cmd;
}

double ChildrenCpuSeconds() {
   struct rusage usage {};
   getrusage(RUSAGE_CHILDREN, &usage);
   return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
          static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

bool Run(const std::vector<std::string> &cmd) {
   auto r = fattest::Tool(cmd);
   if (r.exitCode != 0) {
      std::fprintf(stderr, "%s: %s\n", cmd[0].c_str(), r.output.c_str());
   }
   return r.exitCode == 0;
}

// mformat + mcopy; with extract, xorriso first copies the driver directory
// out of the tools image, as a script would have to.
void ScriptFloppy(benchmark::State &state, bool extract) {
   Setup &s = TheSetup();
   if (!s.ok) {
      state.SkipWithError("mtools, dosfstools or xorriso missing");
      return;
   }
   const std::string image = s.dir.file("script.flp"), drivers = s.dir.file("extracted");
   const double childrenBefore = ChildrenCpuSeconds();
   for (auto _ : state) {
      std::filesystem::remove(image);
      std::filesystem::remove_all(drivers);
      bool ok = !extract || Run({"xorriso", "-osirrox", "on", "-indev", "stdio:" + s.iso,
                                 "-extract", "/drivers/scsi", drivers});
      ok = ok && Run({"mformat", "-C", "-f", "1440", "-i", image, "::"}) &&
           Run(McopyCommand(s, extract ? drivers : s.hostFiles, image));
      if (!ok) {
         state.SkipWithError("the script failed");
         break;
      }
   }
   // The tools' own CPU time, which the benchmark's CPU column (this
   // process only) leaves out.
   state.counters["tools_cpu_ms"] = benchmark::Counter(
      (ChildrenCpuSeconds() - childrenBefore) * 1e3 / static_cast<double>(state.iterations()));
}

void BM_Script_XorrisoMformatMcopy(benchmark::State &state) {
   ScriptFloppy(state, true);
}
BENCHMARK(BM_Script_XorrisoMformatMcopy)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Script_MformatMcopyOnly(benchmark::State &state) {
   ScriptFloppy(state, false);
}
BENCHMARK(BM_Script_MformatMcopyOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
