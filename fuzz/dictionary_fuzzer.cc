// dictionary_fuzzer.cc --
//
//    Feeds arbitrary text to the dictionary parser, walks the entries,
//    writes the dictionary out and loads it back: what was written must
//    load, with the same entries. Then takes the input as NUL-separated
//    names and values, sets them, and checks the same round trip: a write
//    may refuse only a name the syntax cannot hold.

#include <algorithm>
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

bool IsWritableName(const std::string &name) {
   return !name.empty() && name.find_first_of(" \t\r\v\f\n=\"#") == std::string::npos;
}

// Writes d to path, loads it back and aborts unless the entries are
// `before` (with ".encoding" now naming UTF-8). False when the write failed.
bool WriteAndCompare(Dictionary *d, const Entries &before, const std::string &path) {
   if (!Dictionary_Write(d, path.c_str())) {
      return false;
   }
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
   return true;
}

// Sets the input's NUL-separated name/value pairs; every dictionary whose
// names the syntax can hold must be written and load back equal.
void SetWriteLoad(const std::string &text, const std::string &path) {
   Dictionary *d = Dictionary_Create();
   bool writable = true;
   for (size_t pos = 0; pos < text.size();) {
      size_t nameEnd = std::min(text.find('\0', pos), text.size());
      size_t valueEnd = std::min(text.find('\0', std::min(nameEnd + 1, text.size())), text.size());
      std::string name = text.substr(pos, nameEnd - pos);
      std::string value = nameEnd < text.size() ? text.substr(nameEnd + 1, valueEnd - nameEnd - 1)
                                                : std::string();
      Dict_SetString(d, value.c_str(), "%s", name.c_str());
      writable = writable && IsWritableName(name);
      pos = valueEnd + 1;
   }
   Entries before;
   Dictionary_Iterate(d, Collect, &before, TRUE);
   if (!WriteAndCompare(d, before, path) && writable) {
      std::abort();
   }
   Dictionary_Free(d);
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
      WriteAndCompare(d, before, fuzz::ScratchPath("dict"));
   }
   Dictionary_Free(d);
   // Values of up to 64 KiB fit a line even with every byte escaped.
   if (size <= 16384) {
      SetWriteLoad(text, fuzz::ScratchPath("dict"));
   }
   Msg_Reset();
   return 0;
}
