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
 * The target is replaced as File_ReplaceContents does (an existing target
 * keeps its mode, a new one gets 0644). */
TRPLATFORM_API Bool File_CopyFromNameToName(const char *src, const char *dst, int overwrite) TR_NOEXCEPT;
/*
 * Atomic replacement. The new contents go to a temporary file in the
 * target's directory, which receives the target's mode (0644 for a new file)
 * and, when the caller may give it, the target's owner and group; its data
 * are synced, it is renamed over the target and the directory is synced. A
 * reader sees the old file or the whole new one. When path is a symbolic
 * link, the file it names is replaced and the link stays.
 */
/* Writes size bytes of data (NULL only with size 0) as path's contents. */
TRPLATFORM_API Bool File_ReplaceContents(const char *path, const void *data, size_t size) TR_NOEXCEPT;
/* Creates an empty temporary file (mode 0600) in path's directory (the
 * directory of the file a symbolic link at path names); returns its newly
 * allocated name, or NULL. Write it, then File_CommitTemp it. */
TRPLATFORM_API char *File_MakeTempBeside(const char *path) TR_NOEXCEPT;
/* Gives tempPath path's mode (and owner), syncs it and renames it over path,
 * then syncs the directory. tempPath is removed when this fails. */
TRPLATFORM_API Bool File_CommitTemp(const char *tempPath, const char *path) TR_NOEXCEPT;

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
