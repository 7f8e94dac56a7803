/*
 * trtypes.h --
 *
 *    Basic types shared by the libtrguest interface and the platform layer
 *    (libtrplatform): the one-byte boolean and the symbol-export macros.
 *
 *    Compiles as C99 and as C++.
 */

#ifndef TRGUEST_TRTYPES_H
#define TRGUEST_TRTYPES_H

#include <stddef.h>
#include <stdint.h>

/* One byte; TRUE is 1 and FALSE is 0. Every true-or-false result is a Bool. */
#ifndef TR_BOOL_DEFINED
#define TR_BOOL_DEFINED
typedef char Bool;
#endif

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#ifdef __cplusplus
#define TR_EXTERN_C_BEGIN extern "C" {
#define TR_EXTERN_C_END }
/* No exception crosses the C interface: should one reach it (memory
 * exhaustion inside the C++ implementation), the process stops. */
#define TR_NOEXCEPT noexcept
#else
#define TR_EXTERN_C_BEGIN
#define TR_EXTERN_C_END
#define TR_NOEXCEPT
#endif

/*
 * Both libraries are built with -fvisibility=hidden; only names marked with
 * these macros are exported. The build defines TRGUEST_BUILDING /
 * TRPLATFORM_BUILDING; for users the macros merely declare.
 */
#if defined(__GNUC__)
#define TR_VISIBLE __attribute__((visibility("default")))
#else
#define TR_VISIBLE
#endif

#define TRGUEST_API TR_VISIBLE
#define TRPLATFORM_API TR_VISIBLE

#if defined(__GNUC__)
#define TR_PRINTF(fmtIdx, argIdx) __attribute__((format(printf, fmtIdx, argIdx)))
#define TR_NORETURN __attribute__((noreturn))
#else
#define TR_PRINTF(fmtIdx, argIdx)
#define TR_NORETURN
#endif

#endif /* TRGUEST_TRTYPES_H */
