// legacyVersion.cc --
//
//    The tools version number that older guest tools leave in the database
//    of the virtual machine's disks.

#include <trguest/toolsversion.h>

#include <cstdlib>

#include <trplatform/disk.h>
#include <trplatform/strutil.h>

extern "C" {

TRGUEST_API Bool ToolsVersion_GetLegacyVersionNumber(const char *configPath,
                                                     uint32_t *version) noexcept {
   if (version == nullptr) {
      return FALSE;
   }
   *version = 0;
   SnapshotStringList *devices = nullptr;
   SnapshotStringList *disks = nullptr;
   SnapshotError err = Snapshot_GetCurrentDisks(configPath, nullptr, nullptr, &devices, &disks,
                                                nullptr);
   if (err.type != SNAPSHOTERROR_SUCCESS) {
      Snapshot_DestroyStringList(devices);
      Snapshot_DestroyStringList(disks);
      return FALSE;
   }
   // The highest number over all disks counts: a disk added from another
   // machine may carry an older tools version than the system disk.
   for (SnapshotStringList *d = disks; d != nullptr; d = d->next) {
      DiskHandle disk = nullptr;
      if (DiskLib_Open(d->value, DISKLIB_OPEN_READ_ONLY | DISKLIB_OPEN_DESCRIPTOR_ONLY |
                                    DISKLIB_OPEN_NO_LOCK,
                       nullptr, &disk) != DISKLIB_SUCCESS) {
         continue;
      }
      char *text = nullptr;
      uint32_t value = 0;
      if (DiskLib_DBGet(disk, "toolsVersion", &text) == DISKLIB_SUCCESS && text != nullptr &&
          StrUtil_StrToUint(&value, text) && value > *version) {
         *version = value;
      }
      DiskLib_Close(disk);
      std::free(text);
   }
   Snapshot_DestroyStringList(devices);
   Snapshot_DestroyStringList(disks);
   return TRUE;
}

}  // extern "C"
