// extendedConfig.cc --
//
//    Finding, reading and parsing the virtual machine's extended XML
//    configuration file, and the libxml2 start-up check that precedes every
//    parse.

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <libxml/parser.h>
#include <libxml/xmlversion.h>

#include <trplatform/dictionary.h>
#include <trplatform/fileio.h>
#include <trplatform/log.h>
#include <trplatform/msg.h>
#include <trplatform/util.h>

#include "extendedConfigInt.h"

namespace {

// 0 until the first parse of the process; set with an atomic exchange so
// that the version check runs once even when two threads parse first at
// the same moment.
std::atomic<int> xmlInitOnce{0};

// Files this large or larger are refused before anything is allocated.
constexpr int64_t kExtendedConfigLimit = INT64_C(0x80000000);

}  // namespace

char *GetExtendedConfigPath(const char *configPath) {
   if (configPath == nullptr) {
      Log("Error loading dictionary for trx config file: %s.\n", "no file named");
      return nullptr;
   }
   Dictionary *dict = Dictionary_Create();
   if (dict == nullptr) {
      Log("Error creating dictionary for trx config file.\n");
      return nullptr;
   }
   if (!Dictionary_Load(dict, configPath)) {
      Log("Error loading dictionary for trx config file: %s.\n", Msg_GetMessagesAndReset());
      Dictionary_Free(dict);
      return nullptr;
   }
   char *name = Dict_GetString(dict, nullptr, "extendedConfigFile");
   Dictionary_Free(dict);
   if (name == nullptr) {
      Log("Error getting extended config name from config file.\n");
      return nullptr;
   }
   // The name is always relative to the configuration file's directory,
   // even when it begins with "/": the extended file lives beside it.
   const char *slash = std::strrchr(configPath, '/');
   if (slash == nullptr) {
      return name;
   }
   std::string path(configPath, static_cast<size_t>(slash - configPath) + 1);
   path += name;
   std::free(name);
   return UtilSafeStrdup0(path.c_str());
}

Bool ReadExtendedConfig(const char *path, char **buffer, size_t *size) {
   FileIODescriptor fd;
   FileIO_Invalidate(&fd);
   FileIOResult res = FileIO_Open(&fd, path, FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN);
   if (res != FILEIO_SUCCESS) {
      Log("Error opening extended config file for reading: errcode %d.\n", static_cast<int>(res));
      return FALSE;
   }
   int64_t fileSize = FileIO_GetSize(&fd);
   if (fileSize < 0 || fileSize >= kExtendedConfigLimit) {
      Log("Error getting size of extended config file.\n");
      FileIO_Close(&fd);
      return FALSE;
   }
   size_t n = static_cast<size_t>(fileSize);
   char *data = static_cast<char *>(UtilSafeMalloc0(n + 1));
   res = FileIO_Read(&fd, data, n, nullptr);
   FileIO_Close(&fd);
   if (res != FILEIO_SUCCESS) {
      Log("Error reading from extended config file: errcode %d.\n", static_cast<int>(res));
      std::free(data);
      return FALSE;
   }
   data[n] = '\0';
   *buffer = data;
   *size = n;
   return TRUE;
}

void ToolsVersionXmlInitOnce(void) {
   if (xmlInitOnce.exchange(1) == 0) {
      xmlCheckVersion(20626);
   }
}

xmlDoc *ToolsVersionParseXml(const char *text, size_t size, bool refuseDtd) {
   ToolsVersionXmlInitOnce();
   // libxml2 takes an int length; the file reader refuses 2^31 bytes and
   // more, and agent texts that long are not parsed at all.
   if (size > static_cast<size_t>(INT32_MAX)) {
      return nullptr;
   }
   // No XML_PARSE_NOENT (entity references stay references), no DTD
   // loading or attribute defaulting, no network: the texts may come from
   // inside the guest. Errors are reported through our own log lines only.
   // Names are not interned in a shared dictionary: the guest chooses them,
   // and libxml2's dictionary slows down badly on many similar names.
   xmlDoc *doc = xmlReadMemory(text, static_cast<int>(size), nullptr, nullptr,
                               XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                                  XML_PARSE_NODICT);
   if (doc != nullptr && refuseDtd && (doc->intSubset != nullptr || doc->extSubset != nullptr)) {
      xmlFreeDoc(doc);
      return nullptr;
   }
   return doc;
}

ExtendedConfigDoc::ExtendedConfigDoc(const char *configPath) {
   path_ = GetExtendedConfigPath(configPath);
   if (path_ == nullptr) {
      Log("Error getting extended config file path.\n");
      return;
   }
   char *buffer = nullptr;
   size_t size = 0;
   if (!ReadExtendedConfig(path_, &buffer, &size)) {
      Log("Failed to get xml buffer from extended config file.\n");
      return;
   }
   doc_ = ToolsVersionParseXml(buffer, size, false);
   std::free(buffer);
   if (doc_ == nullptr) {
      Log("Error parsing xml from extended config file.\n");
      return;
   }
   root_ = xmlDocGetRootElement(doc_);
   if (root_ == nullptr) {
      Log("Failed to find root in extended config xml.\n");
   }
}

ExtendedConfigDoc::~ExtendedConfigDoc() {
   if (doc_ != nullptr) {
      xmlFreeDoc(doc_);
   }
   std::free(path_);
}

bool ToolsXmlIsElement(const xmlNode *node, const char *name) {
   return node != nullptr && node->type == XML_ELEMENT_NODE && node->name != nullptr &&
          xmlStrcasecmp(node->name, BAD_CAST name) == 0;
}

xmlNode *ToolsXmlFirstChild(const xmlNode *parent, const char *name) {
   for (xmlNode *n = parent != nullptr ? parent->children : nullptr; n != nullptr; n = n->next) {
      if (ToolsXmlIsElement(n, name)) {
         return n;
      }
   }
   return nullptr;
}

xmlNode *ToolsXmlLastChild(const xmlNode *parent, const char *name) {
   for (xmlNode *n = parent != nullptr ? parent->last : nullptr; n != nullptr; n = n->prev) {
      if (ToolsXmlIsElement(n, name)) {
         return n;
      }
   }
   return nullptr;
}

int32_t ToolsXmlTextToInt32(const xmlChar *text) {
   if (text == nullptr) {
      return 0;
   }
   long long value = std::strtoll(reinterpret_cast<const char *>(text), nullptr, 10);
   if (value > INT32_MAX) {
      return INT32_MAX;
   }
   if (value < INT32_MIN) {
      return INT32_MIN;
   }
   return static_cast<int32_t>(value);
}
