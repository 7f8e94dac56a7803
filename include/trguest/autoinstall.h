/*
 * autoinstall.h --
 *
 *    Unattended installation: which detected guests can be installed
 *    unattended and with which form limits, validation of the user's texts,
 *    the Linux and Windows answer files and the boot media (floppy image,
 *    re-mastered ISO image).
 *
 *    Ownership: texts returned as char * (and stored through char **errMsg)
 *    are newly allocated; free them with free(). Reserved-name lists point
 *    into constant data and are never freed.
 */

#ifndef TRGUEST_AUTOINSTALL_H
#define TRGUEST_AUTOINSTALL_H

#include <trguest/trtypes.h>
#include <trguest/guess.h>
#include <trplatform/fsimage.h>

TR_EXTERN_C_BEGIN

/* Result of every text validator. */
typedef enum AutoInstallTextResult {
   TEXT_OK = 0,
   TEXT_BAD_LINUX_NAME = 1,          /* Linux full name holds a forbidden character */
   TEXT_BAD_WINDOWS_NAME = 2,        /* Windows name holds a forbidden character */
   TEXT_BAD_PASSWORD_SUBSTRING = 3,  /* password holds "]]>" */
   TEXT_BAD_GECOS_SUBSTRING = 4,     /* Linux full name holds "]]>" */
   TEXT_BAD_LINUX_USERNAME = 5,      /* Linux user name: only a-z, 0-9 and '-' */
   TEXT_BAD_UBUNTU_USERNAME = 6      /* Ubuntu user name must start with a-z */
} AutoInstallTextResult;

/* Kinds of text for the validators. */
#define AUTOINSTALL_TEXT_PASSWORD   0
#define AUTOINSTALL_TEXT_SHORT_NAME 1
#define AUTOINSTALL_TEXT_NAME       2

/* Classification of a Linux guest OS identifier. */
typedef enum LinuxFlavour {
   LINUX_FLAVOUR_NONE = 0,
   LINUX_FLAVOUR_REDHAT = 1,
   LINUX_FLAVOUR_UBUNTU = 2,
   LINUX_FLAVOUR_SUSE = 3,
   LINUX_FLAVOUR_SLES10 = 4,
   LINUX_FLAVOUR_MANDRIVA = 5
} LinuxFlavour;

/* One reserved account name; a list ends with an entry whose name is NULL. */
typedef struct InstallConfigReservedName {
   const char *name;
   int32_t matchPrefix;    /* 1: every name that begins with `name` is reserved */
} InstallConfigReservedName;

/* Limits and flags of the installer form for a guest. */
typedef struct InstallConfigInfo {
   const InstallConfigReservedName *familyReservedNames;  /* or NULL */
   const InstallConfigReservedName *guestReservedNames;   /* or NULL */
   uint32_t shortNameMaxLength;
   uint32_t nameMaxLength;
   uint32_t extraLimit;
   uint32_t passwordMaxLength;
   Bool familyFlags[4];
   Bool guestFlags[2];
} InstallConfigInfo;

/* Install front. family is "windows" or "linux". */
TRGUEST_API Bool AutoInstall_IsSupportedGuest(const GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_GetInstallConfigInfo(const char *family, const GuessInfo *info,
                                                  InstallConfigInfo *config) TR_NOEXCEPT;
/* Validators: on a result other than TEXT_OK and a non-NULL errMsg, *errMsg
 * receives the localised message (free()). A NULL text is checked as the
 * empty text. Any family other than "windows" and "linux" (NULL included)
 * stops the process. */
TRGUEST_API AutoInstallTextResult AutoInstall_ValidatePassword(const char *family,
                                                               const GuessInfo *info,
                                                               const char *text, char **errMsg) TR_NOEXCEPT;
TRGUEST_API AutoInstallTextResult AutoInstall_ValidateShortName(const char *family,
                                                                const GuessInfo *info,
                                                                const char *text, char **errMsg) TR_NOEXCEPT;
TRGUEST_API AutoInstallTextResult AutoInstall_ValidateName(const char *family,
                                                           const GuessInfo *info,
                                                           const char *text, char **errMsg) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstallIsSupportedLinuxGuest(const GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API AutoInstallTextResult AutoInstallValidateLinuxText(const GuessInfo *info,
                                                               const char *text, int32_t kind,
                                                               char **errMsg) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_NeedsFloppy_Linux(const char *guestOS) TR_NOEXCEPT;

/* Floppy-image file transfer (dir: an open directory of a FAT image). */
TRGUEST_API Bool AddFileToFloppyImg(FSImageDir *dir, const char *hostPath,
                                    const char *nameOnImage) TR_NOEXCEPT;
TRGUEST_API Bool GetFileFromFloppyImg(FSImageDir *dir, const char *nameOnImage,
                                      const char *hostPath) TR_NOEXCEPT;

/* Linux answer files and media. */
TRGUEST_API Bool AutoInstall_PrepareAnswerFileEx_Linux(const char *guestOS, uint32_t subVersion,
                                                       const char *outputDir,
                                                       const char *userName,
                                                       const char *fullName,
                                                       const char *userPassword,
                                                       const char *rootPassword,
                                                       const char *installKey, Bool powerOff) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_ScanISO(const char *isoPath, const char *stagingDir,
                                     const char *guestOS, const char *isolinuxBinPath) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_ScanDisk(const char *rootDir, const char *stagingDir,
                                      const char *guestOS, const char *isolinuxBinPath) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_AddTools_Linux(const char *stagingDir, const char *toolsDir) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_MakeFloppyImg_Linux(const char *answerDir, const char *floppyDir,
                                                 const char *templateDir, const char *guestOS) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_MasterISO(const char *stagingDir, const char *masteringToolPath,
                                       const char *outputDir) TR_NOEXCEPT;

/* Windows answer files, edition names, validation and floppy. */
TRGUEST_API Bool AutoInstall_PrepareAnswerFileEx(const char *winntSifTemplate,
                                                 const char *unattendXmlTemplate,
                                                 const char *storePwdIniTemplate,
                                                 const char *productKey, const char *kmsServer,
                                                 const char *fullName, const char *password,
                                                 const char *guestOS, int32_t subVersion,
                                                 const char *destDir, const char *language,
                                                 const char *imageName, Bool autoLogon) TR_NOEXCEPT;
/* Readable, localised name of a raw edition name such as
 * "Windows 7 PROFESSIONALN"; a copy of the raw name when its edition is not
 * known; NULL for NULL. Newly allocated (free()). */
TRGUEST_API char *AutoInstall_GetPrettyWindowsName(const char *rawEditionName) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstallIsSupportedWindowsGuest(const GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API AutoInstallTextResult AutoInstallValidateWindowsText(const GuessInfo *info,
                                                                 const char *text, int32_t kind,
                                                                 char **errMsg) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_MakeFloppyImg(const char *templateFloppy, const char *configDir,
                                           const char *toolsIsoPath, const char *scsiDriverDir,
                                           const char *upgraderDir, const char *supportDir) TR_NOEXCEPT;
TRGUEST_API Bool AutoInstall_AddFileToFloppyImg(const char *hostPath, const char *nameOnFloppy,
                                                const char *configDir) TR_NOEXCEPT;
TRGUEST_API void WriteOEMDriverInfo(const char *txtsetupOemPath, const char *winntSifPath) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
