// small_detectors_fuzzer.cc --
//
//    Untrusted marker files for the detectors that look at one or two
//    entries: the input is split into a packages.xml, an isolinux.cfg, a
//    FreeBSD kernel and a list of root entry names (one per line), laid into
//    a small ISO 9660 image, and every small detector runs on it, as does the
//    whole detection chain.

#include <cstdint>
#include <string>
#include <string_view>

#include <trguest/guess.h>

#include "fuzz_scratch.hh"
#include "mini_iso.hh"

namespace {

bool UsableName(std::string_view name) {
   if (name.empty() || name.size() > 100 || name == "." || name == "..") {
      return false;
   }
   for (char c : name) {
      if (c == '/' || c == '\0' || c == ';') {
         return false;
      }
   }
   return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   std::string_view input(reinterpret_cast<const char *>(data), size);
   auto parts = fuzz::SplitInput(input, 4);

   fuzz::MiniIso iso;
   iso.AddFile("packages.xml", parts[0]);
   iso.AddFile("isolinux.cfg", parts[1]);
   iso.AddFile("boot/kernel/kernel", parts[2]);
   std::string_view names = parts[3];
   int budget = 64;
   while (!names.empty() && budget-- > 0) {
      size_t nl = names.find('\n');
      std::string_view name = names.substr(0, nl);
      if (UsableName(name) && name != "packages.xml" && name != "isolinux.cfg" &&
          name != "boot") {
         iso.AddFile(std::string(name) + "/x", "");
      }
      if (nl == std::string_view::npos) {
         break;
      }
      names.remove_prefix(nl + 1);
   }
   std::string image = iso.Build();
   const std::string &path =
      fuzz::WriteScratch("small", reinterpret_cast<const uint8_t *>(image.data()), image.size());

   GuessMedia media{};
   media.kind = GUESS_MEDIA_ISO9660;
   uint32_t formats = 0;
   Iso9660_ListFormats(path.c_str(), &formats);
   if (Iso9660_Open(path.c_str(), formats, 0, &media.iso) != ISO9660_OK) {
      return 0;
   }
   for (GuessDetector d : {Guess_Solaris, Guess_NetWare, Guess_FreeBSD, Guess_MacOS, Guess_Zelt,
                           Guess_Zelti}) {
      GuessInfo info{};
      d(&media, &info);
   }
   Iso9660_Close(media.iso);

   GuessInfo info;
   Guess_Guest(path.c_str(), 0, &info);
   return 0;
}
