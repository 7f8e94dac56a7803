// iniRead.cc --
//
//    Reading one value from an INI file: IniUtil_GetIniFileString and
//    IniUtil_GetIniFileInt. Each call opens the file, scans it once and
//    closes it; nothing is cached.

#include <trguest/iniutil.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "iniLines.hh"

namespace {

using namespace trguest::ini;

struct FileCloser {
   void operator()(std::FILE *f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace

extern "C" {

TRGUEST_API Bool IniUtil_GetIniFileString(const char *path, const char *section, const char *key,
                                          char *value, int32_t size) noexcept {
   if (size < 1 || value == nullptr || path == nullptr || section == nullptr || key == nullptr) {
      return FALSE;
   }
   FilePtr file(OpenRegularFile(path));
   if (!file) {
      return FALSE;
   }

   char buf[kLineBufferSize];
   bool inSection = false;
   while (ReadLine(file.get(), buf) > 0) {
      if (buf[0] == ';') {
         continue;
      }
      // The reader sees the line as text: it ends at a NUL byte, and an
      // inline comment (the first ";" after the first byte) cuts it, so no
      // section name or value it returns can hold ";".
      std::string_view line(buf, std::strlen(buf));
      size_t semicolon = line.find(';', 1);
      if (semicolon != std::string_view::npos) {
         line = line.substr(0, semicolon);
      }

      if (!line.empty() && line[0] == '[') {
         std::string_view name;
         if (!SectionName(line, &name)) {
            return FALSE;
         }
         inSection = EqualsCaseless(name, section);
         continue;
      }
      if (!inSection) {
         continue;
      }

      EntryLine entry = SplitEntry(line);
      if (!EqualsCaseless(entry.key, key)) {
         continue;
      }
      // Cut first, then strip quotes: a quoted value too long for the buffer
      // keeps its opening quote.
      std::string_view v = entry.value.substr(0, static_cast<size_t>(size) - 1);
      if (v.size() >= 2 && v.front() == '"' && v.back() == '"') {
         v = v.substr(1, v.size() - 2);
      }
      if (!v.empty()) {
         std::memcpy(value, v.data(), v.size());
      }
      value[v.size()] = '\0';
      return TRUE;
   }
   // A read error is not the end of the file: the key may lie beyond it.
   return std::ferror(file.get()) ? FALSE : TRUE;
}

TRGUEST_API Bool IniUtil_GetIniFileInt(const char *path, const char *section, const char *key,
                                       int32_t *value) noexcept {
   if (value == nullptr) {
      return FALSE;
   }
   char text[kLineBufferSize] = "";
   if (!IniUtil_GetIniFileString(path, section, key, text, sizeof text)) {
      return FALSE;
   }
   if (std::strcmp(text, "0") == 0) {
      *value = 0;
      return TRUE;
   }
   long n = std::strtol(text, nullptr, 10);
   if (n > INT32_MAX) {
      n = INT32_MAX;
   } else if (n < INT32_MIN) {
      n = INT32_MIN;
   }
   *value = static_cast<int32_t>(n);
   return *value != 0 ? TRUE : FALSE;
}

}  // extern "C"
