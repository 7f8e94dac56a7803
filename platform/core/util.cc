// util.cc --
//
//    Safe allocators, dotted-version comparison and the thread number.

#include <trplatform/util.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

#include <trplatform/log.h>

namespace {

[[noreturn]] void Exhausted(size_t size) {
   Panic("Unrecoverable memory allocation failure (%zu bytes)\n", size);
}

// The leading number of a dotted part, and where the part ends.
unsigned long long PartValue(const char **s) {
   unsigned long long v = 0;
   const char *p = *s;
   while (*p >= '0' && *p <= '9') {
      unsigned digit = static_cast<unsigned>(*p - '0');
      v = v > (ULLONG_MAX - digit) / 10 ? ULLONG_MAX : v * 10 + digit;
      p++;
   }
   // Anything else in the part ("04-rc1") does not take part in the order.
   while (*p != '\0' && *p != '.') {
      p++;
   }
   *s = p;
   return v;
}

}  // namespace

extern "C" {

TRPLATFORM_API void *UtilSafeMalloc0(size_t size) noexcept {
   void *p = std::calloc(1, size == 0 ? 1 : size);
   if (p == nullptr) {
      Exhausted(size);
   }
   return p;
}

TRPLATFORM_API void *UtilSafeCalloc0(size_t count, size_t size) noexcept {
   void *p = std::calloc(count == 0 ? 1 : count, size == 0 ? 1 : size);
   if (p == nullptr) {
      Exhausted(count * size);
   }
   return p;
}

TRPLATFORM_API void *UtilSafeRealloc0(void *old, size_t size) noexcept {
   void *p = std::realloc(old, size == 0 ? 1 : size);
   if (p == nullptr) {
      Exhausted(size);
   }
   return p;
}

TRPLATFORM_API char *UtilSafeStrdup0(const char *s) noexcept {
   if (s == nullptr) {
      return nullptr;
   }
   char *p = strdup(s);
   if (p == nullptr) {
      Exhausted(std::strlen(s) + 1);
   }
   return p;
}

TRPLATFORM_API char *UtilSafeStrndup0(const char *s, size_t n) noexcept {
   if (s == nullptr) {
      return nullptr;
   }
   char *p = strndup(s, n);
   if (p == nullptr) {
      Exhausted(n + 1);
   }
   return p;
}

// Parts are compared as numbers ("10" > "9"); a missing part counts as 0,
// so "8.10" equals "8.10.0". Text after a part's leading digits ("7.10-rc")
// is ignored, which is how release names with suffixes order in practice.
TRPLATFORM_API int Util_CompareDotted(const char *s1, const char *s2) noexcept {
   const char *a = s1 != nullptr ? s1 : "";
   const char *b = s2 != nullptr ? s2 : "";
   while (*a != '\0' || *b != '\0') {
      unsigned long long x = PartValue(&a);
      unsigned long long y = PartValue(&b);
      if (x != y) {
         return x < y ? -1 : 1;
      }
      if (*a == '.') a++;
      if (*b == '.') b++;
   }
   return 0;
}

TRPLATFORM_API uint32_t Util_GetCurrentThreadId(void) noexcept {
   return static_cast<uint32_t>(syscall(SYS_gettid));
}

}  // extern "C"
