// guessNames.cc --
//
//    Names of the version sub-codes: the exported table SUB_NAMES and its
//    accessor.

#include <trguest/guess.h>

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

}  // extern "C"
