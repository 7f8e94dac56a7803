// commands.cc --
//
//    The table of trguest's subcommands.

#include "commands.hh"

namespace trguest_cli {

const Command *Commands() {
   static const Command table[] = {
      {"answer-file linux",
       "--guest ID [--sub N|NAME] --out DIR --user NAME --full-name TEXT "
       "(--password-file F | --password-stdin) [--root-password-file F] [--key KEY] [--poweroff]",
       RunAnswerFileLinux},
      {"detect", "[--json] [--all] IMAGE...", RunDetect},
      {"floppy", "format IMG | add IMG FILE NAME | get IMG NAME FILE | list IMG", RunFloppy},
      {"guestos", "[--count]", RunGuestOsTable},
      {"media linux",
       "--guest ID --tools DIR --answers DIR --out DIR [--templates DIR] [--loader FILE] "
       "[--mkisofs TOOL] IMAGE|TREE",
       RunMediaLinux},
      {"ini", "get FILE SECTION KEY | set FILE SECTION KEY VALUE [--quote]", RunIni},
      {"validate",
       "--family linux|windows --guest ID [--sub N] (--password|--short-name|--name) TEXT",
       RunValidate},
      {nullptr, nullptr, nullptr},
   };
   return table;
}

}  // namespace trguest_cli
