// guessSUSE.cc --
//
//    SUSE family media.
//    Not recognised yet: the detectors of this family report no match.

#include <trguest/guess.h>

extern "C" {

TRGUEST_API Bool Guess_SUSE(GuessMedia *, GuessInfo *) noexcept {
   return FALSE;
}

}  // extern "C"
