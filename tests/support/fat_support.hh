// fat_support.hh --
//
//    Shared by the tests that make or read FAT images: an image opened
//    through the C interface, whole-file reads and writes through it, and
//    the dosfstools/mtools checks that every written image must pass.

#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <trplatform/fsimage.h>

#include "testsupport.hh"

namespace fattest {

// A volume and its root directory, closed (volume last) on destruction.
class Image {
public:
   enum class How { Format, Open, OpenReadOnly };

   Image(const std::string &path, How how) {
      if (how == How::Format) {
         err_ = FSImage_FormatVolume(nullptr, path.c_str(), 1, 1, &volume_);
      } else {
         err_ = FSImage_OpenVolume(nullptr, path.c_str(), how == How::Open ? 1 : 0, &volume_);
      }
      if (err_ == FSIMAGE_OK) {
         err_ = FSImage_SkipVolumeBoot(volume_, FSIMAGE_FAT_FILE_SYSTEM);
      }
      if (err_ == FSIMAGE_OK) {
         err_ = FSImage_OpenRootDirectory(volume_, &dir_);
      }
   }
   ~Image() { close(); }
   Image(const Image &) = delete;
   Image &operator=(const Image &) = delete;

   // Closes directory and volume; the volume's close result.
   FSImageError close() {
      FSImageError e = FSIMAGE_OK;
      if (dir_ != nullptr) {
         e = FSImage_Close(dir_);
         dir_ = nullptr;
      }
      if (volume_ != nullptr) {
         FSImageError v = FSImage_Close(volume_);
         e = e != FSIMAGE_OK ? e : v;
         volume_ = nullptr;
      }
      return e;
   }

   FSImageError error() const { return err_; }
   FSImageVolume *volume() const { return volume_; }
   FSImageDir *dir() const { return dir_; }

private:
   FSImageError err_ = FSIMAGE_ERR_STATE;
   FSImageVolume *volume_ = nullptr;
   FSImageDir *dir_ = nullptr;
};

// Opens name (creating it when missing) and writes content from offset 0 in
// pieces of chunk bytes; the first error.
inline FSImageError PutFile(FSImageDir *dir, const std::string &name, std::string_view content,
                            size_t chunk = 512) {
   FSImageFile *file = nullptr;
   FSImageError e = FSImage_OpenFile(dir, name.c_str(), &file);
   if (e == FSIMAGE_ERR_NOT_FOUND) {
      e = FSImage_CreateFile(dir, name.c_str(), &file);
   }
   if (e != FSIMAGE_OK) {
      return e;
   }
   size_t off = 0;
   do {
      const size_t n = std::min(chunk, content.size() - off);
      uint32_t written = 0;
      e = FSImage_Write(file, off, content.data() + off, static_cast<uint32_t>(n), &written);
      if (e == FSIMAGE_OK && written != n) {
         e = FSIMAGE_ERR_IO;
      }
      off += n;
   } while (e == FSIMAGE_OK && off < content.size());
   FSImageError c = FSImage_Close(file);
   return e != FSIMAGE_OK ? e : c;
}

// The whole file, read in pieces of chunk bytes; nothing when it cannot be
// opened or read.
inline std::optional<std::string> GetFile(FSImageDir *dir, const std::string &name,
                                          size_t chunk = 700) {
   FSImageFile *file = nullptr;
   if (FSImage_OpenFile(dir, name.c_str(), &file) != FSIMAGE_OK) {
      return std::nullopt;
   }
   std::string out;
   std::string buf(chunk, '\0');
   for (;;) {
      uint32_t got = 0;
      if (FSImage_Read(file, out.size(), buf.data(), static_cast<uint32_t>(chunk), &got) !=
          FSIMAGE_OK) {
         FSImage_Close(file);
         return std::nullopt;
      }
      if (got == 0) {
         break;
      }
      out.append(buf, 0, got);
   }
   uint64_t size = 0;
   EXPECT_EQ(FSImage_GetFileSize(file, &size), FSIMAGE_OK);
   EXPECT_EQ(size, out.size());
   FSImage_Close(file);
   return out;
}

// Names of the in-use slots, as GetCatInfo gives them.
inline std::vector<std::string> ListNames(FSImageDir *dir) {
   std::vector<std::string> names;
   const uint32_t n = FSImage_GetNumDirEntries(dir);
   for (uint32_t i = 0; i < n; i++) {
      Bool inUse = FALSE;
      char *name = nullptr;
      EXPECT_EQ(FSImage_GetCatInfo(dir, i, &inUse, &name, nullptr, nullptr, nullptr), FSIMAGE_OK);
      if (inUse) {
         names.emplace_back(name);
      }
      free(name);
   }
   return names;
}

// Deterministic bytes of every value, NULs included.
inline std::string Pattern(size_t n, uint32_t seed = 1) {
   std::string s(n, '\0');
   uint32_t x = seed * 2654435761u + 1;
   for (auto &c : s) {
      x = x * 1103515245u + 12345u;
      c = static_cast<char>(x >> 16);
   }
   return s;
}

// Overwrites bytes of the image file at offset (crafting damaged images).
inline void Patch(const std::string &path, off_t offset, std::string_view bytes) {
   const int fd = open(path.c_str(), O_RDWR);
   ASSERT_GE(fd, 0);
   ASSERT_EQ(pwrite(fd, bytes.data(), bytes.size(), offset), static_cast<ssize_t>(bytes.size()));
   close(fd);
}

// Runs a dosfstools/mtools command (mtools without its geometry check).
inline trtest::CommandResult Tool(const std::vector<std::string> &argv) {
   trtest::ScopedEnv skip("MTOOLS_SKIP_CHECK", "1");
   return trtest::RunCommand(argv);
}

inline bool HaveFatTools() {
   for (const char *t : {"mkfs.fat", "fsck.fat", "mformat", "mcopy", "mdir", "mtype"}) {
      if (!trtest::HaveTool(t)) {
         return false;
      }
   }
   return true;
}

#define FAT_REQUIRE_TOOLS()                                      \
   do {                                                          \
      if (!fattest::HaveFatTools()) {                            \
         GTEST_SKIP() << "dosfstools/mtools are not installed";  \
      }                                                          \
   } while (0)

// fsck.fat -n finds nothing to repair.
inline void ExpectFsckClean(const std::string &image) {
   auto r = Tool({"fsck.fat", "-n", image});
   EXPECT_EQ(r.exitCode, 0) << r.output;
}

// mtype prints exactly content for ::name.
inline void ExpectMtype(const std::string &image, const std::string &name,
                        const std::string &content) {
   auto r = Tool({"mtype", "-i", image, "::" + name});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_TRUE(r.output == content) << "mtype ::" << name << " differs (" << r.output.size()
                                    << " bytes, want " << content.size() << ")";
}

// The names that mdir -b lists, without the "::/" prefix.
inline std::vector<std::string> MdirNames(const std::string &image) {
   auto r = Tool({"mdir", "-b", "-i", image, "::"});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   std::vector<std::string> names;
   size_t pos = 0;
   while (pos < r.output.size()) {
      size_t eol = r.output.find('\n', pos);
      if (eol == std::string::npos) eol = r.output.size();
      std::string line = r.output.substr(pos, eol - pos);
      if (line.rfind("::/", 0) == 0) {
         names.push_back(line.substr(3));
      }
      pos = eol + 1;
   }
   return names;
}

}  // namespace fattest
