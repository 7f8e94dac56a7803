/*
 * hashtable.h --
 *
 *    Hash table from keys to pointers. Entries are visited in insertion
 *    order, so that logs made from a walk are stable.
 */

#ifndef TRPLATFORM_HASHTABLE_H
#define TRPLATFORM_HASHTABLE_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

/* Key types (low bits) and flags. */
#define HASH_STRING_KEY   0x00  /* NUL-terminated text, compared exactly */
#define HASH_ISTRING_KEY  0x01  /* text compared without regard to ASCII case */
#define HASH_INT_KEY      0x02  /* the pointer value itself */
#define HASH_FLAG_COPYKEY 0x10  /* the table keeps its own copy of text keys */

typedef struct HashTable HashTable;
/* Destroys a value when its entry is removed or the table freed. */
typedef void (*HashTableFreeEntryFn)(void *value);
/* Walk callback; a non-zero result stops the walk. */
typedef int (*HashTableForEachCallback)(const char *key, void *value, void *clientData);

/* numBuckets is a sizing hint. freeFn may be NULL. */
TRPLATFORM_API HashTable *HashTable_Alloc(uint32_t numBuckets, int keyType,
                                          HashTableFreeEntryFn freeFn) TR_NOEXCEPT;
/* Destroys the remaining values with freeFn, then the table. NULL allowed. */
TRPLATFORM_API void HashTable_Free(HashTable *ht) TR_NOEXCEPT;
/* Adds key -> value; FALSE (nothing changed) when the key is present. */
TRPLATFORM_API Bool HashTable_Insert(HashTable *ht, const void *key, void *value) TR_NOEXCEPT;
/* Whether the key is present; its value goes to *value when value is not NULL. */
TRPLATFORM_API Bool HashTable_Lookup(const HashTable *ht, const void *key, void **value) TR_NOEXCEPT;
/* Removes the entry without destroying its value, which goes to *value. */
TRPLATFORM_API Bool HashTable_LookupAndDelete(HashTable *ht, const void *key, void **value) TR_NOEXCEPT;
/* Removes the entry and destroys its value. */
TRPLATFORM_API Bool HashTable_Delete(HashTable *ht, const void *key) TR_NOEXCEPT;
/* Calls cb for each entry in insertion order; returns the first non-zero
 * result of cb, else 0. The callback must not change the table. */
TRPLATFORM_API int HashTable_ForEach(const HashTable *ht, HashTableForEachCallback cb,
                                     void *clientData) TR_NOEXCEPT;
TRPLATFORM_API uint32_t HashTable_GetNumElements(const HashTable *ht) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
