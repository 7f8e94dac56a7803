// floppy_windows_test.cc --
//
//    AutoInstall_MakeFloppyImg end to end: drivers from a tools ISO (built
//    with xorriso), from a host directory and from the driver floppy (made
//    with mkfs.fat and mcopy); the floppy read back with mtools byte for
//    byte and checked with fsck.fat; the winnt.sif it carries; every log
//    line; and the clean-up of the configuration directory on every way out.
//    Also WriteOEMDriverInfo's scan of txtsetup.oem and
//    AutoInstall_AddFileToFloppyImg.

#include <gtest/gtest.h>

#include <filesystem>
#include <algorithm>
#include <cstring>
#include <functional>
#include <map>

#include <sys/stat.h>

#include <trguest/autoinstall.h>

#include "fat_support.hh"
#include "media_builder.hh"

namespace {

namespace fs = std::filesystem;
using fattest::Pattern;

const std::string kWinntSif =
   "[Data]\nAutoPartition=1\n\n[Unattended]\nUnattendMode=FullUnattended\n";
const std::string kUnattendXml = "<unattend/>\n";
const std::string kStorePwdIni = "[Password]\nEncrypted=0\n";
const std::string kTxtsetupOem =
   "[Disks]\r\nd1 = \"Tarvel driver disk\",\\trscsi.sys,\\\r\n\r\n"
   "[Defaults]\r\nSCSI = trscsi\r\n\r\n"
   "[SCSI]\r\ntrscsi = \"Tarvel SCSI Controller\", trscsi\r\n";
// The OEM entries that the four driver files of `names` and kTxtsetupOem
// add to kWinntSif.
std::string WinntSifWithDrivers(const std::vector<std::string> &names) {
   std::string s = kWinntSif + "[OEMBootFiles]\n";
   for (const auto &n : names) s += n + "\n";
   return s + "[MassStorageDrivers]\n\"Tarvel SCSI Controller\"=OEM\n";
}

// Driver files: name and content.
const std::vector<std::pair<std::string, std::string>> kDrivers = {
   {"trscsi.cat", Pattern(9 * 1024, 1)},
   {"trscsi.inf", "[Version]\r\nSignature=\"$Windows NT$\"\r\n"},
   {"trscsi.sys", Pattern(40 * 1024 + 3, 2)},
   {"txtsetup.oem", kTxtsetupOem},
};
const std::string kStorePwdExe = Pattern(48 * 1024, 3);
const std::string kUpgrader = Pattern(300 * 1024 + 17, 4);
const std::string kUnattendCmd = "@echo off\r\nupgrader.exe /s\r\n";

std::string Upper(std::string s) {
   for (char &c : s) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
   return s;
}

// A configuration directory with the answer files, support and upgrader
// directories, a driver floppy, a tools ISO and a host driver directory.
struct Fixture {
   trtest::TempDir tmp;
   std::string config = tmp.file("vm"), support = tmp.file("support"),
               upgrader = tmp.file("upgrader"), hostDrivers = tmp.file("drivers"),
               iso = tmp.file("tools.iso"), floppy = tmp.file("vm/autoinst.flp");
   std::string templ;                        // template floppy, none when empty
   std::string toolsIso = iso;               // the argument
   std::string driverDir = "/drivers/scsi";  // the argument

   Fixture() {
      trtest::WriteFile(config + "/winnt.sif", kWinntSif);
      trtest::WriteFile(config + "/autoun~0.xml", kUnattendXml);
      trtest::WriteFile(config + "/storePwd.ini", kStorePwdIni);
      trtest::WriteFile(support + "/storePwd.exe", kStorePwdExe);
      trtest::WriteFile(support + "/unattend.cmd", kUnattendCmd);
      trtest::WriteFile(upgrader + "/TarvelToolsUpgrader.exe", kUpgrader);
      trtest::MediaSpec spec;
      for (const auto &[name, content] : kDrivers) {
         spec.files.push_back({"drivers/scsi/" + name, content});
         trtest::WriteFile(hostDrivers + "/" + Upper(name), content);
      }
      // Not drivers: a subdirectory and a name that is no 8.3 name.
      spec.files.push_back({"drivers/scsi/amd64/trscsi.sys", "64"});
      spec.files.push_back({"drivers/scsi/Read Me First.txt", "readme"});
      spec.files.push_back({"readme.txt", "tools"});
      iso = trtest::BuildImage(tmp, spec, "tools.iso");
      MakeDriverFloppy(support + "/trscsi.flp");
   }

   // A 1.44 MB floppy holding the driver files under upper-case names.
   void MakeDriverFloppy(const std::string &path) {
      ASSERT_EQ(fattest::Tool({"mkfs.fat", "-C", path, "1440"}).exitCode, 0);
      std::vector<std::string> cmd = {"mcopy", "-i", path};
      for (const auto &d : kDrivers) cmd.push_back(hostDrivers + "/" + Upper(d.first));
      cmd.push_back("::");
      auto r = fattest::Tool(cmd);
      ASSERT_EQ(r.exitCode, 0) << r.output;
   }

   Bool Make() const {
      auto opt = [](const std::string &s) { return s.empty() ? nullptr : s.c_str(); };
      return AutoInstall_MakeFloppyImg(opt(templ), config.c_str(), opt(toolsIso),
                                       opt(driverDir), upgrader.c_str(), support.c_str());
   }

   // Replaces $TMP, $CFG, $SUP, $UPG, $DRV and $ISO in a log line.
   std::string Expand(std::string line) const {
      const std::pair<const char *, std::string> vars[] = {
         {"$TMP", tmp.path()}, {"$CFG", config},      {"$SUP", support},
         {"$UPG", upgrader},   {"$DRV", hostDrivers},
         {"$ISO", iso}};
      for (const auto &[var, value] : vars) {
         for (size_t at; (at = line.find(var)) != std::string::npos;) {
            line.replace(at, std::strlen(var), value);
         }
      }
      return line;
   }

   // A host driver directory is read, never emptied.
   std::vector<std::string> HostDriverNames() const {
      std::vector<std::string> names;
      std::error_code ec;
      for (const auto &e : fs::directory_iterator(hostDrivers, ec)) {
         names.push_back(e.path().filename());
      }
      std::sort(names.begin(), names.end());
      return names;
   }

   // The answer files never outlive a call.
   void ExpectAnswerFilesGone() const {
      for (const char *f : {"winnt.sif", "autoun~0.xml", "storePwd.ini"}) {
         EXPECT_FALSE(fs::exists(config + "/" + f)) << f;
      }
   }
};

void SetFat12(const std::string &image, uint32_t cluster, uint16_t value) {
   const off_t at = 512 + cluster + cluster / 2;
   const std::string old = trtest::ReadFile(image).substr(static_cast<size_t>(at), 2);
   uint16_t word = static_cast<uint16_t>(static_cast<uint8_t>(old[0]) |
                                         (static_cast<uint8_t>(old[1]) << 8));
   word = (cluster & 1) ? static_cast<uint16_t>((word & 0x000F) | (value << 4))
                        : static_cast<uint16_t>((word & 0xF000) | (value & 0x0FFF));
   fattest::Patch(image, at,
                  std::string{static_cast<char>(word & 0xFF), static_cast<char>(word >> 8)});
}

#define FLOPPY_REQUIRE_TOOLS()                                               \
   do {                                                                      \
      FAT_REQUIRE_TOOLS();                                                   \
      if (!trtest::CanBuild(trtest::MediaFormat::JolietRockRidge)) {         \
         GTEST_SKIP() << "xorriso is not installed";                         \
      }                                                                      \
   } while (0)

// ---------------------------------------------------------------------------
// Floppies that get built: the file set in directory order, each file's
// bytes, the winnt.sif carried, and what is left in the configuration
// directory.

using Setup = std::function<void(Fixture &)>;
// Setups: a path under the fixture's directory removed, or replaced by bytes.
Setup Rm(const std::string &rel) {
   return [rel](Fixture &fx) { fs::remove_all(fx.tmp.file(rel)); };
}
Setup Put(const std::string &rel, const std::string &bytes) {
   return [=](Fixture &fx) {
      fs::remove_all(fx.tmp.file(rel));
      trtest::WriteFile(fx.tmp.file(rel), bytes);
   };
}
Setup And(const Setup &a, const Setup &b) {
   return [=](Fixture &fx) { a(fx), b(fx); };
}
const Setup kHostDrivers = [](Fixture &fx) { fx.toolsIso.clear(), fx.driverDir = fx.hostDrivers; };
const Setup kNoDrivers = [](Fixture &fx) { fx.toolsIso.clear(), fx.driverDir.clear(); };
const Setup kMissingIso = [](Fixture &fx) { fx.toolsIso = fx.tmp.file("missing.iso"); };

struct BuildCase {
   const char *name;
   Setup setup;
   std::vector<std::string> floppyNames;   // as mdir -b lists them
   std::vector<std::string> oemBootFiles;  // empty: winnt.sif unchanged
   std::vector<std::string> log;
};

class FloppyBuild : public ::testing::TestWithParam<BuildCase> {};

TEST_P(FloppyBuild, HoldsEveryFile) {
   FLOPPY_REQUIRE_TOOLS();
   const BuildCase &c = GetParam();
   Fixture fx;
   c.setup(fx);
   const auto hostDrivers = fx.HostDriverNames();
   trtest::LogCapture log;
   EXPECT_EQ(fx.Make(), TRUE);
   std::vector<std::string> want;
   for (const auto &l : c.log) want.push_back(fx.Expand(l));
   EXPECT_EQ(log.lines(), want);

   EXPECT_EQ(fattest::MdirNames(fx.floppy), c.floppyNames);
   fattest::ExpectFsckClean(fx.floppy);
   std::map<std::string, std::string> content = {
      {"winnt.sif", c.oemBootFiles.empty() ? kWinntSif : WinntSifWithDrivers(c.oemBootFiles)},
      {"autoun~0.xml", kUnattendXml}, {"STOREPWD.ini", kStorePwdIni},
      {"STOREPWD.exe", kStorePwdExe}, {"upgrader.exe", kUpgrader},
      {"unattend.cmd", kUnattendCmd}, {"KEEP.TXT", "template"}};
   for (const auto &[name, bytes] : kDrivers) content[name] = content[Upper(name)] = bytes;
   for (const std::string &name : c.floppyNames) {
      ASSERT_TRUE(content.count(name)) << name;
      fattest::ExpectMtype(fx.floppy, name, content[name]);
   }

   fx.ExpectAnswerFilesGone();
   EXPECT_FALSE(fs::exists(fx.config + "/scsi"));
   EXPECT_EQ(fx.HostDriverNames(), hostDrivers);
}

const std::vector<std::string> kDriverNames = {"trscsi.cat", "trscsi.inf", "trscsi.sys",
                                               "txtsetup.oem"};
std::vector<std::string> With(std::vector<std::string> head, const std::vector<std::string> &tail) {
   head.insert(head.end(), tail.begin(), tail.end());
   return head;
}
const std::vector<std::string> kUpperDriverNames = {"TRSCSI.CAT", "TRSCSI.INF", "TRSCSI.SYS",
                                                    "TXTSETUP.OEM"};
const std::vector<std::string> kAllRest = {"winnt.sif",    "autoun~0.xml", "STOREPWD.ini",
                                           "STOREPWD.exe", "upgrader.exe", "unattend.cmd"};

INSTANTIATE_TEST_SUITE_P(
   WindowsFloppy, FloppyBuild,
   ::testing::Values(
      // The image's subdirectory and long name are extracted, logged,
      // skipped and removed again with the rest of "scsi".
      BuildCase{"ToolsIso", [](Fixture &) {}, With(kDriverNames, kAllRest), kDriverNames,
                {"AutoInstall_MakeFloppyImg: AddFileToFloppyImg file=\"Read Me First.txt\"",
                 "AutoInstall_MakeFloppyImg: AddFileToFloppyImg file=\"amd64\""}},
      // Upper-case host names stay upper case, also as winnt.sif keys; no
      // storePwd.ini means no password store at all; a control character
      // in a skipped name does not break the log line.
      BuildCase{"HostDirectory",
                And(And(kHostDrivers, Rm("vm/storePwd.ini")), Put("drivers/bad\nname", "x")),
                With(kUpperDriverNames,
                     {"winnt.sif", "autoun~0.xml", "upgrader.exe", "unattend.cmd"}),
                kUpperDriverNames,
                {"AutoInstall_MakeFloppyImg: AddFileToFloppyImg file=\"bad?name\""}},
      // The named image is not there: the driver floppy's files, lower
      // cased; a missing upgrader is then no failure.
      BuildCase{"DriverFloppyFallback", And(kMissingIso, Rm("upgrader/TarvelToolsUpgrader.exe")),
                With(kDriverNames, {"winnt.sif", "autoun~0.xml", "STOREPWD.ini", "STOREPWD.exe",
                                    "unattend.cmd"}),
                kDriverNames, {}},
      // No driver directory: a template floppy keeps its file, winnt.sif
      // gains nothing, without a tools image the upgrader may be missing,
      // and an empty "scsi" left from an earlier call is removed.
      BuildCase{"TemplateWithoutDrivers",
                And(And(kNoDrivers, Rm("upgrader/TarvelToolsUpgrader.exe")), [](Fixture &fx) {
                   fs::create_directory(fx.config + "/scsi");
                   fx.templ = fx.tmp.file("template.flp");
                   fattest::Tool({"mkfs.fat", "-C", fx.templ, "1440"});
                   trtest::WriteFile(fx.tmp.file("KEEP.TXT"), "template");
                   fattest::Tool({"mcopy", "-i", fx.templ, fx.tmp.file("KEEP.TXT"), "::"});
                }),
                {"KEEP.TXT", "winnt.sif", "autoun~0.xml", "STOREPWD.ini", "STOREPWD.exe",
                 "unattend.cmd"},
                {}, {}}),
   [](const testing::TestParamInfo<BuildCase> &p) { return std::string(p.param.name); });

// ---------------------------------------------------------------------------
// Every failure: one log line (with the non-fatal lines before it), FALSE,
// and the clean-up all the same.

struct FailCase {
   const char *name;
   Setup setup;
   std::vector<std::string> log;
   Bool result = FALSE;
};

class FloppyFailure : public ::testing::TestWithParam<FailCase> {};

TEST_P(FloppyFailure, LogsAndCleansUp) {
   FLOPPY_REQUIRE_TOOLS();
   const FailCase &c = GetParam();
   Fixture fx;
   // Something of the user's in the work directory stays.
   trtest::WriteFile(fx.config + "/scsi/mine.txt", "mine");
   c.setup(fx);
   const auto hostDrivers = fx.HostDriverNames();
   trtest::LogCapture log;
   EXPECT_EQ(fx.Make(), c.result);
   std::vector<std::string> want;
   for (const auto &l : c.log) {
      // Lines of the call itself come without their common prefix here.
      want.push_back(fx.Expand(l.rfind("WriteOEMDriverInfo", 0) == 0
                                  ? l
                                  : "AutoInstall_MakeFloppyImg: " + l));
   }
   EXPECT_EQ(log.lines(), want);
   fx.ExpectAnswerFilesGone();
   if (fs::is_directory(fx.config + "/scsi")) {
      std::vector<std::string> left;
      for (const auto &e : fs::directory_iterator(fx.config + "/scsi")) {
         left.push_back(e.path().filename());
      }
      EXPECT_EQ(left, std::vector<std::string>{"mine.txt"});
   }
   EXPECT_EQ(fx.HostDriverNames(), hostDrivers);
}

INSTANTIATE_TEST_SUITE_P(
   WindowsFloppy, FloppyFailure,
   ::testing::Values(
      FailCase{"TemplateMissing", [](Fixture &fx) { fx.templ = fx.tmp.file("none.flp"); },
               {"File_CopyFromNameToName from=\"$TMP/none.flp\" to=\"$CFG/autoinst.flp\""}},
      FailCase{"TemplateNotFat",
               And(Put("text.flp", std::string(4096, 'x')),
                   [](Fixture &fx) { fx.templ = fx.tmp.file("text.flp"); }),
               {"FSImage_SkipVolumeBoot err=7 FSIMAGE_FAT_FILE_SYSTEM"}},
      FailCase{"ImageCannotBeCreated", [](Fixture &fx) { fs::create_directory(fx.floppy); },
               {"FSImage_FormatVolume err=1 floppyImageFilePath =\"$CFG/autoinst.flp\""}},
      FailCase{"WorkDirCannotBeCreated", Put("vm/scsi", "a file"),
               {"File_CreateDirectory guestConfigDir=\"$CFG\""}},
      FailCase{"DirectoryNotInIso", [](Fixture &fx) { fx.driverDir = "/drivers/none"; },
               {"Iso9660_Extract res=2 scsiDriverDir=\"/drivers/none\"tempdir=\"$CFG/scsi\""}},
      FailCase{"IsoNotAnImage", Put("tools.iso", std::string(40000, 'x')),
               {"Iso9660_Open res=4 toolsIsoPath=\"$ISO\""}},
      FailCase{"NoDriverFloppy", And(kMissingIso, Rm("support/trscsi.flp")),
               {"File_CopyFromNameToName from=\"$SUP/trscsi.flp\" to=\"$CFG/scsi/trscsi.flp\""}},
      FailCase{"DriverFloppyNotFat",
               And(kMissingIso, Put("support/trscsi.flp", std::string(4096, 'x'))),
               {"FSImage_OpenRootDirectory err=7"}},
      // The first file's chain (cluster 2) points at itself.
      FailCase{"DriverFloppyChainLoop",
               And(kMissingIso, [](Fixture &fx) { SetFat12(fx.support + "/trscsi.flp", 2, 2); }),
               {"GetFileFromFloppyImg file=\"$CFG/scsi/trscsi.cat\""}},
      // An entry whose name holds a control character is skipped.
      FailCase{"DriverFloppyBadEntry", And(kMissingIso, [](Fixture &fx) {
                  fattest::Patch(fx.support + "/trscsi.flp", 19 * 512 + 32 + 1, "\x01");
               }),
               {"FSImage_GetCatInfo err=8"}, TRUE},
      FailCase{"HostDriversMissing", And(kHostDrivers, Rm("drivers")),
               {"File_ListDirectory nf=-1 tempdir=\"$DRV\""}},
      FailCase{"HostDriversEmpty", And(kHostDrivers, [](Fixture &fx) {
                  fs::create_directory(fx.driverDir = fx.tmp.file("empty"));
               }),
               {"File_ListDirectory nf=0 tempdir=\"$TMP/empty\""}},
      FailCase{"TooManyDriverFiles", And(kHostDrivers, [](Fixture &fx) {
                  for (int i = 0; i < 600; i++) {
                     trtest::WriteFile(fx.hostDrivers + "/F" + std::to_string(i), "");
                  }
               }),
               {"too many driver files nf=604 tempdir=\"$DRV\""}},
      FailCase{"OemBootFilesNotWritten", And(kHostDrivers, Rm("vm/winnt.sif")),
               {"IniUtil_WriteIniFileString OEMBootFiles=\"TRSCSI.CAT\"unattendFilePath=\"$CFG/"
                "winnt.sif\""}},
      // A txtsetup.oem that names no known driver only warns.
      FailCase{"UnknownDriverType", And(kHostDrivers, Put("drivers/TXTSETUP.OEM", "x = \"y\"\n")),
               {"WriteOEMDriverInfo: Failed to detect the type of driver in $DRV/TXTSETUP.OEM"},
               TRUE},
      FailCase{"WinntSifMissing", And(kNoDrivers, Rm("vm/winnt.sif")),
               {"AddFileToFloppyImg UNATTENDED_INSTALL_FILE=\"$CFG/winnt.sif\""}},
      FailCase{"UnattendXmlMissing", And(kNoDrivers, Rm("vm/autoun~0.xml")),
               {"AddFileToFloppyImg UNATTENDED_XML_INSTALL_FILE=\"$CFG/autoun~0.xml\""}},
      FailCase{"StorePwdIniUnreadable",
               And(And(kNoDrivers, Rm("vm/storePwd.ini")), [](Fixture &fx) {
                  ASSERT_EQ(mkfifo((fx.config + "/storePwd.ini").c_str(), 0600), 0);
               }),
               {"AddFileToFloppyImg STOREPWD_INI_FILENAME=\"$CFG/storePwd.ini\""}},
      FailCase{"StorePwdExeMissing", And(kNoDrivers, Rm("support/storePwd.exe")),
               {"AddFileToFloppyImg STOREPWD_EXE_FILENAME=\"$SUP/storePwd.exe\""}},
      FailCase{"UpgraderMissingWithTools", Rm("upgrader/TarvelToolsUpgrader.exe"),
               {"AddFileToFloppyImg file=\"Read Me First.txt\"",
                "AddFileToFloppyImg file=\"amd64\"",
                "AddFileToFloppyImg (tools \"$ISO\") UPGRADER_EXE=\"$UPG/"
                "TarvelToolsUpgrader.exe\""}},
      FailCase{"UnattendCmdMissing", And(kNoDrivers, Rm("support/unattend.cmd")),
               {"AddFileToFloppyImg UNATTENDED_CMD=\"$SUP/unattend.cmd\""}}),
   [](const testing::TestParamInfo<FailCase> &p) { return std::string(p.param.name); });

}  // namespace
