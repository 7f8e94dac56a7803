// toolsExtConfig.cc --
//
//    The extended configuration file and the virtual disks as the status
//    computation reads them (see toolsExtConfig.hh).

#include "toolsExtConfig.hh"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <libxml/parser.h>

#include <trplatform/dictionary.h>
#include <trplatform/log.h>
#include <trplatform/msg.h>
#include <trplatform/str.h>
#include <trplatform/util.h>

namespace {

std::atomic<int> xmlInitDone{0};

}  // namespace

char *ToolsExtConfigPath(const char *configPath) noexcept {
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
   const char *slash = std::strrchr(configPath, '/');
   char *path = slash == nullptr ? UtilSafeStrdup0(name)
                                 : Str_SafeAsprintf(nullptr, "%.*s%s",
                                                    static_cast<int>(slash + 1 - configPath),
                                                    configPath, name);
   std::free(name);
   return path;
}

bool ToolsExtConfigRead(const char *path, char **buffer, size_t *size) noexcept {
   std::FILE *f = std::fopen(path, "rb");
   if (f == nullptr) {
      return false;
   }
   std::string data;
   char chunk[8192];
   size_t n;
   while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0 && data.size() < 0x80000000u) {
      data.append(chunk, n);
   }
   bool ok = !std::ferror(f) && data.size() < 0x80000000u;
   std::fclose(f);
   if (!ok) {
      return false;
   }
   *buffer = static_cast<char *>(UtilSafeMalloc0(data.size() + 1));
   std::memcpy(*buffer, data.data(), data.size());
   *size = data.size();
   return true;
}

void ToolsXmlInitOnce() noexcept {
   if (xmlInitDone.exchange(1) == 0) {
      xmlCheckVersion(20626);
   }
}

bool ToolsLegacyVersion(const char *, uint32_t *version) noexcept {
   *version = 0;
   return false;
}
