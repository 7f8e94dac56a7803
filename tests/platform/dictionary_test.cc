// dictionary_test.cc --
//
//    The dictionary syntax (good and bad lines with their exact messages),
//    escapes, encodings, order, typed lookups and writing back.

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/dictionary.h>
#include <trplatform/msg.h>

#include "testsupport.hh"

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

void Collect(const char *name, const char *value, void *, void *clientData) {
   static_cast<Entries *>(clientData)->emplace_back(name, value);
}

Entries All(Dictionary *d) {
   Entries out;
   EXPECT_EQ(Dictionary_Iterate(d, Collect, &out, TRUE), Dictionary_NumberOfEntries(d));
   return out;
}

struct ParseCase {
   const char *name;
   const char *text;
   Entries entries;      // when the text is good
   const char *message;  // when it is not
};

void PrintTo(const ParseCase &c, std::ostream *os) { *os << c.name; }

class DictionaryParse : public ::testing::TestWithParam<ParseCase> {};

TEST_P(DictionaryParse, EntriesOrMessage) {
   const ParseCase &c = GetParam();
   Dictionary *d = Dictionary_Create();
   Dictionary_LoadFromBuffer(d, "previous = \"kept\"\n", 0);
   Msg_Reset();
   Bool ok = Dictionary_LoadFromBuffer(d, c.text, 0);
   if (c.message == nullptr) {
      EXPECT_TRUE(ok);
      EXPECT_EQ(All(d), c.entries);
      EXPECT_STREQ(Msg_GetMessagesAndReset(), "");
   } else {
      EXPECT_FALSE(ok);
      EXPECT_STREQ(Msg_GetMessagesAndReset(), c.message);
      // A text with an error loads nothing.
      EXPECT_EQ(All(d), (Entries{{"previous", "kept"}}));
   }
   Dictionary_Free(d);
}

const ParseCase kParseCases[] = {
   {"manifest",
    "# tools manifest\n\nmonolithic.version = \"9.4.5\"\n  tools.installed=TRUE  # yes\n",
    {{"monolithic.version", "9.4.5"}, {"tools.installed", "TRUE"}}, nullptr},
   {"escapes", "a = \"q\\\"b\\\\s\\|p|0Anl|41\"\n", {{"a", "q\"b\\s|p\nnlA"}}, nullptr},
   {"emptyValue", "a = \"\"\n", {{"a", ""}}, nullptr},
   {"encodingKept", ".encoding = \"UTF-8\"\nx = \"\xc3\xa4\"\n",
    {{".encoding", "UTF-8"}, {"x", "\xc3\xa4"}}, nullptr},
   {"latin1Converted", ".encoding = \"ISO-8859-1\"\nx = \"\xe4\"\n",
    {{".encoding", "ISO-8859-1"}, {"x", "\xc3\xa4"}}, nullptr},
   {"repeatedNameKeepsPlace", "a = \"1\"\nb = \"2\"\nA = \"3\"\n", {{"a", "3"}, {"b", "2"}},
    nullptr},
   {"crlfAndNoFinalNewline", "a = \"1\"\r\nb = 2", {{"a", "1"}, {"b", "2"}}, nullptr},
   {"missingEquals", "a = \"1\"\nb \"2\"\n", {}, "Syntax error in buffer, line 2: missing \"=\""},
   {"missingValue", "a =\n", {}, "Syntax error in buffer, line 1: missing value"},
   {"unterminated", "\n\na = \"abc\n", {}, "Syntax error in buffer, line 3: unterminated quoted value"},
   {"badEscape", "a = \"\\n\"\n", {}, "Syntax error in buffer, line 1: bad escape"},
   {"badHexEscape", "a = \"|4G\"\n", {}, "Syntax error in buffer, line 1: bad escape"},
   {"nulEscape", "a = \"|00\"\n", {}, "Syntax error in buffer, line 1: bad escape"},
   {"trailingText", "a = \"1\" b\n", {}, "Syntax error in buffer, line 1: unexpected text after the value"},
   {"missingName", "= \"1\"\n", {}, "Syntax error in buffer, line 1: missing name"},
   {"unknownEncoding", ".encoding = \"NO-SUCH-SET\"\n", {},
    "Unknown encoding \"NO-SUCH-SET\" in buffer"},
   {"windows1252Converted", ".encoding = \"Windows-1252\"\nx = \"\x80\"\n",
    {{".encoding", "Windows-1252"}, {"x", "\xe2\x82\xac"}}, nullptr},
   // Character sets outside the fixed list are refused although iconv
   // knows them.
   {"encodingOutsideTheList", ".encoding = \"UTF-7\"\n", {},
    "Unknown encoding \"UTF-7\" in buffer"},
   {"encodingNumberOutsideTheList", ".encoding = \"ISO-8859-01\"\n", {},
    "Unknown encoding \"ISO-8859-01\" in buffer"},
};

INSTANTIATE_TEST_SUITE_P(Cases, DictionaryParse, ::testing::ValuesIn(kParseCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(DictionaryFile, LoadErrorsNameTheFile) {
   trtest::TempDir dir;
   std::string path = dir.file("vm.trx");
   trtest::WriteFile(path, "guestOS = \"ubuntu\"\nbroken line\n");
   Dictionary *d = Dictionary_Create();
   Msg_Reset();
   EXPECT_FALSE(Dictionary_Load(d, path.c_str()));
   EXPECT_EQ(std::string(Msg_GetMessagesAndReset()),
             "Syntax error in " + path + ", line 2: missing \"=\"");
   EXPECT_FALSE(Dictionary_Load(d, dir.file("missing.trx").c_str()));
   EXPECT_EQ(std::string(Msg_GetMessagesAndReset()),
             "Cannot open " + dir.file("missing.trx") + ": No such file or directory");
   // Only regular files are read: a FIFO would block, a device never end.
   std::string fifo = dir.file("fifo");
   ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
   for (const std::string &p : {dir.path(), std::string("/dev/zero"), fifo}) {
      EXPECT_FALSE(Dictionary_Load(d, p.c_str()));
      EXPECT_EQ(std::string(Msg_GetMessagesAndReset()), "Cannot open " + p + ": not a regular file");
   }
   Dictionary_Free(d);
}

TEST(DictionaryFile, WriteRoundTripsAndKeepsTheMode) {
   trtest::TempDir dir;
   std::string path = dir.file("out.trx");
   trtest::WriteFile(path, "old = 1\n");
   ASSERT_EQ(chmod(path.c_str(), 0600), 0);
   Dictionary *d = Dictionary_Create();
   Dict_SetString(d, "a \"quoted\" \\ | value\n\ttab", "%s.%s", "tools", "version");
   Dict_SetBool(d, TRUE, "tools.installed");
   Dict_SetLong(d, -12, "virtualHW.version");
   std::string everyByte;
   for (int c = 1; c < 256; c++) {
      everyByte.push_back(static_cast<char>(c));
   }
   Dict_SetString(d, everyByte.c_str(), "bytes");
   Dict_SetString(d, " # lead and trail ", "blanks");
   ASSERT_TRUE(Dictionary_Write(d, path.c_str()));
   struct stat st;
   ASSERT_EQ(stat(path.c_str(), &st), 0);
   EXPECT_EQ(st.st_mode & 07777, 0600u);
   Dictionary *e = Dictionary_Create();
   ASSERT_TRUE(Dictionary_Load(e, path.c_str()));
   EXPECT_EQ(All(e), All(d));
   Dict_Unset(e, "TOOLS.installed");
   EXPECT_FALSE(Dictionary_IsDefined(e, "tools.installed"));
   Dictionary_Free(d);
   Dictionary_Free(e);
}

// A name that the syntax cannot hold is refused, and the file stays as it
// was: writing it would make a file that no longer loads.
TEST(DictionaryFile, WriteRefusesNamesThatDoNotLoadBack) {
   trtest::TempDir dir;
   std::string path = dir.file("out.trx");
   trtest::WriteFile(path, "old = 1\n");
   for (const char *name : {"a b", "a\nb = 2", "a=b", "a\"", "#a", "a\tb", ""}) {
      Dictionary *d = Dictionary_Create();
      Dict_SetString(d, "v", "%s", name);
      Msg_Reset();
      EXPECT_FALSE(Dictionary_Write(d, path.c_str())) << name;
      EXPECT_EQ(std::string(Msg_GetMessagesAndReset()),
                "Cannot write " + path + ": the entry name \"" + name + "\" cannot be read back");
      EXPECT_EQ(trtest::ReadFile(path), "old = 1\n");
      Dictionary_Free(d);
   }
   // A value longer than a line may be is refused the same way.
   Dictionary *d = Dictionary_Create();
   Dict_SetString(d, std::string(70000, 'x').c_str(), "long");
   EXPECT_FALSE(Dictionary_Write(d, path.c_str()));
   EXPECT_EQ(std::string(Msg_GetMessagesAndReset()),
             "Cannot write " + path + ": the entries would not load back");
   EXPECT_EQ(trtest::ReadFile(path), "old = 1\n");
   Dictionary_Free(d);
}

TEST(DictionaryFile, WrittenTextIsUtf8WhateverItWasLoadedFrom) {
   trtest::TempDir dir;
   std::string path = dir.file("latin1.trx");
   Dictionary *d = Dictionary_Create();
   ASSERT_TRUE(Dictionary_LoadFromBuffer(d, ".encoding = \"ISO-8859-1\"\nname = \"J\xf6rg\"\n", 0));
   ASSERT_TRUE(Dictionary_Write(d, path.c_str()));
   EXPECT_EQ(trtest::ReadFile(path), ".encoding = \"UTF-8\"\nname = \"J\xc3\xb6rg\"\n");
   Dictionary *e = Dictionary_Create();
   ASSERT_TRUE(Dictionary_Load(e, path.c_str()));
   char *name = Dict_GetString(e, nullptr, "name");
   EXPECT_STREQ(name, "J\xc3\xb6rg");
   std::free(name);
   Dictionary_Free(d);
   Dictionary_Free(e);
}

TEST(DictionaryGet, TypedValues) {
   Dictionary *d = Dictionary_Create();
   ASSERT_TRUE(Dictionary_LoadFromBuffer(d,
                                         "virtualHW.version = \"9\"\nbad = \"9x\"\n"
                                         "flag = \"yes\"\nlibdir = \"/opt/x\"\n",
                                         0));
   const int32_t fallback = -1;
   const void *v = Dictionary_Get(d, &fallback, DICT_LONG, "VIRTUALHW.VERSION");
   ASSERT_NE(v, &fallback);
   EXPECT_EQ(*static_cast<const int32_t *>(v), 9);
   EXPECT_EQ(Dictionary_Get(d, &fallback, DICT_LONG, "bad"), &fallback);
   EXPECT_EQ(Dictionary_Get(d, nullptr, DICT_LONG, "absent"), nullptr);
   EXPECT_TRUE(Dict_GetBool(d, FALSE, "flag"));
   EXPECT_EQ(Dict_GetLong(d, 5, "bad"), 5);
   char *s = Dict_GetString(d, "/usr/lib/tarvel", "libdir");
   EXPECT_STREQ(s, "/opt/x");
   std::free(s);
   s = Dict_GetString(d, "/usr/lib/tarvel", "no.such");
   EXPECT_STREQ(s, "/usr/lib/tarvel");
   std::free(s);
   EXPECT_EQ(Dict_GetString(d, nullptr, "no.such"), nullptr);
   // A changed entry converts afresh.
   Dict_SetString(d, "10", "virtualHW.version");
   EXPECT_EQ(*static_cast<const int32_t *>(Dictionary_Get(d, &fallback, DICT_LONG,
                                                          "virtualHW.version")),
             10);
   Dictionary_Free(d);
}

TEST(DictionaryBool, Words) {
   struct {
      const char *text;
      Bool fallback, expected;
   } cases[] = {{"TRUE", 0, 1},  {"true", 0, 1},  {" Yes ", 0, 1}, {"1", 0, 1},
                {"FALSE", 1, 0}, {"No", 1, 0},    {"0", 1, 0},     {"maybe", 1, 1},
                {"maybe", 0, 0}, {"", 1, 1},      {"10", 0, 0}};
   for (const auto &c : cases) {
      EXPECT_EQ(Dictionary_StringToBool(c.text, c.fallback), c.expected) << c.text;
   }
}

}  // namespace
