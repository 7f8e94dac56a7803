// cmd_answer_file_linux.cc --
//
//    trguest answer-file linux --guest ID [--sub N|NAME] --out DIR
//        --user NAME --full-name TEXT (--password-file F | --password-stdin)
//        [--root-password-file F] [--key KEY] [--poweroff]
//
//    Writes the answer file of a Linux guest's installer into DIR and prints
//    its path. Passwords are read from a file or standard input (their first
//    line), never from the command line, where other users could see them;
//    without --root-password-file root gets the user's password. Exit 0 on
//    success, 1 with a one-line message when the file cannot be written,
//    64 for bad usage.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <trguest/autoinstall.h>
#include <trguest/guess.h>

#include "commands.hh"

namespace trguest_cli {

namespace {

int Usage() {
   std::fprintf(stderr,
                "usage: trguest answer-file linux --guest ID [--sub N|NAME] --out DIR\n"
                "           --user NAME --full-name TEXT (--password-file F | --password-stdin)\n"
                "           [--root-password-file F] [--key KEY] [--poweroff]\n");
   return 64;
}

// The first line of a stream, without its line end; false on a read error.
bool ReadFirstLine(std::FILE *f, std::string *line) {
   line->clear();
   int c;
   while ((c = std::fgetc(f)) != EOF && c != '\n') {
      line->push_back(static_cast<char>(c));
   }
   if (!line->empty() && line->back() == '\r') {
      line->pop_back();
   }
   return std::ferror(f) == 0;
}

bool ReadPasswordFile(const char *path, std::string *password) {
   std::FILE *f = std::fopen(path, "rb");
   if (f == nullptr) {
      return false;
   }
   const bool ok = ReadFirstLine(f, password);
   std::fclose(f);
   return ok;
}

// A sub-code given as its number or as its name ("GUESS_VERSION_CENTOS_6").
bool ParseSubCode(const char *text, uint32_t *sub) {
   for (uint32_t i = 0; i < GUESS_SUB_NAMES_COUNT; i++) {
      if (std::strcmp(text, SUB_NAMES[i]) == 0) {
         *sub = i;
         return true;
      }
   }
   char *end = nullptr;
   const unsigned long value = std::strtoul(text, &end, 10);
   if (end == text || *end != '\0' || value > 0xffffffffUL) {
      return false;
   }
   *sub = static_cast<uint32_t>(value);
   return true;
}

// Where the library puts the answer file of a guest, below the output
// directory (the library has refused every other guest by then).
const char *AnswerFileName(const char *guestOS) {
   const struct {
      const char *prefix, *name;
   } kFiles[] = {
      {"ubuntu", "custom/preseed.cfg"},
      {"sles", "autoinst.xml"},
      {"opensuse", "autoinst.xml"},
      {"mandriva", "auto_i~1.cfg"},
   };
   for (const auto &f : kFiles) {
      if (std::strncmp(guestOS, f.prefix, std::strlen(f.prefix)) == 0) {
         return f.name;
      }
   }
   return "ks.cfg";
}

}  // namespace

int RunAnswerFileLinux(int argc, char **argv) {
   const char *guestOS = nullptr, *outDir = nullptr, *user = nullptr, *fullName = nullptr;
   const char *passwordFile = nullptr, *rootPasswordFile = nullptr, *key = nullptr;
   bool passwordStdin = false, powerOff = false;
   uint32_t sub = 0;
   const struct {
      const char *option;
      const char **value;
   } kTextOptions[] = {
      {"--guest", &guestOS}, {"--out", &outDir}, {"--user", &user}, {"--full-name", &fullName},
      {"--password-file", &passwordFile}, {"--root-password-file", &rootPasswordFile},
      {"--key", &key},
   };
   for (int i = 0; i < argc; i++) {
      const char *arg = argv[i];
      const char *value = i + 1 < argc ? argv[i + 1] : nullptr;
      if (std::strcmp(arg, "--poweroff") == 0) {
         powerOff = true;
         continue;
      }
      if (std::strcmp(arg, "--password-stdin") == 0) {
         passwordStdin = true;
         continue;
      }
      bool known = std::strcmp(arg, "--sub") == 0 && value != nullptr && ParseSubCode(value, &sub);
      for (const auto &o : kTextOptions) {
         if (std::strcmp(arg, o.option) == 0 && value != nullptr) {
            *o.value = value;
            known = true;
         }
      }
      if (!known) {
         return Usage();
      }
      i++;
   }
   if (guestOS == nullptr || outDir == nullptr || user == nullptr || fullName == nullptr ||
       (passwordFile != nullptr) == passwordStdin) {
      return Usage();
   }

   std::string password, rootPassword;
   const bool read = passwordStdin ? ReadFirstLine(stdin, &password)
                                   : ReadPasswordFile(passwordFile, &password);
   if (!read) {
      std::fprintf(stderr, "trguest: cannot read the password from %s\n",
                   passwordStdin ? "standard input" : passwordFile);
      return 1;
   }
   if (rootPasswordFile == nullptr) {
      rootPassword = password;
   } else if (!ReadPasswordFile(rootPasswordFile, &rootPassword)) {
      std::fprintf(stderr, "trguest: cannot read the root password from %s\n", rootPasswordFile);
      return 1;
   }

   if (!AutoInstall_PrepareAnswerFileEx_Linux(guestOS, sub, outDir, user, fullName,
                                              password.c_str(), rootPassword.c_str(), key,
                                              powerOff ? TRUE : FALSE)) {
      std::fprintf(stderr, "trguest: cannot write an answer file for %s in %s\n", guestOS,
                   outDir);
      return 1;
   }
   const size_t dirLength = std::strlen(outDir);
   const bool slash = dirLength > 0 && outDir[dirLength - 1] == '/';
   std::printf("%s%s%s\n", outDir, slash ? "" : "/", AnswerFileName(guestOS));
   return 0;
}

}  // namespace trguest_cli
