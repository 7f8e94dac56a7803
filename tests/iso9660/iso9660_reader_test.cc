// iso9660_reader_test.cc --
//
//    The ISO 9660 reader on images made by xorriso: name spaces and their
//    fallback, paths, listings, reads, extraction and the volume id.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/iso9660.h>

#include "media_builder.hh"
#include "testsupport.hh"

namespace {

std::string Pattern(size_t n) {
   std::string s(n, '\0');
   for (size_t i = 0; i < n; i++) s[i] = static_cast<char>('a' + (i * 7 + i / 251) % 26);
   return s;
}

trtest::MediaSpec SampleSpec(trtest::MediaFormat format) {
   trtest::MediaSpec spec;
   spec.format = format;
   spec.volumeId = "Mandriva.2010.0.x86_64";
   spec.files = {
      {"README", "Turbolinux 11\n"},
      {"isolinux/isolinux.cfg", "default linux\n"},
      {"boot/kernel/kernel", std::string("\x7f" "ELF", 4) + std::string(14, '\0') + ">"},
      {"a/b/c/d/e/f/g/h/i/j/deep.txt", "deep"},
      {"Install Mac OS X Lion.app/Contents/Info.plist", "<plist/>"},
      {"empty.txt", ""},
      {"bin/data.bin", Pattern(100000)},
      {"sources/lang.ini", "[Available UI Languages]\r\nen-US = 3\r\n"},
   };
   for (int i = 0; i < 120; i++) {
      spec.files.push_back({"many/file" + std::to_string(i) + ".txt", std::to_string(i)});
   }
   return spec;
}

// Images shared by the tests of this file, built once.
class IsoReader : public ::testing::Test {
protected:
   static void SetUpTestSuite() {
      dir_ = new trtest::TempDir;
      for (auto f : {trtest::MediaFormat::Plain, trtest::MediaFormat::Joliet,
                     trtest::MediaFormat::RockRidge, trtest::MediaFormat::JolietRockRidge}) {
         (*images_)[f] = trtest::BuildImage(*dir_, SampleSpec(f),
                                            "img" + std::to_string(static_cast<int>(f)) + ".iso");
      }
   }
   static void TearDownTestSuite() {
      delete dir_;
      dir_ = nullptr;
   }
   void SetUp() override {
      if (!trtest::CanBuild(trtest::MediaFormat::JolietRockRidge)) {
         GTEST_SKIP() << "xorriso is not installed";
      }
   }

   static Iso9660Image *Open(trtest::MediaFormat f, uint32_t formats) {
      Iso9660Image *img = nullptr;
      EXPECT_EQ(Iso9660_Open((*images_)[f].c_str(), formats, 0, &img), ISO9660_OK);
      return img;
   }

   static std::vector<std::string> List(Iso9660Image *img, const char *path) {
      std::vector<std::string> names;
      Iso9660DirHandle d;
      if (Iso9660_OpenDir(img, path, &d) != ISO9660_OK) {
         return {"<cannot open>"};
      }
      Iso9660DirEntry e;
      Iso9660Result r;
      while ((r = Iso9660_ReadDir(img, d, &e)) == ISO9660_OK) {
         names.push_back(std::string(e.name) + (e.isDirectory ? "/" : ""));
      }
      EXPECT_EQ(r, ISO9660_END);
      EXPECT_EQ(Iso9660_CloseDir(img, d), ISO9660_OK);
      std::sort(names.begin(), names.end());
      return names;
   }

   // Reads the file `name` of directory `dir` in chunks of `chunk` bytes.
   static std::string ReadAll(Iso9660Image *img, const char *dir, const char *name,
                              uint32_t chunk = 2048, Iso9660Result *openResult = nullptr) {
      Iso9660DirHandle d;
      EXPECT_EQ(Iso9660_OpenDir(img, dir, &d), ISO9660_OK);
      Iso9660DirEntry e;
      std::string out = "<missing>";
      while (Iso9660_ReadDir(img, d, &e) == ISO9660_OK) {
         if (std::strcmp(e.name, name) != 0) continue;
         Iso9660FileHandle f;
         Iso9660Result r = Iso9660_OpenFile(img, &e, &f);
         if (openResult != nullptr) *openResult = r;
         if (r != ISO9660_OK) break;
         out.clear();
         std::vector<char> buf(chunk);
         uint32_t count = chunk;
         while ((r = Iso9660_ReadFile(img, f, buf.data(), &count)) == ISO9660_OK) {
            out.append(buf.data(), count);
            count = chunk;
         }
         EXPECT_EQ(r, e.isDirectory ? ISO9660_IS_A_DIRECTORY : ISO9660_END);
         EXPECT_EQ(count, 0u);
         if (!e.isDirectory) {
            EXPECT_EQ(out.size(), e.size);
         }
         Iso9660_CloseFile(img, f);
         break;
      }
      Iso9660_CloseDir(img, d);
      return out;
   }

   static trtest::TempDir *dir_;
   static std::map<trtest::MediaFormat, std::string> *images_;
};

trtest::TempDir *IsoReader::dir_ = nullptr;
std::map<trtest::MediaFormat, std::string> *IsoReader::images_ =
   new std::map<trtest::MediaFormat, std::string>;

TEST_F(IsoReader, ListFormatsReportsTheNameSpaces) {
   struct {
      trtest::MediaFormat format;
      uint32_t bits;
   } cases[] = {
      {trtest::MediaFormat::Plain, 1},
      {trtest::MediaFormat::Joliet, 3},
      {trtest::MediaFormat::RockRidge, 5},
      {trtest::MediaFormat::JolietRockRidge, 7},
   };
   for (const auto &c : cases) {
      uint32_t formats = 0;
      EXPECT_EQ(Iso9660_ListFormats((*images_)[c.format].c_str(), &formats), ISO9660_OK);
      EXPECT_EQ(formats, c.bits) << static_cast<int>(c.format);
   }
}

TEST_F(IsoReader, BestRequestedNameSpaceWithFallback) {
   using F = trtest::MediaFormat;
   struct {
      F image;
      uint32_t requested;
      const char *bootDir;  // how the kernel's directory is presented
   } cases[] = {
      {F::JolietRockRidge, 7, "boot"},  {F::JolietRockRidge, 4, "boot"},
      {F::JolietRockRidge, 2, "boot"},  {F::JolietRockRidge, 1, "BOOT"},
      {F::Joliet, 4, "BOOT"},           {F::Joliet, 6, "boot"},
      {F::RockRidge, 2, "BOOT"},        {F::Plain, 7, "BOOT"},
   };
   for (const auto &c : cases) {
      Iso9660Image *img = Open(c.image, c.requested);
      std::vector<std::string> root = List(img, "/");
      EXPECT_NE(std::find(root.begin(), root.end(), std::string(c.bootDir) + "/"), root.end())
         << static_cast<int>(c.image) << " requested " << c.requested;
      Iso9660_Close(img);
   }
}

TEST_F(IsoReader, PlainNamesLoseVersionAndEmptyExtensionDot) {
   Iso9660Image *img = Open(trtest::MediaFormat::Plain, 1);
   EXPECT_EQ(List(img, "BOOT/KERNEL"), (std::vector<std::string>{"KERNEL"}));
   // Plain names are upper case; a path in any case finds them.
   EXPECT_EQ(List(img, "/boot/Kernel"), (std::vector<std::string>{"KERNEL"}));
   EXPECT_EQ(List(img, "SOURCES"), (std::vector<std::string>{"LANG.INI"}));
   trtest::TempDir out;
   EXPECT_EQ(Iso9660_ExtractFileEx(img, "sources/lang.ini", out.file("l").c_str()), ISO9660_OK);
   EXPECT_EQ(ReadAll(img, "/", "README"), "Turbolinux 11\n");
   Iso9660_Close(img);
}

TEST_F(IsoReader, RockRidgeAndJolietKeepNamesAsGiven) {
   for (uint32_t formats : {4u, 2u}) {
      Iso9660Image *img = Open(trtest::MediaFormat::JolietRockRidge, formats);
      EXPECT_EQ(List(img, "/"), (std::vector<std::string>{
                                   "Install Mac OS X Lion.app/", "README", "a/", "bin/", "boot/",
                                   "empty.txt", "isolinux/", "many/", "sources/"}))
         << formats;
      EXPECT_EQ(List(img, "a/b/c/d/e/f/g/h/i/j"), (std::vector<std::string>{"deep.txt"}));
      EXPECT_EQ(ReadAll(img, "a/b/c/d/e/f/g/h/i/j", "deep.txt"), "deep");
      Iso9660_Close(img);
   }
}

TEST_F(IsoReader, PathFormsAndLookupFailures) {
   Iso9660Image *img = Open(trtest::MediaFormat::JolietRockRidge, 7);
   for (const char *p : {"", "/", "//"}) {
      EXPECT_EQ(List(img, p).size(), 9u) << p;
   }
   // "." stays, ".." goes up (and stays at the root), as on a mounted disc.
   for (const char *p : {"sources", "/sources", "sources/", "/sources/", "./sources",
                         "/isolinux/../sources", "/a/b/../../sources/.", "../sources",
                         "/a/./b/c/../../../../sources"}) {
      EXPECT_EQ(List(img, p), (std::vector<std::string>{"lang.ini"})) << p;
   }
   Iso9660DirHandle d;
   EXPECT_EQ(Iso9660_OpenDir(img, "SOURCES", &d), ISO9660_NOT_FOUND);  // exact match only
   EXPECT_EQ(Iso9660_OpenDir(img, "README", &d), ISO9660_NOT_A_DIRECTORY);
   EXPECT_EQ(Iso9660_OpenDir(img, "README/x", &d), ISO9660_NOT_A_DIRECTORY);
   EXPECT_EQ(Iso9660_OpenDir(img, "nope/x", &d), ISO9660_NOT_FOUND);
   EXPECT_EQ(Iso9660_OpenDir(img, "nope/../sources", &d), ISO9660_NOT_FOUND);
   EXPECT_EQ(Iso9660_OpenDir(img, "README/../sources", &d), ISO9660_NOT_A_DIRECTORY);
   Iso9660_Close(img);
}

TEST_F(IsoReader, LargeDirectoryRewindAndEntryFields) {
   Iso9660Image *img = Open(trtest::MediaFormat::RockRidge, 4);
   std::vector<std::string> many = List(img, "many");
   EXPECT_EQ(many.size(), 120u);  // more than one 2048-byte block of records
   Iso9660DirHandle d;
   ASSERT_EQ(Iso9660_OpenDir(img, "bin", &d), ISO9660_OK);
   Iso9660DirEntry e;
   ASSERT_EQ(Iso9660_ReadDir(img, d, &e), ISO9660_OK);
   EXPECT_STREQ(e.name, "data.bin");
   EXPECT_EQ(e.size, 100000u);
   EXPECT_FALSE(e.isDirectory);
   EXPECT_EQ(Iso9660_ReadDir(img, d, &e), ISO9660_END);
   EXPECT_EQ(Iso9660_RewindDir(img, d), ISO9660_OK);
   ASSERT_EQ(Iso9660_ReadDir(img, d, &e), ISO9660_OK);
   EXPECT_STREQ(e.name, "data.bin");
   EXPECT_EQ(Iso9660_CloseDir(img, d), ISO9660_OK);
   EXPECT_EQ(Iso9660_CloseDir(img, d), ISO9660_BAD_HANDLE);
   EXPECT_EQ(Iso9660_ReadDir(img, d, &e), ISO9660_BAD_HANDLE);
   Iso9660_Close(img);
}

TEST_F(IsoReader, ReadsInAnyChunkSize) {
   Iso9660Image *img = Open(trtest::MediaFormat::JolietRockRidge, 4);
   const std::string expected = Pattern(100000);
   for (uint32_t chunk : {1u, 511u, 2048u, 65536u, 200000u}) {
      EXPECT_EQ(ReadAll(img, "bin", "data.bin", chunk), expected) << chunk;
   }
   EXPECT_EQ(ReadAll(img, "/", "empty.txt"), "");
   // A directory opens, so that existence checks work, but has no data to read.
   Iso9660Result r = ISO9660_ERROR;
   EXPECT_EQ(ReadAll(img, "/", "Install Mac OS X Lion.app", 2048, &r), "");
   EXPECT_EQ(r, ISO9660_OK);
   Iso9660_Close(img);
}

TEST_F(IsoReader, EntriesBelongToTheirImage) {
   Iso9660Image *a = Open(trtest::MediaFormat::RockRidge, 4);
   Iso9660Image *b = Open(trtest::MediaFormat::RockRidge, 4);
   Iso9660DirHandle d;
   ASSERT_EQ(Iso9660_OpenDir(a, "/", &d), ISO9660_OK);
   Iso9660DirEntry e;
   ASSERT_EQ(Iso9660_ReadDir(a, d, &e), ISO9660_OK);
   Iso9660FileHandle f;
   EXPECT_EQ(Iso9660_OpenFile(b, &e, &f), ISO9660_BAD_HANDLE);
   uint32_t count = 16;
   char buf[16];
   EXPECT_EQ(Iso9660_ReadFile(a, 999, buf, &count), ISO9660_BAD_HANDLE);
   EXPECT_EQ(Iso9660_CloseFile(a, 999), ISO9660_BAD_HANDLE);
   // Closing an image closes its handles; closing nothing is fine.
   Iso9660_Close(a);
   Iso9660_Close(b);
   Iso9660_Close(nullptr);
}

TEST_F(IsoReader, VolumeIdAndByteCounter) {
   Iso9660_ResetBytesRead();
   Iso9660Image *img = Open(trtest::MediaFormat::Plain, 1);
   char *label = nullptr;
   ASSERT_EQ(Iso9660_GetVolumeId(img, &label), ISO9660_OK);
   // xorriso keeps the label as given.
   EXPECT_STREQ(label, "Mandriva.2010.0.x86_64");
   std::free(label);
   uint64_t before = Iso9660_GetBytesRead();
   EXPECT_GT(before, 0u);
   ReadAll(img, "BIN", "DATA.BIN");
   EXPECT_GE(Iso9660_GetBytesRead() - before, 100000u);
   Iso9660_Close(img);
}

TEST_F(IsoReader, ExtractFilesAndTrees) {
   Iso9660Image *img = Open(trtest::MediaFormat::JolietRockRidge, 4);
   trtest::TempDir out;
   EXPECT_EQ(Iso9660_Extract(img, "/isolinux/isolinux.cfg", out.path().c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(out.file("isolinux.cfg")), "default linux\n");
   // A directory's content goes into the host directory, subtrees included.
   EXPECT_EQ(Iso9660_Extract(img, "a/b/c", out.path().c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(out.file("d/e/f/g/h/i/j/deep.txt")), "deep");
   EXPECT_EQ(Iso9660_ExtractFileEx(img, "README", out.file("readme.copy").c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(out.file("readme.copy")), "Turbolinux 11\n");
   EXPECT_EQ(Iso9660_ExtractFileEx(img, "bin/data.bin", out.file("data").c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(out.file("data")), Pattern(100000));
   EXPECT_EQ(Iso9660_ExtractFileEx(img, "missing.txt", out.file("m").c_str()), ISO9660_NOT_FOUND);
   EXPECT_FALSE(trtest::FileExists(out.file("m")));
   EXPECT_EQ(Iso9660_ExtractFileEx(img, "README", "/nonexistent/dir/x"), ISO9660_IO_ERROR);
   EXPECT_EQ(Iso9660_ExtractFileEx(img, "sources", out.file("s").c_str()), ISO9660_IS_A_DIRECTORY);
   Iso9660_Close(img);
}

// Names outside ASCII come out as UTF-8 from Rock Ridge and Joliet; a
// Rock Ridge name too long for its record continues in a continuation area.
TEST(IsoNames, NonAsciiAndLongNames) {
   if (!trtest::CanBuild(trtest::MediaFormat::JolietRockRidge)) {
      GTEST_SKIP() << "xorriso is not installed";
   }
   trtest::TempDir dir;
   trtest::MediaSpec spec;
   const std::string longName = std::string(251, 'n') + ".txt";  // as long as a host allows
   spec.files = {{"Dossier/\xc3\xa9t\xc3\xa9.txt", "summer"}, {longName, "long"}};
   std::string path = trtest::BuildImage(dir, spec);
   for (uint32_t formats : {4u, 2u}) {
      Iso9660Image *img = nullptr;
      ASSERT_EQ(Iso9660_Open(path.c_str(), formats, 0, &img), ISO9660_OK);
      Iso9660DirHandle d;
      ASSERT_EQ(Iso9660_OpenDir(img, "/Dossier", &d), ISO9660_OK) << formats;
      Iso9660DirEntry e;
      ASSERT_EQ(Iso9660_ReadDir(img, d, &e), ISO9660_OK);
      EXPECT_STREQ(e.name, "\xc3\xa9t\xc3\xa9.txt") << formats;
      Iso9660_CloseDir(img, d);
      if (formats == 4) {
         trtest::TempDir out;
         EXPECT_EQ(Iso9660_ExtractFileEx(img, longName.c_str(), out.file("l").c_str()),
                   ISO9660_OK);
         EXPECT_EQ(trtest::ReadFile(out.file("l")), "long");
         EXPECT_EQ(Iso9660_Extract(img, longName.c_str(), out.path().c_str()), ISO9660_OK);
         EXPECT_EQ(trtest::ReadFile(out.file(longName)), "long");
      }
      Iso9660_Close(img);
   }
}

TEST(IsoOpen, NotAnImage) {
   trtest::TempDir dir;
   trtest::WriteFile(dir.file("text"), std::string(70000, 'x'));
   trtest::WriteFile(dir.file("tiny"), "CD001");
   Iso9660Image *img = reinterpret_cast<Iso9660Image *>(1);
   EXPECT_EQ(Iso9660_Open(dir.file("text").c_str(), 7, 0, &img), ISO9660_BAD_FORMAT);
   EXPECT_EQ(img, nullptr);
   EXPECT_EQ(Iso9660_Open(dir.file("tiny").c_str(), 7, 0, &img), ISO9660_BAD_FORMAT);
   EXPECT_EQ(Iso9660_Open(dir.file("missing").c_str(), 7, 0, &img), ISO9660_IO_ERROR);
   EXPECT_EQ(Iso9660_Open(dir.path().c_str(), 7, 0, &img), ISO9660_IO_ERROR);
   uint32_t formats = 99;
   EXPECT_EQ(Iso9660_ListFormats(dir.file("text").c_str(), &formats), ISO9660_BAD_FORMAT);
   EXPECT_EQ(formats, 99u);
}

}  // namespace
