// snapshot.cc --
//
//    The current virtual disks named by a virtual machine's configuration
//    file.

#include <trplatform/disk.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <trplatform/dictionary.h>
#include <trplatform/msg.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "internal/ascii.hh"

namespace {

constexpr const char kFileNameSuffix[] = ".fileName";

using Entries = std::vector<std::pair<std::string, std::string>>;

void CollectEntry(const char *name, const char *value, void *, void *clientData) {
   static_cast<Entries *>(clientData)->emplace_back(name, value != nullptr ? value : "");
}

bool IsDiskController(const std::string &device) {
   for (const char *bus : {"ide", "scsi", "sata", "nvme"}) {
      if (StrUtil_CaselessStartsWith(device.c_str(), bus)) {
         return true;
      }
   }
   return false;
}

bool ContainsIgnoringCase(const std::string &text, const char *word) {
   std::string lower;
   for (char c : text) {
      lower += trp::AsciiToLower(c);
   }
   return lower.find(word) != std::string::npos;
}

// Whether the device's "present" and "deviceType" entries let it count as
// a current disk: absent entries do, as they do for the product.
bool IsPresentDisk(Dictionary *dict, const std::string &device) {
   char *present = Dict_GetString(dict, nullptr, "%s.present", device.c_str());
   bool ok = present == nullptr || Dictionary_StringToBool(present, FALSE);
   std::free(present);
   if (ok) {
      char *type = Dict_GetString(dict, nullptr, "%s.deviceType", device.c_str());
      ok = type == nullptr || ContainsIgnoringCase(type, "disk");
      std::free(type);
   }
   return ok;
}

void Append(SnapshotStringList ***tail, const std::string &text) {
   auto *node = static_cast<SnapshotStringList *>(UtilSafeMalloc0(sizeof(SnapshotStringList)));
   node->value = UtilSafeStrdup0(text.c_str());
   **tail = node;
   *tail = &node->next;
}

}  // namespace

extern "C" {

TRPLATFORM_API SnapshotError Snapshot_GetCurrentDisks(const char *configPath, void *, void *,
                                                      SnapshotStringList **deviceList,
                                                      SnapshotStringList **diskList,
                                                      void *) noexcept {
   if (deviceList != nullptr) {
      *deviceList = nullptr;
   }
   if (diskList == nullptr || configPath == nullptr) {
      return SnapshotError{SNAPSHOTERROR_INVALID};
   }
   *diskList = nullptr;
   Dictionary *dict = Dictionary_Create();
   if (dict == nullptr || !Dictionary_Load(dict, configPath)) {
      // The error record reports the failure; the loader's message must not
      // turn up in some later caller's log line.
      Msg_Reset();
      Dictionary_Free(dict);
      return SnapshotError{SNAPSHOTERROR_CONFIG};
   }
   Entries entries;
   Dictionary_Iterate(dict, CollectEntry, &entries, TRUE);

   const char *slash = std::strrchr(configPath, '/');
   const std::string dir =
      slash != nullptr ? std::string(configPath, static_cast<size_t>(slash - configPath) + 1) : "";
   SnapshotStringList **deviceTail = deviceList;
   SnapshotStringList **diskTail = diskList;
   const size_t suffixLen = std::strlen(kFileNameSuffix);
   for (const auto &[name, value] : entries) {
      if (name.size() <= suffixLen || value.empty() ||
          !StrUtil_CaselessEndsWith(name.c_str(), kFileNameSuffix)) {
         continue;
      }
      const std::string device = name.substr(0, name.size() - suffixLen);
      if (!IsDiskController(device) || !IsPresentDisk(dict, device)) {
         continue;
      }
      Append(&diskTail, value.front() == '/' ? value : dir + value);
      if (deviceTail != nullptr) {
         Append(&deviceTail, device);
      }
   }
   Dictionary_Free(dict);
   return SnapshotError{SNAPSHOTERROR_SUCCESS};
}

TRPLATFORM_API void Snapshot_DestroyStringList(SnapshotStringList *list) noexcept {
   while (list != nullptr) {
      SnapshotStringList *next = list->next;
      std::free(list->value);
      std::free(list);
      list = next;
   }
}

}  // extern "C"
