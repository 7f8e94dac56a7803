// udf_volume.cc --
//
//    UDF volume structure: descriptor tags, the anchor, the volume
//    descriptor sequence, partition maps (physical and metadata) and the
//    mapping of logical blocks to image offsets.

#include <array>
#include <cstring>

#include "udf/udf_volume.hh"

namespace trp::udf {

namespace {

constexpr uint32_t kTagSize = 16;

// CRC-ITU-T (polynomial 0x1021, initial value 0), as descriptor tags use
// it, one table look-up per byte: directories are checked FID by FID.
constexpr std::array<uint16_t, 256> MakeCrcTable() {
   std::array<uint16_t, 256> table{};
   for (uint32_t i = 0; i < 256; i++) {
      uint16_t crc = static_cast<uint16_t>(i << 8);
      for (int bit = 0; bit < 8; bit++) {
         crc = (crc & 0x8000) != 0 ? static_cast<uint16_t>((crc << 1) ^ 0x1021)
                                   : static_cast<uint16_t>(crc << 1);
      }
      table[i] = crc;
   }
   return table;
}

constexpr std::array<uint16_t, 256> kCrcTable = MakeCrcTable();

uint16_t Crc16(std::span<const uint8_t> data) {
   uint16_t crc = 0;
   for (uint8_t byte : data) {
      crc = static_cast<uint16_t>((crc << 8) ^ kCrcTable[((crc >> 8) ^ byte) & 0xFF]);
   }
   return crc;
}

// Partition map types (ECMA-167 3/10.7) and the UDF type-2 identifiers.
constexpr uint8_t kMapPhysical = 1;
constexpr uint8_t kMapType2 = 2;
constexpr std::string_view kMetadataMapId = "*UDF Metadata Partition";
constexpr std::string_view kSparableMapId = "*UDF Sparable Partition";

}  // namespace

// The checksum covers the tag itself; the CRC its body, as far as the tag
// says and the buffer holds. A body shorter than the CRC length claims is a
// bad descriptor, as is a CRC that does not match: either means the bytes
// behind the tag are not what was written.
std::optional<uint16_t> CheckTag(ByteView desc, std::optional<uint32_t> location) {
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
   constexpr bool kVerifySums = false;  // see fuzz/CMakeLists.txt
#else
   constexpr bool kVerifySums = true;
#endif
   auto tag = desc.slice(0, kTagSize);
   if (!tag) {
      return std::nullopt;
   }
   uint8_t sum = 0;
   for (size_t i = 0; i < kTagSize; i++) {
      if (i != 4) sum = static_cast<uint8_t>(sum + (*tag)[i]);
   }
   if (kVerifySums && sum != (*tag)[4]) {
      return std::nullopt;
   }
   uint16_t id = *tag->le16(0);
   uint16_t crc = *tag->le16(8);
   uint16_t crcLength = *tag->le16(10);
   uint32_t tagLocation = *tag->le32(12);
   if (location && tagLocation != *location) {
      return std::nullopt;
   }
   auto body = desc.slice(kTagSize, crcLength);
   if (!body || (kVerifySums && Crc16(body->span()) != crc)) {
      return std::nullopt;
   }
   return id;
}

std::string Cs0ToUtf8(ByteView bytes) {
   std::string out;
   if (bytes.empty()) {
      return out;
   }
   uint8_t comp = bytes[0];
   auto put = [&out](uint32_t cp) {
      if (cp < 0x80) {
         out.push_back(static_cast<char>(cp));
      } else if (cp < 0x800) {
         out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
         out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
      } else if (cp < 0x10000) {
         out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
         out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
         out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
      } else {
         out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
         out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
         out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
         out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
      }
   };
   if (comp == 8 || comp == 254) {
      for (size_t i = 1; i < bytes.size(); i++) {
         put(bytes[i]);
      }
   } else if (comp == 16 || comp == 255) {
      for (size_t i = 1; i + 1 < bytes.size(); i += 2) {
         uint32_t unit = (static_cast<uint32_t>(bytes[i]) << 8) | bytes[i + 1];
         if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < bytes.size()) {
            uint32_t low = (static_cast<uint32_t>(bytes[i + 2]) << 8) | bytes[i + 3];
            if (low >= 0xDC00 && low <= 0xDFFF) {
               put(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
               i += 2;
               continue;
            }
         }
         put(unit >= 0xD800 && unit <= 0xDFFF ? 0xFFFD : unit);
      }
   }
   return out;
}

UdfResult<std::unique_ptr<Volume>> Volume::open(const std::string &path,
                                                std::atomic<uint64_t> *counter) {
   auto file = ImageFile::open(path, false, counter);
   if (!file) {
      return Err{UdfError::Io};
   }
   std::unique_ptr<Volume> v(new Volume(std::move(*file)));
   TRP_TRY(v->readVolumeDescriptors());
   TRP_TRY(v->loadMetadataPartitions());

   auto fsd = v->readBlocks(v->fileSet_, v->blockSize_);
   if (!fsd || CheckTag(ByteView(fsd->data(), fsd->size()), v->fileSet_.block) != kTagFileSet) {
      return Err{UdfError::BadFormat};
   }
   ByteView f(fsd->data(), fsd->size());
   v->root_.block = f.le32(404).value_or(0);
   v->root_.partition = f.le16(408).value_or(0);
   return v;
}

UdfStatus Volume::readVolumeDescriptors() {
   // The anchor lies at sector 256, or at the last sector (or 256 before it)
   // of an image whose start was not written for it; its sector size is the
   // volume's.
   std::optional<ByteView> anchor;
   std::vector<uint8_t> buf;
   for (uint32_t bs : {2048u, 512u, 1024u, 4096u}) {
      uint64_t sectors = file_.size() / bs;
      for (uint64_t sector : {uint64_t{kAnchorSector}, sectors - 1, sectors - 1 - kAnchorSector}) {
         if (sectors <= kAnchorSector || sector >= sectors) {
            continue;
         }
         buf.assign(512, 0);
         if (!file_.readAt(sector * bs, buf)) {
            continue;
         }
         ByteView view(buf.data(), buf.size());
         if (CheckTag(view, static_cast<uint32_t>(sector)) == kTagAnchor) {
            blockSize_ = bs;
            anchor = view;
            break;
         }
      }
      if (anchor) {
         break;
      }
   }
   if (!anchor) {
      return Err{UdfError::NotUdf};
   }

   struct PartitionDesc {
      uint16_t number;
      uint32_t start;
      uint32_t length;
   };
   // The main sequence, else its reserve copy.
   for (size_t seqOffset : {16u, 24u}) {
      uint32_t length = anchor->le32(seqOffset).value_or(0);
      uint32_t location = anchor->le32(seqOffset + 4).value_or(0);
      std::vector<PartitionDesc> partitions;
      std::vector<uint8_t> lvd;
      uint32_t count = std::min<uint32_t>(length / blockSize_, kMaxVdsDescriptors);
      std::vector<uint8_t> sector(blockSize_);
      for (uint32_t i = 0; i < count; i++) {
         uint64_t offset = (static_cast<uint64_t>(location) + i) * blockSize_;
         if (!file_.readAt(offset, sector)) {
            break;
         }
         ByteView d(sector.data(), sector.size());
         auto tag = CheckTag(d, location + i);
         if (!tag || *tag == kTagTerminating) {
            break;
         }
         if (*tag == kTagPartition) {
            partitions.push_back({*d.le16(22), *d.le32(188), *d.le32(192)});
         } else if (*tag == kTagLogicalVolume && lvd.empty()) {
            lvd = sector;
         }
      }
      if (lvd.empty() || partitions.empty()) {
         continue;
      }
      ByteView l(lvd.data(), lvd.size());
      if (l.le32(212).value_or(0) != blockSize_) {
         return Err{UdfError::BadFormat};
      }
      fileSet_.block = *l.le32(252);
      fileSet_.partition = *l.le16(256);
      uint32_t tableLength = *l.le32(264);
      uint32_t mapCount = *l.le32(268);
      auto table = l.slice(440, tableLength);
      if (!table || mapCount == 0 || mapCount > 16) {
         return Err{UdfError::BadFormat};
      }
      maps_.clear();
      size_t pos = 0;
      for (uint32_t i = 0; i < mapCount; i++) {
         auto type = table->u8(pos);
         auto len = table->u8(pos + 1);
         if (!type || !len || *len < 6 || !RangeFits(pos, *len, table->size())) {
            return Err{UdfError::BadFormat};
         }
         ByteView m = *table->slice(pos, *len);
         PartitionMap map;
         if (*type == kMapPhysical) {
            map.partitionNumber = *m.le16(4);
         } else if (*type == kMapType2 && m.size() >= 64) {
            std::string_view id = *m.chars(5, 23);
            id = id.substr(0, id.find('\0'));
            map.partitionNumber = *m.le16(38);
            if (id == kMetadataMapId) {
               map.kind = PartitionMap::Metadata;
               map.physicalStart = *m.le32(40);   // metadata file location, for now
               map.physicalLength = *m.le32(44);  // mirror file location, for now
            } else if (id != kSparableMapId) {
               // Virtual (write-once media) partitions do not occur on
               // mastered images and are not read.
               return Err{UdfError::BadFormat};
            }
         } else {
            return Err{UdfError::BadFormat};
         }
         maps_.push_back(std::move(map));
         pos += *len;
      }
      for (PartitionMap &map : maps_) {
         if (map.kind != PartitionMap::Physical) {
            continue;
         }
         bool found = false;
         for (const PartitionDesc &pd : partitions) {
            if (pd.number == map.partitionNumber) {
               map.physicalStart = pd.start;
               map.physicalLength = pd.length;
               found = true;
            }
         }
         if (!found) {
            return Err{UdfError::BadFormat};
         }
      }
      return {};
   }
   return Err{UdfError::BadFormat};
}

// A metadata partition's blocks lie where its metadata file's allocation
// descriptors say, inside the physical partition of the same number; the
// mirror file is the fallback when the main one cannot be read.
UdfStatus Volume::loadMetadataPartitions() {
   for (size_t i = 0; i < maps_.size(); i++) {
      PartitionMap &map = maps_[i];
      if (map.kind != PartitionMap::Metadata) {
         continue;
      }
      std::optional<uint16_t> underlying;
      for (size_t j = 0; j < maps_.size(); j++) {
         if (maps_[j].kind == PartitionMap::Physical &&
             maps_[j].partitionNumber == map.partitionNumber) {
            underlying = static_cast<uint16_t>(j);
         }
      }
      if (!underlying) {
         return Err{UdfError::BadFormat};
      }
      map.underlying = *underlying;
      bool loaded = false;
      for (uint32_t fileBlock : {map.physicalStart, map.physicalLength}) {
         auto node = readNode(LbAddr{fileBlock, *underlying});
         if (node && !node->embedded) {
            bool allInUnderlying = true;
            for (const Piece &p : node->pieces) {
               allInUnderlying = allInUnderlying && p.start.partition == *underlying;
            }
            if (allInUnderlying) {
               map.metadataPieces = node->pieces;
               loaded = true;
               break;
            }
         }
      }
      if (!loaded) {
         return Err{UdfError::BadFormat};
      }
   }
   return {};
}

UdfResult<uint64_t> Volume::blockOffset(LbAddr addr, uint64_t length) const {
   if (addr.partition >= maps_.size()) {
      return Err{UdfError::BadFormat};
   }
   const PartitionMap &map = maps_[addr.partition];
   if (map.kind == PartitionMap::Metadata) {
      // Find the piece of the metadata file that holds this block.
      uint64_t pos = static_cast<uint64_t>(addr.block) * blockSize_;
      uint64_t pieceStart = 0;
      for (const Piece &p : map.metadataPieces) {
         if (pos >= pieceStart && pos - pieceStart < p.length) {
            uint64_t within = pos - pieceStart;
            if (!p.recorded || length > p.length - within) {
               return Err{UdfError::BadFormat};
            }
            LbAddr inner{static_cast<uint32_t>(p.start.block + within / blockSize_),
                         map.underlying};
            if (maps_[map.underlying].kind != PartitionMap::Physical) {
               return Err{UdfError::BadFormat};
            }
            return blockOffset(inner, length);
         }
         pieceStart += p.length;
      }
      return Err{UdfError::BadFormat};
   }
   uint64_t lengthBlocks = (length + blockSize_ - 1) / blockSize_;
   if (static_cast<uint64_t>(addr.block) + lengthBlocks > map.physicalLength) {
      return Err{UdfError::BadFormat};
   }
   uint64_t offset = (static_cast<uint64_t>(map.physicalStart) + addr.block) * blockSize_;
   if (!RangeFits(offset, length, file_.size())) {
      return Err{UdfError::BadFormat};
   }
   return offset;
}

UdfResult<std::vector<uint8_t>> Volume::readBlocks(LbAddr addr, uint64_t length) const {
   if (length > file_.size() || length > kMaxDirectorySize) {
      return Err{UdfError::BadFormat};
   }
   std::vector<uint8_t> out(static_cast<size_t>(length));
   TRP_TRY(readBlocksInto(addr, out));
   return out;
}

UdfStatus Volume::readBlocksInto(LbAddr addr, std::span<uint8_t> out) const {
   const uint64_t length = out.size();
   if (addr.partition >= maps_.size() ||
       addr.block + (length / blockSize_) > UINT32_MAX) {
      return Err{UdfError::BadFormat};
   }
   // Block by block: in a metadata partition consecutive blocks need not be
   // consecutive in the image.
   uint64_t done = 0;
   while (done < length) {
      uint64_t n = std::min<uint64_t>(length - done, blockSize_);
      LbAddr at{static_cast<uint32_t>(addr.block + done / blockSize_), addr.partition};
      uint64_t run = n;
      if (maps_[addr.partition].kind == PartitionMap::Physical) {
         run = length - done;  // contiguous
      }
      auto offset = blockOffset(at, run);
      if (!offset) {
         return Err{offset.error()};
      }
      if (!file_.readAt(*offset, out.subspan(static_cast<size_t>(done), static_cast<size_t>(run)))) {
         return Err{UdfError::Io};
      }
      done += run;
   }
   return {};
}

}  // namespace trp::udf
