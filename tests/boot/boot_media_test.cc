// boot_media_test.cc --
//
//    The Linux installation media proven the way a user would: a small
//    distribution image is built here (the host's isolinux, the host's
//    kernel, and an initrd of busybox whose init reports on the serial port
//    its kernel command line and the size and MD5 of every file on the CD
//    and the floppy), the whole flow (answer file included) builds autoinst.iso (+ autoinst.flp)
//    from it, and QEMU boots the result. The guest must see the flavour's
//    answer-file option on its command line and the very bytes staged.

#include <algorithm>
#include <dirent.h>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>

#include "testsupport.hh"

namespace {

constexpr char kIsolinuxBin[] = "/usr/lib/ISOLINUX/isolinux.bin";
constexpr char kLdlinux[] = "/usr/lib/syslinux/modules/bios/ldlinux.c32";
constexpr char kBusybox[] = "/bin/busybox";

// Modules the guest loads to read an IDE CD-ROM with ISO 9660 and a floppy
// with FAT (the host kernel builds them as modules), dependencies first.
const char *const kModules[] = {
   "drivers/scsi/scsi_common", "drivers/scsi/scsi_mod", "drivers/ata/libata",
   "drivers/ata/ata_piix",     "drivers/cdrom/cdrom",   "drivers/scsi/sr_mod",
   "fs/isofs/isofs",           "drivers/block/floppy",  "fs/fat/fat",
   "fs/fat/vfat",              "fs/nls/nls_cp437",      "fs/nls/nls_ascii",
   "fs/nls/nls_utf8",
};

// The guest's init: mounts what it finds, reports, powers off.
constexpr char kInit[] = R"INIT(#!/bin/busybox sh
/bin/busybox --install -s /bin
export PATH=/bin
mkdir -p /proc /dev /cd /fd
mount -t proc proc /proc
mount -t devtmpfs dev /dev
for m in $(cat /modules/order); do insmod /modules/$m.ko; done
echo "CMDLINE $(cat /proc/cmdline)"
i=0
while [ ! -b /dev/sr0 ] && [ $i -lt 100 ]; do sleep 0.1; i=$((i+1)); done
mount -t iso9660 -o ro /dev/sr0 /cd
mount -t vfat -o ro /dev/fd0 /fd 2>/dev/null
for f in $(find /cd /fd -type f | sort); do
  echo "FILE $f $(wc -c < $f) $(md5sum < $f | cut -d' ' -f1)"
done
echo "REPORT-END"
poweroff -f
)INIT";

// The newest kernel in /boot and its modules directory.
struct HostKernel {
   std::string image;
   std::string modules;
};

HostKernel FindKernel() {
   HostKernel k;
   DIR *d = opendir("/boot");
   if (d == nullptr) {
      return k;
   }
   std::vector<std::string> versions;
   while (dirent *e = readdir(d)) {
      std::string n = e->d_name;
      if (n.rfind("vmlinuz-", 0) == 0) versions.push_back(n.substr(8));
   }
   closedir(d);
   std::sort(versions.begin(), versions.end());
   if (!versions.empty()) {
      k.image = "/boot/vmlinuz-" + versions.back();
      k.modules = "/lib/modules/" + versions.back() + "/kernel";
   }
   return k;
}

// What is missing to boot the media here, or "".
std::string MissingForBoot(const HostKernel &k) {
   for (const char *tool : {"qemu-system-x86_64", "genisoimage", "xorriso", "cpio", "md5sum"}) {
      if (!trtest::HaveTool(tool)) return tool;
   }
   for (std::string f : {std::string(kIsolinuxBin), std::string(kLdlinux), std::string(kBusybox),
                         k.image.empty() ? std::string("/boot/vmlinuz-*") : k.image}) {
      if (!trtest::FileExists(f)) return f;
   }
   for (const char *m : kModules) {
      if (!trtest::FileExists(k.modules + "/" + m + ".ko")) return k.modules + "/" + m + ".ko";
   }
   return "";
}

void Copy(const std::string &from, const std::string &to) {
   trtest::WriteFile(to, "");
   auto r = trtest::RunCommand({"cp", from, to});
   ASSERT_EQ(r.exitCode, 0) << r.output;
}

// A newc cpio archive of busybox, the modules and the reporting init.
std::string MakeInitrd(const trtest::TempDir &tmp, const HostKernel &k) {
   const std::string root = tmp.file("initrd-root");
   Copy(kBusybox, root + "/bin/busybox");
   std::string order;
   for (const char *m : kModules) {
      std::string base = std::string(m).substr(std::string(m).rfind('/') + 1);
      Copy(k.modules + "/" + m + ".ko", root + "/modules/" + base + ".ko");
      order += base + "\n";
   }
   trtest::WriteFile(root + "/modules/order", order);
   trtest::WriteFile(root + "/init", kInit);
   EXPECT_EQ(trtest::RunCommand({"chmod", "755", root + "/init", root + "/bin/busybox"}).exitCode, 0);
   const std::string out = tmp.file("initrd.img");
   auto r = trtest::RunCommand(
      {"sh", "-c", "cd \"$0\" && find . | cpio -o -H newc --quiet > \"$1\"", root, out});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   return out;
}

// A distribution image laid out as installation discs are: the boot
// configuration in isolinux/ with a menu of labels, kernel and initrd in
// images/ beside it, and a package directory. The kernel skips its timer
// check, which an emulated machine on a busy host can fail.
std::string MakeDistribution(const trtest::TempDir &tmp, const HostKernel &k,
                             const std::string &initrd) {
   const std::string root = tmp.file("dist");
   trtest::WriteFile(root + "/isolinux/isolinux.cfg",
                     "default vesamenu.c32\n"
                     "timeout 600\n"
                     "menu title Welcome!\n"
                     "label local\n"
                     "  menu label Boot from ^local drive\n"
                     "  localboot 0xffff\n"
                     "label linux\n"
                     "  menu label ^Install or upgrade an existing system\n"
                     "  menu default\n"
                     "  kernel ../images/pxeboot/vmlinuz\n"
                     "  append initrd=../images/pxeboot/initrd.img console=ttyS0 quiet "
                     "no_timer_check askmethod\n"
                     "label rescue\n"
                     "  kernel ../images/pxeboot/vmlinuz\n"
                     "  append initrd=../images/pxeboot/initrd.img rescue\n");
   Copy(kIsolinuxBin, root + "/isolinux/isolinux.bin");
   Copy(kLdlinux, root + "/isolinux/ldlinux.c32");
   Copy(k.image, root + "/images/pxeboot/vmlinuz");
   Copy(initrd, root + "/images/pxeboot/initrd.img");
   trtest::WriteFile(root + "/Packages/README", "packages live here\n");
   const std::string iso = tmp.file("dist.iso");
   auto r = trtest::RunCommand({"xorriso", "-as", "mkisofs", "-quiet", "-R", "-J", "-V",
                                "TESTDIST", "-o", iso, root});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   return iso;
}

struct Digest {
   std::string size, md5;
   bool operator==(const Digest &) const = default;
};
using Digests = std::map<std::string, Digest>;  // guest path -> digest

std::ostream &operator<<(std::ostream &os, const Digest &d) {
   return os << d.size << " " << d.md5;
}

Digest HostDigest(const std::string &path) {
   auto r = trtest::RunCommand({"md5sum", path});
   return {std::to_string(trtest::ReadFile(path).size()), r.output.substr(0, 32)};
}

struct GuestReport {
   std::string cmdline;
   Digests files;
   bool complete = false;
   std::string console;
};

GuestReport Boot(const std::string &iso, const std::string &floppy) {
   std::vector<std::string> argv = {"timeout", "150", "qemu-system-x86_64", "-machine",
                                    "pc,accel=tcg", "-nographic", "-m", "256", "-no-reboot",
                                    "-boot", "d", "-cdrom", iso};
   if (!floppy.empty()) {
      argv.insert(argv.end(), {"-drive", "file=" + floppy + ",if=floppy,format=raw"});
   }
   GuestReport report;
   report.console = trtest::RunCommand(argv).output;
   std::istringstream lines(report.console);
   for (std::string line; std::getline(lines, line);) {
      line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
      // The console's reset sequence may stand before the first line.
      if (size_t at = line.find("CMDLINE "); at != std::string::npos) {
         report.cmdline = line.substr(at + 8);
      } else if (line.rfind("FILE ", 0) == 0) {
         std::istringstream f(line.substr(5));
         std::string path;
         Digest d;
         f >> path >> d.size >> d.md5;
         report.files[path] = d;
      } else if (line == "REPORT-END") {
         report.complete = true;
      }
   }
   return report;
}

struct Flavour {
   const char *guestOS;
   const char *bootOption;    // a part of it that must reach the kernel
   const char *answerFile;    // relative to the answer directory
   const char *answerOnGuest; // where the guest finds it
   bool answerInStaging;      // the answer directory is the staging directory
};

class BootMedia : public ::testing::TestWithParam<Flavour> {};

TEST_P(BootMedia, GuestSeesBootOptionAndStagedFiles) {
   const Flavour &fl = GetParam();
   const HostKernel kernel = FindKernel();
   if (std::string missing = MissingForBoot(kernel); !missing.empty()) {
      GTEST_SKIP() << "cannot boot media here: missing " << missing;
   }
   trtest::TempDir tmp;
   const std::string dist = MakeDistribution(tmp, kernel, MakeInitrd(tmp, kernel));
   const std::string stage = tmp.file("stage"), out = tmp.file("out");
   const std::string answers = fl.answerInStaging ? stage : tmp.file("answers");
   std::filesystem::create_directories(out);
   std::filesystem::create_directories(stage);
   trtest::WriteFile(tmp.file("tools/tarvel-tools-upgrader-32"), std::string(70000, '3'));
   trtest::WriteFile(tmp.file("tools/tarvel-tools-upgrader-64"), std::string(90000, '6'));
   trtest::WriteFile(tmp.file("tools/run_upgrader.sh"), "#!/bin/sh\n./upgra64 \"$@\"\n");

   trtest::LogCapture log;
   ASSERT_TRUE(AutoInstall_PrepareAnswerFileEx_Linux(fl.guestOS, GUESS_VERSION_UNKNOWN,
                                                     answers.c_str(), "jdoe", "Jane Doe",
                                                     "user secret", "root secret", nullptr, TRUE));
   ASSERT_TRUE(AutoInstall_AddTools_Linux(stage.c_str(), tmp.file("tools").c_str()));
   ASSERT_TRUE(AutoInstall_ScanISO(dist.c_str(), stage.c_str(), fl.guestOS, nullptr));
   ASSERT_TRUE(AutoInstall_MakeFloppyImg_Linux(answers.c_str(), out.c_str(),
                                               tmp.file("templates").c_str(), fl.guestOS));
   // What the guest must read: every staged file but the loader, which
   // mastering patches, and the boot catalog, which it makes.
   Digests expected;
   for (const char *f : {"upgra32", "upgra64", "upgrade.sh", "isolinux/isolinux.cfg",
                         "isolinux/vmlinuz", "isolinux/initrd.img", "isolinux/ldlinux.c32"}) {
      expected[std::string("/cd/") + f] = HostDigest(stage + "/" + f);
   }
   expected[fl.answerOnGuest] = HostDigest(answers + "/" + fl.answerFile);
   const std::string floppy = out + "/autoinst.flp";
   ASSERT_EQ(trtest::FileExists(floppy), !fl.answerInStaging);
   ASSERT_TRUE(AutoInstall_MasterISO(stage.c_str(), "genisoimage", out.c_str()));
   EXPECT_EQ(log.text(), "");

   GuestReport guest = Boot(out + "/autoinst.iso", fl.answerInStaging ? "" : floppy);
   ASSERT_TRUE(guest.complete) << guest.console;
   EXPECT_NE(guest.cmdline.find(fl.bootOption), std::string::npos) << guest.cmdline;
   EXPECT_NE(guest.cmdline.find("console=ttyS0 quiet no_timer_check"), std::string::npos) << guest.cmdline;
   EXPECT_EQ(guest.cmdline.find("askmethod") == std::string::npos,
             std::string(fl.guestOS).rfind("rhel", 0) == 0)
      << guest.cmdline;
   for (const auto &[path, digest] : expected) {
      auto it = guest.files.find(path);
      ASSERT_NE(it, guest.files.end()) << path << " not seen by the guest\n" << guest.console;
      EXPECT_EQ(it->second, digest) << path;
   }
   std::set<std::string> extra;
   for (const auto &[path, digest] : guest.files) {
      if (!expected.count(path)) extra.insert(path);
   }
   EXPECT_EQ(extra, (std::set<std::string>{"/cd/isolinux/boot.cat", "/cd/isolinux/isolinux.bin"}));
}

INSTANTIATE_TEST_SUITE_P(
   Flavours, BootMedia,
   ::testing::Values(
      Flavour{"rhel6-64", "ks=cdrom:/ks.cfg", "ks.cfg", "/cd/ks.cfg", true},
      Flavour{"ubuntu-64", "preseed/file=/floppy/preseed.cfg", "custom/preseed.cfg",
              "/fd/preseed.cfg", false}),
   [](const ::testing::TestParamInfo<Flavour> &p) {
      return std::string(p.param.guestOS).substr(0, 4) == "rhel" ? "RedHat" : "Ubuntu";
   });

}  // namespace
