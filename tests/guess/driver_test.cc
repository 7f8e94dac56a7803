// driver_test.cc --
//
//    Guess_Guest end to end: which reader opens the image, the result codes,
//    the record on failure, and the chain's order deciding between families
//    that would both claim an image.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/guess.h>
#include <trplatform/iso9660.h>
#include <trplatform/udf.h>

#include "guess_support.hh"
#include "media_builder.hh"
#include "udf_builder.hh"

namespace {

using trtest::MediaFile;
using trtest::MediaFormat;

bool AllZero(const GuessInfo &info) {
   const auto *bytes = reinterpret_cast<const unsigned char *>(&info);
   for (size_t i = 0; i < sizeof info; i++) {
      if (bytes[i] != 0) {
         return false;
      }
   }
   return true;
}

std::string Kernel64() {
   std::string h(64, '\0');
   h.replace(0, 4, "\x7f" "ELF");
   h[18] = 62;
   return h;
}

const std::string kZeltXml =
   "<iso_build><product><name>Tarvel Zelt</name><zelt_version>4.1</zelt_version>"
   "</product></iso_build>";

TEST(GuessGuest, UnreadableImagesGiveTwoAndAClearedRecord) {
   trtest::TempDir dir;
   trtest::WriteFile(dir.file("text.iso"), "not an image\n");
   trtest::WriteFile(dir.file("empty.iso"), "");
   trtest::WriteFile(dir.file("zeros.iso"), std::string(40 * 2048, '\0'));
   for (const std::string &path :
        {dir.file("missing.iso"), dir.file("text.iso"), dir.file("empty.iso"),
         dir.file("zeros.iso"), dir.path()}) {
      trtest::Detection d = trtest::DetectImage(path);
      EXPECT_EQ(d.result, GUESS_RESULT_OPEN_FAILED) << path;
      EXPECT_TRUE(AllZero(d.info)) << path;
   }
}

TEST(GuessGuest, UnknownSystemGivesOne) {
   trtest::TempDir dir;
   trtest::MediaSpec spec;
   spec.files = {{"README.TXT", "Nothing to install here.\n"}, {"docs/index.html", "<html/>"}};
   std::string image = trtest::BuildImage(dir, spec);
   trtest::Detection d = trtest::DetectImage(image);
   EXPECT_EQ(d.result, GUESS_RESULT_NO_MATCH);
   EXPECT_EQ(d.info.guestOS, nullptr);
   EXPECT_EQ(d.info.guestOS64, nullptr);
   EXPECT_EQ(d.info.subVersion, 0u);
   EXPECT_FALSE(d.info.noIsolinuxCfg);
   EXPECT_STREQ(d.info.versionString, "");
   // The Windows Vista detector writes "en-US" on every image it does not
   // claim, and no later detector touches the language.
   EXPECT_STREQ(d.info.language, "en-US");
   EXPECT_STREQ(d.info.languages, "");
   EXPECT_STREQ(d.info.editions, "");
   // Bytes after the text are still the cleared record's zeros.
   EXPECT_EQ(d.info.language[6], '\0');
   EXPECT_EQ(d.info.language[sizeof d.info.language - 1], '\0');
}

struct ChainCase {
   const char *name;
   std::vector<MediaFile> files;
   std::vector<std::string> dirs;
   const char *winner;
};

std::ostream &operator<<(std::ostream &os, const ChainCase &c) {
   return os << c.name;
}

// Images that several families would claim: the one earlier in the chain wins.
const ChainCase kChainCases[] = {
   {"SolarisBeforeNetWare", {}, {"Solaris_10", "nw65os"}, "solaris10"},
   {"NetWareBeforeFreeBSD", {{"boot/kernel/kernel", Kernel64()}}, {"netware6"}, "netware6"},
   {"FreeBSDBeforeZelt", {{"boot/kernel/kernel", Kernel64()}, {"packages.xml", kZeltXml}}, {},
    "freeBSD-64"},
   {"ZeltBeforeZelti",
    {{"packages.xml", kZeltXml}, {"isolinux.cfg", "MENU TITLE Zelti-5\n"}}, {}, "trkernel"},
   {"ZeltiAlone", {{"isolinux.cfg", "MENU TITLE Zelti-5\n"}}, {}, "trkernel5"},
};

class GuessChain : public ::testing::TestWithParam<ChainCase> {};

TEST_P(GuessChain, EarlierFamilyWins) {
   const ChainCase &c = GetParam();
   trtest::TempDir dir;
   trtest::MediaSpec spec;
   spec.files = c.files;
   spec.dirs = c.dirs;
   spec.format = MediaFormat::RockRidge;
   std::string image = trtest::BuildImage(dir, spec);
   trtest::Detection d = trtest::DetectImage(image);
   EXPECT_EQ(d.result, GUESS_RESULT_FOUND);
   EXPECT_EQ(d.guestOS(), c.winner);
}

INSTANTIATE_TEST_SUITE_P(Precedence, GuessChain, ::testing::ValuesIn(kChainCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(GuessGuest, MacMediaOnlyWhenAskedDirectly) {
   trtest::TempDir dir;
   trtest::MediaSpec spec;
   spec.dirs = {"Install Mac OS X Lion.app/Contents"};
   std::string image = trtest::BuildImage(dir, spec);

   trtest::Detection chain = trtest::DetectImage(image);
   EXPECT_EQ(chain.result, GUESS_RESULT_NO_MATCH);
   EXPECT_EQ(chain.info.guestOS, nullptr);

   trtest::Detection direct = trtest::RunDetector(image, Guess_MacOS);
   EXPECT_EQ(direct.result, 0);
   EXPECT_EQ(direct.guestOS(), "darwin11");
   EXPECT_EQ(direct.guestOS64(), "darwin11-64");
}

TEST(GuessGuest, PureUdfImagesAreRead) {
   trtest::TempDir dir;
   for (auto revision : {trtest::UdfSpec::Udf201, trtest::UdfSpec::Udf250}) {
      trtest::UdfSpec spec;
      spec.revision = revision;
      spec.dirs = {"Solaris_10"};
      spec.files = {{"Solaris_10/Product/.order", "SUNWcsr\n"}};
      std::string path = dir.file("pure.udf");
      ASSERT_TRUE(trtest::BuildUdfImage(path, spec));
      trtest::Detection d = trtest::DetectImage(path);
      EXPECT_EQ(d.result, GUESS_RESULT_FOUND);
      EXPECT_EQ(d.guestOS(), "solaris10");
      EXPECT_EQ(d.guestOS64(), "solaris10-64");
   }
}

// An image with both file systems is read through its UDF side only.
TEST(GuessGuest, BridgeImagesAreReadThroughUdf) {
   if (!trtest::CanBuild(MediaFormat::UdfBridge)) {
      GTEST_SKIP() << "genisoimage missing";
   }
   trtest::TempDir dir;
   trtest::MediaSpec spec;
   spec.format = MediaFormat::UdfBridge;
   spec.files = {{"boot/kernel/kernel", Kernel64()}};
   std::string image = trtest::BuildImage(dir, spec);

   Iso9660_ResetBytesRead();
   UDF_ResetBytesRead();
   trtest::Detection d = trtest::DetectImage(image);
   EXPECT_EQ(d.result, GUESS_RESULT_FOUND);
   EXPECT_EQ(d.guestOS(), "freeBSD-64");
   EXPECT_GT(UDF_GetBytesRead(), 0u);
   EXPECT_EQ(Iso9660_GetBytesRead(), 0u);
}

TEST(GuessSubString, RowsAndCodesPastTheTable) {
   EXPECT_STREQ(Guess_GetSubString(22), "GUESS_VERSION_CENTOS_6");
   EXPECT_STREQ(Guess_GetSubString(23), "GUESS_VERSION_DUMMY_LAST");
   EXPECT_STREQ(Guess_GetSubString(24), "GUESS_VERSION_WIN8_ENTERPRISE_EVAL");
   EXPECT_STREQ(Guess_GetSubString(25), "GUESS_VERSION_UNKNOWN");
   EXPECT_STREQ(Guess_GetSubString(UINT32_MAX), "GUESS_VERSION_UNKNOWN");
}

}  // namespace
