// main.cc --
//
//    trguest: command-line front end of libtrguest. Dispatches to one
//    subcommand; each subcommand lives in its own file and uses only the
//    public C interface.

#include <cstdio>
#include <cstring>

#include "commands.hh"

namespace {

// A command's name is one word ("detect") or two ("media linux"); *used
// receives how many arguments the name took.
const trguest_cli::Command *FindCommand(int argc, char **argv, int *used) {
   for (const trguest_cli::Command *c = trguest_cli::Commands(); c->name != nullptr; c++) {
      const char *blank = std::strchr(c->name, ' ');
      if (blank == nullptr) {
         if (std::strcmp(c->name, argv[0]) == 0) {
            *used = 1;
            return c;
         }
      } else if (argc >= 2 && std::strncmp(c->name, argv[0], blank - c->name) == 0 &&
                 argv[0][blank - c->name] == '\0' && std::strcmp(blank + 1, argv[1]) == 0) {
         *used = 2;
         return c;
      }
   }
   return nullptr;
}

void Usage(FILE *out) {
   std::fprintf(out, "usage: trguest --version\n");
   for (const trguest_cli::Command *c = trguest_cli::Commands(); c->name != nullptr; c++) {
      std::fprintf(out, "       trguest %s %s\n", c->name, c->usage);
   }
}

}  // namespace

int main(int argc, char **argv) {
   if (argc < 2) {
      Usage(stderr);
      return 64;
   }
   if (std::strcmp(argv[1], "--version") == 0) {
      std::printf("trguest %s\n", TRGUEST_VERSION);
      return 0;
   }
   if (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
      Usage(stdout);
      return 0;
   }
   int used = 0;
   const trguest_cli::Command *cmd = FindCommand(argc - 1, argv + 1, &used);
   if (cmd == nullptr) {
      std::fprintf(stderr, "trguest: unknown command '%s'\n", argv[1]);
      Usage(stderr);
      return 64;
   }
   return cmd->run(argc - 1 - used, argv + 1 + used);
}
