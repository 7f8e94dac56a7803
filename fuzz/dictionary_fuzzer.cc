// dictionary_fuzzer.cc --
//
//    Feeds arbitrary text to the dictionary parser, walks the entries,
//    writes the dictionary out and loads it back: what was written must
//    load, with the same entries.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <trplatform/dictionary.h>
#include <trplatform/msg.h>

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

void Collect(const char *name, const char *value, void *, void *clientData) {
   static_cast<Entries *>(clientData)->emplace_back(name, value);
}

const std::string &ScratchPath() {
   static const std::string path = [] {
      char templ[] = "/tmp/trguest-dict-fuzz-XXXXXX";
      int fd = mkstemp(templ);
      if (fd >= 0) {
         close(fd);
      }
      return std::string(templ);
   }();
   return path;
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
      if (Dictionary_Write(d, ScratchPath().c_str())) {
         Dictionary *again = Dictionary_Create();
         Entries after;
         // Only UTF-8 texts read back the same: a converted text is written
         // in UTF-8 under its old ".encoding" entry.
         bool utf8 = true;
         for (const auto &e : before) {
            if (e.first == ".encoding" && e.second != "UTF-8") utf8 = false;
         }
         if (!Dictionary_Load(again, ScratchPath().c_str()) && utf8) {
            std::abort();
         }
         Dictionary_Iterate(again, Collect, &after, TRUE);
         if (utf8 && after != before) {
            std::abort();
         }
         Dictionary_Free(again);
      }
   }
   Msg_Reset();
   Dictionary_Free(d);
   return 0;
}
