/*
 * dynbuf.h --
 *
 *    Growable byte buffer. The fields are public: data points to
 *    `allocated` bytes of which the first `size` are in use.
 */

#ifndef TRPLATFORM_DYNBUF_H
#define TRPLATFORM_DYNBUF_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef struct DynBuf {
   char *data;
   size_t size;
   size_t allocated;
} DynBuf;

/* Empty buffer, no storage. */
TRPLATFORM_API void DynBuf_Init(DynBuf *b) TR_NOEXCEPT;
/* Frees the storage and leaves the buffer empty (as after DynBuf_Init). */
TRPLATFORM_API void DynBuf_Destroy(DynBuf *b) TR_NOEXCEPT;
/* Makes room for at least minSize bytes in all; FALSE when that cannot be had. */
TRPLATFORM_API Bool DynBuf_Enlarge(DynBuf *b, size_t minSize) TR_NOEXCEPT;
/* Appends size bytes; FALSE (buffer unchanged) when memory is exhausted. */
TRPLATFORM_API Bool DynBuf_Append(DynBuf *b, const void *data, size_t size) TR_NOEXCEPT;
/* Appends a NUL-terminated text without its NUL. */
TRPLATFORM_API Bool DynBuf_AppendString(DynBuf *b, const char *s) TR_NOEXCEPT;
/* Like DynBuf_Append but never fails: on exhaustion the process stops with a
 * message naming file and line. */
TRPLATFORM_API void DynBuf_SafeInternalAppend(DynBuf *b, const void *data, size_t size,
                                              const char *file, unsigned int line) TR_NOEXCEPT;
#define DynBuf_SafeAppend(b, data, size) \
   DynBuf_SafeInternalAppend((b), (data), (size), __FILE__, __LINE__)
/* Hands the storage to the caller (who frees it with free()) and leaves the
 * buffer empty. NULL when the buffer has no storage. */
TRPLATFORM_API void *DynBuf_Detach(DynBuf *b) TR_NOEXCEPT;
/* Sets the used size; FALSE when size exceeds the allocation. */
TRPLATFORM_API Bool DynBuf_SetSize(DynBuf *b, size_t size) TR_NOEXCEPT;
/* Shrinks the allocation to the used size. */
TRPLATFORM_API Bool DynBuf_Trim(DynBuf *b) TR_NOEXCEPT;

static inline void *DynBuf_Get(const DynBuf *b) { return b->data; }
static inline size_t DynBuf_GetSize(const DynBuf *b) { return b->size; }

TR_EXTERN_C_END

#endif
