// tools_records_cli_test.cc --
//
//    trguest tools save | install-info | update-info | legacy-version, run
//    as a user would run them.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testsupport.hh"

namespace {

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

trtest::CommandResult Tool(std::vector<std::string> args) {
   args.insert(args.begin(), kTool);
   return trtest::RunCommand(args);
}

TEST(CliToolsRecords, SaveThenReadBack) {
   trtest::TempDir dir;
   const std::string config = dir.file("vm.trx");
   trtest::WriteFile(config, "extendedConfigFile = \"vm.xml\"\nscsi0:0.fileName = \"d.vd\"\n");
   trtest::WriteFile(dir.file("vm.xml"), "<config/>");
   trtest::WriteFile(dir.file("d.vd"), "ddb.toolsVersion = \"9349\"\n");
   trtest::WriteFile(dir.file("agent.xml"),
                     "<u><tools><monolithic guestVersion=\"9.4.5\" status=\"3\"/><vmci/>"
                     "</tools></u>");

   auto r = Tool({"tools", "save", config, "--agent", dir.file("agent.xml"), "--install-error",
                  "-2", "--update-counter", "4"});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   r = Tool({"tools", "install-info", config});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_EQ(r.output, "installError=-2\nupdateCounter=4\n");
   r = Tool({"tools", "update-info", config});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_EQ(r.output, "monolithic 9.4.5 - 3\nvmci - - 9\n");
   r = Tool({"tools", "legacy-version", config});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_EQ(r.output, "9349\n");

   EXPECT_EQ(Tool({"tools", "save", config, "--agent", "no-tools"}).exitCode, 0);
   r = Tool({"tools", "update-info", config});
   EXPECT_EQ(r.exitCode, 2);
   EXPECT_NE(r.output.find("Failed to find update agent tools info"), std::string::npos);
   EXPECT_EQ(Tool({"tools", "save", config, "--agent", dir.file("missing.xml")}).exitCode, 2);
   EXPECT_EQ(Tool({"tools", "save", config, "--update-counter", "x"}).exitCode, 64);
   EXPECT_EQ(Tool({"tools", "install-info"}).exitCode, 64);
}

}  // namespace
