// guessLinuxInt.h --
//
//    Internal helpers shared by the Linux detectors.

#pragma once

#include <trguest/guess.h>

// The common last step of a Linux detector: with an identifier, writes
// guestOS, subVersion and noIsolinuxCfg and returns TRUE; without one,
// leaves the record as it is and returns whether guestOS is already set
// (FALSE within the chain).
inline Bool GuessLinuxFinish(GuessInfo *info, const char *guestOS, uint32_t sub,
                             Bool noIsolinuxCfg) {
   if (guestOS == nullptr) {
      return info->guestOS != nullptr ? TRUE : FALSE;
   }
   info->guestOS = guestOS;
   info->subVersion = sub;
   info->noIsolinuxCfg = noIsolinuxCfg;
   return TRUE;
}
