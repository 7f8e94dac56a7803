// disk_test.cc --
//
//    The current disks of a configuration file, the database entries of disk
//    descriptors, and the legacy tools version read from them.

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/toolsversion.h>
#include <trplatform/disk.h>

#include "testsupport.hh"

namespace {

struct DescriptorCase {
   const char *name;
   std::string text;
   DiskLibError openResult;
   const char *toolsVersion;  // NULL: no entry
};

void PrintTo(const DescriptorCase &c, std::ostream *os) { *os << c.name; }

class Descriptor : public ::testing::TestWithParam<DescriptorCase> {};

TEST_P(Descriptor, OpensAndReadsTheDatabase) {
   const DescriptorCase &c = GetParam();
   trtest::TempDir dir;
   const std::string path = dir.file("disk.vd");
   trtest::WriteFile(path, c.text);
   DiskHandle disk = reinterpret_cast<DiskHandle>(&dir);
   ASSERT_EQ(DiskLib_Open(path.c_str(), 7, nullptr, &disk), c.openResult);
   if (c.openResult != DISKLIB_SUCCESS) {
      EXPECT_EQ(disk, nullptr);
      return;
   }
   char *value = reinterpret_cast<char *>(&dir);
   DiskLibError err = DiskLib_DBGet(disk, "toolsVersion", &value);
   EXPECT_EQ(err, c.toolsVersion != nullptr ? DISKLIB_SUCCESS : DISKLIB_ERR_NOT_FOUND);
   EXPECT_EQ(value != nullptr ? std::string(value) : "(none)",
             c.toolsVersion != nullptr ? c.toolsVersion : "(none)");
   std::free(value);
   DiskLib_Close(disk);
}

const DescriptorCase kDescriptorCases[] = {
   {"typical",
    "# Disk DescriptorFile\nversion=1\nCID=fffffffe\ncreateType=\"monolithicFlat\"\n\n"
    "# Extent description\nRW 4192256 FLAT \"disk-flat.vd\" 0\n\n"
    "ddb.adapterType = \"lsilogic\"\nddb.toolsVersion = \"9349\"\n",
    DISKLIB_SUCCESS, "9349"},
   {"caseBareWordCrLfLastValue",
    "RDONLY 10 SPARSE \"a b.vd\"\r\n  DDB.TOOLSVERSION=8000 \r\nddb.toolsversion = \"8001\"\r\n",
    DISKLIB_SUCCESS, "8001"},
   {"noEntry", "NOACCESS 1 ZERO\nddb.uuid = \"60 00\"\n", DISKLIB_SUCCESS, nullptr},
   {"otherText", "ddb.toolsVersion = \"1\"\nhello world\n", DISKLIB_ERR_NOT_DESCRIPTOR, nullptr},
   {"unterminatedQuote", "ddb.toolsVersion = \"1\n", DISKLIB_ERR_NOT_DESCRIPTOR, nullptr},
   {"textAfterQuote", "ddb.toolsVersion = \"1\" 2\n", DISKLIB_ERR_NOT_DESCRIPTOR, nullptr},
   {"empty", "", DISKLIB_ERR_NOT_DESCRIPTOR, nullptr},
   {"commentsOnly", "# nothing\n\n", DISKLIB_ERR_NOT_DESCRIPTOR, nullptr},
   {"nulByte", std::string("ddb.toolsVersion = \"1\"\n") + '\0' + "\n", DISKLIB_ERR_NOT_DESCRIPTOR,
    nullptr},
   {"overOneMebibyte", "#" + std::string(1024 * 1024, 'x') + "\nddb.toolsVersion = \"1\"\n",
    DISKLIB_ERR_TOO_LARGE, nullptr},
};

INSTANTIATE_TEST_SUITE_P(Cases, Descriptor, ::testing::ValuesIn(kDescriptorCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(DiskLibOpen, RefusesWhatIsNoRegularFile) {
   trtest::TempDir dir;
   DiskHandle disk = nullptr;
   EXPECT_EQ(DiskLib_Open(dir.file("missing.vd").c_str(), 7, nullptr, &disk),
             DISKLIB_ERR_CANNOT_OPEN);
   EXPECT_EQ(DiskLib_Open(dir.path().c_str(), 7, nullptr, &disk), DISKLIB_ERR_CANNOT_OPEN);
   EXPECT_EQ(disk, nullptr);
   DiskLib_Close(nullptr);
}

std::vector<std::string> ToVector(SnapshotStringList *list) {
   std::vector<std::string> out;
   for (; list != nullptr; list = list->next) {
      out.push_back(list->value);
   }
   return out;
}

TEST(SnapshotGetCurrentDisks, ListsPresentDisksInFileOrder) {
   trtest::TempDir dir;
   const std::string config = dir.file("vm.trx");
   trtest::WriteFile(config,
                     "SCSI0:1.fileName = \"b.vd\"\n"
                     "ide0:0.fileName = \"/abs/a.vd\"\n"
                     "ide1:0.fileName = \"cd.iso\"\nide1:0.deviceType = \"cdrom-image\"\n"
                     "sata0:0.fileName = \"gone.vd\"\nsata0:0.present = \"FALSE\"\n"
                     "nvme0:0.fileName = \"n.vd\"\nnvme0:0.present = \"TRUE\"\n"
                     "nvme0:0.deviceType = \"plainDisk\"\n"
                     "floppy0.fileName = \"f.flp\"\nserial0.fileName = \"s.log\"\n"
                     "scsi0:2.fileName = \"\"\nscsi0:1.present = \"yes\"\n");
   SnapshotStringList *devices = nullptr;
   SnapshotStringList *disks = nullptr;
   SnapshotError err = Snapshot_GetCurrentDisks(config.c_str(), nullptr, nullptr, &devices,
                                                &disks, nullptr);
   ASSERT_EQ(err.type, SNAPSHOTERROR_SUCCESS);
   EXPECT_EQ(ToVector(disks), (std::vector<std::string>{dir.file("b.vd"), "/abs/a.vd",
                                                        dir.file("n.vd")}));
   EXPECT_EQ(ToVector(devices), (std::vector<std::string>{"SCSI0:1", "ide0:0", "nvme0:0"}));
   Snapshot_DestroyStringList(devices);
   Snapshot_DestroyStringList(disks);

   disks = reinterpret_cast<SnapshotStringList *>(&dir);
   err = Snapshot_GetCurrentDisks(dir.file("none.trx").c_str(), nullptr, nullptr, nullptr, &disks,
                                  nullptr);
   EXPECT_EQ(err.type, SNAPSHOTERROR_CONFIG);
   EXPECT_EQ(disks, nullptr);
}

TEST(LegacyVersionNumber, HighestToolsVersionOfAllDisks) {
   trtest::TempDir dir;
   const std::string config = dir.file("vm.trx");
   trtest::WriteFile(config,
                     "scsi0:0.fileName = \"a.vd\"\nscsi0:1.fileName = \"b.vd\"\n"
                     "scsi0:2.fileName = \"c.vd\"\nscsi0:3.fileName = \"missing.vd\"\n"
                     "scsi0:4.fileName = \"d.vd\"\n");
   trtest::WriteFile(dir.file("a.vd"), "ddb.toolsVersion = \"8000\"\n");
   trtest::WriteFile(dir.file("b.vd"), "ddb.adapterType = \"ide\"\n");
   trtest::WriteFile(dir.file("c.vd"), "ddb.toolsVersion = \"9349\"\n");
   trtest::WriteFile(dir.file("d.vd"), "ddb.toolsVersion = \"99999x\"\n");
   uint32_t version = 1;
   EXPECT_TRUE(ToolsVersion_GetLegacyVersionNumber(config.c_str(), &version));
   EXPECT_EQ(version, 9349u);
   EXPECT_FALSE(ToolsVersion_GetLegacyVersionNumber(config.c_str(), nullptr));

   version = 1;
   EXPECT_FALSE(ToolsVersion_GetLegacyVersionNumber(dir.file("none.trx").c_str(), &version));
   EXPECT_EQ(version, 0u);
}

}  // namespace
