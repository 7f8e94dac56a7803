/*
 * iniutil.h --
 *
 *    Reading one value from, or setting one value in, an INI file. Texts
 *    are 8-bit and taken byte for byte. Nothing is allocated for the caller.
 */

#ifndef TRGUEST_INIUTIL_H
#define TRGUEST_INIUTIL_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

/* Copies the value of section/key into value (size bytes, NUL-terminated).
 * TRUE also when the key is missing (value untouched). */
TRGUEST_API Bool IniUtil_GetIniFileString(const char *path, const char *section,
                                          const char *key, char *value, int32_t size) TR_NOEXCEPT;
/* Sets section/key to value in an existing file, adding the entry or the
 * section when missing; quote puts the value between double quotes. */
TRGUEST_API Bool IniUtil_WriteIniFileString(const char *path, const char *section,
                                            const char *key, const char *value, Bool quote) TR_NOEXCEPT;
TRGUEST_API Bool IniUtil_GetIniFileInt(const char *path, const char *section, const char *key,
                                       int32_t *value) TR_NOEXCEPT;
TRGUEST_API Bool IniUtil_WriteIniFileInt(const char *path, const char *section,
                                         const char *key, int32_t value) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
