// iso9660_volume.hh --
//
//    ISO 9660 (ECMA-119) volumes with their Joliet and Rock Ridge name
//    spaces: volume descriptors, directory listings and file extents.
//    Everything read from the image is untrusted: structures come through
//    ImageFile and ByteView, fields are checked for what they mean, and
//    every walk is bounded.

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <trplatform/iso9660.h>

#include "file/imagefile.hh"
#include "internal/result.hh"

namespace trp::iso {

template <typename T>
using IsoResult = Result<T, Iso9660Result>;
using IsoStatus = Status<Iso9660Result>;

constexpr uint32_t kSectorSize = 2048;           // volume descriptors are 2048-byte sectors
constexpr uint32_t kFirstDescriptorSector = 16;
constexpr uint32_t kMaxDescriptors = 64;         // descriptors looked at before giving up
constexpr uint32_t kMinRecordSize = 33;          // directory record without its name
constexpr uint64_t kMaxDirectorySize = 64u << 20;  // bytes of one directory's extent
constexpr size_t kMaxDirectoryEntries = 200000;  // entries presented per directory
constexpr uint32_t kMaxExtentsPerFile = 4096;    // records of one multi-extent file
constexpr uint32_t kMaxSuspContinuations = 32;   // CE hops per record
constexpr size_t kMaxSuspBytes = 64u << 10;      // system-use bytes walked per record
constexpr uint64_t kMaxListingSuspBytes = 64u << 20;  // continuation bytes read per directory
constexpr size_t kMaxListingNameBytes = 32u << 20;    // bytes of names kept per directory
constexpr uint32_t kMaxPathDepth = 128;          // components of a path looked up
constexpr size_t kMaxCachedEntries = 500000;     // listings kept for reuse

// The name space a volume is read through.
enum class NameSpace { Plain, Joliet, RockRidge };

// Where a piece of a file lies in the image.
struct Extent {
   uint64_t offset;
   uint64_t length;
};

// One entry of a directory as presented.
struct Entry {
   std::string name;
   bool isDirectory = false;
   uint64_t size = 0;              // bytes of data over all extents
   uint64_t recordOffset = 0;      // image offset of the first record
   uint32_t extentBlock = 0;       // first block of the data (directories: the listing)
   std::vector<Extent> extents;
};

struct Listing {
   uint32_t block = 0;             // first block of the directory
   std::vector<Entry> entries;
};

// What the image holds, from its volume descriptors.
struct Descriptors {
   uint32_t blockSize = kSectorSize;
   uint64_t volumeBlocks = 0;
   std::string volumeId;
   uint32_t primaryRootBlock = 0;
   uint32_t primaryRootSize = 0;
   bool hasJoliet = false;
   uint32_t jolietRootBlock = 0;
   uint32_t jolietRootSize = 0;
   bool hasRockRidge = false;
   uint32_t suspSkip = 0;          // bytes to skip at the start of each system-use area
};

class Volume {
public:
   // Opens an image and reads its descriptors; BadFormat when it is not an
   // ISO 9660 image.
   static IsoResult<std::unique_ptr<Volume>> open(const std::string &path,
                                                  std::atomic<uint64_t> *counter);
   // Which name spaces an image offers (ISO9660_FORMAT_* bits).
   uint32_t formats() const;
   // Reads through the best of `formats` the image has: Rock Ridge, then
   // Joliet, then plain names.
   void choose(uint32_t formats);
   NameSpace nameSpace() const { return nameSpace_; }

   const Descriptors &descriptors() const { return desc_; }
   const ImageFile &file() const { return file_; }

   // The root directory's listing.
   IsoResult<std::shared_ptr<const Listing>> root();
   // The listing of the directory at block (size bytes; 0 reads the size
   // from the directory's own "." record).
   IsoResult<std::shared_ptr<const Listing>> listing(uint32_t block, uint64_t size);
   // The entry at path ("" and "/" are the root, which comes back as a
   // directory entry without a name).
   IsoResult<Entry> lookup(std::string_view path);
   // Whether a file's data can be read as the entry describes it: every
   // extent lies inside the image, and the extents together hold no more
   // than the image does (they may each be in range yet repeat the same
   // blocks, which would let one small image claim any size). Opening a
   // file and extracting it both check this first; BadFormat when not.
   IsoStatus checkFileData(const Entry &entry) const;

private:
   Volume(ImageFile file, Descriptors desc) : file_(std::move(file)), desc_(std::move(desc)) {}

   IsoResult<std::shared_ptr<Listing>> readListing(uint32_t block, uint64_t size);

   ImageFile file_;
   Descriptors desc_;
   NameSpace nameSpace_ = NameSpace::Plain;
   std::unordered_map<uint32_t, std::shared_ptr<const Listing>> cache_;
   size_t cachedEntries_ = 0;
};

// Reads the descriptors of an opened image file.
IsoResult<Descriptors> ReadDescriptors(const ImageFile &file);

// Parses the directory extent `data` (starting at image offset `base`) in
// the given name space.
IsoResult<Listing> ParseDirectory(const ImageFile &file, const Descriptors &desc, NameSpace ns,
                                  uint32_t block, std::span<const uint8_t> data, uint64_t base);

// Name conversions, exposed for tests.
std::string PlainName(std::string_view identifier, bool isDirectory);
std::string JolietName(std::span<const uint8_t> identifier);

}  // namespace trp::iso
