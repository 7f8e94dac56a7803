// installFront.cc --
//
//    The install front: whether a detected guest can be installed
//    unattended, the limits and reserved names of the installer form, and the
//    dispatch of text validation to the Windows or Linux checks.

#include <cstring>

#include <trguest/autoinstall.h>
#include <trplatform/guestos.h>
#include <trplatform/log.h>
#include <trplatform/strutil.h>

#include "installFront.h"

namespace {

constexpr InstallConfigReservedName kLinuxReserved[] = {
   {"root", 0},
   {nullptr, 0},
};

constexpr InstallConfigReservedName kWindowsReserved[] = {
   {"administra", 1}, {"amministratore", 0}, {"guest", 0}, {"guests", 0},
   {"gast", 0},       {"invitado", 0},       {nullptr, 0},
};

constexpr InstallConfigReservedName kVistaReserved[] = {
   {"administra", 1}, {"amministratore", 0}, {"guest", 0}, {"guests", 0}, {nullptr, 0},
};

// The guest row whose prefix is this matches every Windows Vista or later
// guest, whatever its id.
constexpr const char kVistaOrLaterPrefix[] = "+vista";

constexpr InstallConfigGuestRow kWindowsGuests[] = {
   {"*", "*", {0, 0}, 50, 0, kWindowsReserved},
   {"winnet", "*", {1, 0}, 50, 0, kWindowsReserved},
   {"win2000", "*", {1, 1}, 50, 0, kWindowsReserved},
   {"winxp", "*", {1, 1}, 50, 0, kWindowsReserved},
   {kVistaOrLaterPrefix, "*", {1, 1}, 20, 0, kVistaReserved},
   {nullptr, nullptr, {0, 0}, 0, 0, nullptr},
};

constexpr InstallConfigGuestRow kLinuxGuests[] = {
   {"*", "*", {0, 0}, 52, 0, nullptr},
   {nullptr, nullptr, {0, 0}, 0, 0, nullptr},
};

bool RowMatches(const InstallConfigGuestRow &row, const GuessInfo *info) {
   bool idMatches = StrUtil_CaselessStartsWith(info->guestOS, row.prefix);
   if (!idMatches && std::strcmp(row.prefix, kVistaOrLaterPrefix) == 0) {
      idMatches = GuestOS_IsWinVistaOrHigher(GuestOS_GetOSIDByName(info->guestOS));
   }
   return idMatches && (std::strcmp(row.pattern, "*") == 0 ||
                        StrUtil_CaselessStartsWith(info->versionString, row.pattern));
}

void CopyGuestRow(const InstallConfigGuestRow &row, InstallConfigInfo *config) {
   config->guestFlags[0] = row.guestFlags[0];
   config->guestFlags[1] = row.guestFlags[1];
   config->nameMaxLength = row.nameMaxLength;
   config->extraLimit = row.extraLimit;
   config->guestReservedNames = row.guestReservedNames;
}

AutoInstallTextResult ValidateText(const char *family, const GuessInfo *info, const char *text,
                                   int32_t kind, char **errMsg) {
   if (family != nullptr && std::strcmp(family, "windows") == 0) {
      return AutoInstallValidateWindowsText(info, text, kind, errMsg);
   }
   if (family != nullptr && std::strcmp(family, "linux") == 0) {
      return AutoInstallValidateLinuxText(info, text, kind, errMsg);
   }
   // Callers pass only the two families; anything else is a programming error.
   NOT_REACHED_AT(AUTOINSTALL_SOURCE_PATH, 244);
}

}  // namespace

const InstallConfigFamilyRow installConfigTable[] = {
   {"windows", 0, 127, {1, 0, 0, 0}, nullptr, kWindowsGuests},
   {"linux", 32, 127, {0, 1, 1, 1}, kLinuxReserved, kLinuxGuests},
   {nullptr, 0, 0, {0, 0, 0, 0}, nullptr, nullptr},
};

extern "C" {

TRGUEST_API Bool AutoInstall_IsSupportedGuest(const GuessInfo *info) noexcept {
   if (info == nullptr || info->guestOS == nullptr) {
      return FALSE;
   }
   if (AutoInstallIsSupportedWindowsGuest(info)) {
      return TRUE;
   }
   return AutoInstallIsSupportedLinuxGuest(info);
}

TRGUEST_API Bool AutoInstall_GetInstallConfigInfo(const char *family, const GuessInfo *info,
                                                  InstallConfigInfo *config) noexcept {
   if (family == nullptr || info == nullptr || config == nullptr || info->guestOS == nullptr) {
      return FALSE;
   }
   const InstallConfigFamilyRow *row = installConfigTable;
   while (row->family != nullptr && std::strcmp(row->family, family) != 0) {
      row++;
   }
   if (row->family == nullptr) {
      return FALSE;
   }
   config->familyReservedNames = row->familyReservedNames;
   config->shortNameMaxLength = row->shortNameMaxLength;
   config->passwordMaxLength = row->passwordMaxLength;
   std::memcpy(config->familyFlags, row->familyFlags, sizeof config->familyFlags);
   CopyGuestRow(row->guests[0], config);
   for (const InstallConfigGuestRow *g = row->guests; g->prefix != nullptr; g++) {
      if (RowMatches(*g, info)) {
         CopyGuestRow(*g, config);
         break;
      }
   }
   return TRUE;
}

TRGUEST_API AutoInstallTextResult AutoInstall_ValidatePassword(const char *family,
                                                               const GuessInfo *info,
                                                               const char *text,
                                                               char **errMsg) noexcept {
   return ValidateText(family, info, text, AUTOINSTALL_TEXT_PASSWORD, errMsg);
}

TRGUEST_API AutoInstallTextResult AutoInstall_ValidateShortName(const char *family,
                                                                const GuessInfo *info,
                                                                const char *text,
                                                                char **errMsg) noexcept {
   return ValidateText(family, info, text, AUTOINSTALL_TEXT_SHORT_NAME, errMsg);
}

TRGUEST_API AutoInstallTextResult AutoInstall_ValidateName(const char *family,
                                                           const GuessInfo *info,
                                                           const char *text,
                                                           char **errMsg) noexcept {
   return ValidateText(family, info, text, AUTOINSTALL_TEXT_NAME, errMsg);
}

}  // extern "C"
