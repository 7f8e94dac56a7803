// tools_status_test.cc --
//
//    The tools status: the comparison over small host, AVR and guest
//    manifests with the reason it logs, the component table and result
//    logs, the fallbacks of ToolsVersion_GetStatus, and a seeded randomised
//    comparison against a reference written from the status rules.

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/toolsversion.h>
#include <trplatform/file.h>

#include "media_builder.hh"
#include "testsupport.hh"
#include "tools_support.hh"
#include "toolsversion/toolsStatusInt.h"

namespace {

using trtest::TempDir;

// A virtual machine whose Linux tools image has its host manifest in the
// cache (the image itself need not exist) and, when given, an AVR file.
class StatusEnv {
public:
   StatusEnv() : tmp_("TMPDIR", root_.file("tmp").c_str()) {
      trtest::WriteFile(root_.file("tmp/.keep"), "");
      trtest::WriteFile(config(), "guestOS = \"ubuntu-64\"\nlibdir = \"" + root_.file("lib") +
                                     "\"\nextendedConfigFile = \"vm.xml\"\n");
      ToolsVersion_SetHostManifestCacheDir(root_.file("cache").c_str());
   }
   ~StatusEnv() { ToolsVersion_SetHostManifestCacheDir(nullptr); }
   StatusEnv(const StatusEnv &) = delete;
   StatusEnv &operator=(const StatusEnv &) = delete;

   std::string config() const { return root_.file("vm.cfg"); }
   std::string file(const std::string &name) const { return root_.file(name); }

   void setManifests(const std::string &host, const char *avr) {
      trtest::WriteFile(root_.file("cache/linux_manifest.txt"), host);
      std::string avrPath = root_.file("lib/isoimages/linux_avr_manifest.txt");
      if (avr != nullptr) {
         trtest::WriteFile(avrPath, avr);
      } else {
         std::remove(avrPath.c_str());
      }
   }

   // The comparison proper over a guest manifest text.
   ToolsVersionStatus compare(const std::string &guest) {
      Dictionary *dict = Dictionary_Create();
      EXPECT_TRUE(Dictionary_LoadFromBuffer(dict, guest.c_str(), 0)) << guest;
      ToolsVersionStatus s = ToolsVersionGetStatus(config().c_str(), nullptr, dict);
      Dictionary_Free(dict);
      return s;
   }

   // Whether the working copies are all gone.
   bool noWorkingCopy() const {
      std::string dir = root_.file("tmp/trguest-" + std::to_string(getuid()));
      return File_ListDirectory(dir.c_str(), nullptr) <= 0;
   }

private:
   TempDir root_;
   trtest::ScopedEnv tmp_;
};

std::string ReasonLine(const std::vector<std::string> &lines) {
   std::string reason;
   for (const std::string &l : lines) {
      if (l.rfind("ToolsVersion: Status is ", 0) == 0) {
         EXPECT_TRUE(reason.empty()) << "two reasons: " << reason << " / " << l;
         reason = l.substr(std::string("ToolsVersion: Status is ").size());
      }
   }
   return reason;
}

struct CompareCase {
   const char *name;
   const char *host;
   const char *avr;      // NULL: no AVR file
   const char *guest;
   ToolsVersionStatus status;
   const char *reason;   // after "ToolsVersion: Status is "; "" for none
};

void PrintTo(const CompareCase &c, std::ostream *os) { *os << c.name; }

class StatusCompare : public ::testing::TestWithParam<CompareCase> {};

TEST_P(StatusCompare, FoldsTheComponents) {
   const CompareCase &c = GetParam();
   StatusEnv env;
   env.setManifests(c.host, c.avr);
   trtest::LogCapture log;
   EXPECT_EQ(env.compare(c.guest), c.status);
   EXPECT_EQ(ReasonLine(log.lines()), c.reason);
   EXPECT_TRUE(env.noWorkingCopy());
}

#define T(name, version) name ".version = \"" version "\"\n" name ".installed = \"TRUE\"\n"

const CompareCase kCompareCases[] = {
   {"threeHostPartsCurrent", "tools.version = \"9.0.1.100\"\n", nullptr, T("tools", "9.0.1.200"),
    TOOLS_STATUS_CURRENT, ""},
   {"fourHostPartsSupportedNew", "tools.version = \"9.0.1.100#4\"\n", nullptr,
    T("tools", "9.0.1.200"), TOOLS_STATUS_SUPPORTED_NEW,
    "supported new because this is status of tools."},
   {"noAvrOlderIsTooOld", "a.version = \"9.0.2\"\nb.version = \"1\"\n", nullptr,
    T("a", "9.0.1") T("b", "0.9"), TOOLS_STATUS_TOO_OLD,
    "too old because this is status of a and b."},
   {"avrMinAllowsOlder", "tools.version = \"9.0.2\"\n", "tools.version = \"9.0\"\n",
    T("tools", "9.0.1"), TOOLS_STATUS_SUPPORTED_OLD,
    "supported old because this is status of tools."},
   {"avrMinItselfIsInBounds", "tools.version = \"9.0.2\"\n", "tools.version = \"9.0.1#3\"\n",
    T("tools", "9.0.1.7"), TOOLS_STATUS_SUPPORTED_OLD,
    "supported old because this is status of tools."},
   {"avrMaxTooNew", "tools.version = \"9.0\"\n", "tools.version_max = \"9.1#2\"\n",
    T("tools", "9.2.0"), TOOLS_STATUS_TOO_NEW, "too new because this is status of tools."},
   {"avrMaxPrecision", "tools.version = \"9.0\"\n", "tools.version_max = \"9.1#2\"\n",
    T("tools", "9.1.9"), TOOLS_STATUS_SUPPORTED_NEW,
    "supported new because this is status of tools."},
   {"blacklistOverTwoParts", "tools.version = \"1.3\"\n", "tools.version_illegal = \"1.2#2\"\n",
    T("tools", "1.2.7.9"), TOOLS_STATUS_BLACKLISTED,
    "blacklisted because this is status of tools."},
   {"blacklistMisses", "tools.version = \"1.3\"\n", "tools.version_illegal = \"1.2#2\"\n",
    T("tools", "1.3.0.0"), TOOLS_STATUS_CURRENT, ""},
   {"blacklistAbsentMatchesAll", "tools.version = \"1.3\"\n",
    "tools.version_illegal = \"7,1#0\"\n", T("tools", "1.3"), TOOLS_STATUS_BLACKLISTED,
    "blacklisted because this is status of tools."},
   {"blacklistBeforeTooOld", "a.version = \"2\"\nb.version = \"2\"\n",
    "a.version = \"2\"\nb.version_illegal = \"1\"\n", T("a", "1") T("b", "1"),
    TOOLS_STATUS_BLACKLISTED, "blacklisted because this is status of b."},
   {"notInstalledDoesNotCount", "tools.version = \"9\"\n", nullptr,
    "tools.version = \"1\"\ntools.installed = \"FALSE\"\n", TOOLS_STATUS_CURRENT, ""},
   {"installedMissingMeansNot", "tools.version = \"9\"\n", nullptr, "tools.version = \"1\"\n",
    TOOLS_STATUS_CURRENT, ""},
   {"guestOnlyComponentIsAdditional", "a.version = \"1\"\n", nullptr,
    T("a", "1") T("extra", "0.1") "virtualHW.version = \"8\"\n", TOOLS_STATUS_CURRENT, ""},
   {"hostOnlyComponentIsMissing", "a.version = \"1\"\nb.version = \"1\"\n", nullptr, T("a", "1"),
    TOOLS_STATUS_CURRENT, ""},
   {"noComponentsAtAll", "monolithic.version = \"9\"\na.version = \"1\"\n", nullptr, "# none\n",
    TOOLS_STATUS_CURRENT, ""},
   {"monolithicSupportedOldNothingMissing", "monolithic.version = \"9.2\"\na.version = \"1\"\n",
    "monolithic.version = \"9.0\"\n", "monolithic.version = \"9.1\"\n" T("a", "1"),
    TOOLS_STATUS_CURRENT, ""},
   {"monolithicSupportedOldOneMissing",
    "monolithic.version = \"9.2\"\na.version = \"1\"\nb.version = \"1\"\n",
    "monolithic.version = \"9.0\"\n", "monolithic.version = \"9.1\"\n" T("a", "1"),
    TOOLS_STATUS_SUPPORTED_OLD,
    "supported old because this is status of monolithic version, and b is missing from the "
    "guest."},
   {"monolithicSupportedNewThreeMissing",
    "monolithic.version = \"9.2#2\"\na.version = \"1\"\nb.version = \"1\"\nc.version = \"1\"\n",
    nullptr, "monolithic.version = \"9.3\"\n", TOOLS_STATUS_SUPPORTED_NEW,
    "supported new because this is status of monolithic version, and a and 2 more components are "
    "missing from the guest."},
   {"monolithicTooOldWithComponents",
    "monolithic.version = \"9\"\na.version = \"2\"\nb.version = \"2\"\nc.version = \"2\"\n",
    nullptr, "monolithic.version = \"8\"\n" T("a", "1") T("b", "1") T("c", "3"),
    TOOLS_STATUS_TOO_OLD,
    "too old because this is status of monolithic version and 2 more components."},
   {"upgraderStandsInForMonolithic", "monolithic.version = \"8.6\"\n", nullptr,
    "upgrader.version = \"8.5\"\n", TOOLS_STATUS_TOO_OLD,
    "too old because this is status of monolithic version."},
   {"upgraderOnlyWhenMonolithicAbsent", "monolithic.version = \"8.6\"\n", nullptr,
    "monolithic.version = \"8.6\"\nupgrader.version = \"8.5\"\n", TOOLS_STATUS_CURRENT, ""},
   {"legacyFillsMonolithic", "legacy.version = \"9.0\"\n", nullptr, "monolithic.version = \"8\"\n",
    TOOLS_STATUS_TOO_OLD, "too old because this is status of monolithic version."},
   {"corruptAvrIgnored", "tools.version = \"9.0.2\"\n", "tools.version = \"9.0\n",
    T("tools", "9.0.1"), TOOLS_STATUS_TOO_OLD, "too old because this is status of tools."},
};

#undef T

INSTANTIATE_TEST_SUITE_P(Manifests, StatusCompare, ::testing::ValuesIn(kCompareCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(StatusLog, ComponentTableAndResult) {
   StatusEnv env;
   env.setManifests("components.log = \"TRUE\"\nresult.log = \"TRUE\"\n"
                    "monolithic.version = \"9.2.0\"\na.version = \"1.0\"\nb.version = \"2.0#4\"\n"
                    "c.version = \"3.0\"\n"
                    "e.version = \"1\"\nf.version = \"1\"\ng.version = \"1\"\n",
                    "monolithic.version = \"9.0\"\na.version_illegal = \"0.9,0.8#2\"\n"
                    "b.version_max = \"2.5\"\nb.version_log = \"1\"\n");
   trtest::LogCapture log;
   EXPECT_EQ(env.compare("monolithic.version = \"9.1\"\n"
                         "a.version = \"1.0\"\na.installed = \"TRUE\"\n"
                         "b.version = \"2.0.0.1\"\nb.installed = \"TRUE\"\n"
                         "d.version = \"5\"\nd.installed = \"TRUE\"\n"
                         "e.version = \"1\"\ne.installed = \"TRUE\"\n"
                         "f.version = \"1\"\nf.installed = \"TRUE\"\n"),
             TOOLS_STATUS_SUPPORTED_OLD);
   const std::vector<std::string> expected = {
      "GetHostManifests: Extracting the manifest file.",
      "GetHostManifests: Done extracting the manifest file.",
      "ToolsVersionGetStatus:",
      "ToolsVersion: Unknown entry: b.version_log = 1",
      "ToolsVersion: Component               : Status      Guest            I Host             "
      "AVR Min          AVR Max          AVR Illegal",
      "ToolsVersion: monolithic              : supported o 9.1.0.0          Y 9.2.0.0          "
      "9.0.0.0                           ",
      "ToolsVersion: a                       : current     1.0.0.0          Y 1.0.0.0          "
      "                                  0.9.0.0, 0.8.0.0#2",
      "ToolsVersion: b                       : supported n 2.0.0.1          Y 2.0.0.0#4        "
      "                 2.5.0.0          ",
      "ToolsVersion: c                       : missing fro                  N 3.0.0.0          "
      "                                  ",
      "ToolsVersion: e                       : current     1.0.0.0          Y 1.0.0.0          "
      "                                  ",
      "ToolsVersion: f                       : current     1.0.0.0          Y 1.0.0.0          "
      "                                  ",
      "ToolsVersion: g                       : missing fro                  N 1.0.0.0          "
      "                                  ",
      "ToolsVersion: d                       : additional  5.0.0.0          Y                  "
      "                                  ",
      "ToolsVersion: supported new           : (  1) b",
      "ToolsVersion: current                 : (  3) a, e, and f",
      "ToolsVersion: additional in the guest : (  1) d",
      "ToolsVersion: missing from the guest  : (  2) c and g",
      "ToolsVersion: Status is supported old because this is status of monolithic version, and c "
      "and g are missing from the guest.",
   };
   EXPECT_EQ(log.lines(), expected);
}

// Fallbacks and the sources of the guest manifest, through the exported call.
struct FallbackCase {
   const char *name;
   const char *guestOS;     // NULL: a configuration file that does not load
   const char *guestText;   // NULL: from the extended configuration file
   const char *xml;         // the extended configuration file, NULL: none
   uint32_t legacy;
   ToolsVersionStatus status;
   std::vector<std::string> lastLines;   // the log's last lines
};

void PrintTo(const FallbackCase &c, std::ostream *os) { *os << c.name; }

class StatusFallback : public ::testing::TestWithParam<FallbackCase> {};

TEST_P(StatusFallback, GivesTheStatus) {
   const FallbackCase &c = GetParam();
   StatusEnv env;
   env.setManifests("monolithic.version = \"9.4.5\"\ntools.version = \"2\"\n", nullptr);
   trtest::WriteFile(env.config(), c.guestOS == nullptr
                                      ? std::string("guestOS = \"unterminated\n")
                                      : std::string("guestOS = \"") + c.guestOS +
                                           "\"\nlibdir = \"" + env.file("lib") +
                                           "\"\nextendedConfigFile = \"vm.xml\"\n");
   if (c.xml != nullptr) {
      trtest::WriteFile(env.file("vm.xml"), c.xml);
   }
   trtest::LogCapture log;
   EXPECT_EQ(ToolsVersion_GetStatus(env.config().c_str(), nullptr, c.guestText, c.legacy),
             c.status);
   std::vector<std::string> lines = log.lines();
   size_t n = std::min(lines.size(), c.lastLines.size());
   EXPECT_EQ(std::vector<std::string>(lines.end() - static_cast<long>(n), lines.end()),
             c.lastLines);
   EXPECT_TRUE(env.noWorkingCopy());
}

const char kNoStatus[] = "ToolsVersionGetStatus:";

const FallbackCase kFallbackCases[] = {
   {"legacyBelow945", "darwin10", "", nullptr, 9348, TOOLS_STATUS_TOO_OLD,
    {"Failed to get tools iso path.", "Error getting host tools manifest files."}},
   {"legacy945", "darwin10", "", nullptr, 9349, TOOLS_STATUS_CURRENT, {}},
   {"legacyNone", "darwin10", "", nullptr, 0, TOOLS_STATUS_NO_TOOLS, {}},
   {"legacyReserved", "darwin10", "", nullptr, 2147483647, TOOLS_STATUS_RESERVED_VERSION, {}},
   // No disks to read the legacy version from: the virtual hardware decides.
   {"legacyUnknownOldHardware", nullptr, "virtualHW.version = \"9\"\n", nullptr, 0xFFFFFFFFu,
    TOOLS_STATUS_TOO_OLD, {}},
   {"legacyUnknownNewHardware", nullptr, "virtualHW.version = \"10\"\n", nullptr, 0xFFFFFFFFu,
    TOOLS_STATUS_UNKNOWN, {}},
   {"legacyUnknownNoHardwareEntry", nullptr, "", nullptr, 0xFFFFFFFFu, TOOLS_STATUS_TOO_OLD, {}},
   // A machine without disks has no legacy version: no tools.
   {"legacyUnknownNoDisks", "darwin10", "virtualHW.version = \"10\"\n", nullptr, 0xFFFFFFFFu,
    TOOLS_STATUS_NO_TOOLS, {}},
   {"legacyComparedWithHost", "ubuntu", "", nullptr, 9348, TOOLS_STATUS_TOO_OLD,
    {"ToolsVersion: Status is too old because this is status of monolithic version."}},
   {"legacyEqualToHost", "ubuntu", "", nullptr, 9349, TOOLS_STATUS_CURRENT, {kNoStatus}},
   {"manifestDecidesFirst", "ubuntu", "tools.version = \"2\"\ntools.installed = \"yes\"\n",
    nullptr, 0, TOOLS_STATUS_CURRENT, {kNoStatus}},
   {"badGuestText", "ubuntu", "tools.version = \"2\n", nullptr, 0, TOOLS_STATUS_NO_TOOLS, {}},
   {"noExtendedConfig", "ubuntu", nullptr, nullptr, 0, TOOLS_STATUS_NO_TOOLS,
    {"Failed to get xml buffer from extended config file."}},
   {"extendedConfigNotXml", "ubuntu", nullptr, "<a>", 0, TOOLS_STATUS_NO_TOOLS,
    {"Error parsing xml from extended config file."}},
   {"extendedConfigEmptyRoot", "ubuntu", nullptr, "<vm/>", 0, TOOLS_STATUS_NO_TOOLS,
    {"Failed to find manifest content in extended config xml."}},
   {"agentStatusDecides", "ubuntu", nullptr,
    "<vm><update-agent-info><tools><monolithic status=\"2\"/></tools></update-agent-info></vm>",
    0, TOOLS_STATUS_SUPPORTED_OLD, {}},
   // Read as a 32-bit long: a number past its range does not wrap to 1.
   {"agentStatusBeyondLong", "ubuntu", nullptr,
    "<vm><update-agent-info><tools><monolithic status=\"4294967297\"/></tools>"
    "</update-agent-info></vm>",
    0, 2147483647u, {}},
   {"agentStatusUnknownLetsManifestRun", "ubuntu", nullptr,
    "<vm><Update-Agent-Info><tools><monolithic status=\"9\"/></tools></Update-Agent-Info>"
    "<tools-manifest><monolithic version=\"9.4.5\" installed=\"true\"/>"
    "<tools version=\"1\" installed=\"TRUE\"/><x version=\"1\"/></tools-manifest></vm>",
    0, TOOLS_STATUS_TOO_OLD,
    {"ToolsVersion: Status is too old because this is status of tools."}},
   {"agentWithoutManifest", "ubuntu", nullptr,
    "<vm><update-agent-info><tools><monolithic/></tools></update-agent-info></vm>", 0,
    TOOLS_STATUS_NO_TOOLS, {"Failed to find manifest content in extended config xml."}},
};

INSTANTIATE_TEST_SUITE_P(Sources, StatusFallback, ::testing::ValuesIn(kFallbackCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(StatusGuestFile, MissingAndPresent) {
   StatusEnv env;
   env.setManifests("a.version = \"1\"\n", nullptr);
   std::string guest = env.file("guest.txt");
   trtest::LogCapture log;
   EXPECT_EQ(ToolsVersion_GetStatus(env.config().c_str(), guest.c_str(), "ignored", 0),
             TOOLS_STATUS_NO_TOOLS);
   ASSERT_EQ(log.lines().size(), 1u);
   EXPECT_EQ(log.lines()[0].rfind("Error loading dictionary for guest manifest: ", 0), 0u);

   trtest::WriteFile(guest, "a.version = \"0.5\"\na.installed = \"TRUE\"\n");
   EXPECT_EQ(ToolsVersion_GetStatus(env.config().c_str(), guest.c_str(), nullptr, 0),
             TOOLS_STATUS_TOO_OLD);
   EXPECT_FALSE(trtest::FileExists(guest + ".iso.shipped"));
}

// The host manifest from the image itself: into a missing cache file that
// stays for later calls, or, with no cache, into the working copy alone.
TEST(StatusHostImage, FillsTheCacheOnlyWhenMissing) {
   if (!trtest::HaveTool("xorriso")) {
      GTEST_SKIP() << "xorriso not installed";
   }
   StatusEnv env;
   trtest::MediaSpec spec;
   spec.files = {{"manifest.txt", "tools.version = \"2\"\n"}};
   trtest::TempDir images;
   std::string image = trtest::BuildImage(images, spec, "linux.iso");
   ASSERT_TRUE(File_CreateDirectoryHierarchy(env.file("lib/isoimages").c_str()));
   ASSERT_EQ(std::rename(image.c_str(), env.file("lib/isoimages/linux.iso").c_str()), 0);
   const std::string cacheFile = env.file("cache/linux_manifest.txt");
   const std::string guest = "tools.version = \"1\"\ntools.installed = \"TRUE\"\n";
   for (bool cacheOn : {true, false}) {
      ToolsVersion_SetHostManifestCacheDir(cacheOn ? env.file("cache").c_str() : nullptr);
      std::remove(cacheFile.c_str());
      ASSERT_TRUE(File_CreateDirectoryHierarchy(env.file("cache").c_str()));
      EXPECT_EQ(env.compare(guest), TOOLS_STATUS_TOO_OLD) << cacheOn;
      EXPECT_EQ(trtest::FileExists(cacheFile), cacheOn);
      EXPECT_TRUE(env.noWorkingCopy());
   }
   // A cache file that exists is used as it is, whatever the image holds.
   ToolsVersion_SetHostManifestCacheDir(env.file("cache").c_str());
   trtest::WriteFile(cacheFile, "tools.version = \"1\"\n");
   EXPECT_EQ(env.compare(guest), TOOLS_STATUS_CURRENT);
}

// ---- Randomised comparison with a reference of the status rules ----------

struct RefVersion {
   bool given = false;
   std::string text;
   uint32_t sig = 0;
   uint32_t parts[4] = {};
};

RefVersion RandomVersion(std::mt19937 &rng) {
   RefVersion v;
   v.given = true;
   int n = 1 + static_cast<int>(rng() % 4);
   for (int i = 0; i < n; i++) {
      v.parts[i] = rng() % 3;
      v.text += (i ? "." : "") + std::to_string(v.parts[i]);
   }
   v.sig = 3;
   if (rng() % 3 == 0) {
      v.sig = rng() % 6;
      v.text += "#" + std::to_string(v.sig);
      v.sig = std::min(v.sig, 4u);
   }
   return v;
}

bool Present(const RefVersion &v) { return v.given && v.sig != 0; }

// The first of k parts that differs decides.
int RefCompare(const RefVersion &a, const RefVersion &b, uint32_t k) {
   for (uint32_t i = 0; i < k; i++) {
      if (a.parts[i] != b.parts[i]) {
         return a.parts[i] < b.parts[i] ? -1 : 1;
      }
   }
   return 0;
}

struct RefComponent {
   std::string name;
   RefVersion host, guest, min, max;
   int installed = -1;   // -1: no entry
   std::vector<RefVersion> illegal;
};

ComponentStatus RefClassify(const RefVersion &guest, bool installed, const RefVersion &host,
                            const RefVersion &min, const RefVersion &max,
                            const std::vector<RefVersion> &illegal) {
   if (!Present(guest)) {
      return Present(host) ? COMPONENT_MISSING : COMPONENT_GONE;
   }
   if (!installed) {
      return COMPONENT_NOT_INSTALLED;
   }
   for (const RefVersion &b : illegal) {
      if (b.sig == 0 || RefCompare(guest, b, b.sig) == 0) {
         return COMPONENT_BLACKLISTED;
      }
   }
   if (Present(min) && RefCompare(guest, min, min.sig) < 0) {
      return COMPONENT_TOO_OLD;
   }
   if (Present(max) && RefCompare(guest, max, max.sig) > 0) {
      return COMPONENT_TOO_NEW;
   }
   if (!Present(host)) {
      return COMPONENT_ADDITIONAL;
   }
   int c = RefCompare(guest, host, host.sig);
   return c > 0 ? COMPONENT_SUPPORTED_NEW : c < 0 ? COMPONENT_SUPPORTED_OLD : COMPONENT_CURRENT;
}

ToolsVersionStatus RefStatus(const std::vector<RefComponent> &comps, bool withAvr) {
   const RefComponent *mono = nullptr, *upgrader = nullptr;
   int count[COMPONENT_STATUS_COUNT] = {};
   for (const RefComponent &c : comps) {
      if (c.name == "monolithic") {
         mono = &c;
         continue;
      }
      if (c.name == "upgrader") {
         upgrader = &c;
      }
      count[RefClassify(c.guest, c.installed == 1, c.host, withAvr ? c.min : c.host,
                        withAvr ? c.max : RefVersion{},
                        withAvr ? c.illegal : std::vector<RefVersion>{})]++;
   }
   RefVersion none;
   RefVersion guest = mono != nullptr ? mono->guest : none;
   if (!Present(guest) && upgrader != nullptr) {
      guest = upgrader->guest;
   }
   const RefVersion &host = mono != nullptr ? mono->host : none;
   ComponentStatus S = RefClassify(
      guest, true, host, withAvr ? (mono != nullptr ? mono->min : none) : host,
      withAvr && mono != nullptr ? mono->max : none,
      withAvr && mono != nullptr ? mono->illegal : std::vector<RefVersion>{});
   const ToolsVersionStatus result[] = {6, 1, 5, 2, 4, 3};
   for (ComponentStatus x : {COMPONENT_BLACKLISTED, COMPONENT_TOO_OLD, COMPONENT_TOO_NEW}) {
      if (S == x || count[x] != 0) {
         return result[x];
      }
   }
   if (count[COMPONENT_MISSING] != 0 &&
       (S == COMPONENT_SUPPORTED_OLD || S == COMPONENT_SUPPORTED_NEW)) {
      return result[S];
   }
   if (count[COMPONENT_SUPPORTED_OLD] != 0) {
      return 2;
   }
   return count[COMPONENT_SUPPORTED_NEW] != 0 ? 4 : 3;
}

TEST(StatusRandomised, MatchesTheReference) {
   std::mt19937 rng(20260523);
   StatusEnv env;
   const char *const names[] = {"monolithic", "upgrader", "a", "b", "c"};
   for (int round = 0; round < 400; round++) {
      std::vector<RefComponent> comps;
      std::string host, avr, guest;
      bool withAvr = rng() % 5 != 0;
      for (const char *name : names) {
         if (rng() % 5 == 0) {
            continue;
         }
         RefComponent c;
         c.name = name;
         auto maybe = [&](RefVersion *v, std::string *text, const char *suffix, unsigned odds) {
            if (rng() % odds == 0) {
               *v = RandomVersion(rng);
               *text += c.name + suffix + " = \"" + v->text + "\"\n";
            }
         };
         maybe(&c.host, &host, ".version", 2);
         maybe(&c.guest, &guest, ".version", 2);
         maybe(&c.min, &avr, ".version", 3);
         maybe(&c.max, &avr, ".version_max", 4);
         if (rng() % 4 == 0) {
            std::string list;
            for (unsigned i = 0, n = 1 + rng() % 2; i < n; i++) {
               c.illegal.push_back(RandomVersion(rng));
               list += (i ? "," : "") + c.illegal.back().text;
            }
            avr += c.name + ".version_illegal = \"" + list + "\"\n";
         }
         if (rng() % 4 != 0) {
            c.installed = static_cast<int>(rng() % 4 != 0);
            guest += c.name + ".installed = \"" + (c.installed ? "TRUE" : "FALSE") + "\"\n";
         }
         comps.push_back(c);
      }
      if (guest.empty()) {
         guest = "# nothing\n";
      }
      env.setManifests(host, withAvr ? avr.c_str() : nullptr);
      trtest::LogCapture log;
      ToolsVersionStatus expected = RefStatus(comps, withAvr);
      ASSERT_EQ(env.compare(guest), expected)
         << "round " << round << "\n--- host\n" << host << "--- avr"
         << (withAvr ? "\n" + avr : std::string(" (none)\n")) << "--- guest\n" << guest
         << "--- log\n" << log.text();
   }
}

}  // namespace
