// windowsNames.cc --
//
//    Windows guests in the install front: readable, localised names of the
//    editions found on installation media, which Windows guests can be
//    installed unattended, and the check of the user's name.

#include <cstdlib>
#include <cstring>

#include <trguest/autoinstall.h>
#include <trplatform/msg.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "windowsNames.h"

namespace {

using NameRow = WindowsNameRow;

// A row matches when its name begins with the raw product name.
constexpr NameRow kProductNames[] = {
   {"Windows Longhorn", "@&!*@*@(msg.autoinstall.winpfx_2k8)Windows Server 2008"},
   {"Windows Server 2008 R2", "@&!*@*@(msg.autoinstall.winpfx_2k8r2)Windows Server 2008 R2"},
   {nullptr, nullptr},
};

// Edition identifiers as the media spell them; tried in order.
constexpr NameRow kEditions[] = {
   {"STARTER", "@&!*@*@(msg.autoinstall.win_starter) Starter"},
   {"HOMEBASIC", "@&!*@*@(msg.autoinstall.win_homebasic) Home Basic"},
   {"HOMEPREMIUM", "@&!*@*@(msg.autoinstall.win_homepremium) Home Premium"},
   {"PROFESSIONAL", "@&!*@*@(msg.autoinstall.win_pro) Professional"},
   {"BUSINESS", "@&!*@*@(msg.autoinstall.win_business) Business"},
   {"ENTERPRISE", "@&!*@*@(msg.autoinstall.win_enterprise) Enterprise"},
   {"ULTIMATE", "@&!*@*@(msg.autoinstall.win_ultimate) Ultimate"},
   {"Pro", "@&!*@*@(msg.autoinstall.win8_pro) Pro"},
   {"Enterprise", "@&!*@*@(msg.autoinstall.win8_enterprise) Enterprise"},
   {"SERVERSTANDARD", "@&!*@*@(msg.autoinstall.winsrv_standard) Standard"},
   {"SERVERWEB", "@&!*@*@(msg.autoinstall.winsrv_web) Web Edition"},
   {"SERVERDATACENTER", "@&!*@*@(msg.autoinstall.winsrv_datacenter) Datacenter"},
   {"SERVERENTERPRISE", "@&!*@*@(msg.autoinstall.winsrv_enterprise) Enterprise"},
   {"SERVERSBSSTANDARD", "@&!*@*@(msg.autoinstall.winsrv_sbs_std) Small Business Standard"},
   {"SERVERSBSPRIME", "@&!*@*@(msg.autoinstall.winsrv_sbs_found) Small Business Foundation"},
   {"SERVERSBSPREMIUM", "@&!*@*@(msg.autoinstall.winsrv_sbs_premium) Small Business Premium"},
   {nullptr, nullptr},
};

// What may follow an edition identifier; exact match.
constexpr NameRow kSuffixes[] = {
   {"N", "@&!*@*@(msg.autoinstall.winsfx_n) N"},
   {"_N", "@&!*@*@(msg.autoinstall.winsfx_n) N"},
   {"V", "@&!*@*@(msg.autoinstall.winsfx_v) without Hyper-V"},
   {"CORE", "@&!*@*@(msg.autoinstall.winsfx_core) Core"},
   {"VCORE", "@&!*@*@(msg.autoinstall.winsfx_vcore) Core without Hyper-V"},
   {"K", "@&!*@*@(msg.autoinstall.winsfx_k) K"},
   {"KN", "@&!*@*@(msg.autoinstall.winsfx_kn) KN"},
   {nullptr, nullptr},
};

constexpr const char kPrettyFormat[] = "@&!*@*@(msg.autoinstall.prettyFormat)%s%s%s";

// Guest OS id prefixes (any case) of the Windows guests that install unattended.
constexpr const char *kSupportedPrefixes[] = {
   "winXP", "winVista", "winNet", "longhorn", "windows7", "windows8",
};

constexpr const char kForbiddenNameChars[] = "/\\[]\":;|<>+=,?*";

// Replaces *slot by text, freeing what it held.
void Replace(char **slot, char *text) {
   std::free(*slot);
   *slot = text;
}

}  // namespace

char *ComposeWindowsEditionName(const char *raw, const WindowsNameRow *products,
                                const WindowsNameRow *editions, const WindowsNameRow *suffixes) {
   if (raw == nullptr) {
      return nullptr;
   }
   const char *lastBlank = std::strrchr(raw, ' ');
   if (lastBlank == nullptr) {
      return UtilSafeStrdup0(raw);
   }
   const size_t productLen = static_cast<size_t>(lastBlank - raw);
   const char *editionPart = lastBlank + 1;

   char *product = nullptr;
   for (const NameRow *row = products; row->token != nullptr; row++) {
      if (std::strncmp(row->token, raw, productLen) == 0) {
         product = Msg_GetString(row->text);
         break;
      }
   }
   if (product == nullptr) {
      product = UtilSafeStrndup0(raw, productLen);
   }

   // Every token the edition part begins with replaces the edition text
   // found before it; an exact match ends the walk.
   char *edition = nullptr;
   char *suffix = nullptr;
   for (const NameRow *row = editions; row->token != nullptr; row++) {
      if (std::strcmp(editionPart, row->token) == 0) {
         Replace(&edition, Msg_GetString(row->text));
         break;
      }
      if (StrUtil_StartsWith(editionPart, row->token)) {
         Replace(&edition, Msg_GetString(row->text));
         const char *rest = editionPart + std::strlen(row->token);
         for (const NameRow *sfx = suffixes; sfx->token != nullptr; sfx++) {
            if (std::strcmp(rest, sfx->token) == 0) {
               Replace(&suffix, Msg_GetString(sfx->text));
               break;
            }
         }
      }
   }

   char *result = edition != nullptr
                     ? Msg_Format(kPrettyFormat, product, edition, suffix != nullptr ? suffix : "")
                     : UtilSafeStrdup0(raw);
   std::free(product);
   std::free(edition);
   std::free(suffix);
   return result;
}

extern "C" {

TRGUEST_API char *AutoInstall_GetPrettyWindowsName(const char *raw) noexcept {
   return ComposeWindowsEditionName(raw, kProductNames, kEditions, kSuffixes);
}

TRGUEST_API Bool AutoInstallIsSupportedWindowsGuest(const GuessInfo *info) noexcept {
   if (info == nullptr || info->guestOS == nullptr ||
       info->subVersion == GUESS_VERSION_WIN8_ENTERPRISE_EVAL) {
      return FALSE;
   }
   for (const char *prefix : kSupportedPrefixes) {
      if (StrUtil_CaselessStartsWith(info->guestOS, prefix)) {
         return TRUE;
      }
   }
   return FALSE;
}

TRGUEST_API AutoInstallTextResult AutoInstallValidateWindowsText(const GuessInfo *, const char *text,
                                                                 int32_t kind,
                                                                 char **errMsg) noexcept {
   // Passwords and short names are not restricted; the full name becomes a
   // Windows account name.
   if (kind != AUTOINSTALL_TEXT_NAME || text == nullptr ||
       std::strpbrk(text, kForbiddenNameChars) == nullptr) {
      return TEXT_OK;
   }
   if (errMsg != nullptr) {
      *errMsg = Msg_GetString(
         "@&!*@*@(msg.autoinstall.bad_windows_name)The name must not contain the following "
         "characters:\n'/\\[]\":;|<>+=,?*'\nEnter a new value.");
   }
   return TEXT_BAD_WINDOWS_NAME;
}

}  // extern "C"
