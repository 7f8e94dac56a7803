// iso9660_image.hh --
//
//    The object behind an Iso9660Image handle: the volume and the directory
//    and file handles opened on it.

#pragma once

#include <atomic>
#include <map>
#include <memory>

#include "iso9660/iso9660_volume.hh"

struct Iso9660Image {
   struct DirState {
      std::shared_ptr<const trp::iso::Listing> listing;
      size_t next = 0;
   };
   struct FileState {
      std::vector<trp::iso::Extent> extents;
      uint64_t size = 0;
      uint64_t position = 0;
      bool isDirectory = false;  // opened to learn that it exists; not readable
   };

   uint32_t id = 0;  // distinguishes entries of different open images
   std::unique_ptr<trp::iso::Volume> volume;
   std::map<uint32_t, DirState> dirs;
   std::map<uint32_t, FileState> files;
   uint32_t nextHandle = 1;
};

namespace trp::iso {

// Bytes read from images by this reader.
std::atomic<uint64_t> &BytesReadCounter();

// Reads up to out.size() bytes of a file's data at position; returns the
// count read.
IsoResult<size_t> ReadExtents(const ImageFile &file, const std::vector<Extent> &extents,
                              uint64_t position, std::span<uint8_t> out);

}  // namespace trp::iso
