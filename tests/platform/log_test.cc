// log_test.cc --
//
//    Log, Warning and Panic write exactly one line each.

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <trplatform/log.h>

#include "testsupport.hh"

namespace {

TEST(LogLines, OneLinePerCallWithLineFeedAdded) {
   trtest::LogCapture log;
   Log("%s: File_CopyFromNameToName failed from=\"%s\" to=\"%s\"\n", "AutoInstall_ScanDisk",
       "/a", "/b");
   Log("%s: IniUtil_WriteIniFileString storePwdIniPath=\"%s\"", "X", "/p");
   Warning("%s: Failed to detect the type of driver in %s\n", "WriteOEMDriverInfo", "t.oem");
   Log("err=%Ld", static_cast<long long>(-5));
   EXPECT_EQ(log.lines(), (std::vector<std::string>{
                             "AutoInstall_ScanDisk: File_CopyFromNameToName failed from=\"/a\" "
                             "to=\"/b\"",
                             "X: IniUtil_WriteIniFileString storePwdIniPath=\"/p\"",
                             "WriteOEMDriverInfo: Failed to detect the type of driver in t.oem",
                             "err=-5",
                          }));
}

TEST(LogLines, LongLinesAreWrittenWhole) {
   trtest::LogCapture log;
   std::string big(10000, 'x');
   Log("%s\n", big.c_str());
   ASSERT_EQ(log.lines().size(), 1u);
   EXPECT_EQ(log.lines()[0], big);
}

TEST(LogLinesDeathTest, PanicLogsThenAborts) {
   trtest::TempDir dir;
   std::string path = dir.file("panic.log");
   EXPECT_DEATH(
      {
         setenv("TRGUEST_LOG", path.c_str(), 1);
         Panic("NOT_REACHED %s:%d\n", "lib/guestInstall/autoinstall", 244);
      },
      "");
   EXPECT_EQ(trtest::ReadFile(path), "NOT_REACHED lib/guestInstall/autoinstall:244\n");
}

}  // namespace
