// guessSolaris.cc --
//
//    Solaris media: a top-level directory named after the release.

#include <strings.h>

#include <trguest/guess.h>

namespace {

struct SolarisRelease {
   const char *entry;    // root entry, compared without regard to case
   const char *guestOS;
   const char *guestOS64;
};

constexpr SolarisRelease kReleases[] = {
   {"Solaris_2.7", "solaris7", nullptr},
   {"Solaris_8", "solaris8", nullptr},
   {"Solaris_9", "solaris9", nullptr},
   {"Solaris_10", "solaris10", "solaris10-64"},
};

}  // namespace

extern "C" TRGUEST_API Bool Guess_Solaris(GuessMedia *media, GuessInfo *info) noexcept {
   GuessDir *root = Guess_OpenDir(media, "/");
   if (root == nullptr) {
      return FALSE;
   }
   // The first matching entry in directory order decides.
   const char *name;
   while ((name = Guess_ReadDir(media, root)) != nullptr) {
      for (const SolarisRelease &r : kReleases) {
         if (strcasecmp(name, r.entry) == 0) {
            Guess_CloseDir(media, root);
            info->guestOS = r.guestOS;
            info->guestOS64 = r.guestOS64;
            info->subVersion = GUESS_VERSION_UNKNOWN;
            return TRUE;
         }
      }
   }
   Guess_CloseDir(media, root);
   return FALSE;
}
