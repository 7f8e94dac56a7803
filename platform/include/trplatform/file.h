/*
 * file.h --
 *
 *    Host path helpers and whole-file operations. Texts returned as char *
 *    are newly allocated; free them with free().
 */

#ifndef TRPLATFORM_FILE_H
#define TRPLATFORM_FILE_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

/* Whether anything (file, directory, ...) exists at path. */
TRPLATFORM_API Bool File_Exists(const char *path) TR_NOEXCEPT;
TRPLATFORM_API Bool File_IsDirectory(const char *path) TR_NOEXCEPT;
TRPLATFORM_API Bool File_IsFile(const char *path) TR_NOEXCEPT;
/* Size in bytes, -1 when it cannot be had. */
TRPLATFORM_API int64_t File_GetSize(const char *path) TR_NOEXCEPT;

/* dir + "/" + name (one "/" between them; none added when dir ends in "/"). */
TRPLATFORM_API char *File_PathJoin(const char *dir, const char *name) TR_NOEXCEPT;
/*
 * Splits path at its last "/": *dir receives the part before it ("" for a
 * bare name, "/" for a name directly below the root) and *base the part
 * after it. Either output may be NULL.
 */
TRPLATFORM_API void File_GetPathName(const char *path, char **dir, char **base) TR_NOEXCEPT;
/* Like File_GetPathName with a volume part ("" on this host); *dir keeps its
 * trailing "/". Any output may be NULL. */
TRPLATFORM_API void File_SplitName(const char *path, char **volume, char **dir, char **base) TR_NOEXCEPT;

/* Copies a regular file; with overwrite FALSE an existing target is an error.
 * The target is written under a temporary name and renamed into place. */
TRPLATFORM_API Bool File_CopyFromNameToName(const char *src, const char *dst, int overwrite) TR_NOEXCEPT;
/* One directory (mode 0755); TRUE also when it already exists as a directory. */
TRPLATFORM_API Bool File_CreateDirectory(const char *path) TR_NOEXCEPT;
/* A directory and its missing parents; TRUE when it exists afterwards. */
TRPLATFORM_API Bool File_CreateDirectoryHierarchy(const char *path) TR_NOEXCEPT;
/*
 * Names of a directory's entries except "." and "..", sorted by byte value so
 * that every walk is reproducible. Returns the count and stores a new array
 * of new texts in *names (free each, then the array) when names is not NULL;
 * -1 when the directory cannot be read.
 */
TRPLATFORM_API int File_ListDirectory(const char *dir, char ***names) TR_NOEXCEPT;
/* Removes a directory with everything below it (symbolic links are removed,
 * not followed). TRUE when it is gone. */
TRPLATFORM_API Bool File_DeleteDirectoryTree(const char *dir) TR_NOEXCEPT;
/* Removes an empty directory. */
TRPLATFORM_API Bool File_DeleteEmptyDirectory(const char *dir) TR_NOEXCEPT;
/* Removes a file when it exists: 0 when it is gone afterwards, else errno. */
TRPLATFORM_API int File_UnlinkIfExists(const char *path) TR_NOEXCEPT;
/* A private temporary directory for the current user (TMPDIR, else /tmp),
 * newly allocated; NULL when none is usable. useConf is accepted for
 * compatibility and ignored. */
TRPLATFORM_API char *File_GetSafeTmpDir(Bool useConf) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
