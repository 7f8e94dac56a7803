// msg.cc --
//
//    Message catalogue (localised texts of catalogue strings) and the
//    per-thread queue of error messages.

#include <trplatform/msg.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <dlfcn.h>
#include <sys/stat.h>

#include <trplatform/log.h>
#include <trplatform/str.h>
#include <trplatform/util.h>

#include "dictionary/dictparse.hh"
#include "file/textfile.hh"

#ifndef TRGUEST_MSG_INSTALL_DIR
#define TRGUEST_MSG_INSTALL_DIR "/usr/share/trguest/messages"
#endif
#ifndef TRGUEST_MSG_RELATIVE_DIR
#define TRGUEST_MSG_RELATIVE_DIR "../share/trguest/messages"
#endif

namespace {

constexpr std::string_view kMagic = MSG_MAGIC "(";

// A catalogue text split into its id and default text; a text without the
// marker has no id and is its own default.
struct CatalogueText {
   std::string_view id;
   std::string_view defaultText;
};

CatalogueText Split(const char *idFmt) {
   std::string_view s(idFmt);
   if (s.substr(0, kMagic.size()) == kMagic) {
      size_t close = s.find(')', kMagic.size());
      if (close != std::string_view::npos) {
         return {s.substr(kMagic.size(), close - kMagic.size()), s.substr(close + 1)};
      }
   }
   return {std::string_view(), s};
}

// The language of user-visible texts: "de" for de_DE.UTF-8; nothing for
// the default texts. Only plain letters are accepted, so that the
// environment cannot point the lookup at another file.
std::optional<std::string> CurrentLanguage() {
   for (const char *var : {"TRGUEST_LOCALE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
      const char *v = std::getenv(var);
      if (v == nullptr || *v == '\0') {
         continue;
      }
      std::string lang(v, std::strcspn(v, "_.@"));
      if (lang.empty() || lang == "C" || lang == "POSIX" || lang == "en") {
         return std::nullopt;
      }
      for (char &c : lang) {
         if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
         if (c < 'a' || c > 'z') return std::nullopt;
      }
      if (lang.size() > 8) {
         return std::nullopt;
      }
      return lang;
   }
   return std::nullopt;
}

// The directory of the catalogues: TRGUEST_MSG_DIR when set; else the
// install tree's directory as seen from where this library was loaded, so
// that a tree installed under another prefix than the configured one (or
// moved) still finds its own catalogues; else the configured directory.
std::string CatalogueDirectory() {
   const char *dirEnv = std::getenv("TRGUEST_MSG_DIR");
   if (dirEnv != nullptr && *dirEnv != '\0') {
      return dirEnv;
   }
   Dl_info info;
   if (dladdr(reinterpret_cast<void *>(&Msg_GetString), &info) != 0 && info.dli_fname != nullptr) {
      std::string lib(info.dli_fname);
      size_t slash = lib.rfind('/');
      if (slash != std::string::npos) {
         std::string dir = lib.substr(0, slash + 1) + TRGUEST_MSG_RELATIVE_DIR;
         struct stat st;
         if (stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            return dir;
         }
      }
   }
   return TRGUEST_MSG_INSTALL_DIR;
}

struct Catalogue {
   std::mutex lock;
   bool loaded = false;
   std::unordered_map<std::string, std::string> texts;

   // Loads the catalogue of the current language once. A missing or broken
   // catalogue leaves the default texts; the reason goes to the log, not to
   // the caller's message queue.
   void EnsureLoaded() {
      if (loaded) {
         return;
      }
      loaded = true;
      texts.clear();
      std::optional<std::string> lang = CurrentLanguage();
      if (!lang) {
         return;
      }
      std::string path = CatalogueDirectory() + "/" + *lang + ".trmsg";
      std::string text;
      trp::TextFileError readError;
      if (!trp::ReadTextFile(path.c_str(), trp::kDictMaxTextSize, &text, &readError)) {
         return;
      }
      trp::DictEntries entries;
      std::string error;
      if (!trp::ParseDictionaryText(text, path, &entries, &error)) {
         Warning("Message catalogue not used: %s\n", error.c_str());
         return;
      }
      for (auto &e : entries) {
         texts.emplace(std::move(e.first), std::move(e.second));
      }
   }

   std::optional<std::string> Lookup(std::string_view id) {
      std::lock_guard<std::mutex> guard(lock);
      EnsureLoaded();
      auto it = texts.find(std::string(id));
      if (it == texts.end()) {
         return std::nullopt;
      }
      return it->second;
   }
};

Catalogue &TheCatalogue() {
   static Catalogue catalogue;
   return catalogue;
}

std::string Localise(const char *idFmt) {
   CatalogueText t = Split(idFmt);
   if (!t.id.empty()) {
      if (std::optional<std::string> text = TheCatalogue().Lookup(t.id)) {
         return *text;
      }
   }
   return std::string(t.defaultText);
}

// The printf conversions of a format, in order ("%-11.11s" gives "s",
// "%zu" gives "zu", "%*d" gives "*d"); "%%" is not a conversion.
std::vector<std::string> Conversions(std::string_view fmt) {
   std::vector<std::string> out;
   for (size_t i = 0; i < fmt.size(); i++) {
      if (fmt[i] != '%') {
         continue;
      }
      i++;
      if (i < fmt.size() && fmt[i] == '%') {
         continue;
      }
      std::string conv;
      while (i < fmt.size() && std::strchr("0123456789.-+ #'$*", fmt[i]) != nullptr) {
         if (fmt[i] == '*' || fmt[i] == '$') conv.push_back(fmt[i]);
         i++;
      }
      while (i < fmt.size() && std::strchr("hlLqjzt", fmt[i]) != nullptr) {
         conv.push_back(fmt[i++]);
      }
      if (i < fmt.size()) {
         conv.push_back(fmt[i]);
      }
      out.push_back(conv);
   }
   return out;
}

thread_local std::vector<std::string> tQueue;
thread_local std::string tJoined;

}  // namespace

extern "C" {

TRPLATFORM_API char *Msg_GetString(const char *idFmt) noexcept {
   if (idFmt == nullptr) {
      return nullptr;
   }
   std::string text = Localise(idFmt);
   return UtilSafeStrndup0(text.c_str(), text.size());
}

TRPLATFORM_API char *Msg_VFormat(const char *idFmt, va_list args) noexcept {
   std::string fmt = Localise(idFmt);
   // A translation is used only when it takes the same arguments as the
   // default text; anything else would read arguments that are not there.
   std::string defaultFmt(Split(idFmt).defaultText);
   if (fmt != defaultFmt && Conversions(fmt) != Conversions(defaultFmt)) {
      fmt = defaultFmt;
   }
   // The format is the caller's catalogue text (or its checked translation),
   // not a literal; the compiler cannot see that.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
   return Str_SafeVasprintf(nullptr, fmt.c_str(), args);
#pragma GCC diagnostic pop
}

TRPLATFORM_API char *Msg_Format(const char *idFmt, ...) noexcept {
   va_list args;
   va_start(args, idFmt);
   char *out = Msg_VFormat(idFmt, args);
   va_end(args);
   return out;
}

TRPLATFORM_API void Msg_Append(const char *idFmt, ...) noexcept {
   va_list args;
   va_start(args, idFmt);
   char *text = Msg_VFormat(idFmt, args);
   va_end(args);
   tQueue.emplace_back(text);
   std::free(text);
}

TRPLATFORM_API const char *Msg_GetMessagesAndReset(void) noexcept {
   tJoined.clear();
   for (size_t i = 0; i < tQueue.size(); i++) {
      if (i > 0) {
         tJoined += "; ";
      }
      tJoined += tQueue[i];
   }
   tQueue.clear();
   return tJoined.c_str();
}

TRPLATFORM_API void Msg_Reset(void) noexcept {
   tQueue.clear();
}

TRPLATFORM_API void Msg_ReloadCatalogue(void) noexcept {
   Catalogue &c = TheCatalogue();
   std::lock_guard<std::mutex> guard(c.lock);
   c.loaded = false;
   c.texts.clear();
}

}  // extern "C"
