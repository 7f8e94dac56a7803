/*
 * str.h --
 *
 *    Bounded string copies and formatting. Every function here that writes
 *    into a caller's buffer of `size` bytes writes at most `size` bytes, the
 *    terminating NUL included, and always terminates (for size >= 1); a text
 *    that does not fit is cut.
 */

#ifndef TRPLATFORM_STR_H
#define TRPLATFORM_STR_H

#include <stdarg.h>
#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

/* Copies src into dst (size bytes), cutting it to size - 1 bytes. Returns dst. */
TRPLATFORM_API char *Str_Strcpy(char *dst, const char *src, size_t size) TR_NOEXCEPT;
/* Appends src to the text in dst (size bytes in all), cutting. Returns dst. */
TRPLATFORM_API char *Str_Strcat(char *dst, const char *src, size_t size) TR_NOEXCEPT;

/* Formats into buf; returns the length written, or -1 when the text was cut
 * (buf then holds the first size - 1 bytes). */
TRPLATFORM_API int Str_Snprintf(char *buf, size_t size, const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(3, 4);
TRPLATFORM_API int Str_Vsnprintf(char *buf, size_t size, const char *fmt, va_list args) TR_NOEXCEPT
   TR_PRINTF(3, 0);
/* Formats into buf, cutting as Str_Snprintf does; returns the length of the
 * text now in buf. */
TRPLATFORM_API int Str_Sprintf(char *buf, size_t size, const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(3, 4);

/* Newly allocated formatted text (free()), or NULL on failure. When length
 * is not NULL it receives the text's length. */
TRPLATFORM_API char *Str_Asprintf(size_t *length, const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(2, 3);
TRPLATFORM_API char *Str_Vasprintf(size_t *length, const char *fmt, va_list args) TR_NOEXCEPT
   TR_PRINTF(2, 0);
/* As Str_Asprintf, but never returns NULL (stops the process instead). */
TRPLATFORM_API char *Str_SafeAsprintf(size_t *length, const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(2, 3);
TRPLATFORM_API char *Str_SafeVasprintf(size_t *length, const char *fmt, va_list args) TR_NOEXCEPT
   TR_PRINTF(2, 0);

/* ASCII case conversion in place; return s. */
TRPLATFORM_API char *Str_ToUpper(char *s) TR_NOEXCEPT;
TRPLATFORM_API char *Str_ToLower(char *s) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
