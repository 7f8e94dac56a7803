// fsimage_roundtrip_test.cc --
//
//    Floppies that we format and fill: contents read back through our reader
//    and through mtools, names listed as given, fsck.fat finding nothing to
//    repair, and a consistent image after a full disk or a full directory.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include "fat_support.hh"

namespace {

using fattest::GetFile;
using fattest::Image;
using fattest::Pattern;
using fattest::PutFile;

struct FileCase {
   const char *name;
   size_t size;
   size_t chunk;  // bytes per FSImage_Write call
};

// Sizes around the 512-byte cluster, written in different pieces.
const FileCase kFiles[] = {
   {"empty.txt", 0, 512},     {"one.bin", 1, 512},        {"s511.bin", 511, 512},
   {"s512.bin", 512, 512},    {"s513.bin", 513, 512},     {"s1024.bin", 1024, 512},
   {"odd.bin", 4097, 1000},   {"whole.bin", 9000, 9000},  {"byte.bin", 700, 1},
   {"upgra32", 300 * 1024, 512},
};

TEST(FloppyRoundTrip, FilesReadBackEverywhere) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   const std::string img = tmp.file("f.flp");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      uint32_t seed = 1;
      for (const FileCase &f : kFiles) {
         ASSERT_EQ(PutFile(image.dir(), f.name, Pattern(f.size, seed++), f.chunk), FSIMAGE_OK)
            << f.name;
      }
      ASSERT_EQ(image.close(), FSIMAGE_OK);
   }
   EXPECT_EQ(std::filesystem::file_size(img), 1474560u);
   fattest::ExpectFsckClean(img);

   Image image(img, Image::How::OpenReadOnly);
   ASSERT_EQ(image.error(), FSIMAGE_OK);
   uint32_t seed = 1;
   for (const FileCase &f : kFiles) {
      const std::string want = Pattern(f.size, seed++);
      EXPECT_EQ(GetFile(image.dir(), f.name), want) << f.name;
      fattest::ExpectMtype(img, f.name, want);
   }
}

TEST(FloppyRoundTrip, NamesListedAsGiven) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   const std::string img = tmp.file("n.flp");
   struct NameCase {
      const char *given;
      const char *listed;  // by mdir and by GetCatInfo
   };
   const NameCase names[] = {
      {"preseed.cfg", "preseed.cfg"}, {"AUTOINST.XML", "AUTOINST.XML"},
      {"auto_i~1.cfg", "auto_i~1.cfg"}, {"upgrade.sh", "upgrade.sh"},
      {"README.txt", "README.txt"},   {"Mixed.Cfg", "MIXED.CFG"},
      {"9x", "9x"},
   };
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      for (const NameCase &n : names) {
         ASSERT_EQ(PutFile(image.dir(), n.given, n.given), FSIMAGE_OK) << n.given;
      }
      std::vector<std::string> want;
      for (const NameCase &n : names) {
         want.emplace_back(n.listed);
      }
      EXPECT_EQ(fattest::ListNames(image.dir()), want);
      // Lookups ignore case; the stored case stays.
      EXPECT_EQ(GetFile(image.dir(), "PRESEED.CFG"), "preseed.cfg");
      EXPECT_EQ(GetFile(image.dir(), "mixed.cfg"), "Mixed.Cfg");
      ASSERT_EQ(PutFile(image.dir(), "Preseed.CFG", "again"), FSIMAGE_OK);
      EXPECT_EQ(fattest::ListNames(image.dir()), want);
   }
   fattest::ExpectFsckClean(img);
   std::vector<std::string> listed = fattest::MdirNames(img);
   std::vector<std::string> want;
   for (const NameCase &n : names) {
      want.emplace_back(n.listed);
   }
   std::sort(listed.begin(), listed.end());
   std::sort(want.begin(), want.end());
   EXPECT_EQ(listed, want);
   fattest::ExpectMtype(img, "preseed.cfg", "again");
}

TEST(FloppyRoundTrip, ShorterContentLeavesNoTail) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   const std::string img = tmp.file("o.flp");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "ks.cfg", Pattern(5000, 7)), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "next.bin", Pattern(600, 8)), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "ks.cfg", "short"), FSIMAGE_OK);
      EXPECT_EQ(GetFile(image.dir(), "ks.cfg"), "short");
      // Growing again after the cut reuses the freed clusters and links new ones.
      ASSERT_EQ(PutFile(image.dir(), "next.bin", Pattern(3000, 9), 1024), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "ks.cfg", ""), FSIMAGE_OK);
      EXPECT_EQ(GetFile(image.dir(), "ks.cfg"), "");
   }
   // Freed clusters that stayed allocated would show up as lost clusters.
   fattest::ExpectFsckClean(img);
   fattest::ExpectMtype(img, "ks.cfg", "");
   fattest::ExpectMtype(img, "next.bin", Pattern(3000, 9));
}

TEST(FloppyRoundTrip, WritesAtOffsets) {
   trtest::TempDir tmp;
   Image image(tmp.file("w.flp"), Image::How::Format);
   ASSERT_EQ(image.error(), FSIMAGE_OK);
   FSImageFile *file = nullptr;
   ASSERT_EQ(FSImage_CreateFile(image.dir(), "gap.bin", &file), FSIMAGE_OK);
   uint32_t n = 0;
   // A write past the end leaves zeros in between; a write inside keeps the
   // rest; a zero-length write at the end changes nothing.
   ASSERT_EQ(FSImage_Write(file, 1500, "tail", 4, &n), FSIMAGE_OK);
   EXPECT_EQ(n, 4u);
   ASSERT_EQ(FSImage_Write(file, 10, "mid", 3, &n), FSIMAGE_OK);
   ASSERT_EQ(FSImage_Write(file, 1504, "", 0, &n), FSIMAGE_OK);
   ASSERT_EQ(FSImage_Close(file), FSIMAGE_OK);
   std::string want(1504, '\0');
   want.replace(1500, 4, "tail");
   want.replace(10, 3, "mid");
   EXPECT_EQ(GetFile(image.dir(), "gap.bin"), want);

   ASSERT_EQ(FSImage_OpenFile(image.dir(), "gap.bin", &file), FSIMAGE_OK);
   char buf[8];
   EXPECT_EQ(FSImage_Read(file, 1502, buf, sizeof buf, &n), FSIMAGE_OK);
   EXPECT_EQ(std::string(buf, n), "il");
   EXPECT_EQ(FSImage_Read(file, 1504, buf, sizeof buf, &n), FSIMAGE_OK);
   EXPECT_EQ(n, 0u);
   EXPECT_EQ(FSImage_Read(file, UINT64_MAX, buf, sizeof buf, &n), FSIMAGE_OK);
   EXPECT_EQ(n, 0u);
   // FAT sizes are 32-bit.
   EXPECT_EQ(FSImage_Write(file, 0xFFFFFFFFull, "x", 1, &n), FSIMAGE_ERR_DISK_FULL);
   EXPECT_EQ(FSImage_Write(file, UINT64_MAX, "x", 1, &n), FSIMAGE_ERR_DISK_FULL);
   EXPECT_EQ(n, 0u);
   EXPECT_EQ(FSImage_Close(file), FSIMAGE_OK);
}

TEST(FloppyLimits, FullDiskLeavesConsistentImage) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   const std::string img = tmp.file("full.flp");
   const std::string first = Pattern(1000 * 1024, 3);
   const std::string second = Pattern(600 * 1024, 4);
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "first.bin", first), FSIMAGE_OK);
      EXPECT_EQ(PutFile(image.dir(), "second.bin", second), FSIMAGE_ERR_DISK_FULL);
      // The failed file holds what fitted: every cluster that was left.
      uint64_t kept = 0;
      FSImageFile *file = nullptr;
      ASSERT_EQ(FSImage_OpenFile(image.dir(), "second.bin", &file), FSIMAGE_OK);
      ASSERT_EQ(FSImage_GetFileSize(file, &kept), FSIMAGE_OK);
      EXPECT_EQ(kept, (2847u - 2000u) * 512u);
      // New content at offset 0 that cannot fit keeps the old content.
      uint32_t n = 7;
      EXPECT_EQ(FSImage_Write(file, 0, second.data(), static_cast<uint32_t>(second.size()), &n),
                FSIMAGE_ERR_DISK_FULL);
      EXPECT_EQ(n, 0u);
      ASSERT_EQ(FSImage_GetFileSize(file, &kept), FSIMAGE_OK);
      EXPECT_EQ(kept, (2847u - 2000u) * 512u);
      ASSERT_EQ(FSImage_Close(file), FSIMAGE_OK);
      EXPECT_EQ(PutFile(image.dir(), "third.bin", "x"), FSIMAGE_ERR_DISK_FULL);
      EXPECT_EQ(PutFile(image.dir(), "third.bin", ""), FSIMAGE_OK);
   }
   fattest::ExpectFsckClean(img);
   fattest::ExpectMtype(img, "first.bin", first);
   fattest::ExpectMtype(img, "second.bin", second.substr(0, (2847u - 2000u) * 512u));
}

TEST(FloppyLimits, FullRootDirectory) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   const std::string img = tmp.file("dir.flp");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      for (int i = 0; i < 224; i++) {
         const std::string name = "f" + std::to_string(i) + ".txt";
         ASSERT_EQ(PutFile(image.dir(), name, name), FSIMAGE_OK) << name;
      }
      FSImageFile *file = reinterpret_cast<FSImageFile *>(1);
      EXPECT_EQ(FSImage_CreateFile(image.dir(), "more.txt", &file), FSIMAGE_ERR_DIR_FULL);
      EXPECT_EQ(file, nullptr);
      EXPECT_EQ(fattest::ListNames(image.dir()).size(), 224u);
   }
   fattest::ExpectFsckClean(img);
   EXPECT_EQ(fattest::MdirNames(img).size(), 224u);
   fattest::ExpectMtype(img, "f223.txt", "f223.txt");
}

TEST(FloppyApi, ErrorCodes) {
   trtest::TempDir tmp;
   const std::string img = tmp.file("e.flp");
   FSImageVolume *volume = nullptr;
   FSImageDir *dir = nullptr;
   FSImageFile *file = nullptr;

   EXPECT_EQ(FSImage_FormatVolume(nullptr, img.c_str(), 2, 1, &volume), FSIMAGE_ERR_BAD_ARG);
   EXPECT_EQ(FSImage_FormatVolume(nullptr, img.c_str(), 1, 0, &volume), FSIMAGE_ERR_BAD_ARG);
   EXPECT_EQ(FSImage_FormatVolume(nullptr, (tmp.path() + "/no/such/dir/x.flp").c_str(), 1, 1,
                                  &volume),
             FSIMAGE_ERR_IO);
   EXPECT_EQ(FSImage_OpenVolume(nullptr, tmp.file("missing.flp").c_str(), 1, &volume),
             FSIMAGE_ERR_IO);
   EXPECT_EQ(volume, nullptr);

   ASSERT_EQ(FSImage_FormatVolume(nullptr, img.c_str(), 1, 1, &volume), FSIMAGE_OK);
   EXPECT_EQ(FSImage_SkipVolumeBoot(volume, 2), FSIMAGE_ERR_BAD_ARG);
   // The root directory opens whether or not the boot area was skipped
   // first, and skipping it afterwards changes nothing.
   ASSERT_EQ(FSImage_OpenRootDirectory(volume, &dir), FSIMAGE_OK);
   EXPECT_EQ(FSImage_GetNumDirEntries(dir), 224u);
   ASSERT_EQ(FSImage_SkipVolumeBoot(volume, FSIMAGE_FAT_FILE_SYSTEM), FSIMAGE_OK);
   EXPECT_EQ(FSImage_GetNumDirEntries(dir), 224u);

   for (const char *bad : {"", ".cfg", "toolongname.cfg", "a b", "x/y"}) {
      EXPECT_EQ(FSImage_CreateFile(dir, bad, &file), FSIMAGE_ERR_BAD_NAME) << bad;
      EXPECT_EQ(FSImage_OpenFile(dir, bad, &file), FSIMAGE_ERR_BAD_NAME) << bad;
   }
   EXPECT_EQ(FSImage_OpenFile(dir, "none.txt", &file), FSIMAGE_ERR_NOT_FOUND);
   ASSERT_EQ(FSImage_CreateFile(dir, "a.txt", &file), FSIMAGE_OK);
   FSImageFile *second = nullptr;
   EXPECT_EQ(FSImage_CreateFile(dir, "A.TXT", &second), FSIMAGE_ERR_EXISTS);
   EXPECT_EQ(FSImage_Write(file, 0, nullptr, 1, nullptr), FSIMAGE_ERR_BAD_ARG);
   EXPECT_EQ(FSImage_Write(file, 0, "abc", 3, nullptr), FSIMAGE_OK);

   Bool inUse = TRUE;
   char *name = nullptr;
   EXPECT_EQ(FSImage_GetCatInfo(dir, 224, &inUse, &name, nullptr, nullptr, nullptr),
             FSIMAGE_ERR_BAD_ARG);
   uint64_t size = 0;
   uint32_t cluster = 0;
   Bool isDir = TRUE;
   EXPECT_EQ(FSImage_GetCatInfo(dir, 0, &inUse, &name, &isDir, &size, &cluster), FSIMAGE_OK);
   EXPECT_TRUE(inUse);
   EXPECT_STREQ(name, "a.txt");
   EXPECT_FALSE(isDir);
   EXPECT_EQ(size, 3u);
   EXPECT_EQ(cluster, 2u);
   free(name);
   EXPECT_EQ(FSImage_GetCatInfo(dir, 1, &inUse, &name, &isDir, &size, &cluster), FSIMAGE_OK);
   EXPECT_FALSE(inUse);
   EXPECT_EQ(name, nullptr);

   // Handles that outlive their volume fail instead of touching it.
   ASSERT_EQ(FSImage_Close(volume), FSIMAGE_OK);
   uint32_t n = 0;
   char buf[4];
   EXPECT_EQ(FSImage_Read(file, 0, buf, sizeof buf, &n), FSIMAGE_ERR_STATE);
   EXPECT_EQ(FSImage_Write(file, 0, "x", 1, &n), FSIMAGE_ERR_STATE);
   EXPECT_EQ(FSImage_GetFileSize(file, &size), FSIMAGE_ERR_STATE);
   EXPECT_EQ(FSImage_OpenFile(dir, "a.txt", &second), FSIMAGE_ERR_STATE);
   EXPECT_EQ(FSImage_GetNumDirEntries(dir), 0u);
   EXPECT_EQ(FSImage_Close(file), FSIMAGE_OK);
   EXPECT_EQ(FSImage_Close(dir), FSIMAGE_OK);
   EXPECT_EQ(FSImage_Close(nullptr), FSIMAGE_OK);

   // Read-only volumes can be read, not changed.
   Image ro(img, Image::How::OpenReadOnly);
   ASSERT_EQ(ro.error(), FSIMAGE_OK);
   EXPECT_EQ(GetFile(ro.dir(), "a.txt"), "abc");
   EXPECT_EQ(FSImage_CreateFile(ro.dir(), "b.txt", &file), FSIMAGE_ERR_READ_ONLY);
   ASSERT_EQ(FSImage_OpenFile(ro.dir(), "a.txt", &file), FSIMAGE_OK);
   EXPECT_EQ(FSImage_Write(file, 0, "x", 1, &n), FSIMAGE_ERR_READ_ONLY);
   EXPECT_EQ(FSImage_Close(file), FSIMAGE_OK);
}

TEST(FloppyApi, NotFatImagesRefused) {
   trtest::TempDir tmp;
   struct Case {
      const char *name;
      std::string bytes;
   };
   const Case cases[] = {
      {"empty", ""},
      {"short", std::string(100, '\xEB')},
      {"zeros", std::string(4096, '\0')},
   };
   for (const Case &c : cases) {
      const std::string path = tmp.file(c.name);
      trtest::WriteFile(path, c.bytes);
      Image image(path, Image::How::Open);
      EXPECT_EQ(image.error(), FSIMAGE_ERR_BAD_FORMAT) << c.name;
      // Opening the root directory without skipping the boot area checks
      // the same.
      FSImageVolume *volume = nullptr;
      FSImageDir *dir = reinterpret_cast<FSImageDir *>(1);
      ASSERT_EQ(FSImage_OpenVolume(nullptr, path.c_str(), 1, &volume), FSIMAGE_OK);
      EXPECT_EQ(FSImage_OpenRootDirectory(volume, &dir), FSIMAGE_ERR_BAD_FORMAT) << c.name;
      EXPECT_EQ(dir, nullptr);
      EXPECT_EQ(FSImage_Close(volume), FSIMAGE_OK);
   }
   // A formatted image cut short: the BPB claims more sectors than there are.
   const std::string cut = tmp.file("cut.flp");
   {
      Image image(cut, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
   }
   ASSERT_EQ(truncate(cut.c_str(), 1474560 - 512), 0);
   Image image(cut, Image::How::Open);
   EXPECT_EQ(image.error(), FSIMAGE_ERR_BAD_FORMAT);
}

}  // namespace
