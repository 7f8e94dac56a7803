// guessSUSE.cc --
//
//    SUSE family media: SUSE Linux, openSUSE, SUSE Linux
//    Enterprise Server and Desktop, Novell Linux Desktop 9 and Sun Java
//    Desktop System. Sources in turn: the installer's "content" file at the
//    root, else "media.1/products", else a ".S.u.S.E-disk" entry in the root.
//    SLED media get the SLES identifiers and are told apart by the sub-code.

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "guessLinuxInt.h"

namespace {

// What the "content" file says.
struct Content {
   char *product = nullptr;   // first PRODUCT or NAME value
   char *baseArch = nullptr;  // first DEFAULTBASE or BASEARCHS value
   int32_t major = 0;
   int32_t minor = -1;
};

// Parses "content": lines separated by line feeds (empty ones skipped), the
// first blank-separated word of a line its key. A VERSION line reads the
// major and minor numbers through the token reader with the delimiter "."
// on the rest of the whole text, starting right after the key word.
void ParseContent(const char *text, Content *c) {
   unsigned int index = 0;
   char *line;
   while ((line = StrUtil_GetNextToken(&index, text, "\n")) != nullptr) {
      // The line ends at index; its first character is at lineStart.
      unsigned int lineStart = index - static_cast<unsigned int>(std::strlen(line));
      unsigned int at = 0;
      char *key = StrUtil_GetNextToken(&at, line, " \n");
      if (key != nullptr) {
         if (StrUtil_StartsWith(key, "PRODUCT") || StrUtil_StartsWith(key, "NAME")) {
            if (c->product == nullptr) {
               const char *rest = line + at;
               rest += std::strspn(rest, " \t");
               c->product = UtilSafeStrdup0(rest);
            }
         } else if (StrUtil_StartsWith(key, "VERSION")) {
            unsigned int v = lineStart + at;
            StrUtil_GetNextIntToken(&c->major, &v, text, ".");
            StrUtil_GetNextIntToken(&c->minor, &v, text, ".");
         } else if (StrUtil_StartsWith(key, "DEFAULTBASE") ||
                    StrUtil_StartsWith(key, "BASEARCHS")) {
            if (c->baseArch == nullptr) {
               c->baseArch = StrUtil_GetNextToken(&at, line, " \n");
            }
         }
      }
      std::free(key);
      std::free(line);
   }
}

// SLE identifiers by major version.
const char *SleGuestOS(int32_t major, bool is64) {
   switch (major) {
   case 10:
      return is64 ? "sles10-64" : "sles10";
   case 11:
      return is64 ? "sles11-64" : "sles11";
   case 12:
      return is64 ? "sles12-64" : "sles12";
   default:
      return is64 ? "sles-64" : "sles";
   }
}

const char *FromContent(const Content &c, uint32_t *sub) {
   bool is64 = std::strcmp(c.baseArch, "x86_64") == 0;
   const char *p = c.product;
   const char *guestOS = nullptr;
   *sub = GUESS_VERSION_UNKNOWN;
   if (StrUtil_CaselessStartsWith(p, "SUSE LINUX")) {
      guestOS = is64 ? "suse-64" : "suse";
   } else if (StrUtil_CaselessStartsWith(p, "openSUSE")) {
      guestOS = is64 ? "opensuse-64" : "opensuse";
   } else if (StrUtil_StartsWith(p, "SUSE SLE") || StrUtil_StartsWith(p, "SUSE_SLE")) {
      guestOS = SleGuestOS(c.major, is64);
      if (p[8] == 'D') {
         // SLED
         if (c.major == 10) {
            *sub = c.minor >= 3 ? GUESS_VERSION_SLED_ALL : GUESS_VERSION_SLED_10_SP2_OR_LOWER;
         } else {
            *sub = GUESS_VERSION_SLED_ALL;
         }
      } else if (c.major == 10 && c.minor < 3) {
         *sub = GUESS_VERSION_SLES_10_SP2_OR_LOWER;
      }
   } else if (StrUtil_CaselessStartsWith(p, "Sun Java Desktop")) {
      guestOS = "sjds";
   } else if (StrUtil_CaselessStartsWith(p, "Novell Linux Desktop")) {
      guestOS = "nld9";
   }

   if (guestOS != nullptr && StrUtil_StartsWith(guestOS, "opensuse") &&
       (c.major <= 10 || (c.major == 11 && c.minor <= 2))) {
      *sub = GUESS_VERSION_OPENSUSE_11_2_OR_LOWER;
   }
   return guestOS;
}

// "media.1/products": the text from index 2 on (a slash and a blank are
// skipped) names the product.
const char *FromProducts(const char *text, uint32_t *sub) {
   *sub = GUESS_VERSION_UNKNOWN;
   if (std::strlen(text) < 2) {
      return nullptr;  // nothing from index 2 on
   }
   const char *p = text + 2;
   if (StrUtil_StartsWith(p, "SLES9-SLD")) {
      return "nld9";
   }
   if (StrUtil_StartsWith(p, "SLES8-SLEC-i386-SUN")) {
      return "sjds";
   }
   if (StrUtil_StartsWith(p, "SUSE-Linux-Enterprise") || StrUtil_StartsWith(p, "SUSE-Linux-SLES")) {
      // The major number: the second word counted from index 2.
      int32_t major = 0;
      unsigned int index = 2;
      char *first = StrUtil_GetNextToken(&index, text, " ");
      if (first != nullptr) {
         StrUtil_GetNextIntToken(&major, &index, text, " \n");
      }
      std::free(first);
      if (std::strstr(text, "Desktop") != nullptr) {
         *sub = GUESS_VERSION_SLED_ALL;
      }
      return SleGuestOS(major, std::strstr(text, "x86_64") != nullptr);
   }
   if (StrUtil_CaselessStartsWith(p, "SUSE-Linux")) {
      bool is64 = std::strstr(text, "x86_64") != nullptr || std::strstr(text, "x86-64") != nullptr;
      return is64 ? "suse-64" : "suse";
   }
   return nullptr;
}

// Neither file: an entry of the root beginning with ".S.u.S.E-disk".
// *opened tells whether the root could be read at all.
const char *FromRootEntries(GuessMedia *media, bool *opened) {
   GuessDir *root = Guess_OpenDir(media, "");
   *opened = root != nullptr;
   if (root == nullptr) {
      return nullptr;
   }
   const char *guestOS = nullptr;
   const char *name;
   while ((name = Guess_ReadDir(media, root)) != nullptr) {
      if (StrUtil_StartsWith(name, ".S.u.S.E-disk")) {
         guestOS = "suse";
      }
   }
   Guess_CloseDir(media, root);
   return guestOS;
}

// The SUSE boot-loader directories, tested in this order.
constexpr const char *kLoaderDirs[] = {
   "boot/loader",
   "boot/i386/loader",
   "boot/x86_64/loader",
};

Bool NoIsolinuxCfg(GuessMedia *media) {
   for (const char *dir : kLoaderDirs) {
      if (Guess_FileExists(media, dir, "isolinux.cfg")) {
         return FALSE;
      }
   }
   return TRUE;
}

}  // namespace

extern "C" TRGUEST_API Bool Guess_SUSE(GuessMedia *media, GuessInfo *info) noexcept {
   const char *guestOS = nullptr;
   uint32_t sub = GUESS_VERSION_UNKNOWN;
   bool checkLoader = true;

   char *content = Guess_ReadFileName(media, "content", nullptr);
   if (content != nullptr) {
      Content c;
      ParseContent(content, &c);
      if (c.product != nullptr && c.baseArch != nullptr) {
         guestOS = FromContent(c, &sub);
      } else {
         checkLoader = false;  // not recognised; the other sources are not tried
      }
      std::free(c.product);
      std::free(c.baseArch);
      std::free(content);
   } else {
      char *products = Guess_ReadFileName(media, "media.1/products", nullptr);
      if (products != nullptr) {
         guestOS = FromProducts(products, &sub);
         std::free(products);
      } else {
         bool opened = false;
         guestOS = FromRootEntries(media, &opened);
         checkLoader = opened;
      }
   }

   // Also when no identifier was found, as long as a source was examined.
   Bool noIsolinuxCfg = checkLoader ? NoIsolinuxCfg(media) : TRUE;
   return GuessLinuxFinish(info, guestOS, sub, noIsolinuxCfg);
}
