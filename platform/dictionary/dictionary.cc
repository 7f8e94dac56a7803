// dictionary.cc --
//
//    Key/value dictionaries: load from a file or a text, typed lookups,
//    changes, iteration in order, and writing back.

#include <trplatform/dictionary.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include <trplatform/file.h>
#include <trplatform/msg.h>
#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "dictionary/dictparse.hh"
#include "file/textfile.hh"

struct Dictionary {
   struct Entry {
      std::string name;
      std::string value;
      // Conversions of the value, made when first asked for.
      bool boolOk = false, longOk = false, int64Ok = false, doubleOk = false;
      bool boolDone = false, longDone = false, int64Done = false, doubleDone = false;
      Bool asBool = FALSE;
      int32_t asLong = 0;
      int64_t asInt64 = 0;
      double asDouble = 0;
   };
   // A list, so that the typed values Dictionary_Get hands out stay put
   // while other entries come and go.
   std::list<Entry> entries;
   std::unordered_map<std::string, std::list<Entry>::iterator> index;

   static std::string Key(std::string_view name) {
      std::string key(name);
      for (char &c : key) {
         if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
      }
      return key;
   }

   Entry *Find(std::string_view name) {
      auto it = index.find(Key(name));
      return it == index.end() ? nullptr : &*it->second;
   }

   void Set(const std::string &name, std::string value) {
      auto it = index.find(Key(name));
      if (it == index.end()) {
         entries.push_back(Entry{name, std::move(value)});
         index.emplace(Key(name), std::prev(entries.end()));
      } else {
         Entry &e = *it->second;
         e = Entry{e.name, std::move(value)};
      }
   }

   void Remove(std::string_view name) {
      auto it = index.find(Key(name));
      if (it != index.end()) {
         entries.erase(it->second);
         index.erase(it);
      }
   }

   void Replace(const trp::DictEntries &parsed) {
      entries.clear();
      index.clear();
      for (const auto &p : parsed) {
         Set(p.first, p.second);
      }
   }
};

namespace {

TR_PRINTF(1, 0) std::string FormatName(const char *fmt, va_list args) {
   char *name = Str_SafeVasprintf(nullptr, fmt, args);
   std::string out(name);
   std::free(name);
   return out;
}

bool LoadText(Dictionary *dict, std::string_view text, std::string_view source) {
   trp::DictEntries parsed;
   std::string error;
   if (!trp::ParseDictionaryText(text, source, &parsed, &error)) {
      Msg_Append("%s", error.c_str());
      return false;
   }
   dict->Replace(parsed);
   return true;
}

}  // namespace

extern "C" {

TRPLATFORM_API Dictionary *Dictionary_Create(void) noexcept {
   return new Dictionary;
}

TRPLATFORM_API void Dictionary_Free(Dictionary *dict) noexcept {
   delete dict;
}

TRPLATFORM_API Bool Dictionary_Load(Dictionary *dict, const char *path) noexcept {
   std::string text;
   trp::TextFileError error;
   if (!trp::ReadTextFile(path, trp::kDictMaxTextSize, &text, &error)) {
      switch (error) {
      case trp::TextFileError::kCannotOpen:
         Msg_Append("Cannot open %s: %s", path, std::strerror(errno));
         break;
      case trp::TextFileError::kNotRegular:
         Msg_Append("Cannot open %s: not a regular file", path);
         break;
      case trp::TextFileError::kTooLarge:
         Msg_Append("Syntax error in %s: file too large", path);
         break;
      case trp::TextFileError::kReadError:
         Msg_Append("Cannot read %s: %s", path, std::strerror(errno));
         break;
      }
      return FALSE;
   }
   return LoadText(dict, text, path) ? TRUE : FALSE;
}

TRPLATFORM_API Bool Dictionary_LoadFromBuffer(Dictionary *dict, const char *text, int) noexcept {
   return LoadText(dict, text, "buffer") ? TRUE : FALSE;
}

TRPLATFORM_API Bool Dictionary_Write(Dictionary *dict, const char *path) noexcept {
   if (dict == nullptr || path == nullptr) {
      return FALSE;
   }
   // Values are held in UTF-8 whatever the file they came from used, so an
   // ".encoding" entry is written as UTF-8: keeping a loaded "ISO-8859-1"
   // would convert the values a second time on the next load.
   std::string text;
   trp::DictEntries expected;
   for (const Dictionary::Entry &e : dict->entries) {
      if (!trp::IsDictionaryName(e.name)) {
         Msg_Append("Cannot write %s: the entry name \"%s\" cannot be read back", path,
                    e.name.c_str());
         return FALSE;
      }
      const std::string_view value =
         trp::DictNamesEqual(e.name, ".encoding") ? std::string_view("UTF-8") : e.value;
      text += e.name + " = " + trp::QuoteDictionaryValue(value) + "\n";
      expected.emplace_back(e.name, value);
   }
   // Every file written loads back with the same entries: the limits on
   // lines, entries and size are checked by reading the text back.
   trp::DictEntries parsed;
   std::string error;
   if (!trp::ParseDictionaryText(text, path, &parsed, &error) || parsed != expected) {
      Msg_Append("Cannot write %s: the entries would not load back", path);
      return FALSE;
   }
   // Replaced atomically: the file is either the old one or the whole new
   // one, and keeps its mode and owner.
   if (!File_ReplaceContents(path, text.data(), text.size())) {
      Msg_Append("Cannot write %s: %s", path, std::strerror(errno));
      return FALSE;
   }
   return TRUE;
}

TRPLATFORM_API int Dictionary_Iterate(Dictionary *dict, DictionaryIterateCallback cb,
                                      void *clientData, Bool) noexcept {
   int count = 0;
   // Entries that a callback adds are visited too; it must not remove any.
   for (auto it = dict->entries.begin(); it != dict->entries.end(); ++it) {
      cb(it->name.c_str(), it->value.c_str(), nullptr, clientData);
      count++;
   }
   return count;
}

TRPLATFORM_API int Dictionary_NumberOfEntries(const Dictionary *dict) noexcept {
   return static_cast<int>(dict->entries.size());
}

TRPLATFORM_API Bool Dictionary_IsDefined(const Dictionary *dict, const char *name) noexcept {
   return const_cast<Dictionary *>(dict)->Find(name) != nullptr ? TRUE : FALSE;
}

TRPLATFORM_API const void *Dictionary_Get(Dictionary *dict, const void *defaultValue,
                                          DictionaryType type, const char *name) noexcept {
   Dictionary::Entry *e = dict->Find(name);
   if (e == nullptr) {
      return defaultValue;
   }
   switch (type) {
   case DICT_ANY:
   case DICT_STRING:
      return e->value.c_str();
   case DICT_BOOL:
      if (!e->boolDone) {
         e->boolDone = true;
         Bool t = Dictionary_StringToBool(e->value.c_str(), TRUE);
         Bool f = Dictionary_StringToBool(e->value.c_str(), FALSE);
         e->boolOk = t == f;
         e->asBool = t;
      }
      return e->boolOk ? &e->asBool : defaultValue;
   case DICT_LONG:
      if (!e->longDone) {
         e->longDone = true;
         e->longOk = StrUtil_StrToInt(&e->asLong, e->value.c_str());
      }
      return e->longOk ? &e->asLong : defaultValue;
   case DICT_INT64:
      if (!e->int64Done) {
         e->int64Done = true;
         const char *s = e->value.c_str();
         char *end = nullptr;
         errno = 0;
         long long v = std::strtoll(s, &end, 10);
         while (end != nullptr && (*end == ' ' || *end == '\t')) end++;
         e->int64Ok = end != s && end != nullptr && *end == '\0' && errno == 0;
         e->asInt64 = v;
      }
      return e->int64Ok ? &e->asInt64 : defaultValue;
   case DICT_DOUBLE:
      if (!e->doubleDone) {
         e->doubleDone = true;
         const char *s = e->value.c_str();
         char *end = nullptr;
         e->asDouble = std::strtod(s, &end);
         e->doubleOk = end != s && end != nullptr && *end == '\0';
      }
      return e->doubleOk ? &e->asDouble : defaultValue;
   }
   return defaultValue;
}

TRPLATFORM_API Bool Dictionary_StringToBool(const char *text, Bool defaultValue) noexcept {
   if (text == nullptr) {
      return defaultValue;
   }
   std::string_view t(text);
   while (!t.empty() && (t.front() == ' ' || t.front() == '\t')) t.remove_prefix(1);
   while (!t.empty() && (t.back() == ' ' || t.back() == '\t')) t.remove_suffix(1);
   for (const char *yes : {"TRUE", "yes", "1"}) {
      if (trp::DictNamesEqual(t, yes)) return TRUE;
   }
   for (const char *no : {"FALSE", "no", "0"}) {
      if (trp::DictNamesEqual(t, no)) return FALSE;
   }
   return defaultValue;
}

TRPLATFORM_API char *Dict_GetString(Dictionary *dict, const char *defaultValue, const char *fmt,
                                    ...) noexcept {
   va_list args;
   va_start(args, fmt);
   std::string name = FormatName(fmt, args);
   va_end(args);
   Dictionary::Entry *e = dict->Find(name);
   return UtilSafeStrdup0(e != nullptr ? e->value.c_str() : defaultValue);
}

TRPLATFORM_API Bool Dict_GetBool(Dictionary *dict, Bool defaultValue, const char *fmt,
                                 ...) noexcept {
   va_list args;
   va_start(args, fmt);
   std::string name = FormatName(fmt, args);
   va_end(args);
   const void *v = Dictionary_Get(dict, nullptr, DICT_BOOL, name.c_str());
   return v != nullptr ? *static_cast<const Bool *>(v) : defaultValue;
}

TRPLATFORM_API int32_t Dict_GetLong(Dictionary *dict, int32_t defaultValue, const char *fmt,
                                    ...) noexcept {
   va_list args;
   va_start(args, fmt);
   std::string name = FormatName(fmt, args);
   va_end(args);
   const void *v = Dictionary_Get(dict, nullptr, DICT_LONG, name.c_str());
   return v != nullptr ? *static_cast<const int32_t *>(v) : defaultValue;
}

TRPLATFORM_API void Dict_SetString(Dictionary *dict, const char *value, const char *fmt,
                                   ...) noexcept {
   va_list args;
   va_start(args, fmt);
   std::string name = FormatName(fmt, args);
   va_end(args);
   dict->Set(name, value != nullptr ? value : "");
}

TRPLATFORM_API void Dict_SetBool(Dictionary *dict, Bool value, const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   std::string name = FormatName(fmt, args);
   va_end(args);
   dict->Set(name, value ? "TRUE" : "FALSE");
}

TRPLATFORM_API void Dict_SetLong(Dictionary *dict, int32_t value, const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   std::string name = FormatName(fmt, args);
   va_end(args);
   dict->Set(name, std::to_string(value));
}

TRPLATFORM_API void Dict_Unset(Dictionary *dict, const char *fmt, ...) noexcept {
   va_list args;
   va_start(args, fmt);
   std::string name = FormatName(fmt, args);
   va_end(args);
   dict->Remove(name);
}

}  // extern "C"
