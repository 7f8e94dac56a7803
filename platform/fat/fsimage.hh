// fsimage.hh --
//
//    Internals of the FAT image writer: the boot sector's geometry, 8.3
//    names, the file allocation table, the root directory and the volume
//    that ties them to an image file. Everything read from an image is
//    untrusted: structures come through ImageFile and ByteView, field values
//    are checked for meaning, and every cluster-chain walk is bounded.
//
//    Changes to the FAT and the root directory are kept in memory and
//    written by Volume::flush (file data goes to the image at once), so the
//    image on disk moves from one consistent state to the next: data first,
//    then the FAT copies, then the directory entries that point at them.

#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <trplatform/fsimage.h>

#include "internal/bytes.hh"
#include "file/imagefile.hh"
#include "internal/result.hh"

namespace trp::fat {

// The writer's error codes are the C interface's, so that mapping is a cast.
enum class FatError : uint64_t {
   Io = FSIMAGE_ERR_IO,
   NotFound = FSIMAGE_ERR_NOT_FOUND,
   Exists = FSIMAGE_ERR_EXISTS,
   BadName = FSIMAGE_ERR_BAD_NAME,
   DiskFull = FSIMAGE_ERR_DISK_FULL,
   DirFull = FSIMAGE_ERR_DIR_FULL,
   BadFormat = FSIMAGE_ERR_BAD_FORMAT,
   Corrupt = FSIMAGE_ERR_CORRUPT,
   BadArg = FSIMAGE_ERR_BAD_ARG,
   ReadOnly = FSIMAGE_ERR_READ_ONLY,
   State = FSIMAGE_ERR_STATE,
};

template <typename T>
using FatResult = Result<T, FatError>;
using FatStatus = Status<FatError>;

// Host failures become Io; a structure reaching outside the image is Corrupt.
FatError FromFileError(FileError error);

enum class FatType { Fat12, Fat16 };

// ---------------------------------------------------------------------------
// Boot sector

// The BIOS parameter block and its signature lie in the first 512 bytes of
// sector 0, whatever the sector size.
constexpr uint32_t kBootSectorSize = 512;

// Where everything lies on a FAT12/FAT16 volume, decoded from a checked BPB.
class Geometry {
public:
   // Decodes boot sector `boot` (kBootSectorSize bytes) of an image of
   // imageSize bytes. BadFormat for anything that is not a usable FAT12 or
   // FAT16 volume (FAT32 included).
   static FatResult<Geometry> parse(ByteView boot, uint64_t imageSize);

   FatType type() const { return type_; }
   uint32_t bytesPerSector() const { return bytesPerSector_; }
   uint32_t sectorsPerCluster() const { return sectorsPerCluster_; }
   uint32_t clusterBytes() const { return bytesPerSector_ * sectorsPerCluster_; }
   uint32_t numFats() const { return numFats_; }
   uint32_t rootEntries() const { return rootEntries_; }
   // Number of data clusters; valid cluster numbers are 2 .. maxCluster().
   uint32_t clusterCount() const { return clusterCount_; }
   uint32_t maxCluster() const { return clusterCount_ + 1; }
   uint8_t media() const { return media_; }

   // Byte offset of FAT copy `copy` (0-based, < numFats()).
   uint64_t fatOffset(uint32_t copy) const;
   // Bytes of one FAT that describe clusters 0 .. maxCluster().
   uint64_t fatUsedBytes() const;
   uint64_t rootOffset() const { return rootOffset_; }
   uint64_t rootBytes() const { return uint64_t{rootEntries_} * 32; }
   // Byte offset of data cluster c (2 .. maxCluster()).
   uint64_t clusterOffset(uint32_t c) const;

private:
   Geometry() = default;

   FatType type_ = FatType::Fat12;
   uint32_t bytesPerSector_ = 0;
   uint32_t sectorsPerCluster_ = 0;
   uint32_t reservedSectors_ = 0;
   uint32_t numFats_ = 0;
   uint32_t rootEntries_ = 0;
   uint32_t sectorsPerFat_ = 0;
   uint32_t clusterCount_ = 0;
   uint8_t media_ = 0;
   uint64_t rootOffset_ = 0;
   uint64_t dataOffset_ = 0;
};

// A 1.44 MB floppy: 80 cylinders, 2 heads, 18 sectors of 512 bytes.
constexpr uint64_t kFloppyImageSize = 80ULL * 2 * 18 * 512;
constexpr uint8_t kFloppyMedia = 0xF0;

// Boot sector of a freshly formatted 1.44 MB floppy with the given volume
// serial number: jump, BPB, a short boot program that says the disk is not
// bootable, and the 0x55AA signature.
std::array<uint8_t, kBootSectorSize> BuildFloppyBootSector(uint32_t serial);

// ---------------------------------------------------------------------------
// 8.3 names

constexpr size_t kShortNameLen = 11;
using RawName = std::array<uint8_t, kShortNameLen>;

// Flags of directory-entry byte 12: base name / extension shown in lower case.
constexpr uint8_t kLowerBase = 0x08;
constexpr uint8_t kLowerExt = 0x10;

// A valid 8.3 name as the directory stores it: 11 upper-case bytes padded
// with spaces, and the lower-case flags.
class ShortName {
public:
   // BadName unless text is 1-8 name characters, optionally followed by a
   // dot and 1-3 more. Name characters are ASCII letters, digits and
   // ! # $ % & ' ( ) - @ ^ _ ` { } ~. A base or extension given all in lower
   // case gets its flag; mixed case is stored upper case without one.
   static FatResult<ShortName> parse(std::string_view text);

   // The text that a directory entry's name stands for ("BASE.EXT", with
   // the lower-case flags applied), or nothing when the stored bytes do not
   // form a name (control characters, path separators, a leading blank...).
   static std::optional<std::string> display(const RawName &raw, uint8_t caseFlags);

   // Whether the stored bytes name the same file, ignoring ASCII case.
   bool matches(const RawName &stored) const;

   const RawName &raw() const { return raw_; }
   uint8_t caseFlags() const { return caseFlags_; }

private:
   ShortName() = default;

   RawName raw_{};
   uint8_t caseFlags_ = 0;
};

// ---------------------------------------------------------------------------
// File allocation table

// The first FAT copy of a volume, held in memory; flush() writes it to every
// copy so that they stay identical.
class FatTable {
public:
   static FatResult<FatTable> load(const ImageFile &image, const Geometry &geometry);

   // The clusters of the chain that starts at first (empty for cluster 0).
   // Corrupt when the chain leaves the cluster range, meets a free, reserved
   // or bad entry, or is longer than the volume has clusters (a loop).
   FatResult<std::vector<uint32_t>> chain(uint32_t first) const;

   uint32_t freeCount() const { return freeCount_; }
   // Takes count free clusters and links them into a chain of their own,
   // ending with an end mark; DiskFull (and no change) when too few are free.
   FatResult<std::vector<uint32_t>> allocate(uint32_t count);
   // Makes cluster `from` point at `to`.
   void link(uint32_t from, uint32_t to);
   // Marks every cluster of the list free.
   void release(std::span<const uint32_t> clusters);

   bool dirty() const { return dirty_; }
   FatStatus flush(ImageFile &image, const Geometry &geometry);

private:
   FatTable(FatType type, uint32_t maxCluster, std::vector<uint8_t> bytes);

   // Entry of cluster c (0 .. maxCluster_); out-of-range clusters read as a
   // bad-cluster mark.
   uint32_t get(uint32_t c) const;
   void set(uint32_t c, uint32_t value);
   uint32_t badMark() const { return type_ == FatType::Fat12 ? 0xFF7u : 0xFFF7u; }
   uint32_t endMark() const { return type_ == FatType::Fat12 ? 0xFFFu : 0xFFFFu; }

   FatType type_;
   uint32_t maxCluster_;
   std::vector<uint8_t> bytes_;
   uint32_t freeCount_ = 0;
   uint32_t nextFree_ = 2;
   bool dirty_ = false;
};

// ---------------------------------------------------------------------------
// Root directory

constexpr uint32_t kDirEntrySize = 32;
using RawEntry = std::array<uint8_t, kDirEntrySize>;

enum class SlotKind {
   Unused,     // never used, or after the end mark: free
   Deleted,    // 0xE5: free
   LongName,   // part of a long name
   Label,      // volume label
   File,
   Directory,
};

struct SlotInfo {
   SlotKind kind = SlotKind::Unused;
   RawName name{};
   uint8_t caseFlags = 0;
   uint16_t firstCluster = 0;
   uint32_t size = 0;
};

// DOS date and time of an entry.
struct DosStamp {
   uint16_t date = 0;
   uint16_t time = 0;
   uint8_t tenths = 0;  // creation time: 10 ms units within 2 seconds
};
DosStamp DosStampNow();

class RootDirectory {
public:
   static FatResult<RootDirectory> load(const ImageFile &image, const Geometry &geometry);

   uint32_t slotCount() const { return static_cast<uint32_t>(bytes_.size() / kDirEntrySize); }
   // What slot `index` (< slotCount()) holds.
   SlotInfo slot(uint32_t index) const;
   // The slot of the file or directory with that name; NotFound.
   FatResult<uint32_t> find(const ShortName &name) const;
   // Writes a new empty file entry into the first free slot that does not
   // follow a live long-name entry; DirFull when there is none.
   FatResult<uint32_t> create(const ShortName &name, DosStamp now);
   // Sets a file entry's first cluster, size and modification time.
   void update(uint32_t index, uint16_t firstCluster, uint32_t size, DosStamp now);

   bool dirty() const { return dirtyEnd_ > dirtyBegin_; }
   FatStatus flush(ImageFile &image, const Geometry &geometry);

private:
   RootDirectory(std::vector<uint8_t> bytes, uint32_t endIndex);

   RawEntry entry(uint32_t index) const;
   void store(uint32_t index, const RawEntry &entry);
   bool freeForNewEntry(uint32_t index) const;

   std::vector<uint8_t> bytes_;
   uint32_t endIndex_;  // first slot with the end mark (slotCount() when none)
   // First file or directory slot of each name, keyed by the stored name in
   // upper case, so that a lookup costs the same in a directory of 65535
   // entries as in one of 224 (walking a large directory name by name would
   // otherwise take quadratic time).
   std::unordered_map<std::string, uint32_t> byName_;
   uint32_t dirtyBegin_ = 0;
   uint32_t dirtyEnd_ = 0;
};

// ---------------------------------------------------------------------------
// Volume

class Volume {
public:
   // Creates (or replaces) path as a freshly formatted 1.44 MB floppy.
   static FatResult<std::unique_ptr<Volume>> format(const std::string &path);
   static FatResult<std::unique_ptr<Volume>> open(const std::string &path, bool writable);
   Volume(const Volume &) = delete;
   Volume &operator=(const Volume &) = delete;

   // Reads and checks the boot sector, the FAT and the root directory;
   // everything below needs it done.
   FatStatus mount();
   bool mounted() const { return geometry_ != nullptr; }
   bool writable() const { return image_.writable(); }
   // After close() every operation fails with State.
   bool closed() const { return closed_; }

   const Geometry &geometry() const { return *geometry_; }
   const RootDirectory &root() const { return *root_; }

   // Slot of an existing file; NotFound (also for a directory).
   FatResult<uint32_t> openFile(const ShortName &name);
   // Slot of a new empty file; Exists when the name is taken.
   FatResult<uint32_t> createFile(const ShortName &name);

   uint32_t fileSize(uint32_t slot) const;
   // Reads up to out.size() bytes at offset; the count read (0 at the end).
   FatResult<uint32_t> read(uint32_t slot, uint64_t offset, std::span<uint8_t> out);
   // Writes all of data at offset, growing the file; at offset 0 the file
   // is first cut to nothing.
   FatStatus write(uint32_t slot, uint64_t offset, std::span<const uint8_t> data);

   // Writes the pending FAT and directory changes.
   FatStatus flush();
   // Flushes and ends the volume's use.
   FatStatus close();

private:
   explicit Volume(ImageFile image) : image_(std::move(image)) {}

   // The cached cluster chain of a file slot.
   FatResult<std::vector<uint32_t> *> chainOf(uint32_t slot);
   FatStatus truncate(uint32_t slot);
   FatStatus writeSpan(const std::vector<uint32_t> &chain, uint64_t offset,
                       std::span<const uint8_t> data);
   FatStatus zeroSpan(const std::vector<uint32_t> &chain, uint64_t offset, uint64_t length);

   ImageFile image_;
   std::unique_ptr<Geometry> geometry_;
   std::unique_ptr<FatTable> fat_;
   std::unique_ptr<RootDirectory> root_;
   std::unordered_map<uint32_t, std::vector<uint32_t>> chains_;
   bool closed_ = false;
};

}  // namespace trp::fat
