// suse_test.cc --
//
//    SUSE family detection: the "content" file (key words,
//    VERSION read through the token reader, the product table, SLE major
//    versions and the SLES/SLED/openSUSE sub-codes), "media.1/products", the
//    ".S.u.S.E-disk" root entry and the boot-loader directories.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "linux_media.hh"

namespace {

using namespace linuxtest;

class SUSE : public testing::TestWithParam<Case> {};

TEST_P(SUSE, Detects) { CheckCase(GetParam(), Guess_SUSE); }

// The boot loader of a 64-bit SUSE medium.
MediaFile Loader(const std::string &arch = "x86_64") {
   return IsolinuxCfg("boot/" + arch + "/loader");
}

MediaSpec WithContent(const std::string &content, std::vector<MediaFile> more = {Loader()}) {
   std::vector<MediaFile> files = {{"content", content}};
   files.insert(files.end(), more.begin(), more.end());
   return Media(files);
}

// SLES 11 SP1 x86_64, as the DVD carries it (the hash lines shortened).
const char kSles11Sp1[] =
   "CONTENTSTYLE 11\n"
   "DATADIR suse\n"
   "DESCRDIR suse/setup/descr\n"
   "DISTRIBUTION SUSE_SLE\n"
   "FLAVOR DVD\n"
   "LABEL SUSE Linux Enterprise Server 11 SP1\n"
   "LINGUAS cs de en es fr hu it ja pl pt_BR ru zh_CN zh_TW\n"
   "NAME SUSE_SLES\n"
   "REGISTERPRODUCT true\n"
   "RELEASE 1.27\n"
   "SUMMARY SUSE Linux Enterprise Server 11 SP1\n"
   "VENDOR SUSE LINUX Products GmbH, Nuernberg, Germany\n"
   "VERSION 11.1\n"
   "BASEARCHS x86_64\n"
   "META SHA1 0a1b2c3d4e5f60718293a4b5c6d7e8f901234567 packages\n"
   "KEY SHA1 1a2b3c4d5e6f708192a3b4c5d6e7f8091a2b3c4d gpg-pubkey-307e3d54-4be01a65.asc\n";

// Older (SLES 10 style) content: PRODUCT and DEFAULTBASE.
std::string Old(const std::string &product, const std::string &version, const std::string &arch) {
   return "PRODUCT " + product + "\nVERSION " + version +
          "\nVENDOR SUSE LINUX Products GmbH, Nuernberg, Germany\n"
          "LABEL " + product + " " + version + "\n"
          "ARCH.x86_64 x86_64\nARCH.i686 i686 i586 i486 i386 noarch\n"
          "DEFAULTBASE " + arch + "\nDESCRDIR suse/setup/descr\nDATADIR suse\n";
}

// Newer (SLE 11 style) content: NAME and BASEARCHS.
std::string New(const std::string &name, const std::string &version, const std::string &arch) {
   return "CONTENTSTYLE 11\nDATADIR suse\nDESCRDIR suse/setup/descr\nNAME " + name +
          "\nVERSION " + version + "\nBASEARCHS " + arch + "\nLINGUAS de en\n";
}

std::vector<Case> ContentCases() {
   return {
      // The "Done when" medium.
      {"Sles11Sp1_x86_64", WithContent(kSles11Sp1), Found("sles11-64")},
      {"Sles11Sp1_i386", WithContent(New("SUSE_SLES", "11.1", "i586"), {Loader("i386")}),
       Found("sles11")},
      {"Sled11_x86_64", WithContent(New("SUSE_SLED", "11", "x86_64")),
       Found("sles11-64", GUESS_VERSION_SLED_ALL)},
      {"Sled11_i586", WithContent(New("SUSE_SLED", "11", "i586"), {Loader("i386")}),
       Found("sles11", GUESS_VERSION_SLED_ALL)},
      {"Sled101", WithContent(Old("SUSE SLED", "10.1", "i586"), {Loader("i386")}),
       Found("sles10", GUESS_VERSION_SLED_10_SP2_OR_LOWER)},
      // The minor token runs to the next "." anywhere later; its leading
      // number is taken.
      {"Sled103", WithContent(Old("SUSE SLED", "10.3", "i586"), {Loader("i386")}),
       Found("sles10", GUESS_VERSION_SLED_ALL)},
      {"Sled10NoMinor",
       WithContent("PRODUCT SUSE SLED\nVERSION 10\nDEFAULTBASE x86_64\nLINGUAS de en\n"),
       Found("sles10-64", GUESS_VERSION_SLED_10_SP2_OR_LOWER)},
      {"Sles102", WithContent(Old("SUSE SLES", "10.2", "i586"), {Loader("i386")}),
       Found("sles10", GUESS_VERSION_SLES_10_SP2_OR_LOWER)},
      {"Sles10NoMinor", WithContent("PRODUCT SUSE SLES\nVERSION 10\nDEFAULTBASE x86_64\n"),
       Found("sles10-64", GUESS_VERSION_SLES_10_SP2_OR_LOWER)},
      {"Sles103", WithContent(Old("SUSE SLES", "10.3", "x86_64")), Found("sles10-64")},
      {"Sles12", WithContent(New("SUSE_SLES", "12", "x86_64")), Found("sles12-64")},
      {"Sled12", WithContent(New("SUSE_SLED", "12", "i586"), {Loader("i386")}),
       Found("sles12", GUESS_VERSION_SLED_ALL)},
      // Any other major: the plain identifiers.
      {"Sles9", WithContent(Old("SUSE SLES", "9", "i586"), {Loader("i386")}), Found("sles")},
      {"Sles13_x86_64", WithContent(New("SUSE_SLES", "13.0", "x86_64")), Found("sles-64")},
      {"SledNoVersion", WithContent("NAME SUSE_SLED\nBASEARCHS x86_64\n"),
       Found("sles-64", GUESS_VERSION_SLED_ALL)},
      // openSUSE: 11.2 and older get sub-code 15.
      {"OpenSuse114", WithContent(Old("openSUSE", "11.4", "i586"), {Loader("i386")}),
       Found("opensuse")},
      {"OpenSuse112", WithContent(Old("openSUSE", "11.2", "i586"), {Loader("i386")}),
       Found("opensuse", GUESS_VERSION_OPENSUSE_11_2_OR_LOWER)},
      {"OpenSuse103", WithContent(Old("openSUSE", "10.3", "x86_64")),
       Found("opensuse-64", GUESS_VERSION_OPENSUSE_11_2_OR_LOWER)},
      {"OpenSuse11NoMinor",
       WithContent("NAME openSUSE\nVERSION 11\nBASEARCHS x86_64\nLINGUAS de en\n"),
       Found("opensuse-64", GUESS_VERSION_OPENSUSE_11_2_OR_LOWER)},
      {"OpenSuse121", WithContent(New("openSUSE", "12.1", "x86_64")), Found("opensuse-64")},
      {"OpenSuseNoVersion", WithContent("NAME OPENSUSE\nBASEARCHS i586\n"),
       Found("opensuse", GUESS_VERSION_OPENSUSE_11_2_OR_LOWER)},
      // SUSE LINUX, ignoring case.
      {"SuseLinux_x86_64",
       WithContent("PRODUCT SUSE LINUX\nVERSION 10.0\nBASEARCHS x86_64\n"), Found("suse-64")},
      {"SuseLinuxMixedCase", WithContent(Old("SuSE Linux", "9.3", "i586"), {Loader("i386")}),
       Found("suse")},
      {"SunJavaDesktop", WithContent(Old("Sun Java Desktop System", "3", "i586")), Found("sjds")},
      {"NovellLinuxDesktop", WithContent(Old("Novell Linux Desktop", "9", "x86_64")),
       Found("nld9")},
      {"UnknownProduct", WithContent(Old("SUSE Manager Server", "1.7", "x86_64")), NotFound()},
      // SUSE SLE rows are case-sensitive.
      {"LowerCaseSle", WithContent(New("suse_sles", "11.1", "x86_64")), NotFound()},
   };
}

// The content parser: keys, the first PRODUCT/NAME and DEFAULTBASE/
// BASEARCHS lines, VERSION read again.
std::vector<Case> ContentParserCases() {
   return {
      // Without a base architecture: not recognised, and "media.1/products"
      // is not looked at.
      {"NoBaseArch",
       WithContent("NAME SUSE_SLES\nVERSION 11.1\n",
                   {Loader(), {"media.1/products", "/ SUSE-Linux-Enterprise-Server-x86_64 11-0\n"}}),
       NotFound()},
      {"NoProduct", WithContent("VERSION 11.1\nBASEARCHS x86_64\n"), NotFound()},
      {"EmptyContent", WithContent(""), NotFound()},
      // Only the first PRODUCT or NAME line counts.
      {"FirstProductCounts",
       WithContent("NAME SUSE_SLES\nPRODUCT openSUSE\nVERSION 11.1\nBASEARCHS x86_64\n"),
       Found("sles11-64")},
      // Only the first DEFAULTBASE or BASEARCHS line counts.
      {"FirstBaseArchCounts",
       WithContent("NAME SUSE_SLES\nVERSION 11.1\nDEFAULTBASE i586\nBASEARCHS x86_64\n"),
       Found("sles11")},
      // BASEARCHS with several words: the next word only.
      {"BaseArchFirstWord", WithContent("NAME SUSE_SLES\nVERSION 11.1\nBASEARCHS x86_64 i586\n"),
       Found("sles11-64")},
      {"BaseArchMustBeExact", WithContent("NAME SUSE_SLES\nVERSION 11.1\nBASEARCHS x86_64_v2\n"),
       Found("sles11")},
      // A later VERSION line reads the numbers again.
      {"LaterVersionWins",
       WithContent("PRODUCT SUSE SLED\nVERSION 10.1\nDEFAULTBASE i586\nVERSION 10.3\n"),
       Found("sles10", GUESS_VERSION_SLED_ALL)},
      // The product name is the rest of the line after the blanks.
      {"ProductAfterBlanks", WithContent("PRODUCT     openSUSE 11.4\nVERSION 11.4\nBASEARCHS i586\n"),
       Found("opensuse")},
      // Keys are prefixes of the key word: "NAMEX" counts as NAME.
      {"KeyPrefix", WithContent("NAMEX SUSE_SLES\nVERSIONX 11.1\nBASEARCHSX x86_64\n"),
       Found("sles11-64")},
      // Key words are case-sensitive.
      {"LowerCaseKeys", WithContent("name SUSE_SLES\nversion 11.1\nbasearchs x86_64\n"),
       NotFound()},
      // Empty lines are skipped; blanks before the key are too.
      {"EmptyLinesAndIndent", WithContent("\n\n  NAME SUSE_SLES\n\n  VERSION 12\n\nBASEARCHS x86_64"),
       Found("sles12-64")},
      // Carriage returns stay in the words: "x86_64\r" is not x86_64.
      {"CrLfContent", WithContent("NAME SUSE_SLES\r\nVERSION 11.1\r\nBASEARCHS x86_64\r\n"),
       Found("sles11")},
      {"ContentOnUdf",
       Media({{"content", kSles11Sp1}, Loader()}, MediaFormat::UdfBridge), Found("sles11-64")},
   };
}

MediaSpec WithProducts(const std::string &products, std::vector<MediaFile> more = {Loader()}) {
   std::vector<MediaFile> files = {{"media.1/products", products}};
   files.insert(files.end(), more.begin(), more.end());
   return Media(files);
}

std::vector<Case> ProductsCases() {
   return {
      {"Nld9", WithProducts("/ SLES9-SLD 9-0\n"), Found("nld9")},
      {"Jds", WithProducts("/ SLES8-SLEC-i386-SUN 1.0-0\n"), Found("sjds")},
      {"SlesServer11_x86_64", WithProducts("/ SUSE-Linux-Enterprise-Server-x86_64 11-0\n"),
       Found("sles11-64")},
      {"SlesDesktop10_i386",
       WithProducts("/ SUSE-Linux-Enterprise-Desktop-i386 10-0\n", {Loader("i386")}),
       Found("sles10", GUESS_VERSION_SLED_ALL)},
      {"SlesServer10SP1", WithProducts("/ SUSE-Linux-Enterprise-Server-SP1-x86_64 10.1-0\n"),
       Found("sles10-64")},
      {"SuseLinuxSles9", WithProducts("/ SUSE-Linux-SLES-i386 9-0\n", {Loader("i386")}),
       Found("sles")},
      {"SlesServer12", WithProducts("/ SUSE-Linux-Enterprise-Server-x86_64 12\n"),
       Found("sles12-64")},
      // No second word: the major number stays 0.
      {"SlesNoVersionWord", WithProducts("/ SUSE-Linux-Enterprise-Server-i386\n"), Found("sles")},
      {"SuseLinux_x86_64", WithProducts("/ SUSE-Linux-10.1-x86_64 10.1-0\n"), Found("suse-64")},
      {"SuseLinux_x86dash64", WithProducts("/ SUSE-Linux-10.0-x86-64 10.0-0\n"), Found("suse-64")},
      {"SuseLinuxUpperCase", WithProducts("/ SUSE-LINUX-Professional-9.3-i386 9.3-0\n"),
       Found("suse")},
      // An unknown product: not recognised; the root entries are not tried.
      {"ProductsUnknownNoFallback",
       WithProducts("/ openSUSE 11.0-0\n", {Loader(), {".S.u.S.E-disk-CD1", "\n"}}), NotFound()},
      {"ProductsTooShort", WithProducts("/"), NotFound()},
      {"ProductsNoIsolinux", WithProducts("/ SLES9-SLD 9-0\n", {}), Found("nld9", 0, true)},
   };
}

std::vector<Case> RootEntryCases() {
   return {
      {"DiskEntry", Media({{".S.u.S.E-disk-CD1", "\n"}, Loader("i386")}), Found("suse")},
      {"DiskEntryNoIsolinux", Media({{".S.u.S.E-disk-001.20040506", "\n"}}),
       Found("suse", 0, true)},
      // Case-sensitive.
      {"DiskEntryLowerCase", Media({{".s.u.s.e-disk-CD1", "\n"}, Loader("i386")}), NotFound()},
      {"NoSuseMarkers", Media({Loader("i386"), {"README", "SUSE\n"}}), NotFound()},
   };
}

// noIsolinuxCfg: boot/loader, else boot/i386/loader, else boot/x86_64/loader.
std::vector<Case> LoaderCases() {
   const std::string c = "NAME SUSE_SLES\nVERSION 11.1\nBASEARCHS x86_64\n";
   return {
      {"BootLoader", WithContent(c, {IsolinuxCfg("boot/loader")}), Found("sles11-64")},
      {"BootI386Loader", WithContent(c, {IsolinuxCfg("boot/i386/loader")}), Found("sles11-64")},
      {"BootX8664LoaderOnly", WithContent(c, {IsolinuxCfg("boot/x86_64/loader")}),
       Found("sles11-64")},
      {"NoLoader", WithContent(c, {}), Found("sles11-64", 0, true)},
      {"LoaderWithoutCfg", WithContent(c, {{"boot/x86_64/loader/linux", "kernel"}}),
       Found("sles11-64", 0, true)},
      // The Red Hat directory does not count.
      {"IsolinuxDirDoesNotCount", WithContent(c, {IsolinuxCfg()}), Found("sles11-64", 0, true)},
      {"BootPpcLoaderDoesNotCount", WithContent(c, {IsolinuxCfg("boot/ppc/loader")}),
       Found("sles11-64", 0, true)},
   };
}

INSTANTIATE_TEST_SUITE_P(Content, SUSE, testing::ValuesIn(ContentCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(ContentParser, SUSE, testing::ValuesIn(ContentParserCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(Products, SUSE, testing::ValuesIn(ProductsCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(RootEntries, SUSE, testing::ValuesIn(RootEntryCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(BootLoader, SUSE, testing::ValuesIn(LoaderCases()), CaseName);

}  // namespace
