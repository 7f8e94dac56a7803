/*
 * strutil.h --
 *
 *    Tokens, number readers and prefix/suffix tests.
 */

#ifndef TRPLATFORM_STRUTIL_H
#define TRPLATFORM_STRUTIL_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

/*
 * Next token of str starting at *index: leading delimiter characters are
 * skipped, the token runs up to the next delimiter character or the end.
 * Returns it as new text (free()) and moves *index past it, or NULL at the
 * end of the text. *index must lie within the text (0 up to its length):
 * 0, a value an earlier call stored for the same text, or a position the
 * caller found in it.
 */
TRPLATFORM_API char *StrUtil_GetNextToken(unsigned int *index, const char *str,
                                          const char *delimiters) TR_NOEXCEPT;

/*
 * Takes the next token as StrUtil_GetNextToken does and reads its leading
 * decimal integer (leading white space and a sign allowed) into *out; *out is
 * written whenever the token begins with a number, so " 11" gives 11 and
 * "1\nBASEARCHS x86_64\n" gives 1. Returns TRUE only when the whole token
 * (less surrounding white space) is that number; *out is untouched when there
 * is no token or it does not begin with a number.
 */
TRPLATFORM_API Bool StrUtil_GetNextIntToken(int32_t *out, unsigned int *index,
                                            const char *str, const char *delimiters) TR_NOEXCEPT;

/* Whole text (surrounding white space allowed) as a 32-bit signed or
 * unsigned decimal number; FALSE (out untouched) for anything else or an
 * out-of-range number. */
TRPLATFORM_API Bool StrUtil_StrToInt(int32_t *out, const char *str) TR_NOEXCEPT;
TRPLATFORM_API Bool StrUtil_StrToUint(uint32_t *out, const char *str) TR_NOEXCEPT;

/*
 * Reads the unsigned decimal number (digits only: no white space, no sign)
 * at *str into *out and moves *str past its digits. FALSE, with neither
 * output changed, when *str does not start with a digit or the number
 * exceeds 32 bits.
 */
TRPLATFORM_API Bool StrUtil_DecimalStrToUint(unsigned int *out, const char **str) TR_NOEXCEPT;

TRPLATFORM_API Bool StrUtil_StartsWith(const char *s, const char *prefix) TR_NOEXCEPT;
TRPLATFORM_API Bool StrUtil_CaselessStartsWith(const char *s, const char *prefix) TR_NOEXCEPT;
TRPLATFORM_API Bool StrUtil_EndsWith(const char *s, const char *suffix) TR_NOEXCEPT;
TRPLATFORM_API Bool StrUtil_CaselessEndsWith(const char *s, const char *suffix) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
