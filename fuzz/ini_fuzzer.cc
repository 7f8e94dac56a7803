// ini_fuzzer.cc --
//
//    Feeds arbitrary bytes to the INI reader and writer as a file: reads a
//    value and an integer, sets a value (quoted and not) and reads it back.

#include <cstdint>
#include <string>

#include <trguest/iniutil.h>

#include "fuzz_scratch.hh"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   const std::string &path = fuzz::WriteScratch("ini", data, size);

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
