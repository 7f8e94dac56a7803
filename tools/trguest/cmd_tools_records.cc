// cmd_tools_records.cc --
//
//    trguest tools save CONFIG [--agent FILE|null|no-tools] [--manifest FILE|null|no-tools]
//                              [--install-error N] [--update-counter N]
//    trguest tools install-info CONFIG
//    trguest tools update-info CONFIG
//    trguest tools legacy-version CONFIG
//
//    The guest tools' records in the extended configuration file of the
//    virtual machine whose configuration file is CONFIG, and the legacy
//    tools version of its disks. save takes the agent's document and the
//    guest manifest from files; the words null (leave the record alone) and
//    no-tools (clear it) stand for the texts "null" and "no tools".
//    install-info prints "installError=N" and "updateCounter=N";
//    update-info one line per component: name, guest version, repository
//    version ("-" when not reported) and status. Exit code 0 on success, 2
//    when the operation fails (the log says why), 64 for a usage error.

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include <trguest/toolsversion.h>

#include "commands.hh"

namespace trguest_cli {

namespace {

int Usage() {
   std::fprintf(stderr,
                "usage: trguest tools save CONFIG [--agent FILE|null|no-tools] "
                "[--manifest FILE|null|no-tools]\n"
                "                         [--install-error N] [--update-counter N]\n"
                "       trguest tools install-info CONFIG\n"
                "       trguest tools update-info CONFIG\n"
                "       trguest tools legacy-version CONFIG\n");
   return 64;
}

int Failed(const char *what, const char *config) {
   std::fprintf(stderr, "trguest: %s failed for %s\n", what, config);
   return 2;
}

// The text a --agent or --manifest argument stands for; nothing when the
// file cannot be read.
std::optional<std::string> RecordText(const char *arg) {
   if (std::strcmp(arg, "null") == 0) {
      return std::string("null");
   }
   if (std::strcmp(arg, "no-tools") == 0) {
      return std::string("no tools");
   }
   std::ifstream in(arg, std::ios::binary);
   std::ostringstream text;
   if (!in || !(text << in.rdbuf())) {
      std::fprintf(stderr, "trguest: cannot read %s\n", arg);
      return std::nullopt;
   }
   return text.str();
}

bool ParseInt32(const char *text, int32_t *out) {
   char *end = nullptr;
   errno = 0;
   long long value = std::strtoll(text, &end, 10);
   if (errno != 0 || end == text || *end != '\0' || value < INT32_MIN || value > INT32_MAX) {
      return false;
   }
   *out = static_cast<int32_t>(value);
   return true;
}

}  // namespace

int RunToolsSave(int argc, char **argv) {
   if (argc < 1 || argc % 2 != 1) {
      return Usage();
   }
   std::optional<std::string> agent;
   std::optional<std::string> manifest;
   int32_t installError = 0;
   int32_t updateCounter = 0;
   for (int i = 1; i < argc; i += 2) {
      const char *option = argv[i];
      const char *value = argv[i + 1];
      if (std::strcmp(option, "--agent") == 0 || std::strcmp(option, "--manifest") == 0) {
         std::optional<std::string> text = RecordText(value);
         if (!text) {
            return 2;
         }
         (option[2] == 'a' ? agent : manifest) = std::move(text);
      } else if (std::strcmp(option, "--install-error") == 0) {
         if (!ParseInt32(value, &installError)) {
            return Usage();
         }
      } else if (std::strcmp(option, "--update-counter") == 0) {
         if (!ParseInt32(value, &updateCounter)) {
            return Usage();
         }
      } else {
         return Usage();
      }
   }
   if (!ToolsVersion_SaveXmlInfo(argv[0], agent ? agent->c_str() : nullptr,
                                 manifest ? manifest->c_str() : nullptr, installError,
                                 updateCounter)) {
      return Failed("save", argv[0]);
   }
   return 0;
}

int RunToolsInstallInfo(int argc, char **argv) {
   if (argc != 1) {
      return Usage();
   }
   int32_t installError = 0;
   int32_t updateCounter = 0;
   if (!ToolsVersion_GetInstallInfo(argv[0], &installError, &updateCounter)) {
      return Failed("install-info", argv[0]);
   }
   std::printf("installError=%d\nupdateCounter=%d\n", static_cast<int>(installError),
               static_cast<int>(updateCounter));
   return 0;
}

int RunToolsUpdateInfo(int argc, char **argv) {
   if (argc != 1) {
      return Usage();
   }
   ToolsUpdateInfo *infos = nullptr;
   int32_t count = 0;
   if (!ToolsVersion_GetUpdateInfo(argv[0], &infos, &count)) {
      return Failed("update-info", argv[0]);
   }
   for (int32_t i = 0; i < count; i++) {
      const ToolsUpdateInfo &r = infos[i];
      std::printf("%s %s %s %d\n", r.component, r.guestVersion ? r.guestVersion : "-",
                  r.repoVersion ? r.repoVersion : "-", static_cast<int>(r.status));
   }
   ToolsVersion_FreeUpdateInfo(infos, count);
   return 0;
}

int RunToolsLegacyVersion(int argc, char **argv) {
   if (argc != 1) {
      return Usage();
   }
   uint32_t version = 0;
   if (!ToolsVersion_GetLegacyVersionNumber(argv[0], &version)) {
      return Failed("legacy-version", argv[0]);
   }
   std::printf("%u\n", static_cast<unsigned>(version));
   return 0;
}

}  // namespace trguest_cli
