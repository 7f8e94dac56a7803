// linuxFlavour.cc --
//
//    Linux guests: the flavour of a guest OS id, the per-flavour table of
//    answer file and boot option, which Linux guests can be installed
//    unattended, and the checks of the texts a user types for them.

#include <cstring>

#include <trguest/autoinstall.h>
#include <trplatform/msg.h>
#include <trplatform/strutil.h>

#include "installFront.h"

LinuxFlavourInfo linuxFlavourTable[LINUX_FLAVOUR_MANDRIVA + 1] = {
   {LINUX_TEMPLATE_NONE, nullptr, nullptr, FALSE},
   {LINUX_TEMPLATE_KICKSTART, "ks=cdrom:/ks.cfg", "ks.cfg", FALSE},
   {LINUX_TEMPLATE_PRESEED,
    "debian-installer/custom-installation=/custom find_preseed=/preseed.cfg auto "
    "preseed/file=/floppy/preseed.cfg automatic-ubiquity noprompt priority=critical "
    "locale=en_US console-setup/modelcode=evdev",
    "preseed.cfg", TRUE},
   {LINUX_TEMPLATE_AUTOYAST,
    "autoyast=device://fd0/autoinst.xml install=cd:/?device=sr1 driverupdate=disk:/?device=fd0",
    "autoinst.xml", TRUE},
   {LINUX_TEMPLATE_AUTOYAST,
    "autoyast=device://fd0/autoinst.xml install=cd:/?device=hdc driverupdate=disk:/?device=fd0",
    "autoinst.xml", TRUE},
   {LINUX_TEMPLATE_AUTO_INST, "auto_install=floppy", "auto_i~1.cfg", TRUE},
};

namespace {

// Guest OS id prefixes in the order they are tested; the first hit decides.
struct FlavourPrefix {
   const char *prefix;
   LinuxFlavour flavour;
};

constexpr FlavourPrefix kFlavourPrefixes[] = {
   {"redhat", LINUX_FLAVOUR_REDHAT},   {"rhel", LINUX_FLAVOUR_REDHAT},
   {"asianux", LINUX_FLAVOUR_REDHAT},  {"fedora", LINUX_FLAVOUR_REDHAT},
   {"centos", LINUX_FLAVOUR_REDHAT},   {"sles10", LINUX_FLAVOUR_SLES10},
   {"sles11", LINUX_FLAVOUR_SUSE},     {"opensuse", LINUX_FLAVOUR_SUSE},
   {"ubuntu", LINUX_FLAVOUR_UBUNTU},   {"mandriva", LINUX_FLAVOUR_MANDRIVA},
};

// Stores the localised message of a failed check when the caller wants it.
AutoInstallTextResult Refuse(AutoInstallTextResult result, const char *catalogueText,
                             char **errMsg) {
   if (errMsg != nullptr) {
      *errMsg = Msg_GetString(catalogueText);
   }
   return result;
}

bool IsLowerAscii(char c) { return c >= 'a' && c <= 'z'; }
bool IsDigitAscii(char c) { return c >= '0' && c <= '9'; }

}  // namespace

LinuxFlavour GetLinuxFlavour(const char *guestOS) {
   if (guestOS == nullptr) {
      return LINUX_FLAVOUR_NONE;
   }
   for (const FlavourPrefix &p : kFlavourPrefixes) {
      if (StrUtil_StartsWith(guestOS, p.prefix)) {
         return p.flavour;
      }
   }
   return LINUX_FLAVOUR_NONE;
}

extern "C" {

TRGUEST_API Bool AutoInstallIsSupportedLinuxGuest(const GuessInfo *info) noexcept {
   if (info == nullptr) {
      return FALSE;
   }
   const uint32_t sub = info->subVersion;
   switch (GetLinuxFlavour(info->guestOS)) {
   case LINUX_FLAVOUR_REDHAT:
      return std::strcmp(info->guestOS, "rhel2") != 0 &&
             std::strcmp(info->guestOS, "redhat") != 0 && sub != GUESS_VERSION_FEDORA_8 &&
             sub != GUESS_VERSION_FEDORA_13;
   case LINUX_FLAVOUR_UBUNTU:
      return sub != GUESS_VERSION_UNKNOWN && sub != GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER &&
             sub != GUESS_VERSION_UBUNTU_704_OR_LOWER;
   case LINUX_FLAVOUR_SUSE:
   case LINUX_FLAVOUR_SLES10:
      return sub != GUESS_VERSION_OPENSUSE_11_2_OR_LOWER &&
             sub != GUESS_VERSION_SLES_10_SP2_OR_LOWER &&
             sub != GUESS_VERSION_SLED_10_SP2_OR_LOWER;
   case LINUX_FLAVOUR_MANDRIVA:
   case LINUX_FLAVOUR_NONE:
   default:
      return FALSE;
   }
}

TRGUEST_API AutoInstallTextResult AutoInstallValidateLinuxText(const GuessInfo *info,
                                                               const char *text, int32_t kind,
                                                               char **errMsg) noexcept {
   // A missing text is checked as the empty one, as a form field left empty.
   if (text == nullptr) {
      text = "";
   }
   const LinuxFlavour flavour = info != nullptr ? GetLinuxFlavour(info->guestOS) : LINUX_FLAVOUR_NONE;
   // Byte ranges, not locale classes: the installers check bytes.
   switch (kind) {
   case AUTOINSTALL_TEXT_SHORT_NAME:
      if (flavour == LINUX_FLAVOUR_UBUNTU && !IsLowerAscii(text[0])) {
         return Refuse(TEXT_BAD_UBUNTU_USERNAME,
                       "@&!*@*@(msg.autoinstall.bad_ubuntu_username)The user name must start "
                       "with a lowercase US English character.\nEnter a new value.",
                       errMsg);
      }
      for (const char *p = text; *p != '\0'; p++) {
         if (!IsLowerAscii(*p) && !IsDigitAscii(*p) && *p != '-') {
            return Refuse(TEXT_BAD_LINUX_USERNAME,
                          "@&!*@*@(msg.autoinstall.bad_linux_username)The user name must "
                          "consist only of lowercase US English characters, numbers 0 to 9 and "
                          "dashes.\nEnter a new value.",
                          errMsg);
         }
      }
      return TEXT_OK;
   case AUTOINSTALL_TEXT_NAME:
      if (std::strpbrk(text, ":\"\\,") != nullptr) {
         return Refuse(TEXT_BAD_LINUX_NAME,
                       "@&!*@*@(msg.autoinstall.bad_linux_name)The full name does not allow the "
                       "following characters: ':\"\\,'\nEnter a new value.",
                       errMsg);
      }
      if (std::strstr(text, "]]>") != nullptr) {
         return Refuse(TEXT_BAD_GECOS_SUBSTRING,
                       "@&!*@*@(msg.autoinstall.bad_gecos_substring)The full name must not "
                       "contain the characters ']]>' in a row.\nEnter a new value.",
                       errMsg);
      }
      return TEXT_OK;
   case AUTOINSTALL_TEXT_PASSWORD:
      if (std::strstr(text, "]]>") != nullptr) {
         return Refuse(TEXT_BAD_PASSWORD_SUBSTRING,
                       "@&!*@*@(msg.autoinstall.bad_password_substring)The password must not "
                       "contain the characters ']]>' in a row.\nEnter a new value.",
                       errMsg);
      }
      return TEXT_OK;
   default:
      return TEXT_OK;
   }
}

TRGUEST_API Bool AutoInstall_NeedsFloppy_Linux(const char *guestOS) noexcept {
   return linuxFlavourTable[GetLinuxFlavour(guestOS)].needsFloppy;
}

}  // extern "C"
