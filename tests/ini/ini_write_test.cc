// ini_write_test.cc --
//
//    IniUtil_WriteIniFileString / IniUtil_WriteIniFileInt: where an entry
//    goes, how a line is rewritten, the limits, and that every failure
//    leaves the file as it was.

#include <csignal>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <trguest/iniutil.h>

#include "testsupport.hh"

namespace {

struct WriteCase {
   const char *name;
   const char *before;
   const char *section;
   const char *key;
   const char *value;
   Bool quote;
   const char *after;
};

void PrintTo(const WriteCase &c, std::ostream *os) { *os << c.name; }

class IniWrite : public ::testing::TestWithParam<WriteCase> {};

TEST_P(IniWrite, ProducesTheFile) {
   const WriteCase &c = GetParam();
   trtest::TempDir dir;
   std::string path = dir.file("winnt.sif");
   trtest::WriteFile(path, c.before);
   ASSERT_TRUE(IniUtil_WriteIniFileString(path.c_str(), c.section, c.key, c.value, c.quote));
   EXPECT_EQ(trtest::ReadFile(path), c.after);
}

const WriteCase kWriteCases[] = {
   {"missingSectionAppended", "[Data]\nA=1\n", "UserData", "FullName", "Jane", TRUE,
    "[Data]\nA=1\n[UserData]\nFullName=\"Jane\"\n"},
   {"emptyFile", "", "s", "k", "v", FALSE, "[s]\nk=v\n"},
   {"missingKeyBeforeNextHeader", "[s]\na=1\n\n; end of s\n[t]\nb=2\n", "s", "k", "v", FALSE,
    "[s]\na=1\n\n; end of s\nk=v\n[t]\nb=2\n"},
   {"missingKeyInLastSection", "[t]\nb=2\n[s]\na=1\n", "s", "k", "v", FALSE,
    "[t]\nb=2\n[s]\na=1\nk=v\n"},
   {"existingKeyInPlace", "[s]\n  Key = old ; note\nz=1\n", "S", "KEY", "new", FALSE,
    "[s]\n  Key =new\nz=1\n"},
   {"crlfLineRewrittenWithLf", "[s]\r\nk=old\r\nz=1\r\n", "s", "k", "new", TRUE,
    "[s]\r\nk=\"new\"\nz=1\r\n"},
   {"duplicateKeysAllRewritten", "[s]\nk=1\nk=2\n", "s", "k", "3", FALSE, "[s]\nk=3\nk=3\n"},
   {"onlyFirstSectionGetsMissingKey", "[s]\na=1\n[t]\n[s]\nb=2\n", "s", "k", "v", FALSE,
    "[s]\na=1\nk=v\n[t]\n[s]\nb=2\n"},
   {"keyInBothSameNamedSections", "[s]\nk=1\n[t]\n[s]\nk=2\n", "s", "k", "v", FALSE,
    "[s]\nk=v\n[t]\n[s]\nk=v\n"},
   {"keyOfOtherSectionUntouched", "[t]\nk=1\n[s]\n", "s", "k", "v", FALSE,
    "[t]\nk=1\n[s]\nk=v\n"},
   {"emptyValueNewEntryIsBareKey", "[s]\n", "s", "k", "", TRUE, "[s]\nk\n"},
   {"emptyValueRewriteKeepsEquals", "[s]\nk=old\n", "s", "k", "", FALSE, "[s]\nk=\n"},
   {"emptyValueRewriteQuoted", "[s]\nk=old\n", "s", "k", "", TRUE, "[s]\nk=\"\"\n"},
   {"bareKeyLineGainsEquals", "[GuiUnattended]\n  AutoLogon \nx=1\n", "GuiUnattended",
    "autologon", "Yes", FALSE, "[GuiUnattended]\n  AutoLogon=Yes\nx=1\n"},
   {"lastLineWithoutLineEnd", "[t]\nb=2", "s", "k", "v", FALSE, "[t]\nb=2\n[s]\nk=v\n"},
   {"lastEntryWithoutLineEnd", "[s]\na=1", "s", "k", "v", FALSE, "[s]\na=1\nk=v\n"},
   {"commentsCopiedUnchanged", ";top\n[s]\n;k=x\n", "s", "k", "v", FALSE,
    ";top\n[s]\n;k=x\nk=v\n"},
   {"writerIgnoresSemicolons", "[s;x]\nk=a;b\n", "s;x", "k", "c", FALSE, "[s;x]\nk=c\n"},
};

INSTANTIATE_TEST_SUITE_P(Cases, IniWrite, ::testing::ValuesIn(kWriteCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(IniWriteBytes, NulBytesOfOtherLinesAreCopied) {
   trtest::TempDir dir;
   std::string path = dir.file("nul.ini");
   const std::string before("[t]\nq=a\0b\n", 10);
   trtest::WriteFile(path, before);
   ASSERT_TRUE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "v", FALSE));
   EXPECT_EQ(trtest::ReadFile(path), before + "[s]\nk=v\n");
}

TEST(IniWriteRoundTrip, QuotedValueReadsBackWithoutQuotes) {
   trtest::TempDir dir;
   std::string path = dir.file("rt.ini");
   trtest::WriteFile(path, "[UserData]\n");
   ASSERT_TRUE(IniUtil_WriteIniFileString(path.c_str(), "UserData", "FullName", "Jane Doe", TRUE));
   ASSERT_TRUE(IniUtil_WriteIniFileInt(path.c_str(), "GuiUnattended", "TimeZone", -4));
   char buf[64] = "";
   ASSERT_TRUE(IniUtil_GetIniFileString(path.c_str(), "userdata", "fullname", buf, sizeof buf));
   EXPECT_STREQ(buf, "Jane Doe");
   int32_t tz = 0;
   EXPECT_TRUE(IniUtil_GetIniFileInt(path.c_str(), "GuiUnattended", "TimeZone", &tz));
   EXPECT_EQ(tz, -4);
   EXPECT_EQ(trtest::ReadFile(path),
             "[UserData]\nFullName=\"Jane Doe\"\n[GuiUnattended]\nTimeZone=-4\n");
}

// Integers are written as decimal text (the extremes fit the 64-byte
// buffer) and read back, 0 included.
TEST(IniWriteRoundTrip, IntegersAtTheirLimits) {
   trtest::TempDir dir;
   std::string path = dir.file("int.ini");
   trtest::WriteFile(path, "");
   const struct {
      int32_t value;
      const char *text;
   } cases[] = {{INT32_MIN, "-2147483648"}, {INT32_MAX, "2147483647"}, {0, "0"}, {-1, "-1"}};
   for (const auto &c : cases) {
      ASSERT_TRUE(IniUtil_WriteIniFileInt(path.c_str(), "n", "v", c.value));
      EXPECT_EQ(trtest::ReadFile(path), std::string("[n]\nv=") + c.text + "\n");
      int32_t back = 12345;
      EXPECT_TRUE(IniUtil_GetIniFileInt(path.c_str(), "n", "v", &back)) << c.text;
      EXPECT_EQ(back, c.value);
   }
}

TEST(IniWriteLimits, RewrittenValueIsCutToFitTheLineBuffer) {
   trtest::TempDir dir;
   std::string path = dir.file("cut.ini");
   // p, the offset after "=", is 4: the value keeps 1020 - 4 bytes.
   trtest::WriteFile(path, "[s]\nkey=old\n");
   std::string big(5000, 'v');
   ASSERT_TRUE(IniUtil_WriteIniFileString(path.c_str(), "s", "key", big.c_str(), TRUE));
   EXPECT_EQ(trtest::ReadFile(path), "[s]\nkey=\"" + std::string(1016, 'v') + "\"\n");
   // Indentation counts into p: 10 blanks and "key =" give p 15.
   trtest::WriteFile(path, "[s]\n          key =old\n");
   ASSERT_TRUE(IniUtil_WriteIniFileString(path.c_str(), "s", "key", big.c_str(), FALSE));
   EXPECT_EQ(trtest::ReadFile(path), "[s]\n          key =" + std::string(1005, 'v') + "\n");
}

TEST(IniWriteLimits, NewLinesAreCutTo1024BytesAndKeepTheirLineFeed) {
   trtest::TempDir dir;
   std::string path = dir.file("new.ini");
   trtest::WriteFile(path, "[s]\n[t]\n");
   std::string big(5000, 'v');
   ASSERT_TRUE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", big.c_str(), FALSE));
   // "k=" plus 1020 bytes of the value, then the line feed: 1023 bytes.
   EXPECT_EQ(trtest::ReadFile(path), "[s]\nk=" + std::string(1020, 'v') + "\n[t]\n");
}

// Lines of filler text totalling exactly n bytes.
std::string Filler(size_t n) {
   std::string out;
   while (out.size() + 1001 <= n) {
      out += std::string(1000, 'x') + "\n";
   }
   if (out.size() < n) {
      out += std::string(n - out.size() - 1, 'y') + "\n";
   }
   return out;
}

TEST(IniWriteLimits, AssembledTextBeyondTheWorkingBufferFails) {
   trtest::TempDir dir;
   std::string path = dir.file("big.ini");
   // 522,240 bytes may be assembled before a line is added; one more is refused.
   const std::string fits = Filler(522236) + "[s]\n";
   ASSERT_EQ(fits.size(), 522240u);
   trtest::WriteFile(path, fits);
   EXPECT_TRUE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "v", FALSE));
   EXPECT_EQ(trtest::ReadFile(path), fits + "k=v\n");

   const std::string tooBig = Filler(522237) + "[s]\n";
   trtest::WriteFile(path, tooBig);
   EXPECT_FALSE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "v", FALSE));
   EXPECT_EQ(trtest::ReadFile(path), tooBig);

   // The same limit applies while lines are still being read.
   const std::string longer = Filler(522241) + "[s]\nk=1\n";
   trtest::WriteFile(path, longer);
   EXPECT_FALSE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "v", FALSE));
   EXPECT_EQ(trtest::ReadFile(path), longer);
}

TEST(IniWriteFailures, LeaveTheFileAsItWas) {
   trtest::TempDir dir;
   std::string path = dir.file("bad.ini");
   const std::string broken = "[s]\nk=v\n[t\nx=1\n";
   trtest::WriteFile(path, broken);
   EXPECT_FALSE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "new", FALSE));
   EXPECT_EQ(trtest::ReadFile(path), broken);

   // A text with a line break would add lines of the caller's choosing;
   // no text may be missing.
   const struct {
      const char *section, *key, *value;
   } refused[] = {
      {"s", "k", "pw\n[GuiRunOnce]\nCommand0=evil"}, {"s", "k", "pw\r"},
      {"s\n[t]", "k", "v"}, {"s", "k\r\nx", "v"}, {nullptr, "k", "v"}, {"s", nullptr, "v"},
      {"s", "k", nullptr},
   };
   trtest::WriteFile(path, "[s]\nk=v\n");
   for (const auto &r : refused) {
      EXPECT_FALSE(IniUtil_WriteIniFileString(path.c_str(), r.section, r.key, r.value, TRUE));
   }
   EXPECT_FALSE(IniUtil_WriteIniFileString(nullptr, "s", "k", "v", FALSE));
   EXPECT_FALSE(IniUtil_WriteIniFileInt(path.c_str(), nullptr, "k", 1));
   EXPECT_EQ(trtest::ReadFile(path), "[s]\nk=v\n");

   EXPECT_FALSE(IniUtil_WriteIniFileString(dir.file("missing.ini").c_str(), "s", "k", "v", FALSE));
   EXPECT_FALSE(trtest::FileExists(dir.file("missing.ini")));
   EXPECT_FALSE(IniUtil_WriteIniFileInt(dir.file("missing.ini").c_str(), "s", "k", 1));
   EXPECT_FALSE(trtest::FileExists(dir.file("missing.ini")));
}

TEST(IniWriteFailures, UnwritableDirectoryKeepsTheFile) {
   if (geteuid() == 0) {
      GTEST_SKIP() << "root writes into read-only directories";
   }
   trtest::TempDir dir;
   std::string sub = dir.file("ro");
   std::string path = sub + "/a.ini";
   trtest::WriteFile(path, "[s]\nk=v\n");
   ASSERT_EQ(chmod(sub.c_str(), 0555), 0);
   EXPECT_FALSE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "new", FALSE));
   chmod(sub.c_str(), 0755);
   EXPECT_EQ(trtest::ReadFile(path), "[s]\nk=v\n");
}

TEST(IniWriteFailures, ReadOnlyFileIsNotReplaced) {
   if (geteuid() == 0) {
      GTEST_SKIP() << "root may write read-only files";
   }
   trtest::TempDir dir;
   std::string path = dir.file("ro.ini");
   trtest::WriteFile(path, "[s]\nk=v\n");
   ASSERT_EQ(chmod(path.c_str(), 0444), 0);
   EXPECT_FALSE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "new", FALSE));
   EXPECT_EQ(trtest::ReadFile(path), "[s]\nk=v\n");
}

// Number of entries in a directory.
size_t EntryCount(const std::string &dir) {
   auto r = trtest::RunCommand({"sh", "-c", "ls -A " + dir + " | wc -l"});
   return static_cast<size_t>(std::stoul(r.output));
}

// In a child process: sets k in section s with files limited to `limit`
// bytes, and exits with 7 when the write failed.
[[noreturn]] void WriteWithFileSizeLimit(const std::string &path, rlim_t limit) {
   struct rlimit rl;
   rl.rlim_cur = limit;
   rl.rlim_max = limit;
   signal(SIGXFSZ, SIG_IGN);
   setrlimit(RLIMIT_FSIZE, &rl);
   _exit(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "new", FALSE) ? 1 : 7);
}

// A disk that fills while the new text is written: the write fails, the
// file keeps its old text, and no temporary file stays behind. The file
// size limit of a child process stands in for the full disk.
TEST(IniWriteFailuresDeathTest, DiskFullWhileWritingKeepsTheFile) {
   trtest::TempDir dir;
   std::string path = dir.file("big.ini");
   const std::string before = "[s]\n" + std::string(3000, 'x') + "\nk=old\n";
   trtest::WriteFile(path, before);
   EXPECT_EXIT(WriteWithFileSizeLimit(path, 2048), ::testing::ExitedWithCode(7), "");
   EXPECT_EQ(trtest::ReadFile(path), before);
   EXPECT_EQ(EntryCount(dir.path()), 1u);
}

TEST(IniWriteFile, KeepsPermissionsAndSymbolicLinks) {
   trtest::TempDir dir;
   std::string path = dir.file("perm.ini");
   trtest::WriteFile(path, "[s]\n");
   ASSERT_EQ(chmod(path.c_str(), 0600), 0);
   std::string link = dir.file("link.ini");
   ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);

   ASSERT_TRUE(IniUtil_WriteIniFileString(link.c_str(), "s", "k", "v", FALSE));
   struct stat st;
   ASSERT_EQ(lstat(link.c_str(), &st), 0);
   EXPECT_TRUE(S_ISLNK(st.st_mode));
   ASSERT_EQ(stat(path.c_str(), &st), 0);
   EXPECT_EQ(st.st_mode & 07777, 0600u);
   EXPECT_EQ(trtest::ReadFile(path), "[s]\nk=v\n");
   // No temporary file is left behind.
   EXPECT_EQ(trtest::RunCommand({"sh", "-c", "ls -A " + dir.path() + " | wc -l"}).output, "2\n");
}

}  // namespace
