// windows_keyvalue_fuzzer.cc --
//
//    The key=value scanner of the Windows detectors (GuessParseKeyValue) and
//    the text walks built on it: the lang.ini "[Available UI Languages]"
//    walk, the TXTSETUP.SIF product name and the PRODSPEC.INI Localization
//    line. The input is one NUL-terminated text (cut at its first NUL), held
//    in a buffer of exactly its size so that sanitizers see any read past
//    its end. Checks the scanner's promises and that every record field
//    stays terminated within its size.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "guessGuest/guessInt.h"
#include "guessGuest/guessWindowsInt.h"

namespace {

void Check(bool ok) {
   if (!ok) {
      std::abort();
   }
}

bool Terminated(const char *field, size_t size) {
   return std::memchr(field, '\0', size) != nullptr;
}

void CheckRecord(const GuessInfo &info) {
   Check(Terminated(info.versionString, sizeof info.versionString));
   Check(Terminated(info.language, sizeof info.language));
   Check(Terminated(info.languages, sizeof info.languages));
   Check(Terminated(info.editions, sizeof info.editions));
   Check(info.guestOS == nullptr && info.guestOS64 == nullptr && info.subVersion == 0);
}

void ScanAt(const char *text, const char *p) {
   char *key = nullptr;
   char *value = nullptr;
   if (!GuessParseKeyValue(p, &key, &value)) {
      Check(key == nullptr && value == nullptr);
      return;
   }
   // The key is a prefix of the text at p; the value is non-empty and holds
   // no control character and no double quote.
   size_t keyLen = std::strlen(key);
   Check(std::strncmp(key, p, keyLen) == 0);
   Check(std::strchr(p, '=') != nullptr);
   size_t valueLen = std::strlen(value);
   Check(valueLen > 0 && valueLen <= std::strlen(text));
   for (size_t i = 0; i < valueLen; i++) {
      unsigned char c = static_cast<unsigned char>(value[i]);
      Check(c >= 32 && c != 127 && c != '"');
   }
   Check(std::strstr(p, value) != nullptr);
   std::free(key);
   std::free(value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   size_t len = strnlen(reinterpret_cast<const char *>(data), size);
   std::unique_ptr<char[]> text(new char[len + 1]);
   std::memcpy(text.get(), data, len);
   text[len] = '\0';

   // The scanner at the start and at each line start (as the detectors and
   // the lang.ini walk call it), and at a bounded number of other offsets.
   ScanAt(text.get(), text.get());
   size_t budget = 512;
   for (size_t i = 1; i <= len && budget > 0; i++) {
      if (text[i - 1] == '\n' || text[i - 1] == '=' || text[i - 1] == ' ' || i == len) {
         ScanAt(text.get(), text.get() + i);
         budget--;
      }
   }

   auto info = std::make_unique<GuessInfo>();
   std::memset(info.get(), 0, sizeof *info);
   if (!GuessWindowsLangIni(text.get(), info.get())) {
      Check(info->language[0] == '\0');  // untouched
   }
   CheckRecord(*info);
   // A list written by the walk ends with "?" unless it was cut or empty.
   size_t n = std::strlen(info->languages);
   Check(n == 0 || info->languages[n - 1] == '?' || n == sizeof info->languages - 1);

   const char *id = GuessWindowsNTProductIdentifier(text.get());
   Check(id == nullptr || std::strncmp(id, "win", 3) == 0);

   std::memset(info.get(), 0, sizeof *info);
   GuessWindowsNTLocalization(text.get(), info.get());
   CheckRecord(*info);
   return 0;
}
