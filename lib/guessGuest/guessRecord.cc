// guessRecord.cc --
//
//    The detection record's helpers: the names of the version sub-codes
//    (the exported table SUB_NAMES), comparison of two records, and the
//    display version of a detected guest.

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/msg.h>
#include <trplatform/str.h>
#include <trplatform/util.h>

namespace {

// Two identifiers are equal when both are null or both hold the same text.
bool SameId(const char *a, const char *b) {
   if (a == nullptr || b == nullptr) {
      return a == b;
   }
   return std::strcmp(a, b) == 0;
}

}  // namespace

extern "C" {

TRGUEST_API const char *SUB_NAMES[GUESS_SUB_NAMES_COUNT] = {
   "GUESS_VERSION_UNKNOWN",
   "GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER",
   "GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER",
   "GUESS_VERSION_UBUNTU_704_OR_LOWER",
   "GUESS_VERSION_UBUNTU_710_OR_HIGHER",
   "GUESS_VERSION_MANDRIVA_2006",
   "GUESS_VERSION_MANDRIVA_2007",
   "GUESS_VERSION_MANDRIVA_2008_0",
   "GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER",
   "GUESS_VERSION_FEDORA_8",
   "GUESS_VERSION_FEDORA_9_TO_12",
   "GUESS_VERSION_FEDORA_13",
   "GUESS_VERSION_FEDORA_14_TO_16",
   "GUESS_VERSION_FEDORA_17",
   "GUESS_VERSION_FEDORA_18_OR_HIGHER",
   "GUESS_VERSION_OPENSUSE_11_2_OR_LOWER",
   "GUESS_VERSION_SLES_10_SP2_OR_LOWER",
   "GUESS_VERSION_SLED_10_SP2_OR_LOWER",
   "GUESS_VERSION_SLED_ALL",
   "GUESS_VERSION_CENTOS_3",
   "GUESS_VERSION_CENTOS_4",
   "GUESS_VERSION_CENTOS_5",
   "GUESS_VERSION_CENTOS_6",
   "GUESS_VERSION_DUMMY_LAST",
};

// Sub-code 24 (Windows 8 Enterprise evaluation media) has no row in
// SUB_NAMES; a display that asks for its name gets one that says what it is
// rather than a pointer past the table.
TRGUEST_API const char *Guess_GetSubString(uint32_t subVersion) noexcept {
   if (subVersion < GUESS_SUB_NAMES_COUNT) {
      return SUB_NAMES[subVersion];
   }
   if (subVersion == GUESS_VERSION_WIN8_ENTERPRISE_EVAL) {
      return "GUESS_VERSION_WIN8_ENTERPRISE_EVAL";
   }
   return SUB_NAMES[GUESS_VERSION_UNKNOWN];
}

TRGUEST_API Bool Guess_IsEqual(const GuessInfo *a, const GuessInfo *b) noexcept {
   return SameId(a->guestOS, b->guestOS) && SameId(a->guestOS64, b->guestOS64) &&
                a->subVersion == b->subVersion && a->noIsolinuxCfg == b->noIsolinuxCfg &&
                std::strncmp(a->versionString, b->versionString, sizeof a->versionString) == 0 &&
                std::strncmp(a->language, b->language, sizeof a->language) == 0 &&
                std::strncmp(a->languages, b->languages, sizeof a->languages) == 0 &&
                std::strncmp(a->editions, b->editions, sizeof a->editions) == 0
             ? TRUE
             : FALSE;
}

TRGUEST_API char *Guess_GetVersionString(const char *name, const GuessInfo *info) noexcept {
   char *suffix = nullptr;
   if (info->versionString[0] != '\0') {
      // A detector may have filled the fixed field to the brim: read at most its size.
      suffix = UtilSafeStrndup0(info->versionString, sizeof info->versionString);
   } else if (info->subVersion == GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER ||
              info->subVersion == GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER) {
      suffix = Msg_GetString("@&!*@*@(msg.guessGuest.ubuntuServer)Server");
   } else if (info->subVersion == GUESS_VERSION_SLED_10_SP2_OR_LOWER ||
              info->subVersion == GUESS_VERSION_SLED_ALL) {
      suffix = Msg_GetString("@&!*@*@(msg.guessGuest.sledDesktop)Desktop");
   }
   char *result = suffix != nullptr && suffix[0] != '\0'
                     ? Str_SafeAsprintf(nullptr, "%s %s", name, suffix)
                     : UtilSafeStrdup0(name);
   std::free(suffix);
   return result;
}

}  // extern "C"
