// commands.cc --
//
//    The table of trguest's subcommands.

#include "commands.hh"

namespace trguest_cli {

const Command *Commands() {
   static const Command table[] = {
      {"detect", "[--json] [--all] IMAGE...", RunDetect},
      {"floppy", "format IMG | add IMG FILE NAME | get IMG NAME FILE | list IMG", RunFloppy},
      {"guestos", "[--count]", RunGuestOsTable},
      {"install",
       "IMAGE --out DIR --user NAME --full-name TEXT [--password-file F | --password-stdin] ...",
       RunInstall},
      {"ini", "get FILE SECTION KEY | set FILE SECTION KEY VALUE [--quote]", RunIni},
      {"validate",
       "--family linux|windows --guest ID [--sub N] (--password|--short-name|--name) TEXT",
       RunValidate},
      {nullptr, nullptr, nullptr},
   };
   return table;
}

}  // namespace trguest_cli
