/*
 * unicode.h --
 *
 *    Conversion of UTF-8 texts into the legacy Windows code pages that
 *    text-mode Windows setup reads. Encodings are named by the support
 *    library's numeric identifiers below.
 */

#ifndef TRPLATFORM_UNICODE_H
#define TRPLATFORM_UNICODE_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef int32_t StringEncoding;

#define STRING_ENCODING_WINDOWS_1252 35   /* Western European */
#define STRING_ENCODING_WINDOWS_1251 34   /* Cyrillic */
#define STRING_ENCODING_WINDOWS_932  27   /* Japanese (Shift JIS) */
#define STRING_ENCODING_WINDOWS_936  24   /* Simplified Chinese (GBK) */
#define STRING_ENCODING_WINDOWS_950  22   /* Traditional Chinese (Big5) */
#define STRING_ENCODING_WINDOWS_949  62   /* Korean (Unified Hangul Code) */

/*
 * The UTF-8 text converted to the encoding, NUL-terminated and newly
 * allocated (free()). NULL when the text is NULL or not valid UTF-8, when
 * the encoding is unknown, or when the encoding cannot represent every
 * character of the text: nothing is dropped or substituted.
 */
TRPLATFORM_API char *Unicode_GetAllocBytes(const char *utf8, StringEncoding encoding) TR_NOEXCEPT;

/* The encoding's name as the converter knows it (constant text, such as
 * "windows-1252" or "CP932"); "unknown" for an unknown identifier. */
TRPLATFORM_API const char *Unicode_EncodingEnumToName(StringEncoding encoding) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
