// iso_craft.hh --
//
//    A tiny ISO 9660 builder for images the mastering tools will not make:
//    damaged structures, directory cycles, and files far past 4 GiB in a
//    sparse image. Writes raw structures at chosen blocks of a file.

#pragma once

#include <cstdint>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <vector>
#include <unistd.h>

#include <gtest/gtest.h>

namespace isocraft {

constexpr uint32_t kBlock = 2048;

inline void PutLe16(std::string &s, size_t at, uint16_t v) {
   s[at] = static_cast<char>(v & 0xFF);
   s[at + 1] = static_cast<char>(v >> 8);
}
inline void PutBe16(std::string &s, size_t at, uint16_t v) {
   s[at] = static_cast<char>(v >> 8);
   s[at + 1] = static_cast<char>(v & 0xFF);
}
inline void PutLe32(std::string &s, size_t at, uint32_t v) {
   for (int i = 0; i < 4; i++) s[at + i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}
inline void PutBe32(std::string &s, size_t at, uint32_t v) {
   for (int i = 0; i < 4; i++) s[at + i] = static_cast<char>((v >> (8 * (3 - i))) & 0xFF);
}

// One directory record; `su` is its system-use area.
inline std::string Record(uint32_t extent, uint32_t size, uint8_t flags, std::string_view id,
                          std::string_view su = "") {
   size_t len = 33 + id.size() + (id.size() % 2 == 0 ? 1 : 0) + su.size();
   std::string r(len, '\0');
   r[0] = static_cast<char>(len);
   PutLe32(r, 2, extent);
   PutBe32(r, 6, extent);
   PutLe32(r, 10, size);
   PutBe32(r, 14, size);
   r[25] = static_cast<char>(flags);
   PutLe16(r, 28, 1);
   PutBe16(r, 30, 1);
   r[32] = static_cast<char>(id.size());
   r.replace(33, id.size(), id);
   r.replace(len - su.size(), su.size(), su);
   return r;
}

// "." and ".." of a directory at `self` (size bytes) below `parent`.
inline std::string DotRecords(uint32_t self, uint32_t size, uint32_t parent, uint32_t parentSize,
                              std::string_view dotSu = "") {
   return Record(self, size, 2, std::string_view("\0", 1), dotSu) +
          Record(parent, parentSize, 2, std::string_view("\1", 1));
}

// Lays records out as a directory extent: a record that would cross a
// 2048-byte sector starts the next one, the gap is zero padding, and the
// last sector is padded out.
inline std::string PackRecords(const std::vector<std::string> &records) {
   std::string out;
   for (const std::string &r : records) {
      size_t left = kBlock - out.size() % kBlock;
      if (r.size() > left) {
         out.append(left, '\0');
      }
      out += r;
   }
   out.append((kBlock - out.size() % kBlock) % kBlock, '\0');
   return out;
}

// The SUSP "SP" indicator and a Rock Ridge "RR" entry, for the root's "."
// record, so that the image counts as Rock Ridge.
inline std::string RockRidgeRootSu() {
   return std::string("SP\x07\x01\xBE\xEF\x00", 7) + std::string("RR\x05\x01\x81", 5);
}

// A Rock Ridge "NM" entry holding name.
inline std::string NameEntry(std::string_view name) {
   std::string nm("NM\0\x01\x00", 5);
   nm[2] = static_cast<char>(5 + name.size());
   return nm + std::string(name);
}

inline std::string Descriptor(uint8_t type, uint32_t rootExtent, uint32_t rootSize,
                              uint32_t volumeBlocks, std::string_view volumeId,
                              uint16_t blockSize = 2048) {
   std::string d(kBlock, '\0');
   d[0] = static_cast<char>(type);
   d.replace(1, 5, "CD001");
   d[6] = 1;
   std::string vid(volumeId);
   vid.resize(32, ' ');
   d.replace(40, 32, vid);
   PutLe32(d, 80, volumeBlocks);
   PutBe32(d, 84, volumeBlocks);
   PutLe16(d, 128, blockSize);
   PutBe16(d, 130, blockSize);
   d.replace(156, 34, Record(rootExtent, rootSize, 2, std::string_view("\0", 1)));
   return d;
}

inline std::string Terminator() {
   std::string d(kBlock, '\0');
   d[0] = static_cast<char>(255);
   d.replace(1, 5, "CD001");
   d[6] = 1;
   return d;
}

// A sparse image file of `size` bytes to which blocks are written.
class Image {
public:
   Image(const std::string &path, uint64_t size) : path_(path) {
      fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
      EXPECT_GE(fd_, 0);
      EXPECT_EQ(::ftruncate(fd_, static_cast<off_t>(size)), 0);
   }
   ~Image() { ::close(fd_); }
   void put(uint64_t offset, std::string_view bytes) {
      EXPECT_EQ(::pwrite(fd_, bytes.data(), bytes.size(), static_cast<off_t>(offset)),
                static_cast<ssize_t>(bytes.size()));
   }
   void putBlock(uint32_t block, std::string_view bytes) {
      put(static_cast<uint64_t>(block) * kBlock, bytes);
   }
   const std::string &path() const { return path_; }

private:
   std::string path_;
   int fd_ = -1;
};

}  // namespace isocraft
