// guess_support.hh --
//
//    Detection helpers for tests: an image opened the way the detection
//    driver opens it (UDF first, else ISO 9660 through its best format), so
//    that a single detector or the access layer can be run on it directly.

#pragma once

#include <string>

#include <trguest/guess.h>

namespace trtest {

// An opened image; closed when the object goes away.
class OpenedMedia {
public:
   explicit OpenedMedia(const std::string &imagePath);
   ~OpenedMedia();
   OpenedMedia(const OpenedMedia &) = delete;
   OpenedMedia &operator=(const OpenedMedia &) = delete;

   bool ok() const { return media_.kind != 0; }
   GuessMedia *get() { return &media_; }
   bool isUdf() const { return media_.kind == GUESS_MEDIA_UDF; }

private:
   GuessMedia media_{};
};

struct Detection {
   int result = -1;   // Guess_Guest's result, or -1 when the image did not open
   GuessInfo info{};
   std::string guestOS() const { return info.guestOS != nullptr ? info.guestOS : ""; }
   std::string guestOS64() const { return info.guestOS64 != nullptr ? info.guestOS64 : ""; }
};

// Guess_Guest on the image.
Detection DetectImage(const std::string &imagePath);
// One detector on a cleared record; result is 0 when it returned TRUE, 1 otherwise.
Detection RunDetector(const std::string &imagePath, GuessDetector detector);

}  // namespace trtest
