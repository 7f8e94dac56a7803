// media_builder.hh --
//
//    Installation-media images for tests, built from a short description
//    (paths and bytes) with the real mastering tools: xorriso for ISO 9660
//    with or without Joliet and Rock Ridge, genisoimage for UDF bridge
//    images (ISO 9660 + Joliet + UDF 1.02, as Windows media ship).
//
//    Names: Rock Ridge, Joliet and UDF keep names as given. Plain ISO 9660
//    (xorriso, ISO level 3) presents upper-case names of d-characters; other
//    characters become "_".

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "testsupport.hh"

namespace trtest {

enum class MediaFormat {
   Plain,            // ISO 9660 only
   Joliet,           // ISO 9660 + Joliet
   RockRidge,        // ISO 9660 + Rock Ridge
   JolietRockRidge,  // ISO 9660 + Joliet + Rock Ridge
   UdfBridge,        // ISO 9660 + Joliet + UDF (genisoimage -udf)
};

struct MediaFile {
   std::string path;      // relative to the root, "/" separated
   std::string contents;
};

struct MediaSpec {
   std::vector<MediaFile> files;
   std::vector<std::string> dirs;   // directories (parents of files need not be listed)
   std::string volumeId = "TESTMEDIA";
   MediaFormat format = MediaFormat::JolietRockRidge;
};

// Builds the image `name` inside dir and returns its path; fails the
// current test (returning "") when the tool fails.
std::string BuildImage(const TempDir &dir, const MediaSpec &spec,
                       const std::string &name = "media.iso");

// Whether the tools for that format are installed.
bool CanBuild(MediaFormat format);

}  // namespace trtest
