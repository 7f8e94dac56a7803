/*
 * timeutil.h --
 *
 *    The host's time zone as Windows knows it.
 */

#ifndef TRPLATFORM_TIMEUTIL_H
#define TRPLATFORM_TIMEUTIL_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

/*
 * The host's zone is the zone name in the environment variable TZ when it is
 * set and not empty (a leading ':' skipped; a path into a zoneinfo directory,
 * or its posix/ or right/ tree, names the zone below it), otherwise the zone that /etc/localtime links to
 * (or, when it is no link, the name in /etc/timezone).
 *
 * Returns the zone's Windows time zone index (as text-mode Windows setup
 * takes it), or -1 when the zone has no Windows name or its Windows name has
 * no index. *windowsName receives the Windows time zone name (such as
 * "Pacific Standard Time", newly allocated, free()) or NULL when the zone
 * has none. windowsName may be NULL.
 */
TRPLATFORM_API int32_t TimeUtil_GetLocalWindowsTimeZoneIndexAndName(char **windowsName) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
