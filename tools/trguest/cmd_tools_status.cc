// cmd_tools_status.cc --
//
//    trguest tools status CONFIG [--guest-manifest FILE | --guest-text TEXT]
//                         [--legacy N] [--cache DIR] [--explain]
//
//    Prints the tools status of the virtual machine whose configuration file
//    is CONFIG, as its name and code ("current (3)"). The guest manifest
//    comes from FILE, from TEXT, or else from the extended configuration
//    file; N is the legacy tools version number (default: unknown, read
//    from the virtual disks). --cache sets the host manifest cache
//    directory. --explain prints the lines the computation logs (the
//    component table among them when the host manifest or the AVR file
//    switches it on) before the result; without it they are not shown.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include <trguest/toolsversion.h>

#include "commands.hh"

namespace trguest_cli {

namespace {

int Usage() {
   std::fprintf(stderr,
                "usage: trguest tools status CONFIG [--guest-manifest FILE | --guest-text TEXT]\n"
                "                            [--legacy N] [--cache DIR] [--explain]\n");
   return 64;
}

const char *StatusName(ToolsVersionStatus s) {
   static const char *const names[] = {"too old",  "supported old", "current",
                                       "supported new", "too new", "blacklisted",
                                       "no tools", "reserved version", "unknown"};
   return s >= 1 && s <= 9 ? names[s - 1] : "unrecognised";
}

bool ParseLegacy(const char *text, uint32_t *out) {
   if (*text < '0' || *text > '9') {
      return false;
   }
   errno = 0;
   char *end = nullptr;
   unsigned long long v = std::strtoull(text, &end, 0);
   if (errno != 0 || *end != '\0' || v > 0xFFFFFFFFull) {
      return false;
   }
   *out = static_cast<uint32_t>(v);
   return true;
}

}  // namespace

int RunToolsStatus(int argc, char **argv) {
   const char *config = nullptr;
   const char *guestFile = nullptr;
   const char *guestText = nullptr;
   const char *cache = nullptr;
   uint32_t legacy = 0xFFFFFFFFu;
   bool explain = false;
   for (int i = 0; i < argc; i++) {
      const char *a = argv[i];
      bool hasValue = i + 1 < argc;
      if (std::strcmp(a, "--guest-manifest") == 0 && hasValue && guestText == nullptr) {
         guestFile = argv[++i];
      } else if (std::strcmp(a, "--guest-text") == 0 && hasValue && guestFile == nullptr) {
         guestText = argv[++i];
      } else if (std::strcmp(a, "--legacy") == 0 && hasValue) {
         if (!ParseLegacy(argv[++i], &legacy)) {
            return Usage();
         }
      } else if (std::strcmp(a, "--cache") == 0 && hasValue) {
         cache = argv[++i];
      } else if (std::strcmp(a, "--explain") == 0) {
         explain = true;
      } else if (a[0] != '-' && config == nullptr) {
         config = a;
      } else {
         return Usage();
      }
   }
   if (config == nullptr) {
      return Usage();
   }

   // The library logs to TRGUEST_LOG, else to stderr. The lines go to a
   // private file that --explain prints before the result; without it they
   // are dropped.
   std::string logPath;
   if (explain) {
      const char *tmp = std::getenv("TMPDIR");
      logPath = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/trguest-log-XXXXXX";
      int fd = mkstemp(logPath.data());
      if (fd < 0) {
         std::fprintf(stderr, "trguest: cannot create a log file in %s\n", logPath.c_str());
         return 2;
      }
      close(fd);
   }
   setenv("TRGUEST_LOG", explain ? logPath.c_str() : "/dev/null", 1);
   if (cache != nullptr) {
      ToolsVersion_SetHostManifestCacheDir(cache);
   }
   ToolsVersionStatus s = ToolsVersion_GetStatus(config, guestFile, guestText, legacy);
   if (explain) {
      if (std::FILE *f = std::fopen(logPath.c_str(), "r")) {
         char buf[4096];
         size_t n;
         while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) {
            std::fwrite(buf, 1, n, stdout);
         }
         std::fclose(f);
      }
      unlink(logPath.c_str());
   }
   std::printf("%s (%u)\n", StatusName(s), static_cast<unsigned>(s));
   return 0;
}

}  // namespace trguest_cli
