// isolinux_config_fuzzer.cc --
//
//    Feeds arbitrary bytes, cut to what is read of a configuration file, to
//    the isolinux configuration parser, then runs the rest of the boot
//    configuration steps on what it found: the askmethod rewrite, the base
//    names and the new configuration text. The disc is untrusted.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <trplatform/file.h>

#include "guestInstall/linux/linuxMediaInt.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   std::string text(reinterpret_cast<const char *>(data), size < kIsolinuxConfigMax ? size : kIsolinuxConfigMax);
   IsolinuxBootEntry entry{};
   if (parseIsolinuxConfig(text.c_str(), &entry.kernel, &entry.initrd, &entry.append)) {
      removeAskmethod(&entry.append);
      char *kernelBase = nullptr, *initrdBase = nullptr;
      File_GetPathName(entry.kernel, nullptr, &kernelBase);
      File_GetPathName(entry.initrd, nullptr, &initrdBase);
      char *config = FormatIsolinuxConfig(kernelBase, initrdBase, entry.append, "ks=cdrom:/ks.cfg");
      if (std::strlen(config) >= kIsolinuxConfigMax || std::strlen(entry.append) >= kAppendMax) {
         std::abort();
      }
      std::free(config);
      std::free(kernelBase);
      std::free(initrdBase);
   }
   FreeBootEntry(&entry);
   return 0;
}
