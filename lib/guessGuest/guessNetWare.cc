// guessNetWare.cc --
//
//    NetWare media: a top-level entry of the release.

#include <iterator>

#include <trguest/guess.h>

#include "guessInt.h"

namespace {

// Root entries, compared without regard to case, and what each installs.
constexpr const char *kEntries[] = {"netware6", "nw65os", "nw51"};
constexpr const char *kGuestOS[] = {"netware6", "netware6", "netware5"};

}  // namespace

extern "C" TRGUEST_API Bool Guess_NetWare(GuessMedia *media, GuessInfo *info) noexcept {
   int i = GuessFirstRootEntryOf(media, kEntries, std::size(kEntries));
   if (i == -2) {
      return FALSE;
   }
   return GuessFinish(info, i >= 0 ? kGuestOS[i] : nullptr, GUESS_VERSION_UNKNOWN);
}
