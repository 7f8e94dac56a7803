/*
 * udf.h --
 *
 *    Read-only UDF reader (ECMA-167 / UDF 1.02 to 2.60 as found on DVD
 *    images), including the metadata partition of UDF 2.50 and later.
 *    Names are presented in UTF-8 and matched exactly.
 */

#ifndef TRPLATFORM_UDF_H
#define TRPLATFORM_UDF_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef struct UDFImage UDFImage;
typedef struct UDFDir UDFDir;
typedef struct UDFFile UDFFile;

/* NULL when the file cannot be opened or is not a UDF image. */
TRPLATFORM_API UDFImage *UDF_Open(const char *path) TR_NOEXCEPT;
/* NULL allowed. Directory and file handles must be closed first. */
TRPLATFORM_API void UDF_Close(UDFImage *udf) TR_NOEXCEPT;

/* Directory at path ("" and "/" are the root; with or without a leading
 * "/"), relative to parent when parent is not NULL; NULL when absent. */
TRPLATFORM_API UDFDir *UDF_OpenDir(UDFImage *udf, UDFDir *parent, const char *path) TR_NOEXCEPT;
/* Name of the next entry (valid until the next call or the close), NULL at
 * the end. The parent entry is not presented. */
TRPLATFORM_API const char *UDF_ReadDir(UDFDir *dir) TR_NOEXCEPT;
TRPLATFORM_API void UDF_RewindDir(UDFDir *dir) TR_NOEXCEPT;
TRPLATFORM_API Bool UDF_CloseDir(UDFDir *dir) TR_NOEXCEPT;
/* Whether the entry that the last UDF_ReadDir returned is a directory. */
TRPLATFORM_API Bool UDF_IsDirEntryDirectory(const UDFDir *dir) TR_NOEXCEPT;

/* The entry `name` of the directory (a file or a directory), NULL when absent. */
TRPLATFORM_API UDFFile *UDF_OpenFile(UDFImage *udf, UDFDir *dir, const char *name) TR_NOEXCEPT;
/* Reads the whole file into a new buffer (free()) with a NUL added after
 * the data. FALSE on a read error, for a directory, and for a file that
 * claims more bytes than the image has or than memory can hold. */
TRPLATFORM_API Bool UDF_ReadFile(UDFFile *file, char **buffer) TR_NOEXCEPT;
/* Bytes of data that the last successful UDF_ReadFile of this file
 * delivered (the added NUL not counted); 0 before. */
TRPLATFORM_API uint64_t UDF_GetLastReadSize(const UDFFile *file) TR_NOEXCEPT;
/* Size of the file's data as its entry records it. */
TRPLATFORM_API uint64_t UDF_GetFileSize(const UDFFile *file) TR_NOEXCEPT;
TRPLATFORM_API void UDF_CloseFile(UDFFile *file) TR_NOEXCEPT;

/* Bytes read from image files by this reader since the last reset. */
TRPLATFORM_API uint64_t UDF_GetBytesRead(void) TR_NOEXCEPT;
TRPLATFORM_API void UDF_ResetBytesRead(void) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
