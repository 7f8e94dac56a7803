// extconfig_failures_test.cc --
//
//    Every failure of the tools-record operations that can be provoked: its
//    log lines, FALSE, and a file left byte for byte as it was; agent
//    documents built to exhaust the parser; a disk that fills mid-write.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/toolsversion.h>

#include "extconfig_support.hh"
#include "testsupport.hh"
#include "toolsversion/extendedConfigInt.h"

namespace {

using extconfig_test::VmDir;

enum class Op { kSave, kInstallInfo, kUpdateInfo };

struct FailCase {
   const char *name;
   const char *config;  // configuration file text; NULL: no file; "": no path given
   const char *xml;     // extended file text; NULL: a directory stands there
   Op op;
   const char *agent;
   const char *manifest;
   std::vector<std::string> lines;  // "@" stands for the directory's path
};

void PrintTo(const FailCase &c, std::ostream *os) { *os << c.name; }

constexpr const char kConfig[] = "extendedConfigFile = \"vm.xml\"\n";
constexpr const char kFile[] = "<root><tools-manifest><a version=\"1\"/></tools-manifest></root>";
const std::string kAgentParse = "Error parsing xml from update agent.";

std::string BillionLaughs() {
   std::string doc = "<?xml version=\"1.0\"?>\n<!DOCTYPE u [\n<!ENTITY l0 \"lol\">\n";
   for (int i = 1; i <= 10; i++) {
      doc += "<!ENTITY l" + std::to_string(i) + " \"";
      for (int j = 0; j < 10; j++) {
         doc += "&l" + std::to_string(i - 1) + ";";
      }
      doc += "\">\n";
   }
   return doc + "]>\n<u><tools><monolithic guestVersion=\"&l10;\"/></tools></u>";
}
const std::string kBillionLaughs = BillionLaughs();

class Failures : public ::testing::TestWithParam<FailCase> {};

TEST_P(Failures, LogAndKeepTheFile) {
   const FailCase &c = GetParam();
   trtest::TempDir dir;
   const std::string config = dir.file("vm.trx");
   const std::string xml = dir.file("vm.xml");
   if (c.config != nullptr) {
      trtest::WriteFile(config, c.config);
   }
   if (c.xml != nullptr) {
      trtest::WriteFile(xml, c.xml);
   } else {
      ASSERT_EQ(mkdir(xml.c_str(), 0755), 0);
   }
   trtest::LogCapture log;
   Bool ok = TRUE;
   switch (c.op) {
   case Op::kSave:
      ok = ToolsVersion_SaveXmlInfo(c.config && !*c.config ? nullptr : config.c_str(), c.agent,
                                    c.manifest, 1, 1);
      break;
   case Op::kInstallInfo: {
      int32_t installError = -1;
      int32_t updateCounter = -1;
      ok = ToolsVersion_GetInstallInfo(config.c_str(), &installError, &updateCounter);
      EXPECT_EQ(installError, 0);
      EXPECT_EQ(updateCounter, 0);
      break;
   }
   case Op::kUpdateInfo: {
      ToolsUpdateInfo *infos = nullptr;
      int32_t count = -1;
      ok = ToolsVersion_GetUpdateInfo(config.c_str(), &infos, &count);
      EXPECT_EQ(infos, nullptr);
      EXPECT_EQ(count, -1);
      break;
   }
   }
   EXPECT_EQ(ok, FALSE);
   std::vector<std::string> expected;
   for (std::string line : c.lines) {
      if (size_t at = line.find('@'); at != std::string::npos) {
         line.replace(at, 1, dir.path());
      }
      expected.push_back(line);
   }
   EXPECT_EQ(log.lines(), expected);
   if (c.xml != nullptr) {
      EXPECT_EQ(trtest::ReadFile(xml), c.xml);
   }
}

const FailCase kFailCases[] = {
   {"noConfigFile", nullptr, kFile, Op::kSave, "null", nullptr,
    {"Error loading dictionary for trx config file: Cannot open @/vm.trx: No such file or "
     "directory.",
     "Error getting extended config file path."}},
   {"noConfigPath", "", kFile, Op::kSave, "null", nullptr,
    {"Error loading dictionary for trx config file: no file named.",
     "Error getting extended config file path."}},
   {"noExtendedConfigEntry", "guestOS = \"other\"\n", kFile, Op::kInstallInfo, nullptr, nullptr,
    {"Error getting extended config name from config file.",
     "Error getting extended config file path."}},
   {"extendedFileMissing", "extendedConfigFile = \"gone.xml\"\n", kFile, Op::kUpdateInfo, nullptr,
    nullptr,
    {"Error opening extended config file for reading: errcode 6.",
     "Failed to get xml buffer from extended config file."}},
   {"extendedFileIsDirectory", kConfig, nullptr, Op::kSave, "null", nullptr,
    {"Error opening extended config file for reading: errcode 2.",
     "Failed to get xml buffer from extended config file."}},
   {"extendedFileNotXml", kConfig, "<root><open></root>", Op::kInstallInfo, nullptr, nullptr,
    {"Error parsing xml from extended config file."}},
   {"agentNotXml", kConfig, kFile, Op::kSave, "<u><tools></u>", nullptr, {kAgentParse}},
   {"agentExternalEntity", kConfig, kFile, Op::kSave,
    "<!DOCTYPE u [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>"
    "<u><tools><monolithic guestVersion=\"&x;\"/></tools></u>",
    nullptr, {kAgentParse}},
   {"agentBillionLaughs", kConfig, kFile, Op::kSave, kBillionLaughs.c_str(), nullptr,
    {kAgentParse}},
   {"manifestNotDictionary", kConfig, kFile, Op::kSave, "null", "tools.version\n",
    {"Error loading dictionary from manifest buffer: Syntax error in buffer, line 1: missing "
     "\"=\"."}},
   {"manifestValueNotXmlText", kConfig, kFile, Op::kSave, nullptr, "tools.version = \"9|01\"\n",
    {"Error dumping xml doc to the output buffer."}},
   {"manifestValueNotUtf8", kConfig, kFile, Op::kSave, nullptr, "a.version = \"9\xff\"\n",
    {"Error dumping xml doc to the output buffer."}},
   {"noAgentToolsElements", kConfig,
    "<root><update-agent-info><x><a/></x><tools> </tools></update-agent-info></root>",
    Op::kUpdateInfo, nullptr, nullptr,
    {"Failed to find update agent tools info in extended config xml."}},
};

INSTANTIATE_TEST_SUITE_P(Cases, Failures, ::testing::ValuesIn(kFailCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(ReadExtendedConfig, RefusesTwoGigabytesAndMore) {
   trtest::TempDir dir;
   const std::string path = dir.file("big.xml");
   trtest::WriteFile(path, "");
   ASSERT_EQ(truncate(path.c_str(), INT64_C(0x80000000)), 0);
   trtest::LogCapture log;
   char *buffer = nullptr;
   size_t size = 7;
   EXPECT_FALSE(ReadExtendedConfig(path.c_str(), &buffer, &size));
   EXPECT_EQ(buffer, nullptr);
   EXPECT_EQ(size, 7u);
   EXPECT_EQ(log.lines(), std::vector<std::string>{"Error getting size of extended config file."});
}

// 100 000 components: an agent document that size is refused before it is
// parsed; a guest manifest (the dictionary's limit) is recorded whole.
TEST(HostileInput, HundredThousandComponents) {
   std::string agent = "<u><tools>";
   std::string manifest;
   for (int i = 0; i < 100000; i++) {
      agent += "<c" + std::to_string(i) + " status=\"3\"/>";
      manifest += "c" + std::to_string(i) + ".version = \"1\"\n";
   }
   agent += "</tools></u>";
   VmDir vm(kFile);
   trtest::LogCapture log;
   EXPECT_FALSE(ToolsVersion_SaveXmlInfo(vm.config.c_str(), agent.c_str(), nullptr, 0, 0));
   EXPECT_EQ(log.lines(), std::vector<std::string>{kAgentParse});
   EXPECT_EQ(vm.XmlText(), kFile);

   ASSERT_TRUE(ToolsVersion_SaveXmlInfo(vm.config.c_str(), nullptr, manifest.c_str(), 0, 0));
   const std::string tree = vm.XmlTree();
   EXPECT_EQ(std::count(tree.begin(), tree.end(), ','), 99999);
   EXPECT_NE(tree.find(",c99999[version=1]))"), std::string::npos);
}

// In a child process: saves a large agent document with files limited to
// `limit` bytes, and exits with 7 when the save failed.
[[noreturn]] void SaveWithFileSizeLimit(const std::string &config, const std::string &agent,
                                        rlim_t limit) {
   struct rlimit rl;
   rl.rlim_cur = limit;
   rl.rlim_max = limit;
   signal(SIGXFSZ, SIG_IGN);
   setrlimit(RLIMIT_FSIZE, &rl);
   _exit(ToolsVersion_SaveXmlInfo(config.c_str(), agent.c_str(), nullptr, 0, 1) ? 1 : 7);
}

// A disk that fills while the new document is written: FALSE, the old file
// whole, and no temporary file left. The file size limit of a child
// process stands in for the full disk.
TEST(SaveWriteFailureDeathTest, DiskFullKeepsTheOldFile) {
   VmDir vm(kFile);
   std::string agent = "<u><tools>";
   for (int i = 0; i < 2000; i++) {
      agent += "<component" + std::to_string(i) + " guestVersion=\"1.2.3\"/>";
   }
   agent += "</tools></u>";
   trtest::LogCapture log;
   EXPECT_EXIT(SaveWithFileSizeLimit(vm.config, agent, 16384), ::testing::ExitedWithCode(7), "");
   EXPECT_EQ(vm.XmlText(), kFile);
   EXPECT_EQ(log.lines(), (std::vector<std::string>{
                             "Error writing to extended config file: errcode 9.",
                             "Failed to save xml buffer in extended config file."}));
   EXPECT_EQ(trtest::RunCommand({"sh", "-c", "ls -A " + vm.dir.path() + " | wc -l"}).output,
             "2\n");
}

}  // namespace
