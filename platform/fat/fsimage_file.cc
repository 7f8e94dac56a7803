// fsimage_file.cc --
//
//    Files of a FAT volume's root directory: opening and creating them, and
//    reading and writing their bytes through their cluster chains.

#include <algorithm>
#include <array>

#include "fat/fsimage.hh"

namespace trp::fat {

namespace {

// FAT records sizes in 32 bits.
constexpr uint64_t kMaxFileSize = 0xFFFFFFFFull;

uint64_t ClustersFor(uint64_t bytes, uint32_t clusterBytes) {
   return bytes / clusterBytes + (bytes % clusterBytes != 0 ? 1 : 0);
}

}  // namespace

FatResult<uint32_t> Volume::openFile(const ShortName &name) {
   if (closed_ || !mounted()) {
      return Err{FatError::State};
   }
   auto slot = root_->find(name);
   if (!slot) {
      return Err{slot.error()};
   }
   if (root_->slot(*slot).kind != SlotKind::File) {
      return Err{FatError::NotFound};
   }
   // A file whose chain is broken is refused here rather than half read.
   TRP_TRY(chainOf(*slot));
   return *slot;
}

FatResult<uint32_t> Volume::createFile(const ShortName &name) {
   if (closed_ || !mounted()) {
      return Err{FatError::State};
   }
   if (!image_.writable()) {
      return Err{FatError::ReadOnly};
   }
   if (root_->find(name)) {
      return Err{FatError::Exists};
   }
   auto slot = root_->create(name, DosStampNow());
   if (!slot) {
      return Err{slot.error()};
   }
   chains_[*slot] = {};
   return *slot;
}

uint32_t Volume::fileSize(uint32_t slot) const {
   return mounted() ? root_->slot(slot).size : 0;
}

FatResult<std::vector<uint32_t> *> Volume::chainOf(uint32_t slot) {
   if (auto cached = chains_.find(slot); cached != chains_.end()) {
      return &cached->second;
   }
   const SlotInfo info = root_->slot(slot);
   auto chain = fat_->chain(info.firstCluster);
   if (!chain) {
      return Err{chain.error()};
   }
   // The chain must hold every byte that the entry claims.
   if (ClustersFor(info.size, geometry_->clusterBytes()) > chain->size()) {
      return Err{FatError::Corrupt};
   }
   return &(chains_[slot] = std::move(chain).value());
}

FatResult<uint32_t> Volume::read(uint32_t slot, uint64_t offset, std::span<uint8_t> out) {
   if (closed_ || !mounted()) {
      return Err{FatError::State};
   }
   const uint64_t size = fileSize(slot);
   if (offset >= size || out.empty()) {
      return 0u;
   }
   auto chain = chainOf(slot);
   if (!chain) {
      return Err{chain.error()};
   }
   const uint32_t clusterBytes = geometry_->clusterBytes();
   const auto total = static_cast<uint32_t>(std::min<uint64_t>(out.size(), size - offset));
   uint32_t done = 0;
   while (done < total) {
      const uint64_t pos = offset + done;
      const uint64_t index = pos / clusterBytes;
      const auto within = static_cast<uint32_t>(pos % clusterBytes);
      if (index >= (*chain)->size()) {
         return Err{FatError::Corrupt};
      }
      const uint32_t chunk = std::min(clusterBytes - within, total - done);
      const uint64_t at = geometry_->clusterOffset((**chain)[index]) + within;
      if (auto r = image_.readAt(at, out.subspan(done, chunk)); !r) {
         return Err{FromFileError(r.error())};
      }
      done += chunk;
   }
   return total;
}

FatStatus Volume::writeSpan(const std::vector<uint32_t> &chain, uint64_t offset,
                            std::span<const uint8_t> data) {
   const uint32_t clusterBytes = geometry_->clusterBytes();
   size_t done = 0;
   while (done < data.size()) {
      const uint64_t pos = offset + done;
      const uint64_t index = pos / clusterBytes;
      const auto within = static_cast<uint32_t>(pos % clusterBytes);
      if (index >= chain.size()) {
         return Err{FatError::Corrupt};
      }
      const size_t chunk = std::min<size_t>(clusterBytes - within, data.size() - done);
      const uint64_t at = geometry_->clusterOffset(chain[index]) + within;
      if (auto w = image_.writeAt(at, data.subspan(done, chunk)); !w) {
         return Err{FromFileError(w.error())};
      }
      done += chunk;
   }
   return {};
}

FatStatus Volume::zeroSpan(const std::vector<uint32_t> &chain, uint64_t offset, uint64_t length) {
   static constexpr std::array<uint8_t, 4096> kZeros{};
   while (length > 0) {
      const auto chunk = static_cast<size_t>(std::min<uint64_t>(length, kZeros.size()));
      TRP_TRY(writeSpan(chain, offset, std::span<const uint8_t>(kZeros).first(chunk)));
      offset += chunk;
      length -= chunk;
   }
   return {};
}

FatStatus Volume::truncate(uint32_t slot) {
   auto chain = chainOf(slot);
   if (!chain) {
      return Err{chain.error()};
   }
   fat_->release(**chain);
   (*chain)->clear();
   root_->update(slot, 0, 0, DosStampNow());
   return {};
}

FatStatus Volume::write(uint32_t slot, uint64_t offset, std::span<const uint8_t> data) {
   if (closed_ || !mounted()) {
      return Err{FatError::State};
   }
   if (!image_.writable()) {
      return Err{FatError::ReadOnly};
   }
   if (offset > kMaxFileSize || data.size() > kMaxFileSize - offset) {
      return Err{FatError::DiskFull};
   }
   const uint64_t end = offset + data.size();
   const uint32_t clusterBytes = geometry_->clusterBytes();
   auto cached = chainOf(slot);
   if (!cached) {
      return Err{cached.error()};
   }
   std::vector<uint32_t> &chain = **cached;

   // Callers write a file from its start to its end, so a write at offset 0
   // begins the new content and the file is cut to nothing first: a shorter
   // content never keeps the old one's tail. (Opening cannot do this, since
   // files are opened the same way for reading.) The cut waits until the new
   // content is known to fit, so that a full disk keeps the old file.
   if (offset == 0) {
      if (ClustersFor(end, clusterBytes) > uint64_t{fat_->freeCount()} + chain.size()) {
         return Err{FatError::DiskFull};
      }
      TRP_TRY(truncate(slot));
   }
   const uint64_t size = fileSize(slot);
   if (data.empty()) {
      return {};
   }

   // Clusters are taken first and written; the FAT links them to the file
   // and the entry records them only once the data is in place. On failure
   // the new clusters are given back and the file is as it was.
   const uint64_t needed = ClustersFor(end, clusterBytes);
   std::vector<uint32_t> added;
   if (needed > chain.size()) {
      auto taken = fat_->allocate(static_cast<uint32_t>(needed - chain.size()));
      if (!taken) {
         return Err{taken.error()};
      }
      added = std::move(taken).value();
   }
   // The new clusters join the cached chain at once (so that a file written
   // sector by sector is not copied on every write) and leave it again if
   // the data cannot be written.
   const size_t oldLength = chain.size();
   chain.insert(chain.end(), added.begin(), added.end());

   FatStatus status;
   if (offset > size) {
      status = zeroSpan(chain, size, offset - size);  // a gap reads as zeros
   }
   if (status) {
      status = writeSpan(chain, offset, data);
   }
   if (!status) {
      chain.resize(oldLength);
      fat_->release(added);
      return status;
   }
   if (oldLength > 0 && !added.empty()) {
      fat_->link(chain[oldLength - 1], added.front());
   }
   root_->update(slot, static_cast<uint16_t>(chain.front()),
                 static_cast<uint32_t>(std::max(size, end)), DosStampNow());
   return {};
}

}  // namespace trp::fat
