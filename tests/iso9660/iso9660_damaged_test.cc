// iso9660_damaged_test.cc --
//
//    Images the mastering tools would not write: damaged records, extents
//    outside the image, directory and continuation loops, and files past
//    the 4 GiB mark of a DVD-sized sparse image. Each gives an error code
//    or the right bytes, never a crash, a hang or a read outside the file.

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <trplatform/file.h>
#include <trplatform/iso9660.h>

#include "iso_craft.hh"
#include "testsupport.hh"

namespace {

using isocraft::DotRecords;
using isocraft::Record;

constexpr uint32_t kRoot = 18;

// A root directory of rootSize bytes holding `records` after "." and "..".
std::string BuildImage(const trtest::TempDir &dir, const std::string &records,
                       const std::string &dotSu = "", uint16_t blockSize = 2048,
                       uint32_t rootSize = 2048) {
   const uint64_t size = 40 * 2048;
   std::string path = dir.file("crafted.iso");
   isocraft::Image img(path, size);
   img.putBlock(16, isocraft::Descriptor(1, kRoot, rootSize, static_cast<uint32_t>(size / 2048),
                                         "CRAFTED", blockSize));
   img.putBlock(17, isocraft::Terminator());
   img.putBlock(kRoot, DotRecords(kRoot, rootSize, kRoot, rootSize, dotSu) + records);
   return path;
}

Iso9660Result OpenRootDir(const std::string &path, uint32_t formats = 1) {
   Iso9660Image *img = nullptr;
   Iso9660Result r = Iso9660_Open(path.c_str(), formats, 0, &img);
   if (r != ISO9660_OK) {
      return r;
   }
   Iso9660DirHandle d;
   r = Iso9660_OpenDir(img, "/", &d);
   Iso9660_Close(img);
   return r;
}

TEST(IsoDamaged, BadRecordsAreFormatErrors) {
   trtest::TempDir dir;
   std::string good = Record(20, 5, 0, "A.TXT;1");
   std::string shortRecord = good;
   shortRecord[0] = 20;  // below the 33-byte minimum
   std::string longName = good;
   longName[32] = 60;    // the name runs past the record
   // Nine 198-byte records end at offset 1850 of the first block; a
   // 232-byte record there would run into the second block.
   std::string filler;
   for (int i = 0; i < 9; i++) filler += Record(20, 5, 0, std::string(165, 'F'));
   std::string crossing = filler + Record(20, 5, 0, std::string(199, 'X'));
   std::string padded = filler + std::string(198, '\0') + Record(20, 5, 0, "B.TXT;1");
   struct {
      const char *name;
      std::string records;
      uint32_t rootSize;
      Iso9660Result result;
   } cases[] = {
      {"good", good, 2048, ISO9660_OK},
      {"recordBelowMinimum", shortRecord, 2048, ISO9660_BAD_FORMAT},
      {"nameBeyondRecord", longName, 2048, ISO9660_BAD_FORMAT},
      {"recordCrossesBlock", crossing, 4096, ISO9660_BAD_FORMAT},
      {"zeroLengthPadsToNextBlock", padded, 4096, ISO9660_OK},
      {"recordBeyondDirectory", crossing, 2048, ISO9660_BAD_FORMAT},
      {"multiExtentWithoutEnd", Record(20, 5, 0x80, "A.TXT;1"), 2048, ISO9660_BAD_FORMAT},
      {"multiExtentNameChanges",
       Record(20, 5, 0x80, "A.TXT;1") + Record(21, 5, 0, "B.TXT;1"), 2048, ISO9660_BAD_FORMAT},
   };
   for (const auto &c : cases) {
      EXPECT_EQ(OpenRootDir(BuildImage(dir, c.records, "", 2048, c.rootSize)), c.result)
         << c.name;
   }
}

TEST(IsoDamaged, ExtentsOutsideTheImage) {
   trtest::TempDir dir;
   // A file whose data lies past the end of the image opens as an error.
   std::string path = BuildImage(dir, Record(1000000, 4096, 0, "FAR.BIN;1"));
   Iso9660Image *img = nullptr;
   ASSERT_EQ(Iso9660_Open(path.c_str(), 1, 0, &img), ISO9660_OK);
   Iso9660DirHandle d;
   ASSERT_EQ(Iso9660_OpenDir(img, "/", &d), ISO9660_OK);
   Iso9660DirEntry e;
   ASSERT_EQ(Iso9660_ReadDir(img, d, &e), ISO9660_OK);
   Iso9660FileHandle f;
   EXPECT_EQ(Iso9660_OpenFile(img, &e, &f), ISO9660_BAD_FORMAT);
   EXPECT_EQ(Iso9660_Extract(img, "FAR.BIN", dir.path().c_str()), ISO9660_BAD_FORMAT);
   Iso9660_Close(img);

   // Ten extents that each cover the whole image claim ten times the data
   // the image holds: opening the file (a reader of the whole file would
   // run out of memory) and extracting it (which would fill the disk) are
   // both refused, and nothing is written.
   const uint32_t whole = 40 * 2048;
   std::string repeated;
   for (int i = 0; i < 9; i++) repeated += Record(0, whole, 0x80, "BIG.BIN;1");
   path = BuildImage(dir, repeated + Record(0, whole, 0, "BIG.BIN;1"));
   ASSERT_EQ(Iso9660_Open(path.c_str(), 1, 0, &img), ISO9660_OK);
   ASSERT_EQ(Iso9660_OpenDir(img, "/", &d), ISO9660_OK);
   ASSERT_EQ(Iso9660_ReadDir(img, d, &e), ISO9660_OK);
   EXPECT_EQ(e.size, 10ull * whole);
   EXPECT_EQ(Iso9660_OpenFile(img, &e, &f), ISO9660_BAD_FORMAT);
   trtest::TempDir out;
   EXPECT_EQ(Iso9660_Extract(img, "BIG.BIN", out.path().c_str()), ISO9660_BAD_FORMAT);
   EXPECT_EQ(Iso9660_ExtractFileEx(img, "BIG.BIN", out.file("big").c_str()), ISO9660_BAD_FORMAT);
   EXPECT_EQ(File_ListDirectory(out.path().c_str(), nullptr), 0);
   Iso9660_Close(img);

   // A directory outside the image cannot be listed.
   path = BuildImage(dir, Record(1000000, 2048, 2, "SUB"));
   ASSERT_EQ(Iso9660_Open(path.c_str(), 1, 0, &img), ISO9660_OK);
   EXPECT_EQ(Iso9660_OpenDir(img, "SUB", &d), ISO9660_BAD_FORMAT);
   Iso9660_Close(img);
}

TEST(IsoDamaged, BadDescriptors) {
   trtest::TempDir dir;
   // Block size that is not a power of two.
   EXPECT_EQ(OpenRootDir(BuildImage(dir, "", "", 1000)), ISO9660_BAD_FORMAT);
   // An image cut off before its descriptors.
   std::string path = dir.file("cut.iso");
   trtest::WriteFile(path, std::string(16 * 2048 + 100, '\0'));
   Iso9660Image *img = nullptr;
   EXPECT_EQ(Iso9660_Open(path.c_str(), 7, 0, &img), ISO9660_BAD_FORMAT);
   // Root directory extent larger than the image.
   std::string p2 = dir.file("bigroot.iso");
   {
      isocraft::Image raw(p2, 40 * 2048);
      raw.putBlock(16, isocraft::Descriptor(1, kRoot, 900000, 40, "X"));
      raw.putBlock(17, isocraft::Terminator());
   }
   EXPECT_EQ(OpenRootDir(p2), ISO9660_BAD_FORMAT);
}

TEST(IsoDamaged, DirectoryCycleEndsTheExtraction) {
   trtest::TempDir dir;
   // LOOP points back at the root directory.
   std::string path = BuildImage(dir, Record(kRoot, 2048, 2, "LOOP") + Record(20, 3, 0, "F.TXT;1"));
   Iso9660Image *img = nullptr;
   ASSERT_EQ(Iso9660_Open(path.c_str(), 1, 0, &img), ISO9660_OK);
   Iso9660DirHandle d;
   EXPECT_EQ(Iso9660_OpenDir(img, "LOOP/LOOP/LOOP/LOOP", &d), ISO9660_OK);
   Iso9660_CloseDir(img, d);
   trtest::TempDir out;
   EXPECT_EQ(Iso9660_Extract(img, "/", out.path().c_str()), ISO9660_BAD_FORMAT);
   Iso9660_Close(img);
}

TEST(IsoDamaged, ContinuationLoopIsBounded) {
   trtest::TempDir dir;
   // The root's "." carries the SUSP "SP" indicator and a Rock Ridge "RR";
   // the file's continuation area (block 25) holds the same "CE" again.
   std::string sp("SP\x07\x01\xBE\xEF\x00", 7);
   std::string rr("RR\x05\x01\x81", 5);
   std::string ce(28, '\0');
   ce.replace(0, 4, std::string("CE\x1C\x01", 4));
   isocraft::PutLe32(ce, 4, 25);
   isocraft::PutLe32(ce, 12, 0);
   isocraft::PutLe32(ce, 20, 28);
   std::string nm("NM\x0A\x01\x00name!", 10);
   std::string path = BuildImage(dir, Record(20, 3, 0, "F.TXT;1", nm + ce), sp + rr);
   int fd = ::open(path.c_str(), O_WRONLY);
   ASSERT_GE(fd, 0);
   ASSERT_EQ(::pwrite(fd, ce.data(), ce.size(), 25 * 2048), 28);
   ::close(fd);

   uint32_t formats = 0;
   ASSERT_EQ(Iso9660_ListFormats(path.c_str(), &formats), ISO9660_OK);
   EXPECT_EQ(formats, 5u);
   Iso9660Image *img = nullptr;
   ASSERT_EQ(Iso9660_Open(path.c_str(), 4, 0, &img), ISO9660_OK);
   Iso9660DirHandle d;
   ASSERT_EQ(Iso9660_OpenDir(img, "/", &d), ISO9660_OK);
   Iso9660DirEntry e;
   ASSERT_EQ(Iso9660_ReadDir(img, d, &e), ISO9660_OK);
   EXPECT_STREQ(e.name, "name!");
   Iso9660_Close(img);
}

TEST(IsoLarge, FilesPastFourGiBInADvdSizedImage) {
   trtest::TempDir dir;
   const uint64_t size = 4700000000ULL;
   const uint32_t farBlock = 2200000;   // 4,505,600,000 bytes in
   const uint32_t fartherBlock = 2250000;
   const uint32_t farDirBlock = 2260000, farDirFileBlock = 2290000;
   std::string path = dir.file("dvd.iso");
   {
      isocraft::Image img(path, size);
      img.putBlock(16, isocraft::Descriptor(1, kRoot, 2048, static_cast<uint32_t>(size / 2048),
                                            "DVD"));
      img.putBlock(17, isocraft::Terminator());
      img.putBlock(kRoot, DotRecords(kRoot, 2048, kRoot, 2048) +
                             Record(19, 2048, 0x80, "BIG.BIN;1") +
                             Record(farBlock, 100, 0, "BIG.BIN;1") +
                             Record(fartherBlock, 8, 0, "FAR.TXT;1") +
                             Record(farDirBlock, 2048, 2, "FARDIR"));
      img.putBlock(farDirBlock, DotRecords(farDirBlock, 2048, kRoot, 2048) +
                                   Record(farDirFileBlock, 6, 0, "INSIDE.TXT;1"));
      img.putBlock(farDirFileBlock, "inside");
      img.putBlock(19, std::string(2048, 'A'));
      img.putBlock(farBlock, std::string(100, 'B'));
      img.putBlock(fartherBlock, "far away");
   }
   Iso9660Image *img = nullptr;
   ASSERT_EQ(Iso9660_Open(path.c_str(), 7, 0, &img), ISO9660_OK);
   Iso9660DirHandle d;
   ASSERT_EQ(Iso9660_OpenDir(img, "/", &d), ISO9660_OK);
   Iso9660DirEntry e;
   std::string big, far;
   while (Iso9660_ReadDir(img, d, &e) == ISO9660_OK) {
      if (e.isDirectory) continue;
      Iso9660FileHandle f;
      ASSERT_EQ(Iso9660_OpenFile(img, &e, &f), ISO9660_OK);
      std::string data;
      char buf[1000];
      uint32_t count = sizeof buf;
      while (Iso9660_ReadFile(img, f, buf, &count) == ISO9660_OK) {
         data.append(buf, count);
         count = sizeof buf;
      }
      Iso9660_CloseFile(img, f);
      (std::strcmp(e.name, "BIG.BIN") == 0 ? big : far) = data;
      if (std::strcmp(e.name, "BIG.BIN") == 0) {
         EXPECT_EQ(e.size, 2148u);  // one entry for both extents
      }
   }
   EXPECT_EQ(big, std::string(2048, 'A') + std::string(100, 'B'));
   EXPECT_EQ(far, "far away");
   EXPECT_EQ(Iso9660_ExtractFileEx(img, "FAR.TXT", dir.file("far.txt").c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(dir.file("far.txt")), "far away");
   // A directory past the mark, listed and extracted.
   trtest::TempDir out;
   EXPECT_EQ(Iso9660_Extract(img, "/FARDIR", out.path().c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(out.file("INSIDE.TXT")), "inside");
   Iso9660_Close(img);
}

}  // namespace
