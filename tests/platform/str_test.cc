// str_test.cc --
//
//    Bounded copies and formatting never write past the buffer, and the
//    token and number readers that the detectors depend on.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "testsupport.hh"

namespace {

// A buffer of `size` bytes between canary bytes that must stay untouched.
struct Guarded {
   explicit Guarded(size_t n) : size(n), raw(n + 16, '#') {}
   char *buf() { return raw.data() + 8; }
   bool intact() const {
      for (size_t i = 0; i < 8; i++) {
         if (raw[i] != '#' || raw[8 + size + i] != '#') return false;
      }
      return true;
   }
   size_t size;
   std::string raw;
};

struct CopyCase {
   size_t size;
   const char *before;  // for Strcat: existing text
   const char *src;
   const char *expected;
};

TEST(StrBounded, StrcpyCutsAndTerminates) {
   const CopyCase cases[] = {
      {8, "", "short", "short"},
      {6, "", "exactly", "exact"},
      {1, "", "abc", ""},
      {512, "", "Windows 7 PROFESSIONAL?", "Windows 7 PROFESSIONAL?"},
   };
   for (const auto &c : cases) {
      Guarded g(c.size);
      Str_Strcpy(g.buf(), c.src, c.size);
      EXPECT_STREQ(g.buf(), c.expected);
      EXPECT_TRUE(g.intact()) << c.src;
   }
}

TEST(StrBounded, StrcatCutsAndTerminates) {
   const CopyCase cases[] = {
      {16, "en-US?", "de-DE?", "en-US?de-DE?"},
      {10, "en-US?", "de-DE?", "en-US?de-"},
      {7, "en-US?", "x", "en-US?"},
   };
   for (const auto &c : cases) {
      Guarded g(c.size);
      std::strcpy(g.buf(), c.before);
      Str_Strcat(g.buf(), c.src, c.size);
      EXPECT_STREQ(g.buf(), c.expected);
      EXPECT_TRUE(g.intact());
   }
}

TEST(StrBounded, FormattersReportCutting) {
   Guarded g(8);
   EXPECT_EQ(Str_Snprintf(g.buf(), 8, "%s", "1234567"), 7);
   EXPECT_EQ(Str_Snprintf(g.buf(), 8, "%s%s", "Server ", "10.04.4"), -1);
   EXPECT_STREQ(g.buf(), "Server ");
   EXPECT_EQ(Str_Sprintf(g.buf(), 8, "%d-%d", 12345, 6789), 7);
   EXPECT_STREQ(g.buf(), "12345-6");
   EXPECT_TRUE(g.intact());

   size_t len = 0;
   char *s = Str_Asprintf(&len, "%s=%d", "k", 42);
   EXPECT_STREQ(s, "k=42");
   EXPECT_EQ(len, 4u);
   std::free(s);
   s = Str_SafeAsprintf(nullptr, "%s %s", "Ubuntu", "Server 8.04");
   EXPECT_STREQ(s, "Ubuntu Server 8.04");
   std::free(s);
}

TEST(StrCase, ConvertsAsciiInPlace) {
   char s[] = "I386/txtSetup.sif\xc3\xa9";
   EXPECT_EQ(Str_ToUpper(s), s);
   EXPECT_STREQ(s, "I386/TXTSETUP.SIF\xc3\xa9");
   Str_ToLower(s);
   EXPECT_STREQ(s, "i386/txtsetup.sif\xc3\xa9");
}

TEST(StrUtilTokens, SplitsAtAnyDelimiterSkippingLeadingOnes) {
   const char *text = "Ubuntu 10.04.4 LTS \"Lucid Lynx\" - Release i386 (20120214.2)";
   unsigned int index = 0;
   char *t1 = StrUtil_GetNextToken(&index, text, " ");
   char *t2 = StrUtil_GetNextToken(&index, text, " ");
   EXPECT_STREQ(t1, "Ubuntu");
   EXPECT_STREQ(t2, "10.04.4");
   std::free(t1);
   std::free(t2);

   const char *discinfo = "1273712438.740122\n\nCentOS 5.5\nx86_64\n";
   index = 0;
   const char *expected[] = {"1273712438.740122", "CentOS 5.5", "x86_64"};
   for (const char *e : expected) {
      char *t = StrUtil_GetNextToken(&index, discinfo, "\n");
      EXPECT_STREQ(t, e);
      std::free(t);
   }
   EXPECT_EQ(StrUtil_GetNextToken(&index, discinfo, "\n"), nullptr);
   EXPECT_EQ(StrUtil_GetNextToken(&index, discinfo, "\n"), nullptr);
   index = 0;
   EXPECT_EQ(StrUtil_GetNextToken(&index, "", " "), nullptr);
   EXPECT_EQ(StrUtil_GetNextToken(&index, "   ", " "), nullptr);
}

// A marker file from an image can be large: walking all of its lines must
// take time in proportion to its size (measuring the whole text on every
// call made this walk run for hours).
TEST(StrUtilTokens, WalkOverALargeTextIsLinear) {
   std::string text;
   for (int i = 0; i < 1'000'000; i++) {
      text += "KEY value\n";
   }
   unsigned int index = 0;
   int lines = 0;
   char *t;
   while ((t = StrUtil_GetNextToken(&index, text.c_str(), "\n")) != nullptr) {
      lines += std::strcmp(t, "KEY value") == 0 ? 1 : 0;
      std::free(t);
   }
   EXPECT_EQ(lines, 1'000'000);
   EXPECT_EQ(index, text.size());
}

TEST(StrUtilTokens, IntTokenTakesTheLeadingNumber) {
   // The SUSE "content" file: VERSION 11.1 followed by more lines.
   const char *text = "VERSION 11.1\nBASEARCHS x86_64\nNAME x.y\n";
   unsigned int index = 7;
   int32_t major = 0, minor = -1;
   EXPECT_TRUE(StrUtil_GetNextIntToken(&major, &index, text, "."));
   EXPECT_EQ(major, 11);
   EXPECT_FALSE(StrUtil_GetNextIntToken(&minor, &index, text, "."));
   EXPECT_EQ(minor, 1);

   struct {
      const char *text;
      Bool result;
      int32_t value;
   } cases[] = {
      {" 11", TRUE, 11},      {"1\nBASEARCHS x86_64\n", FALSE, 1},
      {"-3", TRUE, -3},       {"10-0 x", FALSE, 10},
      {"abc", FALSE, 77},     {"", FALSE, 77},
      {"99999999999", TRUE, INT32_MAX},
   };
   for (const auto &c : cases) {
      unsigned int i = 0;
      int32_t v = 77;
      EXPECT_EQ(StrUtil_GetNextIntToken(&v, &i, c.text, "."), c.result) << c.text;
      EXPECT_EQ(v, c.value) << c.text;
   }
}

TEST(StrUtilNumbers, WholeTextConversions) {
   struct {
      const char *text;
      Bool ok;
      int32_t value;
   } ints[] = {{"3", TRUE, 3},       {" 3 ", TRUE, 3},   {"-17", TRUE, -17}, {"1a", FALSE, 0},
               {"", FALSE, 0},       {"  ", FALSE, 0},   {"+5", TRUE, 5},
               {"2147483647", TRUE, INT32_MAX}, {"2147483648", FALSE, 0}};
   for (const auto &c : ints) {
      int32_t v = 0;
      EXPECT_EQ(StrUtil_StrToInt(&v, c.text), c.ok) << c.text;
      if (c.ok) {
         EXPECT_EQ(v, c.value) << c.text;
      }
   }
   uint32_t u = 0;
   EXPECT_TRUE(StrUtil_StrToUint(&u, "9349"));
   EXPECT_EQ(u, 9349u);
   EXPECT_TRUE(StrUtil_StrToUint(&u, "4294967295"));
   EXPECT_FALSE(StrUtil_StrToUint(&u, "4294967296"));
   EXPECT_FALSE(StrUtil_StrToUint(&u, "-1"));
   EXPECT_FALSE(StrUtil_StrToUint(&u, "12 34"));
}

TEST(StrUtilNumbers, DecimalStrToUintMovesTheCursor) {
   const char *text = "9.4.5#4";
   const char *p = text;
   unsigned v = 0;
   ASSERT_TRUE(StrUtil_DecimalStrToUint(&v, &p));
   EXPECT_EQ(v, 9u);
   EXPECT_EQ(p, text + 1);
   const char *bad[] = {"", ".5", " 5", "-5", "4294967296"};
   for (const char *b : bad) {
      const char *q = b;
      v = 7;
      EXPECT_FALSE(StrUtil_DecimalStrToUint(&v, &q)) << b;
      EXPECT_EQ(q, b);
      EXPECT_EQ(v, 7u);
   }
}

TEST(StrUtilAffixes, CaseSensitiveAndCaseless) {
   EXPECT_TRUE(StrUtil_StartsWith("Red Hat Enterprise Linux 6.2", "Red Hat Enterprise Linux 6"));
   EXPECT_FALSE(StrUtil_StartsWith("TURBOLINUX", "Turbolinux"));
   EXPECT_TRUE(StrUtil_StartsWith("x", ""));
   EXPECT_TRUE(StrUtil_CaselessStartsWith("INSTALL_Windows 7 ULTIMATE.clg", "install_windows 7"));
   EXPECT_FALSE(StrUtil_CaselessStartsWith("inst", "install"));
   EXPECT_TRUE(StrUtil_EndsWith("install_x.clg", ".clg"));
   EXPECT_FALSE(StrUtil_EndsWith("install_x.CLG", ".clg"));
   EXPECT_TRUE(StrUtil_CaselessEndsWith("install_x.CLG", ".clg"));
   EXPECT_FALSE(StrUtil_EndsWith("g", ".clg"));
}

TEST(UtilCompareDotted, OrdersNumericallyPartByPart) {
   struct {
      const char *a, *b;
      int sign;
   } cases[] = {
      {"8.04.1", "8.10", -1}, {"8.10", "8.10", 0},      {"8.10.0", "8.10", 0},
      {"10.04.4", "7.10", 1}, {"7.04", "7.10", -1},     {"7.10", "7.10", 0},
      {"2009.0", "2008.1", 1}, {"2008.0", "2008.1", -1}, {"10", "9", 1},
      {"", "0", 0},            {"1.2", "1.10", -1},     {"7.10-rc", "7.10", 0},
   };
   for (const auto &c : cases) {
      int r = Util_CompareDotted(c.a, c.b);
      EXPECT_EQ((r > 0) - (r < 0), c.sign) << c.a << " vs " << c.b;
   }
}

TEST(UtilSafe, DuplicatesAndZeroFills) {
   char *s = UtilSafeStrndup0("abcdef", 3);
   EXPECT_STREQ(s, "abc");
   std::free(s);
   EXPECT_EQ(UtilSafeStrdup0(nullptr), nullptr);
   unsigned char *p = static_cast<unsigned char *>(UtilSafeMalloc0(64));
   for (int i = 0; i < 64; i++) EXPECT_EQ(p[i], 0);
   std::free(p);
   EXPECT_NE(Util_GetCurrentThreadId(), 0u);
}

// The safe allocators never hand back NULL: an allocation that cannot be
// had stops the process with a log line.
TEST(UtilSafeDeathTest, ExhaustionStopsTheProcessWithALine) {
#ifdef __SANITIZE_ADDRESS__
   GTEST_SKIP() << "the address sanitizer stops impossible allocations itself";
#endif
   using Allocation = void (*)();
   const Allocation allocations[] = {
      [] { std::free(UtilSafeMalloc0(SIZE_MAX - 4096)); },
      [] { std::free(UtilSafeCalloc0(SIZE_MAX / 2, 4)); },
      [] { std::free(UtilSafeRealloc0(nullptr, SIZE_MAX - 4096)); },
   };
   for (Allocation allocate : allocations) {
      trtest::TempDir dir;
      std::string path = dir.file("panic.log");
      EXPECT_DEATH(
         {
            setenv("TRGUEST_LOG", path.c_str(), 1);
            allocate();
         },
         "");
      EXPECT_EQ(trtest::ReadFile(path).rfind("Unrecoverable memory allocation failure", 0), 0u);
   }
}

}  // namespace
