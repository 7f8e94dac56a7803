// installFront.h --
//
//    Internal interface of the install front: the Linux flavour table that
//    the Linux answer-file and media code index, and the install-config
//    table behind AutoInstall_GetInstallConfigInfo.

#pragma once

#include <trguest/autoinstall.h>

// Source path that NOT_REACHED stops of the front name.
#define AUTOINSTALL_SOURCE_PATH "lib/guestInstall/autoinstall"

// Answer-file templates, one per Linux installer family.
typedef enum LinuxAnswerTemplate {
   LINUX_TEMPLATE_NONE = 0,
   LINUX_TEMPLATE_KICKSTART,
   LINUX_TEMPLATE_PRESEED,
   LINUX_TEMPLATE_AUTOYAST,
   LINUX_TEMPLATE_AUTO_INST,
} LinuxAnswerTemplate;

// One row per LinuxFlavour, in flavour order.
typedef struct LinuxFlavourInfo {
   LinuxAnswerTemplate answerTemplate;
   const char *bootOption;      // appended to the installer's kernel command line
   const char *answerFileName;  // name of the answer file on the media
   Bool needsFloppy;            // the installer reads the answer file from a floppy
} LinuxFlavourInfo;

// Not const: preparing a Fedora 17 kickstart changes the Red Hat row's boot
// option for the rest of the process.
extern LinuxFlavourInfo linuxFlavourTable[LINUX_FLAVOUR_MANDRIVA + 1];

LinuxFlavour GetLinuxFlavour(const char *guestOS);

// Rows of the install-config table.
typedef struct InstallConfigGuestRow {
   const char *prefix;   // guest OS id prefix ("*" for the family default); NULL ends a table
   const char *pattern;  // "*" or a prefix of the version text
   Bool guestFlags[2];
   uint32_t nameMaxLength;
   uint32_t extraLimit;
   const InstallConfigReservedName *guestReservedNames;
} InstallConfigGuestRow;

typedef struct InstallConfigFamilyRow {
   const char *family;   // NULL ends the table
   uint32_t shortNameMaxLength;
   uint32_t passwordMaxLength;
   Bool familyFlags[4];
   const InstallConfigReservedName *familyReservedNames;
   const InstallConfigGuestRow *guests;
} InstallConfigFamilyRow;

extern const InstallConfigFamilyRow installConfigTable[];
