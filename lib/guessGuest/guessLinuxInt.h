// guessLinuxInt.h --
//
//    Internal helpers shared by the Linux detectors.

#pragma once

#include <trguest/guess.h>

#include "guessInt.h"

// GuessFinish for the Linux detectors, which also report whether the boot
// directory lacks an isolinux.cfg (written only with an identifier).
inline Bool GuessLinuxFinish(GuessInfo *info, const char *guestOS, uint32_t sub,
                             Bool noIsolinuxCfg) {
   if (guestOS != nullptr) {
      info->noIsolinuxCfg = noIsolinuxCfg;
   }
   return GuessFinish(info, guestOS, sub);
}
