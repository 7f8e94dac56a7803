// cmd_floppy.cc --
//
//    trguest floppy format IMG
//    trguest floppy add IMG FILE NAME
//    trguest floppy get IMG NAME FILE
//    trguest floppy list IMG
//
//    format makes a new, empty 1.44 MB floppy image; add copies a host file
//    onto an image under an 8.3 name (writing over a file of that name);
//    get copies a file of the image to the host; list prints one line per
//    file of the root directory: size and name. Exit 0 on success, 2 with a
//    message when the image or a file cannot be used, 64 for bad usage.

#include <cinttypes>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <trguest/autoinstall.h>
#include <trplatform/fsimage.h>

#include "cli_support.hh"
#include "commands.hh"

namespace trguest_cli {

namespace {

int Usage() {
   std::fprintf(stderr, "usage: trguest floppy format IMG\n"
                        "       trguest floppy add IMG FILE NAME\n"
                        "       trguest floppy get IMG NAME FILE\n"
                        "       trguest floppy list IMG\n");
   return 64;
}

// A FAT writer's error in words. errno still holds the host's reason when
// the error is a host read or write failure; path (when given) is the image
// that was being opened.
std::string FloppyError(FSImageError e, const char *path, int err) {
   switch (e) {
   case FSIMAGE_ERR_IO:
      return path != nullptr && err != ENOSPC ? WhyUnusable(path, "a FAT floppy image")
                                              : WhyNotWritten(err);
   case FSIMAGE_ERR_BAD_FORMAT:
      return "not a FAT floppy image";
   case FSIMAGE_ERR_CORRUPT:
      return "the FAT floppy image is damaged";
   case FSIMAGE_ERR_DISK_FULL:
      return "the floppy is full";
   case FSIMAGE_ERR_DIR_FULL:
      return "the floppy's root directory is full";
   case FSIMAGE_ERR_NOT_FOUND:
      return "no such file";
   case FSIMAGE_ERR_READ_ONLY:
      return "permission denied";
   default:
      return "error " + std::to_string(e);
   }
}

// An image and its root directory, open for the length of one command.
class Floppy {
public:
   Floppy(const char *path, bool format) {
      err_ = format ? FSImage_FormatVolume(nullptr, path, 1, 1, &volume_)
                    : FSImage_OpenVolume(nullptr, path, 1, &volume_);
      if (err_ == FSIMAGE_OK) {
         err_ = FSImage_SkipVolumeBoot(volume_, FSIMAGE_FAT_FILE_SYSTEM);
      }
      if (err_ == FSIMAGE_OK) {
         err_ = FSImage_OpenRootDirectory(volume_, &dir_);
      }
      if (err_ != FSIMAGE_OK) {
         std::fprintf(stderr, "trguest: cannot %s %s: %s\n", format ? "format" : "open", path,
                      FloppyError(err_, path, errno).c_str());
      }
   }
   ~Floppy() { close(); }
   Floppy(const Floppy &) = delete;
   Floppy &operator=(const Floppy &) = delete;

   bool ok() const { return err_ == FSIMAGE_OK; }
   FSImageDir *dir() const { return dir_; }

   // Writes the pending changes; false (with a message) when that fails.
   bool close() {
      FSImage_Close(dir_);
      dir_ = nullptr;
      const FSImageError e = FSImage_Close(volume_);
      volume_ = nullptr;
      if (e != FSIMAGE_OK) {
         std::fprintf(stderr, "trguest: cannot write the image: %s\n",
                      FloppyError(e, nullptr, errno).c_str());
         return false;
      }
      return true;
   }

private:
   FSImageError err_ = FSIMAGE_OK;
   FSImageVolume *volume_ = nullptr;
   FSImageDir *dir_ = nullptr;
};

int List(Floppy &floppy) {
   const uint32_t slots = FSImage_GetNumDirEntries(floppy.dir());
   for (uint32_t i = 0; i < slots; i++) {
      Bool inUse = FALSE;
      Bool isDir = FALSE;
      char *name = nullptr;
      uint64_t size = 0;
      if (FSImage_GetCatInfo(floppy.dir(), i, &inUse, &name, &isDir, &size, nullptr) !=
          FSIMAGE_OK) {
         std::fprintf(stderr, "trguest: directory entry %" PRIu32 " is damaged\n", i);
      } else if (inUse && isDir) {
         std::printf("%10s %s/\n", "<DIR>", name);
      } else if (inUse) {
         std::printf("%10" PRIu64 " %s\n", size, name);
      }
      std::free(name);
   }
   return 0;
}

}  // namespace

int RunFloppy(int argc, char **argv) {
   if (argc < 2) {
      return Usage();
   }
   const char *op = argv[0];
   const char *image = argv[1];
   if (argc == 2 && std::strcmp(op, "format") == 0) {
      Floppy floppy(image, true);
      return floppy.ok() && floppy.close() ? 0 : 2;
   }
   if (argc == 2 && std::strcmp(op, "list") == 0) {
      Floppy floppy(image, false);
      return floppy.ok() ? List(floppy) : 2;
   }
   if (argc == 4 && std::strcmp(op, "add") == 0) {
      Floppy floppy(image, false);
      if (!floppy.ok()) {
         return 2;
      }
      if (!AddFileToFloppyImg(floppy.dir(), argv[2], argv[3])) {
         std::fprintf(stderr, "trguest: cannot add %s to %s as %s\n", argv[2], image, argv[3]);
         floppy.close();
         return 2;
      }
      return floppy.close() ? 0 : 2;
   }
   if (argc == 4 && std::strcmp(op, "get") == 0) {
      Floppy floppy(image, false);
      if (!floppy.ok()) {
         return 2;
      }
      if (!GetFileFromFloppyImg(floppy.dir(), argv[2], argv[3])) {
         std::fprintf(stderr, "trguest: cannot copy %s of %s to %s\n", argv[2], image, argv[3]);
         return 2;
      }
      return 0;
   }
   return Usage();
}

}  // namespace trguest_cli
