// guessHypervisor.cc --
//
//    Installation media of the product's own hypervisor: the full product
//    (a packages.xml naming it) and the embedded one (its isolinux.cfg menu
//    title).

#include <cstdlib>
#include <cstring>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <trguest/guess.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "guessInt.h"

namespace {

// A copy of the node's text when it is a text node ("" for no content),
// else NULL.
char *GuessXmlNodeText(const xmlNode *node) {
   if (node == nullptr || node->type != XML_TEXT_NODE) {
      return nullptr;
   }
   return UtilSafeStrdup0(node->content != nullptr ? reinterpret_cast<const char *>(node->content)
                                                   : "");
}

bool NameIs(const xmlNode *node, const char *name) {
   return node->name != nullptr && xmlStrEqual(node->name, BAD_CAST name);
}

// Whether packages.xml describes a 4.x release of the full product.
bool IsZeltPackageList(const char *text) {
   // Parse quietly and without the network: detection logs nothing, and the
   // file comes from an untrusted image.
   xmlDoc *doc = xmlReadMemory(text, static_cast<int>(std::strlen(text)), "packages.xml",
                               nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
   if (doc == nullptr) {
      return false;
   }
   bool match = false;
   xmlNode *root = xmlDocGetRootElement(doc);
   if (root != nullptr && NameIs(root, "iso_build")) {
      xmlNode *product = root->children;
      while (product != nullptr && !NameIs(product, "product")) {
         product = product->next;
      }
      char *name = nullptr;
      char *version = nullptr;
      for (xmlNode *n = product != nullptr ? product->children : nullptr;
           n != nullptr && (name == nullptr || version == nullptr); n = n->next) {
         if (n->type != XML_ELEMENT_NODE) {
            continue;
         }
         if (NameIs(n, "name")) {
            std::free(name);
            name = GuessXmlNodeText(n->children);
         } else if (NameIs(n, "zelt_version")) {
            std::free(version);
            version = GuessXmlNodeText(n->children);
         }
      }
      match = name != nullptr && version != nullptr &&
              StrUtil_CaselessStartsWith(name, "Tarvel Zelt") &&
              StrUtil_CaselessStartsWith(version, "4.");
      std::free(name);
      std::free(version);
   }
   xmlFreeDoc(doc);
   return match;
}

}  // namespace

extern "C" {

TRGUEST_API Bool Guess_Zelt(GuessMedia *media, GuessInfo *info) noexcept {
   char *text = Guess_ReadFileName(media, "packages.xml", nullptr);
   bool match = text != nullptr && IsZeltPackageList(text);
   std::free(text);
   return GuessFinish(info, match ? "trkernel" : nullptr, GUESS_VERSION_UNKNOWN);
}

TRGUEST_API Bool Guess_Zelti(GuessMedia *media, GuessInfo *info) noexcept {
   char *text = Guess_ReadFileName(media, "isolinux.cfg", nullptr);
   if (text == nullptr) {
      return FALSE;
   }
   if (std::strstr(text, "menu title Tarvel Morvane") != nullptr) {
      info->guestOS = "trkernel";
   } else if (std::strstr(text, "MENU TITLE Zelti-5") != nullptr) {
      info->guestOS = "trkernel5";
   }
   std::free(text);
   if (info->guestOS == nullptr) {
      return FALSE;
   }
   info->subVersion = GUESS_VERSION_UNKNOWN;
   return TRUE;
}

}  // extern "C"
