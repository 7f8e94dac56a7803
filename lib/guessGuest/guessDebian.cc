// guessDebian.cc --
//
//    Debian and Ubuntu media.
//    Not recognised yet: the detectors of this family report no match.

#include <trguest/guess.h>

extern "C" {

TRGUEST_API Bool Guess_Debian(GuessMedia *, GuessInfo *) noexcept {
   return FALSE;
}

}  // extern "C"
