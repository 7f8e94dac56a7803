// strutil.cc --
//
//    Tokens, number readers and prefix/suffix tests.

#include <trplatform/strutil.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <trplatform/util.h>

#include "internal/ascii.hh"

namespace {

bool IsSpace(char c) {
   return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

std::string_view Trim(std::string_view s) {
   while (!s.empty() && IsSpace(s.front())) s.remove_prefix(1);
   while (!s.empty() && IsSpace(s.back())) s.remove_suffix(1);
   return s;
}

// Reads an optionally signed decimal number at the start of s (after white
// space). Returns how many characters it used (0: no number) and the value,
// saturated to the long long range.
size_t LeadingNumber(std::string_view s, long long *value, bool allowSign) {
   size_t i = 0;
   while (i < s.size() && IsSpace(s[i])) i++;
   bool negative = false;
   if (allowSign && i < s.size() && (s[i] == '+' || s[i] == '-')) {
      negative = s[i] == '-';
      i++;
   }
   size_t digitsStart = i;
   unsigned long long v = 0;
   bool overflow = false;
   while (i < s.size() && s[i] >= '0' && s[i] <= '9') {
      unsigned d = static_cast<unsigned>(s[i] - '0');
      if (v > (ULLONG_MAX - d) / 10) {
         overflow = true;
      } else {
         v = v * 10 + d;
      }
      i++;
   }
   if (i == digitsStart) {
      return 0;
   }
   if (overflow || v > static_cast<unsigned long long>(LLONG_MAX)) {
      *value = negative ? LLONG_MIN : LLONG_MAX;
   } else {
      *value = negative ? -static_cast<long long>(v) : static_cast<long long>(v);
   }
   return i;
}

// Whole text (less surrounding white space) as a number within [lo, hi].
bool WholeNumber(const char *str, long long lo, long long hi, bool allowSign, long long *out) {
   if (str == nullptr) {
      return false;
   }
   std::string_view t = Trim(str);
   long long v = 0;
   size_t used = LeadingNumber(t, &v, allowSign);
   if (used == 0 || used != t.size() || v < lo || v > hi) {
      return false;
   }
   *out = v;
   return true;
}

}  // namespace

extern "C" {

TRPLATFORM_API char *StrUtil_GetNextToken(unsigned int *index, const char *str,
                                          const char *delimiters) noexcept {
   // *index lies inside the text (0, where an earlier call stopped, or a
   // position the caller found): the walk starts there and never measures
   // the whole text again, which keeps a walk over all tokens of a large
   // file linear.
   size_t i = *index;
   i += std::strspn(str + i, delimiters);
   if (str[i] == '\0') {
      *index = static_cast<unsigned int>(i);
      return nullptr;
   }
   size_t end = i + std::strcspn(str + i, delimiters);
   if (end > UINT_MAX) {
      // The position would no longer fit the index: the text ends here for
      // the caller, rather than starting over from a wrapped position.
      return nullptr;
   }
   *index = static_cast<unsigned int>(end);
   return UtilSafeStrndup0(str + i, end - i);
}

TRPLATFORM_API Bool StrUtil_GetNextIntToken(int32_t *out, unsigned int *index, const char *str,
                                            const char *delimiters) noexcept {
   char *token = StrUtil_GetNextToken(index, str, delimiters);
   if (token == nullptr) {
      return FALSE;
   }
   // The leading number of the token counts even when text follows it
   // ("1\nBASEARCHS x86_64"), so that a version read up to the next "."
   // still yields its number; the result tells whether the token was
   // nothing but that number.
   std::string_view t(token);
   long long v = 0;
   size_t used = LeadingNumber(t, &v, true);
   Bool whole = FALSE;
   if (used > 0) {
      if (v > INT32_MAX) v = INT32_MAX;
      if (v < INT32_MIN) v = INT32_MIN;
      *out = static_cast<int32_t>(v);
      whole = Trim(t.substr(used)).empty() ? TRUE : FALSE;
   }
   std::free(token);
   return whole;
}

TRPLATFORM_API Bool StrUtil_StrToInt(int32_t *out, const char *str) noexcept {
   long long v;
   if (!WholeNumber(str, INT32_MIN, INT32_MAX, true, &v)) {
      return FALSE;
   }
   *out = static_cast<int32_t>(v);
   return TRUE;
}

TRPLATFORM_API Bool StrUtil_StrToUint(uint32_t *out, const char *str) noexcept {
   long long v;
   if (!WholeNumber(str, 0, UINT32_MAX, false, &v)) {
      return FALSE;
   }
   *out = static_cast<uint32_t>(v);
   return TRUE;
}

TRPLATFORM_API Bool StrUtil_DecimalStrToUint(unsigned int *out, const char **str) noexcept {
   const char *p = *str;
   if (*p < '0' || *p > '9') {
      return FALSE;
   }
   unsigned long long v = 0;
   while (*p >= '0' && *p <= '9') {
      v = v * 10 + static_cast<unsigned>(*p - '0');
      if (v > UINT_MAX) {
         return FALSE;
      }
      p++;
   }
   *out = static_cast<unsigned int>(v);
   *str = p;
   return TRUE;
}

TRPLATFORM_API Bool StrUtil_StartsWith(const char *s, const char *prefix) noexcept {
   return std::strncmp(s, prefix, std::strlen(prefix)) == 0 ? TRUE : FALSE;
}

TRPLATFORM_API Bool StrUtil_CaselessStartsWith(const char *s, const char *prefix) noexcept {
   for (; *prefix != '\0'; s++, prefix++) {
      if (*s == '\0' || trp::AsciiToLower(*s) != trp::AsciiToLower(*prefix)) {
         return FALSE;
      }
   }
   return TRUE;
}

TRPLATFORM_API Bool StrUtil_EndsWith(const char *s, const char *suffix) noexcept {
   size_t ls = std::strlen(s), lx = std::strlen(suffix);
   return lx <= ls && std::memcmp(s + ls - lx, suffix, lx) == 0 ? TRUE : FALSE;
}

TRPLATFORM_API Bool StrUtil_CaselessEndsWith(const char *s, const char *suffix) noexcept {
   size_t ls = std::strlen(s), lx = std::strlen(suffix);
   if (lx > ls) {
      return FALSE;
   }
   return StrUtil_CaselessStartsWith(s + ls - lx, suffix);
}

}  // extern "C"
