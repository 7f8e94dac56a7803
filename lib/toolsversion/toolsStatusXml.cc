// toolsStatusXml.cc --
//
//    The guest manifest of the status computation when the caller gives
//    none: the tools records of the virtual machine's extended
//    configuration file, turned into manifest entries.

#include "toolsStatusInt.h"

#include <cstdlib>
#include <cstring>
#include <strings.h>

#include <libxml/tree.h>

#include <trplatform/log.h>

#include "extendedConfigInt.h"

namespace {

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
   const xmlNode *mono = ToolsXmlFirstChild(tools, "monolithic");
   if (mono == nullptr) {
      return 0;
   }
   XmlText status(mono, "status");
   int32_t value = ToolsXmlTextToInt32(status.text);
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
   char *path = GetExtendedConfigPath(configPath);
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
   bool read = ReadExtendedConfig(path, &buffer, &size);
   std::free(path);
   if (!read) {
      Log("Failed to get xml buffer from extended config file.\n");
      return TOOLS_STATUS_UNKNOWN;
   }
   xmlDoc *doc = ToolsVersionParseXml(buffer, size, false);
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
         if (ToolsXmlIsElement(c, "tools-manifest")) {
            manifest = c;
         } else if (ToolsXmlIsElement(c, "update-agent-info")) {
            if (const xmlNode *t = ToolsXmlFirstChild(c, "tools")) {
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
