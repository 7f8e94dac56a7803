// cmd_media_windows.cc --
//
//    trguest media windows --config DIR --upgrader DIR --support DIR
//                          [--template IMG] [--tools-iso ISO] [--drivers DIR]
//
//    Builds the Windows unattended-install floppy "autoinst.flp" in the
//    configuration directory (which holds the answer files winnt.sif and
//    autoun~0.xml, and optionally storePwd.ini; they are removed afterwards)
//    and lists what it holds: size and name of each file, in directory
//    order. --drivers names a directory of the tools image, or a host
//    directory when no --tools-iso is given. Exit 0 when the floppy was
//    built, 2 when not (the reason is in the log), 64 for bad usage.

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <trguest/autoinstall.h>
#include <trplatform/fsimage.h>

#include "commands.hh"

namespace trguest_cli {

namespace {

int Usage() {
   std::fprintf(stderr, "usage: trguest media windows --config DIR --upgrader DIR --support DIR\n"
                        "                             [--template IMG] [--tools-iso ISO]"
                        " [--drivers DIR]\n");
   return 64;
}

// Prints size and name of every file in the floppy's root directory.
int ListFloppy(const std::string &path) {
   FSImageVolume *volume = nullptr;
   FSImageDir *dir = nullptr;
   FSImageError err = FSImage_OpenVolume(nullptr, path.c_str(), 0, &volume);
   if (err == FSIMAGE_OK) {
      err = FSImage_OpenRootDirectory(volume, &dir);
   }
   if (err != FSIMAGE_OK) {
      std::fprintf(stderr, "trguest: cannot open %s (error %" PRIu64 ")\n", path.c_str(),
                   static_cast<uint64_t>(err));
      FSImage_Close(volume);
      return 2;
   }
   std::printf("%s:\n", path.c_str());
   const uint32_t slots = FSImage_GetNumDirEntries(dir);
   for (uint32_t i = 0; i < slots; i++) {
      Bool inUse = FALSE;
      char *name = nullptr;
      uint64_t size = 0;
      if (FSImage_GetCatInfo(dir, i, &inUse, &name, nullptr, &size, nullptr) == FSIMAGE_OK &&
          inUse) {
         std::printf("%10" PRIu64 " %s\n", size, name);
      }
      std::free(name);
   }
   FSImage_Close(dir);
   FSImage_Close(volume);
   return 0;
}

}  // namespace

int RunMediaWindows(int argc, char **argv) {
   const char *config = nullptr, *upgrader = nullptr, *support = nullptr;
   const char *templ = nullptr, *toolsIso = nullptr, *drivers = nullptr;
   const struct {
      const char *option;
      const char **value;
   } options[] = {{"--config", &config},     {"--upgrader", &upgrader},
                  {"--support", &support},   {"--template", &templ},
                  {"--tools-iso", &toolsIso}, {"--drivers", &drivers}};
   for (int i = 0; i < argc; i += 2) {
      bool known = false;
      for (const auto &o : options) {
         if (std::strcmp(argv[i], o.option) == 0 && i + 1 < argc) {
            *o.value = argv[i + 1];
            known = true;
         }
      }
      if (!known) {
         return Usage();
      }
   }
   if (config == nullptr || upgrader == nullptr || support == nullptr) {
      return Usage();
   }
   if (!AutoInstall_MakeFloppyImg(templ, config, toolsIso, drivers, upgrader, support)) {
      std::fprintf(stderr, "trguest: the floppy could not be built (see the log)\n");
      return 2;
   }
   return ListFloppy(std::string(config) + "/autoinst.flp");
}

}  // namespace trguest_cli
