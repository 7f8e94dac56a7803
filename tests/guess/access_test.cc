// access_test.cc --
//
//    The image access layer over ISO 9660 (Rock Ridge, Joliet, plain) and
//    UDF media: the three letter-case attempts for directories and files,
//    caseless lookups on ISO 9660, whole-file reads and their lengths,
//    directory walks, and the ELF machine rule.

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/guess.h>

#include "guess_support.hh"
#include "media_builder.hh"

namespace {

using trtest::MediaFormat;

// One image per format, built once for the whole suite.
class AccessLayer : public ::testing::TestWithParam<MediaFormat> {
protected:
   static void SetUpTestSuite() { dir_ = new trtest::TempDir; }
   static void TearDownTestSuite() {
      delete dir_;
      dir_ = nullptr;
   }

   void SetUp() override {
      if (!trtest::CanBuild(GetParam())) {
         GTEST_SKIP() << "mastering tool missing";
      }
      trtest::MediaSpec spec;
      spec.format = GetParam();
      spec.files = {
         {"i386/txtsetup.sif", "[SetupData]\r\nProductType=0\r\n"},
         {"sources/install_Windows 7 ULTIMATE.clg", "x"},
         {"sources/lang.ini", "[Available UI Languages]\r\n"},
         {"Mixed/Inner.txt", "inner"},
         {"empty.txt", ""},
         {"big.bin", std::string(5000, 'b') + "END"},
      };
      spec.dirs = {"emptydir"};
      std::string name = "access" + std::to_string(static_cast<int>(GetParam())) + ".iso";
      path_ = dir_->file(name);
      if (!trtest::FileExists(path_)) {
         path_ = trtest::BuildImage(*dir_, spec, name);
      }
      media_ = std::make_unique<trtest::OpenedMedia>(path_);
      ASSERT_TRUE(media_->ok());
   }

   GuessMedia *m() { return media_->get(); }
   // Plain ISO 9660 stores every name in upper case.
   bool plain() const { return GetParam() == MediaFormat::Plain; }

   static trtest::TempDir *dir_;
   std::string path_;
   std::unique_ptr<trtest::OpenedMedia> media_;
};

trtest::TempDir *AccessLayer::dir_ = nullptr;

std::vector<std::string> Entries(GuessMedia *m, GuessDir *d) {
   std::vector<std::string> names;
   const char *n;
   while ((n = Guess_ReadDir(m, d)) != nullptr) {
      names.push_back(n);
   }
   return names;
}

TEST_P(AccessLayer, DirectoriesOpenInThreeCases) {
   // Given in capitals, stored in lower case: the third attempt opens it and
   // the handle remembers the form that worked.
   GuessDir *d = Guess_OpenDir(m(), "/SOURCES");
   ASSERT_NE(d, nullptr);
   EXPECT_STREQ(d->path, plain() ? "/SOURCES" : "/sources");
   EXPECT_TRUE(Guess_CloseDir(m(), d));

   // Plain ISO 9660 names are upper case by definition and match in any
   // case, so the first attempt already opens them.
   d = Guess_OpenDir(m(), "Sources");
   ASSERT_NE(d, nullptr);
   EXPECT_STREQ(d->path, plain() ? "Sources" : "sources");
   EXPECT_TRUE(Guess_CloseDir(m(), d));

   // A mixed-case name is none of the three forms of another mixed-case
   // spelling where the reader matches names exactly.
   d = Guess_OpenDir(m(), "mIXED");
   if (plain()) {
      ASSERT_NE(d, nullptr);
      EXPECT_TRUE(Guess_CloseDir(m(), d));
   } else {
      EXPECT_EQ(d, nullptr);
   }
   EXPECT_EQ(Guess_OpenDir(m(), "/nothere"), nullptr);
   // A file is not a directory.
   EXPECT_EQ(Guess_OpenDir(m(), "empty.txt"), nullptr);

   for (const char *root : {"", "/"}) {
      d = Guess_OpenDir(m(), root);
      ASSERT_NE(d, nullptr) << "root as \"" << root << "\"";
      EXPECT_TRUE(Guess_CloseDir(m(), d));
   }
}

TEST_P(AccessLayer, ReadFileNameTriesBothPartsInEachCase) {
   size_t length = 0;
   char *text = Guess_ReadFileName(m(), "I386/TXTSETUP.SIF", &length);
   ASSERT_NE(text, nullptr);
   EXPECT_STREQ(text, "[SetupData]\r\nProductType=0\r\n");
   if (media_->isUdf()) {
      EXPECT_EQ(length, 0u);  // the length is not reported on UDF media
   } else {
      EXPECT_EQ(length, std::strlen(text) + 1);  // the added NUL counts
   }
   std::free(text);

   text = Guess_ReadFileName(m(), "/i386/txtsetup.sif", nullptr);
   ASSERT_NE(text, nullptr);
   std::free(text);
   EXPECT_EQ(Guess_ReadFileName(m(), "i386/missing.sif", nullptr), nullptr);
   EXPECT_EQ(Guess_ReadFileName(m(), "nodir/txtsetup.sif", nullptr), nullptr);
}

TEST_P(AccessLayer, WholeFilesAndTheirLengths) {
   size_t length = 77;
   char *text = Guess_ReadFileName(m(), "empty.txt", &length);
   ASSERT_NE(text, nullptr);
   EXPECT_EQ(text[0], '\0');
   EXPECT_EQ(length, media_->isUdf() ? 77u : 1u);
   std::free(text);

   // Several 2048-byte steps.
   text = Guess_ReadFileName(m(), "/big.bin", &length);
   ASSERT_NE(text, nullptr);
   EXPECT_EQ(std::string(text), std::string(5000, 'b') + "END");
   if (!media_->isUdf()) {
      EXPECT_EQ(length, 5004u);
   }
   std::free(text);
}

TEST_P(AccessLayer, FileExistsIgnoresCaseOnIso9660Only) {
   EXPECT_TRUE(Guess_FileExists(m(), "/i386", plain() ? "TXTSETUP.SIF" : "txtsetup.sif"));
   EXPECT_EQ(Guess_FileExists(m(), "I386", "TXTSETUP.SIF"), media_->isUdf() ? FALSE : TRUE);
   // The name is looked up once, unchanged: UDF matches exactly.
   EXPECT_EQ(Guess_FileExists(m(), "i386", "TxtSetup.Sif"), media_->isUdf() ? FALSE : TRUE);
   EXPECT_FALSE(Guess_FileExists(m(), "i386", ""));
   EXPECT_FALSE(Guess_FileExists(m(), "i386", "winnt.sif"));
   EXPECT_FALSE(Guess_FileExists(m(), "nodir", "txtsetup.sif"));
   // A directory entry counts as existing.
   EXPECT_TRUE(Guess_FileExists(m(), "/", plain() ? "EMPTYDIR" : "emptydir"));
}

TEST_P(AccessLayer, FileExistsWithPrefixIgnoresCase) {
   if (plain()) {
      GTEST_SKIP() << "plain ISO 9660 names cannot hold blanks";
   }
   EXPECT_TRUE(Guess_FileExistsWithPrefix(m(), "sources", "install_Windows 7"));
   EXPECT_TRUE(Guess_FileExistsWithPrefix(m(), "/sources", "INSTALL_WINDOWS 7 ult"));
   EXPECT_FALSE(Guess_FileExistsWithPrefix(m(), "sources", "install_Windows 8"));
   EXPECT_FALSE(Guess_FileExistsWithPrefix(m(), "nodir", "install"));
   EXPECT_TRUE(Guess_FileExistsWithPrefix(m(), "sources", ""));
   EXPECT_FALSE(Guess_FileExistsWithPrefix(m(), "emptydir", ""));
}

TEST_P(AccessLayer, ReadRewindAndClose) {
   GuessDir *d = Guess_OpenDir(m(), "/");
   ASSERT_NE(d, nullptr);
   std::vector<std::string> first = Entries(m(), d);
   EXPECT_EQ(first.size(), 6u);  // big.bin empty.txt emptydir i386 Mixed sources
   EXPECT_EQ(Guess_ReadDir(m(), d), nullptr);
   EXPECT_TRUE(Guess_RewindDir(m(), d));
   EXPECT_EQ(Entries(m(), d), first);
   EXPECT_TRUE(Guess_CloseDir(m(), d));

   EXPECT_FALSE(Guess_CloseDir(m(), nullptr));
   EXPECT_FALSE(Guess_CloseDir(nullptr, nullptr));
}

TEST_P(AccessLayer, ReadFileThroughAnOpenDirectory) {
   GuessDir *d = Guess_OpenDir(m(), "i386");
   ASSERT_NE(d, nullptr);
   char *text = Guess_ReadFile(m(), d, "TXTSETUP.SIF", nullptr);
   ASSERT_NE(text, nullptr);
   std::free(text);
   // The caller's position is not moved by lookups.
   const char *n = Guess_ReadDir(m(), d);
   ASSERT_NE(n, nullptr);
   std::string listed = n;
   EXPECT_EQ(Guess_ReadDir(m(), d), nullptr);

   // On ISO 9660 media the entry that the last Guess_ReadDir returned is
   // not looked up again; UDF lookups do not depend on the walk.
   text = Guess_ReadFile(m(), d, listed.c_str(), nullptr);
   if (media_->isUdf()) {
      EXPECT_NE(text, nullptr);
   } else {
      EXPECT_EQ(text, nullptr);
   }
   std::free(text);
   EXPECT_TRUE(Guess_CloseDir(m(), d));
}

INSTANTIATE_TEST_SUITE_P(Formats, AccessLayer,
                         ::testing::Values(MediaFormat::RockRidge, MediaFormat::Joliet,
                                           MediaFormat::Plain, MediaFormat::UdfBridge),
                         [](const auto &p) {
                            switch (p.param) {
                            case MediaFormat::RockRidge: return std::string("RockRidge");
                            case MediaFormat::Joliet: return std::string("Joliet");
                            case MediaFormat::Plain: return std::string("Plain");
                            default: return std::string("UdfBridge");
                            }
                         });

TEST(GuessElfArch, MachineByteDecides) {
   struct {
      int machine;
      size_t length;
      int expected;
   } cases[] = {
      {62, 19, 2}, {62, 18, 0}, {62, 4096, 2}, {3, 19, 1}, {6, 64, 1},
      {7, 64, 1},  {40, 64, 0}, {0, 64, 0},    {-62, 64, 0}, {3, 0, 0},
   };
   for (const auto &c : cases) {
      std::string buf(64, '\0');
      buf[18] = static_cast<char>(c.machine);
      EXPECT_EQ(Guess_ELF_Arch(buf.data(), c.length), c.expected)
         << "machine " << c.machine << ", length " << c.length;
   }
}

TEST(GuessAccessDeath, UnknownMediaKindStops) {
   GuessMedia media{};
   media.kind = 7;
   EXPECT_DEATH(Guess_OpenDir(&media, "/"), "NOT_REACHED lib/guessGuest/guess:[0-9]+");
   GuessDir dir{};
   EXPECT_DEATH(Guess_ReadDir(&media, &dir), "NOT_REACHED lib/guessGuest/guess:[0-9]+");
   EXPECT_DEATH(Guess_CloseDir(&media, &dir), "NOT_REACHED lib/guessGuest/guess:[0-9]+");
}

}  // namespace
