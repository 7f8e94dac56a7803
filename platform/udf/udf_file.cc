// udf_file.cc --
//
//    UDF files: (extended) file entries, allocation descriptors with their
//    continuation extents, file data, and directories of file identifier
//    descriptors.

#include <cstring>

#include "udf/udf_volume.hh"

namespace trp::udf {

namespace {

// ICB tag fields inside a file entry (ECMA-167 4/14.6), and where the
// extended attributes and allocation descriptors begin.
constexpr size_t kIcbFileType = 16 + 11;
constexpr size_t kIcbFlags = 16 + 18;
constexpr size_t kInfoLength = 56;
constexpr uint8_t kFileTypeDirectory = 4;

enum AdType { kShortAd = 0, kLongAd = 1, kExtendedAd = 2, kEmbedded = 3 };

// File identifier characteristics (ECMA-167 4/14.4.3).
constexpr uint8_t kFidDirectory = 0x02;
constexpr uint8_t kFidDeleted = 0x04;
constexpr uint8_t kFidParent = 0x08;
constexpr size_t kFidFixedSize = 38;

uint64_t CacheKey(LbAddr a) { return (static_cast<uint64_t>(a.partition) << 32) | a.block; }

}  // namespace

UdfResult<Node> Volume::readNode(LbAddr icb) {
   auto block = readBlocks(icb, blockSize_);
   if (!block) {
      return Err{block.error()};
   }
   ByteView fe(block->data(), block->size());
   auto tag = CheckTag(fe, icb.block);
   if (tag != kTagFileEntry && tag != kTagExtendedFileEntry) {
      return Err{UdfError::BadFormat};
   }
   bool extended = tag == kTagExtendedFileEntry;
   size_t base = extended ? 216 : 176;
   uint32_t eaLength = fe.le32(extended ? 208 : 168).value_or(UINT32_MAX);
   uint32_t adLength = fe.le32(extended ? 212 : 172).value_or(UINT32_MAX);
   auto area = fe.slice(base + static_cast<uint64_t>(eaLength), adLength);
   if (!area) {
      return Err{UdfError::BadFormat};
   }
   Node node;
   node.icb = icb;
   node.isDirectory = fe.u8(kIcbFileType) == kFileTypeDirectory;
   node.size = *fe.le64(kInfoLength);
   int adType = *fe.le16(kIcbFlags) & 0x7;
   if (adType == kEmbedded) {
      if (node.size > area->size()) {
         return Err{UdfError::BadFormat};
      }
      node.embedded.emplace(area->data(), area->data() + node.size);
      return node;
   }
   auto pieces = readAllocation(*area, adType, icb.partition, node.size);
   if (!pieces) {
      return Err{pieces.error()};
   }
   node.pieces = std::move(*pieces);
   return node;
}

// Reads allocation descriptors until a zero length, following
// continuation extents (allocation extent descriptors) a bounded number of
// times.
UdfResult<std::vector<Piece>> Volume::readAllocation(ByteView area, int adType,
                                                     uint16_t partition, uint64_t size) {
   size_t adSize = adType == kShortAd ? 8 : adType == kLongAd ? 16 : adType == kExtendedAd ? 20 : 0;
   if (adSize == 0) {
      return Err{UdfError::BadFormat};
   }
   std::vector<Piece> pieces;
   std::vector<uint8_t> continuation;
   uint64_t covered = 0;
   uint32_t hops = 0;
   ByteView current = area;
   size_t pos = 0;
   while (pos + adSize <= current.size()) {
      ByteView ad = *current.slice(pos, adSize);
      pos += adSize;
      uint32_t raw = *ad.le32(0);
      uint32_t length = raw & 0x3FFFFFFF;
      uint32_t type = raw >> 30;
      if (length == 0) {
         break;
      }
      LbAddr start;
      if (adType == kShortAd) {
         start = LbAddr{*ad.le32(4), partition};
      } else if (adType == kLongAd) {
         start = LbAddr{*ad.le32(4), *ad.le16(8)};
      } else {
         start = LbAddr{*ad.le32(12), *ad.le16(16)};
      }
      if (type == 3) {
         // The descriptors go on in an allocation extent descriptor.
         if (++hops > kMaxAedHops) {
            return Err{UdfError::BadFormat};
         }
         auto block = readBlocks(start, blockSize_);
         if (!block) {
            return Err{block.error()};
         }
         continuation = std::move(*block);
         ByteView aed(continuation.data(), continuation.size());
         if (CheckTag(aed, start.block) != kTagAllocationExtent) {
            return Err{UdfError::BadFormat};
         }
         auto next = aed.slice(24, aed.le32(20).value_or(UINT32_MAX));
         if (!next) {
            return Err{UdfError::BadFormat};
         }
         current = *next;
         pos = 0;
         continue;
      }
      if (pieces.size() >= kMaxExtentsPerFile) {
         return Err{UdfError::BadFormat};
      }
      pieces.push_back(Piece{start, length, type == 0});
      covered += length;
      if (covered >= size) {
         break;
      }
   }
   return pieces;
}

// Files hold at most as many bytes as the image: installation media carry
// no sparse files, and an entry that claims more is damaged.
UdfStatus Volume::readData(const Node &node, std::span<uint8_t> out) {
   if (node.size > file_.size() || node.size != out.size()) {
      return Err{UdfError::TooLarge};
   }
   if (node.embedded) {
      if (!out.empty()) {
         std::memcpy(out.data(), node.embedded->data(), out.size());
      }
      return {};
   }
   uint64_t done = 0;
   for (const Piece &p : node.pieces) {
      if (done >= node.size) {
         break;
      }
      uint64_t n = std::min<uint64_t>(p.length, node.size - done);
      std::span<uint8_t> part = out.subspan(static_cast<size_t>(done), static_cast<size_t>(n));
      if (p.recorded) {
         TRP_TRY(readBlocksInto(p.start, part));
      } else {
         std::memset(part.data(), 0, part.size());
      }
      done += n;
   }
   if (done < node.size) {
      // The descriptors end before the data does.
      return Err{UdfError::BadFormat};
   }
   return {};
}

UdfResult<std::shared_ptr<const Listing>> Volume::listing(const Node &dir) {
   if (!dir.isDirectory) {
      return Err{UdfError::NotDirectory};
   }
   auto cached = cache_.find(CacheKey(dir.icb));
   if (cached != cache_.end()) {
      return cached->second;
   }
   if (dir.size > kMaxDirectorySize) {
      return Err{UdfError::BadFormat};
   }
   std::vector<uint8_t> data(static_cast<size_t>(dir.size));
   TRP_TRY(readData(dir, data));
   auto listing = std::make_shared<Listing>();
   ByteView view(data.data(), data.size());
   size_t pos = 0;
   while (pos + kFidFixedSize <= view.size()) {
      ByteView rest = *view.from(pos);
      uint8_t characteristics = rest[18];
      uint8_t nameLength = rest[19];
      uint16_t implLength = *rest.le16(36);
      size_t used = kFidFixedSize + implLength + nameLength;
      size_t padded = (used + 3) & ~size_t{3};
      // An identifier's CRC covers the identifier and nothing past it (its
      // padding at most); a longer one would make every identifier of a
      // large directory checksum up to 64 KiB of the ones that follow.
      ByteView fid = rest.slice(0, padded).value_or(rest);
      if (*rest.le16(10) > padded - 16 || CheckTag(fid, std::nullopt) != kTagFileIdentifier) {
         return Err{UdfError::BadFormat};
      }
      auto name = rest.slice(kFidFixedSize + implLength, nameLength);
      if (!name) {
         return Err{UdfError::BadFormat};
      }
      if ((characteristics & (kFidDeleted | kFidParent)) == 0) {
         DirEntry e;
         e.name = Cs0ToUtf8(*name);
         for (char &c : e.name) {
            if (c == '/' || c == '\0') c = '_';
         }
         e.isDirectory = (characteristics & kFidDirectory) != 0;
         e.icb = LbAddr{*rest.le32(24), *rest.le16(28)};
         if (!e.name.empty() && e.name != "." && e.name != "..") {
            if (listing->entries.size() >= kMaxDirectoryEntries) {
               return Err{UdfError::BadFormat};
            }
            listing->entries.push_back(std::move(e));
         }
      }
      pos += padded;
   }
   if (cachedEntries_ + listing->entries.size() > kMaxCachedEntries) {
      cache_.clear();
      cachedEntries_ = 0;
   }
   cachedEntries_ += listing->entries.size();
   cache_.emplace(CacheKey(dir.icb), listing);
   return std::shared_ptr<const Listing>(listing);
}

UdfResult<Node> Volume::lookup(const Node &start, std::string_view path) {
   Node current = start;
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
         return Err{UdfError::NotFound};
      }
      auto list = listing(current);
      if (!list) {
         return Err{list.error()};
      }
      const DirEntry *found = nullptr;
      for (const DirEntry &e : (*list)->entries) {
         if (e.name == component) {
            found = &e;
            break;
         }
      }
      if (found == nullptr) {
         return Err{UdfError::NotFound};
      }
      auto node = readNode(found->icb);
      if (!node) {
         return Err{node.error()};
      }
      current = std::move(*node);
   }
   return current;
}

}  // namespace trp::udf
