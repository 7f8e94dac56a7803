// linux_media.hh --
//
//    Shared pieces of the Linux detector tests: marker
//    files as real media carry them, a case table row (image description and
//    expected record), and the check that runs one detector on the image and
//    then the whole chain.

#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/guess.h>

#include "guess_support.hh"
#include "media_builder.hh"

namespace linuxtest {

using trtest::MediaFile;
using trtest::MediaFormat;
using trtest::MediaSpec;

// An image of the given files. Linux media carry Rock Ridge (names keep
// their case and leading dots), so that is the default.
inline MediaSpec Media(std::vector<MediaFile> files, MediaFormat format = MediaFormat::RockRidge,
                       std::string volumeId = "TESTMEDIA") {
   MediaSpec spec;
   spec.files = std::move(files);
   spec.format = format;
   spec.volumeId = std::move(volumeId);
   return spec;
}

// A boot-loader configuration in `dir`.
inline MediaFile IsolinuxCfg(const std::string &dir = "isolinux") {
   return {dir + "/isolinux.cfg", "default linux\nprompt 1\ntimeout 600\nlabel linux\n"
                                  "  kernel vmlinuz\n  append initrd=initrd.img\n"};
}

// ".discinfo" as anaconda writes it: time stamp, release, architecture and
// the disc numbers, each on a line ended by a line feed.
inline MediaFile DiscInfo(const std::string &release, const std::string &arch,
                          const std::string &eol = "\n") {
   return {".discinfo", "1272326751.405938" + eol + release + eol + arch + eol + "1,2,3,4,5,6" +
                           eol};
}

// A signing-key file of the root.
inline MediaFile Key(const std::string &name) {
   return {name, "-----BEGIN PGP PUBLIC KEY BLOCK-----\nVersion: GnuPG v1.4.5 (GNU/Linux)\n\n"
                 "mQGiBEWfB6MRBACrnYW6yKMT+MwJlCIhoyTxGf3mAxmnAiDEy6HcYN8rivssVTJk\n"
                 "-----END PGP PUBLIC KEY BLOCK-----\n"};
}

// ".disk/info": one line, no line feed at the end.
inline MediaFile DiskInfo(const std::string &line) { return {".disk/info", line}; }

// What a detector is expected to leave in a cleared record.
struct Expect {
   const char *guestOS = nullptr;  // nullptr: not recognised
   uint32_t sub = GUESS_VERSION_UNKNOWN;
   bool noIsolinuxCfg = false;
   const char *version = "";       // versionString (also when not recognised)
};

inline Expect Found(const char *guestOS, uint32_t sub = 0, bool noIsolinuxCfg = false,
                    const char *version = "") {
   return {guestOS, sub, noIsolinuxCfg, version};
}

inline Expect NotFound(const char *version = "") { return {nullptr, 0, false, version}; }

struct Case {
   std::string name;  // test name: letters, digits and underscores
   MediaSpec spec;
   Expect expect;
};

inline void PrintTo(const Case &c, std::ostream *os) { *os << c.name; }

inline std::string CaseName(const testing::TestParamInfo<Case> &info) { return info.param.name; }

// Builds the image, runs `detector` on a cleared record and compares every
// field it may write; then runs the whole chain, which must agree (the
// images carry the markers of one family only).
inline void CheckCase(const Case &c, GuessDetector detector) {
   if (!trtest::CanBuild(c.spec.format)) {
      GTEST_SKIP() << "no mastering tool for this format";
   }
   trtest::TempDir dir;
   std::string image = trtest::BuildImage(dir, c.spec);
   ASSERT_FALSE(image.empty());

   trtest::Detection direct = trtest::RunDetector(image, detector);
   ASSERT_NE(direct.result, -1) << "image did not open";
   const Expect &e = c.expect;
   if (e.guestOS == nullptr) {
      EXPECT_EQ(direct.result, 1);
      EXPECT_EQ(direct.info.guestOS, nullptr) << direct.guestOS();
      EXPECT_EQ(direct.info.subVersion, 0u);
      EXPECT_FALSE(direct.info.noIsolinuxCfg);
   } else {
      EXPECT_EQ(direct.result, 0);
      EXPECT_EQ(direct.guestOS(), e.guestOS);
      EXPECT_EQ(direct.info.subVersion, e.sub) << Guess_GetSubString(direct.info.subVersion);
      EXPECT_EQ(direct.info.noIsolinuxCfg != FALSE, e.noIsolinuxCfg);
   }
   EXPECT_STREQ(direct.info.versionString, e.version);
   EXPECT_EQ(direct.info.guestOS64, nullptr);
   EXPECT_STREQ(direct.info.languages, "");
   EXPECT_STREQ(direct.info.editions, "");

   trtest::Detection chain = trtest::DetectImage(image);
   EXPECT_EQ(chain.result, e.guestOS != nullptr ? GUESS_RESULT_FOUND : GUESS_RESULT_NO_MATCH);
   EXPECT_EQ(chain.guestOS(), direct.guestOS());
   EXPECT_EQ(chain.info.subVersion, direct.info.subVersion);
   EXPECT_EQ(chain.info.noIsolinuxCfg, direct.info.noIsolinuxCfg);
   EXPECT_STREQ(chain.info.versionString, direct.info.versionString);
}

}  // namespace linuxtest
