// toolsManifest.cc --
//
//    Tools manifests: the text form of a version, and the parser that files
//    the entries of a host manifest, a guest manifest or an AVR file into
//    the table of components.
//
//    Every entry name is component + "." + suffix; the suffix (after the
//    last ".", compared ignoring case) says what the value is:
//
//       .version          host, guest or AVR minimum version (by file kind)
//       .version_max      AVR maximum (AVR file only)
//       .version_illegal  blacklisted versions, "," between them (AVR only)
//       .installed        installed flag (guest manifest only)
//       .log              debug switches components.log and result.log
//                         (host manifest and AVR file)

#include "toolsManifestInt.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include <trplatform/dictionary.h>
#include <trplatform/log.h>
#include <trplatform/msg.h>
#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

namespace {

// Whether text equals `lower` (lower case) ignoring ASCII case, whatever the
// process's locale.
bool EqualsLower(const char *text, const char *lower) {
   for (; *lower != '\0'; text++, lower++) {
      char c = *text;
      if (c >= 'A' && c <= 'Z') {
         c = static_cast<char>(c - 'A' + 'a');
      }
      if (c != *lower) {
         return false;
      }
   }
   return *text == '\0';
}

const char *SkipSpace(const char *p) {
   while (*p != '\0' && std::isspace(static_cast<unsigned char>(*p))) {
      p++;
   }
   return p;
}

void LogFault(const ManifestParseContext *ctx, const char *fault, const char *name,
              const char *value) {
   if (ctx->debugFlags != nullptr) {
      Log("ToolsVersion: %s: %s = %s\n", fault, name, value);
   }
}

ComponentRecord *FindOrAddRecord(ComponentTable *table, const char *name, size_t nameLength) {
   char *component = UtilSafeStrndup0(name, nameLength);
   void *found = nullptr;
   if (!HashTable_Lookup(table, component, &found)) {
      found = UtilSafeCalloc0(1, sizeof(ComponentRecord));
      DynBuf_Init(&static_cast<ComponentRecord *>(found)->avrIllegal);
      HashTable_Insert(table, component, found);
   }
   std::free(component);
   return static_cast<ComponentRecord *>(found);
}

// A single version that fills an empty slot; the slot keeps what was read
// even when text other than white space follows it.
void FileVersion(const ManifestParseContext *ctx, ToolsVersionNumber *slot, const char *name,
                 const char *value) {
   if (slot->significantParts != 0) {
      LogFault(ctx, "Multiple identical entries", name, value);
      return;
   }
   const char *end = ParseToolsVersion(value, slot);
   if (end == nullptr || *SkipSpace(end) != '\0') {
      LogFault(ctx, "Cannot parse version", name, value);
   }
}

// A "," separated list of versions, appended to the blacklist. Each item is
// read from directly after the ",", so blanks before an item end the list
// with a fault, like any other text the number reader does not take.
void FileIllegalVersions(const ManifestParseContext *ctx, ComponentRecord *record,
                         const char *name, const char *value) {
   const char *p = value;
   for (;;) {
      ToolsVersionNumber v;
      const char *end = ParseToolsVersion(p, &v);
      if (end == nullptr) {
         break;
      }
      DynBuf_SafeAppend(&record->avrIllegal, &v, sizeof v);
      p = SkipSpace(end);
      if (*p == '\0') {
         return;
      }
      if (*p != ',') {
         break;
      }
      p++;
   }
   LogFault(ctx, "Cannot parse illegal version", name, value);
}

void FileDebugEntry(const ManifestParseContext *ctx, const char *name, const char *value) {
   if (ctx->debugFlags == nullptr) {
      return;
   }
   if (EqualsLower(name, "result.log")) {
      ctx->debugFlags->resultLog = Dictionary_StringToBool(value, FALSE);
   } else if (EqualsLower(name, "components.log")) {
      ctx->debugFlags->componentsLog = Dictionary_StringToBool(value, FALSE);
   } else {
      LogFault(ctx, "Unknown debug entry", name, value);
   }
}

enum class Entry { Version, VersionMax, VersionIllegal, Installed };

}  // namespace

// Each part of a version is read by StrUtil_DecimalStrToUint: decimal digits
// only, no sign and no blanks, and at most 4294967295. A part beyond that
// range (a 12-digit number, say) is no number at all, so the text is not a
// version rather than one whose part has wrapped.
const char *ParseToolsVersion(const char *text, ToolsVersionNumber *version) noexcept {
   for (uint32_t &part : version->parts) {
      part = 0;
   }
   const char *p = text;
   for (unsigned i = 0;; i++) {
      unsigned int n;
      if (!StrUtil_DecimalStrToUint(&n, &p)) {
         return nullptr;
      }
      if (i <= 3) {
         version->parts[i] = n;
      }
      if (*p != '.') {
         break;
      }
      p++;
   }
   uint32_t significant = 3;
   if (*p == '#') {
      p++;
      unsigned int n;
      if (!StrUtil_DecimalStrToUint(&n, &p)) {
         return nullptr;
      }
      significant = n > 4 ? 4 : n;
   }
   version->significantParts = significant;
   return p;
}

char *FormatToolsVersion(const ToolsVersionNumber *v, Bool alwaysWrite) noexcept {
   if (v->significantParts == 0 && !alwaysWrite) {
      return UtilSafeStrdup0("");
   }
   if (v->significantParts == 3) {
      return Str_SafeAsprintf(nullptr, "%u.%u.%u.%u", v->parts[0], v->parts[1], v->parts[2],
                              v->parts[3]);
   }
   return Str_SafeAsprintf(nullptr, "%u.%u.%u.%u#%u", v->parts[0], v->parts[1], v->parts[2],
                           v->parts[3], v->significantParts);
}

void AddManifestEntry(const char *name, const char *value, void *, void *clientData) noexcept {
   const auto *ctx = static_cast<const ManifestParseContext *>(clientData);
   const char *dot = std::strrchr(name, '.');
   if (dot == nullptr) {
      LogFault(ctx, "No '.' in the name", name, value);
      return;
   }

   Entry entry;
   if (EqualsLower(dot, ".version")) {
      entry = Entry::Version;
   } else if (EqualsLower(dot, ".version_max")) {
      if (ctx->kind != MANIFEST_AVR) {
         LogFault(ctx, "Maximum version in non-AVR file", name, value);
         return;
      }
      entry = Entry::VersionMax;
   } else if (EqualsLower(dot, ".version_illegal")) {
      if (ctx->kind != MANIFEST_AVR) {
         LogFault(ctx, "Illegal version in non-AVR file", name, value);
         return;
      }
      entry = Entry::VersionIllegal;
   } else if (EqualsLower(dot, ".installed")) {
      if (ctx->kind != MANIFEST_GUEST) {
         LogFault(ctx, "Installed flag in non-guest file", name, value);
         return;
      }
      entry = Entry::Installed;
   } else if (EqualsLower(dot, ".log")) {
      FileDebugEntry(ctx, name, value);
      return;
   } else {
      LogFault(ctx, "Unknown entry", name, value);
      return;
   }

   ComponentRecord *record =
      FindOrAddRecord(ctx->table, name, static_cast<size_t>(dot - name));
   switch (entry) {
   case Entry::Installed:
      record->installed = Dictionary_StringToBool(value, FALSE);
      break;
   case Entry::Version:
      FileVersion(ctx,
                  ctx->kind == MANIFEST_HOST    ? &record->host
                  : ctx->kind == MANIFEST_GUEST ? &record->guest
                                                : &record->avrMin,
                  name, value);
      break;
   case Entry::VersionMax:
      FileVersion(ctx, &record->avrMax, name, value);
      break;
   case Entry::VersionIllegal:
      FileIllegalVersions(ctx, record, name, value);
      break;
   }
}

Bool LoadManifestFile(ComponentTable *table, ManifestDebugFlags *debugFlags, ManifestKind kind,
                      const char *path) noexcept {
   Dictionary *dict = Dictionary_Create();
   if (dict == nullptr) {
      Log("ToolsVersion: Error creating dictionary for host manifest.\n");
      return FALSE;
   }
   if (!Dictionary_Load(dict, path)) {
      Log("ToolsVersion: Error loading dictionary from host manifest: %s.\n",
          Msg_GetMessagesAndReset());
      Dictionary_Free(dict);
      return FALSE;
   }
   ManifestParseContext ctx = {table, kind, debugFlags};
   Dictionary_Iterate(dict, AddManifestEntry, &ctx, TRUE);
   Dictionary_Free(dict);
   return TRUE;
}

void FreeComponentRecord(void *record) noexcept {
   if (record != nullptr) {
      DynBuf_Destroy(&static_cast<ComponentRecord *>(record)->avrIllegal);
      std::free(record);
   }
}

ComponentTable *ComponentTableAlloc() noexcept {
   return HashTable_Alloc(kComponentTableBuckets, kComponentTableKeyType, FreeComponentRecord);
}
