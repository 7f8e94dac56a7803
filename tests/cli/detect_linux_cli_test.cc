// detect_linux_cli_test.cc --
//
//    trguest detect on Linux installation media, run as a user would run it:
//    the record of each family's reference medium, and --all on an image
//    that two families claim, where the chain's order picks the result.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "media_builder.hh"
#include "testsupport.hh"

namespace {

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

trtest::CommandResult Tool(std::vector<std::string> args) {
   args.insert(args.begin(), kTool);
   return trtest::RunCommand(args);
}

trtest::MediaSpec Spec(std::vector<trtest::MediaFile> files, std::string volume = "TESTMEDIA",
                       trtest::MediaFormat format = trtest::MediaFormat::RockRidge) {
   trtest::MediaSpec spec;
   spec.files = std::move(files);
   spec.volumeId = std::move(volume);
   spec.format = format;
   return spec;
}

const trtest::MediaFile kCentOS5DiscInfo = {".discinfo",
                                            "1239207620.580461\nCentOS\nx86_64\n1,2,3,4,5,6,7\n"};
const trtest::MediaFile kCentOS5Key = {"RPM-GPG-KEY-CentOS-5",
                                       "-----BEGIN PGP PUBLIC KEY BLOCK-----\n"};
const trtest::MediaFile kIsolinux = {"isolinux/isolinux.cfg", "default linux\n"};
const trtest::MediaFile kUbuntuInfo = {
   ".disk/info", "Ubuntu 10.04.4 LTS \"Lucid Lynx\" - Release i386 (20120214.2)"};

bool Contains(const std::string &text, const std::string &part) {
   return text.find(part) != std::string::npos;
}

// The four reference media: one image each, the fields trguest prints.
TEST(CliDetectLinux, ReferenceMedia) {
   if (!trtest::CanBuild(trtest::MediaFormat::RockRidge)) {
      GTEST_SKIP() << "xorriso missing";
   }
   struct {
      const char *name;
      trtest::MediaSpec spec;
      std::vector<std::string> lines;
   } cases[] = {
      {"centos5",
       Spec({kCentOS5DiscInfo, kCentOS5Key, kIsolinux}),
       {": centos-64\n", "  subVersion:    21 (GUESS_VERSION_CENTOS_5)\n",
        "  noIsolinuxCfg: no\n"}},
      {"ubuntu1004",
       Spec({kUbuntuInfo, kIsolinux}),
       {": ubuntu\n", "  subVersion:    4 (GUESS_VERSION_UBUNTU_710_OR_HIGHER)\n",
        "  versionString: 10.04.4\n"}},
      {"sles11sp1",
       Spec({{"content", "DISTRIBUTION SUSE_SLE\nLABEL SUSE Linux Enterprise Server 11 SP1\n"
                         "NAME SUSE_SLES\nRELEASE 1.27\nVERSION 11.1\nBASEARCHS x86_64\n"},
             {"boot/x86_64/loader/isolinux.cfg", "default harddisk\n"}}),
       {": sles11-64\n", "  subVersion:    0 (GUESS_VERSION_UNKNOWN)\n", "  noIsolinuxCfg: no\n"}},
      {"mandriva2010",
       Spec({{"x86_64/isolinux/isolinux.cfg", "default linux\n"}}, "Mandriva.2010.0.x86_64",
            trtest::MediaFormat::JolietRockRidge),
       {": mandriva-64\n", "  subVersion:    8 (GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER)\n"}},
   };
   trtest::TempDir dir;
   for (auto &c : cases) {
      std::string image = trtest::BuildImage(dir, c.spec, std::string(c.name) + ".iso");
      ASSERT_FALSE(image.empty());
      auto r = Tool({"detect", image});
      EXPECT_EQ(r.exitCode, 0) << c.name;
      EXPECT_EQ(r.output.rfind(image + ": ", 0), 0u) << r.output;
      for (const std::string &line : c.lines) {
         EXPECT_TRUE(Contains(r.output, line)) << c.name << ": no '" << line << "' in\n"
                                               << r.output;
      }
   }
}

// A CentOS tree that also carries an Ubuntu description: Red Hat and
// Debian both claim it; Red Hat comes first in the chain and wins.
TEST(CliDetectLinux, AllShowsBothClaimsAndTheChainsWinner) {
   if (!trtest::CanBuild(trtest::MediaFormat::RockRidge)) {
      GTEST_SKIP() << "xorriso missing";
   }
   trtest::TempDir dir;
   std::string image =
      trtest::BuildImage(dir, Spec({kCentOS5DiscInfo, kCentOS5Key, kIsolinux, kUbuntuInfo}));
   ASSERT_FALSE(image.empty());

   auto r = Tool({"detect", "--all", image});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_EQ(r.output.rfind(image + ": centos-64\n", 0), 0u) << r.output;
   EXPECT_TRUE(Contains(r.output, "  subVersion:    21 (GUESS_VERSION_CENTOS_5)\n")) << r.output;
   // Debian's version text is not in the record: Debian never ran.
   EXPECT_TRUE(Contains(r.output, "  versionString: \n")) << r.output;
   EXPECT_TRUE(Contains(r.output, "  claimed by:    Guess_RedHat -> centos-64\n"
                                  "                 Guess_Debian -> ubuntu\n"))
      << r.output;

   r = Tool({"detect", "--json", "--all", image});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_TRUE(Contains(r.output, "\"guestOS\":\"centos-64\"")) << r.output;
   EXPECT_TRUE(Contains(r.output, "\"subVersion\":21")) << r.output;
   EXPECT_TRUE(Contains(r.output,
                        "\"claimedBy\":[{\"detector\":\"Guess_RedHat\",\"guestOS\":\"centos-64\","
                        "\"inChain\":true},{\"detector\":\"Guess_Debian\",\"guestOS\":\"ubuntu\","
                        "\"inChain\":true}]"))
      << r.output;
}

}  // namespace
