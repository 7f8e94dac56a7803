// fsimage_lookup_test.cc --
//
//    Finding files by name: stored names in any case, a name held twice by
//    a damaged directory, directories, names added after opening, and a
//    root directory of tens of thousands of entries walked name by name in
//    linear time.

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

#include "fat_support.hh"

namespace {

using fattest::GetFile;
using fattest::Image;
using fattest::PutFile;

// A directory slot with no cluster and size 0: 11 name bytes, attributes.
std::string Entry(std::string_view name11, uint8_t attr = 0x20) {
   std::string e(32, '\0');
   e.replace(0, 11, name11.data(), 11);
   e[11] = static_cast<char>(attr);
   return e;
}

TEST(FatLookup, StoredNamesMatchIgnoringCase) {
   trtest::TempDir tmp;
   const std::string img = tmp.file("l.flp");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "first.txt", "first"), FSIMAGE_OK);
   }
   // Root slots 1-3 (the root of a floppy we format is at sector 19): the
   // same name again (a damaged directory), empty; a name written in
   // lower-case bytes by a careless tool; a subdirectory.
   fattest::Patch(img, 19 * 512 + 32,
                  Entry("FIRST   TXT") + Entry("lower   txt") + Entry("SUBDIR     ", 0x10));
   Image image(img, Image::How::Open);
   ASSERT_EQ(image.error(), FSIMAGE_OK);

   // The first slot of a name wins, as for a reader scanning in order; a
   // directory is not a file.
   const std::pair<const char *, std::optional<std::string>> lookups[] = {
      {"FIRST.TXT", "first"}, {"LOWER.TXT", ""}, {"lower.txt", ""},
      {"subdir", std::nullopt}, {"nothere", std::nullopt},
   };
   for (const auto &[name, content] : lookups) {
      EXPECT_EQ(GetFile(image.dir(), name), content) << name;
   }
   FSImageFile *file = nullptr;
   for (const char *taken : {"First.Txt", "LOWER.txt", "subdir"}) {
      EXPECT_EQ(FSImage_CreateFile(image.dir(), taken, &file), FSIMAGE_ERR_EXISTS) << taken;
   }
   EXPECT_EQ(file, nullptr);

   // Written over through its first slot; the later duplicate stays empty.
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

// A FAT16 root directory of 32768 empty files, every one opened by name
// after it is listed (as a driver floppy is copied out). A scan per lookup
// would take half a billion slot decodings: seconds optimised, minutes
// sanitized. An indexed lookup takes a tenth of a second, about twenty
// times that under the sanitizers.
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
      return static_cast<uint8_t>(boot[at]) | static_cast<uint8_t>(boot[at + 1]) << 8;
   };
   ASSERT_EQ(le16(17), 32768);  // root entries
   std::string slots;
   for (int i = 0; i < 32768; i++) {
      const std::string digits = std::to_string(i);
      slots += Entry("F" + std::string(7 - digits.size(), '0') + digits + "TXT");
   }
   // The root follows the reserved sectors and the FAT copies.
   fattest::Patch(img, (le16(14) + boot[16] * le16(22)) * le16(11), slots);

   Image image(img, Image::How::Open);
   ASSERT_EQ(image.error(), FSIMAGE_OK);
   const auto start = std::chrono::steady_clock::now();
   int opened = 0;
   for (const std::string &name : fattest::ListNames(image.dir())) {
      FSImageFile *file = nullptr;
      opened += FSImage_OpenFile(image.dir(), name.c_str(), &file) == FSIMAGE_OK ? 1 : 0;
      FSImage_Close(file);
   }
   EXPECT_LT(std::chrono::steady_clock::now() - start, kWalkBound);
   EXPECT_EQ(opened, 32768);
   FSImageFile *file = nullptr;
   EXPECT_EQ(FSImage_CreateFile(image.dir(), "more.txt", &file), FSIMAGE_ERR_DIR_FULL);
}

}  // namespace
