// iso9660_limits_test.cc --
//
//    Crafted images that an unbounded reader would work on for ever or use
//    to fill the disk: directories linked from many places, records that
//    all point at one file's data or at one large continuation area. And
//    records that are unusual but legal: a multi-extent file named only on
//    its first record, directories of 512-byte blocks.

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/iso9660.h>

#include "iso_craft.hh"
#include "testsupport.hh"

namespace {

using isocraft::Record;
using Clock = std::chrono::steady_clock;
using Records = std::vector<std::string>;

constexpr uint32_t kRoot = 18;  // in 2048-byte blocks
constexpr auto kPatience = std::chrono::seconds(10);

// A directory extent at `self` below `parent` holding `records`.
std::string Directory(uint32_t self, uint32_t parent, const Records &records,
                      const std::string &dotSu = "") {
   auto pack = [&](uint32_t size) {
      Records all = {isocraft::DotRecords(self, size, parent, size, dotSu)};
      all.insert(all.end(), records.begin(), records.end());
      return isocraft::PackRecords(all);
   };
   return pack(static_cast<uint32_t>(pack(0).size()));
}

// An image of `blocks` 2048-byte blocks: a root directory holding `root`
// (its "." record carrying dotSu) and `more` blocks written as given.
struct Crafted {
   uint32_t blocks;
   Records root;
   std::vector<std::pair<uint32_t, std::string>> more = {};
   std::string dotSu = "";
   uint16_t logicalBlock = 2048;  // extents count in these
};

using ImagePtr = std::unique_ptr<Iso9660Image, void (*)(Iso9660Image *)>;

ImagePtr Open(const trtest::TempDir &dir, const Crafted &c, uint32_t formats = 1) {
   const std::string path = dir.file("crafted.iso");
   {
      isocraft::Image img(path, static_cast<uint64_t>(c.blocks) * 2048);
      const uint32_t per = 2048 / c.logicalBlock, root = kRoot * per;
      const std::string rootDir = Directory(root, root, c.root, c.dotSu);
      img.putBlock(16, isocraft::Descriptor(1, root, static_cast<uint32_t>(rootDir.size()),
                                            c.blocks * per, "CRAFTED", c.logicalBlock));
      img.putBlock(17, isocraft::Terminator());
      img.putBlock(kRoot, rootDir);
      for (const auto &[block, bytes] : c.more) img.putBlock(block, bytes);
   }
   Iso9660Image *img = nullptr;
   EXPECT_EQ(Iso9660_Open(path.c_str(), formats, 0, &img), ISO9660_OK);
   return ImagePtr(img, [](Iso9660Image *i) { Iso9660_Close(i); });
}

// The listing of path as "name size" lines.
Records Listing(Iso9660Image *img, const char *path) {
   Records out;
   Iso9660DirHandle d;
   Iso9660DirEntry e;
   if (Iso9660_OpenDir(img, path, &d) != ISO9660_OK) return {"<cannot open>"};
   while (Iso9660_ReadDir(img, d, &e) == ISO9660_OK) {
      out.push_back(std::string(e.name) + " " + std::to_string(e.size));
   }
   Iso9660_CloseDir(img, d);
   return out;
}

// The root directory's file `name`, copied out whole.
std::string Fetch(Iso9660Image *img, const trtest::TempDir &dir, const std::string &name) {
   const std::string out = dir.file("fetched");
   if (Iso9660_ExtractFileEx(img, name.c_str(), out.c_str()) != ISO9660_OK) return "<failed>";
   return trtest::ReadFile(out);
}

// Thirty levels, each holding two records of the next level: a walk that
// only guards against cycles would copy 2^30 directories.
TEST(IsoLimits, DirectoryLinkedTwiceEndsTheExtraction) {
   trtest::TempDir dir, out;
   constexpr uint32_t kFirst = 20, kEnd = kFirst + 30;
   auto twice = [](uint32_t at) {
      return Records{Record(at, 2048, 2, "A"), Record(at, 2048, 2, "B")};
   };
   Crafted c{kEnd + 2, twice(kFirst)};
   for (uint32_t self = kFirst; self < kEnd; self++) {
      const Records below = self + 1 < kEnd ? twice(self + 1) : Records{Record(0, 0, 0, "F.;1")};
      c.more.emplace_back(self, Directory(self, self == kFirst ? kRoot : self - 1, below));
   }
   ImagePtr img = Open(dir, c);
   ASSERT_NE(img, nullptr);
   EXPECT_EQ(Listing(img.get(), "A/B/A/B/A"), (Records{"A 2048", "B 2048"}));  // lookups work
   const auto start = Clock::now();
   EXPECT_EQ(Iso9660_Extract(img.get(), "/", out.path().c_str()), ISO9660_BAD_FORMAT);
   EXPECT_LT(Clock::now() - start, kPatience);
}

// Two names for one file's data (a hard link) extract; forty names for
// 32 KiB of an 80 KiB image are more than eight times the image, yet any
// one of them alone is never refused.
TEST(IsoLimits, RepeatedDataEndsTheExtraction) {
   trtest::TempDir dir, links, all;
   constexpr uint32_t kData = 20, kLinks = 38;
   const Records two = {Record(kData, 32768, 0, "ONE.;1"), Record(kData, 32768, 0, "TWO.;1")};
   Crafted c{40, {Record(kLinks, 2048, 2, "LINKS")},
             {{kData, std::string(32768, 'd')}, {kLinks, Directory(kLinks, kRoot, two)}}};
   for (int i = 100; i < 140; i++) {
      c.root.push_back(Record(kData, 32768, 0, "F" + std::to_string(i) + ".TXT;1"));
   }
   ImagePtr img = Open(dir, c);
   ASSERT_NE(img, nullptr);
   EXPECT_EQ(Iso9660_Extract(img.get(), "LINKS", links.path().c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(links.file("TWO")), std::string(32768, 'd'));
   EXPECT_EQ(Iso9660_Extract(img.get(), "/", all.path().c_str()), ISO9660_BAD_FORMAT);
   EXPECT_EQ(Iso9660_Extract(img.get(), "F139.TXT", all.path().c_str()), ISO9660_OK);
}

// 1200 records whose continuation entries all name one 60,000-byte area:
// over 64 MiB to read for one listing, so the Rock Ridge listing fails
// while the plain one, which reads no system-use areas, works.
TEST(IsoLimits, SharedContinuationAreaIsBounded) {
   trtest::TempDir dir;
   std::string ce("CE\x1C\x01", 4);
   ce.resize(28, '\0');
   isocraft::PutLe32(ce, 4, 100);  // the area's block
   isocraft::PutLe32(ce, 20, 60000);
   Crafted c{132, {}, {}, isocraft::RockRidgeRootSu()};
   for (int i = 1000; i < 2200; i++) {
      c.root.push_back(Record(0, 0, 0, "F" + std::to_string(i) + ".;1", ce));
   }
   const auto start = Clock::now();
   EXPECT_EQ(Listing(Open(dir, c, 4).get(), "/"), Records{"<cannot open>"});
   EXPECT_LT(Clock::now() - start, kPatience);
   EXPECT_EQ(Listing(Open(dir, c, 1).get(), "/").size(), 1200u);
}

// The records of a multi-extent file share one identifier; its Rock Ridge
// name may be on the first record only.
TEST(IsoUnusual, RockRidgeMultiExtentFile) {
   const std::string nm = isocraft::NameEntry("big.bin");
   for (bool nameOnEveryRecord : {false, true}) {
      trtest::TempDir dir;
      const Crafted c{30,
                      {Record(20, 2048, 0x80, "BIG.BIN;1", nm),
                       Record(22, 5, 0, "BIG.BIN;1", nameOnEveryRecord ? nm : ""),
                       Record(24, 3, 0, "X.TXT;1", isocraft::NameEntry("x.txt"))},
                      {{20, std::string(2048, 'a')}, {22, "bbbbb"}, {24, "xyz"}},
                      isocraft::RockRidgeRootSu()};
      ImagePtr img = Open(dir, c, 4);
      ASSERT_NE(img, nullptr);
      EXPECT_EQ(Listing(img.get(), "/"), (Records{"big.bin 2053", "x.txt 3"})) << nameOnEveryRecord;
      EXPECT_EQ(Fetch(img.get(), dir, "big.bin"), std::string(2048, 'a') + "bbbbb");
   }
}

// With 512-byte logical blocks, records still only keep out of the
// 2048-byte sector boundaries; extents count in 512-byte blocks. 200-byte
// records: the third one runs across offset 512.
TEST(IsoUnusual, SmallLogicalBlocks) {
   trtest::TempDir dir;
   Crafted c{40, {}, {}, "", 512};
   for (uint32_t i = 0; i < 3; i++) {
      c.root.push_back(Record(88 + 4 * i, 3, 0, "F" + std::to_string(i) + std::string(160, 'X')));
      c.more.emplace_back(22 + i, "ab" + std::to_string(i));
   }
   ImagePtr img = Open(dir, c);
   ASSERT_NE(img, nullptr);
   EXPECT_EQ(Listing(img.get(), "").size(), 3u);
   EXPECT_EQ(Fetch(img.get(), dir, "F2" + std::string(160, 'X')), "ab2");
}

}  // namespace
