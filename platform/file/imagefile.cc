// imagefile.cc --
//
//    Host image files with checked positioned I/O (see internal/imagefile.hh).

#include "file/imagefile.hh"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <vector>
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

namespace {

bool WriteAll(int fd, const uint8_t *data, size_t size) {
   for (size_t done = 0; done < size;) {
      ssize_t n = ::write(fd, data + done, size - done);
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n <= 0) {
         return false;
      }
      done += static_cast<size_t>(n);
   }
   return true;
}

}  // namespace

Status<FileError> ImageFile::copyTo(int outFd, uint64_t offset, uint64_t length) const {
   if (!RangeFits(offset, length, size_)) {
      return Err{FileError::OutOfRange};
   }
   // A kernel and an initrd of a DVD are tens of megabytes: copied between
   // the files' page caches without passing through this process, they
   // take about half the time. Filesystems (or kernels) that cannot do it
   // say so at the first call, and the rest goes through a buffer.
   uint64_t done = 0;
   while (done < length) {
      loff_t in = static_cast<loff_t>(offset + done);
      size_t chunk = static_cast<size_t>(std::min<uint64_t>(length - done, 1u << 30));
      ssize_t n = ::copy_file_range(fd_, &in, outFd, nullptr, chunk, 0);
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n <= 0) {
         break;
      }
      done += static_cast<uint64_t>(n);
   }
   if (counter_ != nullptr) {
      counter_->fetch_add(done, std::memory_order_relaxed);
   }
   std::vector<uint8_t> buffer;
   while (done < length) {
      buffer.resize(static_cast<size_t>(std::min<uint64_t>(length - done, 1u << 20)));
      if (!readAt(offset + done, buffer) || !WriteAll(outFd, buffer.data(), buffer.size())) {
         return Err{FileError::Io};
      }
      done += buffer.size();
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
