// keyvalue_test.cc --
//
//    The key=value scanner of the Windows detectors (GuessParseKeyValue) on
//    its own, and the walk over a lang.ini "[Available UI Languages]"
//    section: ties, values that are not integers, missing sections, and
//    lists longer than their fields.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "guessGuest/guessInt.h"
#include "guessGuest/guessWindowsInt.h"

namespace {

struct ParseCase {
   const char *name;
   std::string text;
   bool ok;
   const char *key;    // expected key and value when ok
   const char *value;
};

TEST(GuessParseKeyValue, Table) {
   const ParseCase cases[] = {
      {"plain", "Localization=English", true, "Localization", "English"},
      {"crlf ends value", "Localization=English\r\nServicePackNumber=0\r\n", true,
       "Localization", "English"},
      {"quoted product name", "wks_id = \"Windows XP Professional CD-ROM\"\r\n", true, "wks_id",
       "Windows XP Professional CD-ROM"},
      // The key ends at the first blank after p, even one inside the value.
      {"quoted with blanks inside", "Localization=\"Chinese (Traditional) Hong Kong\"\r\n", true,
       "Localization=\"Chinese", "Chinese (Traditional) Hong Kong"},
      {"blanks at the end stay", "Type=Server  \r\n", true, "Type=Server", "Server  "},
      {"blanks before value skipped", "en-US =    3", true, "en-US", "3"},
      {"tab before value", "k=\t\tv", true, "k", "v"},
      {"tab ends value", "k=a b\tc", true, "k=a", "a b"},
      // Line ends count as white space before a value: the value comes from
      // the next line.
      {"value on next line", "key=\r\nnext=1\r\n", true, "key", "next=1"},
      {"value on next line, lf", "key=\nnext=1", true, "key", "next=1"},
      // The key ends at the first blank after p, wherever it is.
      {"key ends at a blank after =", "a=b c", true, "a=b", "b c"},
      {"key ends at a later line's blank", "k=v\r\nx y", true, "k=v\r\nx", "v"},
      {"empty key", "=v", true, "", "v"},
      {"blank first gives empty key", " k=v", true, "", "v"},
      {"control char ends value", std::string("k=ab\x01" "cd"), true, "k", "ab"},
      {"DEL ends value", "k=ab\x7f" "cd", true, "k", "ab"},
      {"quote ends value", "k=ab\"cd", true, "k", "ab"},
      {"bytes above 127 belong to the value", "k=Fran\xc3\xa7" "ais", true, "k",
       "Fran\xc3\xa7" "ais"},
      {"unterminated quote runs to end", "k=\"abc", true, "k", "abc"},
      {"quote after blanks", "k =  \"  v w \"", true, "k", "  v w "},
      {"no equals", "Localization English", false, nullptr, nullptr},
      {"empty text", "", false, nullptr, nullptr},
      {"equals at end of text", "k=", false, nullptr, nullptr},
      {"only white space after", "k= \r\n\t ", false, nullptr, nullptr},
      {"empty quotes", "k=\"\"", false, nullptr, nullptr},
      {"lone quote at end", "k=\"", false, nullptr, nullptr},
      {"quote then blanks", "k= \"", false, nullptr, nullptr},
      {"control char first", std::string("k=\x02value"), false, nullptr, nullptr},
      {"quote then cr", "k=\"\r\nv\"", false, nullptr, nullptr},
      {"quote then control", std::string("k=\"\x1bv"), false, nullptr, nullptr},
   };
   for (const ParseCase &c : cases) {
      SCOPED_TRACE(c.name);
      char *key = reinterpret_cast<char *>(1);
      char *value = reinterpret_cast<char *>(1);
      Bool ok = GuessParseKeyValue(c.text.c_str(), &key, &value);
      ASSERT_EQ(ok != FALSE, c.ok);
      if (!c.ok) {
         // Outputs untouched on failure.
         EXPECT_EQ(key, reinterpret_cast<char *>(1));
         EXPECT_EQ(value, reinterpret_cast<char *>(1));
         continue;
      }
      EXPECT_STREQ(key, c.key);
      EXPECT_STREQ(value, c.value);
      std::free(key);
      std::free(value);
   }
}

TEST(GuessParseKeyValue, OutputsAreOptional) {
   const char *text = "Localization=German\r\n";
   EXPECT_TRUE(GuessParseKeyValue(text, nullptr, nullptr));
   char *value = nullptr;
   EXPECT_TRUE(GuessParseKeyValue(text, nullptr, &value));
   EXPECT_STREQ(value, "German");
   std::free(value);
   char *key = nullptr;
   EXPECT_TRUE(GuessParseKeyValue(text, &key, nullptr));
   EXPECT_STREQ(key, "Localization");
   std::free(key);
   EXPECT_FALSE(GuessParseKeyValue("x=", nullptr, nullptr));
}

TEST(GuessParseKeyValue, StartsInsideALongerText) {
   // The detectors point p at a key found inside the whole file.
   std::string text = "[Strings]\r\ncdname = \"A\"\r\nwks_id = \"Windows XP Home Edition CD-ROM\"\r\n";
   const char *p = std::strstr(text.c_str(), "wks_id ");
   ASSERT_NE(p, nullptr);
   char *value = nullptr;
   ASSERT_TRUE(GuessParseKeyValue(p, nullptr, &value));
   EXPECT_STREQ(value, "Windows XP Home Edition CD-ROM");
   std::free(value);
}

TEST(GuessParseKeyValue, ValueUpToEndOfLongText) {
   // A value without a terminator runs to the end of the text, whatever its
   // length; nothing past the NUL is read (checked under ASan).
   std::string v(100000, 'x');
   std::string text = "k=" + v;
   auto heap = std::make_unique<char[]>(text.size() + 1);
   std::memcpy(heap.get(), text.c_str(), text.size() + 1);
   char *value = nullptr;
   ASSERT_TRUE(GuessParseKeyValue(heap.get(), nullptr, &value));
   EXPECT_EQ(std::string(value), v);
   std::free(value);
}

// The lang.ini walk on its own.

GuessInfo Cleared() {
   GuessInfo info;
   std::memset(&info, 0, sizeof info);
   return info;
}

std::string Section(const std::string &body) {
   return "[Available UI Languages]\r\n" + body + "\r\n[Fallback Languages]\r\nen-US = en-us\r\n";
}

struct LangCase {
   const char *name;
   std::string text;
   bool copied;            // the walk copied a best language
   const char *language;   // then the field holds it
   const char *languages;  // the list field afterwards ("" when not written)
};

TEST(GuessWindowsLangIni, Table) {
   const LangCase cases[] = {
      {"one language", Section("en-US = 3\r\n"), true, "en-US", "en-US?"},
      {"greatest value wins", Section("en-US = 2\r\nde-DE = 3\r\nfr-FR = 1\r\n"), true, "de-DE",
       "en-US?de-DE?fr-FR?"},
      {"tie: earlier line wins", Section("en-US = 3\r\nde-DE = 3\r\n"), true, "en-US",
       "en-US?de-DE?"},
      {"tie after a lower value", Section("ja-JP = 1\r\nko-KR = 2\r\nzh-CN = 2\r\n"), true,
       "ko-KR", "ja-JP?ko-KR?zh-CN?"},
      {"no blanks around =", Section("en-US=3\r\n"), true, "en-US", "en-US?"},
      {"value with blanks around", Section("en-US =   7  \r\n"), true, "en-US", "en-US?"},
      {"negative values listed but never best", Section("en-US = -1\r\nde-DE = -5\r\n"), false,
       nullptr, "en-US?de-DE?"},
      {"zero beats the start value", Section("en-US = 0\r\n"), true, "en-US", "en-US?"},
      {"empty lines skipped", Section("\r\n\r\nen-US = 1\r\n\r\n\r\nde-DE = 2\r\n"), true,
       "de-DE", "en-US?de-DE?"},
      {"line without = skipped", Section("garbage\r\nen-US = 1\r\n"), true, "en-US", "en-US?"},
      {"line without value skipped", Section("de-DE =\r\nen-US = 1"), true, "en-US",
       // "de-DE =" finds no value on its own line (the line is cut there).
       "en-US?"},
      {"not an integer: list not written", Section("en-US = 1a\r\n"), false, nullptr, ""},
      {"not an integer after a good line: best so far kept",
       Section("en-US = 2\r\nde-DE = x\r\nfr-FR = 9\r\n"), true, "en-US", ""},
      {"out of range is not an integer", Section("en-US = 99999999999\r\n"), false, nullptr, ""},
      {"empty section", Section(""), false, nullptr, ""},
      {"last line ends the section", "[Available UI Languages]\r\nen-US = 3\r\n[Fallback Languages]",
       true, "en-US", "en-US?"},
      {"no section header", "[Fallback Languages]\r\nen-US = en-us\r\n", false, nullptr, ""},
      {"header without crlf", "[Available UI Languages]\nen-US = 3\r\n\r\n[Fallback Languages]\r\n",
       false, nullptr, ""},
      {"no fallback section", "[Available UI Languages]\r\nen-US = 3\r\n", false, nullptr, ""},
      {"fallback without crlf before", "[Available UI Languages]\r\nen-US = 3[Fallback Languages]",
       false, nullptr, ""},
      {"lf-only file", "[Available UI Languages]\nen-US = 3\n\n[Fallback Languages]\n", false,
       nullptr, ""},
      {"empty text", "", false, nullptr, ""},
      {"lines after the section not read",
       Section("en-US = 1\r\n") + "[Available UI Languages]\r\nde-DE = 9\r\n", true, "en-US",
       "en-US?"},
   };
   for (const LangCase &c : cases) {
      SCOPED_TRACE(c.name);
      GuessInfo info = Cleared();
      std::strcpy(info.language, "before");
      Bool copied = GuessWindowsLangIni(c.text.c_str(), &info);
      EXPECT_EQ(copied != FALSE, c.copied);
      EXPECT_STREQ(info.language, c.copied ? c.language : "before");
      EXPECT_STREQ(info.languages, c.languages);
      EXPECT_STREQ(info.editions, "");
   }
}

TEST(GuessWindowsLangIni, LongListIsCutAtTheField) {
   // 300 languages of 6 bytes with "?" each: far more than 1024 bytes.
   std::string body, full;
   for (int i = 0; i < 300; i++) {
      char key[16];
      std::snprintf(key, sizeof key, "l%04d", i);
      body += std::string(key) + " = " + std::to_string(i % 7) + "\r\n";
      full += std::string(key) + "?";
   }
   std::string text = Section(body);
   auto info = std::make_unique<GuessInfo>();  // on the heap, for ASan
   std::memset(info.get(), 0, sizeof *info);
   std::memset(info->editions, 'E', sizeof info->editions - 1);
   ASSERT_TRUE(GuessWindowsLangIni(text.c_str(), info.get()));
   EXPECT_STREQ(info->language, "l0006");
   EXPECT_EQ(std::strlen(info->languages), sizeof info->languages - 1);
   EXPECT_EQ(std::string(info->languages), full.substr(0, sizeof info->languages - 1));
   // The next field is untouched.
   EXPECT_EQ(std::string(info->editions), std::string(sizeof info->editions - 1, 'E'));
}

TEST(GuessWindowsLangIni, LongKeyIsCutAtTheField) {
   std::string key(3000, 'k');
   std::string text = Section(key + " = 5\r\n");
   auto info = std::make_unique<GuessInfo>();
   std::memset(info.get(), 0, sizeof *info);
   ASSERT_TRUE(GuessWindowsLangIni(text.c_str(), info.get()));
   EXPECT_EQ(std::string(info->language), key.substr(0, sizeof info->language - 1));
   EXPECT_EQ(std::string(info->languages), key.substr(0, sizeof info->languages - 1));
   EXPECT_STREQ(info->editions, "");
}

TEST(GuessWindowsNTPieces, LocalizationIsBounded) {
   std::string lang(5000, 'L');
   std::string text = "[Product Specification]\r\nLocalization=" + lang + "\r\n";
   auto info = std::make_unique<GuessInfo>();
   std::memset(info.get(), 0, sizeof *info);
   ASSERT_TRUE(GuessWindowsNTLocalization(text.c_str(), info.get()));
   EXPECT_EQ(std::string(info->language), lang.substr(0, sizeof info->language - 1));
   EXPECT_STREQ(info->languages, "");

   GuessInfo other = Cleared();
   std::strcpy(other.language, "kept");
   EXPECT_FALSE(GuessWindowsNTLocalization("Localization=\r\n", &other));
   EXPECT_FALSE(GuessWindowsNTLocalization("localization=German\r\n", &other));
   EXPECT_STREQ(other.language, "kept");
}

}  // namespace
