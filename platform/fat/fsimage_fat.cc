// fsimage_fat.cc --
//
//    The file allocation table of a FAT12/FAT16 volume: reading and setting
//    entries, walking cluster chains with a bound, and allocating and
//    releasing clusters.

#include "fat/fsimage.hh"

namespace trp::fat {

FatTable::FatTable(FatType type, uint32_t maxCluster, std::vector<uint8_t> bytes)
   : type_(type), maxCluster_(maxCluster), bytes_(std::move(bytes)) {
   for (uint32_t c = 2; c <= maxCluster_; c++) {
      if (get(c) == 0) {
         freeCount_++;
      }
   }
}

FatResult<FatTable> FatTable::load(const ImageFile &image, const Geometry &geometry) {
   // Only the part that describes real clusters is read: a BPB may claim a
   // FAT far larger than the volume needs.
   std::vector<uint8_t> bytes(static_cast<size_t>(geometry.fatUsedBytes()));
   auto read = image.readAt(geometry.fatOffset(0), bytes);
   if (!read) {
      return Err{FromFileError(read.error())};
   }
   return FatTable(geometry.type(), geometry.maxCluster(), std::move(bytes));
}

uint32_t FatTable::get(uint32_t c) const {
   const ByteView view(bytes_.data(), bytes_.size());
   if (c > maxCluster_) {
      return badMark();
   }
   if (type_ == FatType::Fat16) {
      return view.le16(uint64_t{c} * 2).value_or(badMark());
   }
   // FAT12: two entries share three bytes; an even entry takes the low 12
   // bits of the 16-bit word at c * 1.5, an odd entry the high 12 bits.
   auto word = view.le16(uint64_t{c} + c / 2);
   if (!word) {
      return badMark();
   }
   return (c & 1) ? (*word >> 4) : (*word & 0xFFFu);
}

void FatTable::set(uint32_t c, uint32_t value) {
   if (c < 2 || c > maxCluster_) {
      return;
   }
   const bool wasFree = get(c) == 0;
   const size_t off = type_ == FatType::Fat16 ? size_t{c} * 2 : size_t{c} + c / 2;
   if (off + 1 >= bytes_.size()) {
      return;
   }
   uint32_t word;
   if (type_ == FatType::Fat16) {
      word = value & 0xFFFFu;
   } else {
      const uint32_t old = bytes_[off] | (uint32_t{bytes_[off + 1]} << 8);
      word = (c & 1) ? ((old & 0x000Fu) | ((value & 0xFFFu) << 4))
                     : ((old & 0xF000u) | (value & 0xFFFu));
   }
   bytes_[off] = static_cast<uint8_t>(word);
   bytes_[off + 1] = static_cast<uint8_t>(word >> 8);
   dirty_ = true;

   const bool isFree = value == 0;
   if (wasFree && !isFree) {
      freeCount_--;
   } else if (!wasFree && isFree) {
      freeCount_++;
   }
}

FatResult<std::vector<uint32_t>> FatTable::chain(uint32_t first) const {
   std::vector<uint32_t> clusters;
   if (first == 0) {
      return clusters;
   }
   const uint32_t endFrom = type_ == FatType::Fat12 ? 0xFF8u : 0xFFF8u;
   uint32_t c = first;
   for (;;) {
      if (c < 2 || c > maxCluster_) {
         return Err{FatError::Corrupt};
      }
      // A chain cannot hold more clusters than the volume has: one that
      // does runs in a loop.
      if (clusters.size() >= maxCluster_ - 1) {
         return Err{FatError::Corrupt};
      }
      clusters.push_back(c);
      const uint32_t next = get(c);
      if (next >= endFrom) {
         return clusters;
      }
      // Free, reserved and bad marks, and numbers past the last cluster,
      // are all caught by the range check above.
      c = next;
   }
}

FatResult<std::vector<uint32_t>> FatTable::allocate(uint32_t count) {
   std::vector<uint32_t> taken;
   if (count > freeCount_) {
      return Err{FatError::DiskFull};
   }
   taken.reserve(count);
   // Search onwards from the last allocation, so that files written one
   // after another lie in consecutive clusters and the search stays short.
   const uint32_t span = maxCluster_ - 1;
   for (uint32_t i = 0; i < span && taken.size() < count; i++) {
      const uint32_t c = 2 + (nextFree_ - 2 + i) % span;
      if (get(c) == 0) {
         taken.push_back(c);
      }
   }
   if (taken.size() < count) {
      return Err{FatError::DiskFull};  // the free count was wrong: stay unchanged
   }
   for (size_t i = 0; i < taken.size(); i++) {
      set(taken[i], i + 1 < taken.size() ? taken[i + 1] : endMark());
   }
   if (!taken.empty()) {
      nextFree_ = taken.back() < maxCluster_ ? taken.back() + 1 : 2;
   }
   return taken;
}

void FatTable::link(uint32_t from, uint32_t to) {
   set(from, to);
}

void FatTable::release(std::span<const uint32_t> clusters) {
   for (uint32_t c : clusters) {
      set(c, 0);
   }
}

FatStatus FatTable::flush(ImageFile &image, const Geometry &geometry) {
   if (!dirty_) {
      return {};
   }
   // The whole table goes to every copy, so that copies that differed
   // before are identical afterwards.
   for (uint32_t copy = 0; copy < geometry.numFats(); copy++) {
      auto written = image.writeAt(geometry.fatOffset(copy), bytes_);
      if (!written) {
         return Err{FromFileError(written.error())};
      }
   }
   dirty_ = false;
   return {};
}

}  // namespace trp::fat
