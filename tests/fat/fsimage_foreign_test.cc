// fsimage_foreign_test.cc --
//
//    Images made by mkfs.fat and mformat and filled by mcopy (long names
//    included): read back through our reader, then changed by us and checked
//    again with mtools and fsck.fat.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "fat_support.hh"
#include "fat/fsimage.hh"

namespace {

using fattest::GetFile;
using fattest::Image;
using fattest::Pattern;
using fattest::PutFile;
using fattest::Tool;
using trp::fat::FatType;

struct Maker {
   const char *name;
   std::vector<std::string> args;  // "IMG" stands for the image path
   FatType type;
};

class ForeignImage : public testing::TestWithParam<Maker> {};

std::vector<std::string> Sorted(std::vector<std::string> v) {
   std::sort(v.begin(), v.end());
   return v;
}

FatType TypeOf(const std::string &img) {
   const std::string boot = trtest::ReadFile(img).substr(0, 512);
   auto g = trp::fat::Geometry::parse(
      trp::ByteView(reinterpret_cast<const uint8_t *>(boot.data()), boot.size()),
      std::filesystem::file_size(img));
   EXPECT_TRUE(g.ok());
   return g.ok() ? g->type() : FatType::Fat12;
}

TEST_P(ForeignImage, ReadAndExtendKeepingLongNames) {
   FAT_REQUIRE_TOOLS();
   const Maker &maker = GetParam();
   trtest::TempDir tmp;
   const std::string img = tmp.file("img");
   std::vector<std::string> make = maker.args;
   std::replace(make.begin(), make.end(), std::string("IMG"), img);
   auto made = Tool(make);
   ASSERT_EQ(made.exitCode, 0) << made.output;
   ASSERT_EQ(TypeOf(img), maker.type);

   struct HostFile {
      const char *name;
      std::string content;
   };
   const HostFile files[] = {
      {"A long file name.txt", "long name content\n"},
      {"Another long name.txt", Pattern(1500, 1)},
      {"readme.txt", Pattern(750, 2)},
      {"Mixed.Cfg", "mixed"},
      {"big.bin", Pattern(20000, 3)},
   };
   std::vector<std::string> mcopy = {"mcopy", "-i", img};
   for (const HostFile &f : files) {
      trtest::WriteFile(tmp.file(f.name), f.content);
      mcopy.push_back(tmp.file(f.name));
   }
   mcopy.push_back("::");
   auto copied = Tool(mcopy);
   ASSERT_EQ(copied.exitCode, 0) << copied.output;
   // A deleted long-named file leaves deleted slots among the live ones.
   auto deleted = Tool({"mdel", "-i", img, "::Another long name.txt"});
   ASSERT_EQ(deleted.exitCode, 0) << deleted.output;

   {
      Image image(img, Image::How::Open);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      EXPECT_EQ(Sorted(fattest::ListNames(image.dir())),
                Sorted({"ALONGF~1.TXT", "readme.txt", "MIXED.CFG", "big.bin"}));
      EXPECT_EQ(GetFile(image.dir(), "alongf~1.txt"), files[0].content);
      EXPECT_EQ(GetFile(image.dir(), "readme.txt"), files[2].content);
      EXPECT_EQ(GetFile(image.dir(), "mixed.cfg"), files[3].content);
      EXPECT_EQ(GetFile(image.dir(), "big.bin"), files[4].content);

      ASSERT_EQ(PutFile(image.dir(), "preseed.cfg", Pattern(3000, 4)), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "upgra32", Pattern(5000, 5), 4096), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "readme.txt", "short"), FSIMAGE_OK);
      ASSERT_EQ(PutFile(image.dir(), "ALONGF~1.TXT", "replaced"), FSIMAGE_OK);
      ASSERT_EQ(image.close(), FSIMAGE_OK);
   }

   fattest::ExpectFsckClean(img);
   EXPECT_EQ(Sorted(fattest::MdirNames(img)),
             Sorted({"A long file name.txt", "Mixed.Cfg", "big.bin", "preseed.cfg", "readme.txt",
                     "upgra32"}));
   fattest::ExpectMtype(img, "A long file name.txt", "replaced");
   fattest::ExpectMtype(img, "readme.txt", "short");
   fattest::ExpectMtype(img, "preseed.cfg", Pattern(3000, 4));
   fattest::ExpectMtype(img, "upgra32", Pattern(5000, 5));
   fattest::ExpectMtype(img, "big.bin", files[4].content);
}

INSTANTIATE_TEST_SUITE_P(
   Makers, ForeignImage,
   testing::Values(
      Maker{"MkfsFloppy", {"mkfs.fat", "-C", "IMG", "1440"}, FatType::Fat12},
      Maker{"MkfsFourSectorClusters", {"mkfs.fat", "-C", "-s", "4", "IMG", "1440"},
            FatType::Fat12},
      Maker{"MkfsOneFatSmallRoot", {"mkfs.fat", "-C", "-f", "1", "-r", "16", "IMG", "720"},
            FatType::Fat12},
      Maker{"MkfsLargeSectors", {"mkfs.fat", "-C", "-S", "2048", "-r", "256", "IMG", "2880"}, FatType::Fat12},
      Maker{"MkfsFat16", {"mkfs.fat", "-C", "-F", "16", "-s", "1", "IMG", "2100"},
            FatType::Fat16},
      Maker{"Mformat", {"mformat", "-C", "-f", "1440", "-i", "IMG", "::"}, FatType::Fat12}),
   [](const testing::TestParamInfo<Maker> &p) { return std::string(p.param.name); });

}  // namespace
