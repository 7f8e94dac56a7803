/*
 * guess.h --
 *
 *    Guest OS detection from installation media: what an ISO 9660 or UDF
 *    installation image installs.
 *
 *    Ownership: the caller owns every GuessInfo record. guestOS and guestOS64
 *    point to constant strings of the library and are never freed. Texts
 *    returned as char * are newly allocated; free them with free().
 */

#ifndef TRGUEST_GUESS_H
#define TRGUEST_GUESS_H

#include <trguest/trtypes.h>
/* The platform headers are included only for the image handle types that
 * GuessMedia holds (Iso9660 and UDFImage): the product opens an image itself
 * to call Guess_MacOS directly. No other platform operation is needed here. */
#include <trplatform/iso9660.h>
#include <trplatform/udf.h>

TR_EXTERN_C_BEGIN

/* Version sub-codes (GuessInfo.subVersion). */
typedef enum GuessVersion {
   GUESS_VERSION_UNKNOWN = 0,
   GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER = 1,
   GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER = 2,
   GUESS_VERSION_UBUNTU_704_OR_LOWER = 3,
   GUESS_VERSION_UBUNTU_710_OR_HIGHER = 4,
   GUESS_VERSION_MANDRIVA_2006 = 5,
   GUESS_VERSION_MANDRIVA_2007 = 6,
   GUESS_VERSION_MANDRIVA_2008_0 = 7,
   GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER = 8,
   GUESS_VERSION_FEDORA_8 = 9,
   GUESS_VERSION_FEDORA_9_TO_12 = 10,
   GUESS_VERSION_FEDORA_13 = 11,
   GUESS_VERSION_FEDORA_14_TO_16 = 12,
   GUESS_VERSION_FEDORA_17 = 13,
   GUESS_VERSION_FEDORA_18_OR_HIGHER = 14,
   GUESS_VERSION_OPENSUSE_11_2_OR_LOWER = 15,
   GUESS_VERSION_SLES_10_SP2_OR_LOWER = 16,
   GUESS_VERSION_SLED_10_SP2_OR_LOWER = 17,
   GUESS_VERSION_SLED_ALL = 18,
   GUESS_VERSION_CENTOS_3 = 19,
   GUESS_VERSION_CENTOS_4 = 20,
   GUESS_VERSION_CENTOS_5 = 21,
   GUESS_VERSION_CENTOS_6 = 22,
   GUESS_VERSION_DUMMY_LAST = 23,
   /* Also stored for Windows 8 Enterprise media. */
   GUESS_VERSION_WIN8_ENTERPRISE = GUESS_VERSION_DUMMY_LAST,
   /* Windows 8 Enterprise evaluation media; SUB_NAMES has no row for it. */
   GUESS_VERSION_WIN8_ENTERPRISE_EVAL = 24
} GuessVersion;

/* Names of the sub-codes 0 to 23 ("GUESS_VERSION_UNKNOWN", ...). */
#define GUESS_SUB_NAMES_COUNT 24
TRGUEST_API extern const char *SUB_NAMES[GUESS_SUB_NAMES_COUNT];

/* Results of Guess_Guest. */
#define GUESS_RESULT_FOUND       0  /* a detector recognised the image */
#define GUESS_RESULT_NO_MATCH    1  /* the image opened; nothing recognised it */
#define GUESS_RESULT_OPEN_FAILED 2  /* neither a UDF nor an ISO 9660 image */

/* The detection record. Guess_Guest clears it to zero bytes first. */
typedef struct GuessInfo {
   const char *guestOS;        /* guest OS identifier; NULL when not recognised */
   const char *guestOS64;      /* identifier for a 64-bit guest, or NULL */
   uint32_t subVersion;        /* a GuessVersion value */
   Bool noIsolinuxCfg;         /* no isolinux.cfg where the installer boots from */
   char versionString[32];     /* version text for display, or "" */
   char language[1024];        /* installer language */
   char languages[1024];       /* every UI language, each followed by "?" */
   char editions[512];         /* editions on the medium, each followed by "?" */
} GuessInfo;

/* Media kinds (GuessMedia.kind). */
#define GUESS_MEDIA_ISO9660 1
#define GUESS_MEDIA_UDF     2

/* An opened image. A caller that runs a detector itself fills kind and the
 * matching reader handle; path is not read by the detectors. */
typedef struct GuessMedia {
   uint32_t kind;
   char *path;
   Iso9660Image *iso;          /* when kind is GUESS_MEDIA_ISO9660 */
   UDFImage *udf;              /* when kind is GUESS_MEDIA_UDF */
} GuessMedia;

/* A directory handle of the access layer (Guess_OpenDir .. Guess_CloseDir). */
typedef struct GuessDir {
   Iso9660DirHandle isoDir;
   Iso9660DirEntry isoEntry;
   UDFDir *udfDir;
   char *path;                 /* the path as it was opened */
} GuessDir;

typedef Bool (*GuessDetector)(GuessMedia *media, GuessInfo *info);

/* Detection driver: opens the image, runs the detector chain, fills info. */
TRGUEST_API int32_t Guess_Guest(const char *imagePath, uint32_t reserved, GuessInfo *info) TR_NOEXCEPT;
/* Whether two records describe the same result. */
TRGUEST_API Bool Guess_IsEqual(const GuessInfo *a, const GuessInfo *b) TR_NOEXCEPT;
/* SUB_NAMES row of a sub-code (constant, not freed). 24 gives
 * "GUESS_VERSION_WIN8_ENTERPRISE_EVAL"; any higher code "GUESS_VERSION_UNKNOWN". */
TRGUEST_API const char *Guess_GetSubString(uint32_t subVersion) TR_NOEXCEPT;
/* Display name plus version suffix; newly allocated. */
TRGUEST_API char *Guess_GetVersionString(const char *name, const GuessInfo *info) TR_NOEXCEPT;

/* Image access layer. */
TRGUEST_API GuessDir *Guess_OpenDir(GuessMedia *media, const char *path) TR_NOEXCEPT;
/* Name of the next entry (valid until the next read or the close), or NULL. */
TRGUEST_API const char *Guess_ReadDir(GuessMedia *media, GuessDir *dir) TR_NOEXCEPT;
TRGUEST_API Bool Guess_RewindDir(GuessMedia *media, GuessDir *dir) TR_NOEXCEPT;
TRGUEST_API Bool Guess_CloseDir(GuessMedia *media, GuessDir *dir) TR_NOEXCEPT;
/* Whole file as a new buffer (free()) with a NUL after the data, or NULL.
 * length (may be NULL) receives the bytes in the buffer, the NUL included. */
TRGUEST_API char *Guess_ReadFile(GuessMedia *media, GuessDir *dir, const char *name,
                                 size_t *length) TR_NOEXCEPT;
TRGUEST_API char *Guess_ReadFileName(GuessMedia *media, const char *path, size_t *length) TR_NOEXCEPT;
TRGUEST_API Bool Guess_FileExists(GuessMedia *media, const char *dirPath, const char *name) TR_NOEXCEPT;
TRGUEST_API Bool Guess_FileExistsWithPrefix(GuessMedia *media, const char *dirPath,
                                            const char *prefix) TR_NOEXCEPT;
/* ELF machine of a buffer: 0 unknown, 1 32-bit x86, 2 x86-64. */
TRGUEST_API int Guess_ELF_Arch(const char *buffer, size_t length) TR_NOEXCEPT;

/* Detectors, in chain order; Guess_MacOS is not in the chain. */
TRGUEST_API Bool Guess_WindowsNT(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_WindowsLegacy(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_WindowsVistaAndNewer(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_RedHat(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_Mandriva(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_Debian(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_SUSE(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_TurboLinux(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_Solaris(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_NetWare(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_FreeBSD(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_Zelt(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_Zelti(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;
TRGUEST_API Bool Guess_MacOS(GuessMedia *media, GuessInfo *info) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
