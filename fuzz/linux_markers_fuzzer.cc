// linux_markers_fuzzer.cc --
//
//    Arbitrary marker-file texts for the Linux detectors.
//    One input is split at "\n--8<--\n" into:
//
//       0  the ISO 9660 volume label (cut to 32 bytes)
//       1  extra paths, one per line, each made a small file (CentOS keys,
//          isolinux.cfg in the boot-loader directories, .S.u.S.E-disk ...)
//       2  .discinfo            3  RELEASE-NOTES       4  .disk/info
//       5  content              6  media.1/products    7  VERSION
//       8  i586/product.id      9  x86_64/product.id  10  README
//
//    An empty piece leaves its file out. The tree is laid into an in-memory
//    ISO 9660 image, written to a scratch file and opened as the detection
//    driver opens it; each Linux detector runs on a cleared record, then
//    every detector of the chain and Guess_Guest, whose result must be the
//    first claimant's. LINUX_MARKERS_VERBOSE in the environment prints the
//    chain's result for each input.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <trguest/guess.h>
#include <trplatform/guestos.h>

#include "fuzz_scratch.hh"
#include "mini_iso.hh"

namespace {

constexpr size_t kParts = 11;
constexpr size_t kMaxInput = 1 << 16;
constexpr size_t kMaxExtraPaths = 16;
constexpr size_t kMaxPathLength = 100;

constexpr const char *kMarkerPaths[] = {
   ".discinfo", "RELEASE-NOTES",     ".disk/info",     "content",
   "media.1/products", "VERSION", "i586/product.id", "x86_64/product.id",
   "README",
};
static_assert(sizeof kMarkerPaths / sizeof kMarkerPaths[0] == kParts - 2);

// The detection chain, in order.
const GuessDetector kChain[] = {
   Guess_WindowsNT, Guess_WindowsLegacy, Guess_WindowsVistaAndNewer,
   Guess_RedHat,    Guess_Mandriva,      Guess_Debian,
   Guess_SUSE,      Guess_TurboLinux,    Guess_Solaris,
   Guess_NetWare,   Guess_FreeBSD,       Guess_Zelt,
   Guess_Zelti,
};

const GuessDetector kLinux[] = {
   Guess_RedHat, Guess_Mandriva, Guess_Debian, Guess_SUSE, Guess_TurboLinux,
};

void AddExtraPaths(fuzz::MiniIso *iso, std::string_view list) {
   size_t added = 0;
   while (!list.empty() && added < kMaxExtraPaths) {
      size_t nl = list.find('\n');
      std::string_view path = list.substr(0, nl);
      list.remove_prefix(nl == std::string_view::npos ? list.size() : nl + 1);
      if (path.empty() || path.size() > kMaxPathLength || path.back() == '/') {
         continue;
      }
      iso->AddFile(path, "x\n");
      added++;
   }
}

bool OpenMedia(const std::string &path, GuessMedia *media) {
   std::memset(media, 0, sizeof *media);
   media->udf = UDF_Open(path.c_str());
   if (media->udf != nullptr) {
      media->kind = GUESS_MEDIA_UDF;
      return true;
   }
   uint32_t formats = 0;
   Iso9660_ListFormats(path.c_str(), &formats);
   if (Iso9660_Open(path.c_str(), formats, 0, &media->iso) != ISO9660_OK) {
      return false;
   }
   media->kind = GUESS_MEDIA_ISO9660;
   return true;
}

void CloseMedia(GuessMedia *media) {
   if (media->kind == GUESS_MEDIA_UDF) {
      UDF_Close(media->udf);
   } else {
      Iso9660_Close(media->iso);
   }
}

// What every detector's record must look like afterwards.
void CheckRecord(Bool claimed, const GuessInfo &info) {
   if (memchr(info.versionString, '\0', sizeof info.versionString) == nullptr) {
      std::abort();  // versionString must stay terminated
   }
   if (!claimed) {
      if (info.guestOS != nullptr) {
         std::abort();  // a detector that says no leaves guestOS alone
      }
      return;
   }
   if (info.guestOS == nullptr || GuestOS_GetOSIDByName(info.guestOS) == -1 ||
       info.subVersion > GUESS_VERSION_WIN8_ENTERPRISE_EVAL) {
      std::abort();  // an identifier of the guest OS table, a known sub-code
   }
}

bool SameResult(const GuessInfo &a, const GuessInfo &b) {
   return a.guestOS != nullptr && b.guestOS != nullptr && std::strcmp(a.guestOS, b.guestOS) == 0 &&
          a.subVersion == b.subVersion && a.noIsolinuxCfg == b.noIsolinuxCfg;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   if (size > kMaxInput) {
      return 0;
   }
   std::string_view input(reinterpret_cast<const char *>(data), size);
   std::vector<std::string_view> parts = fuzz::SplitInput(input, kParts);

   fuzz::MiniIso iso;
   iso.SetVolumeId(parts[0]);
   AddExtraPaths(&iso, parts[1]);
   for (size_t i = 0; i + 2 < kParts; i++) {
      if (!parts[i + 2].empty()) {
         iso.AddFile(kMarkerPaths[i], parts[i + 2]);
      }
   }
   std::string image = iso.Build();
   const std::string &path = fuzz::WriteScratch(
      "linux", reinterpret_cast<const uint8_t *>(image.data()), image.size());

   GuessMedia media;
   if (!OpenMedia(path, &media)) {
      std::abort();  // MiniIso always writes a readable image
   }
   for (GuessDetector d : kLinux) {
      GuessInfo info;
      std::memset(&info, 0, sizeof info);
      CheckRecord(d(&media, &info), info);
   }
   // The chain's result is the first claimant's.
   GuessInfo first;
   std::memset(&first, 0, sizeof first);
   bool claimed = false;
   for (GuessDetector d : kChain) {
      GuessInfo info;
      std::memset(&info, 0, sizeof info);
      if (d(&media, &info)) {
         first = info;
         claimed = true;
         break;
      }
   }
   CloseMedia(&media);

   GuessInfo chain;
   int32_t result = Guess_Guest(path.c_str(), 0, &chain);
   if (result != (claimed ? GUESS_RESULT_FOUND : GUESS_RESULT_NO_MATCH)) {
      std::abort();
   }
   if (claimed && !SameResult(chain, first)) {
      std::abort();
   }
   // For checking what a seed reaches: LINUX_MARKERS_VERBOSE=1 *_replay corpus/...
   if (std::getenv("LINUX_MARKERS_VERBOSE") != nullptr) {
      std::fprintf(stderr, "%s sub=%u noIsolinuxCfg=%d version=\"%s\"\n",
                   claimed ? chain.guestOS : "(none)", chain.subVersion, chain.noIsolinuxCfg,
                   chain.versionString);
   }
   return 0;
}
