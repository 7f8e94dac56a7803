// fsimage_bpb.cc --
//
//    The boot sector of a FAT12/FAT16 volume: decoding and checking its BIOS
//    parameter block (BPB), and building the boot sector of a new 1.44 MB
//    floppy.

#include <algorithm>

#include "fat/fsimage.hh"

namespace trp::fat {

namespace {

// Field offsets of the boot sector (the BPB shared by FAT12 and FAT16 and
// the extended fields that follow it on those volumes).
constexpr size_t kJump = 0;
constexpr size_t kOemName = 3;
constexpr size_t kBytesPerSector = 11;
constexpr size_t kSectorsPerCluster = 13;
constexpr size_t kReservedSectors = 14;
constexpr size_t kNumFats = 16;
constexpr size_t kRootEntries = 17;
constexpr size_t kTotalSectors16 = 19;
constexpr size_t kMedia = 21;
constexpr size_t kSectorsPerFat = 22;
constexpr size_t kSectorsPerTrack = 24;
constexpr size_t kNumHeads = 26;
constexpr size_t kHiddenSectors = 28;
constexpr size_t kTotalSectors32 = 32;
constexpr size_t kDriveNumber = 36;
constexpr size_t kBootSignature = 38;
constexpr size_t kVolumeId = 39;
constexpr size_t kVolumeLabel = 43;
constexpr size_t kFsType = 54;
constexpr size_t kBootCode = 62;
constexpr size_t kSignature = 510;
static_assert(kFsType + 8 == kBootCode && kSignature + 2 == kBootSectorSize);

// Cluster counts that decide the FAT type: fewer than 4085 clusters is
// FAT12, fewer than 65525 FAT16, anything more FAT32.
constexpr uint32_t kMaxFat12Clusters = 4084;
constexpr uint32_t kMaxFat16Clusters = 65524;

constexpr bool IsPowerOfTwo(uint32_t v) { return v != 0 && (v & (v - 1)) == 0; }

}  // namespace

FatError FromFileError(FileError error) {
   return error == FileError::OutOfRange ? FatError::Corrupt : FatError::Io;
}

FatResult<Geometry> Geometry::parse(ByteView boot, uint64_t imageSize) {
   auto sector = boot.slice(0, kBootSectorSize);
   if (!sector) {
      return Err{FatError::BadFormat};
   }
   const ByteView b = *sector;
   // Every field below lies inside the 512 bytes just sliced.
   if (b[kSignature] != 0x55 || b[kSignature + 1] != 0xAA) {
      return Err{FatError::BadFormat};
   }
   if (b[kJump] != 0xEB && b[kJump] != 0xE9) {
      return Err{FatError::BadFormat};
   }

   Geometry g;
   g.bytesPerSector_ = *b.le16(kBytesPerSector);
   g.sectorsPerCluster_ = b[kSectorsPerCluster];
   g.reservedSectors_ = *b.le16(kReservedSectors);
   g.numFats_ = b[kNumFats];
   g.rootEntries_ = *b.le16(kRootEntries);
   g.sectorsPerFat_ = *b.le16(kSectorsPerFat);
   g.media_ = b[kMedia];
   uint32_t totalSectors = *b.le16(kTotalSectors16);
   if (totalSectors == 0) {
      totalSectors = *b.le32(kTotalSectors32);
   }

   if (!IsPowerOfTwo(g.bytesPerSector_) || g.bytesPerSector_ < 512 || g.bytesPerSector_ > 4096) {
      return Err{FatError::BadFormat};
   }
   if (!IsPowerOfTwo(g.sectorsPerCluster_) || g.clusterBytes() > 65536) {
      return Err{FatError::BadFormat};
   }
   if (g.reservedSectors_ == 0 || g.numFats_ == 0 || g.numFats_ > 4) {
      return Err{FatError::BadFormat};
   }
   // No root entries and no 16-bit FAT size mark a FAT32 volume.
   if (g.rootEntries_ == 0 || g.sectorsPerFat_ == 0) {
      return Err{FatError::BadFormat};
   }
   // Root entries must fill whole sectors: where they leave the last one
   // part used, systems disagree on where the data area starts (rounding
   // up or down), so writing there could land in another system's files.
   if (g.rootBytes() % g.bytesPerSector_ != 0) {
      return Err{FatError::BadFormat};
   }
   if (g.media_ != 0xF0 && g.media_ < 0xF8) {
      return Err{FatError::BadFormat};
   }
   if (totalSectors == 0) {
      return Err{FatError::BadFormat};
   }
   auto volumeBytes = CheckedMul(totalSectors, g.bytesPerSector_);
   if (!volumeBytes || *volumeBytes > imageSize) {
      return Err{FatError::BadFormat};
   }

   // Every term is at most 32 bits wide, so the sums cannot overflow.
   const uint64_t rootSectors = g.rootBytes() / g.bytesPerSector_;
   const uint64_t fatSectors = uint64_t{g.numFats_} * g.sectorsPerFat_;
   const uint64_t metaSectors = g.reservedSectors_ + fatSectors + rootSectors;
   if (metaSectors >= totalSectors) {
      return Err{FatError::BadFormat};
   }
   const uint64_t clusters = (totalSectors - metaSectors) / g.sectorsPerCluster_;
   if (clusters == 0 || clusters > kMaxFat16Clusters) {
      return Err{FatError::BadFormat};
   }
   g.clusterCount_ = static_cast<uint32_t>(clusters);
   g.type_ = g.clusterCount_ <= kMaxFat12Clusters ? FatType::Fat12 : FatType::Fat16;
   if (g.fatUsedBytes() > uint64_t{g.sectorsPerFat_} * g.bytesPerSector_) {
      return Err{FatError::BadFormat};
   }

   g.rootOffset_ = (g.reservedSectors_ + fatSectors) * g.bytesPerSector_;
   g.dataOffset_ = g.rootOffset_ + rootSectors * g.bytesPerSector_;
   return g;
}

uint64_t Geometry::fatOffset(uint32_t copy) const {
   return (uint64_t{reservedSectors_} + uint64_t{copy} * sectorsPerFat_) * bytesPerSector_;
}

uint64_t Geometry::fatUsedBytes() const {
   const uint64_t entries = uint64_t{clusterCount_} + 2;
   return type_ == FatType::Fat12 ? (entries * 3 + 1) / 2 : entries * 2;
}

uint64_t Geometry::clusterOffset(uint32_t c) const {
   return dataOffset_ + uint64_t{c - 2} * clusterBytes();
}

namespace {

// The boot program of a new floppy, placed at offset 62 and loaded by the
// BIOS at 0000:7C00. It prints the message that follows it through the video
// BIOS, waits for a key and asks the BIOS to boot from the next device:
//
//    7C3E  31 C0      xor  ax, ax
//    7C40  8E D8      mov  ds, ax
//    7C42  BE 5D 7C   mov  si, 7C5Dh       ; the message
//    7C45  FC         cld
//    7C46  AC         lodsb                ; next:
//    7C47  84 C0      test al, al
//    7C49  74 09      jz   7C54h
//    7C4B  B4 0E      mov  ah, 0Eh         ; teletype output
//    7C4D  BB 07 00   mov  bx, 0007h
//    7C50  CD 10      int  10h
//    7C52  EB F2      jmp  7C46h
//    7C54  30 E4      xor  ah, ah          ; wait for a key
//    7C56  CD 16      int  16h
//    7C58  CD 19      int  19h             ; try the next boot device
//    7C5A  F4         hlt
//    7C5B  EB FD      jmp  7C5Ah
constexpr uint8_t kBootProgram[] = {
   0x31, 0xC0, 0x8E, 0xD8, 0xBE, 0x5D, 0x7C, 0xFC, 0xAC, 0x84, 0xC0, 0x74, 0x09, 0xB4, 0x0E,
   0xBB, 0x07, 0x00, 0xCD, 0x10, 0xEB, 0xF2, 0x30, 0xE4, 0xCD, 0x16, 0xCD, 0x19, 0xF4, 0xEB, 0xFD,
};
constexpr char kBootMessage[] =
   "\r\nThis floppy is not bootable.\r\nRemove it and press any key to continue.\r\n";
static_assert(kBootCode + sizeof(kBootProgram) == 0x5D, "message address in the program");
static_assert(kBootCode + sizeof(kBootProgram) + sizeof(kBootMessage) <= kSignature);

template <size_t N>
void Put(std::array<uint8_t, N> &out, size_t offset, std::initializer_list<uint8_t> bytes) {
   std::copy(bytes.begin(), bytes.end(), out.begin() + static_cast<ptrdiff_t>(offset));
}

template <size_t N>
void PutLe(std::array<uint8_t, N> &out, size_t offset, uint32_t value, int width) {
   for (int i = 0; i < width; i++) {
      out.at(offset + static_cast<size_t>(i)) = static_cast<uint8_t>(value >> (8 * i));
   }
}

template <size_t N>
void PutText(std::array<uint8_t, N> &out, size_t offset, std::string_view text) {
   std::copy(text.begin(), text.end(), out.begin() + static_cast<ptrdiff_t>(offset));
}

}  // namespace

std::array<uint8_t, kBootSectorSize> BuildFloppyBootSector(uint32_t serial) {
   std::array<uint8_t, kBootSectorSize> s{};
   Put(s, kJump, {0xEB, static_cast<uint8_t>(kBootCode - 2), 0x90});
   PutText(s, kOemName, "TRGUEST ");
   PutLe(s, kBytesPerSector, 512, 2);
   s[kSectorsPerCluster] = 1;
   PutLe(s, kReservedSectors, 1, 2);
   s[kNumFats] = 2;
   PutLe(s, kRootEntries, 224, 2);
   PutLe(s, kTotalSectors16, static_cast<uint32_t>(kFloppyImageSize / 512), 2);
   s[kMedia] = kFloppyMedia;
   PutLe(s, kSectorsPerFat, 9, 2);
   PutLe(s, kSectorsPerTrack, 18, 2);
   PutLe(s, kNumHeads, 2, 2);
   PutLe(s, kHiddenSectors, 0, 4);
   PutLe(s, kTotalSectors32, 0, 4);
   s[kDriveNumber] = 0x00;  // first floppy drive
   s[kBootSignature] = 0x29;  // volume id, label and type follow
   PutLe(s, kVolumeId, serial, 4);
   PutText(s, kVolumeLabel, "NO NAME    ");
   PutText(s, kFsType, "FAT12   ");
   std::copy(std::begin(kBootProgram), std::end(kBootProgram), s.begin() + kBootCode);
   PutText(s, kBootCode + sizeof(kBootProgram), std::string_view(kBootMessage, sizeof(kBootMessage)));
   Put(s, kSignature, {0x55, 0xAA});
   return s;
}

}  // namespace trp::fat
