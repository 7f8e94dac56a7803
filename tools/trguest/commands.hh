// commands.hh --
//
//    The subcommands of trguest. Each is implemented in its own cmd_*.cc
//    file and listed in the table of commands.cc.

#pragma once

namespace trguest_cli {

struct Command {
   const char *name;   // one word, or two ("media linux"); NULL ends the table
   const char *usage;  // arguments, for the usage text
   int (*run)(int argc, char **argv);  // argv holds the arguments after the name
};

// The table of subcommands, ended by an entry whose name is NULL.
const Command *Commands();

// Subcommands (one cmd_<name>.cc each).
int RunAnswerFileLinux(int argc, char **argv);
int RunAnswerFileWindows(int argc, char **argv);
int RunDetect(int argc, char **argv);
int RunFloppy(int argc, char **argv);
int RunGuestOsTable(int argc, char **argv);
int RunIni(int argc, char **argv);
int RunMediaWindows(int argc, char **argv);
int RunToolsStatus(int argc, char **argv);
int RunMediaLinux(int argc, char **argv);
int RunInstall(int argc, char **argv);
int RunValidate(int argc, char **argv);
int RunToolsSave(int argc, char **argv);
int RunToolsInstallInfo(int argc, char **argv);
int RunToolsUpdateInfo(int argc, char **argv);
int RunToolsLegacyVersion(int argc, char **argv);

}  // namespace trguest_cli
