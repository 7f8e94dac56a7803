// fsimage_bpb_test.cc --
//
//    Boot sector checks: the floppy that we format, every BPB field that
//    must be refused, and the FAT12/FAT16 decision by cluster count.

#include <gtest/gtest.h>

#include <functional>

#include "fat/fsimage.hh"

namespace {

using trp::ByteView;
using trp::fat::FatError;
using trp::fat::FatType;
using trp::fat::Geometry;
using Boot = std::array<uint8_t, trp::fat::kBootSectorSize>;

void Set8(Boot &b, size_t off, uint8_t v) { b[off] = v; }
void Set16(Boot &b, size_t off, uint16_t v) {
   b[off] = static_cast<uint8_t>(v);
   b[off + 1] = static_cast<uint8_t>(v >> 8);
}
void Set32(Boot &b, size_t off, uint32_t v) {
   Set16(b, off, static_cast<uint16_t>(v));
   Set16(b, off + 2, static_cast<uint16_t>(v >> 16));
}

// A volume of 512-byte sectors, one sector per cluster, one reserved
// sector, two FATs of fatSectors and 512 root entries, with `clusters`
// data clusters.
void Layout(Boot &b, uint32_t clusters, uint16_t fatSectors) {
   Set16(b, 17, 512);
   Set16(b, 22, fatSectors);
   const uint32_t total = 1 + 2u * fatSectors + 32 + clusters;
   if (total <= 0xFFFF) {
      Set16(b, 19, static_cast<uint16_t>(total));
      Set32(b, 32, 0);
   } else {
      Set16(b, 19, 0);
      Set32(b, 32, total);
   }
}

constexpr uint64_t kBig = 1ULL << 40;

struct BpbCase {
   const char *name;
   std::function<void(Boot &)> edit;
   uint64_t imageSize;
   std::optional<FatType> type;  // nothing: refused as BadFormat
   uint32_t clusters;
};

class BootSectorParse : public testing::TestWithParam<BpbCase> {};

TEST_P(BootSectorParse, AcceptsOrRefuses) {
   const BpbCase &c = GetParam();
   Boot boot = trp::fat::BuildFloppyBootSector(0x12345678);
   c.edit(boot);
   auto g = Geometry::parse(ByteView(boot.data(), boot.size()), c.imageSize);
   if (!c.type) {
      ASSERT_FALSE(g.ok());
      EXPECT_EQ(g.error(), FatError::BadFormat);
      return;
   }
   ASSERT_TRUE(g.ok());
   EXPECT_EQ(g->type(), *c.type);
   EXPECT_EQ(g->clusterCount(), c.clusters);
}

const uint64_t kFloppy = trp::fat::kFloppyImageSize;

INSTANTIATE_TEST_SUITE_P(
   Fields, BootSectorParse,
   testing::Values(
      BpbCase{"AsFormatted", [](Boot &) {}, kFloppy, FatType::Fat12, 2847},
      BpbCase{"NoSignature", [](Boot &b) { Set8(b, 510, 0); }, kFloppy, {}, 0},
      BpbCase{"NoJump", [](Boot &b) { Set8(b, 0, 0xFA); }, kFloppy, {}, 0},
      BpbCase{"NearJump", [](Boot &b) { Set8(b, 0, 0xE9); }, kFloppy, FatType::Fat12, 2847},
      BpbCase{"SectorSize0", [](Boot &b) { Set16(b, 11, 0); }, kFloppy, {}, 0},
      BpbCase{"SectorSize256", [](Boot &b) { Set16(b, 11, 256); }, kFloppy, {}, 0},
      BpbCase{"SectorSize768", [](Boot &b) { Set16(b, 11, 768); }, kFloppy, {}, 0},
      BpbCase{"SectorSize8192", [](Boot &b) { Set16(b, 11, 8192); }, kBig, {}, 0},
      BpbCase{"SectorSize4096RootNotWhole", [](Boot &b) { Set16(b, 11, 4096); }, kBig, {}, 0},
      BpbCase{"SectorSize4096",
              [](Boot &b) {
                 Set16(b, 11, 4096);
                 Set16(b, 17, 256);
              },
              kBig, FatType::Fat12, 2880 - 1 - 18 - 2},
      BpbCase{"ClusterSize0", [](Boot &b) { Set8(b, 13, 0); }, kFloppy, {}, 0},
      BpbCase{"ClusterSize3", [](Boot &b) { Set8(b, 13, 3); }, kFloppy, {}, 0},
      BpbCase{"Cluster64K", [](Boot &b) { Set8(b, 13, 128); }, kFloppy, FatType::Fat12, 22},
      BpbCase{"Cluster128K",
              [](Boot &b) {
                 Set8(b, 13, 128);
                 Set16(b, 11, 1024);
              },
              kBig, {}, 0},
      BpbCase{"NoReserved", [](Boot &b) { Set16(b, 14, 0); }, kFloppy, {}, 0},
      BpbCase{"NoFat", [](Boot &b) { Set8(b, 16, 0); }, kFloppy, {}, 0},
      BpbCase{"OneFat", [](Boot &b) { Set8(b, 16, 1); }, kFloppy, FatType::Fat12, 2856},
      BpbCase{"FourFats", [](Boot &b) { Set8(b, 16, 4); }, kFloppy, FatType::Fat12, 2829},
      BpbCase{"FiveFats", [](Boot &b) { Set8(b, 16, 5); }, kFloppy, {}, 0},
      BpbCase{"NoRootEntries", [](Boot &b) { Set16(b, 17, 0); }, kFloppy, {}, 0},
      BpbCase{"RootOneSector", [](Boot &b) { Set16(b, 17, 16); }, kFloppy, FatType::Fat12, 2860},
      BpbCase{"RootPartSector", [](Boot &b) { Set16(b, 17, 17); }, kFloppy, {}, 0},
      BpbCase{"NoFatSize", [](Boot &b) { Set16(b, 22, 0); }, kFloppy, {}, 0},
      BpbCase{"FatTooSmall", [](Boot &b) { Set16(b, 22, 8); }, kFloppy, {}, 0},
      BpbCase{"Media00", [](Boot &b) { Set8(b, 21, 0x00); }, kFloppy, {}, 0},
      BpbCase{"MediaF7", [](Boot &b) { Set8(b, 21, 0xF7); }, kFloppy, {}, 0},
      BpbCase{"MediaF8", [](Boot &b) { Set8(b, 21, 0xF8); }, kFloppy, FatType::Fat12, 2847},
      BpbCase{"NoTotal", [](Boot &b) { Set16(b, 19, 0); }, kFloppy, {}, 0},
      BpbCase{"Total32",
              [](Boot &b) {
                 Set16(b, 19, 0);
                 Set32(b, 32, 2880);
              },
              kFloppy, FatType::Fat12, 2847},
      BpbCase{"ImageShort", [](Boot &) {}, kFloppy - 1, {}, 0},
      BpbCase{"NoDataArea", [](Boot &b) { Set16(b, 19, 33); }, kFloppy, {}, 0},
      BpbCase{"OneCluster", [](Boot &b) { Set16(b, 19, 34); }, kFloppy, FatType::Fat12, 1},
      BpbCase{"HugeTotal32",
              [](Boot &b) {
                 Set16(b, 19, 0);
                 Set32(b, 32, 0xFFFFFFFF);
                 Set16(b, 11, 4096);
                 Set16(b, 17, 256);
              },
              UINT64_MAX, {}, 0},
      // FAT type by cluster count: 4084 is the last FAT12 count, 65524 the
      // last FAT16 count; past that lies FAT32, which is refused.
      BpbCase{"Fat12Limit", [](Boot &b) { Layout(b, 4084, 12); }, kBig, FatType::Fat12, 4084},
      BpbCase{"Fat16Start", [](Boot &b) { Layout(b, 4085, 16); }, kBig, FatType::Fat16, 4085},
      BpbCase{"Fat16FatTooSmall", [](Boot &b) { Layout(b, 4085, 12); }, kBig, {}, 0},
      BpbCase{"Fat16Limit", [](Boot &b) { Layout(b, 65524, 256); }, kBig, FatType::Fat16, 65524},
      BpbCase{"Fat32Count", [](Boot &b) { Layout(b, 65525, 256); }, kBig, {}, 0}),
   [](const testing::TestParamInfo<BpbCase> &p) { return std::string(p.param.name); });

TEST(BootSectorParse, FloppyLayout) {
   const Boot boot = trp::fat::BuildFloppyBootSector(1);
   auto g = Geometry::parse(ByteView(boot.data(), boot.size()), trp::fat::kFloppyImageSize);
   ASSERT_TRUE(g.ok());
   EXPECT_EQ(g->media(), 0xF0);
   EXPECT_EQ(g->numFats(), 2u);
   EXPECT_EQ(g->rootEntries(), 224u);
   EXPECT_EQ(g->clusterBytes(), 512u);
   EXPECT_EQ(g->fatOffset(0), 512u);
   EXPECT_EQ(g->fatOffset(1), 10u * 512);
   EXPECT_EQ(g->rootOffset(), 19u * 512);
   EXPECT_EQ(g->clusterOffset(2), 33u * 512);
   EXPECT_EQ(g->clusterOffset(g->maxCluster()), 2879u * 512);
   EXPECT_EQ(g->fatUsedBytes(), (2849u * 3 + 1) / 2);
}

TEST(BootSectorParse, ShortSectorRefused) {
   const Boot boot = trp::fat::BuildFloppyBootSector(1);
   auto g = Geometry::parse(ByteView(boot.data(), 511), trp::fat::kFloppyImageSize);
   ASSERT_FALSE(g.ok());
   EXPECT_EQ(g.error(), FatError::BadFormat);
}

}  // namespace
