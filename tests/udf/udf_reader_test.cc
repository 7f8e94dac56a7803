// udf_reader_test.cc --
//
//    The UDF reader on UDF bridge images (genisoimage) and on pure UDF 2.01
//    and 2.50 images with a metadata partition (the test builder),
//    including damaged descriptors and a file past the 4 GiB mark.

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/iso9660.h>
#include <trplatform/udf.h>

#include "media_builder.hh"
#include "testsupport.hh"
#include "udf_builder.hh"

namespace {

std::vector<std::string> List(UDFImage *udf, const char *path) {
   std::vector<std::string> names;
   UDFDir *d = UDF_OpenDir(udf, nullptr, path);
   if (d == nullptr) {
      return {"<cannot open>"};
   }
   while (const char *n = UDF_ReadDir(d)) {
      names.push_back(std::string(n) + (UDF_IsDirEntryDirectory(d) ? "/" : ""));
   }
   EXPECT_TRUE(UDF_CloseDir(d));
   return names;
}

// The whole file, or "<missing>" / "<unreadable>".
std::string Read(UDFImage *udf, const char *dir, const char *name, uint64_t *size = nullptr) {
   UDFDir *d = UDF_OpenDir(udf, nullptr, dir);
   if (d == nullptr) return "<missing>";
   UDFFile *f = UDF_OpenFile(udf, d, name);
   std::string out = "<missing>";
   if (f != nullptr) {
      char *buf = nullptr;
      if (UDF_ReadFile(f, &buf)) {
         out.assign(buf, UDF_GetLastReadSize(f));
         EXPECT_EQ(buf[UDF_GetLastReadSize(f)], '\0');
         std::free(buf);
         if (size != nullptr) *size = UDF_GetLastReadSize(f);
      } else {
         out = "<unreadable>";
      }
      UDF_CloseFile(f);
   }
   UDF_CloseDir(d);
   return out;
}

trtest::UdfSpec SampleSpec(trtest::UdfSpec::Revision rev) {
   trtest::UdfSpec spec;
   spec.revision = rev;
   spec.files = {
      {"sources/idwbinfo.txt", "[BUILDINFO]\r\nBuildBranch=win7_rtm\r\n"},
      {"sources/install_Windows 7 ULTIMATE.clg", "x"},
      {"sources/ei.cfg", "[EditionID]\r\nEnterprise\r\n", true},
      {"boot/kernel/kernel", std::string(5000, 'k')},
      {"empty", ""},
   };
   spec.dirs = {"Install Mac OS X Lion.app"};
   return spec;
}

class UdfPure : public ::testing::TestWithParam<trtest::UdfSpec::Revision> {};

TEST_P(UdfPure, ListsAndReads) {
   trtest::TempDir dir;
   std::string path = dir.file("pure.udf");
   ASSERT_TRUE(trtest::BuildUdfImage(path, SampleSpec(GetParam())));
   UDFImage *udf = UDF_Open(path.c_str());
   ASSERT_NE(udf, nullptr);
   EXPECT_EQ(List(udf, "/"), (std::vector<std::string>{"Install Mac OS X Lion.app/", "boot/",
                                                         "empty", "sources/"}));
   EXPECT_EQ(List(udf, ""), List(udf, "/"));
   EXPECT_EQ(List(udf, "/sources"), List(udf, "sources/"));
   EXPECT_EQ(Read(udf, "sources", "idwbinfo.txt"), "[BUILDINFO]\r\nBuildBranch=win7_rtm\r\n");
   EXPECT_EQ(Read(udf, "sources", "ei.cfg"), "[EditionID]\r\nEnterprise\r\n");  // embedded
   uint64_t size = 0;
   EXPECT_EQ(Read(udf, "/boot/kernel", "kernel", &size), std::string(5000, 'k'));
   EXPECT_EQ(size, 5000u);
   EXPECT_EQ(Read(udf, "/", "empty"), "");
   // Names match exactly; the detection layer retries other cases itself.
   EXPECT_EQ(Read(udf, "SOURCES", "idwbinfo.txt"), "<missing>");
   EXPECT_EQ(Read(udf, "sources", "IDWBINFO.TXT"), "<missing>");
   // A directory opens as a file (for existence checks) but has no data.
   UDFDir *root = UDF_OpenDir(udf, nullptr, "/");
   UDFFile *app = UDF_OpenFile(udf, root, "Install Mac OS X Lion.app");
   ASSERT_NE(app, nullptr);
   char *buf = nullptr;
   EXPECT_FALSE(UDF_ReadFile(app, &buf));
   UDF_CloseFile(app);
   // Relative to a parent, and rewinding.
   UDFDir *boot = UDF_OpenDir(udf, root, "boot/kernel");
   ASSERT_NE(boot, nullptr);
   EXPECT_STREQ(UDF_ReadDir(boot), "kernel");
   EXPECT_EQ(UDF_ReadDir(boot), nullptr);
   UDF_RewindDir(boot);
   EXPECT_STREQ(UDF_ReadDir(boot), "kernel");
   EXPECT_EQ(UDF_OpenDir(udf, root, "empty"), nullptr);  // not a directory
   EXPECT_EQ(UDF_OpenDir(udf, nullptr, "nope"), nullptr);
   UDF_CloseDir(boot);
   UDF_CloseDir(root);
   UDF_Close(udf);
}

// Directories of several blocks, and files in several extents, some of them
// listed in an allocation extent descriptor.
TEST_P(UdfPure, LargeDirectoriesAndFragmentedFiles) {
   trtest::TempDir dir;
   trtest::UdfSpec spec;
   spec.revision = GetParam();
   std::string big(5 * 2048 + 77, '\0');
   for (size_t i = 0; i < big.size(); i++) big[i] = static_cast<char>('A' + i % 23);
   spec.files = {{"frag/direct.bin", big, false, 0, 2048},
                 {"frag/aed.bin", big, false, 0, 4096, true}};
   for (int i = 0; i < 150; i++) {
      spec.files.push_back({"many/entry number " + std::to_string(i), std::to_string(i)});
   }
   std::string path = dir.file("big.udf");
   ASSERT_TRUE(trtest::BuildUdfImage(path, spec));
   UDFImage *udf = UDF_Open(path.c_str());
   ASSERT_NE(udf, nullptr);
   EXPECT_EQ(List(udf, "many").size(), 150u);  // about 9 KB of identifiers
   EXPECT_EQ(Read(udf, "many", "entry number 149"), "149");
   EXPECT_EQ(Read(udf, "frag", "direct.bin"), big);
   EXPECT_EQ(Read(udf, "frag", "aed.bin"), big);
   UDF_Close(udf);
}

INSTANTIATE_TEST_SUITE_P(Revisions, UdfPure,
                         ::testing::Values(trtest::UdfSpec::Udf201, trtest::UdfSpec::Udf250),
                         [](const auto &p) {
                            return std::string(p.param == trtest::UdfSpec::Udf201 ? "Udf201"
                                                                                  : "Udf250");
                         });

TEST(UdfNames, SixteenBitCompressedUnicode) {
   trtest::TempDir dir;
   trtest::UdfSpec spec;
   spec.cs0Sixteen = true;
   spec.files = {{"Dossier/\xc3\xa9t\xc3\xa9.txt", "summer"}};
   std::string path = dir.file("u16.udf");
   ASSERT_TRUE(trtest::BuildUdfImage(path, spec));
   UDFImage *udf = UDF_Open(path.c_str());
   ASSERT_NE(udf, nullptr);
   EXPECT_EQ(List(udf, "Dossier"), (std::vector<std::string>{"\xc3\xa9t\xc3\xa9.txt"}));
   EXPECT_EQ(Read(udf, "Dossier", "\xc3\xa9t\xc3\xa9.txt"), "summer");
   UDF_Close(udf);
}

// The same files through the UDF side and the ISO 9660 (Joliet) side of a
// bridge image, with a directory larger than one block on both.
TEST(UdfBridge, OpensThroughBothReaders) {
   if (!trtest::CanBuild(trtest::MediaFormat::UdfBridge)) {
      GTEST_SKIP() << "genisoimage is not installed";
   }
   trtest::TempDir dir;
   trtest::MediaSpec spec;
   spec.format = trtest::MediaFormat::UdfBridge;
   spec.files = {{"sources/lang.ini", "[Available UI Languages]\r\nen-US = 3\r\n"},
                 {"sources/install.wim", std::string(70000, 'w')}};
   for (int i = 0; i < 120; i++) {
      spec.files.push_back({"many/file" + std::to_string(i) + ".txt", std::to_string(i)});
   }
   std::string path = trtest::BuildImage(dir, spec);
   UDF_ResetBytesRead();
   UDFImage *udf = UDF_Open(path.c_str());
   ASSERT_NE(udf, nullptr);
   EXPECT_EQ(Read(udf, "sources", "lang.ini"), spec.files[0].contents);
   EXPECT_EQ(Read(udf, "sources", "install.wim"), spec.files[1].contents);
   EXPECT_EQ(List(udf, "many").size(), 120u);
   EXPECT_EQ(Read(udf, "many", "file119.txt"), "119");
   EXPECT_GE(UDF_GetBytesRead(), 70000u);
   UDF_Close(udf);

   Iso9660Image *iso = nullptr;
   ASSERT_EQ(Iso9660_Open(path.c_str(), 2, 0, &iso), ISO9660_OK);
   Iso9660DirHandle d;
   ASSERT_EQ(Iso9660_OpenDir(iso, "many", &d), ISO9660_OK);
   Iso9660DirEntry e;
   int count = 0;
   while (Iso9660_ReadDir(iso, d, &e) == ISO9660_OK) count++;
   EXPECT_EQ(count, 120);
   Iso9660_CloseDir(iso, d);
   trtest::TempDir out;
   EXPECT_EQ(Iso9660_Extract(iso, "sources", out.path().c_str()), ISO9660_OK);
   EXPECT_EQ(trtest::ReadFile(out.file("lang.ini")), spec.files[0].contents);
   EXPECT_EQ(trtest::ReadFile(out.file("install.wim")), spec.files[1].contents);
   Iso9660_Close(iso);
}

TEST(UdfNotUdf, PlainIsoAndOtherFiles) {
   trtest::TempDir dir;
   trtest::WriteFile(dir.file("text"), std::string(1 << 20, 'x'));
   EXPECT_EQ(UDF_Open(dir.file("text").c_str()), nullptr);
   EXPECT_EQ(UDF_Open(dir.file("missing").c_str()), nullptr);
   EXPECT_EQ(UDF_Open(dir.path().c_str()), nullptr);
   if (trtest::CanBuild(trtest::MediaFormat::RockRidge)) {
      trtest::MediaSpec spec;
      spec.files = {{"a", "b"}};
      EXPECT_EQ(UDF_Open(trtest::BuildImage(dir, spec).c_str()), nullptr);
   }
   UDF_Close(nullptr);
   EXPECT_FALSE(UDF_CloseDir(nullptr));
}

// Writes bytes into an image file at offset.
void Patch(const std::string &path, uint64_t offset, const std::string &bytes) {
   int fd = ::open(path.c_str(), O_WRONLY);
   ASSERT_GE(fd, 0);
   ASSERT_EQ(::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset)),
             static_cast<ssize_t>(bytes.size()));
   ::close(fd);
}

std::string Le32(uint32_t v) {
   std::string s(4, '\0');
   for (int i = 0; i < 4; i++) s[i] = static_cast<char>(v >> (8 * i));
   return s;
}

TEST(UdfDamaged, DescriptorsAreChecked) {
   trtest::TempDir dir;
   struct {
      const char *name;
      // offset within the structure, bytes, whether the tag is then fixed
      uint64_t trtest::UdfLayout::*base;
      uint64_t at;
      std::string bytes;
      bool refixTag;
      bool opens;        // UDF_Open succeeds
      bool listsRoot;    // the root directory can be listed
   } cases[] = {
      {"anchorChecksum", &trtest::UdfLayout::anchorOffset, 4, "\x55", false, false, false},
      {"anchorBodyCrc", &trtest::UdfLayout::anchorOffset, 20, "\x01", false, false, false},
      {"anchorLocation", &trtest::UdfLayout::anchorOffset, 12, Le32(257), true, false, false},
      {"lvdBlockSize", &trtest::UdfLayout::lvdOffset, 212, Le32(1000), true, false, false},
      {"lvdTooManyMaps", &trtest::UdfLayout::lvdOffset, 268, Le32(99), true, false, false},
      {"rootEntryLocation", &trtest::UdfLayout::rootEntryOffset, 12, Le32(77), true, true, false},
      {"rootEntryAdLength", &trtest::UdfLayout::rootEntryOffset, 212, Le32(100000), true, true,
       false},
      {"rootFidTag", &trtest::UdfLayout::rootDataOffset, 0, "\x09", false, true, false},
      {"rootSizeBeyondImage", &trtest::UdfLayout::rootEntryOffset, 56,
       std::string("\0\0\0\0\0\0\0\x40", 8), true, true, false},
      // An identifier whose CRC claims the bytes of the identifiers after it.
      {"rootFidCrcBeyondIdentifier", &trtest::UdfLayout::rootDataOffset, 10,
       std::string("\x64\x00", 2), true, true, false},
      // The metadata file is damaged: its mirror serves; both: no volume.
      {"metadataFileChecksum", &trtest::UdfLayout::partitionStart, 4, "\x55", false, true, true},
      {"metadataFileAndMirror", &trtest::UdfLayout::partitionStart, 4,
       std::string("\x55") + std::string(2047, '\0') + "\x55", false, false, false},
   };
   for (const auto &c : cases) {
      std::string path = dir.file(std::string(c.name) + ".udf");
      trtest::UdfLayout layout;
      ASSERT_TRUE(trtest::BuildUdfImage(path, SampleSpec(trtest::UdfSpec::Udf250), &layout));
      uint64_t offset = layout.*(c.base);
      Patch(path, offset + c.at, c.bytes);
      if (c.refixTag) {
         ASSERT_TRUE(trtest::FixUdfTag(path, offset));
      }
      UDFImage *udf = UDF_Open(path.c_str());
      EXPECT_EQ(udf != nullptr, c.opens) << c.name;
      if (udf != nullptr) {
         UDFDir *root = UDF_OpenDir(udf, nullptr, "/");
         EXPECT_EQ(root != nullptr, c.listsRoot) << c.name;
         UDF_CloseDir(root);
         UDF_Close(udf);
      }
   }
}

TEST(UdfLarge, FilePastFourGiB) {
   trtest::TempDir dir;
   trtest::UdfSpec spec;
   spec.imageSize = 4700000000ULL;
   spec.files = {{"far/away.bin", "beyond four gigabytes", false, 2200000}};
   std::string path = dir.file("dvd.udf");
   ASSERT_TRUE(trtest::BuildUdfImage(path, spec));
   UDFImage *udf = UDF_Open(path.c_str());
   ASSERT_NE(udf, nullptr);
   EXPECT_EQ(Read(udf, "far", "away.bin"), "beyond four gigabytes");
   UDF_Close(udf);
}

}  // namespace
