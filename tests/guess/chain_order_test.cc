// chain_order_test.cc --
//
//    Images that several families claim: every detector is run on its own
//    to see who claims the image, then Guess_Guest, whose result must come
//    from the first claimant in chain order (Red Hat, Mandriva,
//    Debian, SUSE, Turbolinux, then the small detectors).

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "linux_media.hh"

namespace {

using namespace linuxtest;

struct Chained {
   const char *name;
   GuessDetector detector;
};

// The chain in its order.
const Chained kChain[] = {
   {"WindowsNT", Guess_WindowsNT},   {"WindowsLegacy", Guess_WindowsLegacy},
   {"WindowsVista", Guess_WindowsVistaAndNewer},
   {"RedHat", Guess_RedHat},         {"Mandriva", Guess_Mandriva},
   {"Debian", Guess_Debian},         {"SUSE", Guess_SUSE},
   {"TurboLinux", Guess_TurboLinux}, {"Solaris", Guess_Solaris},
   {"NetWare", Guess_NetWare},       {"FreeBSD", Guess_FreeBSD},
   {"Zelt", Guess_Zelt},             {"Zelti", Guess_Zelti},
};

struct Claim {
   std::string detector;  // as named in kChain
   std::string guestOS;
};

struct ChainCase {
   std::string name;
   MediaSpec spec;
   std::vector<Claim> claims;  // every detector that claims the image, in chain order
   Expect winner;              // the record Guess_Guest fills
};

void PrintTo(const ChainCase &c, std::ostream *os) { *os << c.name; }

class ChainOrder : public testing::TestWithParam<ChainCase> {};

TEST_P(ChainOrder, FirstClaimantWins) {
   const ChainCase &c = GetParam();
   if (!trtest::CanBuild(c.spec.format)) {
      GTEST_SKIP() << "no mastering tool for this format";
   }
   ASSERT_GE(c.claims.size(), 1u);
   trtest::TempDir dir;
   std::string image = trtest::BuildImage(dir, c.spec);
   ASSERT_FALSE(image.empty());

   std::vector<Claim> claims;
   for (const Chained &d : kChain) {
      trtest::Detection r = trtest::RunDetector(image, d.detector);
      ASSERT_NE(r.result, -1);
      if (r.result == 0) {
         claims.push_back({d.name, r.guestOS()});
      }
   }
   ASSERT_EQ(claims.size(), c.claims.size());
   for (size_t i = 0; i < claims.size(); i++) {
      EXPECT_EQ(claims[i].detector, c.claims[i].detector);
      EXPECT_EQ(claims[i].guestOS, c.claims[i].guestOS);
   }

   trtest::Detection chain = trtest::DetectImage(image);
   EXPECT_EQ(chain.result, GUESS_RESULT_FOUND);
   EXPECT_EQ(chain.guestOS(), c.claims.front().guestOS);
   EXPECT_EQ(chain.guestOS(), c.winner.guestOS);
   EXPECT_EQ(chain.info.subVersion, c.winner.sub);
   EXPECT_EQ(chain.info.noIsolinuxCfg != FALSE, c.winner.noIsolinuxCfg);
   EXPECT_STREQ(chain.info.versionString, c.winner.version);
}

const char kUbuntu1004[] = "Ubuntu 10.04.4 LTS \"Lucid Lynx\" - Release i386 (20120214.2)";
const char kSles11[] = "NAME SUSE_SLES\nVERSION 11.1\nBASEARCHS x86_64\n";
const char kTurbo[] = "Turbolinux 11 Server\n\nThank you for choosing Turbolinux.\n";

std::vector<ChainCase> Cases() {
   return {
      {"RedHatBeforeDebian",
       Media({DiscInfo("CentOS", "x86_64"), Key("RPM-GPG-KEY-CentOS-5"), IsolinuxCfg(),
              DiskInfo(kUbuntu1004)}),
       {{"RedHat", "centos-64"}, {"Debian", "ubuntu"}},
       // Debian never runs in the chain: no version text.
       Found("centos-64", GUESS_VERSION_CENTOS_5)},
      {"RedHatBeforeMandriva",
       Media({DiscInfo("Fedora 14", "i386"), IsolinuxCfg()}, MediaFormat::JolietRockRidge,
             "Mandriva.2010.0.x86_64"),
       {{"RedHat", "fedora"}, {"Mandriva", "mandriva-64"}},
       Found("fedora", GUESS_VERSION_FEDORA_14_TO_16)},
      {"MandrivaBeforeDebian",
       Media({IsolinuxCfg("x86_64/isolinux"),
              DiskInfo("Debian GNU/Linux 6.0.4 \"Squeeze\" - Official amd64 CD Binary-1")},
             MediaFormat::JolietRockRidge, "Mandriva.2010.0.x86_64"),
       {{"Mandriva", "mandriva-64"}, {"Debian", "debian6-64"}},
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER)},
      {"DebianBeforeSUSE",
       Media({DiskInfo("Ubuntu-Server 8.04.1 \"Hardy Heron\" - Release amd64 (20080702.1)"),
              {"content", kSles11}, IsolinuxCfg("boot/x86_64/loader")}),
       {{"Debian", "ubuntu-64"}, {"SUSE", "sles11-64"}},
       // Debian's isolinux directory is missing; SUSE's is not looked at.
       Found("ubuntu-64", GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER, true, "Server 8.04.1")},
      {"SUSEBeforeTurbolinux",
       Media({{"content", "PRODUCT openSUSE\nVERSION 11.4\nDEFAULTBASE i586\n"},
              {"README", kTurbo}}),
       {{"SUSE", "opensuse"}, {"TurboLinux", "turbolinux"}},
       Found("opensuse", 0, true)},
      {"TurbolinuxBeforeSolaris",
       Media({{"README", kTurbo}, {"Solaris_10/Product/.order", "SUNWcsr\n"}}),
       {{"TurboLinux", "turbolinux"}, {"Solaris", "solaris10"}},
       Found("turbolinux")},
      // A detector that does not recognise the image hands on: Red Hat
      // rejects the ppc ".discinfo", Debian takes the image.
      {"RejectedDiscInfoHandsOn",
       Media({DiscInfo("Fedora 14", "ppc"), DiskInfo(kUbuntu1004), IsolinuxCfg()}),
       {{"Debian", "ubuntu"}},
       Found("ubuntu", GUESS_VERSION_UBUNTU_710_OR_HIGHER, false, "10.04.4")},
      // A failing Mandriva detector leaves its version text in the record.
      {"FailedMandrivaLeavesVersion",
       Media({{"VERSION", "Mandriva Linux 2006.0 (Official) for ppc\n"}, {"content", kSles11},
              IsolinuxCfg("boot/loader")}),
       {{"SUSE", "sles11-64"}},
       Found("sles11-64", 0, false, "2006")},
      // Mandriva's VERSION wins over a Debian description.
      {"MandrakeBeforeDebian",
       Media({{"VERSION", "Mandrake Linux 10.1 (Official) for i586\n"}, DiskInfo(kUbuntu1004)}),
       {{"Mandriva", "mandrake"}, {"Debian", "ubuntu"}},
       Found("mandrake")},
      // Every Linux family's markers on one image.
      {"AllLinuxFamilies",
       Media({DiscInfo("Red Hat Enterprise Linux Server 5.4", "x86_64"), IsolinuxCfg(),
              {"VERSION", "Mandriva Linux 2006.0 (Official) for x86_64\n"}, DiskInfo(kUbuntu1004),
              {"content", kSles11}, {"README", kTurbo}}),
       {{"RedHat", "rhel5-64"},
        {"Mandriva", "mandriva-64"},
        {"Debian", "ubuntu"},
        {"SUSE", "sles11-64"},
        {"TurboLinux", "turbolinux"}},
       Found("rhel5-64")},
      // The same on UDF media (no volume label there).
      {"AllLinuxFamiliesUdf",
       Media({DiscInfo("CentOS", "i386"), IsolinuxCfg(), {"i586/product.id",
              "vendor=Mandriva,arch=i586,version=2009.0\n"}, DiskInfo(kUbuntu1004),
              {"content", kSles11}, {"README", kTurbo}},
             MediaFormat::UdfBridge, "Mandriva.2010.0.x86_64"),
       {{"RedHat", "centos"},
        {"Mandriva", "mandriva"},
        {"Debian", "ubuntu"},
        {"SUSE", "sles11-64"},
        {"TurboLinux", "turbolinux"}},
       Found("centos")},
   };
}

INSTANTIATE_TEST_SUITE_P(Overlaps, ChainOrder, testing::ValuesIn(Cases()),
                         [](const testing::TestParamInfo<ChainCase> &i) { return i.param.name; });

}  // namespace
