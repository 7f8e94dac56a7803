// toolsManifestInt.h --
//
//    Internals of guest tools version management shared by its sources and
//    reached by the tests: manifest records and their parser, and the tools
//    ISO images with the host manifest cache.

#pragma once

#include <trguest/trtypes.h>
#include <trplatform/dynbuf.h>
#include <trplatform/hashtable.h>

// Which file a manifest entry comes from; decides which slot ".version"
// fills and which entries are allowed.
typedef uint32_t ManifestKind;
#define MANIFEST_HOST  0u
#define MANIFEST_GUEST 1u
#define MANIFEST_AVR   2u

// One parsed version. significantParts 0 means no version is present.
struct ToolsVersionNumber {
   uint32_t significantParts;   // parts the comparisons look at, at most 4
   uint32_t parts[4];           // parts not given in the text are 0
};

// What the status computation works out for one component.
typedef uint32_t ComponentStatus;

// Everything known about one component; created zeroed (no versions, not
// installed, empty blacklist) the first time an entry names it.
struct ComponentRecord {
   ToolsVersionNumber guest;
   Bool installed;
   ToolsVersionNumber host;
   ToolsVersionNumber avrMin;
   ToolsVersionNumber avrMax;
   DynBuf avrIllegal;           // ToolsVersionNumber entries, back to back
   ComponentStatus status;
};

// Component name -> ComponentRecord. The table keeps its own copy of each
// name, compares names ignoring ASCII case and owns the records.
typedef HashTable ComponentTable;
constexpr int kComponentTableKeyType = HASH_ISTRING_KEY | HASH_FLAG_COPYKEY;   // 17
constexpr uint32_t kComponentTableBuckets = 128;

// Debug switches that a host manifest or an AVR file may set.
struct ManifestDebugFlags {
   Bool componentsLog;   // log the component table
   Bool resultLog;       // log the names behind each status
};

// Client data of AddManifestEntry. debugFlags is NULL for the guest
// manifest: its debug entries are ignored and its faults are not logged.
struct ManifestParseContext {
   ComponentTable *table;
   ManifestKind kind;
   ManifestDebugFlags *debugFlags;
};

// Reads a version at the start of text; returns the position after it, or
// NULL when text does not start with one (significantParts then untouched).
const char *ParseToolsVersion(const char *text, ToolsVersionNumber *version) noexcept;
// Newly allocated text of a version. alwaysWrite FALSE writes an absent
// version as ""; TRUE (blacklist entries) writes it like any other.
char *FormatToolsVersion(const ToolsVersionNumber *version, Bool alwaysWrite) noexcept;
// Dictionary_Iterate callback: files one manifest entry into the table of
// the ManifestParseContext given as clientData.
void AddManifestEntry(const char *name, const char *value, void *unused, void *clientData) noexcept;
// Loads a host manifest or an AVR file into the table; TRUE once every
// entry was offered to AddManifestEntry, whatever faults the entries had.
Bool LoadManifestFile(ComponentTable *table, ManifestDebugFlags *debugFlags, ManifestKind kind,
                      const char *path) noexcept;
void FreeComponentRecord(void *record) noexcept;
ComponentTable *ComponentTableAlloc() noexcept;

// The directory of the host manifest cache; NULL means no cache.
extern char *hostManifestCacheDir;
// The library directory used when no configuration file names one. Tests
// point it at a directory of their own.
extern const char *toolsDefaultLibDir;

// Image path, image directory, base name and format selector of the tools
// image for a virtual machine's configuration or for an image name.
Bool GetToolsIsoPath(const char *configPath, const char *imageName, char **imagePath,
                     char **imageDir, char **baseName, uint32_t *formatSelector) noexcept;
// The AVR file beside the image and the image's cache file (NULL when no
// cache directory is set).
void GetManifestPaths(const char *imageDir, const char *baseName, char **avrPath,
                      char **cachePath) noexcept;
// Takes "manifest.txt" out of the root of the image into destPath, which is
// replaced whole or not at all.
Bool ExtractIsoManifest(const char *destPath, const char *imagePath,
                        uint32_t formatSelector) noexcept;
