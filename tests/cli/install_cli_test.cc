// install_cli_test.cc --
//
//    trguest install from an installation image to the media, run as a user
//    would: one guest of each Linux flavour the install front offers (Mandriva is
//    refused) and the Windows XP and 7 samples.
//    The made media are read back with the formats' own tools (mtools for
//    the floppy, xorriso for the ISO); refusals exit 1 and write nothing; an
//    unreadable image exits 2.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fat_support.hh"
#include "media_builder.hh"
#include "testsupport.hh"

namespace {

namespace fs = std::filesystem;
using trtest::MediaFile;
using trtest::MediaFormat;
using trtest::MediaSpec;

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

// A sample of scripts/samples/ as an image description, with extra files
// (the kernel and initrd stand-ins) and replaced ones.
MediaSpec Sample(const std::string &name, std::vector<MediaFile> extra) {
   const fs::path root = fs::path(TRGUEST_SOURCE_DIR) / "scripts/samples" / name / "root";
   MediaSpec spec;
   for (const MediaFile &f : extra) {
      spec.files.push_back(f);
   }
   for (const auto &entry : fs::recursive_directory_iterator(root)) {
      std::string rel = fs::relative(entry.path(), root).string();
      bool replaced = false;
      for (const MediaFile &f : extra) {
         replaced = replaced || f.path == rel;
      }
      if (entry.is_regular_file() && !replaced) {
         spec.files.push_back({rel, trtest::ReadFile(entry.path().string())});
      }
   }
   if (fs::exists(root.parent_path() / "volume")) {
      spec.volumeId = trtest::ReadFile((root.parent_path() / "volume").string());
      while (!spec.volumeId.empty() && spec.volumeId.back() == '\n') {
         spec.volumeId.pop_back();
      }
   }
   std::string format = trtest::ReadFile((root.parent_path() / "format").string());
   spec.format = format.starts_with("udf")      ? MediaFormat::UdfBridge
                 : format.starts_with("joliet") ? MediaFormat::Joliet
                                                : MediaFormat::RockRidge;
   return spec;
}

std::vector<std::string> Lines(const std::string &text) {
   std::vector<std::string> lines;
   size_t start = 0;
   for (size_t nl; (nl = text.find('\n', start)) != std::string::npos; start = nl + 1) {
      lines.push_back(text.substr(start, nl - start));
   }
   return lines;
}

// The file paths an ISO image holds, as xorriso lists them, lower case (the
// mastered image has plain ISO 9660 names only).
std::vector<std::string> IsoFiles(const std::string &iso) {
   auto r = trtest::RunCommand({"xorriso", "-indev", iso, "-find", "/", "-type", "f"});
   std::vector<std::string> files;
   for (const std::string &line : Lines(r.output)) {
      if (line.starts_with("'/")) {
         std::string path = line.substr(1, line.size() - 2);
         std::transform(path.begin(), path.end(), path.begin(), ::tolower);
         files.push_back(path);
      }
   }
   std::sort(files.begin(), files.end());
   return files;
}

// The names on a floppy image, lower case, as mtools lists them.
std::vector<std::string> FloppyFiles(const std::string &flp) {
   auto r = trtest::RunCommand({"mdir", "-b", "-i", flp, "::"});
   std::vector<std::string> files;
   for (std::string line : Lines(r.output)) {
      line = line.substr(line.find_last_of('/') + 1);
      std::transform(line.begin(), line.end(), line.begin(), ::tolower);
      files.push_back(line);
   }
   std::sort(files.begin(), files.end());
   return files;
}

class CliInstall : public ::testing::Test {
protected:
   void SetUp() override {
      FAT_REQUIRE_TOOLS();
      trtest::WriteFile(dir_.file("pw"), "s3cret-Pa55\n");
      // The product's tools, as stand-ins.
      for (const char *f : {"tarvel-tools-upgrader-32", "tarvel-tools-upgrader-64",
                            "run_upgrader.sh", "TarvelToolsUpgrader.exe", "storePwd.exe"}) {
         trtest::WriteFile(dir_.file(std::string("tools/") + f), std::string("stand-in ") + f);
      }
      // A boot loader stand-in: the mastering tool patches its boot-info
      // table, so it needs more than 64 bytes.
      trtest::WriteFile(dir_.file("isolinux.bin"), std::string(4096, '\x90'));
   }

   trtest::CommandResult Install(const std::string &image, const std::string &out,
                                 std::vector<std::string> extra = {}) {
      std::vector<std::string> args = {kTool,         "install",   image, "--out",
                                       out,           "--user",    "jdoe", "--full-name",
                                       "Jane Doe",    "--password-file", dir_.file("pw"),
                                       "--tools-dir", dir_.file("tools"), "--isolinux",
                                       dir_.file("isolinux.bin")};
      args.insert(args.end(), extra.begin(), extra.end());
      return trtest::RunCommand(args);
   }

   trtest::TempDir dir_;
};

struct LinuxCase {
   const char *name;
   const char *sample;
   std::vector<MediaFile> extra;
   std::vector<std::string> iso;     // files of autoinst.iso
   std::vector<std::string> floppy;  // files of autoinst.flp; empty: no floppy
};


MediaFile At(const std::string &path) { return {path, "stand-in " + path}; }

const std::vector<std::string> kTools = {"/upgra32", "/upgra64", "/upgrade.sh"};

std::vector<std::string> IsoWith(std::vector<std::string> files) {
   files.insert(files.end(), kTools.begin(), kTools.end());
   files.push_back("/isolinux/isolinux.bin");
   files.push_back("/isolinux/isolinux.cfg");
   std::sort(files.begin(), files.end());
   return files;
}

TEST_F(CliInstall, EachLinuxFlavourGetsItsMedia) {
   const std::string kUbuntuMenu =
      "label install\n  kernel /casper/vmlinuz\n  append initrd=/casper/initrd.gz quiet --\n";
   const LinuxCase cases[] = {
      {"RedHat", "centos5-x86_64", {At("isolinux/vmlinuz"), At("isolinux/initrd.img")},
       IsoWith({"/isolinux/vmlinuz", "/isolinux/initrd.img", "/ks.cfg"}), {}},
      {"Ubuntu", "ubuntu-10.04.4-i386",
       {At("casper/vmlinuz"), At("casper/initrd.gz"), {"isolinux/txt.cfg", kUbuntuMenu}},
       IsoWith({"/isolinux/vmlinuz", "/isolinux/initrd.gz"}), {"preseed.cfg"}},
      {"Suse", "sles11sp1-x86_64", {At("boot/x86_64/loader/linux"), At("boot/x86_64/loader/initrd")},
       IsoWith({"/isolinux/linux", "/isolinux/initrd"}), {"autoinst.xml"}},
      {"Sles10", "sles11sp1-x86_64",
       {At("boot/x86_64/loader/linux"), At("boot/x86_64/loader/initrd"),
        {"content", "PRODUCT SUSE SLES\nVERSION 10.3\n"
                    "VENDOR SUSE LINUX Products GmbH, Nuernberg, Germany\n"
                    "LABEL SUSE SLES 10.3\nARCH.x86_64 x86_64\nDEFAULTBASE x86_64\n"
                    "DESCRDIR suse/setup/descr\nDATADIR suse\n"}},
       IsoWith({"/isolinux/linux", "/isolinux/initrd"}), {"autoinst.xml"}},
   };
   for (const LinuxCase &c : cases) {
      SCOPED_TRACE(c.name);
      trtest::TempDir media;
      const std::string image = trtest::BuildImage(media, Sample(c.sample, c.extra));
      const std::string out = media.file("out");
      auto r = Install(image, out);
      ASSERT_EQ(r.exitCode, 0) << r.output;
      EXPECT_NE(r.output.find("qemu-system-x86_64 "), std::string::npos) << r.output;
      EXPECT_EQ(r.output.find("s3cret"), std::string::npos) << "the password is never printed";
      EXPECT_EQ(IsoFiles(out + "/autoinst.iso"), c.iso);
      if (c.floppy.empty()) {
         EXPECT_FALSE(trtest::FileExists(out + "/autoinst.flp"));
      } else {
         EXPECT_EQ(FloppyFiles(out + "/autoinst.flp"), c.floppy);
         fattest::ExpectFsckClean(out + "/autoinst.flp");
      }
      // Nothing but the media stays behind: no staging tree, no answer file.
      std::vector<std::string> left;
      for (const auto &e : fs::directory_iterator(out)) {
         left.push_back(e.path().filename().string());
      }
      std::sort(left.begin(), left.end());
      std::vector<std::string> made = {"autoinst.iso"};
      if (!c.floppy.empty()) {
         made.insert(made.begin(), "autoinst.flp");
      }
      EXPECT_EQ(left, made);
   }
}

TEST_F(CliInstall, WindowsGuestsGetTheirFloppy) {
   struct WindowsCase {
      const char *sample;
      std::vector<std::string> extra;
   };
   const WindowsCase cases[] = {
      {"winxp-pro", {"--key", "ABCDE-FGHIJ-KLMNO-PQRST-UVWXY"}},
      {"windows7-x64", {"--edition", "Windows 7 PROFESSIONAL", "--json"}},
   };
   for (const WindowsCase &c : cases) {
      SCOPED_TRACE(c.sample);
      trtest::TempDir media;
      const std::string image = trtest::BuildImage(media, Sample(c.sample, {}));
      const std::string out = media.file("out");
      auto r = Install(image, out, c.extra);
      ASSERT_EQ(r.exitCode, 0) << r.output;
      const std::vector<std::string> floppy = {"autoun~0.xml", "storepwd.exe", "storepwd.ini",
                                               "unattend.cmd", "upgrader.exe", "winnt.sif"};
      EXPECT_EQ(FloppyFiles(out + "/autoinst.flp"), floppy);
      fattest::ExpectFsckClean(out + "/autoinst.flp");
      EXPECT_EQ(r.output.find("s3cret"), std::string::npos);
   }
   // --json prints one object.
   trtest::TempDir media;
   auto r = Install(trtest::BuildImage(media, Sample("windows7-x64", {})), media.file("out"),
                    {"--json"});
   ASSERT_EQ(r.exitCode, 0) << r.output;
   EXPECT_TRUE(r.output.starts_with("{\"image\":")) << r.output;
   EXPECT_NE(r.output.find("\"guestOS\":\"windows7-64\",\"ok\":true"), std::string::npos)
      << r.output;
}

TEST_F(CliInstall, RefusalsWriteNothing) {
   trtest::TempDir media;
   const std::string ubuntu = trtest::BuildImage(
      media, Sample("ubuntu-10.04.4-i386", {At("casper/vmlinuz")}), "ubuntu.iso");
   const std::string solaris = trtest::BuildImage(media, Sample("solaris10", {}), "sol.iso");
   // Mandriva has an answer file, but the install front never offers it.
   const std::string mandriva =
      trtest::BuildImage(media, Sample("mandriva2010-x86_64", {}), "mandriva.iso");
   struct Refusal {
      std::vector<std::string> args;
      int exitCode;
      const char *says;
   };
   const std::string out = media.file("out");
   const Refusal refusals[] = {
      // Ubuntu user names start with a letter: the localised message.
      {{kTool, "install", ubuntu, "--out", out, "--user", "1jdoe", "--full-name", "J"}, 1,
       "user name is not accepted"},
      {{kTool, "install", solaris, "--out", out, "--user", "jdoe", "--full-name", "J"}, 1,
       "solaris10 cannot be installed unattended"},
      {{kTool, "install", mandriva, "--out", out, "--user", "jdoe", "--full-name", "J"}, 1,
       "mandriva-64 cannot be installed unattended"},
      {{kTool, "install", media.file("none.iso"), "--out", out, "--user", "jdoe",
        "--full-name", "J"},
       2, "no such file"},
      {{kTool, "install", ubuntu, "--user", "jdoe"}, 64, "usage"},
   };
   for (const Refusal &f : refusals) {
      auto r = trtest::RunCommand(f.args);
      EXPECT_EQ(r.exitCode, f.exitCode) << r.output;
      EXPECT_NE(r.output.find(f.says), std::string::npos) << r.output;
      EXPECT_FALSE(trtest::FileExists(out));
   }
}

}  // namespace
