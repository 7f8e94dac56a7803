// udf_api.cc --
//
//    The C interface of the UDF reader.

#include <trplatform/udf.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "udf/udf_volume.hh"

struct UDFImage {
   std::unique_ptr<trp::udf::Volume> volume;
};

struct UDFDir {
   UDFImage *udf = nullptr;
   trp::udf::Node node;
   std::shared_ptr<const trp::udf::Listing> listing;
   size_t next = 0;
   bool lastIsDirectory = false;
   std::string lastName;
};

struct UDFFile {
   UDFImage *udf = nullptr;
   trp::udf::Node node;
   uint64_t lastReadSize = 0;
};

namespace {

std::atomic<uint64_t> gUdfBytesRead{0};

}  // namespace

extern "C" {

TRPLATFORM_API UDFImage *UDF_Open(const char *path) noexcept {
   if (path == nullptr) {
      return nullptr;
   }
   auto volume = trp::udf::Volume::open(path, &gUdfBytesRead);
   if (!volume) {
      return nullptr;
   }
   auto *udf = new UDFImage;
   udf->volume = std::move(*volume);
   return udf;
}

TRPLATFORM_API void UDF_Close(UDFImage *udf) noexcept {
   delete udf;
}

TRPLATFORM_API UDFDir *UDF_OpenDir(UDFImage *udf, UDFDir *parent, const char *path) noexcept {
   if (udf == nullptr || path == nullptr) {
      return nullptr;
   }
   trp::udf::Node start;
   if (parent != nullptr) {
      start = parent->node;
   } else {
      auto root = udf->volume->rootNode();
      if (!root) {
         return nullptr;
      }
      start = std::move(*root);
   }
   auto node = udf->volume->lookup(start, path);
   if (!node || !node->isDirectory) {
      return nullptr;
   }
   auto listing = udf->volume->listing(*node);
   if (!listing) {
      return nullptr;
   }
   auto *dir = new UDFDir;
   dir->udf = udf;
   dir->node = std::move(*node);
   dir->listing = *listing;
   return dir;
}

TRPLATFORM_API const char *UDF_ReadDir(UDFDir *dir) noexcept {
   if (dir == nullptr || dir->next >= dir->listing->entries.size()) {
      return nullptr;
   }
   const trp::udf::DirEntry &e = dir->listing->entries[dir->next++];
   dir->lastName = e.name;
   dir->lastIsDirectory = e.isDirectory;
   return dir->lastName.c_str();
}

TRPLATFORM_API void UDF_RewindDir(UDFDir *dir) noexcept {
   if (dir != nullptr) {
      dir->next = 0;
   }
}

TRPLATFORM_API Bool UDF_CloseDir(UDFDir *dir) noexcept {
   if (dir == nullptr) {
      return FALSE;
   }
   delete dir;
   return TRUE;
}

TRPLATFORM_API Bool UDF_IsDirEntryDirectory(const UDFDir *dir) noexcept {
   return dir != nullptr && dir->lastIsDirectory ? TRUE : FALSE;
}

// Directories open too, so that asking whether a name exists works for them.
TRPLATFORM_API UDFFile *UDF_OpenFile(UDFImage *udf, UDFDir *dir, const char *name) noexcept {
   if (udf == nullptr || dir == nullptr || name == nullptr || *name == '\0' ||
       std::strchr(name, '/') != nullptr) {
      return nullptr;
   }
   for (const trp::udf::DirEntry &e : dir->listing->entries) {
      if (e.name == name) {
         auto node = udf->volume->readNode(e.icb);
         if (!node) {
            return nullptr;
         }
         auto *file = new UDFFile;
         file->udf = udf;
         file->node = std::move(*node);
         return file;
      }
   }
   return nullptr;
}

// The buffer comes from plain malloc rather than the allocators that stop
// the process when memory runs out: its size is what the image claims, and
// a file too large to hold is a failed read, not a reason to stop.
TRPLATFORM_API Bool UDF_ReadFile(UDFFile *file, char **buffer) noexcept {
   if (file == nullptr || buffer == nullptr || file->node.isDirectory) {
      return FALSE;
   }
   const uint64_t size = file->node.size;
   if (size > file->udf->volume->file().size() || size >= SIZE_MAX) {
      return FALSE;
   }
   char *out = static_cast<char *>(std::malloc(static_cast<size_t>(size) + 1));
   if (out == nullptr) {
      return FALSE;
   }
   std::span<uint8_t> data(reinterpret_cast<uint8_t *>(out), static_cast<size_t>(size));
   if (!file->udf->volume->readData(file->node, data)) {
      std::free(out);
      return FALSE;
   }
   out[size] = '\0';
   *buffer = out;
   file->lastReadSize = size;
   return TRUE;
}

TRPLATFORM_API uint64_t UDF_GetLastReadSize(const UDFFile *file) noexcept {
   return file != nullptr ? file->lastReadSize : 0;
}

TRPLATFORM_API uint64_t UDF_GetFileSize(const UDFFile *file) noexcept {
   return file != nullptr ? file->node.size : 0;
}

TRPLATFORM_API void UDF_CloseFile(UDFFile *file) noexcept {
   delete file;
}

TRPLATFORM_API uint64_t UDF_GetBytesRead(void) noexcept {
   return gUdfBytesRead.load(std::memory_order_relaxed);
}

TRPLATFORM_API void UDF_ResetBytesRead(void) noexcept {
   gUdfBytesRead.store(0, std::memory_order_relaxed);
}

}  // extern "C"
