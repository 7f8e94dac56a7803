// imagefile.cc --
//
//    Host image files with checked positioned I/O (see internal/imagefile.hh).

#include "file/imagefile.hh"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "internal/bytes.hh"
#include "file/regularfile.hh"

namespace trp {

Result<ImageFile, FileError> ImageFile::open(const std::string &path, bool writable,
                                             std::atomic<uint64_t> *readCounter) {
   struct stat st;
   auto fd = OpenRegularFile(path.c_str(), (writable ? O_RDWR : O_RDONLY) | O_CLOEXEC, &st);
   if (!fd) {
      return Err{FileError::Open};
   }
   if (st.st_size < 0) {
      ::close(*fd);
      return Err{FileError::Open};
   }
   return ImageFile(*fd, static_cast<uint64_t>(st.st_size), writable, readCounter);
}

ImageFile::ImageFile(ImageFile &&other) noexcept
   : fd_(other.fd_), size_(other.size_), writable_(other.writable_), counter_(other.counter_) {
   other.fd_ = -1;
}

ImageFile &ImageFile::operator=(ImageFile &&other) noexcept {
   if (this != &other) {
      if (fd_ >= 0) {
         ::close(fd_);
      }
      fd_ = other.fd_;
      size_ = other.size_;
      writable_ = other.writable_;
      counter_ = other.counter_;
      other.fd_ = -1;
   }
   return *this;
}

ImageFile::~ImageFile() {
   if (fd_ >= 0) {
      ::close(fd_);
   }
}

Status<FileError> ImageFile::readAt(uint64_t offset, std::span<uint8_t> out) const {
   if (!RangeFits(offset, out.size(), size_)) {
      return Err{FileError::OutOfRange};
   }
   size_t done = 0;
   while (done < out.size()) {
      ssize_t n = ::pread(fd_, out.data() + done, out.size() - done,
                          static_cast<off_t>(offset + done));
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n <= 0) {
         return Err{FileError::Io};
      }
      done += static_cast<size_t>(n);
   }
   if (counter_ != nullptr) {
      counter_->fetch_add(done, std::memory_order_relaxed);
   }
   return {};
}

Status<FileError> ImageFile::writeAt(uint64_t offset, std::span<const uint8_t> data) {
   if (!writable_ || !CheckedAdd(offset, data.size())) {
      return Err{FileError::Io};
   }
   size_t done = 0;
   while (done < data.size()) {
      ssize_t n = ::pwrite(fd_, data.data() + done, data.size() - done,
                           static_cast<off_t>(offset + done));
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n <= 0) {
         return Err{FileError::Io};
      }
      done += static_cast<size_t>(n);
   }
   if (offset + done > size_) {
      size_ = offset + done;
   }
   return {};
}

Status<FileError> ImageFile::truncate(uint64_t size) {
   if (!writable_ || ::ftruncate(fd_, static_cast<off_t>(size)) != 0) {
      return Err{FileError::Io};
   }
   size_ = size;
   return {};
}

Status<FileError> ImageFile::sync() {
   if (::fsync(fd_) != 0) {
      return Err{FileError::Io};
   }
   return {};
}

}  // namespace trp
