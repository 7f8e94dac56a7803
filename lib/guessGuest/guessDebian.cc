// guessDebian.cc --
//
//    Debian 4.0 to 7.0 and Ubuntu media, from the one-line
//    description ".disk/info". For Ubuntu the version text and a sub-code
//    that tells server from desktop media and old from new releases.

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "guessLinuxInt.h"

namespace {

struct Family {
   const char *prefix;      // case-sensitive, at the start of ".disk/info"
   const char *guestOS;     // 32-bit
   const char *guestOS64;
   bool ubuntu;
};

// Tested in this order; the first that holds decides.
constexpr Family kFamilies[] = {
   {"Debian GNU/Linux 4.0", "debian4", "debian4-64", false},
   {"Debian GNU/Linux 5.0", "debian5", "debian5-64", false},
   {"Debian GNU/Linux 6.0", "debian6", "debian6-64", false},
   {"Debian GNU/Linux 7.0", "debian7", "debian7-64", false},
   {"Ubuntu", "ubuntu", "ubuntu-64", true},
   {"Kubuntu", "ubuntu", "ubuntu-64", true},
   {"Xubuntu", "ubuntu", "ubuntu-64", true},
   {"Edubuntu", "ubuntu", "ubuntu-64", true},
};

// Ubuntu: the second blank-separated word is the version; server media
// name "Ubuntu-Server". Writes versionString and returns the sub-code.
uint32_t UbuntuVersion(const char *text, uint32_t sub, GuessInfo *info) {
   unsigned int index = 0;
   char *first = StrUtil_GetNextToken(&index, text, " ");
   char *version = first != nullptr ? StrUtil_GetNextToken(&index, text, " ") : nullptr;
   std::free(first);
   if (version == nullptr) {
      return sub;
   }
   const char *prefix;
   if (std::strstr(text, "Ubuntu-Server") != nullptr) {
      sub = Util_CompareDotted(version, "8.10") < 0 ? GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER
                                                    : GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER;
      prefix = "Server ";
   } else {
      sub = Util_CompareDotted(version, "7.10") < 0 ? GUESS_VERSION_UBUNTU_704_OR_LOWER
                                                    : GUESS_VERSION_UBUNTU_710_OR_HIGHER;
      prefix = "";
   }
   Str_Snprintf(info->versionString, sizeof info->versionString, "%s%s", prefix, version);
   std::free(version);
   return sub;
}

}  // namespace

extern "C" TRGUEST_API Bool Guess_Debian(GuessMedia *media, GuessInfo *info) noexcept {
   char *text = Guess_ReadFileName(media, ".disk/info", nullptr);
   Bool noIsolinuxCfg = Guess_FileExists(media, "isolinux", "isolinux.cfg") ? FALSE : TRUE;
   if (text == nullptr) {
      return GuessLinuxFinish(info, nullptr, 0, noIsolinuxCfg);
   }

   const Family *family = nullptr;
   for (const Family &f : kFamilies) {
      if (StrUtil_StartsWith(text, f.prefix)) {
         family = &f;
         break;
      }
   }

   const char *guestOS = nullptr;
   uint32_t sub = GUESS_VERSION_UNKNOWN;
   if (family != nullptr) {
      if (std::strstr(text, "amd64") != nullptr) {
         guestOS = family->guestOS64;
      } else if (std::strstr(text, "i386") != nullptr) {
         guestOS = family->guestOS;
      }
      if (family->ubuntu) {
         // Also when no architecture was found: the version is written all
         // the same.
         sub = UbuntuVersion(text, GUESS_VERSION_UBUNTU_704_OR_LOWER, info);
      }
   }
   std::free(text);
   return GuessLinuxFinish(info, guestOS, sub, noIsolinuxCfg);
}
