// fileio.cc --
//
//    Host file I/O with 64-bit sizes and offsets.

#include <trplatform/fileio.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <trplatform/util.h>

#include "file/regularfile.hh"

namespace {

FileIOResult FromErrno(int err) {
   switch (err) {
   case ENOENT:
   case ENOTDIR:
      return FILEIO_FILE_NOT_FOUND;
   case EACCES:
   case EPERM:
   case EROFS:
      return FILEIO_NO_PERMISSION;
   case EEXIST:
      return FILEIO_OPEN_ERROR_EXIST;
   case ENAMETOOLONG:
      return FILEIO_FILE_NAME_TOO_LONG;
   case EFBIG:
      return FILEIO_WRITE_ERROR_FBIG;
   case ENOSPC:
      return FILEIO_WRITE_ERROR_NOSPC;
   case EDQUOT:
      return FILEIO_WRITE_ERROR_DQUOT;
   default:
      return FILEIO_ERROR;
   }
}

}  // namespace

extern "C" {

TRPLATFORM_API void FileIO_Invalidate(FileIODescriptor *fd) noexcept {
   fd->posix = -1;
   fd->fileName = nullptr;
}

TRPLATFORM_API Bool FileIO_IsValid(const FileIODescriptor *fd) noexcept {
   return fd->posix >= 0 ? TRUE : FALSE;
}

TRPLATFORM_API FileIOResult FileIO_Open(FileIODescriptor *fd, const char *path, int access,
                                        FileIOOpenAction action) noexcept {
   FileIO_Invalidate(fd);
   bool read = (access & FILEIO_OPEN_ACCESS_READ) != 0;
   bool write = (access & FILEIO_OPEN_ACCESS_WRITE) != 0;
   if (path == nullptr || (!read && !write)) {
      return FILEIO_ERROR;
   }
   int flags = O_CLOEXEC | (read && write ? O_RDWR : write ? O_WRONLY : O_RDONLY);
   switch (action) {
   case FILEIO_OPEN:
      break;
   case FILEIO_OPEN_CREATE:
      flags |= O_CREAT;
      break;
   case FILEIO_OPEN_CREATE_SAFE:
      flags |= O_CREAT | O_EXCL;
      break;
   case FILEIO_OPEN_CREATE_EMPTY:
      flags |= O_CREAT | O_TRUNC;
      break;
   case FILEIO_OPEN_EMPTY:
      flags |= O_TRUNC;
      break;
   default:
      return FILEIO_ERROR;
   }
   if ((flags & O_TRUNC) != 0 && !write) {
      return FILEIO_ERROR;
   }
   // Host files are regular files; anything else is refused without
   // blocking the caller.
   struct stat st;
   auto posix = trp::OpenRegularFile(path, flags, &st);
   if (!posix) {
      return posix.error() == trp::OpenRegularError::kCannotOpen ? FromErrno(errno)
                                                                  : FILEIO_ERROR;
   }
   fd->posix = *posix;
   fd->fileName = UtilSafeStrdup0(path);
   return FILEIO_SUCCESS;
}

TRPLATFORM_API FileIOResult FileIO_Close(FileIODescriptor *fd) noexcept {
   if (fd->posix < 0) {
      return FILEIO_SUCCESS;
   }
   int rc = ::close(fd->posix);
   std::free(fd->fileName);
   FileIO_Invalidate(fd);
   return rc == 0 ? FILEIO_SUCCESS : FromErrno(errno);
}

TRPLATFORM_API FileIOResult FileIO_Read(FileIODescriptor *fd, void *buf, size_t len,
                                        size_t *actual) noexcept {
   size_t done = 0;
   FileIOResult result = FILEIO_SUCCESS;
   while (done < len) {
      ssize_t n = ::read(fd->posix, static_cast<char *>(buf) + done, len - done);
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n < 0) {
         result = FromErrno(errno);
         break;
      }
      if (n == 0) {
         result = FILEIO_READ_ERROR_EOF;
         break;
      }
      done += static_cast<size_t>(n);
   }
   if (actual != nullptr) {
      *actual = done;
   }
   return result;
}

TRPLATFORM_API FileIOResult FileIO_Write(FileIODescriptor *fd, const void *buf, size_t len,
                                         size_t *written) noexcept {
   size_t done = 0;
   FileIOResult result = FILEIO_SUCCESS;
   while (done < len) {
      ssize_t n = ::write(fd->posix, static_cast<const char *>(buf) + done, len - done);
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n <= 0) {
         result = n < 0 ? FromErrno(errno) : FILEIO_ERROR;
         break;
      }
      done += static_cast<size_t>(n);
   }
   if (written != nullptr) {
      *written = done;
   }
   return result;
}

TRPLATFORM_API FileIOResult FileIO_Pread(FileIODescriptor *fd, void *buf, size_t len,
                                         uint64_t offset, size_t *actual) noexcept {
   size_t done = 0;
   FileIOResult result = FILEIO_SUCCESS;
   while (done < len) {
      ssize_t n = ::pread(fd->posix, static_cast<char *>(buf) + done, len - done,
                          static_cast<off_t>(offset + done));
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n < 0) {
         result = FromErrno(errno);
         break;
      }
      if (n == 0) {
         result = FILEIO_READ_ERROR_EOF;
         break;
      }
      done += static_cast<size_t>(n);
   }
   if (actual != nullptr) {
      *actual = done;
   }
   return result;
}

TRPLATFORM_API FileIOResult FileIO_Pwrite(FileIODescriptor *fd, const void *buf, size_t len,
                                          uint64_t offset, size_t *written) noexcept {
   size_t done = 0;
   FileIOResult result = FILEIO_SUCCESS;
   while (done < len) {
      ssize_t n = ::pwrite(fd->posix, static_cast<const char *>(buf) + done, len - done,
                           static_cast<off_t>(offset + done));
      if (n < 0 && errno == EINTR) {
         continue;
      }
      if (n <= 0) {
         result = n < 0 ? FromErrno(errno) : FILEIO_ERROR;
         break;
      }
      done += static_cast<size_t>(n);
   }
   if (written != nullptr) {
      *written = done;
   }
   return result;
}

TRPLATFORM_API int64_t FileIO_GetSize(const FileIODescriptor *fd) noexcept {
   struct stat st;
   if (fd->posix < 0 || fstat(fd->posix, &st) != 0) {
      return -1;
   }
   return static_cast<int64_t>(st.st_size);
}

TRPLATFORM_API FileIOResult FileIO_SetSize(FileIODescriptor *fd, uint64_t size) noexcept {
   if (size > static_cast<uint64_t>(INT64_MAX)) {
      return FILEIO_WRITE_ERROR_FBIG;
   }
   if (ftruncate(fd->posix, static_cast<off_t>(size)) != 0) {
      return FromErrno(errno);
   }
   return FILEIO_SUCCESS;
}

TRPLATFORM_API FileIOResult FileIO_Sync(FileIODescriptor *fd) noexcept {
   return fsync(fd->posix) == 0 ? FILEIO_SUCCESS : FromErrno(errno);
}

TRPLATFORM_API const char *FileIO_MsgError(FileIOResult result) noexcept {
   switch (result) {
   case FILEIO_SUCCESS: return "Success";
   case FILEIO_CANCELLED: return "The operation was cancelled";
   case FILEIO_ERROR: return "Error";
   case FILEIO_OPEN_ERROR_EXIST: return "The file already exists";
   case FILEIO_LOCK_FAILED: return "The file could not be locked";
   case FILEIO_READ_ERROR_EOF: return "Unexpected end of file";
   case FILEIO_FILE_NOT_FOUND: return "The file was not found";
   case FILEIO_NO_PERMISSION: return "Insufficient permission";
   case FILEIO_FILE_NAME_TOO_LONG: return "The file name is too long";
   case FILEIO_WRITE_ERROR_FBIG: return "The file is too large";
   case FILEIO_WRITE_ERROR_NOSPC: return "There is no space left on the device";
   case FILEIO_WRITE_ERROR_DQUOT: return "The disk quota is exceeded";
   default: return "Unknown error";
   }
}

}  // extern "C"
