// guessMandriva.cc --
//
//    Mandriva and Turbolinux media.
//    Not recognised yet: the detectors of this family report no match.

#include <trguest/guess.h>

extern "C" {

TRGUEST_API Bool Guess_Mandriva(GuessMedia *, GuessInfo *) noexcept {
   return FALSE;
}

TRGUEST_API Bool Guess_TurboLinux(GuessMedia *, GuessInfo *) noexcept {
   return FALSE;
}

}  // extern "C"
