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
      {"answer-file windows",
       "--sif T --xml T [--store-pwd T] --guest ID [--sub N] --dest DIR [--language L] "
       "[--image NAME] [--key KEY] [--kms SERVER] [--name NAME] [--password-file FILE|-] "
       "[--auto-logon]",
       RunAnswerFileWindows},
      {"detect", "[--json] [--all] IMAGE...", RunDetect},
      {"floppy", "format IMG | add IMG FILE NAME | get IMG NAME FILE | list IMG", RunFloppy},
      {"guestos", "[--count]", RunGuestOsTable},
      {"media windows",
       "--config DIR --upgrader DIR --support DIR [--template IMG] [--tools-iso ISO] "
       "[--drivers DIR]",
       RunMediaWindows},
      {"media linux",
       "--guest ID --tools DIR --answers DIR --out DIR [--templates DIR] [--loader FILE] "
       "[--mkisofs TOOL] IMAGE|TREE",
       RunMediaLinux},
      {"install",
       "IMAGE --out DIR --user NAME --full-name TEXT [--password-file F | --password-stdin] ...",
       RunInstall},
      {"ini", "get FILE SECTION KEY | set FILE SECTION KEY VALUE [--quote]", RunIni},
      {"tools status",
       "CONFIG [--guest-manifest FILE | --guest-text TEXT] [--legacy N] [--cache DIR] [--explain]",
       RunToolsStatus},
      {"tools save",
       "CONFIG [--agent FILE|null|no-tools] [--manifest FILE|null|no-tools] "
       "[--install-error N] [--update-counter N]",
       RunToolsSave},
      {"tools install-info", "CONFIG", RunToolsInstallInfo},
      {"tools update-info", "CONFIG", RunToolsUpdateInfo},
      {"tools legacy-version", "CONFIG", RunToolsLegacyVersion},
      {"validate",
       "--family linux|windows --guest ID [--sub N] (--password|--short-name|--name) TEXT",
       RunValidate},
      {nullptr, nullptr, nullptr},
   };
   return table;
}

}  // namespace trguest_cli
