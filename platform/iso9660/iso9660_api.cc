// iso9660_api.cc --
//
//    The C interface of the ISO 9660 reader: images, directory and file
//    handles.

#include <trplatform/iso9660.h>
#include <trplatform/util.h>

#include <cstdlib>
#include <cstring>

#include "internal/bytes.hh"
#include "iso9660/iso9660_image.hh"

namespace trp::iso {

std::atomic<uint64_t> &BytesReadCounter() {
   static std::atomic<uint64_t> counter{0};
   return counter;
}

IsoResult<size_t> ReadExtents(const ImageFile &file, const std::vector<Extent> &extents,
                              uint64_t position, std::span<uint8_t> out) {
   size_t done = 0;
   uint64_t extentStart = 0;
   for (const Extent &e : extents) {
      if (done == out.size()) {
         break;
      }
      uint64_t extentEnd = extentStart + e.length;
      uint64_t at = position + done;
      if (at < extentEnd) {
         uint64_t within = at - extentStart;
         size_t n = static_cast<size_t>(std::min<uint64_t>(e.length - within, out.size() - done));
         if (!file.readAt(e.offset + within, out.subspan(done, n))) {
            return Err{ISO9660_IO_ERROR};
         }
         done += n;
      }
      extentStart = extentEnd;
   }
   return done;
}

}  // namespace trp::iso

namespace {

using trp::iso::Entry;
using trp::iso::Listing;

std::atomic<uint32_t> gNextImageId{1};

uint32_t NewHandle(Iso9660Image *image) {
   uint32_t h = image->nextHandle++;
   if (image->nextHandle == 0) {
      image->nextHandle = 1;
   }
   return h;
}

}  // namespace

extern "C" {

TRPLATFORM_API Iso9660Result Iso9660_ListFormats(const char *path, uint32_t *formats) noexcept {
   if (path == nullptr || formats == nullptr) {
      return ISO9660_ERROR;
   }
   auto volume = trp::iso::Volume::open(path, &trp::iso::BytesReadCounter());
   if (!volume) {
      return volume.error();
   }
   *formats = (*volume)->formats();
   return ISO9660_OK;
}

TRPLATFORM_API Iso9660Result Iso9660_Open(const char *path, uint32_t formats, uint32_t flags,
                                          Iso9660Image **image) noexcept {
   if (image == nullptr) {
      return ISO9660_ERROR;
   }
   *image = nullptr;
   if (path == nullptr || flags != 0) {
      return ISO9660_ERROR;
   }
   auto volume = trp::iso::Volume::open(path, &trp::iso::BytesReadCounter());
   if (!volume) {
      return volume.error();
   }
   (*volume)->choose(formats);
   auto *img = new Iso9660Image;
   img->id = gNextImageId.fetch_add(1);
   img->volume = std::move(*volume);
   *image = img;
   return ISO9660_OK;
}

TRPLATFORM_API void Iso9660_Close(Iso9660Image *image) noexcept {
   delete image;
}

TRPLATFORM_API Iso9660Result Iso9660_OpenDir(Iso9660Image *image, const char *path,
                                             Iso9660DirHandle *dir) noexcept {
   if (image == nullptr || path == nullptr || dir == nullptr) {
      return ISO9660_BAD_HANDLE;
   }
   auto entry = image->volume->lookup(path);
   if (!entry) {
      return entry.error();
   }
   if (!entry->isDirectory) {
      return ISO9660_NOT_A_DIRECTORY;
   }
   auto listing = image->volume->listing(entry->extentBlock, entry->size);
   if (!listing) {
      return listing.error();
   }
   uint32_t h = NewHandle(image);
   image->dirs[h] = Iso9660Image::DirState{*listing, 0};
   *dir = h;
   return ISO9660_OK;
}

TRPLATFORM_API Iso9660Result Iso9660_ReadDir(Iso9660Image *image, Iso9660DirHandle dir,
                                             Iso9660DirEntry *entry) noexcept {
   if (image == nullptr || entry == nullptr) {
      return ISO9660_BAD_HANDLE;
   }
   auto it = image->dirs.find(dir);
   if (it == image->dirs.end()) {
      return ISO9660_BAD_HANDLE;
   }
   Iso9660Image::DirState &state = it->second;
   if (state.next >= state.listing->entries.size()) {
      return ISO9660_END;
   }
   const Entry &e = state.listing->entries[state.next++];
   std::memset(entry, 0, sizeof *entry);
   std::memcpy(entry->name, e.name.data(), e.name.size());  // shorter than the buffer
   entry->size = e.size;
   entry->isDirectory = e.isDirectory ? TRUE : FALSE;
   entry->recordOffset = e.recordOffset;
   entry->imageId = image->id;
   entry->dirExtent = state.listing->block;
   return ISO9660_OK;
}

TRPLATFORM_API Iso9660Result Iso9660_RewindDir(Iso9660Image *image,
                                               Iso9660DirHandle dir) noexcept {
   if (image == nullptr) {
      return ISO9660_BAD_HANDLE;
   }
   auto it = image->dirs.find(dir);
   if (it == image->dirs.end()) {
      return ISO9660_BAD_HANDLE;
   }
   it->second.next = 0;
   return ISO9660_OK;
}

TRPLATFORM_API Iso9660Result Iso9660_CloseDir(Iso9660Image *image, Iso9660DirHandle dir) noexcept {
   if (image == nullptr || image->dirs.erase(dir) == 0) {
      return ISO9660_BAD_HANDLE;
   }
   return ISO9660_OK;
}

// A directory entry opens too, as a file without data, so that asking
// whether a name exists works for directories as well.
TRPLATFORM_API Iso9660Result Iso9660_OpenFile(Iso9660Image *image, const Iso9660DirEntry *entry,
                                              Iso9660FileHandle *file) noexcept {
   if (image == nullptr || entry == nullptr || file == nullptr || entry->imageId != image->id) {
      return ISO9660_BAD_HANDLE;
   }
   auto listing = image->volume->listing(entry->dirExtent, 0);
   if (!listing) {
      return listing.error();
   }
   const Entry *found = nullptr;
   for (const Entry &e : (*listing)->entries) {
      if (e.recordOffset == entry->recordOffset) {
         found = &e;
         break;
      }
   }
   if (found == nullptr) {
      return ISO9660_NOT_FOUND;
   }
   Iso9660Image::FileState state;
   state.isDirectory = found->isDirectory;
   if (!found->isDirectory) {
      if (trp::iso::IsoStatus valid = image->volume->checkFileData(*found); !valid.ok()) {
         return valid.error();
      }
      state.extents = found->extents;
      state.size = found->size;
   }
   uint32_t h = NewHandle(image);
   image->files[h] = std::move(state);
   *file = h;
   return ISO9660_OK;
}

TRPLATFORM_API Iso9660Result Iso9660_ReadFile(Iso9660Image *image, Iso9660FileHandle file,
                                              void *buffer, uint32_t *count) noexcept {
   if (image == nullptr || count == nullptr || (buffer == nullptr && *count != 0)) {
      return ISO9660_BAD_HANDLE;
   }
   auto it = image->files.find(file);
   if (it == image->files.end()) {
      return ISO9660_BAD_HANDLE;
   }
   Iso9660Image::FileState &state = it->second;
   if (state.isDirectory) {
      *count = 0;
      return ISO9660_IS_A_DIRECTORY;
   }
   if (state.position >= state.size) {
      *count = 0;
      return ISO9660_END;
   }
   uint64_t want = std::min<uint64_t>(*count, state.size - state.position);
   auto got = trp::iso::ReadExtents(image->volume->file(), state.extents, state.position,
                                    std::span<uint8_t>(static_cast<uint8_t *>(buffer), want));
   if (!got) {
      *count = 0;
      return got.error();
   }
   state.position += *got;
   *count = static_cast<uint32_t>(*got);
   return ISO9660_OK;
}

TRPLATFORM_API Iso9660Result Iso9660_CloseFile(Iso9660Image *image,
                                               Iso9660FileHandle file) noexcept {
   if (image == nullptr || image->files.erase(file) == 0) {
      return ISO9660_BAD_HANDLE;
   }
   return ISO9660_OK;
}

TRPLATFORM_API Iso9660Result Iso9660_GetVolumeId(Iso9660Image *image, char **volumeId) noexcept {
   if (image == nullptr || volumeId == nullptr) {
      return ISO9660_BAD_HANDLE;
   }
   *volumeId = UtilSafeStrdup0(image->volume->descriptors().volumeId.c_str());
   return ISO9660_OK;
}

TRPLATFORM_API uint64_t Iso9660_GetBytesRead(void) noexcept {
   return trp::iso::BytesReadCounter().load(std::memory_order_relaxed);
}

TRPLATFORM_API void Iso9660_ResetBytesRead(void) noexcept {
   trp::iso::BytesReadCounter().store(0, std::memory_order_relaxed);
}

}  // extern "C"
