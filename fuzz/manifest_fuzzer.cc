// manifest_fuzzer.cc --
//
//    Feeds arbitrary text as a host manifest, a guest manifest and an AVR
//    file to the manifest parser, classifies every component it filed, and
//    checks that each version it holds reads back from its own text.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <trplatform/dictionary.h>
#include <trplatform/msg.h>

#include "toolsversion/toolsStatusInt.h"

namespace {

void CheckVersion(const ToolsVersionNumber &v) {
   if (v.significantParts > 4) {
      std::abort();
   }
   char *text = FormatToolsVersion(&v, TRUE);
   ToolsVersionNumber back;
   const char *end = ParseToolsVersion(text, &back);
   if (end == nullptr || *end != '\0' || back.significantParts != v.significantParts ||
       std::memcmp(back.parts, v.parts, sizeof v.parts) != 0) {
      std::abort();
   }
   std::free(text);
}

int CheckRecord(const char *, void *value, void *) {
   auto *r = static_cast<ComponentRecord *>(value);
   for (const ToolsVersionNumber *v : {&r->guest, &r->host, &r->avrMin, &r->avrMax}) {
      CheckVersion(*v);
   }
   if (r->avrIllegal.size % sizeof(ToolsVersionNumber) != 0) {
      std::abort();
   }
   const auto *illegal = reinterpret_cast<const ToolsVersionNumber *>(r->avrIllegal.data);
   for (size_t i = 0; i < r->avrIllegal.size / sizeof(ToolsVersionNumber); i++) {
      CheckVersion(illegal[i]);
   }
   if (ClassifyComponent(r) >= COMPONENT_STATUS_COUNT) {
      std::abort();
   }
   return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   std::string text(reinterpret_cast<const char *>(data), size);
   Dictionary *d = Dictionary_Create();
   if (Dictionary_LoadFromBuffer(d, text.c_str(), 0)) {
      ComponentTable *table = ComponentTableAlloc();
      for (ManifestKind kind : {MANIFEST_HOST, MANIFEST_GUEST, MANIFEST_AVR}) {
         // Separately and into one table, as the status computation fills it.
         ComponentTable *own = ComponentTableAlloc();
         ManifestDebugFlags flags = {FALSE, FALSE};
         ManifestDebugFlags *flagsArg = kind == MANIFEST_GUEST ? nullptr : &flags;
         ManifestParseContext ctx = {own, kind, flagsArg};
         Dictionary_Iterate(d, AddManifestEntry, &ctx, TRUE);
         HashTable_ForEach(own, CheckRecord, nullptr);
         HashTable_Free(own);
         ManifestParseContext shared = {table, kind, flagsArg};
         Dictionary_Iterate(d, AddManifestEntry, &shared, TRUE);
      }
      HashTable_ForEach(table, CheckRecord, nullptr);
      HashTable_Free(table);
   }
   Msg_Reset();
   Dictionary_Free(d);
   return 0;
}
