// cmd_validate.cc --
//
//    trguest validate --family linux|windows --guest ID [--sub N]
//                     (--password|--short-name|--name) TEXT
//
//    Prints the result code's name and, for a refused text, the localised
//    message. Exit 0 only for an acceptable text, 1 for a refused one.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <trguest/autoinstall.h>

#include "commands.hh"

namespace trguest_cli {

namespace {

const char *const kResultNames[] = {
   "TEXT_OK",
   "TEXT_BAD_LINUX_NAME",
   "TEXT_BAD_WINDOWS_NAME",
   "TEXT_BAD_PASSWORD_SUBSTRING",
   "TEXT_BAD_GECOS_SUBSTRING",
   "TEXT_BAD_LINUX_USERNAME",
   "TEXT_BAD_UBUNTU_USERNAME",
};

int Usage() {
   std::fprintf(stderr, "usage: trguest validate --family linux|windows --guest ID [--sub N]\n"
                        "                        (--password|--short-name|--name) TEXT\n");
   return 64;
}

}  // namespace

int RunValidate(int argc, char **argv) {
   const char *family = nullptr;
   const char *kindOption = nullptr;
   const char *text = nullptr;
   GuessInfo info;
   std::memset(&info, 0, sizeof info);
   for (int i = 0; i < argc; i++) {
      const char *arg = argv[i];
      bool hasValue = i + 1 < argc;
      if (std::strcmp(arg, "--family") == 0 && hasValue) {
         family = argv[++i];
      } else if (std::strcmp(arg, "--guest") == 0 && hasValue) {
         info.guestOS = argv[++i];
      } else if (std::strcmp(arg, "--sub") == 0 && hasValue) {
         info.subVersion = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
      } else if ((std::strcmp(arg, "--password") == 0 || std::strcmp(arg, "--short-name") == 0 ||
                  std::strcmp(arg, "--name") == 0) &&
                 hasValue && kindOption == nullptr) {
         kindOption = arg;
         text = argv[++i];
      } else {
         return Usage();
      }
   }
   // The library stops the process for an unknown family: check it here.
   if (family == nullptr || info.guestOS == nullptr || text == nullptr ||
       (std::strcmp(family, "linux") != 0 && std::strcmp(family, "windows") != 0)) {
      return Usage();
   }

   char *message = nullptr;
   AutoInstallTextResult result;
   if (std::strcmp(kindOption, "--password") == 0) {
      result = AutoInstall_ValidatePassword(family, &info, text, &message);
   } else if (std::strcmp(kindOption, "--short-name") == 0) {
      result = AutoInstall_ValidateShortName(family, &info, text, &message);
   } else {
      result = AutoInstall_ValidateName(family, &info, text, &message);
   }
   unsigned code = static_cast<unsigned>(result);
   std::printf("%s\n", code < sizeof kResultNames / sizeof kResultNames[0] ? kResultNames[code]
                                                                           : "UNKNOWN");
   if (message != nullptr) {
      std::printf("%s\n", message);
      std::free(message);
   }
   return result == TEXT_OK ? 0 : 1;
}

}  // namespace trguest_cli
