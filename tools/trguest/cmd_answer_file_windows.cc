// cmd_answer_file_windows.cc --
//
//    trguest answer-file windows --sif TEMPLATE --xml TEMPLATE [--store-pwd TEMPLATE]
//       --guest ID [--sub N] --dest DIR [--language L] [--image NAME] [--key KEY]
//       [--kms SERVER] [--name FULLNAME] [--password-file FILE|-] [--auto-logon]
//
//    Writes winnt.sif, autoun~0.xml and (with --store-pwd) storePwd.ini into
//    DIR from the templates. The password is read from the first line of
//    FILE, or of standard input for "-", so that it never shows in a
//    process list. Exit 0 on success, 1 when the library refuses, 64 on a
//    usage error, 2 when the password cannot be read.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <trguest/autoinstall.h>

#include "commands.hh"

namespace trguest_cli {

namespace {

int Usage() {
   std::fprintf(stderr,
                "usage: trguest answer-file windows --sif TEMPLATE --xml TEMPLATE\n"
                "          [--store-pwd TEMPLATE] --guest ID [--sub N] --dest DIR\n"
                "          [--language L] [--image NAME] [--key KEY] [--kms SERVER]\n"
                "          [--name FULLNAME] [--password-file FILE|-] [--auto-logon]\n");
   return 64;
}

// The first line of the file (standard input for "-"), without its line end.
bool ReadPassword(const char *path, std::string *password) {
   bool useStdin = std::strcmp(path, "-") == 0;
   FILE *file = useStdin ? stdin : std::fopen(path, "r");
   if (file == nullptr) {
      return false;
   }
   int c;
   while ((c = std::fgetc(file)) != EOF && c != '\n') {
      password->push_back(static_cast<char>(c));
   }
   bool ok = !std::ferror(file);
   if (!useStdin) {
      std::fclose(file);
   }
   if (!password->empty() && password->back() == '\r') {
      password->pop_back();
   }
   return ok;
}

}  // namespace

int RunAnswerFileWindows(int argc, char **argv) {
   struct {
      const char *option;
      const char *value;
   } values[] = {
      {"--sif", nullptr},   {"--xml", nullptr},  {"--store-pwd", nullptr},
      {"--guest", nullptr}, {"--sub", nullptr},  {"--dest", nullptr},
      {"--language", nullptr}, {"--image", nullptr}, {"--key", nullptr},
      {"--kms", nullptr},   {"--name", nullptr}, {"--password-file", nullptr},
   };
   enum { SIF, XML, STORE_PWD, GUEST, SUB, DEST, LANGUAGE, IMAGE, KEY, KMS, NAME, PASSWORD_FILE };
   bool autoLogon = false;
   for (int i = 0; i < argc; i++) {
      if (std::strcmp(argv[i], "--auto-logon") == 0) {
         autoLogon = true;
         continue;
      }
      bool known = false;
      for (auto &v : values) {
         if (std::strcmp(argv[i], v.option) == 0 && i + 1 < argc && v.value == nullptr) {
            v.value = argv[++i];
            known = true;
            break;
         }
      }
      if (!known) {
         return Usage();
      }
   }
   if (values[SIF].value == nullptr || values[XML].value == nullptr ||
       values[GUEST].value == nullptr || values[DEST].value == nullptr) {
      return Usage();
   }
   int32_t subVersion = 0;
   if (values[SUB].value != nullptr) {
      char *end = nullptr;
      long n = std::strtol(values[SUB].value, &end, 10);
      if (*values[SUB].value == '\0' || *end != '\0' || n < 0 || n > INT32_MAX) {
         return Usage();
      }
      subVersion = static_cast<int32_t>(n);
   }
   std::string password;
   if (values[PASSWORD_FILE].value != nullptr &&
       !ReadPassword(values[PASSWORD_FILE].value, &password)) {
      std::fprintf(stderr, "trguest: cannot read the password from %s\n",
                   values[PASSWORD_FILE].value);
      return 2;
   }
   Bool ok = AutoInstall_PrepareAnswerFileEx(
      values[SIF].value, values[XML].value, values[STORE_PWD].value, values[KEY].value,
      values[KMS].value, values[NAME].value, password.empty() ? nullptr : password.c_str(),
      values[GUEST].value, subVersion, values[DEST].value, values[LANGUAGE].value,
      values[IMAGE].value, autoLogon ? TRUE : FALSE);
   if (!ok) {
      std::fprintf(stderr, "trguest: the answer files could not be written (see the log)\n");
      return 1;
   }
   return 0;
}

}  // namespace trguest_cli
