// dynbuf.cc --
//
//    Growable byte buffer.

#include <trplatform/dynbuf.h>

#include <cstdlib>
#include <cstring>

#include <trplatform/log.h>

namespace {

// Grows geometrically so that repeated appends stay linear.
bool Reserve(DynBuf *b, size_t minSize) {
   if (minSize <= b->allocated) {
      return true;
   }
   size_t newSize = b->allocated < 64 ? 64 : b->allocated;
   while (newSize < minSize) {
      if (newSize > SIZE_MAX / 2) {
         newSize = minSize;
         break;
      }
      newSize *= 2;
   }
   void *p = std::realloc(b->data, newSize);
   if (p == nullptr) {
      return false;
   }
   b->data = static_cast<char *>(p);
   b->allocated = newSize;
   return true;
}

}  // namespace

extern "C" {

TRPLATFORM_API void DynBuf_Init(DynBuf *b) noexcept {
   b->data = nullptr;
   b->size = 0;
   b->allocated = 0;
}

TRPLATFORM_API void DynBuf_Destroy(DynBuf *b) noexcept {
   std::free(b->data);
   DynBuf_Init(b);
}

TRPLATFORM_API Bool DynBuf_Enlarge(DynBuf *b, size_t minSize) noexcept {
   return Reserve(b, minSize) ? TRUE : FALSE;
}

TRPLATFORM_API Bool DynBuf_Append(DynBuf *b, const void *data, size_t size) noexcept {
   if (size == 0) {
      return TRUE;
   }
   if (size > SIZE_MAX - b->size || !Reserve(b, b->size + size)) {
      return FALSE;
   }
   std::memcpy(b->data + b->size, data, size);
   b->size += size;
   return TRUE;
}

TRPLATFORM_API Bool DynBuf_AppendString(DynBuf *b, const char *s) noexcept {
   return DynBuf_Append(b, s, std::strlen(s));
}

TRPLATFORM_API void DynBuf_SafeInternalAppend(DynBuf *b, const void *data, size_t size,
                                              const char *file, unsigned int line) noexcept {
   if (!DynBuf_Append(b, data, size)) {
      Panic("Unrecoverable memory allocation failure at %s:%u\n", file, line);
   }
}

TRPLATFORM_API void *DynBuf_Detach(DynBuf *b) noexcept {
   void *p = b->data;
   DynBuf_Init(b);
   return p;
}

TRPLATFORM_API Bool DynBuf_SetSize(DynBuf *b, size_t size) noexcept {
   if (size > b->allocated) {
      return FALSE;
   }
   b->size = size;
   return TRUE;
}

TRPLATFORM_API Bool DynBuf_Trim(DynBuf *b) noexcept {
   if (b->size == b->allocated) {
      return TRUE;
   }
   if (b->size == 0) {
      std::free(b->data);
      b->data = nullptr;
      b->allocated = 0;
      return TRUE;
   }
   void *p = std::realloc(b->data, b->size);
   if (p == nullptr) {
      return FALSE;
   }
   b->data = static_cast<char *>(p);
   b->allocated = b->size;
   return TRUE;
}

}  // extern "C"
