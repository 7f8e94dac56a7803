// imagefile.hh --
//
//    A host file opened as an image: RAII descriptor, 64-bit size, and
//    positioned reads and writes that are checked against the file's size
//    before they reach the kernel. Counts the bytes it reads in an optional
//    counter (the readers' benchmark hook).

#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>

#include "internal/result.hh"

namespace trp {

enum class FileError {
   Open,        // the path cannot be opened
   Io,          // a read or write failed
   OutOfRange,  // the range lies (partly) outside the file
};

class ImageFile {
public:
   // Opens path read-only, or read-write when writable.
   static Result<ImageFile, FileError> open(const std::string &path, bool writable,
                                            std::atomic<uint64_t> *readCounter = nullptr);
   ImageFile(ImageFile &&other) noexcept;
   ImageFile &operator=(ImageFile &&other) noexcept;
   ImageFile(const ImageFile &) = delete;
   ImageFile &operator=(const ImageFile &) = delete;
   ~ImageFile();

   uint64_t size() const { return size_; }
   bool writable() const { return writable_; }

   // Reads exactly out.size() bytes at offset; OutOfRange when the range
   // does not lie inside the file.
   Status<FileError> readAt(uint64_t offset, std::span<uint8_t> out) const;
   // Appends length bytes at offset to the host file outFd (at its current
   // position), within the kernel where it can (copy_file_range), else
   // through a buffer; OutOfRange as readAt.
   Status<FileError> copyTo(int outFd, uint64_t offset, uint64_t length) const;
   // Writes all bytes at offset (the file grows when writing past its end).
   Status<FileError> writeAt(uint64_t offset, std::span<const uint8_t> data);
   // Sets the file's size.
   Status<FileError> truncate(uint64_t size);
   Status<FileError> sync();

private:
   ImageFile(int fd, uint64_t size, bool writable, std::atomic<uint64_t> *counter)
      : fd_(fd), size_(size), writable_(writable), counter_(counter) {}

   int fd_ = -1;
   uint64_t size_ = 0;
   bool writable_ = false;
   std::atomic<uint64_t> *counter_ = nullptr;
};

}  // namespace trp
