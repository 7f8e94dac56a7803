// udf_volume.hh --
//
//    UDF volumes (ECMA-167 with the OSTA UDF 1.02-2.60 profile) as found on
//    DVD images: anchor, volume descriptor sequence, partition maps
//    (physical and metadata), file entries with their allocation
//    descriptors, and directories of file identifier descriptors. Every
//    descriptor is checked (tag checksum, CRC, location) before use and
//    every walk is bounded.

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "internal/bytes.hh"
#include "file/imagefile.hh"
#include "internal/result.hh"

namespace trp::udf {

enum class UdfError { NotUdf, BadFormat, Io, NotFound, NotDirectory, TooLarge };

template <typename T>
using UdfResult = Result<T, UdfError>;
using UdfStatus = Status<UdfError>;

constexpr uint32_t kAnchorSector = 256;
constexpr uint32_t kMaxVdsDescriptors = 256;
constexpr uint32_t kMaxAedHops = 1024;            // allocation extent descriptors per file
constexpr size_t kMaxExtentsPerFile = 65536;
constexpr uint64_t kMaxDirectorySize = 64u << 20;
constexpr size_t kMaxDirectoryEntries = 200000;
constexpr uint32_t kMaxPathDepth = 128;
constexpr size_t kMaxCachedEntries = 500000;

// Descriptor tag identifiers (ECMA-167 3/7.2.1, 4/7.2.1).
enum TagId : uint16_t {
   kTagPrimaryVolume = 1,
   kTagAnchor = 2,
   kTagPartition = 5,
   kTagLogicalVolume = 6,
   kTagTerminating = 8,
   kTagFileSet = 256,
   kTagFileIdentifier = 257,
   kTagAllocationExtent = 258,
   kTagFileEntry = 261,
   kTagExtendedFileEntry = 266,
};

// A logical block: block number within a partition reference.
struct LbAddr {
   uint32_t block = 0;
   uint16_t partition = 0;
   bool operator==(const LbAddr &o) const = default;
};

// A piece of a file: `length` bytes at a logical block, or zeros.
struct Piece {
   LbAddr start;
   uint64_t length = 0;
   bool recorded = true;
};

// A file or directory as its (extended) file entry describes it.
struct Node {
   LbAddr icb;
   bool isDirectory = false;
   uint64_t size = 0;                 // information length
   std::vector<Piece> pieces;         // when the data lies in extents
   std::optional<std::vector<uint8_t>> embedded;  // when the data lies in the entry
};

struct DirEntry {
   std::string name;
   bool isDirectory = false;
   LbAddr icb;
};

struct Listing {
   std::vector<DirEntry> entries;
};

// Verifies a descriptor tag (checksum, CRC of the body, and the expected
// location when one is given); returns its identifier.
std::optional<uint16_t> CheckTag(ByteView desc, std::optional<uint32_t> location);

// OSTA compressed Unicode (8-bit or 16-bit) to UTF-8.
std::string Cs0ToUtf8(ByteView bytes);

class Volume {
public:
   static UdfResult<std::unique_ptr<Volume>> open(const std::string &path,
                                                  std::atomic<uint64_t> *counter);

   uint32_t blockSize() const { return blockSize_; }
   const ImageFile &file() const { return file_; }

   UdfResult<Node> rootNode() { return readNode(root_); }
   UdfResult<Node> readNode(LbAddr icb);
   // The listing of a directory node (cached by its location).
   UdfResult<std::shared_ptr<const Listing>> listing(const Node &dir);
   // The node at path below `start` ("" and "/" are `start` itself).
   UdfResult<Node> lookup(const Node &start, std::string_view path);
   // Reads a node's whole data into out, which holds exactly node.size
   // bytes.
   UdfStatus readData(const Node &node, std::span<uint8_t> out);

private:
   struct PartitionMap {
      enum Kind { Physical, Metadata } kind = Physical;
      uint16_t partitionNumber = 0;
      uint32_t physicalStart = 0;     // sector of the partition's block 0
      uint32_t physicalLength = 0;
      // Metadata partition: where its blocks lie in the physical partition.
      std::vector<Piece> metadataPieces;
      uint16_t underlying = 0;        // index of the physical map it lives in
   };

   Volume(ImageFile file) : file_(std::move(file)) {}

   UdfStatus readVolumeDescriptors();
   UdfStatus loadMetadataPartitions();
   // Image offset of a logical block, checked against the image.
   UdfResult<uint64_t> blockOffset(LbAddr addr, uint64_t length) const;
   // Reads length bytes (descriptors and directories: bounded) into a new
   // buffer, or into out.
   UdfResult<std::vector<uint8_t>> readBlocks(LbAddr addr, uint64_t length) const;
   UdfStatus readBlocksInto(LbAddr addr, std::span<uint8_t> out) const;
   UdfResult<std::vector<Piece>> readAllocation(ByteView area, int adType, uint16_t partition,
                                                uint64_t size);

   ImageFile file_;
   uint32_t blockSize_ = 2048;
   std::vector<PartitionMap> maps_;
   LbAddr fileSet_;
   LbAddr root_;
   std::unordered_map<uint64_t, std::shared_ptr<const Listing>> cache_;
   size_t cachedEntries_ = 0;
};

}  // namespace trp::udf
