// dictionary_fuzzer.cc --
//
//    Feeds arbitrary text to the dictionary parser, walks the entries,
//    writes the dictionary out and loads it back: what was written must
//    load, with the same entries.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <strings.h>
#include <utility>
#include <vector>

#include <trplatform/dictionary.h>
#include <trplatform/msg.h>

#include "fuzz_scratch.hh"

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

void Collect(const char *name, const char *value, void *, void *clientData) {
   static_cast<Entries *>(clientData)->emplace_back(name, value);
}

bool IsEncodingName(const std::string &name) {
   return name.size() == 9 && strncasecmp(name.c_str(), ".encoding", 9) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
   std::string text(reinterpret_cast<const char *>(data), size);
   Dictionary *d = Dictionary_Create();
   if (Dictionary_LoadFromBuffer(d, text.c_str(), 0)) {
      Entries before;
      Dictionary_Iterate(d, Collect, &before, TRUE);
      int32_t fallback = 0;
      for (const auto &e : before) {
         Dictionary_Get(d, &fallback, DICT_LONG, e.first.c_str());
         Dictionary_Get(d, &fallback, DICT_BOOL, e.first.c_str());
      }
      const std::string &path = fuzz::ScratchPath("dict");
      if (Dictionary_Write(d, path.c_str())) {
         // The written text loads back with the same entries; values are
         // written in UTF-8, so an ".encoding" entry now says so.
         Entries expected = before;
         for (auto &e : expected) {
            if (IsEncodingName(e.first)) e.second = "UTF-8";
         }
         Dictionary *again = Dictionary_Create();
         if (!Dictionary_Load(again, path.c_str())) {
            std::abort();
         }
         Entries after;
         Dictionary_Iterate(again, Collect, &after, TRUE);
         if (after != expected) {
            std::abort();
         }
         Dictionary_Free(again);
      }
   }
   Msg_Reset();
   Dictionary_Free(d);
   return 0;
}
