// fsimage_api.cc --
//
//    The C entry points of the FAT image writer and the handles they give
//    out. Every handle shares ownership of its volume, so a directory or
//    file handle that outlives FSImage_Close of its volume fails with
//    FSIMAGE_ERR_STATE instead of touching freed memory.

#include <cstdlib>
#include <cstring>
#include <type_traits>

#include <trplatform/fsimage.h>
#include <trplatform/util.h>

#include "fat/fsimage.hh"

namespace trp::fat {

// Leads every handle, so that FSImage_Close can tell what it was given.
enum class HandleKind : uint32_t {
   Volume = 0x4C4F5646,  // "FVOL"
   Dir = 0x52494446,     // "FDIR"
   File = 0x4C494646,    // "FFIL"
   Closed = 0,
};

struct HandleHeader {
   HandleKind kind;
};

}  // namespace trp::fat

using trp::fat::FatError;
using trp::fat::HandleHeader;
using trp::fat::HandleKind;
using trp::fat::ShortName;
using trp::fat::Volume;

struct FSImageVolume {
   HandleHeader header;
   std::shared_ptr<Volume> volume;
};

struct FSImageDir {
   HandleHeader header;
   std::shared_ptr<Volume> volume;
};

struct FSImageFile {
   HandleHeader header;
   std::shared_ptr<Volume> volume;
   uint32_t slot;
};

// The header must be the first member of a standard-layout handle so that a
// handle's address is also its header's.
static_assert(std::is_standard_layout_v<FSImageVolume> && offsetof(FSImageVolume, header) == 0);
static_assert(std::is_standard_layout_v<FSImageDir> && offsetof(FSImageDir, header) == 0);
static_assert(std::is_standard_layout_v<FSImageFile> && offsetof(FSImageFile, header) == 0);

namespace {

FSImageError Code(FatError error) {
   return static_cast<FSImageError>(error);
}

template <typename E>
FSImageError Code(const trp::Status<E> &status) {
   return status ? FSIMAGE_OK : Code(status.error());
}

bool Valid(const FSImageVolume *v) {
   return v != nullptr && v->header.kind == HandleKind::Volume;
}
bool Valid(const FSImageDir *d) {
   return d != nullptr && d->header.kind == HandleKind::Dir;
}
bool Valid(const FSImageFile *f) {
   return f != nullptr && f->header.kind == HandleKind::File;
}

// Whether the handle's volume can still be used; the error otherwise.
FSImageError Usable(const Volume &volume) {
   if (volume.closed() || !volume.mounted()) {
      return FSIMAGE_ERR_STATE;
   }
   return FSIMAGE_OK;
}

FSImageError NewVolumeHandle(trp::fat::FatResult<std::unique_ptr<Volume>> opened,
                             FSImageVolume **volume) {
   if (!opened) {
      return Code(opened.error());
   }
   *volume = new FSImageVolume{{HandleKind::Volume}, std::move(opened).value()};
   return FSIMAGE_OK;
}

FSImageError OpenOrCreate(FSImageDir *dir, const char *name, FSImageFile **file,
                                 bool create) {
   if (file != nullptr) {
      *file = nullptr;
   }
   if (!Valid(dir) || name == nullptr || file == nullptr) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   if (FSImageError e = Usable(*dir->volume); e != FSIMAGE_OK) {
      return e;
   }
   auto parsed = ShortName::parse(name);
   if (!parsed) {
      return Code(parsed.error());
   }
   auto slot = create ? dir->volume->createFile(*parsed) : dir->volume->openFile(*parsed);
   if (!slot) {
      return Code(slot.error());
   }
   *file = new FSImageFile{{HandleKind::File}, dir->volume, *slot};
   return FSIMAGE_OK;
}

}  // namespace

extern "C" {

FSImageError FSImage_FormatVolume(void *reserved, const char *path, int kind, int flags,
                                  FSImageVolume **volume) noexcept {
   if (volume != nullptr) {
      *volume = nullptr;
   }
   // Kind 1 with flags 1 is the only format there is: a 1.44 MB floppy.
   if (reserved != nullptr || path == nullptr || kind != 1 || flags != 1 || volume == nullptr) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   return NewVolumeHandle(Volume::format(path), volume);
}

FSImageError FSImage_OpenVolume(void *reserved, const char *path, int writable,
                                FSImageVolume **volume) noexcept {
   if (volume != nullptr) {
      *volume = nullptr;
   }
   if (reserved != nullptr || path == nullptr || volume == nullptr) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   return NewVolumeHandle(Volume::open(path, writable != 0), volume);
}

FSImageError FSImage_SkipVolumeBoot(FSImageVolume *volume, int fsType) noexcept {
   if (!Valid(volume) || fsType != FSIMAGE_FAT_FILE_SYSTEM) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   return Code(volume->volume->mount());
}

FSImageError FSImage_OpenRootDirectory(FSImageVolume *volume, FSImageDir **dir) noexcept {
   if (dir != nullptr) {
      *dir = nullptr;
   }
   if (!Valid(volume) || dir == nullptr) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   // Callers that add one file to an existing floppy open the root
   // directory straight after the volume. FAT is the only file system
   // there is, so the boot area is read here when nobody has done it yet.
   Volume &v = *volume->volume;
   if (!v.closed() && !v.mounted()) {
      if (FSImageError e = Code(v.mount()); e != FSIMAGE_OK) {
         return e;
      }
   }
   if (FSImageError e = Usable(v); e != FSIMAGE_OK) {
      return e;
   }
   *dir = new FSImageDir{{HandleKind::Dir}, volume->volume};
   return FSIMAGE_OK;
}

uint32_t FSImage_GetNumDirEntries(FSImageDir *dir) noexcept {
   if (!Valid(dir) || Usable(*dir->volume) != FSIMAGE_OK) {
      return 0;
   }
   return dir->volume->root().slotCount();
}

FSImageError FSImage_GetCatInfo(FSImageDir *dir, uint32_t index, Bool *inUse, char **name,
                                Bool *isDirectory, uint64_t *size,
                                uint32_t *firstCluster) noexcept {
   if (inUse != nullptr) *inUse = FALSE;
   if (name != nullptr) *name = nullptr;
   if (isDirectory != nullptr) *isDirectory = FALSE;
   if (size != nullptr) *size = 0;
   if (firstCluster != nullptr) *firstCluster = 0;
   if (!Valid(dir)) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   if (FSImageError e = Usable(*dir->volume); e != FSIMAGE_OK) {
      return e;
   }
   const trp::fat::RootDirectory &root = dir->volume->root();
   if (index >= root.slotCount()) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   const trp::fat::SlotInfo slot = root.slot(index);
   const bool used = slot.kind == trp::fat::SlotKind::File ||
                     slot.kind == trp::fat::SlotKind::Directory;
   if (!used) {
      return FSIMAGE_OK;
   }
   auto text = ShortName::display(slot.name, slot.caseFlags);
   if (!text) {
      return FSIMAGE_ERR_CORRUPT;  // not a name that can be handed out
   }
   if (name != nullptr) {
      *name = UtilSafeStrdup0(text->c_str());
   }
   if (inUse != nullptr) *inUse = TRUE;
   if (isDirectory != nullptr) *isDirectory = slot.kind == trp::fat::SlotKind::Directory;
   if (size != nullptr) *size = slot.size;
   if (firstCluster != nullptr) *firstCluster = slot.firstCluster;
   return FSIMAGE_OK;
}

FSImageError FSImage_OpenFile(FSImageDir *dir, const char *name, FSImageFile **file) noexcept {
   return OpenOrCreate(dir, name, file, false);
}

FSImageError FSImage_CreateFile(FSImageDir *dir, const char *name, FSImageFile **file) noexcept {
   return OpenOrCreate(dir, name, file, true);
}

FSImageError FSImage_Read(FSImageFile *file, uint64_t offset, void *buffer, uint32_t length,
                          uint32_t *bytesRead) noexcept {
   if (bytesRead != nullptr) {
      *bytesRead = 0;
   }
   if (!Valid(file) || (buffer == nullptr && length > 0)) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   auto read = file->volume->read(file->slot, offset,
                                  std::span<uint8_t>(static_cast<uint8_t *>(buffer), length));
   if (!read) {
      return Code(read.error());
   }
   if (bytesRead != nullptr) {
      *bytesRead = *read;
   }
   return FSIMAGE_OK;
}

FSImageError FSImage_Write(FSImageFile *file, uint64_t offset, const void *buffer, uint32_t length,
                           uint32_t *bytesWritten) noexcept {
   if (bytesWritten != nullptr) {
      *bytesWritten = 0;
   }
   if (!Valid(file) || (buffer == nullptr && length > 0)) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   auto written = file->volume->write(
      file->slot, offset, std::span<const uint8_t>(static_cast<const uint8_t *>(buffer), length));
   if (!written) {
      return Code(written.error());
   }
   if (bytesWritten != nullptr) {
      *bytesWritten = length;
   }
   return FSIMAGE_OK;
}

FSImageError FSImage_GetFileSize(FSImageFile *file, uint64_t *size) noexcept {
   if (size != nullptr) {
      *size = 0;
   }
   if (!Valid(file) || size == nullptr) {
      return FSIMAGE_ERR_BAD_ARG;
   }
   if (FSImageError e = Usable(*file->volume); e != FSIMAGE_OK) {
      return e;
   }
   *size = file->volume->fileSize(file->slot);
   return FSIMAGE_OK;
}

FSImageError FSImage_Close(void *handle) noexcept {
   if (handle == nullptr) {
      return FSIMAGE_OK;
   }
   auto *header = static_cast<HandleHeader *>(handle);
   FSImageError result = FSIMAGE_OK;
   switch (header->kind) {
   case HandleKind::Volume: {
      auto *v = static_cast<FSImageVolume *>(handle);
      if (!v->volume->closed()) {
         result = Code(v->volume->close());
      }
      v->header.kind = HandleKind::Closed;
      delete v;
      break;
   }
   case HandleKind::Dir: {
      auto *d = static_cast<FSImageDir *>(handle);
      if (!d->volume->closed()) {
         result = Code(d->volume->flush());
      }
      d->header.kind = HandleKind::Closed;
      delete d;
      break;
   }
   case HandleKind::File: {
      // Closing a file leaves the image consistent on disk: its FAT chain
      // and directory entry are written now, not only with the volume.
      auto *f = static_cast<FSImageFile *>(handle);
      if (!f->volume->closed()) {
         result = Code(f->volume->flush());
      }
      f->header.kind = HandleKind::Closed;
      delete f;
      break;
   }
   default:
      result = FSIMAGE_ERR_BAD_ARG;
      break;
   }
   return result;
}

}  // extern "C"
