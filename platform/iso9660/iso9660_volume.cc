// iso9660_volume.cc --
//
//    ISO 9660 volume descriptors, the choice of name space, directory
//    listings (cached per volume) and path lookup.

#include <cstring>
#include <span>

#include "internal/ascii.hh"
#include "internal/bytes.hh"
#include "iso9660/iso9660_volume.hh"

namespace trp::iso {

namespace {

// Descriptor fields (ECMA-119 8.4), offsets within the 2048-byte sector.
constexpr size_t kDescTypeOffset = 0;
constexpr size_t kDescIdOffset = 1;
constexpr size_t kVolumeIdOffset = 40;
constexpr size_t kVolumeIdSize = 32;
constexpr size_t kVolumeSpaceOffset = 80;
constexpr size_t kEscapeOffset = 88;
constexpr size_t kEscapeSize = 32;
constexpr size_t kBlockSizeOffset = 128;
constexpr size_t kRootRecordOffset = 156;
constexpr size_t kRootRecordSize = 34;

constexpr uint8_t kTypePrimary = 1;
constexpr uint8_t kTypeSupplementary = 2;
constexpr uint8_t kTypeTerminator = 255;

struct RootRecord {
   uint32_t block;
   uint32_t size;
};

IsoResult<RootRecord> ParseRootRecord(ByteView sector) {
   auto rec = sector.slice(kRootRecordOffset, kRootRecordSize);
   if (!rec) {
      return Err{ISO9660_BAD_FORMAT};
   }
   auto len = rec->u8(0);
   auto block = rec->le32(2);
   auto size = rec->le32(10);
   auto flags = rec->u8(25);
   if (!len || *len < kMinRecordSize || !block || !size || !flags || (*flags & 0x02) == 0) {
      return Err{ISO9660_BAD_FORMAT};
   }
   return RootRecord{*block, *size};
}

bool IsPowerOfTwoBlockSize(uint32_t v) {
   return v >= 512 && v <= 2048 && (v & (v - 1)) == 0;
}

// Whether a supplementary descriptor announces Joliet (UCS-2 levels 1-3).
bool IsJoliet(ByteView sector) {
   auto esc = sector.chars(kEscapeOffset, kEscapeSize);
   return esc && (esc->find("%/@") != std::string_view::npos ||
                  esc->find("%/C") != std::string_view::npos ||
                  esc->find("%/E") != std::string_view::npos);
}

// Rock Ridge is present when the root's "." record carries the SUSP "SP"
// indicator and either an "ER" entry naming the Rock Ridge extensions or a
// Rock Ridge entry of its own ("RR", "PX", "NM").
void DetectRockRidge(const ImageFile &file, Descriptors *desc) {
   uint64_t offset = static_cast<uint64_t>(desc->primaryRootBlock) * desc->blockSize;
   std::vector<uint8_t> block(desc->blockSize);
   if (!file.readAt(offset, block)) {
      return;
   }
   ByteView view(block.data(), block.size());
   auto len = view.u8(0);
   auto nameLen = view.u8(32);
   if (!len || !nameLen || *len < kMinRecordSize + *nameLen) {
      return;
   }
   size_t su = kMinRecordSize + *nameLen + ((*nameLen % 2) == 0 ? 1 : 0);
   auto area = view.slice(su, *len > su ? *len - su : 0);
   if (!area || area->size() < 7) {
      return;
   }
   auto sig = area->chars(0, 2);
   auto check1 = area->u8(4);
   auto check2 = area->u8(5);
   if (!sig || *sig != "SP" || check1 != 0xBE || check2 != 0xEF) {
      return;
   }
   desc->suspSkip = area->u8(6).value_or(0);
   // Walk the entries of this area (the root's "." record is small; a
   // continuation area is not needed to find the markers in practice).
   size_t pos = 0;
   for (int guard = 0; guard < 256 && pos + 4 <= area->size(); guard++) {
      auto s = area->chars(pos, 2);
      auto l = area->u8(pos + 2);
      if (!s || !l || *l < 4) {
         break;
      }
      if (*s == "RR" || *s == "PX" || *s == "NM") {
         desc->hasRockRidge = true;
         return;
      }
      if (*s == "ER") {
         auto idLen = area->u8(pos + 4);
         auto id = idLen ? area->chars(pos + 8, *idLen) : std::nullopt;
         if (id && (*id == "RRIP_1991A" || *id == "IEEE_P1282" || *id == "IEEE_1282")) {
            desc->hasRockRidge = true;
            return;
         }
      }
      if (*s == "ST") {
         break;
      }
      pos += *l;
   }
}

}  // namespace

IsoResult<Descriptors> ReadDescriptors(const ImageFile &file) {
   Descriptors desc;
   bool havePrimary = false;
   std::vector<uint8_t> sector(kSectorSize);
   for (uint32_t i = 0; i < kMaxDescriptors; i++) {
      uint64_t offset = static_cast<uint64_t>(kFirstDescriptorSector + i) * kSectorSize;
      if (!RangeFits(offset, kSectorSize, file.size()) || !file.readAt(offset, sector)) {
         break;
      }
      ByteView view(sector.data(), sector.size());
      auto id = view.chars(kDescIdOffset, 5);
      if (!id || *id != "CD001") {
         // The volume recognition sequence of a UDF image ("BEA01",
         // "NSR02", ...) may stand between or after ISO descriptors.
         continue;
      }
      uint8_t type = view.u8(kDescTypeOffset).value_or(0);
      if (type == kTypeTerminator) {
         break;
      }
      if (type == kTypePrimary && !havePrimary) {
         auto root = ParseRootRecord(view);
         uint16_t blockSize = view.le16(kBlockSizeOffset).value_or(0);
         if (!root || !IsPowerOfTwoBlockSize(blockSize)) {
            return Err{ISO9660_BAD_FORMAT};
         }
         havePrimary = true;
         desc.blockSize = blockSize;
         desc.volumeBlocks = view.le32(kVolumeSpaceOffset).value_or(0);
         std::string_view vid = view.chars(kVolumeIdOffset, kVolumeIdSize).value_or("");
         while (!vid.empty() && (vid.back() == ' ' || vid.back() == '\0')) {
            vid.remove_suffix(1);
         }
         desc.volumeId = vid;
         desc.primaryRootBlock = root->block;
         desc.primaryRootSize = root->size;
      } else if (type == kTypeSupplementary && !desc.hasJoliet && IsJoliet(view)) {
         auto root = ParseRootRecord(view);
         if (root && view.le16(kBlockSizeOffset).value_or(0) == desc.blockSize) {
            desc.hasJoliet = true;
            desc.jolietRootBlock = root->block;
            desc.jolietRootSize = root->size;
         }
      }
   }
   if (!havePrimary) {
      return Err{ISO9660_BAD_FORMAT};
   }
   DetectRockRidge(file, &desc);
   return desc;
}

IsoResult<std::unique_ptr<Volume>> Volume::open(const std::string &path,
                                                std::atomic<uint64_t> *counter) {
   auto file = ImageFile::open(path, false, counter);
   if (!file) {
      return Err{ISO9660_IO_ERROR};
   }
   auto desc = ReadDescriptors(*file);
   if (!desc) {
      return Err{desc.error()};
   }
   return std::unique_ptr<Volume>(new Volume(std::move(*file), std::move(*desc)));
}

uint32_t Volume::formats() const {
   return ISO9660_FORMAT_PLAIN | (desc_.hasJoliet ? ISO9660_FORMAT_JOLIET : 0) |
          (desc_.hasRockRidge ? ISO9660_FORMAT_ROCKRIDGE : 0);
}

// Rock Ridge names are the ones the image's author gave (case, length,
// characters); Joliet keeps case and long names too; plain names are the
// 8.3-style upper-case fallback. A requested name space the image lacks
// falls back along the same order, so opening never fails merely because an
// extension is missing.
void Volume::choose(uint32_t requested) {
   if ((requested & ISO9660_FORMAT_ROCKRIDGE) != 0 && desc_.hasRockRidge) {
      nameSpace_ = NameSpace::RockRidge;
   } else if ((requested & ISO9660_FORMAT_JOLIET) != 0 && desc_.hasJoliet) {
      nameSpace_ = NameSpace::Joliet;
   } else {
      nameSpace_ = NameSpace::Plain;
   }
   cache_.clear();
   cachedEntries_ = 0;
}

IsoResult<std::shared_ptr<const Listing>> Volume::root() {
   if (nameSpace_ == NameSpace::Joliet) {
      return listing(desc_.jolietRootBlock, desc_.jolietRootSize);
   }
   return listing(desc_.primaryRootBlock, desc_.primaryRootSize);
}

IsoResult<std::shared_ptr<const Listing>> Volume::listing(uint32_t block, uint64_t size) {
   auto it = cache_.find(block);
   if (it != cache_.end()) {
      return it->second;
   }
   auto fresh = readListing(block, size);
   if (!fresh) {
      return Err{fresh.error()};
   }
   std::shared_ptr<const Listing> result = std::move(*fresh);
   if (cachedEntries_ + result->entries.size() > kMaxCachedEntries) {
      // Handles keep their own references; only reuse is lost.
      cache_.clear();
      cachedEntries_ = 0;
   }
   cache_.emplace(block, result);
   cachedEntries_ += result->entries.size();
   return result;
}

IsoResult<std::shared_ptr<Listing>> Volume::readListing(uint32_t block, uint64_t size) {
   auto offset = CheckedMul(block, desc_.blockSize);
   if (!offset) {
      return Err{ISO9660_BAD_FORMAT};
   }
   if (size == 0) {
      // The directory's own "." record gives its size.
      std::vector<uint8_t> first(kMinRecordSize + 1);
      if (!file_.readAt(*offset, first)) {
         return Err{ISO9660_BAD_FORMAT};
      }
      size = ByteView(first.data(), first.size()).le32(10).value_or(0);
   }
   if (size == 0 || size > kMaxDirectorySize || !RangeFits(*offset, size, file_.size())) {
      return Err{ISO9660_BAD_FORMAT};
   }
   std::vector<uint8_t> data(static_cast<size_t>(size));
   if (!file_.readAt(*offset, data)) {
      return Err{ISO9660_IO_ERROR};
   }
   auto parsed = ParseDirectory(file_, desc_, nameSpace_, block, data, *offset);
   if (!parsed) {
      return Err{parsed.error()};
   }
   return std::make_shared<Listing>(std::move(*parsed));
}

IsoResult<Entry> Volume::lookup(std::string_view path) {
   // The directories walked so far, root first: ".." steps back to the
   // entry below, so that a boot configuration's "../images/vmlinuz" is
   // found relative to its own directory. ".." at the root stays there, as
   // it does on a mounted disc.
   std::vector<Entry> walked(1);
   walked.back().isDirectory = true;
   walked.back().extentBlock =
      nameSpace_ == NameSpace::Joliet ? desc_.jolietRootBlock : desc_.primaryRootBlock;
   walked.back().size =
      nameSpace_ == NameSpace::Joliet ? desc_.jolietRootSize : desc_.primaryRootSize;
   uint32_t depth = 0;
   size_t pos = 0;
   while (pos < path.size()) {
      size_t slash = path.find('/', pos);
      std::string_view component =
         path.substr(pos, slash == std::string_view::npos ? std::string_view::npos : slash - pos);
      pos = slash == std::string_view::npos ? path.size() : slash + 1;
      if (component.empty()) {
         continue;
      }
      if (++depth > kMaxPathDepth) {
         return Err{ISO9660_NOT_FOUND};
      }
      const Entry &current = walked.back();
      if (!current.isDirectory) {
         return Err{ISO9660_NOT_A_DIRECTORY};
      }
      if (component == ".") {
         continue;
      }
      if (component == "..") {
         if (walked.size() > 1) {
            walked.pop_back();
         }
         continue;
      }
      auto list = listing(current.extentBlock, current.size);
      if (!list) {
         return Err{list.error()};
      }
      // Plain identifiers hold upper-case letters only, so a path asking for
      // "isolinux/vmlinuz" on an image without Rock Ridge or Joliet can only
      // mean "ISOLINUX/VMLINUZ": plain names match ignoring ASCII case. Rock
      // Ridge and Joliet keep the case the author gave, and match exactly.
      const Entry *found = nullptr;
      for (const Entry &e : (*list)->entries) {
         if (nameSpace_ == NameSpace::Plain ? EqualsIgnoringAsciiCase(e.name, component)
                                            : e.name == component) {
            found = &e;
            break;
         }
      }
      if (found == nullptr) {
         return Err{ISO9660_NOT_FOUND};
      }
      walked.push_back(*found);
   }
   return walked.back();
}

IsoStatus Volume::checkFileData(const Entry &entry) const {
   const uint64_t imageSize = file_.size();
   for (const Extent &x : entry.extents) {
      if (!RangeFits(x.offset, x.length, imageSize)) {
         return Err{ISO9660_BAD_FORMAT};
      }
   }
   if (entry.size > imageSize) {
      return Err{ISO9660_BAD_FORMAT};
   }
   return {};
}

}  // namespace trp::iso
