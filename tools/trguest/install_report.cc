// install_report.cc --
//
//    What trguest install did, as lines while it runs or one JSON object.

#include <cstdio>

#include "install_plan.hh"
#include "json_out.hh"

namespace trguest_cli {

void InstallReport::Detected(const GuessInfo &info) {
   guestOS_ = info.guestOS != nullptr ? info.guestOS : "";
   if (!json_) {
      std::printf("detected: %s (%s)\n", guestOS_.c_str(), Guess_GetSubString(info.subVersion));
   }
}

bool InstallReport::Step(const std::string &what, bool ok) {
   steps_.push_back({what, ok});
   if (!json_) {
      std::printf("%s %s\n", ok ? "done:  " : "FAILED:", what.c_str());
   }
   if (!ok) {
      std::fprintf(stderr, "trguest: %s failed\n", what.c_str());
   }
   return ok;
}

void InstallReport::Refuse(const std::string &why) {
   refusals_.push_back(why);
   std::fprintf(stderr, "trguest: %s\n", why.c_str());
}

void InstallReport::File(const std::string &path) {
   files_.push_back(path);
}

void InstallReport::Command(const std::string &line) {
   commands_.push_back(line);
}

void InstallReport::Finish(const InstallRequest &req) {
   bool ok = refusals_.empty();
   for (const StepRecord &s : steps_) {
      ok = ok && s.ok;
   }
   if (!json_) {
      if (!files_.empty()) {
         std::printf("files made:\n");
         for (const std::string &f : files_) {
            std::printf("  %s\n", f.c_str());
         }
      }
      if (ok && !commands_.empty()) {
         std::printf("to boot a new virtual machine with them:\n");
         for (const std::string &c : commands_) {
            std::printf("  %s\n", c.c_str());
         }
      }
      return;
   }
   JsonWriter j;
   j.BeginObject();
   j.Key("image").String(req.image != nullptr ? req.image : "");
   j.Key("guestOS").String(guestOS_);
   j.Key("ok").Bool(ok);
   j.Key("steps").BeginArray();
   for (const StepRecord &s : steps_) {
      j.BeginObject().Key("step").String(s.what).Key("ok").Bool(s.ok).EndObject();
   }
   j.EndArray();
   j.Key("refused").BeginArray();
   for (const std::string &r : refusals_) {
      j.String(r);
   }
   j.EndArray();
   j.Key("files").BeginArray();
   for (const std::string &f : files_) {
      j.String(f);
   }
   j.EndArray();
   j.Key("commands").BeginArray();
   for (const std::string &c : ok ? commands_ : std::vector<std::string>{}) {
      j.String(c);
   }
   j.EndArray();
   j.EndObject();
   std::printf("%s\n", j.text().c_str());
}

}  // namespace trguest_cli
