/*
 * fsimage.h --
 *
 *    FAT image files: create and format a floppy image, open an existing
 *    FAT12 or FAT16 image, and read and write the files of its root
 *    directory. Results are 64-bit error codes, 0 (FSIMAGE_OK) on success.
 *
 *    Names are 8.3 names, stored in upper case; a base name or extension
 *    given all in lower case is marked so that it is listed in lower case
 *    ("preseed.cfg"); one in mixed case ("Preseed") is stored and listed in
 *    upper case. Lookups ignore case. Long-name entries of existing images
 *    are skipped and kept intact; new entries never land inside them.
 *
 *    Images are untrusted: a damaged boot sector, cluster chain or entry
 *    gives an error code. Changes to the FAT (all copies) and the directory
 *    are written when a file, directory or volume handle is closed; file
 *    data is written at once.
 */

#ifndef TRPLATFORM_FSIMAGE_H
#define TRPLATFORM_FSIMAGE_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef uint64_t FSImageError;

#define FSIMAGE_OK              0ULL
#define FSIMAGE_ERR_IO          1ULL   /* host read/write failed */
#define FSIMAGE_ERR_NOT_FOUND   2ULL   /* no such file */
#define FSIMAGE_ERR_EXISTS      3ULL   /* name already in use */
#define FSIMAGE_ERR_BAD_NAME    4ULL   /* not a valid 8.3 name */
#define FSIMAGE_ERR_DISK_FULL   5ULL   /* no free cluster */
#define FSIMAGE_ERR_DIR_FULL    6ULL   /* no free root directory entry */
#define FSIMAGE_ERR_BAD_FORMAT  7ULL   /* not a usable FAT12/FAT16 image */
#define FSIMAGE_ERR_CORRUPT     8ULL   /* chain loop, cluster out of range, ... */
#define FSIMAGE_ERR_BAD_ARG     9ULL
#define FSIMAGE_ERR_READ_ONLY  10ULL
#define FSIMAGE_ERR_STATE      11ULL   /* handle of a closed volume */

/* File-system type for FSImage_SkipVolumeBoot. */
#define FSIMAGE_FAT_FILE_SYSTEM 1

typedef struct FSImageVolume FSImageVolume;
typedef struct FSImageDir FSImageDir;
typedef struct FSImageFile FSImageFile;

/*
 * Creates (or replaces) the image file at path and formats it: with kind 1
 * a 1.44 MB FAT12 floppy (80 cylinders, 2 heads, 18 sectors of 512 bytes,
 * two FATs, 224 root entries, one sector per cluster, media 0xF0).
 * reserved must be NULL; flags must be 1 (else FSIMAGE_ERR_BAD_ARG). Close
 * with FSImage_Close.
 */
TRPLATFORM_API FSImageError FSImage_FormatVolume(void *reserved, const char *path, int kind,
                                                 int flags, FSImageVolume **volume) TR_NOEXCEPT;
/* Opens an existing image; writable 1 for read and write, 0 read-only.
 * FSIMAGE_ERR_IO when the path cannot be opened. */
TRPLATFORM_API FSImageError FSImage_OpenVolume(void *reserved, const char *path, int writable,
                                               FSImageVolume **volume) TR_NOEXCEPT;
/* Reads and checks the boot sector (FSIMAGE_FAT_FILE_SYSTEM: FAT12 or
 * FAT16, told apart by cluster count), the FAT and the root directory;
 * FSIMAGE_ERR_BAD_FORMAT for anything else, FAT32 included. */
TRPLATFORM_API FSImageError FSImage_SkipVolumeBoot(FSImageVolume *volume, int fsType) TR_NOEXCEPT;
/* Opens the root directory; on a volume whose boot area has not been read
 * yet it does what FSImage_SkipVolumeBoot(volume, FSIMAGE_FAT_FILE_SYSTEM)
 * does first, with the same errors. */
TRPLATFORM_API FSImageError FSImage_OpenRootDirectory(FSImageVolume *volume, FSImageDir **dir) TR_NOEXCEPT;
/* Number of directory slots (in use or not); 0 for an unusable handle. */
TRPLATFORM_API uint32_t FSImage_GetNumDirEntries(FSImageDir *dir) TR_NOEXCEPT;
/*
 * Slot `index` of the directory: whether it holds a file or directory
 * (long-name, volume-label and deleted slots are not in use), its name as
 * new text (free(); lower case where the entry says so), whether it is a
 * directory, its size and its first cluster. Every output may be NULL; name
 * is set to NULL for a slot not in use. FSIMAGE_ERR_CORRUPT for a slot whose
 * stored name cannot be handed out (control characters, path separators).
 */
TRPLATFORM_API FSImageError FSImage_GetCatInfo(FSImageDir *dir, uint32_t index, Bool *inUse,
                                               char **name, Bool *isDirectory, uint64_t *size,
                                               uint32_t *firstCluster) TR_NOEXCEPT;
/* Opens an existing file (not a directory) of the directory for reading and
 * writing; FSIMAGE_ERR_NOT_FOUND when there is none, FSIMAGE_ERR_CORRUPT
 * when its cluster chain is broken. Opening never changes the file. */
TRPLATFORM_API FSImageError FSImage_OpenFile(FSImageDir *dir, const char *name,
                                             FSImageFile **file) TR_NOEXCEPT;
/* Creates a new empty file; FSIMAGE_ERR_EXISTS when the name is taken,
 * FSIMAGE_ERR_DIR_FULL when no slot is free. */
TRPLATFORM_API FSImageError FSImage_CreateFile(FSImageDir *dir, const char *name,
                                               FSImageFile **file) TR_NOEXCEPT;
/* Reads up to length bytes at offset; *bytesRead 0 at or past the end. */
TRPLATFORM_API FSImageError FSImage_Read(FSImageFile *file, uint64_t offset, void *buffer,
                                         uint32_t length, uint32_t *bytesRead) TR_NOEXCEPT;
/*
 * Writes length bytes at offset, growing the file as needed. A write at
 * offset 0 starts new content: the file is first cut to 0 bytes, so that
 * writing a file from its start never leaves an old tail. A gap before
 * offset reads as zeros. A write that does not fit fails with
 * FSIMAGE_ERR_DISK_FULL and changes nothing (*bytesWritten 0).
 */
TRPLATFORM_API FSImageError FSImage_Write(FSImageFile *file, uint64_t offset, const void *buffer,
                                          uint32_t length, uint32_t *bytesWritten) TR_NOEXCEPT;
TRPLATFORM_API FSImageError FSImage_GetFileSize(FSImageFile *file, uint64_t *size) TR_NOEXCEPT;
/* Closes a file, directory or volume handle (NULL allowed). Closing a
 * volume writes its pending changes. */
TRPLATFORM_API FSImageError FSImage_Close(void *handle) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
