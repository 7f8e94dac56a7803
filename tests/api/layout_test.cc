// layout_test.cc --
//
//    Pins the C layout of the public records: the sizes and offsets that
//    the interface defines, checked at compile time in C++ and compared at
//    run time with what a C compiler makes of the same headers.

#include <cstddef>
#include <cstring>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>
#include <trguest/guess.h>
#include <trguest/toolsversion.h>
#include <trplatform/dynbuf.h>
#include <trplatform/fileio.h>
#include <trplatform/guestos.h>

extern "C" {
struct LayoutRow {
   const char *name;
   size_t value;
};
const LayoutRow *TrguestCLayoutRows(void);
}

namespace {

constexpr size_t kPtr = sizeof(void *);

// GuessInfo: two pointers, the 32-bit sub-code, the one-byte flag, then the
// four text fields of 32, 1024, 1024 and 512 bytes, padded to pointer size.
static_assert(sizeof(Bool) == 1);
static_assert(offsetof(GuessInfo, guestOS) == 0);
static_assert(offsetof(GuessInfo, guestOS64) == kPtr);
static_assert(offsetof(GuessInfo, subVersion) == 2 * kPtr);
static_assert(offsetof(GuessInfo, noIsolinuxCfg) == 2 * kPtr + 4);
static_assert(offsetof(GuessInfo, versionString) == 2 * kPtr + 5);
static_assert(offsetof(GuessInfo, language) == 2 * kPtr + 5 + 32);
static_assert(offsetof(GuessInfo, languages) == 2 * kPtr + 5 + 32 + 1024);
static_assert(offsetof(GuessInfo, editions) == 2 * kPtr + 5 + 32 + 2048);
static_assert(sizeof(GuessInfo) == (2 * kPtr + 5 + 32 + 2048 + 512 + kPtr - 1) / kPtr * kPtr);
static_assert(sizeof(((GuessInfo *)nullptr)->versionString) == 32);
static_assert(sizeof(((GuessInfo *)nullptr)->language) == 1024);
static_assert(sizeof(((GuessInfo *)nullptr)->languages) == 1024);
static_assert(sizeof(((GuessInfo *)nullptr)->editions) == 512);

static_assert(offsetof(GuessMedia, kind) == 0);
static_assert(sizeof(((GuessMedia *)nullptr)->kind) == 4);
static_assert(offsetof(GuessMedia, path) == kPtr);
static_assert(offsetof(GuessMedia, iso) == 2 * kPtr);
static_assert(offsetof(GuessMedia, udf) == 3 * kPtr);

static_assert(offsetof(GuessDir, isoDir) == 0);
static_assert(sizeof(((GuessDir *)nullptr)->isoDir) == 4);
static_assert(offsetof(GuessDir, isoEntry) < offsetof(GuessDir, udfDir));
static_assert(offsetof(GuessDir, udfDir) < offsetof(GuessDir, path));
static_assert(offsetof(Iso9660DirEntry, name) == 0);
static_assert(sizeof(((Iso9660DirEntry *)nullptr)->name) == 4096);

static_assert(sizeof(InstallConfigReservedName) == 2 * kPtr);
static_assert(offsetof(InstallConfigReservedName, matchPrefix) == kPtr);
static_assert(offsetof(InstallConfigInfo, familyReservedNames) == 0);
static_assert(offsetof(InstallConfigInfo, guestReservedNames) == kPtr);
static_assert(offsetof(InstallConfigInfo, shortNameMaxLength) == 2 * kPtr);
static_assert(offsetof(InstallConfigInfo, nameMaxLength) == 2 * kPtr + 4);
static_assert(offsetof(InstallConfigInfo, extraLimit) == 2 * kPtr + 8);
static_assert(offsetof(InstallConfigInfo, passwordMaxLength) == 2 * kPtr + 12);
static_assert(offsetof(InstallConfigInfo, familyFlags) == 2 * kPtr + 16);
static_assert(offsetof(InstallConfigInfo, guestFlags) == 2 * kPtr + 20);
static_assert(sizeof(InstallConfigInfo) == (2 * kPtr + 22 + kPtr - 1) / kPtr * kPtr);

static_assert(sizeof(ToolsVersionStatus) == 4);
static_assert(offsetof(ToolsUpdateInfo, component) == 0);
static_assert(offsetof(ToolsUpdateInfo, guestVersion) == kPtr);
static_assert(offsetof(ToolsUpdateInfo, repoVersion) == 2 * kPtr);
static_assert(offsetof(ToolsUpdateInfo, status) == 3 * kPtr);
static_assert(sizeof(AutoInstallTextResult) == 4);
static_assert(sizeof(LinuxFlavour) == 4);

// Platform records that callers of the C interface fill or walk.
static_assert(offsetof(DynBuf, data) == 0 && offsetof(DynBuf, size) == kPtr &&
              offsetof(DynBuf, allocated) == 2 * kPtr && sizeof(DynBuf) == 3 * kPtr);
static_assert(offsetof(GuestOSListEntry, name) == 0 && offsetof(GuestOSListEntry, id) == kPtr &&
              sizeof(GuestOSListEntry) == 2 * kPtr);
static_assert(offsetof(FileIODescriptor, posix) == 0 &&
              offsetof(FileIODescriptor, fileName) == kPtr && sizeof(FileIODescriptor) == 2 * kPtr);

// The values of the interface's codes: they are stored and compared by
// callers, so a renumbering is an interface change.
static_assert(GUESS_VERSION_UNKNOWN == 0 && GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER == 1 &&
              GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER == 2 &&
              GUESS_VERSION_UBUNTU_704_OR_LOWER == 3 && GUESS_VERSION_UBUNTU_710_OR_HIGHER == 4);
static_assert(GUESS_VERSION_MANDRIVA_2006 == 5 && GUESS_VERSION_MANDRIVA_2007 == 6 &&
              GUESS_VERSION_MANDRIVA_2008_0 == 7 && GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER == 8);
static_assert(GUESS_VERSION_FEDORA_8 == 9 && GUESS_VERSION_FEDORA_9_TO_12 == 10 &&
              GUESS_VERSION_FEDORA_13 == 11 && GUESS_VERSION_FEDORA_14_TO_16 == 12 &&
              GUESS_VERSION_FEDORA_17 == 13 && GUESS_VERSION_FEDORA_18_OR_HIGHER == 14);
static_assert(GUESS_VERSION_OPENSUSE_11_2_OR_LOWER == 15 &&
              GUESS_VERSION_SLES_10_SP2_OR_LOWER == 16 &&
              GUESS_VERSION_SLED_10_SP2_OR_LOWER == 17 && GUESS_VERSION_SLED_ALL == 18);
static_assert(GUESS_VERSION_CENTOS_3 == 19 && GUESS_VERSION_CENTOS_4 == 20 &&
              GUESS_VERSION_CENTOS_5 == 21 && GUESS_VERSION_CENTOS_6 == 22 &&
              GUESS_VERSION_DUMMY_LAST == 23 && GUESS_VERSION_WIN8_ENTERPRISE_EVAL == 24);
static_assert(GUESS_RESULT_FOUND == 0 && GUESS_RESULT_NO_MATCH == 1 &&
              GUESS_RESULT_OPEN_FAILED == 2);
static_assert(GUESS_MEDIA_ISO9660 == 1 && GUESS_MEDIA_UDF == 2);
static_assert(TEXT_OK == 0 && TEXT_BAD_LINUX_NAME == 1 && TEXT_BAD_WINDOWS_NAME == 2 &&
              TEXT_BAD_PASSWORD_SUBSTRING == 3 && TEXT_BAD_GECOS_SUBSTRING == 4 &&
              TEXT_BAD_LINUX_USERNAME == 5 && TEXT_BAD_UBUNTU_USERNAME == 6);
static_assert(AUTOINSTALL_TEXT_PASSWORD == 0 && AUTOINSTALL_TEXT_SHORT_NAME == 1 &&
              AUTOINSTALL_TEXT_NAME == 2);
static_assert(LINUX_FLAVOUR_NONE == 0 && LINUX_FLAVOUR_REDHAT == 1 && LINUX_FLAVOUR_UBUNTU == 2 &&
              LINUX_FLAVOUR_SUSE == 3 && LINUX_FLAVOUR_SLES10 == 4 && LINUX_FLAVOUR_MANDRIVA == 5);
static_assert(TOOLS_STATUS_TOO_OLD == 1 && TOOLS_STATUS_SUPPORTED_OLD == 2 &&
              TOOLS_STATUS_CURRENT == 3 && TOOLS_STATUS_SUPPORTED_NEW == 4 &&
              TOOLS_STATUS_TOO_NEW == 5 && TOOLS_STATUS_BLACKLISTED == 6 &&
              TOOLS_STATUS_NO_TOOLS == 7 && TOOLS_STATUS_RESERVED_VERSION == 8 &&
              TOOLS_STATUS_UNKNOWN == 9);
static_assert(TRUE == 1 && FALSE == 0);

#define ROW(type, field) {#type "." #field, offsetof(type, field)}
#define SIZE_ROW(type) {#type, sizeof(type)}

TEST(PublicLayout, CAndCxxAgree) {
   const std::map<std::string, size_t> cxx = {
      SIZE_ROW(Bool),
      SIZE_ROW(GuessInfo),
      ROW(GuessInfo, guestOS),
      ROW(GuessInfo, guestOS64),
      ROW(GuessInfo, subVersion),
      ROW(GuessInfo, noIsolinuxCfg),
      ROW(GuessInfo, versionString),
      ROW(GuessInfo, language),
      ROW(GuessInfo, languages),
      ROW(GuessInfo, editions),
      SIZE_ROW(GuessMedia),
      ROW(GuessMedia, kind),
      ROW(GuessMedia, path),
      ROW(GuessMedia, iso),
      ROW(GuessMedia, udf),
      SIZE_ROW(GuessDir),
      ROW(GuessDir, isoDir),
      ROW(GuessDir, isoEntry),
      ROW(GuessDir, udfDir),
      ROW(GuessDir, path),
      SIZE_ROW(InstallConfigReservedName),
      SIZE_ROW(InstallConfigInfo),
      ROW(InstallConfigInfo, familyReservedNames),
      ROW(InstallConfigInfo, guestReservedNames),
      ROW(InstallConfigInfo, shortNameMaxLength),
      ROW(InstallConfigInfo, nameMaxLength),
      ROW(InstallConfigInfo, extraLimit),
      ROW(InstallConfigInfo, passwordMaxLength),
      ROW(InstallConfigInfo, familyFlags),
      ROW(InstallConfigInfo, guestFlags),
      SIZE_ROW(ToolsUpdateInfo),
      ROW(ToolsUpdateInfo, component),
      ROW(ToolsUpdateInfo, guestVersion),
      ROW(ToolsUpdateInfo, repoVersion),
      ROW(ToolsUpdateInfo, status),
      SIZE_ROW(ToolsVersionStatus),
      SIZE_ROW(AutoInstallTextResult),
      SIZE_ROW(LinuxFlavour),
      SIZE_ROW(DynBuf),
      ROW(DynBuf, data),
      ROW(DynBuf, size),
      ROW(DynBuf, allocated),
      SIZE_ROW(GuestOSListEntry),
      ROW(GuestOSListEntry, name),
      ROW(GuestOSListEntry, id),
      SIZE_ROW(FileIODescriptor),
      ROW(FileIODescriptor, posix),
      ROW(FileIODescriptor, fileName),
   };
   size_t seen = 0;
   for (const LayoutRow *r = TrguestCLayoutRows(); r->name != nullptr; r++) {
      auto it = cxx.find(r->name);
      ASSERT_NE(it, cxx.end()) << r->name;
      EXPECT_EQ(it->second, r->value) << r->name;
      seen++;
   }
   EXPECT_EQ(seen, cxx.size());
}

TEST(PublicLayout, SubNamesHoldsTheTwentyFourRowsInValueOrder) {
   EXPECT_EQ(sizeof(SUB_NAMES) / sizeof(SUB_NAMES[0]), 24u);
   EXPECT_STREQ(SUB_NAMES[0], "GUESS_VERSION_UNKNOWN");
   EXPECT_STREQ(SUB_NAMES[GUESS_VERSION_CENTOS_6], "GUESS_VERSION_CENTOS_6");
   EXPECT_STREQ(SUB_NAMES[GUESS_VERSION_DUMMY_LAST], "GUESS_VERSION_DUMMY_LAST");
   EXPECT_STREQ(Guess_GetSubString(22), "GUESS_VERSION_CENTOS_6");
   EXPECT_STREQ(Guess_GetSubString(23), "GUESS_VERSION_DUMMY_LAST");
   EXPECT_STREQ(Guess_GetSubString(24), "GUESS_VERSION_WIN8_ENTERPRISE_EVAL");
   EXPECT_STREQ(Guess_GetSubString(25), "GUESS_VERSION_UNKNOWN");
   EXPECT_STREQ(Guess_GetSubString(0xFFFFFFFFu), "GUESS_VERSION_UNKNOWN");
}

}  // namespace
