// floppy_transfer_test.cc --
//
//    AddFileToFloppyImg and GetFileFromFloppyImg: whole files in and out of
//    a floppy image, checked through the library and through mtools and
//    fsck.fat; files written over, files that do not fit, and every failure
//    a FALSE result that leaves the image as it was and logs nothing.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include <trguest/autoinstall.h>

#include "fat_support.hh"

namespace {

using fattest::Image;
using fattest::Pattern;

// Clusters of a 1.44 MB floppy (one 512-byte sector each).
constexpr size_t kFloppyClusters = 2847;

std::vector<std::string> Sorted(std::vector<std::string> v) {
   std::sort(v.begin(), v.end());
   return v;
}

struct SizeCase {
   const char *name;  // on the image, as the guest is to see it
   size_t size;
};

// Empty, around one sector, whole sectors (ending with a read and a write
// of 0 bytes) and the tools upgrader's size.
const SizeCase kSizes[] = {
   {"empty.cfg", 0},      {"one.txt", 1},        {"s511.bin", 511},   {"s512.bin", 512},
   {"s513.bin", 513},     {"S1024.BIN", 1024},   {"preseed.cfg", 3000},
   {"auto_i~1.cfg", 4608}, {"upgra32", 300 * 1024},
};

TEST(FloppyTransfer, RoundTripsEverySize) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   trtest::LogCapture log;
   const std::string img = tmp.file("autoinst.flp");
   std::vector<std::string> names;
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      uint32_t seed = 1;
      for (const SizeCase &c : kSizes) {
         const std::string host = tmp.file(std::string("in-") + c.name);
         trtest::WriteFile(host, Pattern(c.size, seed++));
         EXPECT_TRUE(AddFileToFloppyImg(image.dir(), host.c_str(), c.name)) << c.name;
         names.emplace_back(c.name);
      }
      seed = 1;
      for (const SizeCase &c : kSizes) {
         // An existing, longer host file is cut to the image file's size.
         const std::string out = tmp.file(std::string("out-") + c.name);
         trtest::WriteFile(out, std::string(400 * 1024, 'x'));
         EXPECT_TRUE(GetFileFromFloppyImg(image.dir(), c.name, out.c_str())) << c.name;
         EXPECT_TRUE(trtest::ReadFile(out) == Pattern(c.size, seed++)) << c.name;
      }
      ASSERT_EQ(image.close(), FSIMAGE_OK);
   }
   fattest::ExpectFsckClean(img);
   EXPECT_EQ(Sorted(fattest::MdirNames(img)), Sorted(names));
   uint32_t seed = 1;
   for (const SizeCase &c : kSizes) {
      fattest::ExpectMtype(img, c.name, Pattern(c.size, seed++));
   }
   EXPECT_EQ(log.text(), "");
}

// The in-use slots and their names, in slot order.
std::vector<std::pair<uint32_t, std::string>> Slots(FSImageDir *dir) {
   std::vector<std::pair<uint32_t, std::string>> slots;
   for (uint32_t i = 0; i < FSImage_GetNumDirEntries(dir); i++) {
      Bool inUse = FALSE;
      char *name = nullptr;
      EXPECT_EQ(FSImage_GetCatInfo(dir, i, &inUse, &name, nullptr, nullptr, nullptr), FSIMAGE_OK);
      if (inUse) {
         slots.emplace_back(i, name);
      }
      free(name);
   }
   return slots;
}

TEST(FloppyTransfer, ExistingFileWrittenOverInPlace) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   trtest::LogCapture log;
   const std::string img = tmp.file("autoinst.flp");
   const std::string longer = tmp.file("long"), shorter = tmp.file("short");
   const std::string empty = tmp.file("empty"), next = tmp.file("next");
   trtest::WriteFile(longer, Pattern(5000, 1));
   trtest::WriteFile(shorter, "short answer file\n");
   trtest::WriteFile(empty, "");
   trtest::WriteFile(next, Pattern(2048, 2));
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      ASSERT_TRUE(AddFileToFloppyImg(image.dir(), longer.c_str(), "ks.cfg"));
      ASSERT_TRUE(AddFileToFloppyImg(image.dir(), next.c_str(), "next.bin"));
      const auto before = Slots(image.dir());

      // Opened and written from its start: same slot, no old tail, and the
      // freed clusters go back to the free pool (fsck sees no lost ones).
      ASSERT_TRUE(AddFileToFloppyImg(image.dir(), shorter.c_str(), "KS.CFG"));
      EXPECT_EQ(Slots(image.dir()), before);
      EXPECT_EQ(fattest::GetFile(image.dir(), "ks.cfg"), "short answer file\n");
      ASSERT_TRUE(AddFileToFloppyImg(image.dir(), longer.c_str(), "ks.cfg"));
      EXPECT_EQ(fattest::GetFile(image.dir(), "ks.cfg"), Pattern(5000, 1));
      ASSERT_TRUE(AddFileToFloppyImg(image.dir(), empty.c_str(), "next.bin"));
      EXPECT_EQ(Slots(image.dir()), before);
   }
   fattest::ExpectFsckClean(img);
   fattest::ExpectMtype(img, "ks.cfg", Pattern(5000, 1));
   fattest::ExpectMtype(img, "next.bin", "");
   EXPECT_EQ(log.text(), "");
}

TEST(FloppyTransfer, FileThatDoesNotFit) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   trtest::LogCapture log;
   const std::string img = tmp.file("autoinst.flp");
   const std::string all = tmp.file("all"), one = tmp.file("one"), none = tmp.file("none");
   // Exactly the whole data area fits; one byte more does not.
   trtest::WriteFile(all, Pattern(kFloppyClusters * 512 - 512, 1));
   trtest::WriteFile(one, "x");
   trtest::WriteFile(none, "");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      EXPECT_TRUE(AddFileToFloppyImg(image.dir(), all.c_str(), "drivers.cab"));
      EXPECT_TRUE(AddFileToFloppyImg(image.dir(), one.c_str(), "last.txt"));
      EXPECT_FALSE(AddFileToFloppyImg(image.dir(), one.c_str(), "over.txt"));
      // An empty file takes no cluster and still fits.
      EXPECT_TRUE(AddFileToFloppyImg(image.dir(), none.c_str(), "empty.txt"));
   }
   fattest::ExpectFsckClean(img);
   fattest::ExpectMtype(img, "drivers.cab", Pattern(kFloppyClusters * 512 - 512, 1));
   fattest::ExpectMtype(img, "last.txt", "x");
   fattest::ExpectMtype(img, "over.txt", "");

   // Too large from the start: FALSE, with what fitted kept as a consistent
   // (shorter) file and the files already there intact.
   const std::string big = tmp.file("big"), small = tmp.file("small");
   trtest::WriteFile(big, Pattern(1200 * 1024, 2));
   trtest::WriteFile(small, Pattern(700, 3));
   const std::string img2 = tmp.file("second.flp");
   {
      Image image(img2, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      EXPECT_TRUE(AddFileToFloppyImg(image.dir(), small.c_str(), "unattend.cmd"));
      EXPECT_TRUE(AddFileToFloppyImg(image.dir(), big.c_str(), "upgrader.exe"));
      EXPECT_FALSE(AddFileToFloppyImg(image.dir(), big.c_str(), "second.exe"));
   }
   fattest::ExpectFsckClean(img2);
   fattest::ExpectMtype(img2, "unattend.cmd", Pattern(700, 3));
   fattest::ExpectMtype(img2, "upgrader.exe", Pattern(1200 * 1024, 2));
   EXPECT_EQ(log.text(), "");
}

// A failing call: the paths it may use and the image's directory.
struct Paths {
   std::string present;  // a host file that exists
   std::string missing;  // a host path that does not
   std::string target;   // a host path to copy out to (not there beforehand)
   std::string unreachable;  // a host path in a directory that does not exist
};

struct FailureCase {
   const char *name;
   Image::How how;
   std::function<Bool(FSImageDir *, const Paths &)> call;
   bool fillRoot = false;  // every root directory slot taken first
};

class FloppyTransferFailure : public testing::TestWithParam<FailureCase> {};

TEST_P(FloppyTransferFailure, FalseAndImageUntouched) {
   const FailureCase &c = GetParam();
   trtest::TempDir tmp;
   const std::string img = tmp.file("autoinst.flp");
   Paths paths{tmp.file("winnt.sif"), tmp.file("absent.sif"), tmp.file("fetched"),
               tmp.file("scsi/fetched")};
   trtest::WriteFile(paths.present, "[Data]\r\nAutoPartition=1\r\n");
   {
      Image image(img, Image::How::Format);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      const int files = c.fillRoot ? 224 : 1;
      for (int i = 0; i < files; i++) {
         const std::string name = "keep" + std::to_string(i) + ".txt";
         ASSERT_EQ(fattest::PutFile(image.dir(), name, name), FSIMAGE_OK);
      }
   }
   const std::string before = trtest::ReadFile(img);
   trtest::LogCapture log;
   {
      Image image(img, c.how);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      EXPECT_FALSE(c.call(image.dir(), paths));
   }
   EXPECT_TRUE(trtest::ReadFile(img) == before);
   EXPECT_FALSE(trtest::FileExists(paths.target));
   EXPECT_FALSE(trtest::FileExists(paths.unreachable));
   EXPECT_EQ(log.text(), "");
}

INSTANTIATE_TEST_SUITE_P(
   Calls, FloppyTransferFailure,
   testing::Values(
      FailureCase{"MissingHostFile", Image::How::Open,
                  [](FSImageDir *d, const Paths &p) {
                     return AddFileToFloppyImg(d, p.missing.c_str(), "winnt.sif");
                  }},
      FailureCase{"HostPathIsDirectory", Image::How::Open,
                  [](FSImageDir *d, const Paths &) {
                     return AddFileToFloppyImg(d, "/", "winnt.sif");
                  }},
      FailureCase{"NameNotEightDotThree", Image::How::Open,
                  [](FSImageDir *d, const Paths &p) {
                     return AddFileToFloppyImg(d, p.present.c_str(), "TarvelToolsUpgrader.exe");
                  }},
      FailureCase{"NameWithSeparator", Image::How::Open,
                  [](FSImageDir *d, const Paths &p) {
                     return AddFileToFloppyImg(d, p.present.c_str(), "a/winnt.sif");
                  }},
      FailureCase{"RootDirectoryFull", Image::How::Open,
                  [](FSImageDir *d, const Paths &p) {
                     return AddFileToFloppyImg(d, p.present.c_str(), "winnt.sif");
                  },
                  true},
      FailureCase{"ReadOnlyImage", Image::How::OpenReadOnly,
                  [](FSImageDir *d, const Paths &p) {
                     return AddFileToFloppyImg(d, p.present.c_str(), "keep0.txt");
                  }},
      FailureCase{"NullArguments", Image::How::Open,
                  [](FSImageDir *d, const Paths &p) {
                     return static_cast<Bool>(
                        AddFileToFloppyImg(nullptr, p.present.c_str(), "winnt.sif") |
                        AddFileToFloppyImg(d, nullptr, "winnt.sif") |
                        AddFileToFloppyImg(d, p.present.c_str(), nullptr) |
                        GetFileFromFloppyImg(nullptr, "keep0.txt", p.target.c_str()) |
                        GetFileFromFloppyImg(d, nullptr, p.target.c_str()) |
                        GetFileFromFloppyImg(d, "keep0.txt", nullptr));
                  }},
      FailureCase{"FetchMissingName", Image::How::Open,
                  [](FSImageDir *d, const Paths &p) {
                     return GetFileFromFloppyImg(d, "txtsetup.oem", p.target.c_str());
                  }},
      FailureCase{"FetchIntoMissingDirectory", Image::How::Open,
                  [](FSImageDir *d, const Paths &p) {
                     return GetFileFromFloppyImg(d, "keep0.txt", p.unreachable.c_str());
                  }}),
   [](const testing::TestParamInfo<FailureCase> &p) { return std::string(p.param.name); });

// The driver floppy of a Windows installation comes from elsewhere: an
// mformat image filled by mcopy, long names included. Every file entry is
// copied out under its lower-cased name, then the image takes a file of
// ours and stays clean with its long names intact.
TEST(FloppyTransfer, ForeignDriverFloppy) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir tmp;
   trtest::LogCapture log;
   const std::string img = tmp.file("trscsi.flp");
   auto made = fattest::Tool({"mformat", "-C", "-f", "1440", "-i", img, "::"});
   ASSERT_EQ(made.exitCode, 0) << made.output;
   const std::pair<const char *, std::string> files[] = {
      {"TXTSETUP.OEM", "[Disks]\r\nd1 = \"Driver disk\",\\trscsi.sys,\\\r\n"},
      {"trscsi.sys", Pattern(24 * 1024 + 17, 1)},
      {"Driver Read Me.txt", Pattern(1536, 2)},
   };
   std::vector<std::string> mcopy = {"mcopy", "-i", img};
   for (const auto &[name, content] : files) {
      trtest::WriteFile(tmp.file(std::string("src/") + name), content);
      mcopy.push_back(tmp.file(std::string("src/") + name));
   }
   mcopy.push_back("::");
   auto copied = fattest::Tool(mcopy);
   ASSERT_EQ(copied.exitCode, 0) << copied.output;

   std::filesystem::create_directory(tmp.file("scsi"));
   {
      Image image(img, Image::How::Open);
      ASSERT_EQ(image.error(), FSIMAGE_OK);
      std::vector<std::string> fetched;
      for (const auto &[slot, name] : Slots(image.dir())) {
         std::string lower = name;
         std::transform(lower.begin(), lower.end(), lower.begin(),
                        [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
         EXPECT_TRUE(GetFileFromFloppyImg(image.dir(), name.c_str(),
                                          tmp.file("scsi/" + lower).c_str()))
            << name;
         fetched.push_back(lower);
      }
      EXPECT_EQ(Sorted(fetched), Sorted({"txtsetup.oem", "trscsi.sys", "driver~1.txt"}));
      EXPECT_EQ(trtest::ReadFile(tmp.file("scsi/txtsetup.oem")), files[0].second);
      EXPECT_TRUE(trtest::ReadFile(tmp.file("scsi/trscsi.sys")) == files[1].second);
      EXPECT_TRUE(trtest::ReadFile(tmp.file("scsi/driver~1.txt")) == files[2].second);

      EXPECT_TRUE(AddFileToFloppyImg(image.dir(), tmp.file("scsi/trscsi.sys").c_str(),
                                     "trscsi2.sys"));
   }
   fattest::ExpectFsckClean(img);
   EXPECT_EQ(Sorted(fattest::MdirNames(img)),
             Sorted({"TXTSETUP.OEM", "trscsi.sys", "Driver Read Me.txt", "trscsi2.sys"}));
   fattest::ExpectMtype(img, "trscsi2.sys", files[1].second);
   EXPECT_EQ(log.text(), "");
}

}  // namespace
