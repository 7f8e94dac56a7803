// cmd_install.cc --
//
//    trguest install IMAGE --out DIR --user NAME --full-name TEXT
//                    [--password-file F | --password-stdin] [--root-password-file F]
//                    [--key KEY] [--kms HOST] [--language L] [--edition NAME]
//                    [--tools-dir D] [--templates-dir D] [--isolinux FILE]
//                    [--mastering-tool PATH] [--poweroff] [--json]
//
//    From an installation image to the media that install it unattended:
//    detect the guest, refuse what cannot be installed unattended, validate
//    every text the user gave (nothing is written when one is refused), then
//    build the answer file and media of the guest's family into DIR. Prints
//    each step, the files made and a QEMU command line that boots a new
//    virtual machine with them; --json prints one object instead.
//
//    Exit code: 0 media built, 1 refused (unsupported guest, bad text, a step
//    failed), 2 the image cannot be read, 64 usage.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include <trguest/autoinstall.h>
#include <trguest/guess.h>

#include "cli_support.hh"
#include "commands.hh"
#include "install_plan.hh"
#include "json_out.hh"

namespace trguest_cli {

namespace {

int Usage() {
   std::fprintf(stderr,
                "usage: trguest install IMAGE --out DIR --user NAME --full-name TEXT\n"
                "         [--password-file F | --password-stdin] [--root-password-file F]\n"
                "         [--key KEY] [--kms HOST] [--language L] [--edition NAME]\n"
                "         [--tools-dir D] [--templates-dir D] [--isolinux FILE]\n"
                "         [--mastering-tool PATH] [--poweroff] [--json]\n");
   return 64;
}

// Options that take a value, and where each value goes.
struct ValueOption {
   const char *name;
   const char *InstallRequest::*field;
};

constexpr ValueOption kValueOptions[] = {
   {"--out", &InstallRequest::outDir},
   {"--user", &InstallRequest::user},
   {"--full-name", &InstallRequest::fullName},
   {"--password-file", &InstallRequest::passwordFile},
   {"--root-password-file", &InstallRequest::rootPasswordFile},
   {"--key", &InstallRequest::key},
   {"--kms", &InstallRequest::kms},
   {"--language", &InstallRequest::language},
   {"--edition", &InstallRequest::edition},
   {"--tools-dir", &InstallRequest::toolsDir},
   {"--templates-dir", &InstallRequest::templatesDir},
   {"--isolinux", &InstallRequest::isolinux},
   {"--mastering-tool", &InstallRequest::masteringTool},
};

bool ParseArguments(int argc, char **argv, InstallRequest *req) {
   for (int i = 0; i < argc; i++) {
      const char *arg = argv[i];
      if (std::strcmp(arg, "--password-stdin") == 0) {
         req->passwordFile = "-";
         continue;
      }
      if (std::strcmp(arg, "--poweroff") == 0) {
         req->powerOff = true;
         continue;
      }
      if (std::strcmp(arg, "--json") == 0) {
         req->json = true;
         continue;
      }
      bool matched = false;
      for (const ValueOption &o : kValueOptions) {
         if (std::strcmp(arg, o.name) == 0 && i + 1 < argc) {
            req->*o.field = argv[++i];
            matched = true;
            break;
         }
      }
      if (matched) {
         continue;
      }
      if (arg[0] == '-' || req->image != nullptr) {
         return false;
      }
      req->image = arg;
   }
   return req->image != nullptr && req->outDir != nullptr && req->user != nullptr &&
          req->fullName != nullptr;
}

// The texts the user typed, checked by the family's validators. Each
// refused text prints its localised message; false when any was refused.
bool ValidateTexts(const char *family, const GuessInfo &info, const InstallRequest &req,
                   const std::string &password, const std::string &rootPassword,
                   InstallReport *report) {
   struct Check {
      const char *what;
      const char *text;
      AutoInstallTextResult (*validate)(const char *, const GuessInfo *, const char *, char **);
   };
   const Check checks[] = {
      {"user name", req.user, AutoInstall_ValidateShortName},
      {"full name", req.fullName, AutoInstall_ValidateName},
      {"password", password.c_str(), AutoInstall_ValidatePassword},
      {"root password", rootPassword.c_str(), AutoInstall_ValidatePassword},
   };
   bool ok = true;
   for (const Check &c : checks) {
      char *message = nullptr;
      if (c.validate(family, &info, c.text, &message) != TEXT_OK) {
         report->Refuse(std::string("the ") + c.what + " is not accepted: " +
                        (message != nullptr ? message : "invalid text"));
         ok = false;
      }
      std::free(message);
   }
   return ok;
}

}  // namespace

int RunInstall(int argc, char **argv) {
   InstallRequest req;
   if (!ParseArguments(argc, argv, &req)) {
      return Usage();
   }
   InstallReport report(req.json);

   std::string password;
   if (req.passwordFile != nullptr) {
      std::optional<std::string> p = ReadSecret(req.passwordFile);
      if (!p) {
         return 1;
      }
      password = *p;
   }
   std::string rootPassword = password;
   if (req.rootPasswordFile != nullptr) {
      std::optional<std::string> p = ReadSecret(req.rootPasswordFile);
      if (!p) {
         return 1;
      }
      rootPassword = *p;
   }

   GuessInfo info;
   int found = Guess_Guest(req.image, 0, &info);
   if (found == GUESS_RESULT_OPEN_FAILED) {
      report.Refuse(std::string(req.image) + ": " +
                    WhyUnusable(req.image, "an ISO 9660 or UDF image"));
      report.Finish(req);
      return 2;
   }
   if (found != GUESS_RESULT_FOUND) {
      report.Refuse(std::string(req.image) + ": no operating system installer recognised");
      report.Finish(req);
      return 1;
   }
   report.Detected(info);
   if (!AutoInstall_IsSupportedGuest(&info)) {
      report.Refuse(std::string(info.guestOS) + " cannot be installed unattended");
      report.Finish(req);
      return 1;
   }
   const bool linux = AutoInstallIsSupportedLinuxGuest(&info) != FALSE;
   const char *family = linux ? "linux" : "windows";
   if (!ValidateTexts(family, info, req, password, rootPassword, &report)) {
      report.Finish(req);
      return 1;
   }

   std::error_code ec;
   std::filesystem::create_directories(req.outDir, ec);
   if (ec) {
      report.Refuse(std::string("cannot create ") + req.outDir + ": " +
                    WhyNotWritten(ec.value()));
      report.Finish(req);
      return 1;
   }
   bool ok = linux ? BuildLinuxMedia(req, info, password, rootPassword, &report)
                   : BuildWindowsMedia(req, info, password, &report);
   report.Finish(req);
   return ok ? 0 : 1;
}

}  // namespace trguest_cli
