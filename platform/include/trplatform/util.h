/*
 * util.h --
 *
 *    Safe allocators, dotted-version comparison and the thread number.
 */

#ifndef TRPLATFORM_UTIL_H
#define TRPLATFORM_UTIL_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

/*
 * The safe allocators never return NULL: when memory is exhausted the
 * process stops through Panic with a message naming the caller's source
 * position. Memory is released with free().
 */
TRPLATFORM_API void *UtilSafeMalloc0(size_t size) TR_NOEXCEPT;            /* zero-filled */
TRPLATFORM_API void *UtilSafeCalloc0(size_t count, size_t size) TR_NOEXCEPT;
TRPLATFORM_API void *UtilSafeRealloc0(void *p, size_t size) TR_NOEXCEPT;
TRPLATFORM_API char *UtilSafeStrdup0(const char *s) TR_NOEXCEPT;          /* NULL for NULL */
/* Copy of at most n bytes of s, NUL-terminated; NULL for NULL. */
TRPLATFORM_API char *UtilSafeStrndup0(const char *s, size_t n) TR_NOEXCEPT;

/*
 * Compares two dotted version numbers ("10.04.4", "8.10") numerically, part
 * by part; a missing part counts as 0. Negative, 0 or positive as s1 is
 * lower than, equal to or higher than s2.
 */
TRPLATFORM_API int Util_CompareDotted(const char *s1, const char *s2) TR_NOEXCEPT;

/* An unsigned number that identifies the calling thread. */
TRPLATFORM_API uint32_t Util_GetCurrentThreadId(void) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
