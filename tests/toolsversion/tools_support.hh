// tools_support.hh --
//
//    Helpers of the tools version tests: a component table as one line per
//    record, and manifest texts parsed into a table.

#pragma once

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <trplatform/dictionary.h>

#include "toolsversion/toolsManifestInt.h"

namespace trtest {

inline std::string VersionText(const ToolsVersionNumber &v, Bool alwaysWrite = FALSE) {
   char *s = FormatToolsVersion(&v, alwaysWrite);
   std::string out = s;
   std::free(s);
   return out;
}

// "name: g=.. i h=.. min=.. max=.. ill=a,b" with absent fields left out.
inline std::string DumpRecord(const char *name, const ComponentRecord &r) {
   std::string out = name;
   out += ":";
   auto field = [&out](const char *label, const ToolsVersionNumber &v) {
      if (v.significantParts != 0) {
         out += std::string(" ") + label + "=" + VersionText(v);
      }
   };
   field("g", r.guest);
   if (r.installed) {
      out += " i";
   }
   field("h", r.host);
   field("min", r.avrMin);
   field("max", r.avrMax);
   size_t n = r.avrIllegal.size / sizeof(ToolsVersionNumber);
   for (size_t i = 0; i < n; i++) {
      out += i == 0 ? " ill=" : ",";
      out += VersionText(reinterpret_cast<const ToolsVersionNumber *>(r.avrIllegal.data)[i], TRUE);
   }
   return out;
}

inline std::vector<std::string> DumpTable(const ComponentTable *table) {
   std::vector<std::string> rows;
   HashTable_ForEach(
      table,
      [](const char *key, void *value, void *data) -> int {
         static_cast<std::vector<std::string> *>(data)->push_back(
            DumpRecord(key, *static_cast<const ComponentRecord *>(value)));
         return 0;
      },
      &rows);
   return rows;
}

// Owns a component table for one test.
struct TableHolder {
   ComponentTable *table = ComponentTableAlloc();
   TableHolder() = default;
   TableHolder(const TableHolder &) = delete;
   TableHolder &operator=(const TableHolder &) = delete;
   ~TableHolder() { HashTable_Free(table); }
};

}  // namespace trtest
