// install_plan.hh --
//
//    The pieces of trguest install: what the user asked for, the report of
//    what was done (text or JSON), and the two families' media builders.

#pragma once

#include <string>
#include <vector>

#include <trguest/guess.h>

namespace trguest_cli {

struct InstallRequest {
   const char *image = nullptr;
   const char *outDir = nullptr;
   const char *user = nullptr;
   const char *fullName = nullptr;
   const char *passwordFile = nullptr;      // "-" for standard input
   const char *rootPasswordFile = nullptr;
   const char *key = nullptr;
   const char *kms = nullptr;
   const char *language = nullptr;
   const char *edition = nullptr;
   const char *toolsDir = nullptr;
   const char *templatesDir = nullptr;
   const char *isolinux = nullptr;
   const char *masteringTool = nullptr;
   bool powerOff = false;
   bool json = false;
};

// Collects the steps, files and refusals of one run, printing each step as
// it happens (text mode) or everything at the end as one JSON object.
class InstallReport {
public:
   explicit InstallReport(bool json) : json_(json) {}

   void Detected(const GuessInfo &info);
   // One step and whether it worked; failed steps also print on stderr.
   bool Step(const std::string &what, bool ok);
   void Refuse(const std::string &why);
   void File(const std::string &path);
   void Command(const std::string &line);
   void Finish(const InstallRequest &req);

private:
   struct StepRecord {
      std::string what;
      bool ok;
   };
   bool json_;
   std::string guestOS_;
   std::string family_;
   std::vector<StepRecord> steps_;
   std::vector<std::string> refusals_;
   std::vector<std::string> files_;
   std::vector<std::string> commands_;
};

bool BuildLinuxMedia(const InstallRequest &req, const GuessInfo &info,
                     const std::string &password, const std::string &rootPassword,
                     InstallReport *report);
bool BuildWindowsMedia(const InstallRequest &req, const GuessInfo &info,
                       const std::string &password, InstallReport *report);

// Where the shipped templates are: --templates-dir, else share/trguest
// beside the directory of the running program (installed or build tree).
std::string TemplatesDir(const InstallRequest &req);

// A path quoted for a POSIX shell, for the printed command lines.
std::string ShellQuote(const std::string &text);

}  // namespace trguest_cli
