// fsimage_volume.cc --
//
//    A FAT volume in an image file: formatting a new floppy image, opening
//    an existing image, reading its boot sector, FAT and root directory, and
//    writing pending changes back.

#include <array>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

#include "fat/fsimage.hh"

namespace trp::fat {

namespace {

// A volume serial number from the current time, as formatters customarily
// derive it, so that two floppies made one after another differ.
uint32_t NewVolumeSerial() {
   struct timespec now {};
   clock_gettime(CLOCK_REALTIME, &now);
   const auto seconds = static_cast<uint32_t>(now.tv_sec);
   const auto nanos = static_cast<uint32_t>(now.tv_nsec);
   return (seconds * 2654435761u) ^ (nanos << 3) ^ (nanos >> 17);
}

}  // namespace

FatResult<std::unique_ptr<Volume>> Volume::format(const std::string &path) {
   // Replace whatever the path held with an empty file, then give it the
   // floppy's size: the zeros that ftruncate provides are the empty FATs'
   // free entries, the empty root directory and the unused data area.
   const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
   if (fd < 0) {
      return Err{FatError::Io};
   }
   ::close(fd);
   auto image = ImageFile::open(path, true);
   if (!image) {
      return Err{FromFileError(image.error())};
   }
   if (auto sized = image->truncate(kFloppyImageSize); !sized) {
      return Err{FromFileError(sized.error())};
   }

   const auto boot = BuildFloppyBootSector(NewVolumeSerial());
   if (auto written = image->writeAt(0, boot); !written) {
      return Err{FromFileError(written.error())};
   }
   // Entries 0 and 1 of each FAT: the media byte, then all ones.
   const std::array<uint8_t, 3> fatHead = {kFloppyMedia, 0xFF, 0xFF};
   auto geometry = Geometry::parse(ByteView(boot.data(), boot.size()), kFloppyImageSize);
   if (!geometry) {
      return Err{geometry.error()};
   }
   for (uint32_t copy = 0; copy < geometry->numFats(); copy++) {
      if (auto written = image->writeAt(geometry->fatOffset(copy), fatHead); !written) {
         return Err{FromFileError(written.error())};
      }
   }
   return std::unique_ptr<Volume>(new Volume(std::move(image).value()));
}

FatResult<std::unique_ptr<Volume>> Volume::open(const std::string &path, bool writable) {
   auto image = ImageFile::open(path, writable);
   if (!image) {
      return Err{FromFileError(image.error())};
   }
   return std::unique_ptr<Volume>(new Volume(std::move(image).value()));
}

FatStatus Volume::mount() {
   if (closed_) {
      return Err{FatError::State};
   }
   if (mounted()) {
      return {};
   }
   std::array<uint8_t, kBootSectorSize> boot{};
   if (auto read = image_.readAt(0, boot); !read) {
      // Too short to hold a boot sector is not a FAT image.
      return Err{read.error() == FileError::OutOfRange ? FatError::BadFormat : FatError::Io};
   }
   auto geometry = Geometry::parse(ByteView(boot.data(), boot.size()), image_.size());
   if (!geometry) {
      return Err{geometry.error()};
   }
   auto fat = FatTable::load(image_, *geometry);
   if (!fat) {
      return Err{fat.error()};
   }
   auto root = RootDirectory::load(image_, *geometry);
   if (!root) {
      return Err{root.error()};
   }
   geometry_ = std::make_unique<Geometry>(std::move(geometry).value());
   fat_ = std::make_unique<FatTable>(std::move(fat).value());
   root_ = std::make_unique<RootDirectory>(std::move(root).value());
   return {};
}

FatStatus Volume::flush() {
   if (!mounted() || !image_.writable()) {
      return {};
   }
   // File data is already in place; the FAT copies go next and the
   // directory entries that point into them last.
   TRP_TRY(fat_->flush(image_, *geometry_));
   TRP_TRY(root_->flush(image_, *geometry_));
   return {};
}

FatStatus Volume::close() {
   if (closed_) {
      return Err{FatError::State};
   }
   FatStatus flushed = flush();
   closed_ = true;
   chains_.clear();
   return flushed;
}

}  // namespace trp::fat
