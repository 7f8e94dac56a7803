// guessSolaris.cc --
//
//    Solaris media: a top-level directory named after the release.

#include <iterator>

#include <trguest/guess.h>

#include "guessInt.h"

namespace {

// Root entries, compared without regard to case, and what each installs.
constexpr const char *kEntries[] = {"Solaris_2.7", "Solaris_8", "Solaris_9", "Solaris_10"};
constexpr const char *kGuestOS[] = {"solaris7", "solaris8", "solaris9", "solaris10"};
constexpr const char *kGuestOS64[] = {nullptr, nullptr, nullptr, "solaris10-64"};

}  // namespace

extern "C" TRGUEST_API Bool Guess_Solaris(GuessMedia *media, GuessInfo *info) noexcept {
   // The first matching entry in directory order decides.
   int i = GuessFirstRootEntryOf(media, kEntries, std::size(kEntries));
   if (i < 0) {
      return FALSE;
   }
   info->guestOS = kGuestOS[i];
   info->guestOS64 = kGuestOS64[i];
   info->subVersion = GUESS_VERSION_UNKNOWN;
   return TRUE;
}
