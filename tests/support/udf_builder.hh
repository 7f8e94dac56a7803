// udf_builder.hh --
//
//    A small builder of pure UDF images for tests: UDF 2.01 (one physical
//    partition, file entries, short allocation descriptors) or UDF 2.50
//    (a metadata partition holding the file set, directories and file
//    entries, extended file entries, file data in the physical partition
//    reached through long allocation descriptors). Descriptor tags carry
//    correct checksums and CRCs; tests damage the image afterwards where
//    they need to.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace trtest {

struct UdfFile {
   std::string path;         // "/"-separated, relative to the root
   std::string contents;
   bool embedded = false;    // data inside the file entry
   uint64_t atBlock = 0;     // physical-partition block of the data (0: next free)
   // When not 0: the data lies in extents of this many bytes (a multiple of
   // the block size), one free block between them; with viaAed the
   // descriptors after the first one lie in an allocation extent descriptor.
   uint32_t extentBytes = 0;
   bool viaAed = false;
};

struct UdfSpec {
   enum Revision { Udf201, Udf250 } revision = Udf250;
   std::vector<UdfFile> files;
   std::vector<std::string> dirs;
   bool cs0Sixteen = false;  // names in 16-bit compressed Unicode
   uint64_t imageSize = 0;   // 0: just large enough (sparse files may be far larger)
};

// Where the builder put things, for tests that damage them.
struct UdfLayout {
   uint64_t anchorOffset = 0;
   uint64_t lvdOffset = 0;
   uint64_t partitionStart = 0;      // image offset of physical block 0
   uint64_t rootEntryOffset = 0;     // the root directory's file entry
   uint64_t rootDataOffset = 0;      // the root directory's FIDs
};

// Writes the image to path; returns false on a host error.
bool BuildUdfImage(const std::string &path, const UdfSpec &spec, UdfLayout *layout = nullptr);

// Recomputes the checksum and CRC of the descriptor tag at offset.
bool FixUdfTag(const std::string &path, uint64_t offset);

}  // namespace trtest
