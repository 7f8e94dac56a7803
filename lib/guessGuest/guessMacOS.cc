// guessMacOS.cc --
//
//    Mac OS X media, by marker entries of their root or their Boot Camp
//    folder. Not part of the detection chain; callers ask for it directly.

#include <trguest/guess.h>

namespace {

struct MacRelease {
   const char *dir;
   const char *entry;
   const char *guestOS;
   const char *guestOS64;
};

constexpr MacRelease kReleases[] = {
   {"/", "Install Mac OS X Lion.app", "darwin11", "darwin11-64"},
   {"/", "Boot Camp Installation & Setup Guide.pdf", "darwin", "darwin-64"},
   {"/Boot Camp/Documentation", "Boot Camp Installation & Setup Guide.pdf", "darwin10",
    "darwin10-64"},
};

}  // namespace

extern "C" TRGUEST_API Bool Guess_MacOS(GuessMedia *media, GuessInfo *info) noexcept {
   for (const MacRelease &r : kReleases) {
      if (Guess_FileExists(media, r.dir, r.entry)) {
         info->guestOS = r.guestOS;
         info->guestOS64 = r.guestOS64;
         info->subVersion = GUESS_VERSION_UNKNOWN;
         return TRUE;
      }
   }
   return FALSE;
}
