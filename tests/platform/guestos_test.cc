// guestos_test.cc --
//
//    The guest OS table: every identifier in its family's id range, the
//    predicates over the whole table, and caseless lookup.

#include <set>
#include <string>

#include <gtest/gtest.h>

#include <trplatform/guestos.h>

namespace {

bool InRange(int id, int lo, int hi) { return id >= lo && id <= hi; }

bool StartsWith(const std::string &s, const char *p) { return s.rfind(p, 0) == 0; }

TEST(GuestOSTable, FamiliesLieInTheirRanges) {
   std::set<std::string> names;
   for (const GuestOSListEntry *e = guestOSList; e->name != nullptr; e++) {
      std::string n = e->name;
      EXPECT_TRUE(names.insert(n).second) << "duplicate " << n;
      const int id = e->id;
      const bool windows = StartsWith(n, "win") || StartsWith(n, "longhorn");
      const bool legacyWindows = n == "win95" || n == "win98" || n == "winMe" || n == "winNT";
      const bool linux = StartsWith(n, "rhel") || StartsWith(n, "centos") ||
                         StartsWith(n, "fedora") || StartsWith(n, "redhat") ||
                         StartsWith(n, "asianux") || StartsWith(n, "oraclelinux") ||
                         StartsWith(n, "debian") || StartsWith(n, "ubuntu") ||
                         StartsWith(n, "suse") || StartsWith(n, "opensuse") ||
                         StartsWith(n, "sles") || StartsWith(n, "mandr") || n == "nld9" ||
                         n == "sjds" || n == "turbolinux" || StartsWith(n, "otherlinux") ||
                         n == "other26xlinux";
      const bool inLinuxRanges = InRange(id, 0x501A, 0x5021) || InRange(id, 0x5024, 0x5028) ||
                                 id == 0x503D;
      EXPECT_EQ(GuestOS_IsWin(id), windows) << n;
      if (windows) {
         EXPECT_TRUE(InRange(id, 0x5003, 0x5016)) << n;
         EXPECT_EQ(InRange(id, 0x5003, 0x5006), legacyWindows) << n;
      }
      EXPECT_EQ(inLinuxRanges, linux) << n;
      EXPECT_EQ(InRange(id, 0x5029, 0x502A), StartsWith(n, "freeBSD")) << n;
      EXPECT_EQ(InRange(id, 0x502B, 0x502F), StartsWith(n, "solaris")) << n;
      EXPECT_EQ(InRange(id, 0x503A, 0x503C), StartsWith(n, "netware")) << n;
      // Every "-64" identifier is 64-bit; of the others only Hyper-V Server,
      // which exists for x64 only.
      const bool is64 = n.size() > 3 && n.compare(n.size() - 3, 3, "-64") == 0;
      EXPECT_EQ(GuestOS_Is64Bit(id), is64 || n == "winhyperv") << n;
      EXPECT_EQ(GuestOS_GetOSIDByName(e->name), id) << n;
   }
   // Identifiers the detectors and the install code name.
   for (const char *n : {"winXPPro", "windows7srv-64", "winhyperv", "centos-64", "asianux4-64",
                         "oraclelinux-64", "debian7-64", "sles12-64", "sjds", "nld9", "mandrake",
                         "turbolinux", "netware5", "solaris10-64", "freeBSD-64", "darwin11-64",
                         "trkernel", "trkernel5", "rhel2", "redhat", "sles", "opensuse-64"}) {
      EXPECT_EQ(names.count(n), 1u) << n;
   }
}

TEST(GuestOSTable, Predicates) {
   struct {
      const char *name;
      Bool vistaPlus, vista, win2k, eightClient, eightServer;
   } cases[] = {
      {"win2000AdvServ", 0, 0, 1, 0, 0}, {"winXPPro", 0, 0, 0, 0, 0},
      {"winvista-64", 1, 1, 0, 0, 0},    {"longhorn", 1, 0, 0, 0, 0},
      {"windows7", 1, 0, 0, 0, 0},       {"windows7srv-64", 1, 0, 0, 0, 0},
      {"windows8", 1, 0, 0, 1, 0},       {"windows8-64", 1, 0, 0, 1, 0},
      {"windows8srv-64", 1, 0, 0, 0, 1}, {"winhyperv", 1, 0, 0, 0, 1},
      {"ubuntu", 0, 0, 0, 0, 0},
   };
   for (const auto &c : cases) {
      int id = GuestOS_GetOSIDByName(c.name);
      EXPECT_EQ(GuestOS_IsWinVistaOrHigher(id), c.vistaPlus) << c.name;
      EXPECT_EQ(GuestOS_IsWinVista(id), c.vista) << c.name;
      EXPECT_EQ(GuestOS_IsWin2k(id), c.win2k) << c.name;
      EXPECT_EQ(GuestOS_IsWinEightClient(id), c.eightClient) << c.name;
      EXPECT_EQ(GuestOS_IsWinEightServer(id), c.eightServer) << c.name;
   }
}

TEST(GuestOSTable, LookupAndSets) {
   EXPECT_EQ(GuestOS_GetOSIDByName("WINDOWS7-64"), GuestOS_GetOSIDByName("windows7-64"));
   EXPECT_EQ(GuestOS_GetOSIDByName("windows9"), -1);
   EXPECT_EQ(GuestOS_GetOSIDByName(nullptr), -1);
   EXPECT_FALSE(GuestOS_IsWin(-1));
   EXPECT_FALSE(GuestOS_Is64Bit(-1));
   EXPECT_STREQ(GuestOS_GetNameByID(0x5007), "win2000Pro");
   EXPECT_EQ(GuestOS_GetNameByID(-1), nullptr);
   int id = GuestOS_GetOSIDByName("solaris10");
   EXPECT_TRUE(Gos_InSet(id, 0x502B, 0x502C, 0x502D, 0x502E, 0x502F, 0));
   EXPECT_FALSE(Gos_InSet(id, 0x5029, 0x502A, 0));
   EXPECT_FALSE(Gos_InSet(id, 0));
}

}  // namespace
