// detect_cli_test.cc --
//
//    trguest detect as a user and a script run it: the sample media that the
//    README's main command masters, exit codes, --json and --all, and the
//    JSON writer's escaping of texts taken from images.

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/guess.h>

#include "json_out.hh"
#include "media_builder.hh"
#include "testsupport.hh"

namespace {

namespace fs = std::filesystem;

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

trtest::CommandResult Tool(std::vector<std::string> args) {
   args.insert(args.begin(), kTool);
   return trtest::RunCommand(args);
}

std::vector<std::string> Lines(const std::string &text) {
   std::vector<std::string> lines;
   std::istringstream in(text);
   for (std::string line; std::getline(in, line);) {
      lines.push_back(line);
   }
   return lines;
}

bool Contains(const std::string &text, const std::string &part) {
   return text.find(part) != std::string::npos;
}

// What each sample of scripts/samples/ is detected as.
struct Sample {
   const char *guestOS, *guestOS64;  // guestOS64 as JSON: "null" or a quoted text
   int sub;
   const char *version, *language, *languages, *editions;  // the lists as JSON arrays
};

const std::map<std::string, Sample> kSamples = {
   {"solaris10", {"solaris10", R"("solaris10-64")", 0, "", "en-US", "[]", "[]"}},
   {"freebsd-amd64", {"freeBSD-64", "null", 0, "", "en-US", "[]", "[]"}},
   {"zelt4", {"trkernel", "null", 0, "", "en-US", "[]", "[]"}},
   {"winxp-pro", {"winXPPro", "null", 0, "", "English", "[]", "[]"}},
   {"windows7-x64",
    {"windows7-64", "null", 0, "", "en-US", R"(["en-US","de-DE"])",
     R"(["Windows 7 HOMEBASIC","Windows 7 HOMEPREMIUM","Windows 7 PROFESSIONAL",)"
     R"("Windows 7 STARTER","Windows 7 ULTIMATE"])"}},
   {"windows8-enterprise",
    {"windows8-64", "null", 23, "", "en-US", R"(["en-US"])", R"(["Windows 8 Enterprise"])"}},
   {"centos5-x86_64", {"centos-64", "null", 21, "", "en-US", "[]", "[]"}},
   {"ubuntu-10.04.4-i386", {"ubuntu", "null", 4, "10.04.4", "en-US", "[]", "[]"}},
   {"sles11sp1-x86_64", {"sles11-64", "null", 0, "", "en-US", "[]", "[]"}},
   {"mandriva2010-x86_64", {"mandriva-64", "null", 8, "", "en-US", "[]", "[]"}},
};

// The line trguest detect --json prints for a sample.
std::string JsonLine(const std::string &image, const Sample &s) {
   return R"({"image":")" + image + R"(","result":0,"guestOS":")" + s.guestOS +
          R"(","guestOS64":)" + s.guestOS64 + R"(,"subVersion":)" + std::to_string(s.sub) +
          R"(,"subVersionName":")" + SUB_NAMES[s.sub] + R"(","versionString":")" + s.version +
          R"(","noIsolinuxCfg":false,"language":")" + s.language + R"(","languages":)" +
          s.languages + R"(,"editions":)" + s.editions + "}";
}

TEST(CliDetect, SampleMediaAsJson) {
   if (!trtest::HaveTool("xorriso") || !trtest::HaveTool("genisoimage")) {
      GTEST_SKIP() << "mastering tools missing";
   }
   trtest::TempDir dir;
   auto made = trtest::RunCommand(
      {std::string(TRGUEST_SOURCE_DIR) + "/scripts/make-samples.sh", dir.path()});
   ASSERT_EQ(made.exitCode, 0) << made.output;
   std::vector<std::string> images = Lines(made.output);

   // Every sample has an expectation, and every expectation a sample.
   std::vector<std::string> names;
   for (const std::string &image : images) {
      names.push_back(fs::path(image).stem().string());
   }
   std::vector<std::string> expected;
   for (const auto &[name, fields] : kSamples) {
      expected.push_back(name);
   }
   std::sort(names.begin(), names.end());
   EXPECT_EQ(names, expected);

   std::vector<std::string> args = {"detect", "--json"};
   args.insert(args.end(), images.begin(), images.end());
   auto r = Tool(args);
   EXPECT_EQ(r.exitCode, 0) << r.output;
   std::vector<std::string> lines = Lines(r.output);
   ASSERT_EQ(lines.size(), images.size()) << r.output;
   for (size_t i = 0; i < images.size(); i++) {
      auto it = kSamples.find(fs::path(images[i]).stem().string());
      if (it == kSamples.end()) {
         continue;
      }
      EXPECT_EQ(lines[i], JsonLine(images[i], it->second));
   }
}

class CliDetectMedia : public ::testing::Test {
protected:
   void SetUp() override {
      trtest::MediaSpec solaris;
      solaris.dirs = {"Solaris_10"};
      solarisImage_ = trtest::BuildImage(dir_, solaris, "solaris.iso");
      // Claimed by NetWare first, and by FreeBSD too.
      trtest::MediaSpec both;
      std::string kernel(64, '\0');
      kernel[18] = 3;
      both.files = {{"boot/kernel/kernel", kernel}};
      both.dirs = {"nw51"};
      bothImage_ = trtest::BuildImage(dir_, both, "both.iso");
      trtest::MediaSpec none;
      none.files = {{"readme.txt", "hello\n"}};
      noneImage_ = trtest::BuildImage(dir_, none, "none.iso");
      trtest::WriteFile(dir_.file("junk.iso"), std::string(100000, 'j'));
   }

   trtest::TempDir dir_;
   std::string solarisImage_, bothImage_, noneImage_;
};

TEST_F(CliDetectMedia, ReadableRecord) {
   auto r = Tool({"detect", solarisImage_});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_EQ(r.output, solarisImage_ +
                          ": solaris10\n"
                          "  guestOS:       solaris10\n"
                          "  guestOS64:     solaris10-64\n"
                          "  subVersion:    0 (GUESS_VERSION_UNKNOWN)\n"
                          "  versionString: \n"
                          "  noIsolinuxCfg: no\n"
                          "  language:      en-US\n");
}

TEST_F(CliDetectMedia, ExitCodeIsTheWorstResult) {
   EXPECT_EQ(Tool({"detect", noneImage_}).exitCode, 1);
   EXPECT_EQ(Tool({"detect", solarisImage_, noneImage_}).exitCode, 1);

   auto r = Tool({"detect", solarisImage_, dir_.file("junk.iso")});
   EXPECT_EQ(r.exitCode, 2);
   EXPECT_TRUE(Contains(r.output, "trguest detect: " + dir_.file("junk.iso") +
                                     ": not an ISO 9660 or UDF image"));
   EXPECT_TRUE(Contains(r.output, ": solaris10\n"));  // the readable image is still shown

   r = Tool({"detect", "--json", dir_.file("missing.iso")});
   EXPECT_EQ(r.exitCode, 2);
   EXPECT_EQ(r.output, "trguest detect: " + dir_.file("missing.iso") + ": no such file\n");
   EXPECT_EQ(Tool({"detect", dir_.path()}).output,
             "trguest detect: " + dir_.path() + ": not a regular file\n");

   EXPECT_EQ(Tool({"detect"}).exitCode, 64);
   EXPECT_EQ(Tool({"detect", "--frob", solarisImage_}).exitCode, 64);
}

TEST_F(CliDetectMedia, AllListsEveryClaimInChainOrder) {
   auto r = Tool({"detect", "--all", "--json", bothImage_});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_TRUE(Contains(r.output, R"("guestOS":"netware5",)")) << r.output;
   EXPECT_TRUE(Contains(r.output,
                        R"("claimedBy":[{"detector":"Guess_NetWare","guestOS":"netware5",)"
                        R"("inChain":true},{"detector":"Guess_FreeBSD","guestOS":"freeBSD",)"
                        R"("inChain":true}]})"))
      << r.output;

   r = Tool({"detect", "--all", noneImage_});
   EXPECT_EQ(r.exitCode, 1);
   EXPECT_TRUE(Contains(r.output, ": no match\n")) << r.output;
   EXPECT_TRUE(Contains(r.output, "  claimed by:    none\n")) << r.output;
}

std::string Json(std::string_view text) {
   trguest_cli::JsonWriter j;
   j.BeginArray().String(text).EndArray();
   return j.text();
}

TEST(CliJson, TextsFromImagesAlwaysMakeValidJson) {
   struct {
      std::string in, out;
   } cases[] = {
      {"plain", R"(["plain"])"},
      {"a\"b\\c", R"(["a\"b\\c"])"},
      {"tab\tcr\rlf\n", R"(["tab\tcr\rlf\n"])"},
      {std::string("\x01\x1f\x7f", 3), R"(["\u0001\u001f\u007f"])"},
      {"Gr\xc3\xbc\xc3\x9f" "e \xe2\x82\xac \xf0\x9f\x98\x80", "[\"Gr\xc3\xbc\xc3\x9f" "e \xe2\x82\xac \xf0\x9f\x98\x80\"]"},
      {"latin1 \xfc", R"(["latin1 \ufffd"])"},
      {"cut \xe2\x82", R"(["cut \ufffd\ufffd"])"},
      {"overlong \xc0\xaf", R"(["overlong \ufffd\ufffd"])"},
      {"surrogate \xed\xa0\x80", R"(["surrogate \ufffd\ufffd\ufffd"])"},
   };
   for (const auto &c : cases) {
      EXPECT_EQ(Json(c.in), c.out) << c.in;
   }

   trguest_cli::JsonWriter j;
   j.BeginObject().Key("a").Int(-3).Key("b").Bool(true).Key("c").StringOrNull(nullptr);
   j.Key("d").BeginArray().EndArray().Key("e").BeginObject().EndObject().EndObject();
   EXPECT_EQ(j.text(), R"({"a":-3,"b":true,"c":null,"d":[],"e":{}})");
}

}  // namespace
