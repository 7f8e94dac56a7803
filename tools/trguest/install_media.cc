// install_media.cc --
//
//    The media of trguest install, one builder per family, each a sequence
//    of the library's steps on a directory of the output.

#include <climits>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

#include <trguest/autoinstall.h>

#include "cli_support.hh"
#include "install_plan.hh"

namespace trguest_cli {

namespace fs = std::filesystem;

namespace {

// The directory inside the tools image (windows.iso) that holds the
// mass-storage driver for the text-mode setup of older Windows guests.
constexpr const char *kToolsIsoDriverDir = "/drivers/scsi";

const char *OrNull(const std::string &text) {
   return text.empty() ? nullptr : text.c_str();
}

const char *OrNull(const char *text) {
   return text != nullptr && text[0] != '\0' ? text : nullptr;
}

std::string Join(const std::string &dir, const char *name) {
   return (fs::path(dir) / name).string();
}

bool Exists(const std::string &path) {
   std::error_code ec;
   return fs::exists(path, ec);
}

// The mastering tool: the one given, else genisoimage or mkisofs from PATH
// (both take the mkisofs options the mastering step passes).
std::string MasteringTool(const InstallRequest &req) {
   if (req.masteringTool != nullptr) {
      return req.masteringTool;
   }
   const char *path = std::getenv("PATH");
   std::string dirs = path != nullptr ? path : "/usr/bin:/bin";
   for (const char *tool : {"genisoimage", "mkisofs"}) {
      size_t start = 0;
      while (start <= dirs.size()) {
         size_t end = dirs.find(':', start);
         std::string dir = dirs.substr(start, end == std::string::npos ? end : end - start);
         std::string candidate = Join(dir.empty() ? "." : dir, tool);
         if (access(candidate.c_str(), X_OK) == 0) {
            return candidate;
         }
         if (end == std::string::npos) {
            break;
         }
         start = end + 1;
      }
   }
   return "genisoimage";
}

// The first edition the image lists ("a?b?" -> "a"), for the image to
// install when the user names none.
std::string FirstEdition(const GuessInfo &info) {
   std::string editions(info.editions, ::strnlen(info.editions, sizeof info.editions));
   return editions.substr(0, editions.find('?'));
}

}  // namespace

std::string ShellQuote(const std::string &text) {
   std::string out = "'";
   for (char c : text) {
      if (c == '\'') {
         out += "'\\''";
      } else {
         out += c;
      }
   }
   return out + "'";
}

std::string TemplatesDir(const InstallRequest &req) {
   if (req.templatesDir != nullptr) {
      return req.templatesDir;
   }
   std::error_code ec;
   fs::path self = fs::read_symlink("/proc/self/exe", ec);
   return (self.parent_path().parent_path() / "share" / "trguest").string();
}

bool BuildLinuxMedia(const InstallRequest &req, const GuessInfo &info,
                     const std::string &password, const std::string &rootPassword,
                     InstallReport *report) {
   const std::string out = req.outDir;
   const std::string staging = Join(out, "staging");
   const bool floppy = AutoInstall_NeedsFloppy_Linux(info.guestOS) != FALSE;
   // Floppy flavours read the answer file from the floppy; the others from
   // the root of the mastered CD, so it is written into the staging tree.
   const std::string answerDir = floppy ? Join(out, "answer") : staging;
   std::error_code ec;
   fs::remove_all(staging, ec);
   fs::create_directories(answerDir, ec);

   bool ok = report->Step("answer file for " + std::string(info.guestOS),
                          AutoInstall_PrepareAnswerFileEx_Linux(
                             info.guestOS, info.subVersion, answerDir.c_str(), req.user,
                             req.fullName, password.c_str(), rootPassword.c_str(),
                             OrNull(req.key), req.powerOff ? TRUE : FALSE) != FALSE);
   if (ok) {
      ProgressLine progress("extracting the kernel and initrd", staging);
      ok = report->Step("boot directory from " + std::string(req.image),
                        AutoInstall_ScanISO(req.image, staging.c_str(), info.guestOS,
                                            OrNull(req.isolinux)) != FALSE);
   }
   if (ok && req.toolsDir != nullptr) {
      ok = report->Step("tools upgrader files from " + std::string(req.toolsDir),
                        AutoInstall_AddTools_Linux(staging.c_str(), req.toolsDir) != FALSE);
   }
   if (ok && floppy) {
      std::string templates = Join(TemplatesDir(req), "linux");
      ok = report->Step("answer floppy autoinst.flp",
                        AutoInstall_MakeFloppyImg_Linux(answerDir.c_str(), out.c_str(),
                                                        templates.c_str(),
                                                        info.guestOS) != FALSE);
      if (ok) {
         report->File(Join(out, "autoinst.flp"));
      }
   }
   if (ok) {
      std::string iso = Join(out, "autoinst.iso");
      std::string tool = MasteringTool(req);
      ProgressLine progress("mastering autoinst.iso", iso);
      ok = report->Step("boot image autoinst.iso (" + tool + ")",
                        AutoInstall_MasterISO(staging.c_str(), tool.c_str(), out.c_str()) !=
                           FALSE);
      if (ok) {
         report->File(iso);
      }
   }
   // The answer file holds password hashes (clear passwords for Mandriva):
   // once it is on the media, no copy stays behind.
   fs::remove_all(staging, ec);
   if (floppy) {
      fs::remove_all(answerDir, ec);
   }
   if (ok) {
      std::string cmd = "qemu-system-x86_64 -machine pc,accel=kvm:tcg -m 2048 -drive file=" +
                        ShellQuote(Join(out, "disk.qcow2")) + ",if=ide,index=0 -cdrom " +
                        ShellQuote(Join(out, "autoinst.iso")) + " -drive file=" +
                        ShellQuote(req.image) + ",media=cdrom,index=3" +
                        (floppy ? " -fda " + ShellQuote(Join(out, "autoinst.flp")) : "") +
                        " -boot order=d";
      report->Command("qemu-img create -f qcow2 " + ShellQuote(Join(out, "disk.qcow2")) +
                      " 20G");
      report->Command(cmd);
   }
   return ok;
}

bool BuildWindowsMedia(const InstallRequest &req, const GuessInfo &info,
                       const std::string &password, InstallReport *report) {
   const std::string out = req.outDir;
   const std::string templates = Join(TemplatesDir(req), "windows");
   const std::string tools = req.toolsDir != nullptr ? req.toolsDir : "";
   const bool storePwd = !tools.empty() && Exists(Join(tools, "storePwd.exe"));
   const std::string edition = req.edition != nullptr ? req.edition : FirstEdition(info);

   bool ok = report->Step(
      "answer files winnt.sif and autoun~0.xml for " + std::string(info.guestOS),
      AutoInstall_PrepareAnswerFileEx(
         Join(templates, "winnt.sif").c_str(), Join(templates, "autounattend.xml").c_str(),
         storePwd ? Join(templates, "storePwd.ini").c_str() : nullptr, OrNull(req.key),
         OrNull(req.kms), req.fullName, OrNull(password), info.guestOS,
         static_cast<int32_t>(info.subVersion), out.c_str(), OrNull(req.language),
         OrNull(edition), TRUE) != FALSE);
   if (!ok) {
      return false;
   }

   // The floppy takes the first-boot script and the password store from one
   // support directory: our unattend.cmd, and the product's storePwd.exe and
   // driver floppy from the tools directory.
   const std::string support = Join(out, "support");
   std::error_code ec;
   fs::create_directories(support, ec);
   fs::copy_file(Join(templates, "unattend.cmd"), Join(support, "unattend.cmd"),
                 fs::copy_options::overwrite_existing, ec);
   for (const char *name : {"storePwd.exe", "trscsi.flp"}) {
      if (!tools.empty() && Exists(Join(tools, name))) {
         fs::copy_file(Join(tools, name), Join(support, name),
                       fs::copy_options::overwrite_existing, ec);
      }
   }
   // Drivers come from the tools image, or from the driver floppy when the
   // image is absent; with neither, the floppy carries no driver.
   const std::string toolsIso = tools.empty() ? "" : Join(tools, "windows.iso");
   const bool drivers = !tools.empty() && (Exists(toolsIso) || Exists(Join(tools, "trscsi.flp")));
   const std::string upgraderDir = tools.empty() ? support : tools;
   {
      ProgressLine progress("building autoinst.flp", Join(out, "autoinst.flp"));
      ok = report->Step("answer floppy autoinst.flp" +
                           std::string(drivers ? " with mass-storage drivers" : ""),
                        AutoInstall_MakeFloppyImg(nullptr, out.c_str(),
                                                  drivers ? toolsIso.c_str() : nullptr,
                                                  drivers ? kToolsIsoDriverDir : nullptr,
                                                  upgraderDir.c_str(), support.c_str()) != FALSE);
   }
   fs::remove_all(support, ec);
   if (ok) {
      report->File(Join(out, "autoinst.flp"));
      report->Command("qemu-img create -f qcow2 " + ShellQuote(Join(out, "disk.qcow2")) +
                      " 40G");
      report->Command("qemu-system-x86_64 -machine pc,accel=kvm:tcg -m 2048 -drive file=" +
                      ShellQuote(Join(out, "disk.qcow2")) + ",if=ide,index=0 -cdrom " +
                      ShellQuote(req.image) + " -fda " +
                      ShellQuote(Join(out, "autoinst.flp")) + " -boot order=dc");
   }
   return ok;
}

}  // namespace trguest_cli
