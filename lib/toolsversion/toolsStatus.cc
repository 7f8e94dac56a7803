// toolsStatus.cc --
//
//    The tools status of a virtual machine: each component's guest version
//    against the host's version and the AVR bounds, folded into one public
//    status, with the fallbacks to the legacy tools version number and the
//    virtual hardware version.

#include "toolsStatusInt.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <trplatform/file.h>
#include <trplatform/log.h>
#include <trplatform/msg.h>
#include <trplatform/str.h>
#include <trplatform/util.h>

const char *const statusWords[COMPONENT_STATUS_COUNT] = {
   "blacklisted",   "too old", "too new",
   "supported old", "supported new", "current",
   "additional in the guest", "missing from the guest", "not installed",
   "gone",
};

const ToolsVersionStatus statusToResult[COMPONENT_CURRENT + 1] = {
   TOOLS_STATUS_BLACKLISTED,   TOOLS_STATUS_TOO_OLD,       TOOLS_STATUS_TOO_NEW,
   TOOLS_STATUS_SUPPORTED_OLD, TOOLS_STATUS_SUPPORTED_NEW, TOOLS_STATUS_CURRENT,
};

namespace {

// The first of the k leading parts in which a and b differ decides.
int Compare(const ToolsVersionNumber &a, const ToolsVersionNumber &b, uint32_t k) {
   for (uint32_t i = 0; i < k && i < 4; i++) {
      if (a.parts[i] != b.parts[i]) {
         return a.parts[i] < b.parts[i] ? -1 : 1;
      }
   }
   return 0;
}

bool Present(const ToolsVersionNumber &v) { return v.significantParts != 0; }

// Whether the guest version is on the blacklist. An entry without a version
// (written with #0) matches every guest version.
bool Blacklisted(const ComponentRecord &r) {
   const auto *illegal = reinterpret_cast<const ToolsVersionNumber *>(r.avrIllegal.data);
   for (size_t i = 0; i < r.avrIllegal.size / sizeof(ToolsVersionNumber); i++) {
      if (!Present(illegal[i]) || Compare(r.guest, illegal[i], illegal[i].significantParts) == 0) {
         return true;
      }
   }
   return false;
}

// Names of the components of each status; the names are the table's keys.
struct StatusLists {
   DynBuf lists[COMPONENT_STATUS_COUNT];

   StatusLists() {
      for (DynBuf &b : lists) {
         DynBuf_Init(&b);
      }
   }
   ~StatusLists() {
      for (DynBuf &b : lists) {
         DynBuf_Destroy(&b);
      }
   }
   StatusLists(const StatusLists &) = delete;
   StatusLists &operator=(const StatusLists &) = delete;

   void add(ComponentStatus s, const char *name) {
      DynBuf_SafeAppend(&lists[s], &name, sizeof name);
   }
   size_t count(ComponentStatus s) const { return lists[s].size / sizeof(const char *); }
   const char *name(ComponentStatus s, size_t i) const {
      return reinterpret_cast<const char *const *>(lists[s].data)[i];
   }
};

// Whether the monolithic version (when its status S is x) or some
// component has status x; if so, logs why the overall status is x.
bool LogStatusReason(const StatusLists &lists, ComponentStatus S, ComponentStatus x) {
   size_t n = lists.count(x);
   if (S != x && n == 0) {
      return false;
   }
   const char *subject = S == x ? "monolithic version" : lists.name(x, 0);
   size_t others = S == x ? n : n - 1;
   if (others == 0) {
      Log("ToolsVersion: Status is %s because this is status of %s.\n", statusWords[x], subject);
   } else if (others == 1) {
      Log("ToolsVersion: Status is %s because this is status of %s and %s.\n", statusWords[x],
          subject, lists.name(x, S == x ? 0 : 1));
   } else {
      Log("ToolsVersion: Status is %s because this is status of %s and %zu more components.\n",
          statusWords[x], subject, others);
   }
   return true;
}

void LogRow(const char *name, const char *status, const char *guest, char installed,
            const char *host, const char *avrMin, const char *avrMax, const char *illegal) {
   Log("ToolsVersion: %-24s: %-11.11s %-16s %c %-16s %-16s %-16s %s\n", name, status, guest,
       installed, host, avrMin, avrMax, illegal);
}

void LogComponentRow(const char *name, const ComponentRecord *r) {
   char *guest = FormatToolsVersion(&r->guest, FALSE);
   char *host = FormatToolsVersion(&r->host, FALSE);
   char *avrMin = FormatToolsVersion(&r->avrMin, FALSE);
   char *avrMax = FormatToolsVersion(&r->avrMax, FALSE);
   std::string illegal;
   const auto *entries = reinterpret_cast<const ToolsVersionNumber *>(r->avrIllegal.data);
   for (size_t i = 0; i < r->avrIllegal.size / sizeof(ToolsVersionNumber); i++) {
      char *v = FormatToolsVersion(&entries[i], TRUE);
      illegal += i == 0 ? "" : ", ";
      illegal += v;
      std::free(v);
   }
   LogRow(name, statusWords[r->status], guest, r->installed ? 'Y' : 'N', host, avrMin, avrMax,
          illegal.c_str());
   std::free(guest);
   std::free(host);
   std::free(avrMin);
   std::free(avrMax);
}

// "a", "a and b", "a, b, and c".
std::string JoinNames(const StatusLists &lists, ComponentStatus s) {
   size_t n = lists.count(s);
   std::string out;
   for (size_t i = 0; i < n; i++) {
      if (i > 0) {
         out += n == 2 ? " and " : i + 1 == n ? ", and " : ", ";
      }
      out += lists.name(s, i);
   }
   return out;
}

// The paths of one comparison. The working copy is removed when they go.
struct HostManifestPaths {
   char *workingCopy = nullptr;
   char *imagePath = nullptr;
   char *imageDir = nullptr;
   char *baseName = nullptr;
   char *avrPath = nullptr;
   char *cachePath = nullptr;
   uint32_t format = 0;

   HostManifestPaths() = default;
   HostManifestPaths(const HostManifestPaths &) = delete;
   HostManifestPaths &operator=(const HostManifestPaths &) = delete;
   ~HostManifestPaths() {
      if (workingCopy != nullptr) {
         File_UnlinkIfExists(workingCopy);
      }
      for (char *p : {workingCopy, imagePath, imageDir, baseName, avrPath, cachePath}) {
         std::free(p);
      }
   }
};

// Names the working copy of the host manifest: beside the guest manifest
// file, or in the temporary directory under the calling thread's number.
bool NameWorkingCopy(const char *guestManifestPath, HostManifestPaths *paths) {
   if (guestManifestPath != nullptr) {
      if (!File_Exists(guestManifestPath)) {
         Log("Error accessing guest tools version manifest file.\n");
         return false;
      }
      paths->workingCopy = Str_SafeAsprintf(nullptr, "%s.%s", guestManifestPath, "iso.shipped");
      return true;
   }
   char *tmpDir = File_GetSafeTmpDir(FALSE);
   if (tmpDir == nullptr) {
      Log("Error retrieving local temp directory path.\n");
      return false;
   }
   paths->workingCopy = Str_SafeAsprintf(nullptr, "%s%s%s.%lu.%s", tmpDir, "/", "manifest.txt",
                                         static_cast<unsigned long>(Util_GetCurrentThreadId()),
                                         "iso.shipped");
   std::free(tmpDir);
   return true;
}

// Copies the cache file over the working copy. The working copy is scratch
// that the call removes before it returns, so it is written in place
// without the syncs of the platform's durable copy, which would cost
// milliseconds on every call and protect nothing.
bool CopyToWorkingCopy(const char *from, const char *to) {
   std::FILE *in = std::fopen(from, "rb");
   if (in == nullptr) {
      return false;
   }
   std::FILE *out = std::fopen(to, "wb");
   bool ok = out != nullptr;
   char buf[16384];
   size_t n;
   while (ok && (n = std::fread(buf, 1, sizeof buf, in)) > 0) {
      ok = std::fwrite(buf, 1, n, out) == n;
   }
   ok = ok && !std::ferror(in);
   std::fclose(in);
   if (out != nullptr && std::fclose(out) != 0) {
      ok = false;
   }
   return ok;
}

// Puts the host manifest of the virtual machine's tools image into the
// working copy, through the cache file when there is a cache.
bool GetHostManifests(const char *configPath, HostManifestPaths *p) {
   if (!GetToolsIsoPath(configPath, nullptr, &p->imagePath, &p->imageDir, &p->baseName,
                        &p->format)) {
      Log("Failed to get tools iso path.\n");
      return false;
   }
   GetManifestPaths(p->imageDir, p->baseName, &p->avrPath, &p->cachePath);
   Log("%s: Extracting the manifest file.\n", "GetHostManifests");
   if (p->cachePath != nullptr) {
      if (!File_Exists(p->cachePath) &&
          !ExtractIsoManifest(p->cachePath, p->imagePath, p->format)) {
         return false;
      }
      if (!CopyToWorkingCopy(p->cachePath, p->workingCopy)) {
         Log("Failed to copy tools manifest file extracted from iso.\n");
         return false;
      }
   } else if (!ExtractIsoManifest(p->workingCopy, p->imagePath, p->format)) {
      return false;
   }
   Log("%s: Done extracting the manifest file.\n", "GetHostManifests");
   return true;
}

struct TableFree {
   void operator()(ComponentTable *t) const { HashTable_Free(t); }
};
using TablePtr = std::unique_ptr<ComponentTable, TableFree>;

struct RecordFree {
   void operator()(ComponentRecord *r) const { FreeComponentRecord(r); }
};
using RecordPtr = std::unique_ptr<ComponentRecord, RecordFree>;

RecordPtr TakeRecord(ComponentTable *table, const char *name) {
   void *value = nullptr;
   if (!HashTable_LookupAndDelete(table, name, &value)) {
      return nullptr;
   }
   return RecordPtr(static_cast<ComponentRecord *>(value));
}

// The monolithic record, outside the table: "monolithic", with what it
// lacks taken from "legacy", and its guest version from "upgrader" when
// the guest gives none. It always counts as installed.
RecordPtr TakeMonolithic(ComponentTable *table) {
   RecordPtr mono = TakeRecord(table, "monolithic");
   if (!mono) {
      mono.reset(static_cast<ComponentRecord *>(UtilSafeCalloc0(1, sizeof(ComponentRecord))));
      DynBuf_Init(&mono->avrIllegal);
   }
   if (RecordPtr legacy = TakeRecord(table, "legacy")) {
      for (auto slot :
           {&ComponentRecord::host, &ComponentRecord::guest, &ComponentRecord::avrMin}) {
         if (!Present(mono.get()->*slot)) {
            mono.get()->*slot = legacy.get()->*slot;
         }
      }
   }
   void *upgrader = nullptr;
   if (!Present(mono->guest) && HashTable_Lookup(table, "upgrader", &upgrader)) {
      mono->guest = static_cast<ComponentRecord *>(upgrader)->guest;
   }
   mono->installed = TRUE;
   return mono;
}

ComponentStatus Fold(const StatusLists &lists, ComponentStatus S) {
   for (ComponentStatus x : {COMPONENT_BLACKLISTED, COMPONENT_TOO_OLD, COMPONENT_TOO_NEW}) {
      if (LogStatusReason(lists, S, x)) {
         return x;
      }
   }
   size_t missing = lists.count(COMPONENT_MISSING);
   if (missing != 0 && (S == COMPONENT_SUPPORTED_OLD || S == COMPONENT_SUPPORTED_NEW)) {
      const char *first = lists.name(COMPONENT_MISSING, 0);
      if (missing == 1) {
         Log("ToolsVersion: Status is %s because this is status of monolithic version, and %s "
             "is missing from the guest.\n",
             statusWords[S], first);
      } else if (missing == 2) {
         Log("ToolsVersion: Status is %s because this is status of monolithic version, and %s "
             "and %s are missing from the guest.\n",
             statusWords[S], first, lists.name(COMPONENT_MISSING, 1));
      } else {
         Log("ToolsVersion: Status is %s because this is status of monolithic version, and %s "
             "and %zu more components are missing from the guest.\n",
             statusWords[S], first, missing - 1);
      }
      return S;
   }
   // The monolithic version no longer counts: only the components do.
   for (ComponentStatus x : {COMPONENT_SUPPORTED_OLD, COMPONENT_SUPPORTED_NEW}) {
      if (LogStatusReason(lists, COMPONENT_NOT_INSTALLED, x)) {
         return x;
      }
   }
   return COMPONENT_CURRENT;
}

}  // namespace

ComponentStatus ClassifyComponent(ComponentRecord *r) noexcept {
   ComponentStatus s;
   if (!Present(r->guest)) {
      s = Present(r->host) ? COMPONENT_MISSING : COMPONENT_GONE;
   } else if (!r->installed) {
      s = COMPONENT_NOT_INSTALLED;
   } else if (Blacklisted(*r)) {
      s = COMPONENT_BLACKLISTED;
   } else if (Present(r->avrMin) && Compare(r->guest, r->avrMin, r->avrMin.significantParts) < 0) {
      s = COMPONENT_TOO_OLD;
   } else if (Present(r->avrMax) && Compare(r->guest, r->avrMax, r->avrMax.significantParts) > 0) {
      s = COMPONENT_TOO_NEW;
   } else if (!Present(r->host)) {
      s = COMPONENT_ADDITIONAL;
   } else {
      int c = Compare(r->guest, r->host, r->host.significantParts);
      s = c > 0 ? COMPONENT_SUPPORTED_NEW : c < 0 ? COMPONENT_SUPPORTED_OLD : COMPONENT_CURRENT;
   }
   r->status = s;
   return s;
}

ToolsVersionStatus ToolsVersionGetStatus(const char *configPath, const char *guestManifestPath,
                                         Dictionary *guestDictionary) noexcept {
   HostManifestPaths paths;
   if (!NameWorkingCopy(guestManifestPath, &paths) || !GetHostManifests(configPath, &paths)) {
      Log("Error getting host tools manifest files.\n");
      return TOOLS_STATUS_UNKNOWN;
   }
   bool haveAvr = File_Exists(paths.avrPath);

   Log("%s:\n", "ToolsVersionGetStatus");
   TablePtr table(ComponentTableAlloc());
   ManifestDebugFlags flags = {FALSE, FALSE};
   if (!LoadManifestFile(table.get(), &flags, MANIFEST_HOST, paths.workingCopy)) {
      return TOOLS_STATUS_UNKNOWN;
   }
   if (haveAvr && !LoadManifestFile(table.get(), &flags, MANIFEST_AVR, paths.avrPath)) {
      Log("ToolsVersion: AVR file corrupted, ignoring AVR values\n");
      haveAvr = false;
   }
   if (!haveAvr) {
      // Without usable bounds, the host version is the lowest acceptable one.
      HashTable_ForEach(
         table.get(),
         [](const char *, void *value, void *) -> int {
            auto *r = static_cast<ComponentRecord *>(value);
            r->avrMin = r->host;
            return 0;
         },
         nullptr);
   }

   ManifestParseContext guestCtx = {table.get(), MANIFEST_GUEST, nullptr};
   Dictionary_Iterate(guestDictionary, AddManifestEntry, &guestCtx, TRUE);

   RecordPtr mono = TakeMonolithic(table.get());
   StatusLists lists;
   HashTable_ForEach(
      table.get(),
      [](const char *name, void *value, void *data) -> int {
         ComponentStatus s = ClassifyComponent(static_cast<ComponentRecord *>(value));
         static_cast<StatusLists *>(data)->add(s, name);
         return 0;
      },
      &lists);
   ComponentStatus S = ClassifyComponent(mono.get());

   if (flags.componentsLog) {
      LogRow("Component", "Status", "Guest", 'I', "Host", "AVR Min", "AVR Max", "AVR Illegal");
      LogComponentRow("monolithic", mono.get());
      HashTable_ForEach(
         table.get(),
         [](const char *name, void *value, void *) -> int {
            LogComponentRow(name, static_cast<const ComponentRecord *>(value));
            return 0;
         },
         nullptr);
   }
   if (flags.resultLog) {
      for (ComponentStatus s = 0; s < COMPONENT_STATUS_COUNT; s++) {
         if (lists.count(s) != 0) {
            Log("ToolsVersion: %-24s: (%3zu) %s\n", statusWords[s], lists.count(s),
                JoinNames(lists, s).c_str());
         }
      }
   }
   return statusToResult[Fold(lists, S)];
}

extern "C" {

TRGUEST_API ToolsVersionStatus ToolsVersion_GetStatus(const char *configPath,
                                                      const char *guestManifestPath,
                                                      const char *guestManifestText,
                                                      uint32_t legacyVersion) noexcept {
   // Everything is found through the configuration file: without one
   // there is nothing to compare and no disk to ask.
   if (configPath == nullptr) {
      return TOOLS_STATUS_UNKNOWN;
   }
   ToolsVersionStatus status = TOOLS_STATUS_UNKNOWN;
   Dictionary *dict = nullptr;
   bool haveText = guestManifestText != nullptr && *guestManifestText != '\0';
   if (guestManifestPath != nullptr || haveText) {
      dict = Dictionary_Create();
      if (dict == nullptr) {
         Log("Error creating dictionary for guest manifest.\n");
      } else if (guestManifestPath != nullptr) {
         if (!Dictionary_Load(dict, guestManifestPath)) {
            Log("Error loading dictionary for guest manifest: %s.\n", Msg_GetMessagesAndReset());
         } else {
            status = ToolsVersionGetStatus(configPath, guestManifestPath, dict);
         }
      } else if (!Dictionary_LoadFromBuffer(dict, guestManifestText, 0)) {
         Log("Error loading dictionary from guest manifest buffer: %s.\n",
             Msg_GetMessagesAndReset());
      } else {
         status = ToolsVersionGetStatus(configPath, nullptr, dict);
      }
   } else if (guestManifestText == nullptr) {
      ToolsVersionStatus read = GuestManifestFromExtendedConfig(configPath, &dict);
      if (read == 0) {
         status = ToolsVersionGetStatus(configPath, nullptr, dict);
      } else if (read != TOOLS_STATUS_UNKNOWN) {
         // The update agent's own verdict stands, with no fallback.
         Dictionary_Free(dict);
         return read;
      }
   }

   // Virtual hardware version for the fallback. An entry that is no number
   // counts as the default, which is below every version with tools images.
   int32_t hwVersion = 1;
   if (status == TOOLS_STATUS_UNKNOWN && dict != nullptr &&
       Dictionary_IsDefined(dict, "virtualHW.version")) {
      hwVersion = *static_cast<const int32_t *>(
         Dictionary_Get(dict, &hwVersion, DICT_LONG, "virtualHW.version"));
   }
   Dictionary_Free(dict);
   if (status != TOOLS_STATUS_UNKNOWN) {
      return status;
   }

   if (legacyVersion == 0xFFFFFFFFu &&
       !ToolsVersion_GetLegacyVersionNumber(configPath, &legacyVersion)) {
      return hwVersion < 10 ? TOOLS_STATUS_TOO_OLD : TOOLS_STATUS_UNKNOWN;
   }
   if (legacyVersion == 0) {
      return TOOLS_STATUS_NO_TOOLS;
   }
   if (legacyVersion == 0x7FFFFFFFu) {
      return TOOLS_STATUS_RESERVED_VERSION;
   }

   Dictionary *legacy = Dictionary_Create();
   if (legacy == nullptr) {
      Log("Error creating dictionary for guest monolithic version.\n");
   } else {
      char text[20];
      Str_Sprintf(text, sizeof text, "%u.%u.%u", legacyVersion >> 10, (legacyVersion >> 5) & 31,
                  legacyVersion & 31);
      Dict_SetString(legacy, text, "monolithic.version");
      status = ToolsVersionGetStatus(configPath, nullptr, legacy);
      Dictionary_Free(legacy);
      if (status != TOOLS_STATUS_UNKNOWN) {
         return status;
      }
   }
   // 9349 is 9.4.5, the first version that records its components.
   return legacyVersion < 9349 ? TOOLS_STATUS_TOO_OLD : TOOLS_STATUS_CURRENT;
}

}  // extern "C"
