// mandriva_test.cc --
//
//    Mandrake/Mandriva detection: the root "VERSION" file, the
//    ISO 9660 volume label, "product.id" and the isolinux directories; and
//    Turbolinux by the first word of its "README".

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "linux_media.hh"

namespace {

using namespace linuxtest;

class Mandriva : public testing::TestWithParam<Case> {};
class TurboLinux : public testing::TestWithParam<Case> {};

TEST_P(Mandriva, Detects) { CheckCase(GetParam(), Guess_Mandriva); }
TEST_P(TurboLinux, Detects) { CheckCase(GetParam(), Guess_TurboLinux); }

// "product.id" as Mandriva media carry it: one line of comma-separated
// key=value pairs.
std::string ProductId(const std::string &version, const std::string &arch) {
   return "vendor=Mandriva,distribution=Mandriva Linux,type=basic,version=" + version +
          ",branch=Official,release=1,arch=" + arch + ",product=Free\n";
}

MediaFile I586ProductId(const std::string &version) {
   return {"i586/product.id", ProductId(version, "i586")};
}

MediaFile X8664ProductId(const std::string &version) {
   return {"x86_64/product.id", ProductId(version, "x86_64")};
}

MediaFile Version(const std::string &text) { return {"VERSION", text}; }

MediaSpec Labelled(const std::string &label, std::vector<MediaFile> files,
                   MediaFormat format = MediaFormat::JolietRockRidge) {
   return Media(std::move(files), format, label);
}

std::vector<Case> VersionFileCases() {
   return {
      // Mandrake: done at once, noIsolinuxCfg FALSE though there is no
      // isolinux.cfg.
      {"Mandrake101", Media({Version("Mandrake Linux 10.1 (Official) for i586\n")}),
       Found("mandrake")},
      {"Mandrake_x86_64", Media({Version("Mandrakelinux 10.2 (Limited Edition 2005) for x86_64\n")}),
       Found("mandrake")},
      {"Mandriva2006_x86_64", Media({Version("Mandriva Linux 2006.0 (Official) for x86_64\n")}),
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2006, false, "2006")},
      {"Mandriva2006_i586",
       Media({Version("Mandriva Linux 2006.0 (Official) for i586\n"), IsolinuxCfg("i586/isolinux")}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2006, false, "2006")},
      // x86_64 wins over i586 in the same text.
      {"MandrivaDualArch", Media({Version("Mandriva Linux 2006.0 Dual i586 x86_64\n")}),
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2006, false, "2006")},
      // Without " 2006." the sub-code stays 0; "product.id" is not read.
      {"Mandriva2007VersionFile",
       Media({Version("Mandriva Linux 2007 (Official) for i586\n"), I586ProductId("2007.0")}),
       Found("mandriva")},
      // "2006" needs the blank before it and the dot after it.
      {"Mandriva2006NoDot", Media({Version("Mandriva Linux 2006 for i586\n")}), Found("mandriva")},
      // Neither architecture: not recognised, but the version text is written.
      {"MandrivaNoArch2006", Media({Version("Mandriva Linux 2006.0 (Official) for ppc\n")}),
       NotFound("2006")},
      {"MandrivaNoArch", Media({Version("Mandriva Linux 2008.1 (Official) for ppc\n")}),
       NotFound()},
      // Any other "VERSION": the other sources are not tried.
      {"OtherVersionStopsHere",
       Labelled("Mandriva.2010.0.x86_64",
                {Version("Linux version 2.6.17\n"), I586ProductId("2009.0")}),
       NotFound()},
      {"LowerCaseMandriva", Media({Version("mandriva linux 2006.0 for i586\n")}), NotFound()},
   };
}

std::vector<Case> VolumeLabelCases() {
   return {
      // The "Done when" medium: the label decides, "product.id" is not read.
      {"Label2010_x86_64",
       Labelled("Mandriva.2010.0.x86_64", {IsolinuxCfg("x86_64/isolinux"), I586ProductId("2008.0")}),
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER)},
      {"Label2011_i586", Labelled("Mandriva.2011.i586", {IsolinuxCfg("i586/isolinux")}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER)},
      {"Label2010_RockRidgeOnly",
       Labelled("Mandriva.2010.1.i586", {IsolinuxCfg()}, MediaFormat::RockRidge),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER)},
      // The label is the primary volume descriptor's, so plain media carry it too.
      {"Label2010_Plain", Labelled("Mandriva.2010.0.x86_64", {{"README", "x"}}, MediaFormat::Plain),
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, true)},
      // Label Mandriva.2009: sub-code 0 from the label; "product.id" gives 8.
      {"Label2009WithProductId",
       Labelled("Mandriva.2009.i586", {IsolinuxCfg("i586/isolinux"), I586ProductId("2009.0")}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, false, "2009.0")},
      {"Label2009NoProductId", Labelled("Mandriva.2009.i586", {IsolinuxCfg("i586/isolinux")}),
       Found("mandriva")},
      // A 201x label without an architecture: sub-code 8 is kept, and
      // "product.id" names the architecture.
      {"Label2010NoArchProductId",
       Labelled("Mandriva.2010.0", {X8664ProductId("2010.0")}),
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, true, "2010.0")},
      {"Label2010NoArchProductIdOld",
       Labelled("Mandriva.2010.0", {I586ProductId("2006.0")}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, true, "2006.0")},
      {"Label2010NoArchNoProductId", Labelled("Mandriva.2010.0", {IsolinuxCfg()}), NotFound()},
      // No dot at index 13: sub-code 0, the identifier is kept.
      {"Label201NoDot", Labelled("Mandriva.2010_x86_64", {IsolinuxCfg()}), Found("mandriva-64")},
      {"LabelTooShort", Labelled("Mandriva.201", {IsolinuxCfg()}), NotFound()},
      // Only "Mandriva." labels count (case-sensitive).
      {"LabelMandrake", Labelled("Mandrake.10.1.i586", {IsolinuxCfg()}), NotFound()},
      {"LabelUpperCase", Labelled("MANDRIVA.2010.0.X86_64", {IsolinuxCfg()}), NotFound()},
      {"LabelNoDotAfterName", Labelled("Mandriva 2010.0 x86_64", {IsolinuxCfg()}), NotFound()},
   };
}

std::vector<Case> ProductIdCases() {
   return {
      {"ProductId2008_0", Media({I586ProductId("2008.0"), IsolinuxCfg("i586/isolinux")}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2008_0, false, "2008.0")},
      {"ProductId2007_1", Media({I586ProductId("2007.1"), IsolinuxCfg("i586/isolinux")}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2007, false, "2007.1")},
      {"ProductId2006_0", Media({I586ProductId("2006.0"), IsolinuxCfg("i586/isolinux")}),
       Found("mandriva", 0, false, "2006.0")},
      {"ProductId2008_1_x86_64", Media({X8664ProductId("2008.1"), IsolinuxCfg("x86_64/isolinux")}),
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, false, "2008.1")},
      {"ProductId2009_1", Media({X8664ProductId("2009.1")}),
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, true, "2009.1")},
      // "i586/product.id" is read first.
      {"ProductIdI586First", Media({I586ProductId("2007.0"), X8664ProductId("2010.0")}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2007, true, "2007.0")},
      // "x86_6" is enough for the 64-bit identifier.
      {"ProductIdArchX866", Media({{"i586/product.id", "vendor=Mandriva,arch=x86_6,version=2008.0"}}),
       Found("mandriva-64", GUESS_VERSION_MANDRIVA_2008_0, true, "2008.0")},
      {"ProductIdNotMandriva",
       Media({{"i586/product.id", "vendor=Mandrake,arch=i586,version=10.1\n"}}), NotFound()},
      {"ProductIdVendorNotFirst",
       Media({{"i586/product.id", "arch=i586,vendor=Mandriva,version=2008.0\n"}}), NotFound()},
      // No "arch=": nothing more is read, not even the version.
      {"ProductIdNoArch", Media({{"i586/product.id", "vendor=Mandriva,version=2009.0\n"}}),
       NotFound()},
      // An unknown architecture: no identifier, but the version is written.
      {"ProductIdUnknownArch",
       Media({{"i586/product.id", "vendor=Mandriva,version=2009.0,arch=ppc\n"}}),
       NotFound("2009.0")},
      {"ProductIdNoVersion", Media({{"i586/product.id", "vendor=Mandriva,arch=i586\n"}}),
       Found("mandriva", 0, true)},
      {"ProductIdEmptyVersion", Media({{"i586/product.id", "vendor=Mandriva,arch=i586,version="}}),
       Found("mandriva", 0, true)},
      // The version token ends at a blank, comma or line feed.
      {"ProductIdVersionAtEnd",
       Media({{"i586/product.id", "vendor=Mandriva,arch=i586,version=2010.2\nmore"}}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, true, "2010.2")},
      // A version longer than the field is cut to 31 characters.
      {"ProductIdLongVersion",
       Media({{"i586/product.id",
               "vendor=Mandriva,arch=i586,version=2011.0123456789012345678901234567890"}}),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, true,
             "2011.01234567890123456789012345")},
      // On UDF media there is no label: "product.id" decides.
      {"UdfSkipsLabel",
       Labelled("Mandriva.2010.0.x86_64", {I586ProductId("2008.0"), IsolinuxCfg("i586/isolinux")},
                MediaFormat::UdfBridge),
       Found("mandriva", GUESS_VERSION_MANDRIVA_2008_0, false, "2008.0")},
      {"NoMandrivaMarkers", Media({IsolinuxCfg(), {"README", "Mandriva\n"}}), NotFound()},
   };
}

// noIsolinuxCfg without "VERSION": isolinux, i586/isolinux, x86_64/isolinux.
std::vector<Case> IsolinuxCases() {
   const char *label = "Mandriva.2010.0.x86_64";
   const uint32_t sub = GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER;
   return {
      {"IsolinuxRoot", Labelled(label, {IsolinuxCfg()}), Found("mandriva-64", sub, false)},
      {"IsolinuxI586", Labelled(label, {IsolinuxCfg("i586/isolinux")}),
       Found("mandriva-64", sub, false)},
      {"IsolinuxX8664", Labelled(label, {IsolinuxCfg("x86_64/isolinux")}),
       Found("mandriva-64", sub, false)},
      {"NoIsolinux", Labelled(label, {{"x86_64/isolinux/alt0/vmlinuz", "kernel"}}),
       Found("mandriva-64", sub, true)},
      {"SuseLoaderDoesNotCount", Labelled(label, {IsolinuxCfg("boot/x86_64/loader")}),
       Found("mandriva-64", sub, true)},
   };
}

std::vector<Case> TurboLinuxCases() {
   const std::string rest =
      "\n\nThank you for choosing Turbolinux.\nPlease read the installation guide.\n";
   return {
      {"Turbolinux11", Media({{"README", "Turbolinux 11 Server" + rest}}), Found("turbolinux")},
      // noIsolinuxCfg is not part of this family's result.
      {"TurbolinuxWithIsolinux", Media({{"README", "Turbolinux Fuji" + rest}, IsolinuxCfg()}),
       Found("turbolinux")},
      {"TurbolinuxPlainIso", Media({{"README", "Turbolinux 10 Desktop" + rest}}, MediaFormat::Plain),
       Found("turbolinux")},
      {"TurbolinuxUpperCase", Media({{"README", "TURBOLINUX 10 Server" + rest}}), NotFound()},
      {"TurbolinuxNotFirst", Media({{"README", "Welcome to Turbolinux" + rest}}), NotFound()},
      {"NoReadme", Media({{"readme.txt", "Turbolinux 11 Server" + rest}}), NotFound()},
   };
}

INSTANTIATE_TEST_SUITE_P(VersionFile, Mandriva, testing::ValuesIn(VersionFileCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(VolumeLabel, Mandriva, testing::ValuesIn(VolumeLabelCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(ProductId, Mandriva, testing::ValuesIn(ProductIdCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(Isolinux, Mandriva, testing::ValuesIn(IsolinuxCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(Readme, TurboLinux, testing::ValuesIn(TurboLinuxCases()), CaseName);

}  // namespace
