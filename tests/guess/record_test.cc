// record_test.cc --
//
//    The detection record's helpers: record comparison and the display
//    version of a detected guest.

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <trguest/guess.h>

namespace {

GuessInfo Cleared() {
   GuessInfo info;
   std::memset(&info, 0, sizeof info);
   return info;
}

TEST(GuessIsEqual, ComparesEveryField) {
   GuessInfo a = Cleared(), b = Cleared();
   EXPECT_TRUE(Guess_IsEqual(&a, &b));  // both guestOS null

   // Identifier texts compare by content, not by pointer.
   char id1[] = "ubuntu", id2[] = "ubuntu";
   a.guestOS = id1;
   EXPECT_FALSE(Guess_IsEqual(&a, &b));
   EXPECT_FALSE(Guess_IsEqual(&b, &a));
   b.guestOS = id2;
   EXPECT_TRUE(Guess_IsEqual(&a, &b));

   auto differs = [&](auto change) {
      GuessInfo x = a, y = a;
      change(y);
      return !Guess_IsEqual(&x, &y);
   };
   EXPECT_TRUE(differs([](GuessInfo &r) { r.guestOS64 = "ubuntu-64"; }));
   EXPECT_TRUE(differs([](GuessInfo &r) { r.subVersion = 4; }));
   EXPECT_TRUE(differs([](GuessInfo &r) { r.noIsolinuxCfg = TRUE; }));
   EXPECT_TRUE(differs([](GuessInfo &r) { std::strcpy(r.versionString, "10.04"); }));
   EXPECT_TRUE(differs([](GuessInfo &r) { std::strcpy(r.language, "en-US"); }));
   EXPECT_TRUE(differs([](GuessInfo &r) { std::strcpy(r.languages, "en-US?"); }));
   EXPECT_TRUE(differs([](GuessInfo &r) { std::strcpy(r.editions, "ULTIMATE?"); }));
   // Bytes after a field's terminator do not count.
   EXPECT_FALSE(differs([](GuessInfo &r) { r.language[100] = 'x'; }));

   // Fields filled to the brim (no terminator) are compared up to their size.
   std::memset(a.versionString, 'v', sizeof a.versionString);
   GuessInfo c = a;
   EXPECT_TRUE(Guess_IsEqual(&a, &c));
}

TEST(GuessVersionString, SuffixFromVersionOrSubCode) {
   struct {
      const char *name, *version;
      uint32_t sub;
      const char *expected;
   } cases[] = {
      {"Ubuntu", "Server 8.04", GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER, "Ubuntu Server 8.04"},
      {"Ubuntu", "", GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER, "Ubuntu Server"},
      {"Ubuntu", "", GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER, "Ubuntu Server"},
      {"SUSE Linux Enterprise", "", GUESS_VERSION_SLED_ALL, "SUSE Linux Enterprise Desktop"},
      {"SLED", "", GUESS_VERSION_SLED_10_SP2_OR_LOWER, "SLED Desktop"},
      {"Mandriva", "", GUESS_VERSION_MANDRIVA_2006, "Mandriva"},
      {"Mandriva", "2009.0", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, "Mandriva 2009.0"},
      {"Fedora", "", 0, "Fedora"},
      {"Windows 8", "", GUESS_VERSION_WIN8_ENTERPRISE_EVAL, "Windows 8"},
   };
   for (const auto &c : cases) {
      GuessInfo info = Cleared();
      std::strcpy(info.versionString, c.version);
      info.subVersion = c.sub;
      char *s = Guess_GetVersionString(c.name, &info);
      EXPECT_STREQ(s, c.expected);
      std::free(s);
   }

   GuessInfo full = Cleared();
   std::memset(full.versionString, '9', sizeof full.versionString);  // no terminator
   char *s = Guess_GetVersionString("X", &full);
   EXPECT_EQ(std::string(s), "X " + std::string(32, '9'));
   std::free(s);
}

}  // namespace
