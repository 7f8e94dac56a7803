// toolsStatusXml.cc --
//
//    The guest manifest of the status computation when the caller gives
//    none: the tools records of the virtual machine's extended
//    configuration file, turned into manifest entries.

#include "toolsStatusInt.h"

#include <cstdlib>
#include <cstring>
#include <strings.h>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <trplatform/log.h>

#include "toolsExtConfig.hh"

namespace {

bool NameIs(const xmlNode *node, const char *lower) {
   if (node->type != XML_ELEMENT_NODE) {
      return false;
   }
   const char *name = reinterpret_cast<const char *>(node->name);
   for (; *lower != '\0'; name++, lower++) {
      char c = *name;
      if (c >= 'A' && c <= 'Z') {
         c = static_cast<char>(c - 'A' + 'a');
      }
      if (c != *lower) {
         return false;
      }
   }
   return *name == '\0';
}

const xmlNode *FirstChildNamed(const xmlNode *parent, const char *lower) {
   for (const xmlNode *c = parent->children; c != nullptr; c = c->next) {
      if (NameIs(c, lower)) {
         return c;
      }
   }
   return nullptr;
}

// The attribute as text, or NULL; freed with xmlFree.
struct XmlText {
   xmlChar *text;
   explicit XmlText(const xmlNode *node, const char *name)
      : text(xmlGetProp(node, reinterpret_cast<const xmlChar *>(name))) {}
   ~XmlText() { xmlFree(text); }
   XmlText(const XmlText &) = delete;
   XmlText &operator=(const XmlText &) = delete;
   const char *get() const { return reinterpret_cast<const char *>(text); }
};

// The update agent's status for the monolithic version; 0 when it gives
// none or gives 9 (unknown), which leave the decision to the manifest.
ToolsVersionStatus AgentStatus(const xmlNode *tools) {
   if (tools == nullptr || tools->children == nullptr) {
      return 0;
   }
   const xmlNode *mono = FirstChildNamed(tools, "monolithic");
   if (mono == nullptr) {
      return 0;
   }
   XmlText status(mono, "status");
   long value = status.get() == nullptr ? 0 : std::strtol(status.get(), nullptr, 10);
   return value == TOOLS_STATUS_UNKNOWN ? 0 : static_cast<ToolsVersionStatus>(value);
}

// One "%s.version" and "%s.installed" pair per component element that has
// both attributes.
void AddManifestElements(const xmlNode *manifest, Dictionary *dict) {
   for (const xmlNode *c = manifest->children; c != nullptr; c = c->next) {
      if (c->type != XML_ELEMENT_NODE) {
         continue;
      }
      XmlText version(c, "version");
      XmlText installed(c, "installed");
      if (version.get() == nullptr || installed.get() == nullptr) {
         continue;
      }
      const char *name = reinterpret_cast<const char *>(c->name);
      Dict_SetString(dict, version.get(), "%s.version", name);
      Dict_SetBool(dict, strcasecmp(installed.get(), "TRUE") == 0, "%s.installed", name);
   }
}

}  // namespace

ToolsVersionStatus GuestManifestFromExtendedConfig(const char *configPath,
                                                   Dictionary **dict) noexcept {
   *dict = nullptr;
   char *path = ToolsExtConfigPath(configPath);
   if (path == nullptr) {
      Log("Error getting extended config file path.\n");
      return TOOLS_STATUS_UNKNOWN;
   }
   *dict = Dictionary_Create();
   if (*dict == nullptr) {
      Log("Error creating dictionary for guest manifest.\n");
      std::free(path);
      return TOOLS_STATUS_UNKNOWN;
   }
   char *buffer = nullptr;
   size_t size = 0;
   bool read = ToolsExtConfigRead(path, &buffer, &size);
   std::free(path);
   if (!read) {
      Log("Failed to get xml buffer from extended config file.\n");
      return TOOLS_STATUS_UNKNOWN;
   }
   ToolsXmlInitOnce();
   xmlDoc *doc = xmlReadMemory(buffer, static_cast<int>(size), "extended.xml", nullptr,
                               XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
   std::free(buffer);
   if (doc == nullptr) {
      Log("Error parsing xml from extended config file.\n");
      return TOOLS_STATUS_UNKNOWN;
   }

   ToolsVersionStatus result = TOOLS_STATUS_UNKNOWN;
   const xmlNode *root = xmlDocGetRootElement(doc);
   if (root == nullptr) {
      Log("Failed to find root in extended config xml.\n");
   } else if (root->children == nullptr) {
      Log("Failed to find manifest content in extended config xml.\n");
   } else {
      const xmlNode *manifest = nullptr;
      const xmlNode *tools = nullptr;
      for (const xmlNode *c = root->children; c != nullptr; c = c->next) {
         if (NameIs(c, "tools-manifest")) {
            manifest = c;
         } else if (NameIs(c, "update-agent-info")) {
            if (const xmlNode *t = FirstChildNamed(c, "tools")) {
               tools = t;
            }
         }
      }
      ToolsVersionStatus agent = AgentStatus(tools);
      if (agent != 0) {
         result = agent;
      } else if (manifest != nullptr && manifest->children != nullptr) {
         AddManifestElements(manifest, *dict);
         result = 0;
      } else {
         Log("Failed to find manifest content in extended config xml.\n");
      }
   }
   xmlFreeDoc(doc);
   return result;
}
