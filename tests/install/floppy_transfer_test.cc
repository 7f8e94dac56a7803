// floppy_transfer_test.cc --
//
//    AddFileToFloppyImg and GetFileFromFloppyImg: whole files in and out of
//    a floppy image, checked through mtools and fsck.fat; files written over,
//    files that do not fit, and every failure a FALSE result that leaves the
//    image as it was and logs nothing. (Images made by other tools are the
//    FAT tests' concern; these calls only move bytes through the writer.)

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>

#include "fat_support.hh"

namespace {

using fattest::Image;
using fattest::Pattern;

// A host file under tmp holding content; its path.
std::string HostFile(const trtest::TempDir &tmp, const std::string &name,
                     const std::string &content) {
   trtest::WriteFile(tmp.file("host/" + name), content);
   return tmp.file("host/" + name);
}

Bool Add(FSImageDir *dir, const std::string &host, const char *name) {
   return AddFileToFloppyImg(dir, host.c_str(), name);
}

TEST(FloppyTransfer, RoundTripsAndWritesOver) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   trtest::LogCapture log;
   const std::string img = tmp.file("autoinst.flp");
   // Empty, around one sector, whole sectors (ending with a read and a write
   // of 0 bytes) and the tools upgrader's size.
   std::vector<std::pair<std::string, std::string>> files = {
      {"empty.cfg", ""},             {"s511.bin", Pattern(511, 1)},
      {"s512.bin", Pattern(512, 2)}, {"s513.bin", Pattern(513, 3)},
      {"S1024.BIN", Pattern(1024, 4)}, {"upgra32", Pattern(300 * 1024, 5)},
   };
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      for (const auto &[name, content] : files) {
         EXPECT_TRUE(Add(image.dir(), HostFile(tmp, name, content), name.c_str())) << name;
      }
      // A name already there (in any case) is opened and written from its
      // start: same slot and stored name, no old tail.
      const auto slots = fattest::ListNames(image.dir());
      files[1].second = "short";
      files[5].second = "";
      EXPECT_TRUE(Add(image.dir(), HostFile(tmp, "short", "short"), "S511.BIN"));
      EXPECT_TRUE(Add(image.dir(), HostFile(tmp, "none", ""), "UPGRA32"));
      EXPECT_EQ(fattest::ListNames(image.dir()), slots);
      // Each fetched into a longer host file, which is cut to its size.
      for (const auto &[name, content] : files) {
         const std::string out = HostFile(tmp, "out-" + name, std::string(5000, 'x'));
         EXPECT_TRUE(GetFileFromFloppyImg(image.dir(), name.c_str(), out.c_str())) << name;
         EXPECT_TRUE(trtest::ReadFile(out) == content) << name;
      }
      ASSERT_EQ(image.close(), FSIMAGE_OK);
   }
   // The clusters freed by writing over are back in the pool: fsck would
   // report them lost.
   fattest::ExpectFsckClean(img);
   for (const auto &[name, content] : files) {
      fattest::ExpectMtype(img, name, content);
   }
   EXPECT_EQ(log.text(), "");
}

// 2847 one-sector clusters: a file of 2846 sectors fits, the next one fails
// after its first sector and keeps that as a consistent, shorter file; one
// byte more fails, an empty file (no cluster) still fits.
TEST(FloppyTransfer, FileThatDoesNotFit) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   trtest::LogCapture log;
   const std::string img = tmp.file("autoinst.flp");
   const std::string cab = Pattern(2846 * 512, 1), over = Pattern(1500, 2);
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      EXPECT_TRUE(Add(image.dir(), HostFile(tmp, "cab", cab), "drivers.cab"));
      EXPECT_FALSE(Add(image.dir(), HostFile(tmp, "over", over), "over.exe"));
      EXPECT_FALSE(Add(image.dir(), HostFile(tmp, "one", "x"), "last.txt"));
      EXPECT_TRUE(Add(image.dir(), HostFile(tmp, "none", ""), "empty.txt"));
   }
   fattest::ExpectFsckClean(img);
   fattest::ExpectMtype(img, "drivers.cab", cab);
   fattest::ExpectMtype(img, "over.exe", over.substr(0, 512));
   fattest::ExpectMtype(img, "last.txt", "");
   EXPECT_EQ(log.text(), "");
}

// A failing call, given an existing host file and a host target path that
// is not there yet.
struct FailureCase {
   const char *name;
   Bool (*call)(FSImageDir *dir, const char *present, const char *target);
   Image::How how = Image::How::Open;
   int files = 1;  // keep<i>.txt on the image beforehand; 224 fill the root
};

class FloppyTransferFailure : public testing::TestWithParam<FailureCase> {};

TEST_P(FloppyTransferFailure, FalseImageUntouchedNoTargetNoLog) {
   const FailureCase &c = GetParam();
   trtest::TempDir tmp;
   const std::string img = tmp.file("autoinst.flp"), target = tmp.file("fetched");
   const std::string present = HostFile(tmp, "winnt.sif", "[Data]\r\nAutoPartition=1\r\n");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      for (int i = 0; i < c.files; i++) {
         const std::string name = "keep" + std::to_string(i) + ".txt";
         ASSERT_EQ(fattest::PutFile(image.dir(), name, name), FSIMAGE_OK);
      }
   }
   const std::string before = trtest::ReadFile(img);
   trtest::LogCapture log;
   {
      Image image(img, c.how);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      EXPECT_FALSE(c.call(image.dir(), present.c_str(), target.c_str()));
   }
   EXPECT_TRUE(trtest::ReadFile(img) == before);
   EXPECT_FALSE(trtest::FileExists(target));
   EXPECT_EQ(log.text(), "");
}

using D = FSImageDir *;
using S = const char *;
constexpr auto Put = AddFileToFloppyImg;
constexpr auto Get = GetFileFromFloppyImg;

INSTANTIATE_TEST_SUITE_P(
   Calls, FloppyTransferFailure,
   testing::Values(
      FailureCase{"MissingHostFile", [](D d, S, S) { return Put(d, "/absent/w.sif", "w.sif"); }},
      FailureCase{"HostPathIsDirectory", [](D d, S, S) { return Put(d, "/", "winnt.sif"); }},
      FailureCase{"NameNotEightDotThree", [](D d, S p, S) { return Put(d, p, "TarvelTools.exe"); }},
      FailureCase{"NameWithSeparator", [](D d, S p, S) { return Put(d, p, "a/winnt.sif"); }},
      FailureCase{"RootDirectoryFull", [](D d, S p, S) { return Put(d, p, "winnt.sif"); },
                  Image::How::Open, 224},
      FailureCase{"ReadOnlyImage", [](D d, S p, S) { return Put(d, p, "keep0.txt"); },
                  Image::How::OpenReadOnly},
      FailureCase{"FetchMissingName", [](D d, S, S out) { return Get(d, "txtsetup.oem", out); }},
      FailureCase{"FetchIntoMissingDirectory",
                  [](D d, S, S out) {
                     return Get(d, "keep0.txt", (std::string(out) + "/x").c_str());
                  }},
      FailureCase{"NullArguments",
                  [](D d, S p, S out) {
                     return static_cast<Bool>(Put(nullptr, p, "w.sif") | Put(d, nullptr, "w.sif") |
                                              Put(d, p, nullptr) | Get(nullptr, "keep0.txt", out) |
                                              Get(d, nullptr, out) | Get(d, "keep0.txt", nullptr));
                  }}),
   [](const testing::TestParamInfo<FailureCase> &p) { return std::string(p.param.name); });

}  // namespace
