// media_windows_cli_test.cc --
//
//    trguest media windows: a floppy built from host files and listed; a
//    failure exits 2 with the reason in the log, bad usage 64.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fat_support.hh"
#include "testsupport.hh"

namespace {

TEST(CliMediaWindows, BuildsAndLists) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir dir;
   trtest::WriteFile(dir.file("vm/winnt.sif"), "[Data]\n");
   trtest::WriteFile(dir.file("vm/autoun~0.xml"), "<u/>\n");
   trtest::WriteFile(dir.file("sup/unattend.cmd"), "cmd\r\n");
   trtest::WriteFile(dir.file("upg/TarvelToolsUpgrader.exe"), "up");
   trtest::WriteFile(dir.file("drv/txtsetup.oem"), "trscsi = \"Tarvel SCSI\"\n");
   const std::vector<std::string> base = {std::string(TRGUEST_BINARY_DIR) + "/bin/trguest",
                                          "media", "windows", "--config", dir.file("vm"),
                                          "--upgrader", dir.file("upg"), "--support",
                                          dir.file("sup")};
   auto withDrivers = base;
   withDrivers.insert(withDrivers.end(), {"--drivers", dir.file("drv")});
   trtest::LogCapture log;
   auto r = trtest::RunCommand(withDrivers);
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_EQ(r.output, dir.file("vm/autoinst.flp") +
                          ":\n        23 txtsetup.oem\n        74 winnt.sif\n         5 "
                          "autoun~0.xml\n         2 upgrader.exe\n         5 unattend.cmd\n");
   fattest::ExpectFsckClean(dir.file("vm/autoinst.flp"));
   // The answer files went with the first call.
   EXPECT_EQ(trtest::RunCommand(base).exitCode, 2);
   EXPECT_EQ(log.lines().size(), 1u);
   auto noSupport = base;
   noSupport.resize(noSupport.size() - 2);
   EXPECT_EQ(trtest::RunCommand(noSupport).exitCode, 64);
}

}  // namespace
