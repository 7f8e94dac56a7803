// fsimage_fuzzer.cc --
//
//    The input is the start of a floppy image. It is written to a temporary
//    file, which is extended with zeros to 4 MiB so that a small input can
//    describe larger volumes (FAT16 among them). The target opens the
//    volume, lists every root directory slot, reads every file, then writes,
//    shortens and re-reads a file of its own, before and after reopening
//    the image. Whatever the input, every call must return (an error code
//    is fine), and what was written must read back.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <trplatform/fsimage.h>

namespace {

constexpr off_t kImageFloor = 4 << 20;
constexpr uint32_t kChunk = 512;

std::string TempImage(const uint8_t *data, size_t size) {
   const char *dir = getenv("TMPDIR");
   std::string path = std::string(dir != nullptr && *dir != '\0' ? dir : "/tmp") +
                      "/fsimage-fuzz-XXXXXX";
   const int fd = mkstemp(path.data());
   if (fd < 0) {
      return {};
   }
   bool ok = write(fd, data, size) == static_cast<ssize_t>(size);
   if (ok && static_cast<off_t>(size) < kImageFloor) {
      ok = ftruncate(fd, kImageFloor) == 0;
   }
   close(fd);
   if (!ok) {
      unlink(path.c_str());
      return {};
   }
   return path;
}

// Reads a whole file in sector-sized pieces; the bytes read.
std::vector<uint8_t> ReadAll(FSImageFile *file) {
   std::vector<uint8_t> out;
   uint8_t buf[kChunk];
   for (;;) {
      uint32_t got = 0;
      if (FSImage_Read(file, out.size(), buf, sizeof buf, &got) != FSIMAGE_OK || got == 0) {
         return out;
      }
      if (got > sizeof buf) {
         __builtin_trap();
      }
      out.insert(out.end(), buf, buf + got);
   }
}

void ExpectContent(FSImageDir *dir, const std::vector<uint8_t> &want) {
   FSImageFile *file = nullptr;
   if (FSImage_OpenFile(dir, "fuzz.txt", &file) != FSIMAGE_OK) {
      __builtin_trap();
   }
   uint64_t size = 0;
   if (FSImage_GetFileSize(file, &size) != FSIMAGE_OK || size != want.size() ||
       ReadAll(file) != want) {
      __builtin_trap();
   }
   FSImage_Close(file);
}

// Writes content from offset 0 in sector-sized pieces; whether all of it
// went in.
bool WriteAll(FSImageFile *file, const std::vector<uint8_t> &content) {
   size_t off = 0;
   do {
      const uint32_t n = static_cast<uint32_t>(std::min<size_t>(kChunk, content.size() - off));
      uint32_t written = 0;
      if (FSImage_Write(file, off, content.data() + off, n, &written) != FSIMAGE_OK) {
         return false;
      }
      if (written != n) {
         __builtin_trap();
      }
      off += n;
   } while (off < content.size());
   return true;
}

void Exercise(const std::string &path) {
   FSImageVolume *volume = nullptr;
   FSImageDir *dir = nullptr;
   if (FSImage_OpenVolume(nullptr, path.c_str(), 1, &volume) != FSIMAGE_OK) {
      return;
   }
   if (FSImage_SkipVolumeBoot(volume, FSIMAGE_FAT_FILE_SYSTEM) != FSIMAGE_OK ||
       FSImage_OpenRootDirectory(volume, &dir) != FSIMAGE_OK) {
      FSImage_Close(volume);
      return;
   }

   const uint32_t slots = FSImage_GetNumDirEntries(dir);
   for (uint32_t i = 0; i < slots; i++) {
      Bool inUse = FALSE;
      Bool isDir = FALSE;
      char *name = nullptr;
      uint64_t size = 0;
      uint32_t cluster = 0;
      if (FSImage_GetCatInfo(dir, i, &inUse, &name, &isDir, &size, &cluster) == FSIMAGE_OK &&
          inUse && !isDir && name != nullptr) {
         FSImageFile *file = nullptr;
         if (FSImage_OpenFile(dir, name, &file) == FSIMAGE_OK) {
            ReadAll(file);
            FSImage_Close(file);
         }
      }
      free(name);
   }

   std::vector<uint8_t> content(1500);
   for (size_t i = 0; i < content.size(); i++) {
      content[i] = static_cast<uint8_t>(i * 7 + 1);
   }
   FSImageFile *file = nullptr;
   FSImageError e = FSImage_OpenFile(dir, "fuzz.txt", &file);
   if (e != FSIMAGE_OK) {
      e = FSImage_CreateFile(dir, "fuzz.txt", &file);
   }
   bool written = false;
   std::vector<uint8_t> shorter(content.begin(), content.begin() + 100);
   if (e == FSIMAGE_OK) {
      written = WriteAll(file, content);
      FSImage_Close(file);
      if (written) {
         ExpectContent(dir, content);
         file = nullptr;
         if (FSImage_OpenFile(dir, "fuzz.txt", &file) != FSIMAGE_OK) {
            __builtin_trap();
         }
         // Less content from the start frees clusters, so it always fits.
         if (!WriteAll(file, shorter)) {
            __builtin_trap();
         }
         FSImage_Close(file);
         ExpectContent(dir, shorter);
      }
   }
   FSImage_Close(dir);
   FSImage_Close(volume);

   if (!written) {
      return;
   }
   // What was written must survive the round trip through the image file.
   if (FSImage_OpenVolume(nullptr, path.c_str(), 0, &volume) != FSIMAGE_OK ||
       FSImage_SkipVolumeBoot(volume, FSIMAGE_FAT_FILE_SYSTEM) != FSIMAGE_OK ||
       FSImage_OpenRootDirectory(volume, &dir) != FSIMAGE_OK) {
      __builtin_trap();
   }
   ExpectContent(dir, shorter);
   FSImage_Close(dir);
   FSImage_Close(volume);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   const std::string path = TempImage(data, size);
   if (path.empty()) {
      return 0;
   }
   Exercise(path);
   unlink(path.c_str());
   return 0;
}
