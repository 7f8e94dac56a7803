// isolinux_config_test.cc --
//
//    Reading the first complete boot entry of an isolinux configuration and
//    the askmethod rewrite. (The new configuration's text is checked byte for
//    byte where the boot directory is built.)

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "guestInstall/linux/linuxMediaInt.h"

namespace {

struct ParseCase {
   const char *name;
   std::string text;
   bool complete;
   std::string kernel;  // kNull: not set
   std::string initrd;
   std::string append;
};

const char *const kNull = "<null>";

std::string Or(const char *s) { return s != nullptr ? s : kNull; }

class ParseIsolinuxConfig : public ::testing::TestWithParam<ParseCase> {};

TEST_P(ParseIsolinuxConfig, FirstCompleteEntry) {
   const ParseCase &c = GetParam();
   char *kernel = reinterpret_cast<char *>(1), *initrd = kernel, *append = kernel;
   EXPECT_EQ(parseIsolinuxConfig(c.text.c_str(), &kernel, &initrd, &append) != FALSE, c.complete);
   EXPECT_EQ(Or(kernel), c.kernel);
   EXPECT_EQ(Or(initrd), c.initrd);
   EXPECT_EQ(Or(append), c.append);
   std::free(kernel);
   std::free(initrd);
   std::free(append);
}

const std::string kLong(600, 'a');

INSTANTIATE_TEST_SUITE_P(
   Rules, ParseIsolinuxConfig,
   ::testing::Values(
      ParseCase{"KernelThenAppendStopsThere",
                "label linux\n  kernel K\n  append initrd=I X\nkernel K2\nappend initrd=I2\n",
                true, "K", "I", "X "},
      ParseCase{"AppendThenKernelCompleteAtNextLabel",
                "label a\nappend initrd=I X\nkernel K\nlabel b\nkernel K2\nappend initrd=J Y\n",
                true, "K", "I", "X "},
      ParseCase{"AppendThenKernelCompleteAtEnd", "label a\nappend initrd=I X\nkernel K\n", true,
                "K", "I", "X "},
      ParseCase{"PartialEntryDropped",
                "label a\nappend initrd=I0 Z\nlabel b\nkernel K2\nappend X\nlabel c\n", false,
                "K2", kNull, "X "},
      ParseCase{"KernelOnlyLabelDropped",
                "label a\nkernel K1\nlabel b\nappend initrd=I2 Y\nkernel K2\n", true, "K2", "I2",
                "Y "},
      ParseCase{"AppendWithoutInitrd", "label a\nkernel K\nappend X Y\n", false, "K", kNull,
                "X Y "},
      ParseCase{"KeywordsIgnoreCase", "LaBeL a\nKERNEL K\nAppend INITRD=I x\n", true, "K", "I",
                "x "},
      ParseCase{"TabsDoNotIndent", "label a\n\tkernel K\n\tappend initrd=I x\n", false, kNull,
                kNull, kNull},
      ParseCase{"IndentedLabelStartsNothing", "  label a\nkernel K\nappend initrd=I x\n", false,
                kNull, kNull, kNull},
      ParseCase{"LinesBeforeFirstLabelSkipped",
                "kernel K0\nappend initrd=I0\nlabel \nlabel a\nkernel K\nappend initrd=I\n", true,
                "K", "I", ""},
      ParseCase{"LastInitrdWinsSpacesCollapse",
                "label a\nkernel K\nappend   initrd=I1  a\tb initrd=I2  \n", true, "K", "I2",
                "a\tb "},
      ParseCase{"CarriageReturnsRemoved", "label a\r\nkernel K\r\r\nappend initrd=I x\r\n", true,
                "K", "I", "x "},
      ParseCase{"KeywordWithoutValueSkipped", "label a\nkernel \nkernel  \nappend initrd=I\n",
                true, " ", "I", ""},
      ParseCase{"AppendBoundedTo511", "label a\nkernel K\nappend initrd=I " + kLong + "\n", true,
                "K", "I", std::string(511 - 9, 'a') + " "},
      ParseCase{"NoLabel", "default linux\nprompt 0\n", false, kNull, kNull, kNull},
      ParseCase{"Empty", "", false, kNull, kNull, kNull}),
   [](const ::testing::TestParamInfo<ParseCase> &p) { return p.param.name; });

TEST(RemoveAskmethod, DropsOnlyTheWholeToken) {
   const std::pair<const char *, const char *> cases[] = {
      {"askmethod text ", "text "},
      {"askmethod=1 askmethod  x askmethod", "askmethod=1 x "},
      {"ASKMETHOD", "ASKMETHOD "},
      {"", ""},
   };
   for (const auto &[in, out] : cases) {
      char *append = strdup(in);
      removeAskmethod(&append);
      EXPECT_STREQ(append, out) << in;
      std::free(append);
   }
}

}  // namespace
