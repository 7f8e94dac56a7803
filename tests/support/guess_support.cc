// guess_support.cc --
//
//    Opening images for detection tests.

#include "guess_support.hh"

#include <cstdlib>
#include <cstring>

namespace trtest {

OpenedMedia::OpenedMedia(const std::string &imagePath) {
   media_.udf = UDF_Open(imagePath.c_str());
   if (media_.udf != nullptr) {
      media_.kind = GUESS_MEDIA_UDF;
      return;
   }
   uint32_t formats = 0;
   Iso9660_ListFormats(imagePath.c_str(), &formats);
   if (Iso9660_Open(imagePath.c_str(), formats, 0, &media_.iso) == ISO9660_OK) {
      media_.kind = GUESS_MEDIA_ISO9660;
   }
}

OpenedMedia::~OpenedMedia() {
   if (media_.kind == GUESS_MEDIA_UDF) {
      UDF_Close(media_.udf);
   } else if (media_.kind == GUESS_MEDIA_ISO9660) {
      Iso9660_Close(media_.iso);
   }
}

Detection DetectImage(const std::string &imagePath) {
   Detection d;
   std::memset(&d.info, 0x5A, sizeof d.info);  // Guess_Guest must clear it
   d.result = Guess_Guest(imagePath.c_str(), 0, &d.info);
   return d;
}

Detection RunDetector(const std::string &imagePath, GuessDetector detector) {
   Detection d;
   OpenedMedia media(imagePath);
   if (!media.ok()) {
      return d;
   }
   d.result = detector(media.get(), &d.info) ? 0 : 1;
   return d;
}

}  // namespace trtest
