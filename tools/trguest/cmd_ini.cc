// cmd_ini.cc --
//
//    trguest ini get FILE SECTION KEY
//    trguest ini set FILE SECTION KEY VALUE [--quote]
//
//    get prints the value (exit 0), or nothing when the key is missing
//    (exit 1); set changes the file (exit 0). A file that cannot be read or
//    written exits 2 with a message.

#include <cstdio>
#include <cstring>

#include <trguest/iniutil.h>

#include "commands.hh"

namespace trguest_cli {

namespace {

int Usage() {
   std::fprintf(stderr, "usage: trguest ini get FILE SECTION KEY\n"
                        "       trguest ini set FILE SECTION KEY VALUE [--quote]\n");
   return 64;
}

}  // namespace

int RunIni(int argc, char **argv) {
   if (argc == 4 && std::strcmp(argv[0], "get") == 0) {
      // Values never hold a line feed, so a buffer still holding one was not
      // written: the key is missing.
      char value[1024] = "\n";
      if (!IniUtil_GetIniFileString(argv[1], argv[2], argv[3], value, sizeof value)) {
         std::fprintf(stderr, "trguest: cannot read %s\n", argv[1]);
         return 2;
      }
      if (std::strcmp(value, "\n") == 0) {
         return 1;
      }
      std::printf("%s\n", value);
      return 0;
   }
   if ((argc == 5 || argc == 6) && std::strcmp(argv[0], "set") == 0) {
      bool quote = argc == 6;
      if (quote && std::strcmp(argv[5], "--quote") != 0) {
         return Usage();
      }
      if (!IniUtil_WriteIniFileString(argv[1], argv[2], argv[3], argv[4], quote ? TRUE : FALSE)) {
         std::fprintf(stderr, "trguest: cannot set [%s] %s in %s\n", argv[2], argv[3], argv[1]);
         return 2;
      }
      return 0;
   }
   return Usage();
}

}  // namespace trguest_cli
