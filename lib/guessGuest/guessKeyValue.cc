// guessKeyValue.cc --
//
//    GuessParseKeyValue: the small scanner of `key = value` text that the
//    Windows detectors apply to the setup files of their media (TXTSETUP.SIF,
//    PRODSPEC.INI, product.ini, idwbinfo.txt, lang.ini).

#include <cstring>

#include <trplatform/util.h>

#include "guessInt.h"

namespace {

// White space before a value: blank, tab, line feed, vertical tab, form
// feed and carriage return (the C locale's isspace, whatever the locale).
bool IsSpace(unsigned char c) {
   return c == ' ' || (c >= '\t' && c <= '\r');
}

// Characters that end a value: the control characters (1 to 31 and 127),
// the double quote and the end of the text.
bool EndsValue(unsigned char c) {
   return c == '\0' || c < 32 || c == 127 || c == '"';
}

}  // namespace

/*
 * GuessParseKeyValue --
 *
 *    p points into a NUL-terminated text at the start of a key. The key runs
 *    to the first blank after p if the text has one (anywhere after p), else
 *    to the first "=". The value follows the "=", after any white space
 *    (line ends included) and an optional opening double quote, and runs up
 *    to the first control character, double quote or the end of the text;
 *    blanks inside and at its end belong to it.
 *
 * Results:
 *    TRUE when there is a "=" and a non-empty value; then *key (when key is
 *    not NULL) and *value (when value is not NULL) receive new copies that
 *    the caller frees. FALSE otherwise, with neither output written.
 */
Bool GuessParseKeyValue(const char *p, char **key, char **value) {
   const char *eq = std::strchr(p, '=');
   if (eq == nullptr) {
      return FALSE;
   }
   const char *blank = std::strchr(p, ' ');
   const char *keyEnd = blank != nullptr ? blank : eq;

   const char *v = eq + 1;
   if (*v == '\0') {
      return FALSE;
   }
   while (IsSpace(static_cast<unsigned char>(*v))) {
      v++;
   }
   if (*v == '\0') {
      return FALSE;
   }
   if (*v == '"') {
      v++;
      if (*v == '\0' || *v == '"') {
         return FALSE;
      }
   }
   const char *end = v;
   while (!EndsValue(static_cast<unsigned char>(*end))) {
      end++;
   }
   if (end == v) {
      return FALSE;
   }

   if (key != nullptr) {
      *key = UtilSafeStrndup0(p, static_cast<size_t>(keyEnd - p));
   }
   if (value != nullptr) {
      *value = UtilSafeStrndup0(v, static_cast<size_t>(end - v));
   }
   return TRUE;
}
