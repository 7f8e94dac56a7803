// udf_builder.cc --
//
//    Pure UDF test images (see udf_builder.hh). Layout, 2048-byte blocks:
//    volume recognition at sectors 16-18, main and reserve volume
//    descriptor sequences at 32 and 48, anchor at 256, physical partition
//    from sector 288. With a metadata partition, physical blocks 0 and 1
//    hold the metadata file and its mirror, and the metadata partition's
//    blocks are physical blocks 2 onwards.

#include "udf_builder.hh"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <memory>
#include <unistd.h>
#include <vector>

namespace trtest {

namespace {

constexpr uint32_t kBs = 2048;
constexpr uint32_t kPartitionSector = 288;
constexpr uint32_t kMetadataBlocks = 256;  // size of the metadata partition

using Bytes = std::string;

void Le16(Bytes &b, size_t at, uint16_t v) {
   b[at] = static_cast<char>(v);
   b[at + 1] = static_cast<char>(v >> 8);
}
void Le32(Bytes &b, size_t at, uint32_t v) {
   for (int i = 0; i < 4; i++) b[at + i] = static_cast<char>(v >> (8 * i));
}
void Le64(Bytes &b, size_t at, uint64_t v) {
   for (int i = 0; i < 8; i++) b[at + i] = static_cast<char>(v >> (8 * i));
}

uint16_t Crc(const char *p, size_t n) {
   uint16_t crc = 0;
   for (size_t i = 0; i < n; i++) {
      crc ^= static_cast<uint16_t>(static_cast<uint8_t>(p[i]) << 8);
      for (int j = 0; j < 8; j++) {
         crc = (crc & 0x8000) ? static_cast<uint16_t>((crc << 1) ^ 0x1021)
                              : static_cast<uint16_t>(crc << 1);
      }
   }
   return crc;
}

// Fills in the tag of descriptor d: identifier, location, and checksum and
// CRC over the rest of d.
void Tag(Bytes &d, uint16_t id, uint32_t location) {
   Le16(d, 0, id);
   Le16(d, 2, 3);
   Le32(d, 12, location);
   uint16_t crcLength = static_cast<uint16_t>(d.size() - 16);
   Le16(d, 10, crcLength);
   Le16(d, 8, Crc(d.data() + 16, crcLength));
   uint8_t sum = 0;
   for (int i = 0; i < 16; i++) {
      if (i != 4) sum = static_cast<uint8_t>(sum + static_cast<uint8_t>(d[i]));
   }
   d[4] = static_cast<char>(sum);
}

Bytes Regid(const char *id) {
   Bytes r(32, '\0');
   std::memcpy(&r[1], id, std::strlen(id));
   return r;
}

// OSTA compressed Unicode: 8-bit for ASCII names, 16-bit (UTF-16BE) from
// the UTF-8 name otherwise.
Bytes Cs0(const std::string &name, bool sixteen) {
   if (!sixteen) {
      return Bytes(1, '\x08') + name;
   }
   Bytes out(1, '\x10');
   for (size_t i = 0; i < name.size();) {
      unsigned char c = static_cast<unsigned char>(name[i]);
      uint32_t cp = c;
      size_t n = 1;
      if (c >= 0xF0) { cp = c & 0x07; n = 4; }
      else if (c >= 0xE0) { cp = c & 0x0F; n = 3; }
      else if (c >= 0xC0) { cp = c & 0x1F; n = 2; }
      for (size_t k = 1; k < n && i + k < name.size(); k++) {
         cp = (cp << 6) | (static_cast<unsigned char>(name[i + k]) & 0x3F);
      }
      i += n;
      auto unit = [&out](uint32_t u) {
         out.push_back(static_cast<char>(u >> 8));
         out.push_back(static_cast<char>(u & 0xFF));
      };
      if (cp >= 0x10000) {
         unit(0xD800 + ((cp - 0x10000) >> 10));
         unit(0xDC00 + ((cp - 0x10000) & 0x3FF));
      } else {
         unit(cp);
      }
   }
   return out;
}

struct Node {
   std::string name;
   bool isDir = true;
   std::map<std::string, std::unique_ptr<Node>> children;  // sorted
   const UdfFile *file = nullptr;
   uint32_t entryBlock = 0;   // block of the file entry (in its partition)
   uint32_t dataBlock = 0;    // first block of the data
   uint32_t parentEntry = 0;
};

class Builder {
public:
   Builder(const UdfSpec &spec) : spec_(spec), meta_(spec.revision == UdfSpec::Udf250) {}

   bool build(const std::string &path, UdfLayout *layout) {
      for (const std::string &d : spec_.dirs) node(d, true);
      for (const UdfFile &f : spec_.files) node(f.path, false)->file = &f;
      // Entries live in the metadata partition (2.50) or at the start of
      // the physical partition (2.01); file data follows.
      nextEntryBlock_ = 1;  // block 0 holds the file set descriptor
      nextDataBlock_ = meta_ ? 2 + kMetadataBlocks : kMetadataBlocks;
      place(&root_, 0);
      if (nextEntryBlock_ > kMetadataBlocks) {
         return false;  // more entries than this small builder has room for
      }
      uint64_t needed = (static_cast<uint64_t>(kPartitionSector) + maxBlock_ + 2) * kBs;
      uint64_t size = std::max<uint64_t>(needed, spec_.imageSize);
      partitionBlocks_ = static_cast<uint32_t>(size / kBs - kPartitionSector);

      fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
      if (fd_ < 0 || ::ftruncate(fd_, static_cast<off_t>(size)) != 0) {
         return false;
      }
      writeVolumeStructures();
      writeFileSet();
      writeTree(&root_);
      if (layout != nullptr) {
         layout->anchorOffset = 256ull * kBs;
         layout->lvdOffset = 34ull * kBs;
         layout->partitionStart = static_cast<uint64_t>(kPartitionSector) * kBs;
         layout->rootEntryOffset = offsetOf(root_.entryBlock);
         layout->rootDataOffset = offsetOf(root_.dataBlock);
      }
      bool ok = ok_;
      ::close(fd_);
      return ok;
   }

private:
   Node *node(const std::string &path, bool isDir) {
      Node *cur = &root_;
      size_t pos = 0;
      while (pos < path.size()) {
         size_t slash = path.find('/', pos);
         std::string part = path.substr(pos, slash == std::string::npos ? std::string::npos
                                                                        : slash - pos);
         pos = slash == std::string::npos ? path.size() : slash + 1;
         if (part.empty()) continue;
         auto &child = cur->children[part];
         if (!child) {
            child = std::make_unique<Node>();
            child->name = part;
            child->isDir = pos < path.size() || isDir;
         }
         cur = child.get();
      }
      return cur;
   }

   // Physical-partition block of a block of the partition entries live in.
   uint64_t physicalBlock(uint32_t entryPartitionBlock) const {
      return meta_ ? 2 + static_cast<uint64_t>(entryPartitionBlock) : entryPartitionBlock;
   }
   uint64_t offsetOf(uint32_t entryPartitionBlock) const {
      return (kPartitionSector + physicalBlock(entryPartitionBlock)) * kBs;
   }
   uint64_t dataOffset(uint32_t physical) const {
      return (static_cast<uint64_t>(kPartitionSector) + physical) * kBs;
   }

   void place(Node *n, uint32_t parentEntry) {
      n->parentEntry = parentEntry;
      n->entryBlock = nextEntryBlock_++;
      if (n->isDir) {
         n->dataBlock = nextEntryBlock_;
         nextEntryBlock_ += 1 + static_cast<uint32_t>(dirBytes(n) / kBs);
         for (auto &c : n->children) place(c.second.get(), n->entryBlock);
      } else if (n->file != nullptr && !n->file->embedded && !n->file->contents.empty()) {
         uint64_t blocks = dataBlocks(*n->file);
         if (n->file->atBlock != 0) {
            n->dataBlock = static_cast<uint32_t>(n->file->atBlock);
         } else {
            n->dataBlock = nextDataBlock_;
            nextDataBlock_ += static_cast<uint32_t>(blocks);
         }
         maxBlock_ = std::max<uint64_t>(maxBlock_, n->dataBlock + blocks);
      }
      maxBlock_ = std::max<uint64_t>(maxBlock_, std::max<uint64_t>(nextDataBlock_,
                                                                   physicalBlock(nextEntryBlock_)));
   }

   // Where the pieces of a file's data go: (offset in the contents, bytes,
   // physical block), one free block after each piece.
   struct DataPiece {
      size_t from;
      size_t bytes;
      uint32_t block;
   };
   static std::vector<DataPiece> pieces(const UdfFile &f, uint32_t firstBlock) {
      std::vector<DataPiece> out;
      size_t step = f.extentBytes != 0 ? f.extentBytes : f.contents.size();
      uint32_t block = firstBlock;
      for (size_t from = 0; from < f.contents.size(); from += step) {
         size_t bytes = std::min(step, f.contents.size() - from);
         out.push_back({from, bytes, block});
         block += static_cast<uint32_t>((bytes + kBs - 1) / kBs) + 1;
      }
      return out;
   }
   // Blocks the data takes, gaps and the allocation extent descriptor
   // (the last block) included.
   static uint64_t dataBlocks(const UdfFile &f) {
      auto p = pieces(f, 0);
      return p.empty() ? 0 : p.back().block + (p.back().bytes + kBs - 1) / kBs + 2;
   }

   size_t fidSize(size_t nameBytes) const { return (38 + nameBytes + 3) & ~size_t{3}; }

   size_t dirBytes(const Node *n) const {
      size_t total = fidSize(0);
      for (auto &c : n->children) total += fidSize(Cs0(c.first, spec_.cs0Sixteen).size());
      return total;
   }

   void put(uint64_t offset, const Bytes &b) {
      if (::pwrite(fd_, b.data(), b.size(), static_cast<off_t>(offset)) !=
          static_cast<ssize_t>(b.size())) {
         ok_ = false;
      }
   }

   void writeVolumeStructures() {
      for (int i = 0; i < 3; i++) {
         Bytes vrs(kBs, '\0');
         const char *ids[] = {"BEA01", "NSR03", "TEA01"};
         std::memcpy(&vrs[1], ids[i], 5);
         vrs[6] = 1;
         put((16ull + i) * kBs, vrs);
      }
      for (uint32_t base : {32u, 48u}) {
         Bytes pvd(512, '\0');
         Tag(pvd, 1, base);
         put(base * kBs, pvd);

         Bytes pd(512, '\0');
         Le16(pd, 20, 1);
         Le16(pd, 22, 0);
         pd.replace(24, 32, Regid("+NSR03"));
         Le32(pd, 184, 1);
         Le32(pd, 188, kPartitionSector);
         Le32(pd, 192, partitionBlocks_);
         Tag(pd, 5, base + 1);
         put((base + 1ull) * kBs, pd);

         Bytes maps;
         Bytes type1(6, '\0');
         type1[0] = 1;
         type1[1] = 6;
         Le16(type1, 2, 1);
         maps += type1;
         if (meta_) {
            Bytes type2(64, '\0');
            type2[0] = 2;
            type2[1] = 64;
            type2.replace(4, 32, Regid("*UDF Metadata Partition"));
            Le16(type2, 36, 1);
            Le16(type2, 38, 0);
            Le32(type2, 40, 0);          // metadata file
            Le32(type2, 44, 1);          // its mirror
            Le32(type2, 48, 0xFFFFFFFF);
            Le32(type2, 52, 32);
            Le16(type2, 56, 1);
            maps += type2;
         }
         Bytes lvd(440, '\0');
         Le32(lvd, 212, kBs);
         lvd.replace(216, 32, Regid("*OSTA UDF Compliant"));
         Le32(lvd, 248, kBs);
         Le32(lvd, 252, 0);                         // file set descriptor block
         Le16(lvd, 256, meta_ ? 1 : 0);             // ... in this partition
         Le32(lvd, 264, static_cast<uint32_t>(maps.size()));
         Le32(lvd, 268, meta_ ? 2 : 1);
         lvd += maps;
         Tag(lvd, 6, base + 2);
         put((base + 2ull) * kBs, lvd);

         Bytes td(512, '\0');
         Tag(td, 8, base + 3);
         put((base + 3ull) * kBs, td);
      }
      Bytes avdp(512, '\0');
      Le32(avdp, 16, 16 * kBs);
      Le32(avdp, 20, 32);
      Le32(avdp, 24, 16 * kBs);
      Le32(avdp, 28, 48);
      Tag(avdp, 2, 256);
      put(256ull * kBs, avdp);

      if (meta_) {
         // The metadata file and its mirror: one extent covering the
         // metadata partition.
         for (uint32_t block : {0u, 1u}) {
            Bytes ad(8, '\0');
            Le32(ad, 0, kMetadataBlocks * kBs);
            Le32(ad, 4, 2);
            put(dataOffset(block), entry(block, block == 0 ? 250 : 251,
                                         kMetadataBlocks * kBs, 0, ad, 0));
         }
      }
   }

   // A (extended) file entry at `block` of its partition.
   Bytes entry(uint32_t block, uint8_t fileType, uint64_t size, int adType, const Bytes &ads,
               uint32_t parent) {
      bool extended = meta_;
      size_t base = extended ? 216 : 176;
      Bytes e(base, '\0');
      Le16(e, 20, 4);  // strategy 4
      Le16(e, 24, 1);
      e[27] = static_cast<char>(fileType);
      Le32(e, 28, parent);
      Le16(e, 34, static_cast<uint16_t>(adType));
      Le32(e, 44, 0x7FFF);
      Le16(e, 48, 1);
      Le64(e, 56, size);
      Le32(e, extended ? 212 : 172, static_cast<uint32_t>(ads.size()));
      e += ads;
      Tag(e, extended ? 266 : 261, block);
      return e;
   }

   void writeFileSet() {
      Bytes fsd(512, '\0');
      Le16(fsd, 28, 3);
      Le16(fsd, 30, 3);
      Le32(fsd, 400, kBs);
      Le32(fsd, 404, root_.entryBlock);
      Le16(fsd, 408, meta_ ? 1 : 0);
      fsd.replace(416, 32, Regid("*OSTA UDF Compliant"));
      Tag(fsd, 256, 0);
      put(offsetOf(0), fsd);
   }

   Bytes fid(uint8_t characteristics, const Bytes &name, uint32_t icbBlock, uint32_t location) {
      Bytes f(38, '\0');
      Le16(f, 16, 1);
      f[18] = static_cast<char>(characteristics);
      f[19] = static_cast<char>(name.size());
      Le32(f, 20, kBs);
      Le32(f, 24, icbBlock);
      Le16(f, 28, meta_ ? 1 : 0);
      f += name;
      f.resize((f.size() + 3) & ~size_t{3}, '\0');
      Tag(f, 257, location);
      return f;
   }

   void writeTree(Node *n) {
      if (n->isDir) {
         Bytes data = fid(0x0A, "", n->parentEntry, n->dataBlock);
         for (auto &c : n->children) {
            uint8_t ch = c.second->isDir ? 0x02 : 0x00;
            data += fid(ch, Cs0(c.first, spec_.cs0Sixteen), c.second->entryBlock, n->dataBlock);
         }
         Bytes ad(8, '\0');
         Le32(ad, 0, static_cast<uint32_t>(data.size()));
         Le32(ad, 4, n->dataBlock);
         put(offsetOf(n->entryBlock), entry(n->entryBlock, 4, data.size(), 0, ad, n->parentEntry));
         put(offsetOf(n->dataBlock), data);
         for (auto &c : n->children) writeTree(c.second.get());
         return;
      }
      const std::string &contents = n->file != nullptr ? n->file->contents : std::string();
      if (n->file != nullptr && n->file->embedded) {
         put(offsetOf(n->entryBlock), entry(n->entryBlock, 5, contents.size(), 3, contents,
                                            n->parentEntry));
         return;
      }
      Bytes ads;
      if (!contents.empty()) {
         // Data in the physical partition: long ADs from the metadata
         // partition's entries, short ones otherwise.
         auto ad = [this](uint32_t lengthAndType, uint32_t block) {
            Bytes a(meta_ ? 16 : 8, '\0');
            Le32(a, 0, lengthAndType);
            Le32(a, 4, block);
            return a;
         };
         std::vector<DataPiece> parts = pieces(*n->file, n->dataBlock);
         Bytes more;
         for (size_t i = 0; i < parts.size(); i++) {
            put(dataOffset(parts[i].block), contents.substr(parts[i].from, parts[i].bytes));
            (i == 0 || !n->file->viaAed ? ads : more) +=
               ad(static_cast<uint32_t>(parts[i].bytes), parts[i].block);
         }
         if (!more.empty()) {
            uint32_t aedBlock = static_cast<uint32_t>(n->dataBlock + dataBlocks(*n->file) - 1);
            Bytes aed(24, '\0');
            Le32(aed, 20, static_cast<uint32_t>(more.size()));
            aed += more;
            Tag(aed, 258, aedBlock);
            put(dataOffset(aedBlock), aed);
            ads += ad((3u << 30) | kBs, aedBlock);
         }
      }
      put(offsetOf(n->entryBlock),
          entry(n->entryBlock, 5, contents.size(), meta_ ? 1 : 0, ads, n->parentEntry));
   }

   const UdfSpec &spec_;
   bool meta_;
   Node root_;
   uint32_t nextEntryBlock_ = 1;
   uint32_t nextDataBlock_ = 0;
   uint64_t maxBlock_ = 0;
   uint32_t partitionBlocks_ = 0;
   int fd_ = -1;
   bool ok_ = true;
};

}  // namespace

bool BuildUdfImage(const std::string &path, const UdfSpec &spec, UdfLayout *layout) {
   Builder b(spec);
   return b.build(path, layout);
}

bool FixUdfTag(const std::string &path, uint64_t offset) {
   int fd = ::open(path.c_str(), O_RDWR);
   if (fd < 0) {
      return false;
   }
   Bytes head(16, '\0');
   bool ok = ::pread(fd, head.data(), 16, static_cast<off_t>(offset)) == 16;
   uint16_t crcLength = static_cast<uint16_t>(static_cast<uint8_t>(head[10]) |
                                              (static_cast<uint8_t>(head[11]) << 8));
   Bytes d(16 + crcLength, '\0');
   ok = ok && ::pread(fd, d.data(), d.size(), static_cast<off_t>(offset)) ==
                 static_cast<ssize_t>(d.size());
   if (ok) {
      uint16_t id = static_cast<uint16_t>(static_cast<uint8_t>(d[0]) |
                                          (static_cast<uint8_t>(d[1]) << 8));
      uint32_t loc = 0;
      for (int i = 0; i < 4; i++) loc |= static_cast<uint32_t>(static_cast<uint8_t>(d[12 + i])) << (8 * i);
      Tag(d, id, loc);
      ok = ::pwrite(fd, d.data(), 16, static_cast<off_t>(offset)) == 16;
   }
   ::close(fd);
   return ok;
}

}  // namespace trtest
