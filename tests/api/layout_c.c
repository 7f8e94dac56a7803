/*
 * layout_c.c --
 *
 *    The public records' sizes and field offsets as a C compiler lays them
 *    out, for the layout test to compare with the C++ view and with the
 *    expected numbers.
 */

#include <stddef.h>

#include <trguest/autoinstall.h>
#include <trguest/guess.h>
#include <trguest/iniutil.h>
#include <trguest/toolsversion.h>
#include <trplatform/dynbuf.h>
#include <trplatform/fileio.h>
#include <trplatform/guestos.h>

#define FIELD(type, field) {#type "." #field, offsetof(type, field)}
#define SIZE(type) {#type, sizeof(type)}

struct LayoutRow {
   const char *name;
   size_t value;
};

static const struct LayoutRow rows[] = {
   SIZE(Bool),
   SIZE(GuessInfo),
   FIELD(GuessInfo, guestOS),
   FIELD(GuessInfo, guestOS64),
   FIELD(GuessInfo, subVersion),
   FIELD(GuessInfo, noIsolinuxCfg),
   FIELD(GuessInfo, versionString),
   FIELD(GuessInfo, language),
   FIELD(GuessInfo, languages),
   FIELD(GuessInfo, editions),
   SIZE(GuessMedia),
   FIELD(GuessMedia, kind),
   FIELD(GuessMedia, path),
   FIELD(GuessMedia, iso),
   FIELD(GuessMedia, udf),
   SIZE(GuessDir),
   FIELD(GuessDir, isoDir),
   FIELD(GuessDir, isoEntry),
   FIELD(GuessDir, udfDir),
   FIELD(GuessDir, path),
   SIZE(InstallConfigReservedName),
   SIZE(InstallConfigInfo),
   FIELD(InstallConfigInfo, familyReservedNames),
   FIELD(InstallConfigInfo, guestReservedNames),
   FIELD(InstallConfigInfo, shortNameMaxLength),
   FIELD(InstallConfigInfo, nameMaxLength),
   FIELD(InstallConfigInfo, extraLimit),
   FIELD(InstallConfigInfo, passwordMaxLength),
   FIELD(InstallConfigInfo, familyFlags),
   FIELD(InstallConfigInfo, guestFlags),
   SIZE(ToolsUpdateInfo),
   FIELD(ToolsUpdateInfo, component),
   FIELD(ToolsUpdateInfo, guestVersion),
   FIELD(ToolsUpdateInfo, repoVersion),
   FIELD(ToolsUpdateInfo, status),
   SIZE(ToolsVersionStatus),
   SIZE(AutoInstallTextResult),
   SIZE(LinuxFlavour),
   SIZE(DynBuf),
   FIELD(DynBuf, data),
   FIELD(DynBuf, size),
   FIELD(DynBuf, allocated),
   SIZE(GuestOSListEntry),
   FIELD(GuestOSListEntry, name),
   FIELD(GuestOSListEntry, id),
   SIZE(FileIODescriptor),
   FIELD(FileIODescriptor, posix),
   FIELD(FileIODescriptor, fileName),
   {NULL, 0},
};

const struct LayoutRow *TrguestCLayoutRows(void);

const struct LayoutRow *TrguestCLayoutRows(void) {
   return rows;
}
