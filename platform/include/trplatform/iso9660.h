/*
 * iso9660.h --
 *
 *    Read-only ISO 9660 image reader (ECMA-119) with Joliet and Rock Ridge
 *    (SUSP/RRIP) names. Images of any size; all offsets are 64-bit.
 *
 *    Every operation returns an Iso9660Result: 0 (ISO9660_OK) on success.
 *    Handles of directories and files are small numbers that belong to the
 *    image handle that made them.
 */

#ifndef TRPLATFORM_ISO9660_H
#define TRPLATFORM_ISO9660_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef enum Iso9660Result {
   ISO9660_OK = 0,
   ISO9660_ERROR = 1,         /* unspecified failure */
   ISO9660_NOT_FOUND = 2,     /* no such file or directory */
   ISO9660_IO_ERROR = 3,      /* the host file could not be read or written */
   ISO9660_BAD_FORMAT = 4,    /* not ISO 9660, or a malformed structure */
   ISO9660_END = 5,           /* end of a directory or a file */
   ISO9660_BAD_HANDLE = 6,    /* unknown or closed handle */
   ISO9660_NOT_A_DIRECTORY = 7,
   ISO9660_IS_A_DIRECTORY = 8,
   ISO9660_NO_MEMORY = 9
} Iso9660Result;

/* Format-set bits: which name spaces of an image to read through. */
#define ISO9660_FORMAT_PLAIN     1   /* ECMA-119 primary volume, 8.3-style names */
#define ISO9660_FORMAT_JOLIET    2   /* Joliet supplementary volume, UCS-2 names */
#define ISO9660_FORMAT_ROCKRIDGE 4   /* Rock Ridge NM names on the primary volume */

#define ISO9660_NAME_MAX 4096        /* size of a name buffer, NUL included */

typedef struct Iso9660Image Iso9660Image;
typedef uint32_t Iso9660DirHandle;
typedef uint32_t Iso9660FileHandle;

/*
 * One directory entry as Iso9660_ReadDir presents it. name is the entry's
 * name as the chosen format presents it (Rock Ridge NM name; Joliet name in
 * UTF-8; plain name without its ";1" version). The fields after isDirectory
 * locate the entry's record for Iso9660_OpenFile; callers do not use them.
 */
typedef struct Iso9660DirEntry {
   char name[ISO9660_NAME_MAX];
   uint64_t size;            /* bytes of file data (all extents) */
   Bool isDirectory;
   uint8_t reserved[7];
   uint64_t recordOffset;    /* image offset of the entry's first record */
   uint32_t imageId;         /* which open image made the entry */
   uint32_t dirExtent;       /* first block of the directory holding the entry */
} Iso9660DirEntry;

/* Which of the format-set bits the image supports (1 for every ISO 9660
 * image, plus 2 and 4 when present). */
TRPLATFORM_API Iso9660Result Iso9660_ListFormats(const char *path, uint32_t *formats) TR_NOEXCEPT;
/*
 * Opens an image for reading through the best format of `formats` that the
 * image has: Rock Ridge before Joliet before plain. flags must be 0.
 */
TRPLATFORM_API Iso9660Result Iso9660_Open(const char *path, uint32_t formats, uint32_t flags,
                                          Iso9660Image **image) TR_NOEXCEPT;
/* Closes the image and every directory and file handle of it; NULL allowed. */
TRPLATFORM_API void Iso9660_Close(Iso9660Image *image) TR_NOEXCEPT;

/* Paths are relative to the root, with or without a leading "/"; "" and "/"
 * name the root. Components match names as presented: exactly for Rock
 * Ridge and Joliet, ignoring ASCII case for plain names. A "." component
 * names the directory it stands in and ".." its parent (the root's parent
 * is the root); each component before them must exist as a directory. */
TRPLATFORM_API Iso9660Result Iso9660_OpenDir(Iso9660Image *image, const char *path,
                                             Iso9660DirHandle *dir) TR_NOEXCEPT;
/* Next entry ("." and ".." are not presented); ISO9660_END after the last. */
TRPLATFORM_API Iso9660Result Iso9660_ReadDir(Iso9660Image *image, Iso9660DirHandle dir,
                                             Iso9660DirEntry *entry) TR_NOEXCEPT;
TRPLATFORM_API Iso9660Result Iso9660_RewindDir(Iso9660Image *image, Iso9660DirHandle dir) TR_NOEXCEPT;
TRPLATFORM_API Iso9660Result Iso9660_CloseDir(Iso9660Image *image, Iso9660DirHandle dir) TR_NOEXCEPT;

/* Opens the file an entry of Iso9660_ReadDir names (of this image). A
 * directory entry opens too, so that a caller can learn that a name exists
 * whatever it is (an application bundle is a directory), but reading it gives
 * ISO9660_IS_A_DIRECTORY, as UDF_ReadFile fails for a directory. */
TRPLATFORM_API Iso9660Result Iso9660_OpenFile(Iso9660Image *image, const Iso9660DirEntry *entry,
                                              Iso9660FileHandle *file) TR_NOEXCEPT;
/*
 * Reads up to *count bytes at the file's position into buffer and stores
 * the number read in *count. ISO9660_END (and *count 0) when the position is
 * at the end of the file.
 */
TRPLATFORM_API Iso9660Result Iso9660_ReadFile(Iso9660Image *image, Iso9660FileHandle file,
                                              void *buffer, uint32_t *count) TR_NOEXCEPT;
TRPLATFORM_API Iso9660Result Iso9660_CloseFile(Iso9660Image *image, Iso9660FileHandle file) TR_NOEXCEPT;

/* The primary volume identifier without trailing blanks, newly allocated. */
TRPLATFORM_API Iso9660Result Iso9660_GetVolumeId(Iso9660Image *image, char **volumeId) TR_NOEXCEPT;

/*
 * Copies the image's file at pathInImage into hostDir under its base name;
 * for a directory, copies what the directory holds (files, and
 * subdirectories with their trees) into hostDir, which must exist. A tree
 * in which a directory is reached twice, or whose files add up to more
 * than eight times the image's size, is damaged: ISO9660_BAD_FORMAT, with
 * what was copied before left in place.
 */
TRPLATFORM_API Iso9660Result Iso9660_Extract(Iso9660Image *image, const char *pathInImage,
                                             const char *hostDir) TR_NOEXCEPT;
/* Copies the file `name` of the image's root directory to the host file destPath. */
TRPLATFORM_API Iso9660Result Iso9660_ExtractFileEx(Iso9660Image *image, const char *name,
                                                   const char *destPath) TR_NOEXCEPT;

/* Bytes read from image files by this reader since the last reset, over all
 * images and threads (a benchmark aid). */
TRPLATFORM_API uint64_t Iso9660_GetBytesRead(void) TR_NOEXCEPT;
TRPLATFORM_API void Iso9660_ResetBytesRead(void) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
