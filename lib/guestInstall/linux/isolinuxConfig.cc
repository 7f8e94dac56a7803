// isolinuxConfig.cc --
//
//    The boot configuration of a Linux installation disc: reading the first
//    complete boot entry of an isolinux configuration, rewriting its append
//    options, and the text of the new configuration that boots the entry's
//    kernel and initrd at once with the answer-file option.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "guestInstall/linux/linuxMediaInt.h"

namespace {

char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Whether s begins with the lower-case keyword, ignoring ASCII case.
bool HasKeyword(std::string_view s, std::string_view keyword) {
   if (s.size() < keyword.size()) {
      return false;
   }
   for (size_t i = 0; i < keyword.size(); i++) {
      if (LowerAscii(s[i]) != keyword[i]) {
         return false;
      }
   }
   return true;
}

void Replace(char **slot, char *value) {
   std::free(*slot);
   *slot = value;
}

// Splits the value of an append line into the initrd (the text behind the
// last "initrd=" token) and the other tokens, each followed by one space.
// The value and the rebuilt text are bounded like the fixed buffers a
// configuration line is read into.
void SplitAppend(std::string_view value, char **initrd, bool *haveInitrd, char **append) {
   char bounded[kAppendMax];
   Str_Strcpy(bounded, std::string(value.substr(0, kAppendMax - 1)).c_str(), sizeof bounded);
   char rebuilt[kAppendMax] = "";
   unsigned int index = 0;
   while (char *token = StrUtil_GetNextToken(&index, bounded, " ")) {
      if (HasKeyword(token, "initrd=")) {
         Replace(initrd, UtilSafeStrdup0(token + 7));
         *haveInitrd = true;
      } else {
         Str_Strcat(rebuilt, token, sizeof rebuilt);
         Str_Strcat(rebuilt, " ", sizeof rebuilt);
      }
      std::free(token);
   }
   Replace(append, UtilSafeStrdup0(rebuilt));
}

}  // namespace

char *joinPath(const char *dir, const char *name) {
   return Str_SafeAsprintf(nullptr, "%s/%s", dir, name);
}

void FreeBootEntry(IsolinuxBootEntry *entry) {
   Replace(&entry->kernel, nullptr);
   Replace(&entry->initrd, nullptr);
   Replace(&entry->append, nullptr);
}

Bool parseIsolinuxConfig(const char *text, char **kernel, char **initrd, char **append) {
   *kernel = nullptr;
   *initrd = nullptr;
   *append = nullptr;
   if (text == nullptr) {
      return FALSE;
   }
   bool inLabel = false, haveKernel = false, haveInitrd = false, haveAppend = false;
   std::string_view rest(text);
   bool stop = false;
   while (!stop && !rest.empty()) {
      size_t eol = rest.find('\n');
      std::string_view line = rest.substr(0, eol);
      rest = eol == std::string_view::npos ? std::string_view() : rest.substr(eol + 1);
      while (!line.empty() && line.back() == '\r') {
         line.remove_suffix(1);
      }
      // Keywords may be indented with spaces (tabs do not count); "label"
      // must stand at the start of its line.
      std::string_view trimmed = line.substr(std::min(line.find_first_not_of(' '), line.size()));
      if (!inLabel) {
         inLabel = line.size() > 6 && HasKeyword(line, "label ");
         continue;
      }
      if (HasKeyword(line, "label ")) {
         if (haveAppend && haveKernel) {
            break;
         }
         // The entry that ends here is incomplete: the next label starts
         // from nothing.
         Replace(kernel, nullptr);
         Replace(initrd, nullptr);
         Replace(append, nullptr);
         haveKernel = haveInitrd = haveAppend = false;
      } else if (line.size() > 7 && HasKeyword(trimmed, "kernel ")) {
         Replace(kernel, UtilSafeStrndup0(trimmed.data() + 7, trimmed.size() - 7));
         haveKernel = true;
      } else if (line.size() > 7 && HasKeyword(trimmed, "append ")) {
         SplitAppend(trimmed.substr(7), initrd, &haveInitrd, append);
         haveAppend = true;
         stop = haveKernel;
      }
   }
   return haveKernel && haveInitrd && haveAppend ? TRUE : FALSE;
}

void removeAskmethod(char **append) {
   if (append == nullptr || *append == nullptr) {
      return;
   }
   char rebuilt[kAppendMax] = "";
   unsigned int index = 0;
   while (char *token = StrUtil_GetNextToken(&index, *append, " ")) {
      if (std::strcmp(token, "askmethod") != 0) {
         Str_Strcat(rebuilt, token, sizeof rebuilt);
         Str_Strcat(rebuilt, " ", sizeof rebuilt);
      }
      std::free(token);
   }
   Replace(append, UtilSafeStrdup0(rebuilt));
}

char *FormatIsolinuxConfig(const char *kernelBase, const char *initrdBase, const char *append,
                           const char *bootOption) {
   char text[kIsolinuxConfigMax];
   Str_Sprintf(text, sizeof text,
               "default linux\n"
               "prompt 0\n"
               "timeout 1\n"
               "\n"
               "label linux\n"
               "\tkernel %s\n"
               "\tappend initrd=%s %s %s\n",
               kernelBase, initrdBase, append != nullptr ? append : "",
               bootOption != nullptr ? bootOption : "");
   return UtilSafeStrdup0(text);
}
