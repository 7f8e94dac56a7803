// small_detectors_test.cc --
//
//    The detectors that recognise media by one or two marker entries:
//    Solaris, NetWare, FreeBSD, Mac OS and the hypervisor's own media. Each
//    case is an image built from a few files, the detector run on its own,
//    and the identifiers it must store.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/guess.h>

#include "guess_support.hh"
#include "media_builder.hh"

namespace {

using trtest::MediaFile;
using trtest::MediaFormat;

// The first 19 bytes of an ELF header whose machine field is `machine`.
std::string ElfHeader(uint8_t machine, bool is64) {
   std::string h = "\x7f" "ELF";
   h += static_cast<char>(is64 ? 2 : 1);
   h += std::string("\x01\x01\x09", 3);
   h += std::string(8, '\0');
   h += std::string("\x02\x00", 2);           // executable
   h += static_cast<char>(machine);
   h += std::string(45, '\0');
   return h;
}

std::string PackagesXml(const std::string &productChildren) {
   return "<?xml version=\"1.0\"?>\n<iso_build>\n  <build>1</build>\n  <product>" +
          productChildren + "</product>\n</iso_build>\n";
}

struct Case {
   const char *name;
   GuessDetector detector;
   std::vector<MediaFile> files;
   std::vector<std::string> dirs;
   MediaFormat format;
   const char *guestOS;    // nullptr: not recognised
   const char *guestOS64;
};

std::ostream &operator<<(std::ostream &os, const Case &c) {
   return os << c.name;
}

const MediaFormat RR = MediaFormat::RockRidge;
const MediaFormat JO = MediaFormat::Joliet;
const MediaFormat UDF = MediaFormat::UdfBridge;

const Case kCases[] = {
   // Solaris: the first matching root entry decides, ignoring case.
   {"Solaris10", Guess_Solaris, {{"Solaris_10/Product/.order", "x"}}, {}, RR, "solaris10",
    "solaris10-64"},
   {"Solaris10Capitals", Guess_Solaris, {}, {"SOLARIS_10"}, RR, "solaris10", "solaris10-64"},
   {"Solaris9", Guess_Solaris, {}, {"Solaris_9"}, JO, "solaris9", nullptr},
   {"Solaris8", Guess_Solaris, {}, {"Solaris_8"}, RR, "solaris8", nullptr},
   {"Solaris7", Guess_Solaris, {}, {"Solaris_2.7"}, RR, "solaris7", nullptr},
   // Directory order is name order on these media: "Solaris_10" < "Solaris_9".
   {"SolarisFirstListedWins", Guess_Solaris, {}, {"Solaris_9", "Solaris_10"}, RR, "solaris10",
    "solaris10-64"},
   {"SolarisOnUdf", Guess_Solaris, {}, {"Solaris_10"}, UDF, "solaris10", "solaris10-64"},
   {"SolarisAsFileCounts", Guess_Solaris, {{"Solaris_8", ""}}, {}, RR, "solaris8", nullptr},
   {"SolarisNearMiss", Guess_Solaris, {}, {"Solaris_11", "Solaris_10_x86"}, RR, nullptr,
    nullptr},

   // NetWare.
   {"NetWare6", Guess_NetWare, {}, {"netware6"}, RR, "netware6", nullptr},
   {"NetWare65Capitals", Guess_NetWare, {{"NW65OS", "x"}}, {}, RR, "netware6", nullptr},
   {"NetWare51", Guess_NetWare, {}, {"nw51"}, JO, "netware5", nullptr},
   {"NetWareNearMiss", Guess_NetWare, {}, {"nw5", "netware"}, RR, nullptr, nullptr},

   // FreeBSD: the kernel's ELF machine, wherever the first kernel is.
   {"FreeBSDAmd64", Guess_FreeBSD, {{"boot/kernel/kernel", ElfHeader(62, true)}}, {}, RR,
    "freeBSD-64", nullptr},
   {"FreeBSDI386", Guess_FreeBSD, {{"boot/kernel/kernel", ElfHeader(3, false)}}, {}, RR,
    "freeBSD", nullptr},
   {"FreeBSDShortKernel", Guess_FreeBSD, {{"boot/kernel/kernel", "\x7f" "ELF"}}, {}, RR,
    "freeBSD", nullptr},
   {"FreeBSDRootKernelFirst", Guess_FreeBSD,
    {{"kernel", ElfHeader(3, false)}, {"boot/kernel/kernel", ElfHeader(62, true)}}, {}, RR,
    "freeBSD", nullptr},
   {"FreeBSDUpperCaseTree", Guess_FreeBSD, {{"BOOT/KERNEL/KERNEL", ElfHeader(62, true)}}, {},
    JO, "freeBSD-64", nullptr},
   // Plain ISO 9660 names ("KERNEL.;1") are presented without the dot.
   {"FreeBSDPlainIso", Guess_FreeBSD, {{"boot/kernel/kernel", ElfHeader(62, true)}}, {},
    MediaFormat::Plain, "freeBSD-64", nullptr},
   // On UDF media the length of what was read still reaches the ELF check.
   {"FreeBSDAmd64OnUdf", Guess_FreeBSD, {{"boot/kernel/kernel", ElfHeader(62, true)}}, {}, UDF,
    "freeBSD-64", nullptr},
   {"FreeBSDKernelIsADirectory", Guess_FreeBSD, {}, {"boot/kernel/kernel"}, RR, nullptr,
    nullptr},
   {"FreeBSDNoKernel", Guess_FreeBSD, {{"boot/loader", ElfHeader(62, true)}}, {}, RR, nullptr,
    nullptr},

   // Mac OS (asked for directly).
   {"MacLion", Guess_MacOS, {}, {"Install Mac OS X Lion.app/Contents"}, RR, "darwin11",
    "darwin11-64"},
   {"MacBootCampRoot", Guess_MacOS, {{"Boot Camp Installation & Setup Guide.pdf", "%PDF"}}, {},
    JO, "darwin", "darwin-64"},
   {"MacBootCampFolder", Guess_MacOS,
    {{"Boot Camp/Documentation/Boot Camp Installation & Setup Guide.pdf", "%PDF"}}, {}, RR,
    "darwin10", "darwin10-64"},
   {"MacLionBeforeBootCamp", Guess_MacOS,
    {{"Boot Camp Installation & Setup Guide.pdf", "%PDF"},
     {"Install Mac OS X Lion.app/Contents/Info.plist", "<plist/>"}},
    {}, RR, "darwin11", "darwin11-64"},
   {"MacNothing", Guess_MacOS, {{"Install Mac OS X.app", ""}}, {}, RR, nullptr, nullptr},

   // The hypervisor's full media: packages.xml.
   {"Zelt41", Guess_Zelt,
    {{"packages.xml",
      PackagesXml("<name>Tarvel Zelt Server</name><zelt_version>4.1</zelt_version>")}},
    {}, RR, "trkernel", nullptr},
   {"ZeltCaselessPrefixes", Guess_Zelt,
    {{"PACKAGES.XML", PackagesXml("<zelt_version>4.0.0</zelt_version>"
                                  "<!-- c --><name>TARVEL ZELT</name>")}},
    {}, JO, "trkernel", nullptr},
   {"Zelt35", Guess_Zelt,
    {{"packages.xml",
      PackagesXml("<name>Tarvel Zelt Server</name><zelt_version>3.5</zelt_version>")}},
    {}, RR, nullptr, nullptr},
   {"ZeltLaterElementReplaces", Guess_Zelt,
    {{"packages.xml", PackagesXml("<name>Other</name><name>Tarvel Zelt</name>"
                                  "<zelt_version>4.1</zelt_version>")}},
    {}, RR, "trkernel", nullptr},
   {"ZeltNoName", Guess_Zelt,
    {{"packages.xml", PackagesXml("<zelt_version>4.1</zelt_version>")}}, {}, RR, nullptr,
    nullptr},
   {"ZeltNameNotText", Guess_Zelt,
    {{"packages.xml",
      PackagesXml("<name><b>Tarvel Zelt</b></name><zelt_version>4.1</zelt_version>")}},
    {}, RR, nullptr, nullptr},
   {"ZeltWrongRoot", Guess_Zelt,
    {{"packages.xml", "<build><product><name>Tarvel Zelt</name>"
                      "<zelt_version>4.1</zelt_version></product></build>"}},
    {}, RR, nullptr, nullptr},
   {"ZeltMalformedXml", Guess_Zelt,
    {{"packages.xml", "<iso_build><product><name>Tarvel Zelt</name>"}}, {}, RR, nullptr,
    nullptr},

   // The embedded hypervisor's media: isolinux.cfg menu titles.
   {"ZeltiMorvane", Guess_Zelti, {{"isolinux.cfg", "default menu.c32\nmenu title Tarvel Morvane\n"}},
    {}, RR, "trkernel", nullptr},
   {"Zelti5", Guess_Zelti, {{"isolinux.cfg", "DEFAULT menu.c32\nMENU TITLE Zelti-5 Installer\n"}},
    {}, RR, "trkernel5", nullptr},
   {"ZeltiBothTitlesFirstWins", Guess_Zelti,
    {{"isolinux.cfg", "MENU TITLE Zelti-5\nmenu title Tarvel Morvane\n"}}, {}, RR, "trkernel",
    nullptr},
   {"ZeltiTitleCaseMatters", Guess_Zelti, {{"isolinux.cfg", "menu title tarvel morvane\n"}}, {},
    RR, nullptr, nullptr},
   {"ZeltiOnlyInRoot", Guess_Zelti, {{"isolinux/isolinux.cfg", "menu title Tarvel Morvane\n"}},
    {}, RR, nullptr, nullptr},
};

class SmallDetector : public ::testing::TestWithParam<Case> {};

TEST_P(SmallDetector, RecognisesItsMarkers) {
   const Case &c = GetParam();
   if (!trtest::CanBuild(c.format)) {
      GTEST_SKIP() << "mastering tool missing";
   }
   trtest::TempDir dir;
   trtest::MediaSpec spec;
   spec.files = c.files;
   spec.dirs = c.dirs;
   spec.format = c.format;
   std::string image = trtest::BuildImage(dir, spec);
   ASSERT_FALSE(image.empty());

   trtest::Detection d = trtest::RunDetector(image, c.detector);
   if (c.guestOS == nullptr) {
      EXPECT_EQ(d.result, 1);
      EXPECT_EQ(d.info.guestOS, nullptr);
      EXPECT_EQ(d.info.guestOS64, nullptr);
      return;
   }
   EXPECT_EQ(d.result, 0);
   EXPECT_EQ(d.guestOS(), c.guestOS);
   EXPECT_EQ(d.guestOS64(), c.guestOS64 != nullptr ? c.guestOS64 : "");
   EXPECT_EQ(d.info.subVersion, 0u);
   EXPECT_EQ(d.info.language[0], '\0');
   EXPECT_EQ(d.info.versionString[0], '\0');
}

INSTANTIATE_TEST_SUITE_P(Markers, SmallDetector, ::testing::ValuesIn(kCases),
                         [](const auto &p) { return std::string(p.param.name); });

}  // namespace
