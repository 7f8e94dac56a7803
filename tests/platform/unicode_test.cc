// unicode_test.cc --
//
//    UTF-8 to Windows code pages: exact bytes per code page, and no output
//    at all for a text the code page cannot hold.

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <trplatform/unicode.h>

namespace {

TEST(Unicode, ConvertsToTheCodePageOrNotAtAll) {
   const struct {
      StringEncoding encoding;
      const char *utf8;
      const char *expected;  // nullptr: no conversion
   } cases[] = {
      {STRING_ENCODING_WINDOWS_1252, "M\xc3\xbcller \xe2\x82\xac", "M\xfcller \x80"},
      {STRING_ENCODING_WINDOWS_1252, "", ""},
      {STRING_ENCODING_WINDOWS_1252, "\xd0\x98", nullptr},
      {STRING_ENCODING_WINDOWS_1251, "\xd0\x98\xd0\xb2\xd0\xb0\xd0\xbd", "\xc8\xe2\xe0\xed"},
      {STRING_ENCODING_WINDOWS_1251, "M\xc3\xbcller", nullptr},
      {STRING_ENCODING_WINDOWS_932, "\xe5\xb1\xb1\xe7\x94\xb0 ab", "\x8e\x52\x93\x63 ab"},
      {STRING_ENCODING_WINDOWS_932, "\xf0\x9f\x98\x80", nullptr},
      {STRING_ENCODING_WINDOWS_936, "\xe5\xbc\xa0\xe4\xbc\x9f", "\xd5\xc5\xce\xb0"},
      {STRING_ENCODING_WINDOWS_950, "\xe9\x99\xb3", "\xb3\xaf"},
      {STRING_ENCODING_WINDOWS_949, "\xea\xb9\x80", "\xb1\xe8"},
      {STRING_ENCODING_WINDOWS_949, "\xd0\x98\xe0\xb8\x81", nullptr},
      {STRING_ENCODING_WINDOWS_1252, "ab\xff", nullptr},      // not UTF-8
      {STRING_ENCODING_WINDOWS_1252, "ab\xc3", nullptr},      // cut sequence
      {999, "abc", nullptr},
   };
   for (const auto &c : cases) {
      SCOPED_TRACE(std::to_string(c.encoding) + " " + c.utf8);
      char *out = Unicode_GetAllocBytes(c.utf8, c.encoding);
      if (c.expected == nullptr) {
         EXPECT_EQ(out, nullptr);
      } else {
         ASSERT_NE(out, nullptr);
         EXPECT_EQ(std::string(out), c.expected);
      }
      std::free(out);
   }
   EXPECT_EQ(Unicode_GetAllocBytes(nullptr, STRING_ENCODING_WINDOWS_1252), nullptr);
}

TEST(Unicode, EncodingNames) {
   const struct {
      StringEncoding encoding;
      const char *name;
   } cases[] = {
      {35, "windows-1252"}, {34, "windows-1251"}, {27, "CP932"}, {24, "CP936"},
      {22, "CP950"},        {62, "CP949"},        {0, "unknown"},
   };
   for (const auto &c : cases) {
      EXPECT_STREQ(Unicode_EncodingEnumToName(c.encoding), c.name) << c.encoding;
   }
}

}  // namespace
