// fsimage_lookup_test.cc --
//
//    Finding files by name: stored names in any case, a name held twice by
//    a damaged directory, directories, names added after opening,
//    and a root directory of tens of thousands of entries walked name by
//    name in linear time.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "fat_support.hh"

namespace {

using fattest::GetFile;
using fattest::Image;
using fattest::Patch;
using fattest::PutFile;

constexpr off_t kRoot = 19 * 512;  // root directory of a floppy that we format

// A root directory slot: 11 name bytes, attributes, first cluster, size.
std::string Entry(std::string_view name11, uint8_t attr = 0x20, uint16_t cluster = 0,
                  uint32_t size = 0) {
   std::string e(32, '\0');
   e.replace(0, 11, name11.data(), 11);
   e[11] = static_cast<char>(attr);
   e[26] = static_cast<char>(cluster & 0xFF);
   e[27] = static_cast<char>(cluster >> 8);
   for (int i = 0; i < 4; i++) {
      e[28 + i] = static_cast<char>(size >> (8 * i));
   }
   return e;
}

TEST(FatLookup, StoredNamesMatchIgnoringCase) {
   trtest::TempDir tmp;
   const std::string img = tmp.file("l.flp");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "first.txt", "first"), FSIMAGE_OK);  // clusters 2
   }
   // Slot 1: the same name again (a damaged directory), empty; slot 2: a
   // name written in lower-case bytes by a careless tool; slot 3: a
   // subdirectory.
   Patch(img, kRoot + 32,
         Entry("FIRST   TXT") + Entry("lower   txt") + Entry("SUBDIR     ", 0x10));
   Image image(img, Image::How::Open);
   ASSERT_EQ(image.error(), FSIMAGE_OK);

   // The first slot of a name wins, as for a reader scanning in order.
   EXPECT_EQ(GetFile(image.dir(), "FIRST.TXT"), "first");
   EXPECT_EQ(GetFile(image.dir(), "LOWER.TXT"), "");
   EXPECT_EQ(GetFile(image.dir(), "lower.txt"), "");
   FSImageFile *file = nullptr;
   EXPECT_EQ(FSImage_OpenFile(image.dir(), "subdir", &file), FSIMAGE_ERR_NOT_FOUND);
   EXPECT_EQ(FSImage_OpenFile(image.dir(), "nothere", &file), FSIMAGE_ERR_NOT_FOUND);
   for (const char *taken : {"First.Txt", "LOWER.txt", "subdir"}) {
      EXPECT_EQ(FSImage_CreateFile(image.dir(), taken, &file), FSIMAGE_ERR_EXISTS) << taken;
   }
   EXPECT_EQ(file, nullptr);

   // Written over through its first slot; the later duplicate stays as it was.
   ASSERT_EQ(PutFile(image.dir(), "first.txt", "again"), FSIMAGE_OK);
   EXPECT_EQ(GetFile(image.dir(), "first.txt"), "again");
   uint64_t size = 1;
   ASSERT_EQ(FSImage_GetCatInfo(image.dir(), 1, nullptr, nullptr, nullptr, &size, nullptr),
             FSIMAGE_OK);
   EXPECT_EQ(size, 0u);

   // Names created now are found at once, in any case.
   ASSERT_EQ(PutFile(image.dir(), "new.cfg", "new"), FSIMAGE_OK);
   EXPECT_EQ(GetFile(image.dir(), "NEW.CFG"), "new");
   EXPECT_EQ(FSImage_CreateFile(image.dir(), "New.Cfg", &file), FSIMAGE_ERR_EXISTS);
}

// A FAT16 image whose root directory holds 32768 empty files, every one
// opened by name after it is listed (as a driver floppy is copied out).
// Looking each name up by a scan of the directory would take half a billion
// slot decodings: seconds in an optimised build, minutes in a sanitized
// unoptimised one. An indexed lookup takes a tenth of a second and about
// twenty times that under the sanitizers.
#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__)
constexpr std::chrono::seconds kWalkBound(1);
#else
constexpr std::chrono::seconds kWalkBound(20);
#endif

TEST(FatLookup, LargeRootDirectoryWalkedByName) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   const std::string img = tmp.file("big.img");
   auto made = fattest::Tool({"mkfs.fat", "-C", "-F", "16", "-s", "1", "-r", "32768", img, "8192"});
   ASSERT_EQ(made.exitCode, 0) << made.output;
   const std::string boot = trtest::ReadFile(img).substr(0, 512);
   auto le16 = [&](size_t at) {
      return static_cast<uint32_t>(static_cast<uint8_t>(boot[at]) |
                                   (static_cast<uint8_t>(boot[at + 1]) << 8));
   };
   const uint32_t entries = le16(17);
   ASSERT_EQ(entries, 32768u);
   const off_t root = static_cast<off_t>((le16(14) + boot[16] * le16(22)) * le16(11));
   std::string slots;
   for (uint32_t i = 0; i < entries; i++) {
      const std::string digits = std::to_string(i);
      slots += Entry("F" + std::string(7 - digits.size(), '0') + digits + "TXT");
   }
   Patch(img, root, slots);

   Image image(img, Image::How::Open);
   ASSERT_EQ(image.error(), FSIMAGE_OK);
   const auto start = std::chrono::steady_clock::now();
   uint32_t opened = 0;
   for (uint32_t i = 0; i < FSImage_GetNumDirEntries(image.dir()); i++) {
      char *name = nullptr;
      Bool inUse = FALSE;
      ASSERT_EQ(FSImage_GetCatInfo(image.dir(), i, &inUse, &name, nullptr, nullptr, nullptr),
                FSIMAGE_OK);
      FSImageFile *file = nullptr;
      if (inUse && FSImage_OpenFile(image.dir(), name, &file) == FSIMAGE_OK) {
         opened++;
      }
      FSImage_Close(file);
      free(name);
   }
   const auto elapsed = std::chrono::steady_clock::now() - start;
   EXPECT_EQ(opened, entries);
   EXPECT_LT(elapsed, kWalkBound);
   FSImageFile *file = nullptr;
   EXPECT_EQ(FSImage_CreateFile(image.dir(), "more.txt", &file), FSIMAGE_ERR_DIR_FULL);
}

}  // namespace
