// guestos.cc --
//
//    The table of guest operating systems: identifier texts and the numeric
//    ids of their kinds, with the per-kind properties behind the predicates.

#include <trplatform/guestos.h>

#include <cstdarg>
#include "internal/ascii.hh"

namespace {

enum KindFlags : unsigned {
   kWindows = 1u << 0,
   kVistaOrLater = 1u << 1,
   kVista = 1u << 2,
   kWin2k = 1u << 3,
   k64Bit = 1u << 4,
   kEightClient = 1u << 5,
   kEightServer = 1u << 6,
};

struct Kind {
   int id;
   unsigned flags;
};

// One row per kind: a release of a system and its bitness.
constexpr Kind kKinds[] = {
   {0x5001, 0},                                  // other
   {0x5002, k64Bit},                             // other, 64-bit
   {0x5003, kWindows},                           // Windows 95
   {0x5004, kWindows},                           // Windows 98
   {0x5005, kWindows},                           // Windows Me
   {0x5006, kWindows},                           // Windows NT
   {0x5007, kWindows | kWin2k},                  // Windows 2000
   {0x5008, kWindows},                           // Windows XP
   {0x5009, kWindows | k64Bit},                  // Windows XP x64
   {0x500A, kWindows},                           // Windows Server 2003
   {0x500B, kWindows | k64Bit},                  // Windows Server 2003 x64
   {0x500C, kWindows | kVistaOrLater | kVista},  // Windows Vista
   {0x500D, kWindows | kVistaOrLater | kVista | k64Bit},
   {0x500E, kWindows | kVistaOrLater},           // Windows Server 2008
   {0x500F, kWindows | kVistaOrLater | k64Bit},
   {0x5010, kWindows | kVistaOrLater},           // Windows 7
   {0x5011, kWindows | kVistaOrLater | k64Bit},
   {0x5012, kWindows | kVistaOrLater | k64Bit},  // Windows Server 2008 R2
   {0x5013, kWindows | kVistaOrLater | kEightClient},  // Windows 8
   {0x5014, kWindows | kVistaOrLater | kEightClient | k64Bit},
   {0x5015, kWindows | kVistaOrLater | kEightServer | k64Bit},  // Windows Server 2012
   // Hyper-V Server 2012 is built on Server 2012 and exists for x64 only.
   {0x5016, kWindows | kVistaOrLater | kEightServer | k64Bit},
   {0x501A, 0},       {0x501B, k64Bit},          // Red Hat family
   {0x501C, 0},       {0x501D, k64Bit},          // SUSE family
   {0x501E, 0},       {0x501F, k64Bit},          // Debian
   {0x5020, 0},       {0x5021, k64Bit},          // Ubuntu
   {0x5024, 0},       {0x5025, k64Bit},          // Mandrake, Mandriva
   {0x5026, 0},                                  // Turbolinux
   {0x5027, 0},       {0x5028, k64Bit},          // other Linux
   {0x5029, 0},       {0x502A, k64Bit},          // FreeBSD
   {0x502B, 0},       {0x502C, 0},       {0x502D, 0},  // Solaris 7, 8, 9
   {0x502E, 0},       {0x502F, k64Bit},          // Solaris 10
   {0x503A, 0},       {0x503B, 0},       {0x503C, 0},  // NetWare 4, 5, 6
   {0x503D, 0},                                  // other Linux, 2.6 kernel
   {0x5050, 0},       {0x5051, k64Bit},          // Mac OS X 10.5
   {0x5052, 0},       {0x5053, k64Bit},          // Mac OS X 10.6
   {0x5054, 0},       {0x5055, k64Bit},          // Mac OS X 10.7
   {0x5060, 0},       {0x5061, 0},               // the hypervisor, two generations
};

unsigned FlagsOf(int id) {
   for (const Kind &k : kKinds) {
      if (k.id == id) {
         return k.flags;
      }
   }
   return 0;
}

}  // namespace

extern "C" {

TRPLATFORM_API extern const GuestOSListEntry guestOSList[] = {
   {"other", 0x5001},
   {"other-64", 0x5002},
   {"win95", 0x5003},
   {"win98", 0x5004},
   {"winMe", 0x5005},
   {"winNT", 0x5006},
   {"win2000Pro", 0x5007},
   {"win2000Serv", 0x5007},
   {"win2000AdvServ", 0x5007},
   {"winXPHome", 0x5008},
   {"winXPPro", 0x5008},
   {"winXPPro-64", 0x5009},
   {"winNetWeb", 0x500A},
   {"winNetStandard", 0x500A},
   {"winNetEnterprise", 0x500A},
   {"winNetBusiness", 0x500A},
   {"winNetStandard-64", 0x500B},
   {"winNetEnterprise-64", 0x500B},
   {"winvista", 0x500C},
   {"winvista-64", 0x500D},
   {"longhorn", 0x500E},
   {"longhorn-64", 0x500F},
   {"windows7", 0x5010},
   {"windows7-64", 0x5011},
   {"windows7srv-64", 0x5012},
   {"windows8", 0x5013},
   {"windows8-64", 0x5014},
   {"windows8srv-64", 0x5015},
   {"winhyperv", 0x5016},
   {"redhat", 0x501A},
   {"rhel2", 0x501A},
   {"rhel3", 0x501A},
   {"rhel3-64", 0x501B},
   {"rhel4", 0x501A},
   {"rhel4-64", 0x501B},
   {"rhel5", 0x501A},
   {"rhel5-64", 0x501B},
   {"rhel6", 0x501A},
   {"rhel6-64", 0x501B},
   {"centos", 0x501A},
   {"centos-64", 0x501B},
   {"oraclelinux", 0x501A},
   {"oraclelinux-64", 0x501B},
   {"asianux3", 0x501A},
   {"asianux3-64", 0x501B},
   {"asianux4", 0x501A},
   {"asianux4-64", 0x501B},
   {"fedora", 0x501A},
   {"fedora-64", 0x501B},
   {"suse", 0x501C},
   {"suse-64", 0x501D},
   {"opensuse", 0x501C},
   {"opensuse-64", 0x501D},
   {"sles", 0x501C},
   {"sles-64", 0x501D},
   {"sles10", 0x501C},
   {"sles10-64", 0x501D},
   {"sles11", 0x501C},
   {"sles11-64", 0x501D},
   {"sles12", 0x501C},
   {"sles12-64", 0x501D},
   {"nld9", 0x501C},
   {"sjds", 0x501C},
   {"debian4", 0x501E},
   {"debian4-64", 0x501F},
   {"debian5", 0x501E},
   {"debian5-64", 0x501F},
   {"debian6", 0x501E},
   {"debian6-64", 0x501F},
   {"debian7", 0x501E},
   {"debian7-64", 0x501F},
   {"ubuntu", 0x5020},
   {"ubuntu-64", 0x5021},
   {"mandrake", 0x5024},
   {"mandriva", 0x5024},
   {"mandriva-64", 0x5025},
   {"turbolinux", 0x5026},
   {"otherlinux", 0x5027},
   {"otherlinux-64", 0x5028},
   // A Linux not listed by name whose kernel is 2.6 or newer: the generic
   // choice for current distributions, served by the Linux tools image.
   {"other26xlinux", 0x503D},
   {"freeBSD", 0x5029},
   {"freeBSD-64", 0x502A},
   {"solaris7", 0x502B},
   {"solaris8", 0x502C},
   {"solaris9", 0x502D},
   {"solaris10", 0x502E},
   {"solaris10-64", 0x502F},
   {"netware4", 0x503A},
   {"netware5", 0x503B},
   {"netware6", 0x503C},
   {"darwin", 0x5050},
   {"darwin-64", 0x5051},
   {"darwin10", 0x5052},
   {"darwin10-64", 0x5053},
   {"darwin11", 0x5054},
   {"darwin11-64", 0x5055},
   {"trkernel", 0x5060},
   {"trkernel5", 0x5061},
   {nullptr, 0},
};

TRPLATFORM_API int GuestOS_GetOSIDByName(const char *name) noexcept {
   if (name == nullptr) {
      return -1;
   }
   for (const GuestOSListEntry *e = guestOSList; e->name != nullptr; e++) {
      if (trp::EqualsIgnoringAsciiCase(e->name, name)) {
         return e->id;
      }
   }
   return -1;
}

TRPLATFORM_API const char *GuestOS_GetNameByID(int id) noexcept {
   for (const GuestOSListEntry *e = guestOSList; e->name != nullptr; e++) {
      if (e->id == id) {
         return e->name;
      }
   }
   return nullptr;
}

TRPLATFORM_API Bool GuestOS_IsWin(int id) noexcept {
   return (FlagsOf(id) & kWindows) != 0;
}

TRPLATFORM_API Bool GuestOS_IsWinVistaOrHigher(int id) noexcept {
   return (FlagsOf(id) & kVistaOrLater) != 0;
}

TRPLATFORM_API Bool GuestOS_IsWinVista(int id) noexcept {
   return (FlagsOf(id) & kVista) != 0;
}

TRPLATFORM_API Bool GuestOS_IsWin2k(int id) noexcept {
   return (FlagsOf(id) & kWin2k) != 0;
}

TRPLATFORM_API Bool GuestOS_Is64Bit(int id) noexcept {
   return (FlagsOf(id) & k64Bit) != 0;
}

TRPLATFORM_API Bool GuestOS_IsWinEightClient(int id) noexcept {
   return (FlagsOf(id) & kEightClient) != 0;
}

TRPLATFORM_API Bool GuestOS_IsWinEightServer(int id) noexcept {
   return (FlagsOf(id) & kEightServer) != 0;
}

TRPLATFORM_API Bool Gos_InSet(int id, ...) noexcept {
   va_list args;
   va_start(args, id);
   Bool found = FALSE;
   for (int member = va_arg(args, int); member != 0; member = va_arg(args, int)) {
      if (member == id) {
         found = TRUE;
      }
   }
   va_end(args);
   return found;
}

}  // extern "C"
