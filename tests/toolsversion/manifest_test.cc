// manifest_test.cc --
//
//    Tools manifests: version texts, entries of the three file kinds with
//    every fault and its log line, and manifest files with debug switches.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testsupport.hh"
#include "tools_support.hh"

namespace {

using trtest::DumpTable;
using trtest::TableHolder;
using trtest::VersionText;

struct ParseCase {
   const char *text;
   bool ok;
   ToolsVersionNumber expected;
   size_t consumed;
};

TEST(ToolsVersionText, Parse) {
   const ParseCase cases[] = {
      {"8.6", true, {3, {8, 6, 0, 0}}, 3},
      {"9.4.5.1000#4", true, {4, {9, 4, 5, 1000}}, 12},
      {"7.0.0.0#9", true, {4, {7, 0, 0, 0}}, 9},
      {"1.2#0", true, {0, {1, 2, 0, 0}}, 5},
      {"1.2.3.4.5", true, {3, {1, 2, 3, 4}}, 9},
      {"1.2.3.4#2", true, {2, {1, 2, 3, 4}}, 9},
      {"1.2 beta", true, {3, {1, 2, 0, 0}}, 3},
      {"1,2", true, {3, {1, 0, 0, 0}}, 1},
      {"4294967295", true, {3, {4294967295u, 0, 0, 0}}, 10},
      // Not versions: nothing read, significantParts untouched.
      {"", false, {}, 0},
      {"x1", false, {}, 0},
      {" 1", false, {}, 0},
      {"+1", false, {}, 0},
      {"-1", false, {}, 0},
      {"1.", false, {}, 0},
      {"1. 2", false, {}, 0},
      {"1#", false, {}, 0},
      {"1#-4", false, {}, 0},
      {"4294967296", false, {}, 0},
      {"1.123456789012", false, {}, 0},
   };
   for (const ParseCase &c : cases) {
      ToolsVersionNumber v = {77, {9, 9, 9, 9}};
      const char *end = ParseToolsVersion(c.text, &v);
      if (!c.ok) {
         EXPECT_EQ(end, nullptr) << c.text;
         EXPECT_EQ(v.significantParts, 77u) << c.text;
         continue;
      }
      ASSERT_NE(end, nullptr) << c.text;
      EXPECT_EQ(static_cast<size_t>(end - c.text), c.consumed) << c.text;
      EXPECT_EQ(v.significantParts, c.expected.significantParts) << c.text;
      for (int i = 0; i < 4; i++) {
         EXPECT_EQ(v.parts[i], c.expected.parts[i]) << c.text << " part " << i;
      }
   }
}

TEST(ToolsVersionText, Format) {
   const struct {
      ToolsVersionNumber v;
      Bool alwaysWrite;
      const char *text;
   } cases[] = {
      {{3, {1, 2, 3, 4}}, FALSE, "1.2.3.4"},
      {{4, {9, 4, 5, 1000}}, FALSE, "9.4.5.1000#4"},
      {{1, {8, 0, 0, 0}}, TRUE, "8.0.0.0#1"},
      {{0, {1, 2, 0, 0}}, FALSE, ""},
      {{0, {1, 2, 0, 0}}, TRUE, "1.2.0.0#0"},
      {{3, {4294967295u, 0, 0, 0}}, FALSE, "4294967295.0.0.0"},
   };
   for (const auto &c : cases) {
      EXPECT_EQ(VersionText(c.v, c.alwaysWrite), c.text);
   }
}

struct EntryCase {
   const char *name;
   ManifestKind kind;
   std::vector<std::pair<const char *, const char *>> entries;   // in the order offered
   std::vector<std::string> rows;                                // the table afterwards
   std::vector<std::string> faults;                              // "fault: name = value"
   const char *flags = "c0 r0";
};

void PrintTo(const EntryCase &c, std::ostream *os) { *os << c.name; }

class ManifestEntries : public ::testing::TestWithParam<EntryCase> {};

TEST_P(ManifestEntries, FileIntoTheTable) {
   const EntryCase &c = GetParam();
   TableHolder t;
   ManifestDebugFlags flags = {FALSE, FALSE};
   ManifestParseContext ctx = {t.table, c.kind, c.kind == MANIFEST_GUEST ? nullptr : &flags};
   trtest::LogCapture log;
   for (const auto &[name, value] : c.entries) {
      AddManifestEntry(name, value, nullptr, &ctx);
   }
   EXPECT_EQ(DumpTable(t.table), c.rows);
   std::vector<std::string> expectedLog;
   if (c.kind != MANIFEST_GUEST) {
      for (const std::string &f : c.faults) {
         expectedLog.push_back("ToolsVersion: " + f);
      }
   }
   EXPECT_EQ(log.lines(), expectedLog);
   EXPECT_EQ(std::string("c") + char('0' + flags.componentsLog) + " r" +
                char('0' + flags.resultLog),
             c.flags);
}

const EntryCase kEntryCases[] = {
   {"versionForms", MANIFEST_HOST,
    {{"a.version", "1.2.3.4.5"}, {"b.version", "9.4.5.1000#4"}, {"c.version", "7.0.0.0#9"},
     {"d.version", "1.2#0"}, {"e.VERSION", "8.6 \t"}},
    {"a: h=1.2.3.4", "b: h=9.4.5.1000#4", "c: h=7.0.0.0#4", "d:", "e: h=8.6.0.0"},
    {}},
   {"trailingTextKeepsWhatWasRead", MANIFEST_HOST,
    {{"tools.version", "1.2.3 beta"}, {"big.version", "1.123456789012"}},
    {"tools: h=1.2.3.0", "big:"},
    {"Cannot parse version: tools.version = 1.2.3 beta",
     "Cannot parse version: big.version = 1.123456789012"}},
   {"secondVersionIgnored", MANIFEST_HOST,
    {{"a.version", "1.0"}, {"A.Version", "2.0"}},
    {"a: h=1.0.0.0"},
    {"Multiple identical entries: A.Version = 2.0"}},
   {"absentVersionTakesALaterOne", MANIFEST_AVR,
    {{"a.version", "1#0"}, {"a.version", "2"}, {"a.version_max", "1.2#0"}, {"a.version_max", "3"}},
    {"a: min=2.0.0.0 max=3.0.0.0"},
    {}},
   {"blacklists", MANIFEST_AVR,
    {{"a.version_illegal", "1.0.0,2.0.0 ,3.0.0#2"},
     {"a.version_illegal", "4"},
     {"b.version_illegal", "1.0.0,oops"},
     {"c.version_illegal", "1.0, 2.0"},
     {"d.version_illegal", "1.0;"},
     {"e.version_illegal", "1.2#0"},
     {"f.version_illegal", ""}},
    {"a: ill=1.0.0.0,2.0.0.0,3.0.0.0#2,4.0.0.0", "b: ill=1.0.0.0", "c: ill=1.0.0.0",
     "d: ill=1.0.0.0", "e: ill=1.2.0.0#0", "f:"},
    {"Cannot parse illegal version: b.version_illegal = 1.0.0,oops",
     "Cannot parse illegal version: c.version_illegal = 1.0, 2.0",
     "Cannot parse illegal version: d.version_illegal = 1.0;",
     "Cannot parse illegal version: f.version_illegal = "}},
   {"names", MANIFEST_HOST,
    {{"nodot", "1"}, {".encoding", "UTF-8"}, {"foo.bar.version", "1"}, {".version", "2"},
     {"x.versions", "1"}, {"x.", "1"}},
    {"foo.bar: h=1.0.0.0", ": h=2.0.0.0"},
    {"No '.' in the name: nodot = 1", "Unknown entry: .encoding = UTF-8",
     "Unknown entry: x.versions = 1", "Unknown entry: x. = 1"}},
   {"hostRejectsOtherKindsEntries", MANIFEST_HOST,
    {{"tools.version_max", "1"}, {"tools.version_illegal", "1"}, {"tools.installed", "TRUE"}},
    {},
    {"Maximum version in non-AVR file: tools.version_max = 1",
     "Illegal version in non-AVR file: tools.version_illegal = 1",
     "Installed flag in non-guest file: tools.installed = TRUE"}},
   {"avrBounds", MANIFEST_AVR,
    {{"x.version", "1.0"}, {"x.Version_Max", "2.0#2"}, {"x.installed", "TRUE"}},
    {"x: min=1.0.0.0 max=2.0.0.0#2"},
    {"Installed flag in non-guest file: x.installed = TRUE"}},
   {"guestFaultsAreSilent", MANIFEST_GUEST,
    {{"tools.version", "junk"}, {"tools.version_max", "1"}, {"nodot", "1"},
     {"components.log", "TRUE"}, {"x.version", "8.6"}, {"x.installed", "yes"},
     {"y.installed", "yes"}, {"y.installed", "maybe"}},
    {"tools:", "x: g=8.6.0.0 i", "y:"},
    {}},
   {"debugSwitches", MANIFEST_HOST,
    {{"Components.LOG", "TRUE"}, {"result.log", "yes"}, {"result.log", "0"}, {"x.log", "1"}},
    {},
    {"Unknown debug entry: x.log = 1"},
    "c1 r0"},
   {"avrSetsDebugSwitches", MANIFEST_AVR,
    {{"result.log", "1"}},
    {},
    {},
    "c0 r1"},
};

INSTANTIATE_TEST_SUITE_P(Kinds, ManifestEntries, ::testing::ValuesIn(kEntryCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(ManifestFile, LoadsEveryEntryAndTheDebugSwitches) {
   trtest::TempDir dir;
   std::string path = dir.file("manifest.txt");
   trtest::WriteFile(path,
                     "components.log = \"TRUE\"\n"
                     "a.version = \"1.2.3.4.5\"\n"
                     "b.version = \"9.4.5.1000#4\"\n"
                     "c.version = \"7.0.0.0#9\"\n"
                     "d.version = \"1.2#0\"\n"
                     "e.version = \"1.2.3 beta\"\n");
   TableHolder t;
   ManifestDebugFlags flags = {FALSE, FALSE};
   trtest::LogCapture log;
   EXPECT_TRUE(LoadManifestFile(t.table, &flags, MANIFEST_HOST, path.c_str()));
   EXPECT_EQ(DumpTable(t.table),
             (std::vector<std::string>{"a: h=1.2.3.4", "b: h=9.4.5.1000#4", "c: h=7.0.0.0#4", "d:",
                                       "e: h=1.2.3.0"}));
   EXPECT_TRUE(flags.componentsLog);
   EXPECT_FALSE(flags.resultLog);
   EXPECT_EQ(log.lines(), std::vector<std::string>{
                             "ToolsVersion: Cannot parse version: e.version = 1.2.3 beta"});
}

TEST(ManifestFile, UnreadableFileIsReported) {
   trtest::TempDir dir;
   std::string bad = dir.file("bad.txt");
   trtest::WriteFile(bad, "a.version = \"1\n");
   const std::string missing = dir.file("missing.txt");
   for (const std::string &path : {missing, bad}) {
      TableHolder t;
      trtest::LogCapture log;
      EXPECT_FALSE(LoadManifestFile(t.table, nullptr, MANIFEST_AVR, path.c_str()));
      ASSERT_EQ(log.lines().size(), 1u) << path;
      const std::string prefix = "ToolsVersion: Error loading dictionary from host manifest: ";
      EXPECT_EQ(log.lines()[0].rfind(prefix, 0), 0u) << log.text();
      EXPECT_NE(log.lines()[0].find(path), std::string::npos) << log.text();
      EXPECT_EQ(log.lines()[0].back(), '.');
      EXPECT_EQ(HashTable_GetNumElements(t.table), 0u);
   }
}

}  // namespace
