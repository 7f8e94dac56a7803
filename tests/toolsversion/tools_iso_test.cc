// tools_iso_test.cc --
//
//    Tools ISO images: the image chosen for each guest OS family, the paths
//    of the image, its AVR file and its cache file, extraction of
//    "manifest.txt" from images of every mastering tool and name space, and
//    the rebuild of the host manifest cache.

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/toolsversion.h>
#include <trplatform/file.h>
#include <trplatform/guestos.h>

#include "media_builder.hh"
#include "testsupport.hh"
#include "tools_support.hh"

namespace {

using trtest::TempDir;

struct IsoPaths {
   bool ok = false;
   std::string image, dir, base;
   uint32_t format = 0;
};

IsoPaths ToolsIsoPath(const char *config, const char *imageName) {
   char *image = nullptr, *dir = nullptr, *base = nullptr;
   IsoPaths out;
   out.ok = GetToolsIsoPath(config, imageName, &image, &dir, &base, &out.format);
   if (out.ok) {
      out.image = image;
      out.dir = dir;
      out.base = base;
   } else {
      EXPECT_TRUE(image == nullptr && dir == nullptr && base == nullptr);
   }
   std::free(image);
   std::free(dir);
   std::free(base);
   return out;
}

// Restores the default library directory and the cache setting.
struct ToolsSettings {
   ToolsSettings() = default;
   ToolsSettings(const ToolsSettings &) = delete;
   ToolsSettings &operator=(const ToolsSettings &) = delete;
   ~ToolsSettings() {
      toolsDefaultLibDir = "/usr/lib/tarvel";
      ToolsVersion_SetHostManifestCacheDir(nullptr);
   }
};

TEST(ToolsIsoPath, ImageByGuestOSFamily) {
   const struct {
      int id;           // the identifier is taken from the guest OS table
      const char *image;
      uint32_t format;
   } cases[] = {
      {0x5004, "winPre2k", 2}, {0x5006, "winPre2k", 2}, {0x5007, "windows", 2},
      {0x5016, "windows", 2},  {0x501A, "linux", 4},    {0x5026, "linux", 4},
      {0x503D, "linux", 4},    {0x502E, "solaris", 4},  {0x503B, "netware", 4},
      {0x502A, "freebsd", 4},  {0x5050, nullptr, 0},    {0x5001, nullptr, 0},
   };
   TempDir dir;
   for (const auto &c : cases) {
      const char *name = GuestOS_GetNameByID(c.id);
      ASSERT_NE(name, nullptr) << std::hex << c.id;
      std::string config = dir.file("vm.cfg");
      trtest::WriteFile(config, std::string("guestOS = \"") + name + "\"\n");
      trtest::LogCapture log;
      IsoPaths p = ToolsIsoPath(config.c_str(), nullptr);
      EXPECT_TRUE(log.lines().empty()) << name;
      ASSERT_EQ(p.ok, c.image != nullptr) << name;
      if (p.ok) {
         EXPECT_EQ(p.base, c.image) << name;
         EXPECT_EQ(p.image, std::string("/usr/lib/tarvel/isoimages/") + c.image + ".iso") << name;
         EXPECT_EQ(p.format, c.format) << name;
      }
   }
}

TEST(ToolsIsoPath, ConfigurationAndCachePaths) {
   TempDir dir;
   ToolsSettings restore;
   const struct {
      const char *config;   // NULL: no configuration file
      const char *imageName;
      const char *cacheDir;
      bool ok;
      const char *image, *avr, *cache, *log;
   } cases[] = {
      {"guestOS = \"UBUNTU-64\"\nlibdir = \"/opt/x\"\n", nullptr, nullptr, true,
       "/opt/x/isoimages/linux.iso", "/opt/x/isoimages/linux_avr_manifest.txt", nullptr, nullptr},
      {"guestOS = \"winXPPro\"\n", nullptr, "/var/cache/t", true,
       "/usr/lib/tarvel/isoimages/windows.iso",
       "/usr/lib/tarvel/isoimages/windows_avr_manifest.txt",
       "/var/cache/t/windows_manifest.txt", nullptr},
      {"libdir = \"/opt/x\"\n", "netware.iso", nullptr, true, "/opt/x/isoimages/netware.iso",
       "/opt/x/isoimages/netware_avr_manifest.txt", nullptr, nullptr},
      {nullptr, "my.tools.iso", "/c", true, "/usr/lib/tarvel/isoimages/my.tools.iso",
       "/usr/lib/tarvel/isoimages/my.tools_avr_manifest.txt", "/c/my.tools_manifest.txt", nullptr},
      {nullptr, "noext", nullptr, true, "/usr/lib/tarvel/isoimages/noext",
       "/usr/lib/tarvel/isoimages/noext_avr_manifest.txt", nullptr, nullptr},
      {"libdir = \"/opt/x\"\n", nullptr, nullptr, false, nullptr, nullptr, nullptr, nullptr},
      {"guestOS = \"nosuchos\"\n", nullptr, nullptr, false, nullptr, nullptr, nullptr, nullptr},
      {"guestOS = \"ubuntu\n", nullptr, nullptr, false, nullptr, nullptr, nullptr,
       "Error loading dictionary for trx config file: "},
   };
   for (const auto &c : cases) {
      std::string config = dir.file("vm.cfg");
      if (c.config != nullptr) {
         trtest::WriteFile(config, c.config);
      }
      ToolsVersion_SetHostManifestCacheDir(c.cacheDir);
      trtest::LogCapture log;
      IsoPaths p = ToolsIsoPath(c.config != nullptr ? config.c_str() : nullptr, c.imageName);
      std::string what = c.config != nullptr ? c.config : c.imageName;
      if (c.log == nullptr) {
         EXPECT_TRUE(log.lines().empty()) << what;
      } else {
         ASSERT_EQ(log.lines().size(), 1u) << what;
         EXPECT_EQ(log.lines()[0].rfind(c.log, 0), 0u) << log.text();
      }
      ASSERT_EQ(p.ok, c.ok) << what;
      if (!p.ok) {
         continue;
      }
      EXPECT_EQ(p.image, c.image);
      EXPECT_EQ(p.image.rfind(p.dir + "/" + p.base, 0), 0u) << p.image;
      char *avr = nullptr, *cache = nullptr;
      GetManifestPaths(p.dir.c_str(), p.base.c_str(), &avr, &cache);
      EXPECT_STREQ(avr, c.avr);
      EXPECT_STREQ(cache, c.cache);
      std::free(avr);
      std::free(cache);
   }
}

// Images of "manifest.txt" made by both mastering tools in every name space.
std::vector<std::vector<std::string>> ImageCommands() {
   std::vector<std::vector<std::string>> out;
   if (trtest::HaveTool("xorriso")) {
      for (std::vector<std::string> opts : std::vector<std::vector<std::string>>{
              {"--norock"}, {"--norock", "-J"}, {"-R"}, {"-R", "-J"}}) {
         std::vector<std::string> cmd = {"xorriso", "-as", "mkisofs", "-quiet"};
         cmd.insert(cmd.end(), opts.begin(), opts.end());
         out.push_back(cmd);
      }
   }
   if (trtest::HaveTool("genisoimage")) {
      for (std::vector<std::string> opts :
           std::vector<std::vector<std::string>>{{}, {"-J"}, {"-R"}, {"-J", "-R"}}) {
         std::vector<std::string> cmd = {"genisoimage", "-quiet", "-input-charset", "utf-8"};
         cmd.insert(cmd.end(), opts.begin(), opts.end());
         out.push_back(cmd);
      }
   }
   return out;
}

std::string MakeImage(const TempDir &dir, std::vector<std::string> cmd, const std::string &name,
                      const std::string &manifest) {
   std::string stage = dir.file("stage-" + name);
   trtest::WriteFile(stage + "/manifest.txt", manifest);
   trtest::WriteFile(stage + "/other/readme.txt", "x");
   std::string out = dir.file(name);
   cmd.insert(cmd.end(), {"-o", out, stage});
   trtest::CommandResult r = trtest::RunCommand(cmd);
   EXPECT_EQ(r.exitCode, 0) << r.output;
   return out;
}

TEST(ExtractIsoManifest, EveryToolAndNameSpace) {
   auto commands = ImageCommands();
   if (commands.empty()) {
      GTEST_SKIP() << "neither xorriso nor genisoimage installed";
   }
   TempDir dir;
   const std::string manifest = "monolithic.version = \"9.4.5\"\n";
   for (size_t i = 0; i < commands.size(); i++) {
      std::string image = MakeImage(dir, commands[i], "t" + std::to_string(i) + ".iso", manifest);
      for (uint32_t format : {2u, 4u}) {
         std::string dest = dir.file("out" + std::to_string(i) + "-" + std::to_string(format));
         EXPECT_TRUE(ExtractIsoManifest(dest.c_str(), image.c_str(), format))
            << commands[i][0] << " " << commands[i].back() << " format " << format;
         EXPECT_EQ(trtest::ReadFile(dest), manifest);
      }
   }
}

TEST(ExtractIsoManifest, FailureLeavesTheOldFileWhole) {
   if (!trtest::HaveTool("xorriso")) {
      GTEST_SKIP() << "xorriso not installed";
   }
   TempDir dir;
   TempDir cache;
   trtest::MediaSpec spec;
   spec.files = {{"readme.txt", "no manifest here"}};
   std::string noManifest = trtest::BuildImage(dir, spec, "empty.iso");
   std::string notAnImage = dir.file("junk.iso");
   trtest::WriteFile(notAnImage, std::string(64 * 1024, 'j'));
   const struct {
      std::string image;
      const char *log;
   } cases[] = {
      {dir.file("missing.iso"), "Failed to open tools ISO image."},
      {notAnImage, "Failed to open tools ISO image."},
      {noManifest, "Failed to extract version file from tools ISO image."},
   };
   std::string dest = cache.file("linux_manifest.txt");
   for (const auto &c : cases) {
      trtest::WriteFile(dest, "old");
      trtest::LogCapture log;
      EXPECT_FALSE(ExtractIsoManifest(dest.c_str(), c.image.c_str(), 4)) << c.image;
      EXPECT_EQ(log.lines(), std::vector<std::string>{c.log});
      EXPECT_EQ(trtest::ReadFile(dest), "old");
      EXPECT_EQ(File_ListDirectory(cache.path().c_str(), nullptr), 1) << "temporary file left";
   }
}

TEST(HostManifestCache, RebuildKeepsOneFilePerPresentImage) {
   if (!trtest::HaveTool("xorriso")) {
      GTEST_SKIP() << "xorriso not installed";
   }
   TempDir lib;
   TempDir cache;
   ToolsSettings restore;
   toolsDefaultLibDir = lib.path().c_str();
   std::vector<std::string> present = {"windows", "linux", "freebsd", "solaris", "netware"};
   ASSERT_TRUE(File_CreateDirectory(lib.file("isoimages").c_str()));
   for (const std::string &base : present) {
      MakeImage(lib, {"xorriso", "-as", "mkisofs", "-quiet", "-R", "-J"},
                "isoimages/" + base + ".iso", base + ".version = \"1\"\n");
   }
   // Stale files from an earlier rebuild: the missing image's must go.
   trtest::WriteFile(cache.file("winPre2k_manifest.txt"), "stale");
   trtest::WriteFile(cache.file("linux_manifest.txt"), "stale");

   trtest::LogCapture log;
   ToolsVersion_InitHostManifestCache(cache.path().c_str());
   EXPECT_EQ(log.lines(), std::vector<std::string>{"Failed to open tools ISO image."});
   EXPECT_STREQ(hostManifestCacheDir, cache.path().c_str());
   char **names = nullptr;
   int n = File_ListDirectory(cache.path().c_str(), &names);
   std::vector<std::string> listed(names, names + (n > 0 ? n : 0));
   for (int i = 0; i < n; i++) {
      std::free(names[i]);
   }
   std::free(names);
   EXPECT_EQ(listed, (std::vector<std::string>{"freebsd_manifest.txt", "linux_manifest.txt",
                                               "netware_manifest.txt", "solaris_manifest.txt",
                                               "windows_manifest.txt"}));
   for (const std::string &base : present) {
      EXPECT_EQ(trtest::ReadFile(cache.file(base + "_manifest.txt")),
                base + ".version = \"1\"\n");
   }
}

}  // namespace
