// ini_fuzzer.cc --
//
//    Feeds arbitrary bytes to the INI reader and writer as a file: reads a
//    value and an integer, sets a value (quoted and not) and reads it back.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include <trguest/iniutil.h>

namespace {

const std::string &ScratchPath() {
   static const std::string path = [] {
      char templ[] = "/tmp/trguest-ini-fuzz-XXXXXX";
      int fd = mkstemp(templ);
      if (fd >= 0) {
         close(fd);
      }
      return std::string(templ);
   }();
   return path;
}

void WriteAll(const std::string &path, const uint8_t *data, size_t size) {
   FILE *f = std::fopen(path.c_str(), "wb");
   if (f == nullptr) {
      std::abort();
   }
   if (size > 0 && std::fwrite(data, 1, size, f) != size) {
      std::abort();
   }
   std::fclose(f);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   const std::string &path = ScratchPath();
   WriteAll(path, data, size);

   char value[64];
   int32_t n = 0;
   IniUtil_GetIniFileString(path.c_str(), "UserData", "FullName", value, sizeof value);
   IniUtil_GetIniFileString(path.c_str(), "s", "k", value, 3);
   IniUtil_GetIniFileInt(path.c_str(), "GuiUnattended", "TimeZone", &n);

   IniUtil_WriteIniFileString(path.c_str(), "UserData", "FullName", "Jane \"J\" Doe", TRUE);
   IniUtil_WriteIniFileString(path.c_str(), "s", "k", "", FALSE);
   IniUtil_WriteIniFileInt(path.c_str(), "GuiUnattended", "TimeZone", -2147483647 - 1);
   IniUtil_GetIniFileString(path.c_str(), "UserData", "FullName", value, sizeof value);
   return 0;
}
