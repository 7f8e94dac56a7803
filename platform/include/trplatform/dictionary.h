/*
 * dictionary.h --
 *
 *    Key/value dictionaries in the product's configuration-file syntax, used
 *    for virtual machine configuration files, tools manifests and message
 *    catalogues:
 *
 *       # comment
 *       name = "value"
 *       .encoding = "UTF-8"
 *
 *    One entry per line; blank lines and lines whose first non-blank
 *    character is "#" are ignored. Names are compared without regard to
 *    ASCII case. Values stand in double quotes; inside them \" \\ \| and
 *    |XX (two hexadecimal digits: the byte XX) are escapes. A bare word
 *    (no blanks, quotes or "#") is accepted as a value too. ".encoding"
 *    names the text's character set; values are converted to UTF-8. Entries
 *    are kept and visited in file order; a name given twice keeps its first
 *    place and its last value.
 *
 *    A syntax error leaves a message naming the file (or "buffer") and the
 *    line in the message queue (msg.h) and loads nothing.
 */

#ifndef TRPLATFORM_DICTIONARY_H
#define TRPLATFORM_DICTIONARY_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef struct Dictionary Dictionary;

/* Value types of Dictionary_Get. */
typedef enum DictionaryType {
   DICT_ANY = 0,
   DICT_STRING = 1,  /* const char * */
   DICT_BOOL = 2,    /* Bool */
   DICT_LONG = 3,    /* int32_t */
   DICT_INT64 = 4,   /* int64_t */
   DICT_DOUBLE = 5   /* double */
} DictionaryType;

/* Called for each entry: name, value text, an unused argument (NULL), and
 * the client data given to Dictionary_Iterate. */
typedef void (*DictionaryIterateCallback)(const char *name, const char *value,
                                          void *unused, void *clientData);

TRPLATFORM_API Dictionary *Dictionary_Create(void) TR_NOEXCEPT;
TRPLATFORM_API void Dictionary_Free(Dictionary *dict) TR_NOEXCEPT;   /* NULL allowed */
/* Replaces the dictionary's entries by those of the file. */
TRPLATFORM_API Bool Dictionary_Load(Dictionary *dict, const char *path) TR_NOEXCEPT;
/* Same from a NUL-terminated text; flags must be 0. */
TRPLATFORM_API Bool Dictionary_LoadFromBuffer(Dictionary *dict, const char *text, int flags) TR_NOEXCEPT;
/* Writes every entry, in order, in the syntax above (values quoted and
 * escaped), through a temporary file renamed over path. */
TRPLATFORM_API Bool Dictionary_Write(Dictionary *dict, const char *path) TR_NOEXCEPT;
/* Calls cb for each entry in order and returns the number of entries
 * visited. all is accepted for compatibility (every entry is visited). */
TRPLATFORM_API int Dictionary_Iterate(Dictionary *dict, DictionaryIterateCallback cb,
                                      void *clientData, Bool all) TR_NOEXCEPT;
TRPLATFORM_API int Dictionary_NumberOfEntries(const Dictionary *dict) TR_NOEXCEPT;
TRPLATFORM_API Bool Dictionary_IsDefined(const Dictionary *dict, const char *name) TR_NOEXCEPT;
/*
 * Pointer to the entry's value converted to `type` (owned by the
 * dictionary, valid until the entry changes or the dictionary is freed), or
 * defaultValue when the entry is absent or does not convert.
 */
TRPLATFORM_API const void *Dictionary_Get(Dictionary *dict, const void *defaultValue,
                                          DictionaryType type, const char *name) TR_NOEXCEPT;
/* TRUE for "TRUE", "yes", "1"; FALSE for "FALSE", "no", "0" (any case,
 * surrounding white space allowed); defaultValue for anything else. */
TRPLATFORM_API Bool Dictionary_StringToBool(const char *text, Bool defaultValue) TR_NOEXCEPT;

/* Entry name built from fmt and the arguments. */
/* Newly allocated copy of the value, or of defaultValue (NULL for NULL). */
TRPLATFORM_API char *Dict_GetString(Dictionary *dict, const char *defaultValue,
                                    const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(3, 4);
TRPLATFORM_API Bool Dict_GetBool(Dictionary *dict, Bool defaultValue, const char *fmt, ...) TR_NOEXCEPT
   TR_PRINTF(3, 4);
TRPLATFORM_API int32_t Dict_GetLong(Dictionary *dict, int32_t defaultValue, const char *fmt, ...) TR_NOEXCEPT
   TR_PRINTF(3, 4);
TRPLATFORM_API void Dict_SetString(Dictionary *dict, const char *value, const char *fmt, ...) TR_NOEXCEPT
   TR_PRINTF(3, 4);
/* Stored as "TRUE" or "FALSE". */
TRPLATFORM_API void Dict_SetBool(Dictionary *dict, Bool value, const char *fmt, ...) TR_NOEXCEPT
   TR_PRINTF(3, 4);
TRPLATFORM_API void Dict_SetLong(Dictionary *dict, int32_t value, const char *fmt, ...) TR_NOEXCEPT
   TR_PRINTF(3, 4);
TRPLATFORM_API void Dict_Unset(Dictionary *dict, const char *fmt, ...) TR_NOEXCEPT TR_PRINTF(2, 3);

TR_EXTERN_C_END

#endif
