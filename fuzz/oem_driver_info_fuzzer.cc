// oem_driver_info_fuzzer.cc --
//
//    WriteOEMDriverInfo over arbitrary txtsetup.oem bytes: the line scan
//    alone (OemDriverDescription), checked against what it promises, and the
//    whole call, which writes the description into a fresh winnt.sif.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <trguest/autoinstall.h>

#include "fuzz_scratch.hh"
#include "guestInstall/windows/windowsFloppyInt.h"

namespace {

void Check(bool ok) {
   if (!ok) {
      std::abort();
   }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   const std::string_view text(reinterpret_cast<const char *>(data), size);
   if (auto description = OemDriverDescription(text)) {
      // Two quotes around text of one line, taken from before the first NUL.
      Check(description->size() >= 2 && description->front() == '"' &&
            description->back() == '"');
      Check(description->find('\n') == std::string::npos);
      Check(description->find('"', 1) == description->size() - 1);
      Check(text.substr(0, text.find('\0')).find(*description) != std::string_view::npos);
   }

   const std::string &oem = fuzz::WriteScratch("oem", data, size);
   const std::string sif = oem + ".sif";
   static const uint8_t kSif[] = "[Unattended]\nOemPreinstall=No\n";
   FILE *f = std::fopen(sif.c_str(), "wb");
   Check(f != nullptr && std::fwrite(kSif, 1, sizeof kSif - 1, f) == sizeof kSif - 1);
   std::fclose(f);
   WriteOEMDriverInfo(oem.c_str(), sif.c_str());
   std::remove(sif.c_str());
   return 0;
}
