// str.cc --
//
//    Bounded copies and formatting. A text that does not fit a caller's
//    buffer is cut, never written past the buffer.

#include <trplatform/str.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <trplatform/log.h>

#include "internal/ascii.hh"

extern "C" {

TRPLATFORM_API char *Str_Strcpy(char *dst, const char *src, size_t size) noexcept {
   if (size == 0) {
      return dst;
   }
   size_t len = strnlen(src, size - 1);
   std::memmove(dst, src, len);
   dst[len] = '\0';
   return dst;
}

TRPLATFORM_API char *Str_Strcat(char *dst, const char *src, size_t size) noexcept {
   size_t used = strnlen(dst, size);
   if (used >= size) {
      // No terminator inside the buffer: terminate it where it ends.
      if (size > 0) {
         dst[size - 1] = '\0';
      }
      return dst;
   }
   Str_Strcpy(dst + used, src, size - used);
   return dst;
}

TRPLATFORM_API int Str_Vsnprintf(char *buf, size_t size, const char *fmt, va_list args) noexcept {
   if (size == 0) {
      return -1;
   }
   int n = std::vsnprintf(buf, size, fmt, args);
   if (n < 0) {
      buf[0] = '\0';
      return -1;
   }
   return static_cast<size_t>(n) >= size ? -1 : n;
}

TRPLATFORM_API int Str_Snprintf(char *buf, size_t size, const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   int n = Str_Vsnprintf(buf, size, fmt, args);
   va_end(args);
   return n;
}

TRPLATFORM_API int Str_Sprintf(char *buf, size_t size, const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   int n = Str_Vsnprintf(buf, size, fmt, args);
   va_end(args);
   if (n < 0) {
      return size == 0 ? 0 : static_cast<int>(std::strlen(buf));
   }
   return n;
}

TRPLATFORM_API char *Str_Vasprintf(size_t *length, const char *fmt, va_list args) noexcept {
   char *out = nullptr;
   int n = vasprintf(&out, fmt, args);
   if (n < 0) {
      return nullptr;
   }
   if (length != nullptr) {
      *length = static_cast<size_t>(n);
   }
   return out;
}

TRPLATFORM_API char *Str_Asprintf(size_t *length, const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   char *out = Str_Vasprintf(length, fmt, args);
   va_end(args);
   return out;
}

TRPLATFORM_API char *Str_SafeVasprintf(size_t *length, const char *fmt, va_list args) noexcept {
   char *out = Str_Vasprintf(length, fmt, args);
   if (out == nullptr) {
      Panic("Unrecoverable memory allocation failure formatting \"%s\"\n", fmt);
   }
   return out;
}

TRPLATFORM_API char *Str_SafeAsprintf(size_t *length, const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   char *out = Str_SafeVasprintf(length, fmt, args);
   va_end(args);
   return out;
}

TRPLATFORM_API char *Str_ToUpper(char *s) noexcept {
   for (char *p = s; *p != '\0'; p++) {
      *p = trp::AsciiToUpper(*p);
   }
   return s;
}

TRPLATFORM_API char *Str_ToLower(char *s) noexcept {
   for (char *p = s; *p != '\0'; p++) {
      *p = trp::AsciiToLower(*p);
   }
   return s;
}

}  // extern "C"
