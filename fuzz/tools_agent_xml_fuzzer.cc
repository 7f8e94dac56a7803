// tools_agent_xml_fuzzer.cc --
//
//    Feeds arbitrary text to ToolsVersion_SaveXmlInfo as the update agent's
//    document, and then as the guest manifest, over a scratch extended
//    configuration file holding all three records. A save that fails must
//    leave the file byte for byte as it was; one that succeeds must leave a
//    file that the readers still parse, with the install record it wrote.

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <trguest/toolsversion.h>

#include "fuzz_scratch.hh"

namespace {

const char kBase[] =
   "<?xml version=\"1.0\"?>\n<config><tools-manifest><monolithic version=\"9.4.5\" "
   "installed=\"TRUE\"/></tools-manifest><tools-install-info><installError>0</installError>"
   "<updateCounter>1</updateCounter></tools-install-info><update-agent-info><tools>"
   "<monolithic guestVersion=\"9.4.5\" repoVersion=\"9.4.6\" status=\"2\"/></tools>"
   "</update-agent-info></config>\n";

std::string ReadAll(const std::string &path) {
   std::ifstream in(path, std::ios::binary);
   std::ostringstream text;
   text << in.rdbuf();
   return text.str();
}

void WriteAll(const std::string &path, const std::string &text) {
   std::ofstream out(path, std::ios::binary | std::ios::trunc);
   out << text;
   if (!out) {
      std::abort();
   }
}

void SaveAndCheck(const std::string &config, const std::string &xml, const char *agent,
                  const char *manifest) {
   const std::string before = ReadAll(xml);
   if (!ToolsVersion_SaveXmlInfo(config.c_str(), agent, manifest, -7, 5)) {
      if (ReadAll(xml) != before) {
         std::abort();
      }
      return;
   }
   int32_t installError = 0;
   int32_t updateCounter = 0;
   if (!ToolsVersion_GetInstallInfo(config.c_str(), &installError, &updateCounter) ||
       installError != -7 || updateCounter != 5) {
      std::abort();
   }
   ToolsUpdateInfo *infos = nullptr;
   int32_t count = 0;
   if (ToolsVersion_GetUpdateInfo(config.c_str(), &infos, &count)) {
      ToolsVersion_FreeUpdateInfo(infos, count);
   }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   const std::string &dir = fuzz::EmptyScratchDir("toolsxml");
   const std::string config = dir + "/vm.trx";
   const std::string xml = dir + "/vm.xml";
   WriteAll(config, "extendedConfigFile = \"vm.xml\"\n");
   WriteAll(xml, kBase);
   // The interface takes NUL-terminated texts: the input up to its first NUL.
   const std::string text(reinterpret_cast<const char *>(data), size);
   SaveAndCheck(config, xml, text.c_str(), nullptr);
   SaveAndCheck(config, xml, nullptr, text.c_str());
   return 0;
}
