// guessWindowsNT.cc --
//
//    Windows NT-era and 9x media.
//    Not recognised yet: the detectors of this family report no match.

#include <trguest/guess.h>

extern "C" {

TRGUEST_API Bool Guess_WindowsNT(GuessMedia *, GuessInfo *) noexcept {
   return FALSE;
}

TRGUEST_API Bool Guess_WindowsLegacy(GuessMedia *, GuessInfo *) noexcept {
   return FALSE;
}

}  // extern "C"
