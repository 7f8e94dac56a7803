// scan_media_test.cc --
//
//    AutoInstall_ScanDisk and AutoInstall_ScanISO over distribution trees
//    and images built in the test: the boot directory they leave (files and
//    the new isolinux.cfg byte for byte), and the failures with the exact
//    lines ScanDisk logs.

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include <trguest/autoinstall.h>
#include <trplatform/file.h>

#include "../../iso9660/iso_craft.hh"
#include "guestInstall/linux/linuxMediaInt.h"
#include "media_builder.hh"
#include "testsupport.hh"

namespace {

using Files = std::vector<trtest::MediaFile>;
using BootFiles = std::map<std::string, std::string>;

std::string NewConfig(const std::string &kernel, const std::string &initrd,
                      const std::string &appendAndOption) {
   return "default linux\nprompt 0\ntimeout 1\n\nlabel linux\n\tkernel " + kernel +
          "\n\tappend initrd=" + initrd + " " + appendAndOption + "\n";
}

const char kKickstart[] = "ks=cdrom:/ks.cfg";
const char kPreseed[] =
   "debian-installer/custom-installation=/custom find_preseed=/preseed.cfg auto "
   "preseed/file=/floppy/preseed.cfg automatic-ubiquity noprompt priority=critical "
   "locale=en_US console-setup/modelcode=evdev";

void WriteTree(const std::string &root, const Files &files) {
   for (const auto &f : files) {
      trtest::WriteFile(root + "/" + f.path, f.contents);
   }
}

BootFiles ReadBootDir(const std::string &dir) {
   BootFiles out;
   char **names = nullptr;
   int n = File_ListDirectory(dir.c_str(), &names);
   for (int i = 0; i < n; i++) {
      out[names[i]] = trtest::ReadFile(dir + "/" + names[i]);
      free(names[i]);
   }
   free(names);
   return out;
}

struct ScanCase {
   const char *name;
   const char *guestOS;
   Files files;
   bool callerLoader;  // a loader (with its module) from the host, not the disc
   bool plainToo;      // also from an image with plain ISO 9660 names only
   BootFiles expected;
};

const std::vector<ScanCase> &ScanCases() {
   static const std::vector<ScanCase> cases = {
      // A Red Hat disc: kernel and initrd beside the configuration's
      // directory, askmethod dropped, a second label ignored.
      {"RedHatRelativeImages",
       "rhel6-64",
       {{"isolinux/isolinux.cfg",
         "default vesamenu.c32\ntimeout 600\nlabel linux\n  menu label ^Install\n"
         "  kernel ../images/vmlinuz\n  append initrd=../images/initrd.img askmethod text\n"
         "label rescue\n  kernel vmlinuz\n  append initrd=initrd.img rescue\n"},
        {"isolinux/isolinux.bin", "DISC-LOADER"},
        {"images/vmlinuz", "KERNEL"},
        {"images/initrd.img", "INITRD"}},
       false,
       true,
       {{"isolinux.cfg", NewConfig("vmlinuz", "initrd.img", std::string("text  ") + kKickstart)},
        {"isolinux.bin", "DISC-LOADER"},
        {"vmlinuz", "KERNEL"},
        {"initrd.img", "INITRD"}}},
      // An Ubuntu disc: labels in a file that isolinux.cfg includes,
      // absolute paths taken from the root (not the decoy beside the
      // configuration), askmethod kept, the loader's module copied.
      {"UbuntuIncludedLabelsAbsolutePaths",
       "ubuntu-64",
       {{"isolinux/isolinux.cfg", "include menu.cfg\ndefault vesamenu.c32\n"},
        {"isolinux/menu.cfg", "menu title Installer\ninclude txt.cfg\n"},
        {"isolinux/txt.cfg",
         "default install\nlabel install\n  menu label ^Install Ubuntu\n"
         "  kernel /install/vmlinuz\n"
         "  append  file=/cdrom/preseed/ubuntu.seed initrd=/install/initrd.gz askmethod --\n"},
        {"isolinux/isolinux.bin", "DISC-LOADER"},
        {"isolinux/ldlinux.c32", "DISC-MODULE"},
        {"isolinux/install/vmlinuz", "DECOY"},
        {"install/vmlinuz", "KERNEL"},
        {"install/initrd.gz", "INITRD"}},
       false,
       false,
       {{"isolinux.cfg",
         NewConfig("vmlinuz", "initrd.gz",
                   std::string("file=/cdrom/preseed/ubuntu.seed askmethod --  ") + kPreseed)},
        {"isolinux.bin", "DISC-LOADER"},
        {"ldlinux.c32", "DISC-MODULE"},
        {"vmlinuz", "KERNEL"},
        {"initrd.gz", "INITRD"}}},
      // The caller's loader and its module replace the disc's.
      {"CallerLoaderDeepConfig",
       "sles11",
       {{"boot/x86_64/loader/isolinux.cfg",
         "default harddisk\nlabel harddisk\n  kernel linux\nlabel linux\n  kernel linux\n"
         "  append initrd=initrd splash=silent\n"},
        {"boot/x86_64/loader/isolinux.bin", "DISC-LOADER"},
        {"boot/x86_64/loader/linux", "KERNEL"},
        {"boot/x86_64/loader/initrd", "INITRD"}},
       true,
       false,
       {{"isolinux.cfg",
         NewConfig("linux", "initrd",
                   "splash=silent  autoyast=device://fd0/autoinst.xml install=cd:/?device=sr1 "
                   "driverupdate=disk:/?device=fd0")},
        {"isolinux.bin", "CALLER-LOADER"},
        {"ldlinux.c32", "CALLER-MODULE"},
        {"linux", "KERNEL"},
        {"initrd", "INITRD"}}},
   };
   return cases;
}

TEST(ScanMedia, BuildsTheBootDirectoryFromTreeAndImage) {
   if (!trtest::CanBuild(trtest::MediaFormat::RockRidge)) {
      GTEST_SKIP() << "xorriso is not installed";
   }
   for (const ScanCase &c : ScanCases()) {
      SCOPED_TRACE(c.name);
      trtest::TempDir tmp;
      trtest::LogCapture log;
      const std::string root = tmp.file("dist");
      WriteTree(root, c.files);
      trtest::MediaSpec spec;
      spec.files = c.files;
      spec.format = trtest::MediaFormat::RockRidge;
      const std::string iso = trtest::BuildImage(tmp, spec);
      trtest::WriteFile(tmp.file("loader/isolinux.bin"), "CALLER-LOADER");
      trtest::WriteFile(tmp.file("loader/ldlinux.c32"), "CALLER-MODULE");
      const std::string loader = tmp.file("loader/isolinux.bin");
      const char *loaderArg = c.callerLoader ? loader.c_str() : nullptr;
      const std::string fromDisk = tmp.file("stage-disk"), fromIso = tmp.file("stage-iso");
      EXPECT_TRUE(AutoInstall_ScanDisk(root.c_str(), fromDisk.c_str(), c.guestOS, loaderArg));
      EXPECT_TRUE(AutoInstall_ScanISO(iso.c_str(), fromIso.c_str(), c.guestOS, loaderArg));
      EXPECT_EQ(ReadBootDir(fromDisk + "/isolinux"), c.expected);
      EXPECT_EQ(ReadBootDir(fromIso + "/isolinux"), c.expected);
      if (c.plainToo) {
         spec.format = trtest::MediaFormat::Plain;
         const std::string plain = trtest::BuildImage(tmp, spec, "plain.iso");
         const std::string fromPlain = tmp.file("stage-plain");
         EXPECT_TRUE(AutoInstall_ScanISO(plain.c_str(), fromPlain.c_str(), c.guestOS, loaderArg));
         EXPECT_EQ(ReadBootDir(fromPlain + "/isolinux"), c.expected);
      }
      EXPECT_EQ(log.text(), "");
   }
}

// A configuration already in the boot directory is replaced, not written
// over from its start with an old tail left behind.
TEST(ScanMedia, ReplacesAnOlderConfiguration) {
   trtest::TempDir tmp;
   const ScanCase &c = ScanCases()[0];
   WriteTree(tmp.file("dist"), c.files);
   trtest::WriteFile(tmp.file("stage/isolinux/isolinux.cfg"), std::string(5000, '#'));
   EXPECT_TRUE(AutoInstall_ScanDisk(tmp.file("dist").c_str(), tmp.file("stage").c_str(),
                                    c.guestOS, nullptr));
   EXPECT_EQ(trtest::ReadFile(tmp.file("stage/isolinux/isolinux.cfg")),
             c.expected.at("isolinux.cfg"));
}

// Links in a host tree are not followed: links back up the tree, listed
// before the configuration, would make the search endless.
TEST(ScanMedia, TreeLinksAreNotFollowed) {
   trtest::TempDir tmp;
   const ScanCase &c = ScanCases()[0];
   WriteTree(tmp.file("dist"), c.files);
   for (const char *link : {"a-up", "b-here", "images/c-root"}) {
      const std::string target = std::string(link) == "b-here" ? "." : "..";
      ASSERT_EQ(symlink(target.c_str(), tmp.file("dist/" + std::string(link)).c_str()), 0);
   }
   char *found = nullptr;
   EXPECT_TRUE(findFileInDisk("ISOLINUX.CFG", tmp.file("dist").c_str(), &found));
   EXPECT_EQ(std::string(found != nullptr ? found : ""), tmp.file("dist/isolinux/isolinux.cfg"));
   free(found);
   EXPECT_FALSE(findFileInDisk("absent.cfg", tmp.file("dist").c_str(), &found));
}

struct FailCase {
   const char *name;
   Files files;              // the disc; {root} and {stage} stand for the paths
   const char *stageFile;    // a file made in the staging directory first, or null
   std::vector<std::string> lines;
};

std::string Expand(std::string s, const std::string &root, const std::string &stage) {
   for (const auto &[key, value] : {std::pair<std::string, std::string>{"{root}", root},
                                    {"{stage}", stage}}) {
      for (size_t at; (at = s.find(key)) != std::string::npos;) {
         s.replace(at, key.size(), value);
      }
   }
   return s;
}

const char kGoodCfg[] = "label l\n kernel ../images/vmlinuz\n append initrd=../images/initrd.img\n";

TEST(ScanMedia, FailuresLogTheStep) {
   const std::vector<FailCase> cases = {
      {"NoConfiguration",
       {{"README", "x"}},
       nullptr,
       {"parseCfgFilesInDisk: findFileInDisk failed isolinux.cfg in \"{root}\"",
        "AutoInstall_ScanDisk: parseIsolinuxConfig failed"}},
      {"ConfigurationIsADirectory",
       {{"isolinux/ISOLINUX.CFG/x", "x"}},
       nullptr,
       {"parseCfgFilesInDisk: FileIO_Open failed pathIsolinuxCfg=\"{root}/isolinux/ISOLINUX.CFG\"",
        "AutoInstall_ScanDisk: parseIsolinuxConfig failed"}},
      {"EmptyConfiguration",
       {{"isolinux/isolinux.cfg", ""}},
       nullptr,
       {"parseCfgFilesInDisk: FileIO_Read failed",
        "AutoInstall_ScanDisk: parseIsolinuxConfig failed"}},
      {"NoCompleteEntryAnywhere",
       {{"isolinux/isolinux.cfg", "include a.cfg\n"},
        {"isolinux/a.cfg", "label a\n kernel k\n append quiet\n"},
        {"isolinux/b.CFG", kGoodCfg}},
       nullptr,
       {"AutoInstall_ScanDisk: parseIsolinuxConfig failed"}},
      {"KernelMissing",
       {{"isolinux/isolinux.cfg", kGoodCfg}, {"images/initrd.img", "I"}},
       nullptr,
       {"AutoInstall_ScanDisk: File_CopyFromNameToName failed "
        "from=\"{root}/isolinux/../images/vmlinuz\" to=\"{stage}/isolinux/vmlinuz\""}},
      {"LoaderMissing",
       {{"isolinux/isolinux.cfg", kGoodCfg}, {"images/vmlinuz", "K"}, {"images/initrd.img", "I"}},
       nullptr,
       {"AutoInstall_ScanDisk: File_CopyFromNameToName failed "
        "from=\"{root}/isolinux/isolinux.bin\" to=\"{stage}/isolinux/isolinux.bin\""}},
      {"KernelOutsideTheTree",
       {{"isolinux/isolinux.cfg", "label l\n kernel ../../secret\n append initrd=x\n"}},
       nullptr,
       {"AutoInstall_ScanDisk: path outside the distribution tree "
        "from=\"{root}/isolinux/../../secret\" to=\"{stage}/isolinux/secret\""}},
      {"StagingNotADirectory",
       {{"isolinux/isolinux.cfg", kGoodCfg}},
       "",
       {"AutoInstall_ScanDisk: File_CreateDirectoryHierarchy failed \"{stage}/isolinux\""}},
      {"ConfigurationNotWritable",
       {{"isolinux/isolinux.cfg", kGoodCfg}, {"images/vmlinuz", "K"}, {"images/initrd.img", "I"}},
       "isolinux/isolinux.cfg/x",
       {"AutoInstall_ScanDisk: FileIO_Open failed errio=2 "
        "configPath=\"{stage}/isolinux/isolinux.cfg\""}},
   };
   for (const FailCase &c : cases) {
      SCOPED_TRACE(c.name);
      trtest::TempDir tmp;
      const std::string root = tmp.file("dist"), stage = tmp.file("stage");
      WriteTree(root, c.files);
      trtest::WriteFile(tmp.file("secret"), "host file");
      if (c.stageFile != nullptr) {
         trtest::WriteFile(*c.stageFile == '\0' ? stage : stage + "/" + c.stageFile, "");
      }
      trtest::LogCapture log;
      EXPECT_FALSE(AutoInstall_ScanDisk(root.c_str(), stage.c_str(), "rhel6", nullptr));
      std::vector<std::string> want;
      for (const auto &l : c.lines) want.push_back(Expand(l, root, stage));
      EXPECT_EQ(log.lines(), want);
      EXPECT_FALSE(trtest::FileExists(stage + "/isolinux/secret"));
   }
}

// ScanISO reports the same kinds of failure by its result alone; a kernel
// value that names a directory would copy a whole tree and is refused.
TEST(ScanMedia, ImageFailuresAreQuiet) {
   if (!trtest::CanBuild(trtest::MediaFormat::RockRidge)) {
      GTEST_SKIP() << "xorriso is not installed";
   }
   const std::vector<Files> discs = {
      {{"README", "x"}},
      {{"isolinux/isolinux.cfg", "label a\n kernel k\n append quiet\n"}},
      {{"isolinux/isolinux.cfg", kGoodCfg}, {"images/initrd.img", "I"}},
      {{"isolinux/isolinux.cfg", "label l\n kernel ../images\n append initrd=../images/i\n"},
       {"images/i", "I"}},
      {{"isolinux/isolinux.cfg", kGoodCfg}, {"images/vmlinuz", "K"}, {"images/initrd.img", "I"}},
   };
   for (size_t i = 0; i < discs.size(); i++) {
      trtest::TempDir tmp;
      trtest::MediaSpec spec;
      spec.files = discs[i];
      spec.format = trtest::MediaFormat::RockRidge;
      const std::string iso = trtest::BuildImage(tmp, spec);
      trtest::LogCapture log;
      EXPECT_FALSE(AutoInstall_ScanISO(iso.c_str(), tmp.file("stage").c_str(), "rhel6", nullptr))
         << i;
      EXPECT_EQ(log.text(), "");
   }
   trtest::TempDir tmp;
   EXPECT_FALSE(AutoInstall_ScanISO(tmp.file("none.iso").c_str(), tmp.file("s").c_str(), "rhel6",
                                    nullptr));
}

// Directory records that lead back to the root, several per directory,
// would make the search on an image exponential: it ends, finding nothing.
TEST(ScanMedia, ImageDirectoryCyclesEnd) {
   trtest::TempDir tmp;
   const std::string path = tmp.file("cycles.iso");
   {
      isocraft::Image img(path, 40 * isocraft::kBlock);
      img.putBlock(16, isocraft::Descriptor(1, 18, 2048, 40, "CYCLES"));
      img.putBlock(17, isocraft::Terminator());
      std::string records = isocraft::DotRecords(18, 2048, 18, 2048);
      for (const char *name : {"A", "B", "C", "D"}) {
         records += isocraft::Record(18, 2048, 2, name);
      }
      img.putBlock(18, records);
   }
   Iso9660Image *iso = nullptr;
   ASSERT_EQ(Iso9660_Open(path.c_str(), ISO9660_FORMAT_ROCKRIDGE, 0, &iso), ISO9660_OK);
   Iso9660DirHandle dir;
   char *found = nullptr;
   EXPECT_EQ(findFileInIso(iso, "isolinux.cfg", nullptr, &dir, &found), nullptr);
   EXPECT_EQ(found, nullptr);
   Iso9660_Close(iso);
}

}  // namespace
