// guessWindowsNT.cc --
//
//    Windows media older than Vista: NT 4, 2000, XP and Server 2003 by the
//    product name in the text-mode setup file (with the installer's language
//    from PRODSPEC.INI), and Windows 95, 98 and Me by their top-level
//    directory.

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/str.h>

#include "guessInt.h"
#include "guessWindowsInt.h"

namespace {

struct ProductName {
   const char *name;     // as TXTSETUP.SIF holds it; compared exactly and whole
   const char *guestOS;
};

// Searched in this order; the first equal row decides.
constexpr ProductName kProductNames[] = {
   {"Windows Server 2003, Standard", "winNetStandard"},
   {"Windows Server 2003, Enterprise", "winNetEnterprise"},
   {"Windows Server 2003, Web", "winNetWeb"},
   {"Windows Server 2003 Standard x64 Edition", "winNetStandard-64"},
   {"Windows Server 2003 Enterprise x64 Edition", "winNetEnterprise-64"},
   {"Windows Server 2003 for Small Business Server", "winNetBusiness"},
   {"Microsoft Windows 2000 Professional", "win2000Pro"},
   {"Microsoft Windows 2000 Server", "win2000Serv"},
   {"Microsoft Windows 2000 Advanced Server", "win2000AdvServ"},
   {"Windows NT Workstation Version 4.00", "winNT"},
   {"Windows NT Server Version 4.00", "winNT"},
};

struct LegacyDir {
   const char *dir;
   const char *guestOS;
};

// All three are tested; a later hit replaces an earlier one.
constexpr LegacyDir kLegacyDirs[] = {
   {"win98", "win98"},
   {"win95", "win95"},
   {"win9x", "winMe"},
};

// The identifier of a product name, or NULL when it names none.
const char *IdentifierOfProduct(char *product) {
   for (const ProductName &row : kProductNames) {
      if (std::strcmp(product, row.name) == 0) {
         return row.guestOS;
      }
   }
   Str_ToLower(product);
   if (std::strstr(product, "windows xp") == nullptr) {
      return nullptr;
   }
   if (std::strstr(product, "pro") != nullptr) {
      return std::strstr(product, "x64") != nullptr ? "winXPPro-64" : "winXPPro";
   }
   return "winXPHome";
}

}  // namespace

const char *GuessWindowsNTProductIdentifier(const char *setupText) {
   const char *at = std::strstr(setupText, "wks_id ");
   if (at == nullptr) {
      at = std::strstr(setupText, "srv_id ");
   }
   char *product = nullptr;
   if (at == nullptr || !GuessParseKeyValue(at, nullptr, &product)) {
      return nullptr;
   }
   const char *id = IdentifierOfProduct(product);
   std::free(product);
   return id;
}

Bool GuessWindowsNTLocalization(const char *prodspecText, GuessInfo *info) {
   const char *at = std::strstr(prodspecText, "Localization=");
   char *language = nullptr;
   if (at == nullptr || !GuessParseKeyValue(at, nullptr, &language)) {
      return FALSE;
   }
   Str_Strcpy(info->language, language, sizeof info->language);
   std::free(language);
   return TRUE;
}

extern "C" {

TRGUEST_API Bool Guess_WindowsNT(GuessMedia *media, GuessInfo *info) noexcept {
   char *setup = Guess_ReadFileName(media, "I386/TXTSETUP.SIF", nullptr);
   if (setup == nullptr) {
      setup = Guess_ReadFileName(media, "AMD64/TXTSETUP.SIF", nullptr);
   }
   const char *id = setup != nullptr ? GuessWindowsNTProductIdentifier(setup) : nullptr;
   std::free(setup);

   // The language matters only for a known product, so PRODSPEC.INI is not
   // read on other media (every image the chain sees passes here).
   if (id != nullptr) {
      char *prodspec = Guess_ReadFileName(media, "I386/PRODSPEC.INI", nullptr);
      if (prodspec == nullptr) {
         prodspec = Guess_ReadFileName(media, "AMD64/PRODSPEC.INI", nullptr);
      }
      if (prodspec != nullptr) {
         GuessWindowsNTLocalization(prodspec, info);
      }
      std::free(prodspec);
   }
   return GuessFinish(info, id, GUESS_VERSION_UNKNOWN);
}

TRGUEST_API Bool Guess_WindowsLegacy(GuessMedia *media, GuessInfo *info) noexcept {
   const char *id = nullptr;
   for (const LegacyDir &row : kLegacyDirs) {
      GuessDir *dir = Guess_OpenDir(media, row.dir);
      if (dir != nullptr) {
         Guess_CloseDir(media, dir);
         id = row.guestOS;
      }
   }
   return GuessFinish(info, id, GUESS_VERSION_UNKNOWN);
}

}  // extern "C"
