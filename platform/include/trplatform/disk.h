/*
 * disk.h --
 *
 *    A virtual machine's current virtual disks, and read access to the
 *    database entries ("ddb.*") of a virtual disk's text descriptor.
 *
 *    A descriptor is a text file of at most 1 MiB made of lines of these
 *    kinds (blank lines allowed, CR LF accepted):
 *
 *       # Disk descriptor            comment
 *       createType="monolithicFlat"  entry: name = "value" (or a bare word)
 *       RW 4192256 FLAT "a-flat" 0   extent line (RW, RDONLY or NOACCESS)
 *       ddb.toolsVersion = "9349"    database entry "toolsVersion"
 *
 *    Names compare ignoring ASCII case; a name given twice keeps its last
 *    value. Quoted values hold no double quote.
 */

#ifndef TRPLATFORM_DISK_H
#define TRPLATFORM_DISK_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

/* A singly linked list of texts; each node and its text are malloc'd. */
typedef struct SnapshotStringList {
   char *value;
   struct SnapshotStringList *next;
} SnapshotStringList;

typedef enum SnapshotErrorType {
   SNAPSHOTERROR_SUCCESS = 0,
   SNAPSHOTERROR_INVALID = 1,     /* a required argument is NULL */
   SNAPSHOTERROR_CONFIG = 2       /* the configuration file cannot be loaded */
} SnapshotErrorType;

/* The result of a snapshot operation; type 0 is success. */
typedef struct SnapshotError {
   SnapshotErrorType type;
} SnapshotError;

/*
 * The current disks of the virtual machine whose configuration file is
 * configPath, in file order: one per entry "<device>.fileName" whose device
 * name begins with "ide", "scsi", "sata" or "nvme" (ASCII case ignored),
 * whose "<device>.present" is absent or true and whose "<device>.deviceType"
 * is absent or contains "disk" (case ignored). *diskList receives the disk
 * paths (a relative name is taken relative to configPath's directory) and
 * *deviceList, when given, the device names in the same order. Both lists
 * are NULL when there are no disks and on failure. reserved1, reserved2 and
 * reserved3 are accepted for compatibility and ignored.
 */
TRPLATFORM_API SnapshotError Snapshot_GetCurrentDisks(const char *configPath, void *reserved1,
                                                      void *reserved2,
                                                      SnapshotStringList **deviceList,
                                                      SnapshotStringList **diskList,
                                                      void *reserved3) TR_NOEXCEPT;
/* Frees a whole list; NULL allowed. */
TRPLATFORM_API void Snapshot_DestroyStringList(SnapshotStringList *list) TR_NOEXCEPT;

/* Results of the disk operations; 0 is success. */
typedef enum DiskLibError {
   DISKLIB_SUCCESS = 0,
   DISKLIB_ERR_INVALID = 1,        /* a required argument is NULL */
   DISKLIB_ERR_CANNOT_OPEN = 2,    /* missing, unreadable, or not a regular file */
   DISKLIB_ERR_TOO_LARGE = 3,      /* more than 1 MiB: not a text descriptor */
   DISKLIB_ERR_NOT_DESCRIPTOR = 4, /* text that is not a descriptor */
   DISKLIB_ERR_NOT_FOUND = 5       /* no such database entry */
} DiskLibError;

/* Open flags. The disk is only ever read; the flags are recorded. */
#define DISKLIB_OPEN_READ_ONLY      0x1u
#define DISKLIB_OPEN_DESCRIPTOR_ONLY 0x2u  /* do not touch the extents */
#define DISKLIB_OPEN_NO_LOCK        0x4u

typedef struct DiskLibHandle *DiskHandle;

/* Opens the descriptor at path; *disk receives the handle (NULL on
 * failure). reserved is ignored. */
TRPLATFORM_API DiskLibError DiskLib_Open(const char *path, uint32_t flags, void *reserved,
                                         DiskHandle *disk) TR_NOEXCEPT;
/* *value receives a malloc'd copy of the value of the descriptor's entry
 * "ddb.<name>", or NULL with DISKLIB_ERR_NOT_FOUND. */
TRPLATFORM_API DiskLibError DiskLib_DBGet(DiskHandle disk, const char *name,
                                          char **value) TR_NOEXCEPT;
/* Releases the handle; NULL allowed. */
TRPLATFORM_API void DiskLib_Close(DiskHandle disk) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
