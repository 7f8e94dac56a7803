// toolsRecords.cc --
//
//    The guest tools' records in the extended configuration file: the
//    guest's manifest ("tools-manifest"), the outcome of the last tools
//    installation ("tools-install-info") and what the guest's update agent
//    reported ("update-agent-info"). ToolsVersion_SaveXmlInfo writes them;
//    ToolsVersion_GetInstallInfo and ToolsVersion_GetUpdateInfo read them.

#include <trguest/toolsversion.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <trplatform/dictionary.h>
#include <trplatform/file.h>
#include <trplatform/fileio.h>
#include <trplatform/log.h>
#include <trplatform/msg.h>
#include <trplatform/util.h>

#include "extendedConfigInt.h"

namespace {

// The agent reports a few dozen components in a few kilobytes. Its text is
// refused beyond this size: libxml2's name dictionary makes parsing time
// grow with the square of the number of distinct element names.
constexpr size_t kAgentTextLimit = 1024 * 1024;

bool IsEmpty(const char *text) {
   return text == nullptr || text[0] == '\0';
}

void RemoveNode(xmlNode *node) {
   if (node != nullptr) {
      xmlUnlinkNode(node);
      xmlFreeNode(node);
   }
}

xmlNode *AddChild(xmlNode *parent, const xmlChar *name) {
   return xmlNewChild(parent, nullptr, name, nullptr);
}

char *XmlPropCopy(const xmlNode *node, const char *name) {
   xmlChar *value = xmlGetProp(node, BAD_CAST name);
   if (value == nullptr) {
      return nullptr;
   }
   char *copy = UtilSafeStrdup0(reinterpret_cast<const char *>(value));
   xmlFree(value);
   return copy;
}

// The agent's document below its root, copied two levels deep into the new
// "update-agent-info" element U: each category, and in each its component
// elements with the three attributes the readers use. Only elements are
// copied; text, comments and processing instructions of the agent are not
// records. Returns the guest version of the last "tools"/"monolithic"
// element that has one (xmlFree), or NULL.
xmlChar *CopyAgentRecords(const xmlNode *agentRoot, xmlNode *u) {
   xmlChar *monolithicVersion = nullptr;
   for (const xmlNode *c = agentRoot->children; c != nullptr; c = c->next) {
      if (c->type != XML_ELEMENT_NODE) {
         continue;
      }
      xmlNode *category = AddChild(u, c->name);
      const bool isTools = ToolsXmlIsElement(c, "tools");
      for (const xmlNode *d = c->children; d != nullptr; d = d->next) {
         if (d->type != XML_ELEMENT_NODE) {
            continue;
         }
         xmlNode *component = AddChild(category, d->name);
         for (const char *attr : {"guestVersion", "repoVersion", "status"}) {
            xmlChar *value = xmlGetProp(d, BAD_CAST attr);
            if (value != nullptr) {
               xmlSetProp(component, BAD_CAST attr, value);
               if (isTools && ToolsXmlIsElement(d, "monolithic") &&
                   std::strcmp(attr, "guestVersion") == 0) {
                  xmlFree(monolithicVersion);
                  monolithicVersion = xmlStrdup(value);
               }
               xmlFree(value);
            }
         }
      }
   }
   return monolithicVersion;
}

// Writes the new document beside the file and renames it into place, so
// that a crash or a full disk at any moment leaves the old file or the new
// one whole, never a truncated one.
bool WriteExtendedConfig(const char *path, const xmlChar *data, int size) {
   char *temp = File_MakeTempBeside(path);
   if (temp == nullptr) {
      Log("Error opening extended config file for writing: errcode %d.\n",
          static_cast<int>(FILEIO_ERROR));
      return false;
   }
   FileIODescriptor fd;
   FileIO_Invalidate(&fd);
   FileIOResult res = FileIO_Open(&fd, temp, FILEIO_OPEN_ACCESS_WRITE, FILEIO_OPEN_EMPTY);
   if (res != FILEIO_SUCCESS) {
      Log("Error opening extended config file for writing: errcode %d.\n", static_cast<int>(res));
      File_UnlinkIfExists(temp);
      std::free(temp);
      return false;
   }
   res = FileIO_Write(&fd, data, static_cast<size_t>(size), nullptr);
   FileIOResult closed = FileIO_Close(&fd);
   if (res == FILEIO_SUCCESS) {
      res = closed;
   }
   if (res != FILEIO_SUCCESS) {
      Log("Error writing to extended config file: errcode %d.\n", static_cast<int>(res));
      File_UnlinkIfExists(temp);
      std::free(temp);
      return false;
   }
   // Flushing to disk and the rename can fail too (a full disk shows on
   // some file systems only then): reported as a failed write.
   bool committed = File_CommitTemp(temp, path);
   std::free(temp);
   if (!committed) {
      Log("Error writing to extended config file: errcode %d.\n", static_cast<int>(FILEIO_ERROR));
      return false;
   }
   return true;
}

// Releases what xmlDocDumpMemory hands out.
struct XmlText {
   xmlChar *data = nullptr;
   int size = 0;
   ~XmlText() { xmlFree(data); }
};

// Everything a save holds, released on every return.
struct SaveState {
   Dictionary *manifest = nullptr;
   xmlDoc *agentDoc = nullptr;
   ~SaveState() {
      Dictionary_Free(manifest);
      if (agentDoc != nullptr) {
         xmlFreeDoc(agentDoc);
      }
   }
};

// Step 4 of a save: the agent record. m is the current "tools-manifest"
// element (NULL when none) and is updated.
bool SaveAgentRecord(xmlNode *root, const char *agentXml, xmlNode **m, SaveState *state) {
   if (std::strcmp(agentXml, "null") == 0) {
      return true;
   }
   xmlNode *u = ToolsXmlLastChild(root, "update-agent-info");
   if (std::strcmp(agentXml, "no tools") == 0) {
      for (xmlNode *c = u != nullptr ? u->children : nullptr, *next; c != nullptr; c = next) {
         next = c->next;
         if (ToolsXmlIsElement(c, "tools")) {
            RemoveNode(c);
         }
      }
      RemoveNode(*m);
      *m = nullptr;
      return true;
   }
   const size_t length = std::strlen(agentXml);
   if (length <= kAgentTextLimit) {
      state->agentDoc = ToolsVersionParseXml(agentXml, length, true);
   }
   if (state->agentDoc == nullptr) {
      Log("Error parsing xml from update agent.\n");
      return false;
   }
   RemoveNode(u);
   u = AddChild(root, BAD_CAST "update-agent-info");
   xmlNode *agentRoot = xmlDocGetRootElement(state->agentDoc);
   if (agentRoot == nullptr) {
      Log("Failed to find root in update agent xml.\n");
      return false;
   }
   xmlChar *monolithicVersion = CopyAgentRecords(agentRoot, u);
   xmlFreeDoc(state->agentDoc);
   state->agentDoc = nullptr;
   RemoveNode(*m);
   *m = nullptr;
   if (monolithicVersion != nullptr) {
      // The agent's view of the guest replaces the manifest record: one
      // component, the monolithic tools at the version the guest runs.
      *m = AddChild(root, BAD_CAST "tools-manifest");
      xmlNode *monolithic = AddChild(*m, BAD_CAST "monolithic");
      xmlSetProp(monolithic, BAD_CAST "version", monolithicVersion);
      xmlFree(monolithicVersion);
   }
   return true;
}

// Step 5 of a save: the manifest record.
bool SaveManifestRecord(xmlNode *root, const char *manifestText, xmlNode **m, SaveState *state) {
   if (std::strcmp(manifestText, "null") == 0) {
      return true;
   }
   if (std::strcmp(manifestText, "no tools") == 0) {
      RemoveNode(*m);
      *m = nullptr;
      return true;
   }
   state->manifest = Dictionary_Create();
   if (state->manifest == nullptr) {
      Log("Error creating dictionary for manifest file.\n");
      return false;
   }
   if (!Dictionary_LoadFromBuffer(state->manifest, manifestText, 0)) {
      Log("Error loading dictionary from manifest buffer: %s.\n", Msg_GetMessagesAndReset());
      return false;
   }
   RemoveNode(*m);
   *m = AddChild(root, BAD_CAST "tools-manifest");
   ToolsManifestElement target{*m, {}, false};
   int visited = Dictionary_Iterate(state->manifest, AddManifestXmlEntry, &target, TRUE);
   if (visited != Dictionary_NumberOfEntries(state->manifest)) {
      Log("Error iterating through iso version info dictionary.\n");
      return false;
   }
   if (target.notUtf8) {
      Log("Error dumping xml doc to the output buffer.\n");
      return false;
   }
   return true;
}

// Step 6 of a save: the install record.
void SaveInstallRecord(xmlNode *root, int32_t installError, int32_t updateCounter) {
   xmlNode *info = ToolsXmlLastChild(root, "tools-install-info");
   if (info == nullptr) {
      info = AddChild(root, BAD_CAST "tools-install-info");
   }
   xmlNode *errorNode = ToolsXmlLastChild(info, "installError");
   xmlNode *counterNode = ToolsXmlLastChild(info, "updateCounter");
   if (errorNode == nullptr) {
      errorNode = AddChild(info, BAD_CAST "installError");
   }
   if (counterNode == nullptr) {
      counterNode = AddChild(info, BAD_CAST "updateCounter");
   }
   xmlNodeSetContent(errorNode, BAD_CAST std::to_string(installError).c_str());
   xmlNodeSetContent(counterNode, BAD_CAST std::to_string(updateCounter).c_str());
}

// Whether the serialised document parses again. Texts from the guest can
// hold what XML 1.0 cannot carry (control characters, malformed UTF-8);
// libxml2 writes them all the same, and the file would then be unreadable
// for every later call. Such a save is refused instead.
bool Reparses(const XmlText &text) {
   xmlDoc *doc = ToolsVersionParseXml(reinterpret_cast<const char *>(text.data),
                                      static_cast<size_t>(text.size), false);
   if (doc == nullptr) {
      return false;
   }
   xmlFreeDoc(doc);
   return true;
}

}  // namespace

void AddManifestXmlEntry(const char *name, const char *value, void *, void *parentElement) {
   auto *target = static_cast<ToolsManifestElement *>(parentElement);
   const char *dot = std::strrchr(name, '.');
   if (dot == nullptr) {
      return;
   }
   std::string component(name, static_cast<size_t>(dot - name));
   const char *suffix = dot + 1;
   if (xmlStrcasecmp(BAD_CAST suffix, BAD_CAST "encoding") == 0) {
      return;
   }
   // A component that is no XML name (empty, not UTF-8, or with blanks or
   // markup characters) would make the file unreadable once written.
   if (!xmlCheckUTF8(BAD_CAST component.c_str()) ||
       xmlValidateName(BAD_CAST component.c_str(), 0) != 0) {
      return;
   }
   // libxml2 cannot write text that is not UTF-8 (and says so on stderr);
   // such a manifest is not recorded at all.
   if (!xmlCheckUTF8(BAD_CAST value)) {
      target->notUtf8 = true;
      return;
   }
   // Component names compare exactly; the element is made on first sight.
   auto [it, added] = target->components.try_emplace(std::move(component), nullptr);
   if (added) {
      it->second = AddChild(target->element, BAD_CAST it->first.c_str());
   }
   if (xmlStrcasecmp(BAD_CAST suffix, BAD_CAST "version") == 0) {
      xmlSetProp(it->second, BAD_CAST "version", BAD_CAST value);
   } else if (std::strcmp(suffix, "installed") == 0) {
      xmlSetProp(it->second, BAD_CAST "installed", BAD_CAST value);
   }
}

extern "C" {

TRGUEST_API Bool ToolsVersion_SaveXmlInfo(const char *configPath, const char *agentXml,
                                          const char *manifestText, int32_t installError,
                                          int32_t updateCounter) noexcept {
   if (IsEmpty(agentXml) && IsEmpty(manifestText) && updateCounter == 0) {
      return TRUE;
   }
   ExtendedConfigDoc config(configPath);
   if (!config.ok()) {
      return FALSE;
   }
   xmlNode *root = config.root();
   xmlNode *m = ToolsXmlLastChild(root, "tools-manifest");
   SaveState state;
   if (!IsEmpty(agentXml) && !SaveAgentRecord(root, agentXml, &m, &state)) {
      return FALSE;
   }
   if (!IsEmpty(manifestText) && !SaveManifestRecord(root, manifestText, &m, &state)) {
      return FALSE;
   }
   if (updateCounter != 0) {
      SaveInstallRecord(root, installError, updateCounter);
   }
   XmlText text;
   xmlDocDumpMemory(config.doc(), &text.data, &text.size);
   if (text.data == nullptr || text.size <= 0 || !Reparses(text)) {
      Log("Error dumping xml doc to the output buffer.\n");
      return FALSE;
   }
   if (!WriteExtendedConfig(config.path(), text.data, text.size)) {
      Log("Failed to save xml buffer in extended config file.\n");
      return FALSE;
   }
   return TRUE;
}

TRGUEST_API Bool ToolsVersion_GetInstallInfo(const char *configPath, int32_t *installError,
                                             int32_t *updateCounter) noexcept {
   if (installError != nullptr) {
      *installError = 0;
   }
   if (updateCounter != nullptr) {
      *updateCounter = 0;
   }
   ExtendedConfigDoc config(configPath);
   if (!config.ok()) {
      return FALSE;
   }
   xmlNode *info = ToolsXmlFirstChild(config.root(), "tools-install-info");
   if (info == nullptr || info->children == nullptr) {
      return TRUE;
   }
   const struct {
      const char *name;
      int32_t *out;
   } fields[] = {{"installError", installError}, {"updateCounter", updateCounter}};
   for (const auto &field : fields) {
      xmlNode *node = ToolsXmlLastChild(info, field.name);
      if (node != nullptr && field.out != nullptr) {
         xmlChar *content = xmlNodeGetContent(node);
         *field.out = ToolsXmlTextToInt32(content);
         xmlFree(content);
      }
   }
   return TRUE;
}

TRGUEST_API Bool ToolsVersion_GetUpdateInfo(const char *configPath, ToolsUpdateInfo **infos,
                                            int32_t *count) noexcept {
   if (infos == nullptr || count == nullptr) {
      return FALSE;
   }
   ExtendedConfigDoc config(configPath);
   if (!config.ok()) {
      return FALSE;
   }
   xmlNode *tools = ToolsXmlFirstChild(ToolsXmlFirstChild(config.root(), "update-agent-info"),
                                       "tools");
   int32_t n = 0;
   for (xmlNode *c = tools != nullptr ? tools->children : nullptr; c != nullptr; c = c->next) {
      n += c->type == XML_ELEMENT_NODE ? 1 : 0;
   }
   if (n == 0) {
      Log("Failed to find update agent tools info in extended config xml.\n");
      return FALSE;
   }
   auto *records = static_cast<ToolsUpdateInfo *>(UtilSafeCalloc0(static_cast<size_t>(n),
                                                                  sizeof(ToolsUpdateInfo)));
   ToolsUpdateInfo *r = records;
   for (xmlNode *c = tools->children; c != nullptr; c = c->next) {
      if (c->type != XML_ELEMENT_NODE) {
         continue;
      }
      r->component = UtilSafeStrdup0(reinterpret_cast<const char *>(c->name));
      r->guestVersion = XmlPropCopy(c, "guestVersion");
      r->repoVersion = XmlPropCopy(c, "repoVersion");
      xmlChar *status = xmlGetProp(c, BAD_CAST "status");
      r->status = ToolsXmlTextToInt32(status);
      xmlFree(status);
      if (r->status == 0) {
         r->status = TOOLS_STATUS_UNKNOWN;
      }
      r++;
   }
   *infos = records;
   *count = n;
   return TRUE;
}

TRGUEST_API void ToolsVersion_FreeUpdateInfo(ToolsUpdateInfo *infos, int32_t count) noexcept {
   if (infos == nullptr) {
      return;
   }
   for (int32_t i = 0; i < count; i++) {
      std::free(infos[i].component);
      std::free(infos[i].guestVersion);
      std::free(infos[i].repoVersion);
   }
   std::free(infos);
}

}  // extern "C"
