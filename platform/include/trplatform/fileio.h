/*
 * fileio.h --
 *
 *    Host file I/O with 64-bit sizes and offsets.
 */

#ifndef TRPLATFORM_FILEIO_H
#define TRPLATFORM_FILEIO_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef enum FileIOResult {
   FILEIO_SUCCESS = 0,
   FILEIO_CANCELLED,
   FILEIO_ERROR,
   FILEIO_OPEN_ERROR_EXIST,       /* create-only open of an existing file */
   FILEIO_LOCK_FAILED,
   FILEIO_READ_ERROR_EOF,         /* short read: end of file reached */
   FILEIO_FILE_NOT_FOUND,
   FILEIO_NO_PERMISSION,
   FILEIO_FILE_NAME_TOO_LONG,
   FILEIO_WRITE_ERROR_FBIG,
   FILEIO_WRITE_ERROR_NOSPC,
   FILEIO_WRITE_ERROR_DQUOT,
   FILEIO_ERROR_LAST
} FileIOResult;

/* Access bits. */
#define FILEIO_OPEN_ACCESS_READ  1
#define FILEIO_OPEN_ACCESS_WRITE 2

/* Open actions. */
typedef enum FileIOOpenAction {
   FILEIO_OPEN = 0,              /* existing file only */
   FILEIO_OPEN_CREATE = 1,       /* existing file, or create it */
   FILEIO_OPEN_CREATE_SAFE = 2,  /* create; fails when it exists */
   FILEIO_OPEN_CREATE_EMPTY = 3, /* create, or truncate an existing file */
   FILEIO_OPEN_EMPTY = 4         /* existing file only, truncated */
} FileIOOpenAction;

typedef struct FileIODescriptor {
   int posix;        /* -1 when invalid */
   char *fileName;   /* owned copy of the path while open */
} FileIODescriptor;

TRPLATFORM_API void FileIO_Invalidate(FileIODescriptor *fd) TR_NOEXCEPT;
TRPLATFORM_API Bool FileIO_IsValid(const FileIODescriptor *fd) TR_NOEXCEPT;
/* Regular files only (a directory, FIFO or device gives FILEIO_ERROR).
 * Files are created with mode 0644 (less the umask). */
TRPLATFORM_API FileIOResult FileIO_Open(FileIODescriptor *fd, const char *path,
                                        int access, FileIOOpenAction action) TR_NOEXCEPT;
/* Closes and invalidates; FILEIO_SUCCESS also for an invalid descriptor. */
TRPLATFORM_API FileIOResult FileIO_Close(FileIODescriptor *fd) TR_NOEXCEPT;
/*
 * Reads up to len bytes at the current position. FILEIO_SUCCESS when all len
 * bytes were read; FILEIO_READ_ERROR_EOF when the end of the file came first
 * (*actual holds the bytes read, possibly 0); another code on error.
 * actual may be NULL.
 */
TRPLATFORM_API FileIOResult FileIO_Read(FileIODescriptor *fd, void *buf, size_t len,
                                        size_t *actual) TR_NOEXCEPT;
/* Writes all len bytes; written (may be NULL) receives the count written. */
TRPLATFORM_API FileIOResult FileIO_Write(FileIODescriptor *fd, const void *buf, size_t len,
                                         size_t *written) TR_NOEXCEPT;
/* Positioned read/write; the current position does not move. */
TRPLATFORM_API FileIOResult FileIO_Pread(FileIODescriptor *fd, void *buf, size_t len,
                                         uint64_t offset, size_t *actual) TR_NOEXCEPT;
TRPLATFORM_API FileIOResult FileIO_Pwrite(FileIODescriptor *fd, const void *buf, size_t len,
                                          uint64_t offset, size_t *written) TR_NOEXCEPT;
/* Size in bytes, or -1 on error. */
TRPLATFORM_API int64_t FileIO_GetSize(const FileIODescriptor *fd) TR_NOEXCEPT;
/* Sets the file's size (extends with zeros). */
TRPLATFORM_API FileIOResult FileIO_SetSize(FileIODescriptor *fd, uint64_t size) TR_NOEXCEPT;
/* Writes buffered data to the disk. */
TRPLATFORM_API FileIOResult FileIO_Sync(FileIODescriptor *fd) TR_NOEXCEPT;
/* English text of a result, for log lines. Static; do not free. */
TRPLATFORM_API const char *FileIO_MsgError(FileIOResult result) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
