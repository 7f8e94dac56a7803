/*
 * toolsversion.h --
 *
 *    Guest tools version status, the host manifest cache and the tools
 *    records of a virtual machine's extended configuration file.
 *
 *    Ownership: arrays from ToolsVersion_GetUpdateInfo are freed with
 *    ToolsVersion_FreeUpdateInfo.
 */

#ifndef TRGUEST_TOOLSVERSION_H
#define TRGUEST_TOOLSVERSION_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef uint32_t ToolsVersionStatus;

#define TOOLS_STATUS_TOO_OLD          1
#define TOOLS_STATUS_SUPPORTED_OLD    2
#define TOOLS_STATUS_CURRENT          3
#define TOOLS_STATUS_SUPPORTED_NEW    4
#define TOOLS_STATUS_TOO_NEW          5
#define TOOLS_STATUS_BLACKLISTED      6
#define TOOLS_STATUS_NO_TOOLS         7
#define TOOLS_STATUS_RESERVED_VERSION 8
#define TOOLS_STATUS_UNKNOWN          9

/* What the guest's update agent reported for one component. */
typedef struct ToolsUpdateInfo {
   char *component;
   char *guestVersion;   /* or NULL */
   char *repoVersion;    /* or NULL */
   int32_t status;       /* a ToolsVersionStatus; 9 when not reported */
} ToolsUpdateInfo;

/* legacyVersion 0xFFFFFFFF: not known, read from the virtual disks. */
TRGUEST_API ToolsVersionStatus ToolsVersion_GetStatus(const char *configPath,
                                                      const char *guestManifestPath,
                                                      const char *guestManifestText,
                                                      uint32_t legacyVersion) TR_NOEXCEPT;
/* The library keeps its own copy; NULL switches the cache off. */
TRGUEST_API void ToolsVersion_SetHostManifestCacheDir(const char *dir) TR_NOEXCEPT;
TRGUEST_API void ToolsVersion_InitHostManifestCache(const char *dir) TR_NOEXCEPT;
TRGUEST_API Bool ToolsVersion_SaveXmlInfo(const char *configPath, const char *agentXml,
                                          const char *manifestText, int32_t installError,
                                          int32_t updateCounter) TR_NOEXCEPT;
TRGUEST_API Bool ToolsVersion_GetInstallInfo(const char *configPath, int32_t *installError,
                                             int32_t *updateCounter) TR_NOEXCEPT;
TRGUEST_API Bool ToolsVersion_GetUpdateInfo(const char *configPath, ToolsUpdateInfo **infos,
                                            int32_t *count) TR_NOEXCEPT;
TRGUEST_API void ToolsVersion_FreeUpdateInfo(ToolsUpdateInfo *infos, int32_t count) TR_NOEXCEPT;
TRGUEST_API Bool ToolsVersion_GetLegacyVersionNumber(const char *configPath, uint32_t *version) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
