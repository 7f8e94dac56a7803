// main.cc --
//
//    trguest: command-line front end of libtrguest. Dispatches to one
//    subcommand; each subcommand lives in its own file and uses only the
//    public C interface.

#include <cstdio>
#include <cstring>

#include "commands.hh"

namespace {

const trguest_cli::Command *FindCommand(const char *name) {
   for (const trguest_cli::Command *c = trguest_cli::Commands(); c->name != nullptr; c++) {
      if (std::strcmp(c->name, name) == 0) {
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
   const trguest_cli::Command *cmd = FindCommand(argv[1]);
   if (cmd == nullptr) {
      std::fprintf(stderr, "trguest: unknown command '%s'\n", argv[1]);
      Usage(stderr);
      return 64;
   }
   return cmd->run(argc - 2, argv + 2);
}
