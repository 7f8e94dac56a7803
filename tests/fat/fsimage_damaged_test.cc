// fsimage_damaged_test.cc --
//
//    Damaged and unusual images: broken cluster chains and directory entries
//    give error codes (never a crash or a hang) and leave the rest of the
//    image usable; new entries keep clear of other systems' long names.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <functional>

#include "fat_support.hh"

namespace {

using fattest::GetFile;
using fattest::Image;
using fattest::Patch;
using fattest::Pattern;
using fattest::PutFile;

// Byte offsets on a floppy that we format.
constexpr off_t kFat = 512;
constexpr off_t kRoot = 19 * 512;

std::string Le16(uint16_t v) {
   return {static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)};
}

std::string Le32(uint32_t v) {
   return Le16(static_cast<uint16_t>(v)) + Le16(static_cast<uint16_t>(v >> 16));
}

// Sets FAT12 entry c of the first FAT copy.
void SetFat12(const std::string &path, uint32_t c, uint16_t value) {
   const std::string image = trtest::ReadFile(path);
   const off_t at = kFat + c + c / 2;
   uint16_t word = static_cast<uint16_t>(static_cast<uint8_t>(image[at]) |
                                         (static_cast<uint8_t>(image[at + 1]) << 8));
   word = (c & 1) ? static_cast<uint16_t>((word & 0x000F) | (value << 4))
                  : static_cast<uint16_t>((word & 0xF000) | (value & 0x0FFF));
   Patch(path, at, Le16(word));
}

struct DamageCase {
   const char *name;
   std::function<void(const std::string &)> damage;
   FSImageError openError;  // of FSImage_OpenFile("victim.bin")
   FSImageError slotError = FSIMAGE_OK;  // of FSImage_GetCatInfo for its slot
};

class DamagedImage : public testing::TestWithParam<DamageCase> {};

// victim.bin (2000 bytes) takes clusters 2-5 and directory slot 0.
TEST_P(DamagedImage, ErrorWithoutHarm) {
   const DamageCase &c = GetParam();
   trtest::TempDir tmp;
   const std::string img = tmp.file("d.flp");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "victim.bin", Pattern(2000)), FSIMAGE_OK);
   }
   c.damage(img);

   Image image(img, Image::How::Open);
   ASSERT_EQ(image.error(), FSIMAGE_OK);
   FSImageFile *file = nullptr;
   EXPECT_EQ(FSImage_OpenFile(image.dir(), "victim.bin", &file), c.openError);
   EXPECT_EQ(file, nullptr);
   char *name = reinterpret_cast<char *>(1);
   EXPECT_EQ(FSImage_GetCatInfo(image.dir(), 0, nullptr, &name, nullptr, nullptr, nullptr),
             c.slotError);
   if (c.slotError != FSIMAGE_OK) {
      EXPECT_EQ(name, nullptr);
   }
   free(name);
   // Other files still work.
   EXPECT_EQ(PutFile(image.dir(), "other.txt", Pattern(1200, 2)), FSIMAGE_OK);
   EXPECT_EQ(GetFile(image.dir(), "other.txt"), Pattern(1200, 2));
}

INSTANTIATE_TEST_SUITE_P(
   Damage, DamagedImage,
   testing::Values(
      DamageCase{"ChainLoop", [](const std::string &p) { SetFat12(p, 5, 2); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"SelfLoop", [](const std::string &p) { SetFat12(p, 2, 2); }, FSIMAGE_ERR_CORRUPT},
      DamageCase{"PastLastCluster", [](const std::string &p) { SetFat12(p, 3, 0xFF0); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"FreeInChain", [](const std::string &p) { SetFat12(p, 3, 0); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"ReservedInChain", [](const std::string &p) { SetFat12(p, 3, 1); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"BadClusterInChain", [](const std::string &p) { SetFat12(p, 3, 0xFF7); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"ChainShorterThanSize", [](const std::string &p) { SetFat12(p, 3, 0xFFF); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"FirstClusterOne", [](const std::string &p) { Patch(p, kRoot + 26, Le16(1)); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"FirstClusterPastEnd",
                 [](const std::string &p) { Patch(p, kRoot + 26, Le16(0xFFFF)); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"SizeWithoutClusters",
                 [](const std::string &p) { Patch(p, kRoot + 26, Le16(0)); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"SizeHuge", [](const std::string &p) { Patch(p, kRoot + 28, Le32(0xFFFFFFFF)); },
                 FSIMAGE_ERR_CORRUPT},
      DamageCase{"IsDirectory", [](const std::string &p) { Patch(p, kRoot + 11, "\x10"); },
                 FSIMAGE_ERR_NOT_FOUND},
      DamageCase{"IsLabel", [](const std::string &p) { Patch(p, kRoot + 11, "\x08"); },
                 FSIMAGE_ERR_NOT_FOUND},
      DamageCase{"Deleted", [](const std::string &p) { Patch(p, kRoot, "\xE5"); },
                 FSIMAGE_ERR_NOT_FOUND},
      // A stored name that would reach outside a host directory is not handed out.
      DamageCase{"UnsafeName", [](const std::string &p) { Patch(p, kRoot, "../ETC  X  "); },
                 FSIMAGE_ERR_NOT_FOUND, FSIMAGE_ERR_CORRUPT},
      DamageCase{"ControlCharName", [](const std::string &p) { Patch(p, kRoot + 3, "\x07"); },
                 FSIMAGE_ERR_NOT_FOUND, FSIMAGE_ERR_CORRUPT}),
   [](const testing::TestParamInfo<DamageCase> &p) { return std::string(p.param.name); });

// Root directories written slot by slot: 'L' a live long-name entry, 'l' a
// deleted one, 'F' a file, 'D' a deleted file, '0' the end mark, 'G' stale
// bytes after the end mark.
std::string Slot(char kind, int index) {
   std::string e(32, '\0');
   const std::string n = "FILE" + std::to_string(index);
   switch (kind) {
   case 'L':
   case 'l':
      e[0] = kind == 'L' ? '\x41' : '\xE5';
      e.replace(1, 10, "x\0y\0z\0w\0v\0", 10);
      e[11] = '\x0F';
      break;
   case 'F':
   case 'D':
      e.replace(0, 11, (n + std::string(8 - n.size(), ' ') + "TXT").c_str(), 11);
      if (kind == 'D') e[0] = '\xE5';
      e[11] = '\x20';
      break;
   case 'G':
      e.assign(32, 'G');
      break;
   default:
      break;
   }
   return e;
}

struct SlotCase {
   const char *layout;
   uint32_t landsAt;  // slot of the new entry
};

class NewEntryPlacement : public testing::TestWithParam<SlotCase> {};

TEST_P(NewEntryPlacement, KeepsClearOfLongNames) {
   const SlotCase &c = GetParam();
   trtest::TempDir tmp;
   const std::string img = tmp.file("p.flp");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
   }
   std::string slots;
   for (size_t i = 0; c.layout[i] != '\0'; i++) {
      slots += Slot(c.layout[i], static_cast<int>(i));
   }
   Patch(img, kRoot, slots);
   const std::string before = trtest::ReadFile(img).substr(kRoot, slots.size());
   {
      Image image(img, Image::How::Open);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "new.txt", "new"), FSIMAGE_OK);
   }
   Image image(img, Image::How::Open);
   ASSERT_EQ(image.error(), FSIMAGE_OK);
   char *name = nullptr;
   ASSERT_EQ(FSImage_GetCatInfo(image.dir(), c.landsAt, nullptr, &name, nullptr, nullptr, nullptr),
             FSIMAGE_OK);
   EXPECT_STREQ(name, "new.txt");
   free(name);
   // Live slots are untouched; the next entry lands after the new one.
   const std::string after = trtest::ReadFile(img).substr(kRoot, slots.size());
   for (size_t i = 0; c.layout[i] != '0'; i++) {
      if (c.layout[i] == 'L' || c.layout[i] == 'F') {
         EXPECT_EQ(after.substr(i * 32, 32), before.substr(i * 32, 32)) << "slot " << i;
      }
   }
   ASSERT_EQ(PutFile(image.dir(), "next.txt", "next"), FSIMAGE_OK);
   EXPECT_EQ(GetFile(image.dir(), "new.txt"), "new");
   EXPECT_EQ(GetFile(image.dir(), "next.txt"), "next");
}

INSTANTIATE_TEST_SUITE_P(Layouts, NewEntryPlacement,
                         testing::Values(SlotCase{"0", 0},       // empty directory
                                         SlotCase{"FD0", 1},     // deleted slot reused
                                         SlotCase{"LF0", 2},     // after a long-named file
                                         SlotCase{"lDF0", 0},    // deleted long name reused
                                         SlotCase{"LDF0", 3},    // not behind a live long name
                                         SlotCase{"FL0", 3},     // nor at the end mark behind one
                                         SlotCase{"F0G", 1},     // stale bytes after the end
                                         SlotCase{"F0FG", 1}));  // a file after the end is free

}  // namespace
