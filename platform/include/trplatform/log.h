/*
 * log.h --
 *
 *    The product log. Each call writes exactly one line: the formatted text,
 *    with a line feed added when it does not end with one. Lines go to the
 *    file named by the environment variable TRGUEST_LOG (opened for
 *    appending on each call) when it is set, else to stderr.
 */

#ifndef TRPLATFORM_LOG_H
#define TRPLATFORM_LOG_H

#include <stdarg.h>
#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

TRPLATFORM_API void Log(const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(1, 2);
TRPLATFORM_API void LogV(const char *fmt, va_list args) TR_NOEXCEPT TR_PRINTF(1, 0);
/* A non-fatal anomaly; written like Log. */
TRPLATFORM_API void Warning(const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(1, 2);
/* Writes the line like Log, then aborts the process. */
TRPLATFORM_API TR_NORETURN void Panic(const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(1, 2);

/*
 * "NOT_REACHED <file>:<line>" stop for branches that the library's own
 * contracts exclude. The file is the module's source path as the product's
 * logs know it (for instance "lib/guessGuest/guess"); the line is the
 * current one unless a fixed line is given.
 */
#define NOT_REACHED_IN(file) Panic("NOT_REACHED %s:%d\n", (file), __LINE__)
#define NOT_REACHED_AT(file, line) Panic("NOT_REACHED %s:%d\n", (file), (line))

TR_EXTERN_C_END

#endif
