// linux_ids_test.cc --
//
//    Every guest OS identifier that the Linux detectors
//    can store is in the platform's guest OS table, within the Linux id
//    ranges, with the "-64" ones marked 64-bit.

#include <string>

#include <gtest/gtest.h>

#include <trplatform/guestos.h>

namespace {

const char *const kLinuxIds[] = {
   // Red Hat family
   "redhat", "rhel2", "rhel3", "rhel3-64", "rhel4", "rhel4-64", "rhel5", "rhel5-64", "rhel6",
   "rhel6-64", "centos", "centos-64", "oraclelinux", "oraclelinux-64", "asianux3",
   "asianux3-64", "asianux4", "asianux4-64", "fedora", "fedora-64",
   // Debian and Ubuntu
   "debian4", "debian4-64", "debian5", "debian5-64", "debian6", "debian6-64", "debian7",
   "debian7-64", "ubuntu", "ubuntu-64",
   // SUSE family
   "suse", "suse-64", "opensuse", "opensuse-64", "sles", "sles-64", "sles10", "sles10-64",
   "sles11", "sles11-64", "sles12", "sles12-64", "sjds", "nld9",
   // Mandrake, Mandriva and Turbolinux
   "mandrake", "mandriva", "mandriva-64", "turbolinux",
};

bool InLinuxRanges(int id) {
   return (id >= 0x501A && id <= 0x5021) || (id >= 0x5024 && id <= 0x5028) || id == 0x503D;
}

TEST(LinuxIdentifiers, AllInTheGuestOSTable) {
   for (const char *name : kLinuxIds) {
      // Exactly as spelt (GuestOS_GetOSIDByName ignores case).
      const GuestOSListEntry *found = nullptr;
      for (const GuestOSListEntry *e = guestOSList; e->name != nullptr; e++) {
         if (std::string(e->name) == name) {
            found = e;
            break;
         }
      }
      ASSERT_NE(found, nullptr) << name;
      EXPECT_TRUE(InLinuxRanges(found->id)) << name;
      bool is64 = std::string(name).ends_with("-64");
      EXPECT_EQ(GuestOS_Is64Bit(found->id) != FALSE, is64) << name;
   }
}

}  // namespace
