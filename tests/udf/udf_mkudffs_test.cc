// udf_mkudffs_test.cc --
//
//    The UDF reader on empty file systems made by another writer (mkudffs)
//    in every revision, media type and layout it offers with a physical or
//    sparable partition; its backup anchor at the end of the image; and
//    write-once images with a virtual partition, which are refused.

#include <fcntl.h>
#include <ostream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/udf.h>

#include "testsupport.hh"

namespace {

struct MkudffsCase {
   const char *name;
   std::vector<std::string> options;
};

void PrintTo(const MkudffsCase &c, std::ostream *os) {
   *os << c.name;
}

// Makes a 20 MiB image with mkudffs; "" when the tool fails.
std::string MakeImage(const trtest::TempDir &dir, const MkudffsCase &c) {
   std::string path = dir.file(std::string(c.name) + ".udf");
   int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
   EXPECT_GE(fd, 0);
   EXPECT_EQ(::ftruncate(fd, 20 << 20), 0);
   ::close(fd);
   std::vector<std::string> cmd = {"mkudffs"};
   cmd.insert(cmd.end(), c.options.begin(), c.options.end());
   cmd.push_back(path);
   trtest::CommandResult r = trtest::RunCommand(cmd);
   if (r.exitCode != 0) {
      ADD_FAILURE() << c.name << ": " << r.output;
      return "";
   }
   return path;
}

class UdfMkudffs : public ::testing::TestWithParam<MkudffsCase> {
protected:
   void SetUp() override {
      if (!trtest::HaveTool("mkudffs")) {
         GTEST_SKIP() << "mkudffs is not installed";
      }
   }
};

// Each opens, and its root directory lists without error and closes.
TEST_P(UdfMkudffs, OpensAndListsTheRoot) {
   trtest::TempDir dir;
   std::string path = MakeImage(dir, GetParam());
   ASSERT_FALSE(path.empty());
   UDFImage *udf = UDF_Open(path.c_str());
   ASSERT_NE(udf, nullptr);
   UDFDir *root = UDF_OpenDir(udf, nullptr, "/");
   ASSERT_NE(root, nullptr);
   int entries = 0;
   while (UDF_ReadDir(root) != nullptr) entries++;
   EXPECT_LE(entries, 1);  // 1.50 sparable media list their "Non-Allocatable Space"
   EXPECT_TRUE(UDF_CloseDir(root));
   EXPECT_EQ(UDF_OpenDir(udf, nullptr, "missing"), nullptr);
   UDF_Close(udf);
}

INSTANTIATE_TEST_SUITE_P(
   Layouts, UdfMkudffs,
   ::testing::Values(
      MkudffsCase{"hd102", {"--media-type=hd", "--udfrev=1.02"}},
      MkudffsCase{"hd150", {"--media-type=hd", "--udfrev=1.50"}},
      MkudffsCase{"hd200", {"--media-type=hd", "--udfrev=2.00"}},
      MkudffsCase{"hd201", {"--media-type=hd", "--udfrev=2.01"}},
      MkudffsCase{"dvd102", {"--media-type=dvd", "--udfrev=1.02"}},
      MkudffsCase{"dvd201", {"--media-type=dvd", "--udfrev=2.01"}},
      MkudffsCase{"dvdrwSparable150", {"--media-type=dvdrw", "--udfrev=1.50"}},
      MkudffsCase{"dvdrwSparable201", {"--media-type=dvdrw", "--udfrev=2.01"}},
      MkudffsCase{"blocks512", {"--media-type=hd", "--blocksize=512"}},
      MkudffsCase{"blocks4096", {"--media-type=hd", "--blocksize=4096"}},
      MkudffsCase{"strategy4096", {"--media-type=hd", "--strategy=4096"}},
      MkudffsCase{"shortAds", {"--media-type=hd", "--ad=short"}},
      MkudffsCase{"longAdsNoExtendedEntries", {"--media-type=hd", "--ad=long", "--noefe"}}),
   [](const auto &p) { return std::string(p.param.name); });

// mkudffs writes anchors at sector 256 and at the image's end; with the
// first one gone the reader finds the volume through the last sector.
TEST(UdfAnchor, BackupAnchorAtTheLastSector) {
   if (!trtest::HaveTool("mkudffs")) {
      GTEST_SKIP() << "mkudffs is not installed";
   }
   trtest::TempDir dir;
   std::string path = MakeImage(dir, {"anchor", {"--media-type=hd", "--udfrev=2.01"}});
   ASSERT_FALSE(path.empty());
   int fd = ::open(path.c_str(), O_WRONLY);
   ASSERT_GE(fd, 0);
   std::string zeros(2048, '\0');
   ASSERT_EQ(::pwrite(fd, zeros.data(), zeros.size(), 256 * 2048), 2048);
   ::close(fd);
   UDFImage *udf = UDF_Open(path.c_str());
   ASSERT_NE(udf, nullptr);
   UDFDir *root = UDF_OpenDir(udf, nullptr, "");
   EXPECT_NE(root, nullptr);
   UDF_CloseDir(root);
   UDF_Close(udf);
}

// Write-once media keep their blocks through a virtual allocation table.
// Mastered installation images never use one, and the reader does not map
// it: such an image is not opened as UDF (no crash, no read outside it).
TEST(UdfVirtualPartition, WriteOnceImagesAreNotOpened) {
   if (!trtest::HaveTool("mkudffs")) {
      GTEST_SKIP() << "mkudffs is not installed";
   }
   trtest::TempDir dir;
   for (const MkudffsCase &c : {MkudffsCase{"dvdr250", {"--media-type=dvdr", "--udfrev=2.50"}},
                                MkudffsCase{"bdr260", {"--media-type=bdr", "--udfrev=2.60"}}}) {
      std::string path = MakeImage(dir, c);
      ASSERT_FALSE(path.empty());
      EXPECT_EQ(UDF_Open(path.c_str()), nullptr) << c.name;
   }
}

}  // namespace
