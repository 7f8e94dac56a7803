// extconfig_records_test.cc --
//
//    The tools records of the extended configuration file: what a save
//    leaves in the file (compared as parsed trees), and what the readers
//    give back.

#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/toolsversion.h>

#include "extconfig_support.hh"
#include "testsupport.hh"
#include "toolsversion/extendedConfigInt.h"

namespace {

using extconfig_test::Tree;
using extconfig_test::VmDir;

constexpr const char kAgentMonolithic[] =
   "<updateInfo><tools><monolithic guestVersion=\"9.4.5\" repoVersion=\"9.4.6\" status=\"2\" "
   "ignored=\"x\"/></tools></updateInfo>";

struct SaveCase {
   const char *name;
   const char *before;
   const char *agent;
   const char *manifest;
   int32_t installError;
   int32_t updateCounter;
   const char *after;  // tree of the file afterwards
};

void PrintTo(const SaveCase &c, std::ostream *os) { *os << c.name; }

class SaveXmlInfo : public ::testing::TestWithParam<SaveCase> {};

TEST_P(SaveXmlInfo, LeavesTheRecords) {
   const SaveCase &c = GetParam();
   VmDir vm(c.before);
   trtest::LogCapture log;
   ASSERT_TRUE(ToolsVersion_SaveXmlInfo(vm.config.c_str(), c.agent, c.manifest, c.installError,
                                        c.updateCounter));
   EXPECT_EQ(vm.XmlTree(), c.after);
   EXPECT_EQ(log.text(), "");
}

const SaveCase kSaveCases[] = {
   {"agentMonolithicReplacesManifest",
    "<root><tools-manifest><old version=\"1\"/></tools-manifest><keep/></root>", kAgentMonolithic,
    nullptr, 0, 0,
    "root(keep,update-agent-info(tools(monolithic[guestVersion=9.4.5,repoVersion=9.4.6,"
    "status=2])),tools-manifest(monolithic[version=9.4.5]))"},
   {"agentWithoutMonolithicDropsManifest",
    "<root><update-agent-info><tools><old/></tools></update-agent-info>"
    "<tools-manifest><m/></tools-manifest></root>",
    "<u><tools><a status=\"3\">text<deeper/></a></tools><!-- c --><other><x guestVersion=\"1\"/>"
    "</other></u>",
    "", 0, 0, "root(update-agent-info(tools(a[status=3]),other(x[guestVersion=1])))"},
   {"lastMonolithicVersionCounts", "<root/>",
    "<u><tools><monolithic guestVersion=\"1\"/><MONOLITHIC guestVersion=\"2\"/>"
    "<monolithic/></tools><TOOLS><monolithic guestVersion=\"3\"/></TOOLS></u>",
    nullptr, 0, 0,
    "root(update-agent-info(tools(monolithic[guestVersion=1],MONOLITHIC[guestVersion=2],"
    "monolithic),TOOLS(monolithic[guestVersion=3])),tools-manifest(monolithic[version=3]))"},
   {"agentNoToolsEmptiesAgentRecord",
    "<root><update-agent-info><tools><a/></tools><other/><Tools><b/></Tools>"
    "</update-agent-info><tools-manifest><m/></tools-manifest></root>",
    "no tools", nullptr, 0, 0, "root(update-agent-info(other))"},
   {"manifestEntries", "<root><tools-manifest><old/></tools-manifest></root>", nullptr,
    "tools.version = \"9.4.5.0\"\ntools.installed = \"TRUE\"\nresult.log = \"TRUE\"\n", 0, 0,
    "root(tools-manifest(tools[installed=TRUE,version=9.4.5.0],result))"},
   {"manifestSuffixAndComponentCase", "<root/>", nullptr,
    ".encoding = \"UTF-8\"\nTools.VERSION = \"1.0\"\ntools.Installed = \"TRUE\"\n"
    "a<b.version = \"2\"\n.version = \"3\"\nc.other = \"4\"\nd\xff.version = \"5\"\n",
    0, 0, "root(tools-manifest(Tools[version=1.0],tools,c))"},
   {"manifestAfterAgentWins", "<root/>", kAgentMonolithic, "a.version = \"1\"\n", 0, 0,
    "root(update-agent-info(tools(monolithic[guestVersion=9.4.5,repoVersion=9.4.6,status=2])),"
    "tools-manifest(a[version=1]))"},
   {"manifestNoToolsRemovesLastManifest",
    "<root><tools-manifest><a/></tools-manifest><Tools-Manifest><b/></Tools-Manifest></root>",
    nullptr, "no tools", 0, 0, "root(tools-manifest(a))"},
   {"nullKeepsBothRecords", "<root><tools-manifest><a/></tools-manifest></root>", "null", "null",
    0, 1, "root(tools-manifest(a),tools-install-info(installError=0,updateCounter=1))"},
   {"installRecordAdded", "<root/>", nullptr, nullptr, 5, 1,
    "root(tools-install-info(installError=5,updateCounter=1))"},
   {"installRecordRewritten",
    "<root><tools-install-info><installError>7</installError><updateCounter>2</updateCounter>"
    "</tools-install-info></root>",
    nullptr, nullptr, -1, 3, "root(tools-install-info(installError=-1,updateCounter=3))"},
   {"installRecordMissingElementAppended",
    "<root><tools-install-info><updateCounter>2</updateCounter></tools-install-info></root>",
    nullptr, nullptr, 4, 3, "root(tools-install-info(updateCounter=3,installError=4))"},
};

INSTANTIATE_TEST_SUITE_P(Cases, SaveXmlInfo, ::testing::ValuesIn(kSaveCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(SaveXmlInfoFile, NothingToSaveDoesNotReadAndNullRewrites) {
   // An install error alone is not recorded; the file is not even looked for.
   trtest::LogCapture log;
   EXPECT_TRUE(ToolsVersion_SaveXmlInfo("/nonexistent/vm.trx", nullptr, "", 5, 0));
   EXPECT_EQ(log.text(), "");

   // "null" still reads, re-serialises and rewrites the file.
   const char *before = "<root>\n  <tools-manifest><a version=\"1\"/></tools-manifest>\n</root>";
   VmDir vm(before);
   ASSERT_TRUE(ToolsVersion_SaveXmlInfo(vm.config.c_str(), "null", nullptr, 0, 0));
   EXPECT_EQ(vm.XmlText(), std::string("<?xml version=\"1.0\"?>\n") + before + "\n");
}

TEST(GetInstallInfo, ReadsTheLastElementsOfTheFirstRecord) {
   const struct {
      const char *xml;
      int32_t installError;
      int32_t updateCounter;
   } cases[] = {
      {"<root/>", 0, 0},
      {"<root><tools-install-info/></root>", 0, 0},
      {"<root><TOOLS-INSTALL-INFO><installError>-4</installError><updateCounter>12"
       "</updateCounter></TOOLS-INSTALL-INFO></root>",
       -4, 12},
      {"<root><tools-install-info><installError>1</installError><installError>2</installError>"
       "<updateCounter/></tools-install-info><tools-install-info><updateCounter>9"
       "</updateCounter></tools-install-info></root>",
       2, 0},
      {"<root><tools-install-info><updateCounter>99999999999</updateCounter>"
       "<installError>7x</installError></tools-install-info></root>",
       7, INT32_MAX},
   };
   for (const auto &c : cases) {
      VmDir vm(c.xml);
      int32_t installError = -1;
      int32_t updateCounter = -1;
      EXPECT_TRUE(ToolsVersion_GetInstallInfo(vm.config.c_str(), &installError, &updateCounter));
      EXPECT_EQ(installError, c.installError) << c.xml;
      EXPECT_EQ(updateCounter, c.updateCounter) << c.xml;
      EXPECT_TRUE(ToolsVersion_GetInstallInfo(vm.config.c_str(), nullptr, nullptr));
   }
}

TEST(GetUpdateInfo, OneRecordPerComponentWithUnknownStatusAsNine) {
   VmDir vm("<root><update-agent-info><other/><tools>\n"
            "<a guestVersion=\"1.0\"/><b status=\"0\" repoVersion=\"2\"/>\n"
            "<c status=\"5\" guestVersion=\"3\" repoVersion=\"4\"/><d status=\"x\"/>"
            "</tools><tools><e/></tools></update-agent-info></root>");
   ToolsUpdateInfo *infos = nullptr;
   int32_t count = 0;
   ASSERT_TRUE(ToolsVersion_GetUpdateInfo(vm.config.c_str(), &infos, &count));
   std::vector<std::string> got;
   for (int32_t i = 0; i < count; i++) {
      const ToolsUpdateInfo &r = infos[i];
      got.push_back(std::string(r.component) + "/" + (r.guestVersion ? r.guestVersion : "-") +
                    "/" + (r.repoVersion ? r.repoVersion : "-") + "/" +
                    std::to_string(r.status));
   }
   ToolsVersion_FreeUpdateInfo(infos, count);
   ToolsVersion_FreeUpdateInfo(nullptr, 3);
   EXPECT_EQ(got, (std::vector<std::string>{"a/1.0/-/9", "b/-/2/9", "c/3/4/5", "d/-/-/9"}));
}

TEST(ExtendedConfigPath, RelativeToTheConfigurationFilesDirectory) {
   const struct {
      const char *value;
      const char *expected;  // after the configuration file's directory
   } cases[] = {
      {"a.xml", "/a.xml"},
      {"sub/b.xml", "/sub/b.xml"},
      {"/abs.xml", "//abs.xml"},
   };
   trtest::TempDir dir;
   for (const auto &c : cases) {
      trtest::WriteFile(dir.file("a.trx"),
                        std::string("extendedConfigFile = \"") + c.value + "\"\n");
      char *path = GetExtendedConfigPath(dir.file("a.trx").c_str());
      ASSERT_NE(path, nullptr);
      EXPECT_EQ(std::string(path), dir.path() + c.expected);
      std::free(path);
   }
   // A configuration path without "/" gives the bare name.
   char cwd[4096];
   ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
   ASSERT_EQ(chdir(dir.path().c_str()), 0);
   char *path = GetExtendedConfigPath("a.trx");
   EXPECT_EQ(chdir(cwd), 0);
   ASSERT_NE(path, nullptr);
   EXPECT_STREQ(path, "/abs.xml");
   std::free(path);
}

}  // namespace
