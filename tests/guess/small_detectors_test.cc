// small_detectors_test.cc --
//
//    The detectors that recognise media by one or two marker entries:
//    Solaris, NetWare, FreeBSD, Mac OS and the hypervisor's own media. Each
//    case is an image built from a few files, the detector run on its own,
//    and the identifiers it must store.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/guess.h>

#include "guess_support.hh"
#include "media_builder.hh"

namespace {

using trtest::MediaFile;
using trtest::MediaFormat;

// A 64-byte ELF header whose machine field (byte 18) is `machine`.
std::string Elf(char machine) {
   std::string h = std::string("\x7f" "ELF\x02\x01\x01\x09", 8) + std::string(56, '\0');
   h[18] = machine;
   return h;
}

std::string Xml(const std::string &product) {
   return "<?xml version=\"1.0\"?>\n<iso_build><build>1</build><product>" + product +
          "</product></iso_build>\n";
}

const std::string kZelt41 = "<name>Tarvel Zelt Server</name><zelt_version>4.1</zelt_version>";

struct Case {
   const char *name;
   GuessDetector detector;
   std::vector<MediaFile> files;
   std::vector<std::string> dirs;
   const char *guestOS;  // nullptr: not recognised
   const char *guestOS64 = nullptr;
   MediaFormat format = MediaFormat::RockRidge;
};

const MediaFormat JO = MediaFormat::Joliet;
const MediaFormat UDF = MediaFormat::UdfBridge;
const MediaFormat PLAIN = MediaFormat::Plain;

const Case kCases[] = {
   // Solaris: the first matching root entry in directory (name) order decides.
   {"Solaris10", Guess_Solaris, {}, {"Solaris_10"}, "solaris10", "solaris10-64"},
   {"SolarisCapitals", Guess_Solaris, {}, {"SOLARIS_10"}, "solaris10", "solaris10-64"},
   {"Solaris7", Guess_Solaris, {}, {"Solaris_2.7"}, "solaris7"},
   {"SolarisFirstListed", Guess_Solaris, {}, {"Solaris_9", "Solaris_10"}, "solaris10",
    "solaris10-64"},
   {"SolarisOnUdf", Guess_Solaris, {}, {"Solaris_8"}, "solaris8", nullptr, UDF},
   {"SolarisNearMiss", Guess_Solaris, {}, {"Solaris_11", "Solaris_10_x86"}, nullptr},
   // NetWare.
   {"NetWare65Capitals", Guess_NetWare, {{"NW65OS", "x"}}, {}, "netware6"},
   {"NetWare51", Guess_NetWare, {}, {"nw51"}, "netware5", nullptr, JO},
   {"NetWareNearMiss", Guess_NetWare, {}, {"nw5", "netware"}, nullptr},
   // FreeBSD: the ELF machine of the first kernel that reads.
   {"FreeBSDAmd64", Guess_FreeBSD, {{"boot/kernel/kernel", Elf(62)}}, {}, "freeBSD-64"},
   {"FreeBSDI386", Guess_FreeBSD, {{"boot/kernel/kernel", Elf(3)}}, {}, "freeBSD"},
   {"FreeBSDShortKernel", Guess_FreeBSD, {{"boot/kernel/kernel", "\x7f" "ELF"}}, {}, "freeBSD"},
   {"FreeBSDRootFirst", Guess_FreeBSD,
    {{"kernel", Elf(3)}, {"boot/kernel/kernel", Elf(62)}}, {}, "freeBSD"},
   // Plain names ("KERNEL.;1") are presented without the dot.
   {"FreeBSDPlainIso", Guess_FreeBSD, {{"boot/kernel/kernel", Elf(62)}}, {}, "freeBSD-64",
    nullptr, PLAIN},
   // On UDF media the length of what was read still reaches the ELF check.
   {"FreeBSDOnUdf", Guess_FreeBSD, {{"boot/kernel/kernel", Elf(62)}}, {}, "freeBSD-64",
    nullptr, UDF},
   {"FreeBSDKernelIsADirectory", Guess_FreeBSD, {}, {"boot/kernel/kernel"}, nullptr},
   // Mac OS (asked for directly); an application bundle is a directory.
   {"MacLion", Guess_MacOS, {}, {"Install Mac OS X Lion.app/Contents"}, "darwin11",
    "darwin11-64"},
   {"MacBootCampRoot", Guess_MacOS, {{"Boot Camp Installation & Setup Guide.pdf", "%PDF"}}, {},
    "darwin", "darwin-64", JO},
   {"MacBootCampFolder", Guess_MacOS,
    {{"Boot Camp/Documentation/Boot Camp Installation & Setup Guide.pdf", "%PDF"}}, {},
    "darwin10", "darwin10-64"},
   {"MacNothing", Guess_MacOS, {{"Install Mac OS X.app", ""}}, {}, nullptr},
   // The hypervisor's full media: packages.xml.
   {"Zelt41", Guess_Zelt, {{"packages.xml", Xml(kZelt41)}}, {}, "trkernel"},
   {"ZeltCaseless", Guess_Zelt,
    {{"PACKAGES.XML", Xml("<zelt_version>4.0</zelt_version><!--c--><name>TARVEL ZELT</name>")}},
    {}, "trkernel", nullptr, JO},
   {"Zelt35", Guess_Zelt,
    {{"packages.xml", Xml("<name>Tarvel Zelt</name><zelt_version>3.5</zelt_version>")}}, {},
    nullptr},
   {"ZeltLaterReplaces", Guess_Zelt,
    {{"packages.xml", Xml("<name>Other</name><name>Tarvel Zelt</name>"
                          "<zelt_version>4.1</zelt_version>")}},
    {}, "trkernel"},
   {"ZeltNoName", Guess_Zelt, {{"packages.xml", Xml("<zelt_version>4.1</zelt_version>")}}, {},
    nullptr},
   {"ZeltNameNotText", Guess_Zelt,
    {{"packages.xml", Xml("<name><b>Tarvel Zelt</b></name><zelt_version>4.1</zelt_version>")}},
    {}, nullptr},
   {"ZeltWrongRoot", Guess_Zelt, {{"packages.xml", "<build><product>" + kZelt41 + "</product></build>"}},
    {}, nullptr},
   {"ZeltMalformed", Guess_Zelt, {{"packages.xml", "<iso_build><product><name>Tarvel Zelt</name>"}},
    {}, nullptr},
   // The embedded hypervisor's media: isolinux.cfg menu titles, case-sensitive.
   {"ZeltiMorvane", Guess_Zelti, {{"isolinux.cfg", "menu title Tarvel Morvane\n"}}, {}, "trkernel"},
   {"Zelti5", Guess_Zelti, {{"isolinux.cfg", "MENU TITLE Zelti-5 Installer\n"}}, {}, "trkernel5"},
   {"ZeltiFirstTitleWins", Guess_Zelti,
    {{"isolinux.cfg", "MENU TITLE Zelti-5\nmenu title Tarvel Morvane\n"}}, {}, "trkernel"},
   {"ZeltiCaseMatters", Guess_Zelti, {{"isolinux.cfg", "menu title tarvel morvane\n"}}, {},
    nullptr},
   {"ZeltiOnlyInRoot", Guess_Zelti, {{"isolinux/isolinux.cfg", "menu title Tarvel Morvane\n"}},
    {}, nullptr},
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
   trtest::Detection d = trtest::RunDetector(trtest::BuildImage(dir, spec), c.detector);
   EXPECT_EQ(d.result, c.guestOS != nullptr ? 0 : 1);
   EXPECT_EQ(d.guestOS(), c.guestOS != nullptr ? c.guestOS : "");
   EXPECT_EQ(d.guestOS64(), c.guestOS64 != nullptr ? c.guestOS64 : "");
   EXPECT_EQ(d.info.subVersion, 0u);
}

INSTANTIATE_TEST_SUITE_P(Markers, SmallDetector, ::testing::ValuesIn(kCases),
                         [](const auto &p) { return std::string(p.param.name); });

}  // namespace
