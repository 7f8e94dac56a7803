// udf_mkudffs_test.cc --
//
//    The UDF reader on empty file systems made by another writer (mkudffs):
//    each revision family, media type and layout that takes the reader down
//    another path (file entry kind, sparable partition, block size,
//    allocation descriptors, ICB strategy); the backup anchor at the
//    image's end; and write-once images with a virtual partition, refused.

#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/udf.h>

#include "fat_support.hh"  // Patch
#include "testsupport.hh"

namespace {

struct MkudffsCase {
   const char *name;
   const char *options;       // for mkudffs, blank-separated
   bool opens = true;         // false: write-once, virtual partition
   bool dropFirstAnchor = false;
};

class UdfMkudffs : public ::testing::TestWithParam<MkudffsCase> {};

// 1.50 sparable media list their "Non-Allocatable Space" in the root;
// otherwise the root is empty.
TEST_P(UdfMkudffs, OpensAndListsTheRoot) {
   if (!trtest::HaveTool("mkudffs")) {
      GTEST_SKIP() << "mkudffs is not installed";
   }
   const MkudffsCase &c = GetParam();
   trtest::TempDir dir;
   const std::string path = dir.file("made.udf");
   trtest::WriteFile(path, "");
   ASSERT_EQ(::truncate(path.c_str(), 20 << 20), 0);
   std::vector<std::string> cmd = {"mkudffs"};
   std::istringstream options(c.options);
   for (std::string o; options >> o;) cmd.push_back(o);
   cmd.push_back(path);
   const trtest::CommandResult made = trtest::RunCommand(cmd);
   ASSERT_EQ(made.exitCode, 0) << made.output;
   if (c.dropFirstAnchor) {
      // mkudffs writes anchors at sector 256 and at the image's end.
      fattest::Patch(path, 256 * 2048, std::string(2048, '\0'));
   }

   UDFImage *udf = UDF_Open(path.c_str());
   ASSERT_EQ(udf != nullptr, c.opens);
   if (udf == nullptr) return;
   UDFDir *root = UDF_OpenDir(udf, nullptr, "/");
   ASSERT_NE(root, nullptr);
   int entries = 0;
   while (UDF_ReadDir(root) != nullptr) entries++;
   EXPECT_LE(entries, 1);
   EXPECT_TRUE(UDF_CloseDir(root));
   EXPECT_EQ(UDF_OpenDir(udf, nullptr, "missing"), nullptr);
   UDF_Close(udf);
}

// Write-once media keep their blocks through a virtual allocation table.
// Mastered installation images never use one, and the reader does not map
// it: such an image is not opened as UDF (no crash, no read outside it).
INSTANTIATE_TEST_SUITE_P(
   Layouts, UdfMkudffs,
   ::testing::Values(MkudffsCase{"hd102", "--media-type=hd --udfrev=1.02"},
                     MkudffsCase{"hd201", "--media-type=hd --udfrev=2.01"},
                     MkudffsCase{"dvd201", "--media-type=dvd --udfrev=2.01"},
                     MkudffsCase{"dvdrwSparable150", "--media-type=dvdrw --udfrev=1.50"},
                     MkudffsCase{"dvdrwSparable201", "--media-type=dvdrw --udfrev=2.01"},
                     MkudffsCase{"blocks512", "--media-type=hd --blocksize=512"},
                     MkudffsCase{"blocks4096", "--media-type=hd --blocksize=4096"},
                     MkudffsCase{"strategy4096", "--media-type=hd --strategy=4096"},
                     MkudffsCase{"shortAds", "--media-type=hd --ad=short"},
                     MkudffsCase{"longAdsNoExtendedEntries", "--media-type=hd --ad=long --noefe"},
                     MkudffsCase{"backupAnchorOnly", "--media-type=hd --udfrev=2.01", true, true},
                     MkudffsCase{"dvdrVirtual250", "--media-type=dvdr --udfrev=2.50", false},
                     MkudffsCase{"bdrVirtual260", "--media-type=bdr --udfrev=2.60", false}),
   [](const auto &p) { return std::string(p.param.name); });

}  // namespace
