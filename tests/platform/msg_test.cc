// msg_test.cc --
//
//    Catalogue lookup by language, fallback to the default text, the guard
//    against translations with other arguments, and the message queue.

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <trplatform/msg.h>

#include "testsupport.hh"

namespace {

std::string Take(char *s) {
   std::string out = s != nullptr ? s : "<null>";
   std::free(s);
   return out;
}

class MsgCatalogue : public ::testing::Test {
protected:
   void SetUp() override {
      trtest::WriteFile(dir_.file("fr.trmsg"),
                        ".encoding = \"UTF-8\"\n"
                        "msg.test.hello = \"Bonjour\"\n"
                        "msg.test.count = \"%d fichiers dans %s\"\n"
                        "msg.test.swapped = \"%s fichiers dans %d\"\n");
      trtest::WriteFile(dir_.file("xx.trmsg"), "broken\n");
      msgDir_ = std::make_unique<trtest::ScopedEnv>("TRGUEST_MSG_DIR", dir_.path().c_str());
   }
   void TearDown() override {
      msgDir_.reset();
      Msg_ReloadCatalogue();
   }
   void UseLanguage(const char *locale, const char *lang = nullptr) {
      // Restore the previous values before setting new ones.
      lang_.reset();
      locale_.reset();
      locale_ = std::make_unique<trtest::ScopedEnv>("TRGUEST_LOCALE", locale);
      lang_ = std::make_unique<trtest::ScopedEnv>("LANG", lang);
      Msg_ReloadCatalogue();
   }

   trtest::TempDir dir_;
   std::unique_ptr<trtest::ScopedEnv> msgDir_, locale_, lang_;
};

TEST_F(MsgCatalogue, TranslatedDefaultAndPlainTexts) {
   UseLanguage("fr_FR.UTF-8");
   EXPECT_EQ(Take(Msg_GetString("@&!*@*@(msg.test.hello)Hello")), "Bonjour");
   EXPECT_EQ(Take(Msg_GetString("@&!*@*@(msg.test.absent)Default text")), "Default text");
   EXPECT_EQ(Take(Msg_GetString("plain text")), "plain text");
   EXPECT_EQ(Msg_GetString(nullptr), nullptr);
   EXPECT_EQ(Take(Msg_Format("@&!*@*@(msg.test.count)%d files in %s", 3, "/x")),
             "3 fichiers dans /x");
   // A translation whose arguments differ is not used.
   EXPECT_EQ(Take(Msg_Format("@&!*@*@(msg.test.swapped)%d files in %s", 3, "/x")),
             "3 files in /x");
}

TEST_F(MsgCatalogue, LanguageSources) {
   struct {
      const char *trguestLocale, *lang, *expected;
   } cases[] = {
      {nullptr, "fr_CA.UTF-8", "Bonjour"},
      {"C", "fr_FR", "Hello"},        // TRGUEST_LOCALE decides first
      {"fr", "de_DE", "Bonjour"},
      {"en_US", nullptr, "Hello"},
      {"de", nullptr, "Hello"},       // no catalogue for that language here
      {"xx", nullptr, "Hello"},       // a broken catalogue is not used
      {"../fr", nullptr, "Hello"},    // not a language name
   };
   for (const auto &c : cases) {
      trtest::ScopedEnv lcAll("LC_ALL", nullptr);
      trtest::ScopedEnv lcMessages("LC_MESSAGES", nullptr);
      UseLanguage(c.trguestLocale, c.lang);
      trtest::LogCapture log;  // a broken catalogue is reported in the log
      EXPECT_EQ(Take(Msg_GetString("@&!*@*@(msg.test.hello)Hello")), c.expected)
         << (c.trguestLocale ? c.trguestLocale : "-") << " " << (c.lang ? c.lang : "-");
   }
}

TEST_F(MsgCatalogue, LoadingDoesNotDisturbTheQueue) {
   Msg_Reset();
   Msg_Append("first %d", 1);
   UseLanguage("xx");
   trtest::LogCapture log;
   EXPECT_EQ(Take(Msg_GetString("@&!*@*@(msg.test.hello)Hello")), "Hello");
   Msg_Append("second");
   EXPECT_STREQ(Msg_GetMessagesAndReset(), "first 1; second");
   EXPECT_STREQ(Msg_GetMessagesAndReset(), "");
   ASSERT_EQ(log.lines().size(), 1u);
   EXPECT_EQ(log.lines()[0], "Message catalogue not used: Syntax error in " +
                                dir_.file("xx.trmsg") + ", line 1: missing \"=\"");
}

}  // namespace
