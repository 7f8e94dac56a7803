// commands.cc --
//
//    The table of trguest's subcommands.

#include "commands.hh"

namespace trguest_cli {

const Command *Commands() {
   static const Command table[] = {
      {"guestos", "[--count]", RunGuestOsTable},
      {nullptr, nullptr, nullptr},
   };
   return table;
}

}  // namespace trguest_cli
