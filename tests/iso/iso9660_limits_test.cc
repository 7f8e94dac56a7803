// iso9660_limits_test.cc --
//
//    Crafted images that an unbounded reader would work on for ever or use
//    to fill the disk: directories linked from many places, records that
//    all point at one file's data or at one large continuation area. And
//    records that are unusual but legal: a multi-extent file named only on
//    its first record, directories of 512-byte blocks.

#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/iso9660.h>

#include "iso_craft.hh"
#include "testsupport.hh"

namespace {

using isocraft::DotRecords;
using isocraft::PackRecords;
using isocraft::Record;

constexpr uint32_t kRoot = 18;

// A directory extent at `self` below `parent` holding `records`.
std::string Directory(uint32_t self, uint32_t parent, const std::vector<std::string> &records,
                      const std::string &dotSu = "") {
   auto pack = [&](uint32_t size) {
      std::vector<std::string> all = {DotRecords(self, size, parent, size, dotSu)};
      all.insert(all.end(), records.begin(), records.end());
      return PackRecords(all);
   };
   return pack(static_cast<uint32_t>(pack(0).size()));
}

// An image of `blocks` blocks whose root directory holds `records`; `more`
// writes the rest.
std::string RootImage(const trtest::TempDir &dir, const std::string &name, uint32_t blocks,
                      const std::vector<std::string> &records, const std::string &dotSu,
                      const std::function<void(isocraft::Image &)> &more) {
   std::string path = dir.file(name);
   isocraft::Image img(path, static_cast<uint64_t>(blocks) * 2048);
   std::string root = Directory(kRoot, kRoot, records, dotSu);
   img.putBlock(16, isocraft::Descriptor(1, kRoot, static_cast<uint32_t>(root.size()), blocks,
                                         name));
   img.putBlock(17, isocraft::Terminator());
   img.putBlock(kRoot, root);
   more(img);
   return path;
}

Iso9660Image *Open(const std::string &path, uint32_t formats) {
   Iso9660Image *img = nullptr;
   EXPECT_EQ(Iso9660_Open(path.c_str(), formats, 0, &img), ISO9660_OK);
   return img;
}

double Seconds(std::chrono::steady_clock::time_point since) {
   return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// Thirty levels, each holding two records of the next level: a walk that
// only guards against cycles would copy 2^30 directories.
TEST(IsoLimits, DirectoryLinkedTwiceEndsTheExtraction) {
   trtest::TempDir dir;
   constexpr uint32_t kLevels = 30, kFirst = 20;
   std::string path = RootImage(
      dir, "dag.iso", kFirst + kLevels + 2,
      {Record(kFirst, 2048, 2, "A"), Record(kFirst, 2048, 2, "B")}, "", [&](isocraft::Image &img) {
         for (uint32_t i = 0; i < kLevels; i++) {
            uint32_t self = kFirst + i, next = self + 1;
            std::vector<std::string> records = {Record(next, 2048, 2, "A"),
                                                Record(next, 2048, 2, "B")};
            if (i + 1 == kLevels) records = {Record(0, 0, 0, "F.TXT;1")};
            img.putBlock(self, Directory(self, i == 0 ? kRoot : self - 1, records));
         }
      });
   Iso9660Image *img = Open(path, 1);
   ASSERT_NE(img, nullptr);
   Iso9660DirHandle d;
   EXPECT_EQ(Iso9660_OpenDir(img, "A/B/A/B/A", &d), ISO9660_OK);  // lookups are fine
   Iso9660_CloseDir(img, d);
   trtest::TempDir out;
   auto start = std::chrono::steady_clock::now();
   EXPECT_EQ(Iso9660_Extract(img, "/", out.path().c_str()), ISO9660_BAD_FORMAT);
   EXPECT_LT(Seconds(start), 10.0);
   Iso9660_Close(img);
}

// Two names for one file's data (a hard link) extract; forty names for
// 32 KiB of an 80 KiB image are more than eight times the image.
TEST(IsoLimits, RepeatedDataEndsTheExtraction) {
   trtest::TempDir dir;
   constexpr uint32_t kData = 20, kLinks = 38;
   std::vector<std::string> many;
   for (int i = 0; i < 40; i++) {
      many.push_back(Record(kData, 32768, 0, "F" + std::to_string(100 + i) + ".TXT;1"));
   }
   many.push_back(Record(kLinks, 2048, 2, "LINKS"));
   std::string path = RootImage(dir, "repeat.iso", 40, many, "", [&](isocraft::Image &img) {
      img.putBlock(kData, std::string(32768, 'd'));
      img.putBlock(kLinks, Directory(kLinks, kRoot,
                                     {Record(kData, 32768, 0, "ONE.TXT;1"),
                                      Record(kData, 32768, 0, "TWO.TXT;1")}));
   });
   Iso9660Image *img = Open(path, 1);
   ASSERT_NE(img, nullptr);
   trtest::TempDir links, all;
   EXPECT_EQ(Iso9660_Extract(img, "LINKS", links.path().c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(links.file("TWO.TXT")), std::string(32768, 'd'));
   EXPECT_EQ(Iso9660_Extract(img, "/", all.path().c_str()), ISO9660_BAD_FORMAT);
   // One file alone is never refused.
   EXPECT_EQ(Iso9660_Extract(img, "F139.TXT", all.path().c_str()), ISO9660_OK);
   Iso9660_Close(img);
}

// 1200 records whose continuation entries all name one 60,000-byte area:
// over 64 MiB to read for one listing, so the Rock Ridge listing fails
// while the plain one, which reads no system-use areas, works.
TEST(IsoLimits, SharedContinuationAreaIsBounded) {
   trtest::TempDir dir;
   constexpr uint32_t kArea = 100;
   std::string ce(28, '\0');
   ce.replace(0, 4, std::string("CE\x1C\x01", 4));
   isocraft::PutLe32(ce, 4, kArea);
   isocraft::PutLe32(ce, 20, 60000);
   std::vector<std::string> records;
   for (int i = 0; i < 1200; i++) {
      records.push_back(Record(0, 0, 0, "F" + std::to_string(1000 + i) + ".;1", ce));
   }
   std::string path = RootImage(dir, "ce.iso", kArea + 32, records, isocraft::RockRidgeRootSu(),
                                [](isocraft::Image &) {});
   Iso9660Image *img = Open(path, 4);
   ASSERT_NE(img, nullptr);
   Iso9660DirHandle d;
   auto start = std::chrono::steady_clock::now();
   EXPECT_EQ(Iso9660_OpenDir(img, "/", &d), ISO9660_BAD_FORMAT);
   EXPECT_LT(Seconds(start), 10.0);
   Iso9660_Close(img);
   img = Open(path, 1);
   ASSERT_EQ(Iso9660_OpenDir(img, "/", &d), ISO9660_OK);
   Iso9660DirEntry e;
   int n = 0;
   while (Iso9660_ReadDir(img, d, &e) == ISO9660_OK) n++;
   EXPECT_EQ(n, 1200);
   Iso9660_Close(img);
}

std::string ReadWhole(Iso9660Image *img, const Iso9660DirEntry &e) {
   Iso9660FileHandle f;
   if (Iso9660_OpenFile(img, &e, &f) != ISO9660_OK) return "<cannot open>";
   std::string data;
   char buf[700];
   uint32_t count = sizeof buf;
   while (Iso9660_ReadFile(img, f, buf, &count) == ISO9660_OK) {
      data.append(buf, count);
      count = sizeof buf;
   }
   Iso9660_CloseFile(img, f);
   return data;
}

// Listing as "name size" lines, with each file's data appended.
std::vector<std::string> ListWithData(Iso9660Image *img, const char *path) {
   std::vector<std::string> out;
   Iso9660DirHandle d;
   if (Iso9660_OpenDir(img, path, &d) != ISO9660_OK) return {"<cannot open>"};
   Iso9660DirEntry e;
   while (Iso9660_ReadDir(img, d, &e) == ISO9660_OK) {
      out.push_back(std::string(e.name) + " " + std::to_string(e.size) + " " + ReadWhole(img, e));
   }
   Iso9660_CloseDir(img, d);
   return out;
}

// The records of a multi-extent file share one identifier; its Rock Ridge
// name may be on the first record only.
TEST(IsoUnusual, RockRidgeMultiExtentFile) {
   std::string nm = isocraft::NameEntry("big.bin");
   for (bool nameOnEveryRecord : {false, true}) {
      trtest::TempDir dir;
      std::string path = RootImage(dir, "multi.iso", 30,
                                   {Record(20, 2048, 0x80, "BIG.BIN;1", nm),
                                    Record(22, 5, 0, "BIG.BIN;1", nameOnEveryRecord ? nm : ""),
                                    Record(24, 3, 0, "X.TXT;1", isocraft::NameEntry("x.txt"))},
                                   isocraft::RockRidgeRootSu(), [](isocraft::Image &img) {
                                      img.putBlock(20, std::string(2048, 'a'));
                                      img.putBlock(22, "bbbbb");
                                      img.putBlock(24, "xyz");
                                   });
      Iso9660Image *img = Open(path, 4);
      ASSERT_NE(img, nullptr);
      EXPECT_EQ(ListWithData(img, "/"),
                (std::vector<std::string>{"big.bin 2053 " + std::string(2048, 'a') + "bbbbb",
                                          "x.txt 3 xyz"}))
         << nameOnEveryRecord;
      Iso9660_Close(img);
   }
}

// With 512-byte logical blocks, records still only keep out of the
// 2048-byte sector boundaries; extents count in 512-byte blocks.
TEST(IsoUnusual, SmallLogicalBlocks) {
   trtest::TempDir dir;
   std::string path = dir.file("512.iso");
   {
      isocraft::Image img(path, 40 * 2048);
      constexpr uint32_t kRoot512 = kRoot * 4;
      std::vector<std::string> records = {Record(kRoot512, 2048, 2, std::string("\0", 1)),
                                          Record(kRoot512, 2048, 2, std::string("\1", 1))};
      for (int i = 0; i < 3; i++) {
         // 200-byte records: the third one runs across offset 512.
         records.push_back(Record(90 + i, 3, 0, "F" + std::to_string(i) + std::string(160, 'X')));
      }
      img.putBlock(16, isocraft::Descriptor(1, kRoot512, 2048, 160, "SMALL", 512));
      img.putBlock(17, isocraft::Terminator());
      img.putBlock(kRoot, PackRecords(records));
      for (int i = 0; i < 3; i++) img.put((90 + i) * 512ull, "ab" + std::to_string(i));
   }
   Iso9660Image *img = Open(path, 1);
   ASSERT_NE(img, nullptr);
   std::vector<std::string> listing = ListWithData(img, "");
   ASSERT_EQ(listing.size(), 3u);
   EXPECT_EQ(listing[2], "F2" + std::string(160, 'X') + " 3 ab2");
   Iso9660_Close(img);
}

}  // namespace
