// floppy_oem_test.cc --
//
//    WriteOEMDriverInfo: which line of a txtsetup.oem gives the driver
//    description that lands in winnt.sif, and when it warns instead; and
//    AutoInstall_AddFileToFloppyImg on an existing floppy.

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>

#include "fat_support.hh"
#include "guestInstall/windows/windowsFloppyInt.h"

namespace {

const std::string kSif = "[Unattended]\nOemPreinstall=No\n";

struct OemCase {
   const char *name;
   std::string txtsetup;     // file content
   std::string description;  // the MassStorageDrivers key; empty: none
   bool warns;
};

class OemDriverInfo : public ::testing::TestWithParam<OemCase> {};

TEST_P(OemDriverInfo, RegistersFirstDescription) {
   const OemCase &c = GetParam();
   trtest::TempDir tmp;
   const std::string oem = tmp.file("txtsetup.oem"), sif = tmp.file("winnt.sif");
   trtest::WriteFile(oem, c.txtsetup);
   trtest::WriteFile(sif, kSif);
   trtest::LogCapture log;
   WriteOEMDriverInfo(oem.c_str(), sif.c_str());
   EXPECT_EQ(trtest::ReadFile(sif),
             c.description.empty() ? kSif
                                   : kSif + "[MassStorageDrivers]\n" + c.description + "=OEM\n");
   const std::vector<std::string> warning = {
      "WriteOEMDriverInfo: Failed to detect the type of driver in " + oem};
   EXPECT_EQ(log.lines(), c.warns ? warning : std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(
   WindowsFloppy, OemDriverInfo,
   ::testing::Values(
      OemCase{"IdentifierAsKey", "[SCSI]\ntrscsi = \"Tarvel SCSI\" , trscsi\n", "\"Tarvel SCSI\"",
              false},
      // Only the key counts; the first line that gives a description wins,
      // whichever identifier it names.
      OemCase{"FirstMatchingLineOnly",
              "SCSI = trscsi\r\nLSI_SAS_32 = \"LSI SAS\"\r\ntrscsi = \"Tarvel\"\r\n",
              "\"LSI SAS\"", false},
      OemCase{"IdentifierOnlyAfterEquals", "[Defaults]\nSCSI = trscsi \"x\"\nx = TRSCSI\n", "",
              true},
      // Without a closing quote the line gives nothing and the scan goes on.
      OemCase{"UnclosedQuoteSkipped", "trscsi = \"open\nSYMMPI_IA64 = \"Itanium\" x\n",
              "\"Itanium\"", false},
      OemCase{"CaseMatters", "Trscsi = \"mixed\"\n", "", true},
      OemCase{"NoLineEnd", std::string(3 << 20, ' ') + "LSI_SCSI_32=\"big\"", "\"big\"", false},
      OemCase{"NulEndsText", std::string("x = y\n\0trscsi = \"hidden\"\n", 25), "", true},
      OemCase{"EmptyFileIsQuiet", "", "", false}),
   [](const testing::TestParamInfo<OemCase> &p) { return std::string(p.param.name); });

// A file that is not there is quiet; one far too large only warns that it is.
TEST(OemDriverInfoLimits, MissingAndOversizedFiles) {
   trtest::TempDir tmp;
   const std::string oem = tmp.file("txtsetup.oem"), sif = tmp.file("winnt.sif");
   trtest::WriteFile(sif, kSif);
   trtest::LogCapture log;
   WriteOEMDriverInfo(oem.c_str(), sif.c_str());
   EXPECT_EQ(log.lines(), std::vector<std::string>{});
   trtest::WriteFile(oem, "trscsi = \"x\"\n");
   ASSERT_EQ(truncate(oem.c_str(), kMaxTxtsetupOemSize + 1), 0);
   WriteOEMDriverInfo(oem.c_str(), sif.c_str());
   EXPECT_EQ(log.lines(), std::vector<std::string>{
                             "WriteOEMDriverInfo: txtsetup.oem too large size=" +
                             std::to_string(kMaxTxtsetupOemSize + 1) + " file=\"" + oem + "\""});
   EXPECT_EQ(trtest::ReadFile(sif), kSif);
}

// AutoInstall_AddFileToFloppyImg adds to (or writes over a file of) the
// configuration directory's autoinst.flp, and is FALSE without a usable
// image or host file; it never logs.
TEST(WindowsFloppyAddFile, AddsToExistingImage) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   trtest::LogCapture log;
   const std::string img = tmp.file("autoinst.flp"), host = tmp.file("extra.cmd");
   trtest::WriteFile(host, "echo extra\r\n");
   EXPECT_EQ(AutoInstall_AddFileToFloppyImg(host.c_str(), "extra.cmd", tmp.path().c_str()),
             FALSE);  // no image yet
   ASSERT_EQ(fattest::Tool({"mkfs.fat", "-C", img, "1440"}).exitCode, 0);
   const struct {
      std::string host;
      const char *name;
      Bool result;
   } rows[] = {{host, "extra.cmd", TRUE},
               {host, "EXTRA.CMD", TRUE},
               {tmp.file("none"), "none.txt", FALSE},
               {host, "not an 8.3 name", FALSE}};
   for (const auto &r : rows) {
      EXPECT_EQ(AutoInstall_AddFileToFloppyImg(r.host.c_str(), r.name, tmp.path().c_str()),
                r.result)
         << r.name;
   }
   EXPECT_EQ(fattest::MdirNames(img), std::vector<std::string>{"extra.cmd"});
   fattest::ExpectMtype(img, "extra.cmd", "echo extra\r\n");
   fattest::ExpectFsckClean(img);
   EXPECT_EQ(log.text(), "");
}

}  // namespace
