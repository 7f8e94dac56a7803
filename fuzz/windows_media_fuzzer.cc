// windows_media_fuzzer.cc --
//
//    Whole marker files through the Windows detectors. The input is cut at
//    "\n--8<--\n" markers (fuzz::SplitInput) into the files of a small ISO
//    9660 image (fuzz::MiniIso); an empty part leaves its file out:
//       0  I386/TXTSETUP.SIF      3  sources/idwbinfo.txt   6  more entries of sources/,
//       1  I386/PRODSPEC.INI      4  sources/lang.ini          one name per line
//       2  sources/product.ini    5  sources/ei.cfg         7  top-level directories,
//                                                              one name per line
//    The image is read through the real ISO reader and access layer, and
//    Guess_WindowsNT, Guess_WindowsLegacy and Guess_WindowsVistaAndNewer run
//    on it, each on a fresh record on the heap; every text field must stay
//    terminated within its size.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <trguest/guess.h>

#include "fuzz_scratch.hh"
#include "mini_iso.hh"

namespace {

void Check(bool ok) {
   if (!ok) {
      std::abort();
   }
}

bool Terminated(const char *field, size_t size) {
   return std::memchr(field, '\0', size) != nullptr;
}

// Usable entry names from one name per line: no NUL or "/", 1 to 100
// bytes, at most 32 of them.
std::set<std::string> Names(std::string_view list) {
   std::set<std::string> names;
   while (!list.empty() && names.size() < 32) {
      size_t nl = list.find('\n');
      std::string_view line = list.substr(0, nl);
      list.remove_prefix(nl == std::string_view::npos ? list.size() : nl + 1);
      if (!line.empty() && line.back() == '\r') {
         line.remove_suffix(1);
      }
      if (line.empty() || line.size() > 100 || line == "." || line == ".." ||
          line.find('\0') != std::string_view::npos || line.find('/') != std::string_view::npos ||
          line.find(';') != std::string_view::npos) {
         continue;
      }
      names.insert(std::string(line));
   }
   return names;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   if (size > (1u << 20)) {
      return 0;
   }
   std::string_view input(reinterpret_cast<const char *>(data), size);
   auto parts = fuzz::SplitInput(input, 8);

   fuzz::MiniIso iso;
   const char *files[] = {"I386/TXTSETUP.SIF",    "I386/PRODSPEC.INI", "sources/product.ini",
                          "sources/idwbinfo.txt", "sources/lang.ini",  "sources/ei.cfg"};
   std::set<std::string> used;
   for (size_t i = 0; i < 6; i++) {
      if (!parts[i].empty()) {
         iso.AddFile(files[i], parts[i]);
         used.insert(files[i]);
      }
   }
   for (const std::string &name : Names(parts[6])) {
      std::string path = "sources/" + name;
      if (used.insert(path).second) {
         iso.AddFile(path, "x");
      }
   }
   for (const std::string &name : Names(parts[7])) {
      std::string path = name + "/SETUP.TXT";
      if (used.count(name) == 0 && used.insert(path).second) {
         iso.AddFile(path, "x");
      }
   }
   std::string image = iso.Build();
   const std::string &path = fuzz::WriteScratch(
      "windows", reinterpret_cast<const uint8_t *>(image.data()), image.size());

   GuessMedia media;
   std::memset(&media, 0, sizeof media);
   uint32_t formats = 0;
   Iso9660_ListFormats(path.c_str(), &formats);
   if (Iso9660_Open(path.c_str(), formats, 0, &media.iso) != ISO9660_OK) {
      return 0;
   }
   media.kind = GUESS_MEDIA_ISO9660;

   for (GuessDetector detector :
        {Guess_WindowsNT, Guess_WindowsLegacy, Guess_WindowsVistaAndNewer}) {
      auto info = std::make_unique<GuessInfo>();
      std::memset(info.get(), 0, sizeof *info);
      Bool found = detector(&media, info.get());
      Check((found != FALSE) == (info->guestOS != nullptr));
      Check(info->guestOS64 == nullptr);
      Check(info->subVersion == 0 || info->subVersion == GUESS_VERSION_WIN8_ENTERPRISE ||
            info->subVersion == GUESS_VERSION_WIN8_ENTERPRISE_EVAL);
      Check(Terminated(info->versionString, sizeof info->versionString));
      Check(Terminated(info->language, sizeof info->language));
      Check(Terminated(info->languages, sizeof info->languages));
      Check(Terminated(info->editions, sizeof info->editions));
   }
   Iso9660_Close(media.iso);
   return 0;
}
