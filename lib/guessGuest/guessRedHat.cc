// guessRedHat.cc --
//
//    Red Hat family media: Red Hat Enterprise Linux 2.1 to 6,
//    Red Hat Linux, CentOS 3 to 6, Oracle Linux, Asianux 3 and 4 and Fedora,
//    from the CentOS signing key in the root, the ".DISCINFO" file (line 2
//    the release, line 3 the architecture) or, on older media, the first
//    line of "RELEASE-NOTES".

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/strutil.h>

#include "guessLinuxInt.h"

namespace {

// CentOS signing keys in the root, tested in this order; the first that
// exists gives the sub-code.
struct CentOSKey {
   const char *file;
   GuessVersion sub;
};

constexpr CentOSKey kCentOSKeys[] = {
   {"RPM-GPG-KEY-CentOS-3", GUESS_VERSION_CENTOS_3},
   {"RPM-GPG-KEY-centos4", GUESS_VERSION_CENTOS_4},
   {"RPM-GPG-KEY-CentOS-5", GUESS_VERSION_CENTOS_5},
   {"RPM-GPG-KEY-CentOS-6", GUESS_VERSION_CENTOS_6},
};

// The release line (line 2 of ".DISCINFO"), tested in this order.
enum class ReleaseTest { BeginsWith, Contains };

struct Release {
   ReleaseTest test;
   const char *text;
   const char *guestOS;
   const char *guestOS64;
   bool fedora;  // the sub-code comes from the Fedora release number
};

constexpr Release kReleases[] = {
   {ReleaseTest::BeginsWith, "Red Hat Enterprise Linux 3", "rhel3", "rhel3-64", false},
   {ReleaseTest::BeginsWith, "Red Hat Enterprise Linux 4", "rhel4", "rhel4-64", false},
   {ReleaseTest::BeginsWith, "Red Hat Enterprise Linux Client 5", "rhel5", "rhel5-64", false},
   {ReleaseTest::BeginsWith, "Red Hat Enterprise Linux Server 5", "rhel5", "rhel5-64", false},
   {ReleaseTest::BeginsWith, "final", "centos", "centos-64", false},
   {ReleaseTest::BeginsWith, "Final", "centos", "centos-64", false},
   {ReleaseTest::BeginsWith, "CentOS", "centos", "centos-64", false},
   {ReleaseTest::BeginsWith, "Red Hat Enterprise Linux 6", "rhel6", "rhel6-64", false},
   {ReleaseTest::BeginsWith, "Asianux 3.0", "asianux3", "asianux3-64", false},
   {ReleaseTest::BeginsWith, "Asianux Server 3 SP", "asianux3", "asianux3-64", false},
   {ReleaseTest::BeginsWith, "Asianux Server", "asianux4", "asianux4-64", false},
   {ReleaseTest::BeginsWith, "Enterprise Linux Enterprise Linux 4", "oraclelinux",
    "oraclelinux-64", false},
   {ReleaseTest::BeginsWith, "Enterprise Linux Server 5", "oraclelinux", "oraclelinux-64",
    false},
   {ReleaseTest::BeginsWith, "Oracle Linux", "oraclelinux", "oraclelinux-64", false},
   {ReleaseTest::Contains, "Fedora", "fedora", "fedora-64", true},
};

// Fedora release number to sub-code; anything below 8 leaves it unchanged.
uint32_t FedoraSubCode(long release, uint32_t sub) {
   if (release == 8) return GUESS_VERSION_FEDORA_8;
   if (release >= 9 && release <= 12) return GUESS_VERSION_FEDORA_9_TO_12;
   if (release == 13) return GUESS_VERSION_FEDORA_13;
   if (release >= 14 && release <= 16) return GUESS_VERSION_FEDORA_14_TO_16;
   if (release == 17) return GUESS_VERSION_FEDORA_17;
   if (release >= 18) return GUESS_VERSION_FEDORA_18_OR_HIGHER;
   return sub;
}

// The release number of a Fedora line: after a "Fedora Core " anywhere in
// the line, read from index 12; else from index 7 (after a leading
// "Fedora "). A line shorter than 7 characters has no number (-1).
long FedoraRelease(const char *line) {
   const char *from;
   if (std::strstr(line, "Fedora Core ") != nullptr) {
      from = line + 12;  // the line is at least 12 characters long
   } else if (std::strlen(line) >= 7) {
      from = line + 7;
   } else {
      return -1;
   }
   return std::strtol(from, nullptr, 10);
}

// Classifies ".DISCINFO"; returns the identifier or null, and updates *sub.
const char *FromDiscInfo(const char *discInfo, uint32_t *sub) {
   unsigned int index = 0;
   char *stamp = StrUtil_GetNextToken(&index, discInfo, "\n");
   char *release = StrUtil_GetNextToken(&index, discInfo, "\n");
   char *arch = StrUtil_GetNextToken(&index, discInfo, "\n");
   const char *guestOS = nullptr;

   if (release != nullptr && arch != nullptr) {
      int bits = 0;
      if (std::strcmp(arch, "x86_64") == 0) {
         bits = 64;
      } else if (std::strcmp(arch, "i386") == 0) {
         bits = 32;
      }
      if (bits != 0 && *sub != GUESS_VERSION_UNKNOWN) {
         // A CentOS key decides, whatever the release line says.
         guestOS = bits == 64 ? "centos-64" : "centos";
      } else if (bits != 0) {
         for (const Release &r : kReleases) {
            bool match = r.test == ReleaseTest::BeginsWith
                            ? StrUtil_StartsWith(release, r.text) != FALSE
                            : std::strstr(release, r.text) != nullptr;
            if (!match) {
               continue;
            }
            guestOS = bits == 64 ? r.guestOS64 : r.guestOS;
            if (r.fedora) {
               *sub = FedoraSubCode(FedoraRelease(release), *sub);
            }
            break;
         }
      }
   }
   std::free(stamp);
   std::free(release);
   std::free(arch);
   return guestOS;
}

// Classifies the first line of "RELEASE-NOTES"; no architecture is known.
const char *FromReleaseNotes(const char *notes) {
   unsigned int index = 0;
   char *first = StrUtil_GetNextToken(&index, notes, "\n");
   const char *guestOS = nullptr;
   if (first != nullptr) {
      if (StrUtil_StartsWith(first, "Red Hat Enterprise Linux")) {
         if (std::strstr(first, " 2.1 ") != nullptr) {
            guestOS = "rhel2";
         }
      } else if (StrUtil_StartsWith(first, "Red Hat Linux")) {
         guestOS = "redhat";
      }
   }
   std::free(first);
   return guestOS;
}

}  // namespace

extern "C" TRGUEST_API Bool Guess_RedHat(GuessMedia *media, GuessInfo *info) noexcept {
   char *discInfo = Guess_ReadFileName(media, ".DISCINFO", nullptr);
   Bool noIsolinuxCfg = Guess_FileExists(media, "isolinux", "isolinux.cfg") ? FALSE : TRUE;

   uint32_t sub = GUESS_VERSION_UNKNOWN;
   for (const CentOSKey &k : kCentOSKeys) {
      if (Guess_FileExists(media, "/", k.file)) {
         sub = k.sub;
         break;
      }
   }

   const char *guestOS = nullptr;
   if (discInfo != nullptr) {
      guestOS = FromDiscInfo(discInfo, &sub);
   } else {
      char *notes = Guess_ReadFileName(media, "RELEASE-NOTES", nullptr);
      if (notes != nullptr) {
         guestOS = FromReleaseNotes(notes);
      }
      std::free(notes);
   }
   std::free(discInfo);

   return GuessLinuxFinish(info, guestOS, sub, noIsolinuxCfg);
}
