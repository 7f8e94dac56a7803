// guessMandriva.cc --
//
//    Mandrake and Mandriva media, from the root "VERSION" file,
//    the ISO 9660 volume label or "product.id", with a sub-code and version
//    text for Mandriva 2006 to 2008.1 and later; and Turbolinux media, from
//    the first word of their "README".

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "guessLinuxInt.h"

namespace {

// The isolinux directories of Mandriva media, tested in this order.
constexpr const char *kIsolinuxDirs[] = {
   "isolinux",
   "i586/isolinux",
   "x86_64/isolinux",
};

// "product.id", tested in this order.
constexpr const char *kProductIds[] = {
   "i586/product.id",
   "x86_64/product.id",
};

struct MandrivaState {
   const char *guestOS = nullptr;
   uint32_t sub = GUESS_VERSION_UNKNOWN;
};

// The ISO 9660 volume label (media without a VERSION file). Returns true
// when the label decides (an identifier and a Mandriva.201x. label).
bool FromVolumeLabel(GuessMedia *media, MandrivaState *s) {
   if (media->kind != GUESS_MEDIA_ISO9660) {
      return false;
   }
   char *label = nullptr;
   if (Iso9660_GetVolumeId(media->iso, &label) != ISO9660_OK || label == nullptr) {
      return false;
   }
   bool final = false;
   if (StrUtil_StartsWith(label, "Mandriva.")) {
      const char *rest = label + 9;
      if (std::strstr(rest, "x86_64") != nullptr) {
         s->guestOS = "mandriva-64";
      } else if (std::strstr(rest, "i586") != nullptr) {
         s->guestOS = "mandriva";
      }
      // Mandriva.201x.: rest begins with "201" and index 13 of the label
      // is a dot (the label is then at least 13 characters long).
      if (StrUtil_StartsWith(rest, "201") && std::strlen(label) > 13 && label[13] == '.') {
         s->sub = GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER;
         final = s->guestOS != nullptr;
      } else {
         s->sub = GUESS_VERSION_UNKNOWN;
      }
   }
   std::free(label);
   return final;
}

// "product.id" (vendor=Mandriva, arch=, version=), read after the label.
void FromProductId(GuessMedia *media, MandrivaState *s, GuessInfo *info) {
   char *text = nullptr;
   for (const char *path : kProductIds) {
      text = Guess_ReadFileName(media, path, nullptr);
      if (text != nullptr) {
         break;
      }
   }
   if (text == nullptr) {
      return;
   }
   if (!StrUtil_StartsWith(text, "vendor=Mandriva")) {
      std::free(text);
      return;
   }
   const char *arch = std::strstr(text, "arch=");
   if (arch == nullptr) {
      std::free(text);
      return;
   }
   arch += 5;
   if (StrUtil_StartsWith(arch, "x86_6")) {
      s->guestOS = "mandriva-64";
   } else if (StrUtil_StartsWith(arch, "i586")) {
      s->guestOS = "mandriva";
   }
   const char *version = std::strstr(text, "version=");
   if (version == nullptr) {
      std::free(text);
      return;
   }
   unsigned int index = static_cast<unsigned int>(version + 8 - text);
   char *token = StrUtil_GetNextToken(&index, text, " ,\n");
   if (token != nullptr) {
      Str_Snprintf(info->versionString, sizeof info->versionString, "%s", token);
      if (StrUtil_StartsWith(token, "2007.")) {
         s->sub = GUESS_VERSION_MANDRIVA_2007;
      } else if (StrUtil_StartsWith(token, "2008.0")) {
         s->sub = GUESS_VERSION_MANDRIVA_2008_0;
      } else if (Util_CompareDotted(token, "2008.1") >= 0) {
         s->sub = GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER;
      }
      std::free(token);
   }
   std::free(text);
}

}  // namespace

extern "C" {

TRGUEST_API Bool Guess_Mandriva(GuessMedia *media, GuessInfo *info) noexcept {
   MandrivaState s;

   char *version = Guess_ReadFileName(media, "VERSION", nullptr);
   if (version != nullptr) {
      if (StrUtil_StartsWith(version, "Mandrake")) {
         s.guestOS = "mandrake";
      } else if (StrUtil_StartsWith(version, "Mandriva")) {
         if (std::strstr(version, "x86_64") != nullptr) {
            s.guestOS = "mandriva-64";
         } else if (std::strstr(version, "i586") != nullptr) {
            s.guestOS = "mandriva";
         }
         // Written even when no identifier was found.
         if (std::strstr(version, " 2006.") != nullptr) {
            Str_Snprintf(info->versionString, sizeof info->versionString, "%s", "2006");
            s.sub = GUESS_VERSION_MANDRIVA_2006;
         }
      }
      // Any other "VERSION": not recognised; the other sources are not tried.
      std::free(version);
      return GuessLinuxFinish(info, s.guestOS, s.sub, FALSE);
   }

   Bool noIsolinuxCfg = TRUE;
   for (const char *dir : kIsolinuxDirs) {
      if (Guess_FileExists(media, dir, "isolinux.cfg")) {
         noIsolinuxCfg = FALSE;
         break;
      }
   }

   if (!FromVolumeLabel(media, &s)) {
      FromProductId(media, &s, info);
   }
   return GuessLinuxFinish(info, s.guestOS, s.sub, noIsolinuxCfg);
}

TRGUEST_API Bool Guess_TurboLinux(GuessMedia *media, GuessInfo *info) noexcept {
   char *readme = Guess_ReadFileName(media, "README", nullptr);
   const char *guestOS = nullptr;
   if (readme != nullptr && StrUtil_StartsWith(readme, "Turbolinux")) {
      guestOS = "turbolinux";
   }
   std::free(readme);
   // noIsolinuxCfg is not part of this family's result.
   return GuessFinish(info, guestOS, GUESS_VERSION_UNKNOWN);
}

}  // extern "C"
