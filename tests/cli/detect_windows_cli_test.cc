// detect_windows_cli_test.cc --
//
//    trguest detect on Windows media, run as a user would run it: the XP
//    image names winXPPro with its Localization language, the Windows 7 x64
//    image windows7-64 with its UI languages and editions, in the readable
//    output and in --json.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "media_builder.hh"
#include "testsupport.hh"
#include "windows_media.hh"

namespace {

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

trtest::CommandResult Tool(std::vector<std::string> args) {
   args.insert(args.begin(), kTool);
   return trtest::RunCommand(args);
}

bool Has(const std::string &text, const std::string &part) {
   return text.find(part) != std::string::npos;
}

class CliDetectWindows : public ::testing::Test {
protected:
   void SetUp() override {
      if (!trtest::CanBuild(trtest::MediaFormat::Joliet) ||
          !trtest::CanBuild(trtest::MediaFormat::UdfBridge)) {
         GTEST_SKIP() << "mastering tools missing";
      }
      xp_ = trtest::BuildImage(dir_, trtest::win::XpProMedia(), "winxp.iso");
      win7_ = trtest::BuildImage(dir_, trtest::win::Windows7X64().Spec(), "win7.iso");
      ASSERT_FALSE(xp_.empty());
      ASSERT_FALSE(win7_.empty());
   }
   trtest::TempDir dir_;
   std::string xp_, win7_;
};

TEST_F(CliDetectWindows, ReadableOutput) {
   auto r = Tool({"detect", xp_});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_TRUE(Has(r.output, xp_ + ": winXPPro\n")) << r.output;
   EXPECT_TRUE(Has(r.output, "  guestOS:       winXPPro\n")) << r.output;
   EXPECT_TRUE(Has(r.output, "  language:      English\n")) << r.output;
   EXPECT_FALSE(Has(r.output, "languages:")) << r.output;
   EXPECT_FALSE(Has(r.output, "editions:")) << r.output;

   r = Tool({"detect", win7_});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_TRUE(Has(r.output, win7_ + ": windows7-64\n")) << r.output;
   EXPECT_TRUE(Has(r.output, "  subVersion:    0 (GUESS_VERSION_UNKNOWN)\n")) << r.output;
   EXPECT_TRUE(Has(r.output, "  language:      en-US\n")) << r.output;
   EXPECT_TRUE(Has(r.output,
                   "  languages:     en-US\n"
                   "                 de-DE\n"))
      << r.output;
   EXPECT_TRUE(Has(r.output,
                   "  editions:      Windows 7 HOMEBASIC\n"
                   "                 Windows 7 HOMEPREMIUM\n"
                   "                 Windows 7 PROFESSIONAL\n"
                   "                 Windows 7 STARTER\n"
                   "                 Windows 7 ULTIMATE\n"))
      << r.output;
}

TEST_F(CliDetectWindows, Json) {
   auto r = Tool({"detect", "--json", xp_, win7_});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_TRUE(Has(r.output, "\"guestOS\":\"winXPPro\"")) << r.output;
   EXPECT_TRUE(Has(r.output, "\"language\":\"English\",\"languages\":[],\"editions\":[]"))
      << r.output;
   EXPECT_TRUE(Has(r.output, "\"guestOS\":\"windows7-64\"")) << r.output;
   EXPECT_TRUE(Has(r.output, "\"language\":\"en-US\",\"languages\":[\"en-US\",\"de-DE\"],"
                             "\"editions\":[\"Windows 7 HOMEBASIC\",\"Windows 7 HOMEPREMIUM\","
                             "\"Windows 7 PROFESSIONAL\",\"Windows 7 STARTER\","
                             "\"Windows 7 ULTIMATE\"]"))
      << r.output;
}

TEST_F(CliDetectWindows, AllShowsTheClaimingDetector) {
   auto r = Tool({"detect", "--all", win7_});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_TRUE(Has(r.output, "Guess_WindowsVistaAndNewer -> windows7-64")) << r.output;
   EXPECT_FALSE(Has(r.output, "Guess_WindowsNT ->")) << r.output;

   r = Tool({"detect", "--all", xp_});
   EXPECT_TRUE(Has(r.output, "Guess_WindowsNT -> winXPPro")) << r.output;
   EXPECT_FALSE(Has(r.output, "Guess_WindowsVistaAndNewer ->")) << r.output;
}

}  // namespace
