// fsimage_names_test.cc --
//
//    8.3 names: which texts are accepted, how they are stored (upper case
//    plus lower-case flags) and how stored names are shown again.

#include <gtest/gtest.h>

#include "fat/fsimage.hh"

namespace {

using trp::fat::FatError;
using trp::fat::kLowerBase;
using trp::fat::kLowerExt;
using trp::fat::RawName;
using trp::fat::ShortName;

RawName Raw(std::string_view eleven) {
   RawName r{};
   std::copy(eleven.begin(), eleven.end(), r.begin());
   return r;
}

struct ParseCase {
   const char *text;
   const char *stored;  // 11 bytes; null when the name is refused
   uint8_t flags;
};

class ShortNameParse : public testing::TestWithParam<ParseCase> {};

TEST_P(ShortNameParse, StoresOrRefuses) {
   const ParseCase &c = GetParam();
   auto name = ShortName::parse(c.text);
   if (c.stored == nullptr) {
      ASSERT_FALSE(name.ok());
      EXPECT_EQ(name.error(), FatError::BadName);
      return;
   }
   ASSERT_TRUE(name.ok());
   EXPECT_EQ(name->raw(), Raw(c.stored));
   EXPECT_EQ(name->caseFlags(), c.flags);
   // What is stored shows as the text given, except for mixed case.
   auto shown = ShortName::display(name->raw(), name->caseFlags());
   ASSERT_TRUE(shown.has_value());
   EXPECT_TRUE(ShortName::parse(*shown)->matches(name->raw()));
}

INSTANTIATE_TEST_SUITE_P(
   Names, ShortNameParse,
   testing::Values(
      ParseCase{"preseed.cfg", "PRESEED CFG", kLowerBase | kLowerExt},
      ParseCase{"AUTOINST.XML", "AUTOINSTXML", 0},
      ParseCase{"auto_i~1.cfg", "AUTO_I~1CFG", kLowerBase | kLowerExt},
      ParseCase{"upgra32", "UPGRA32    ", kLowerBase},
      ParseCase{"README.txt", "README  TXT", kLowerExt},
      ParseCase{"Preseed.cfg", "PRESEED CFG", kLowerExt},  // mixed case: no flag
      ParseCase{"ks.CfG", "KS      CFG", kLowerBase},
      ParseCase{"1234.567", "1234    567", 0},               // no letters: no flags
      ParseCase{"a1.b2", "A1      B2 ", kLowerBase | kLowerExt},
      ParseCase{"x", "X          ", kLowerBase},
      ParseCase{"!#$%&'()-@^", nullptr, 0},                    // 11 characters: too long
      ParseCase{"{}~`.!@#", "{}~`    !@#", 0},
      ParseCase{"", nullptr, 0},
      ParseCase{".cfg", nullptr, 0},
      ParseCase{".", nullptr, 0},
      ParseCase{"..", nullptr, 0},
      ParseCase{"name.", nullptr, 0},
      ParseCase{"a.b.c", nullptr, 0},
      ParseCase{"toolongna.txt", nullptr, 0},
      ParseCase{"name.text", nullptr, 0},
      ParseCase{"a b.txt", nullptr, 0},
      ParseCase{"dir/file", nullptr, 0},
      ParseCase{"a\\b", nullptr, 0},
      ParseCase{"a*.txt", nullptr, 0},
      ParseCase{"what?", nullptr, 0},
      ParseCase{"a+b", nullptr, 0},
      ParseCase{"a,b", nullptr, 0},
      ParseCase{"na\xc3\xafve", nullptr, 0},
      ParseCase{"tab\t", nullptr, 0}));

struct DisplayCase {
   const char *stored;
   uint8_t flags;
   const char *shown;  // null: not a name that may be handed out
};

class ShortNameDisplay : public testing::TestWithParam<DisplayCase> {};

TEST_P(ShortNameDisplay, ShowsStoredName) {
   const DisplayCase &c = GetParam();
   auto shown = ShortName::display(Raw(c.stored), c.flags);
   if (c.shown == nullptr) {
      EXPECT_FALSE(shown.has_value()) << *shown;
   } else {
      ASSERT_TRUE(shown.has_value());
      EXPECT_EQ(*shown, c.shown);
   }
}

INSTANTIATE_TEST_SUITE_P(
   Stored, ShortNameDisplay,
   testing::Values(DisplayCase{"PRESEED CFG", kLowerBase | kLowerExt, "preseed.cfg"},
                   DisplayCase{"PRESEED CFG", kLowerBase, "preseed.CFG"},
                   DisplayCase{"PRESEED CFG", 0, "PRESEED.CFG"},
                   DisplayCase{"UPGRA32    ", kLowerExt, "UPGRA32"},
                   DisplayCase{"ALONGF~1TXT", 0, "ALONGF~1.TXT"},
                   DisplayCase{"A B     C  ", 0, "A B.C"},
                   DisplayCase{"\x05" "ABC    TXT", 0, "\xe5" "ABC.TXT"},
                   DisplayCase{"        TXT", 0, nullptr},
                   DisplayCase{"..         ", 0, nullptr},
                   DisplayCase{"../ETC  X  ", 0, nullptr},
                   DisplayCase{"A\\B     TXT", 0, nullptr},
                   DisplayCase{"AB\x01     TXT", 0, nullptr},
                   DisplayCase{"AB:     TXT", 0, nullptr}));

TEST(ShortNameMatch, IgnoresCase) {
   auto name = ShortName::parse("Preseed.CFG");
   ASSERT_TRUE(name.ok());
   EXPECT_TRUE(name->matches(Raw("PRESEED CFG")));
   EXPECT_TRUE(name->matches(Raw("preseed cfg")));  // written lower case by some tools
   EXPECT_FALSE(name->matches(Raw("PRESEED CF ")));
   EXPECT_FALSE(name->matches(Raw("PRESEEDXCFG")));
}

}  // namespace
