// ini_read_test.cc --
//
//    IniUtil_GetIniFileString / IniUtil_GetIniFileInt over files written by
//    the test: section and key matching, comments, quotes, line pieces and
//    the failures.

#include <cstring>
#include <string>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <trguest/iniutil.h>

#include "testsupport.hh"

namespace {

struct ReadCase {
   const char *name;
   const char *content;
   const char *section;
   const char *key;
   int32_t size;
   Bool result;
   const char *value;   // expected buffer content ("<untouched>" when not written)
};

constexpr const char *kUntouched = "<untouched>";

void PrintTo(const ReadCase &c, std::ostream *os) { *os << c.name; }

class IniRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(IniRead, ReturnsTheValue) {
   const ReadCase &c = GetParam();
   trtest::TempDir dir;
   std::string path = dir.file("test.ini");
   trtest::WriteFile(path, c.content);

   char buf[2048];
   std::strcpy(buf, kUntouched);
   EXPECT_EQ(IniUtil_GetIniFileString(path.c_str(), c.section, c.key, buf, c.size), c.result);
   EXPECT_STREQ(buf, c.value);
}

const ReadCase kReadCases[] = {
   {"plain", "[UserData]\nFullName=Jane\n", "UserData", "FullName", 1024, TRUE, "Jane"},
   {"sectionAndKeyIgnoreCase", "[userdata]\nfullname=Jane\n", "USERDATA", "FULLNAME", 1024, TRUE,
    "Jane"},
   {"blanksAroundEquals", "[s]\n  \tk \t=  v w \t\r\n", "s", "k", 1024, TRUE, "v w"},
   {"crlfFile", "[s]\r\nk=v\r\n", "s", "k", 1024, TRUE, "v"},
   {"quotedValue", "[s]\nk=\"a b\"\n", "s", "k", 1024, TRUE, "a b"},
   {"singleQuoteCharacter", "[s]\nk=\"\n", "s", "k", 1024, TRUE, "\""},
   {"emptyAfterEquals", "[s]\nk=\n", "s", "k", 1024, TRUE, ""},
   {"bareKeyHasEmptyValue", "[s]\nk\n", "s", "k", 1024, TRUE, ""},
   {"inlineCommentCuts", "[s]\nk=v ; note\n", "s", "k", 1024, TRUE, "v"},
   {"commentLineIgnored", "[s]\n;k=commented\nk=v\n", "s", "k", 1024, TRUE, "v"},
   {"commentInHeaderCutsName", "[s];x\nk=v\n", "s", "k", 1024, TRUE, "v"},
   {"firstMatchWins", "[s]\nk=1\nk=2\n", "s", "k", 1024, TRUE, "1"},
   {"laterSectionOfSameName", "[s]\na=1\n[t]\nk=x\n[S]\nk=2\n", "s", "k", 1024, TRUE, "2"},
   {"keyInOtherSectionOnly", "[s]\na=1\n[t]\nk=x\n", "s", "k", 1024, TRUE, kUntouched},
   {"missingKeyLeavesBuffer", "[s]\na=1\n", "s", "k", 1024, TRUE, kUntouched},
   {"blanksInsideBracketsDiffer", "[ s ]\nk=v\n", "s", "k", 1024, TRUE, kUntouched},
   {"indentedBracketIsNoHeader", "[s]\n  [t]\nk=v\n", "s", "k", 1024, TRUE, "v"},
   {"textAfterBracketIgnored", "[s] trailing\nk=v\n", "s", "k", 1024, TRUE, "v"},
   {"cutToBufferSize", "[s]\nk=abcdef\n", "s", "k", 4, TRUE, "abc"},
   {"cutBeforeQuoteStrip", "[s]\nk=\"abcdef\"\n", "s", "k", 4, TRUE, "\"ab"},
   {"sizeOneGivesEmpty", "[s]\nk=abc\n", "s", "k", 1, TRUE, ""},
   {"headerWithoutBracketFails", "[s\nk=v\n", "s", "k", 1024, FALSE, kUntouched},
   {"brokenHeaderAfterKeyIsNotSeen", "[s]\nk=v\n[t\n", "s", "k", 1024, TRUE, "v"},
   {"semicolonBeforeBracketBreaksHeader", "[s;]\nk=v\n", "s", "k", 1024, FALSE, kUntouched},
   {"zeroSizeFails", "[s]\nk=v\n", "s", "k", 0, FALSE, kUntouched},
   {"negativeSizeFails", "[s]\nk=v\n", "s", "k", -5, FALSE, kUntouched},
   {"noFinalLineFeed", "[s]\nk=v", "s", "k", 1024, TRUE, "v"},
};

INSTANTIATE_TEST_SUITE_P(Cases, IniRead, ::testing::ValuesIn(kReadCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(IniReadLimits, LongLineIsReadInPiecesOf1023Bytes) {
   trtest::TempDir dir;
   std::string path = dir.file("long.ini");
   // The first piece is "k=" and 1021 x; the second piece "j=tail" is a
   // line of its own.
   trtest::WriteFile(path, "[s]\nk=" + std::string(1021, 'x') + "j=tail\n");
   char buf[2048];
   ASSERT_TRUE(IniUtil_GetIniFileString(path.c_str(), "s", "k", buf, sizeof buf));
   EXPECT_EQ(std::string(buf), std::string(1021, 'x'));
   ASSERT_TRUE(IniUtil_GetIniFileString(path.c_str(), "s", "j", buf, sizeof buf));
   EXPECT_STREQ(buf, "tail");
}

TEST(IniReadLimits, MissingFileAndNullBufferFail) {
   char buf[16] = "keep";
   EXPECT_FALSE(IniUtil_GetIniFileString("/nonexistent/x.ini", "s", "k", buf, sizeof buf));
   EXPECT_STREQ(buf, "keep");
   trtest::TempDir dir;
   // What is not a regular file is not read: a directory, an endless
   // device, a FIFO without a writer (which would block the open).
   std::string fifo = dir.file("fifo");
   ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
   for (const std::string &path : {dir.path(), std::string("/dev/zero"), fifo}) {
      EXPECT_FALSE(IniUtil_GetIniFileString(path.c_str(), "s", "k", buf, sizeof buf)) << path;
      EXPECT_FALSE(IniUtil_WriteIniFileString(path.c_str(), "s", "k", "v", FALSE)) << path;
   }
   EXPECT_STREQ(buf, "keep");
   trtest::WriteFile(dir.file("a.ini"), "[s]\nk=v\n");
   EXPECT_FALSE(IniUtil_GetIniFileString(dir.file("a.ini").c_str(), "s", "k", nullptr, 16));
}

struct IntCase {
   const char *content;
   Bool result;
   int32_t value;
};

void PrintTo(const IntCase &c, std::ostream *os) { *os << c.content; }

class IniReadInt : public ::testing::TestWithParam<IntCase> {};

TEST_P(IniReadInt, ConvertsLikeStrtol) {
   trtest::TempDir dir;
   std::string path = dir.file("int.ini");
   trtest::WriteFile(path, std::string("[s]\n") + GetParam().content);
   int32_t v = 777;
   EXPECT_EQ(IniUtil_GetIniFileInt(path.c_str(), "s", "n", &v), GetParam().result);
   EXPECT_EQ(v, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Cases, IniReadInt,
                         ::testing::Values(IntCase{"n=0\n", TRUE, 0}, IntCase{"n=42\n", TRUE, 42},
                                           IntCase{"n=-7\n", TRUE, -7},
                                           IntCase{"n=12abc\n", TRUE, 12},
                                           IntCase{"n=\"5\"\n", TRUE, 5},
                                           IntCase{"n=abc\n", FALSE, 0},
                                           IntCase{"n=00\n", FALSE, 0},
                                           IntCase{"n=-0\n", FALSE, 0},
                                           IntCase{"other=1\n", FALSE, 0},
                                           IntCase{"n=99999999999\n", TRUE, INT32_MAX},
                                           IntCase{"n=-99999999999\n", TRUE, INT32_MIN}));

TEST(IniReadInt, FailuresLeaveTheOutput) {
   int32_t v = 777;
   EXPECT_FALSE(IniUtil_GetIniFileInt("/nonexistent/x.ini", "s", "n", &v));
   EXPECT_EQ(v, 777);
   trtest::TempDir dir;
   trtest::WriteFile(dir.file("a.ini"), "[s]\nn=1\n");
   EXPECT_FALSE(IniUtil_GetIniFileInt(dir.file("a.ini").c_str(), "s", "n", nullptr));
}

}  // namespace
