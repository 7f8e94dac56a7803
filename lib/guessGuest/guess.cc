// guess.cc --
//
//    The detection driver: opens an installation image as UDF or ISO 9660
//    and runs the chain of detectors, one per OS family, in precedence
//    order.

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/util.h>

namespace {

// The families in precedence order; the first that recognises the image
// decides. Mac OS media are recognised only when asked for directly.
const GuessDetector kDetectors[] = {
   Guess_WindowsNT, Guess_WindowsLegacy, Guess_WindowsVistaAndNewer,
   Guess_RedHat,    Guess_Mandriva,      Guess_Debian,
   Guess_SUSE,      Guess_TurboLinux,    Guess_Solaris,
   Guess_NetWare,   Guess_FreeBSD,       Guess_Zelt,
   Guess_Zelti,     nullptr,
};

}  // namespace

extern "C" {

TRGUEST_API int32_t Guess_Guest(const char *imagePath, uint32_t, GuessInfo *info) noexcept {
   std::memset(info, 0, sizeof *info);
   GuessMedia media;
   std::memset(&media, 0, sizeof media);
   media.kind = GUESS_MEDIA_ISO9660;

   // UDF first: an image with both file systems is read through its UDF side.
   media.udf = UDF_Open(imagePath);
   if (media.udf != nullptr) {
      media.kind = GUESS_MEDIA_UDF;
   } else {
      uint32_t formats = 0;
      Iso9660_ListFormats(imagePath, &formats);
      if (Iso9660_Open(imagePath, formats, 0, &media.iso) != ISO9660_OK) {
         return GUESS_RESULT_OPEN_FAILED;
      }
   }
   media.path = UtilSafeStrdup0(imagePath);

   Bool found = FALSE;
   for (const GuessDetector *d = kDetectors; *d != nullptr && !found; d++) {
      found = (*d)(&media, info);
   }

   std::free(media.path);
   if (media.kind == GUESS_MEDIA_UDF) {
      UDF_Close(media.udf);
   } else {
      Iso9660_Close(media.iso);
   }
   return found ? GUESS_RESULT_FOUND : GUESS_RESULT_NO_MATCH;
}

}  // extern "C"
