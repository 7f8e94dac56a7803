// cmd_guestos.cc --
//
//    trguest guestos [--count]: the guest OS table, one "id name" line per
//    identifier, or only the number of identifiers.

#include <cstdio>
#include <cstring>

#include <trplatform/guestos.h>

#include "commands.hh"

namespace trguest_cli {

int RunGuestOsTable(int argc, char **argv) {
   bool countOnly = argc == 1 && std::strcmp(argv[0], "--count") == 0;
   if (argc > 1 || (argc == 1 && !countOnly)) {
      std::fprintf(stderr, "usage: trguest guestos [--count]\n");
      return 64;
   }
   int count = 0;
   for (const GuestOSListEntry *e = guestOSList; e->name != nullptr; e++) {
      if (!countOnly) {
         std::printf("0x%04X %s\n", static_cast<unsigned>(e->id), e->name);
      }
      count++;
   }
   if (countOnly) {
      std::printf("%d\n", count);
   }
   return 0;
}

}  // namespace trguest_cli
