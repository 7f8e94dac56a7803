// dictionary_parse.cc --
//
//    The dictionary text syntax: one `name = "value"` entry per line, `#`
//    comments, blank lines, escapes inside quoted values, bare-word values,
//    and `.encoding` naming the text's character set.

#include "dictionary/dictparse.hh"

#include <cerrno>
#include <iconv.h>
#include <unordered_map>

#include "internal/ascii.hh"

namespace trp {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

int HexDigit(char c) {
   if (c >= '0' && c <= '9') return c - '0';
   if (c >= 'a' && c <= 'f') return c - 'a' + 10;
   if (c >= 'A' && c <= 'F') return c - 'A' + 10;
   return -1;
}

bool IsNameChar(char c) {
   return !IsBlank(c) && c != '\n' && c != '=' && c != '"' && c != '#' && c != '\0';
}

bool IsBareValueChar(char c) {
   return !IsBlank(c) && c != '\n' && c != '"' && c != '#' && c != '\0';
}

// Parses one line. Returns false with *reason on a syntax error; *isEntry
// tells whether the line held an entry.
bool ParseLine(std::string_view line, bool *isEntry, std::string *name, std::string *value,
               const char **reason) {
   *isEntry = false;
   size_t i = 0;
   while (i < line.size() && IsBlank(line[i])) i++;
   if (i == line.size() || line[i] == '#') {
      return true;
   }
   size_t nameStart = i;
   while (i < line.size() && IsNameChar(line[i])) i++;
   if (i == nameStart) {
      *reason = "missing name";
      return false;
   }
   name->assign(line.substr(nameStart, i - nameStart));
   while (i < line.size() && IsBlank(line[i])) i++;
   if (i == line.size() || line[i] != '=') {
      *reason = "missing \"=\"";
      return false;
   }
   i++;
   while (i < line.size() && IsBlank(line[i])) i++;
   value->clear();
   if (i < line.size() && line[i] == '"') {
      i++;
      bool closed = false;
      while (i < line.size()) {
         char c = line[i];
         if (c == '"') {
            closed = true;
            i++;
            break;
         }
         if (c == '\\') {
            if (i + 1 >= line.size() ||
                (line[i + 1] != '"' && line[i + 1] != '\\' && line[i + 1] != '|')) {
               *reason = "bad escape";
               return false;
            }
            value->push_back(line[i + 1]);
            i += 2;
         } else if (c == '|') {
            int hi = i + 2 < line.size() ? HexDigit(line[i + 1]) : -1;
            int lo = i + 2 < line.size() ? HexDigit(line[i + 2]) : -1;
            if (hi < 0 || lo < 0 || (hi == 0 && lo == 0)) {
               *reason = "bad escape";
               return false;
            }
            value->push_back(static_cast<char>(hi * 16 + lo));
            i += 3;
         } else if (c == '\0') {
            *reason = "NUL byte in a value";
            return false;
         } else {
            value->push_back(c);
            i++;
         }
      }
      if (!closed) {
         *reason = "unterminated quoted value";
         return false;
      }
   } else {
      size_t valueStart = i;
      while (i < line.size() && IsBareValueChar(line[i])) i++;
      if (i == valueStart) {
         *reason = "missing value";
         return false;
      }
      value->assign(line.substr(valueStart, i - valueStart));
   }
   while (i < line.size() && IsBlank(line[i])) i++;
   if (i < line.size() && line[i] != '#') {
      *reason = "unexpected text after the value";
      return false;
   }
   *isEntry = true;
   return true;
}

std::string LowerName(std::string_view name) {
   std::string key(name);
   for (char &c : key) {
      c = AsciiToLower(c);
   }
   return key;
}

// Adds an entry; a name already present keeps its place and takes the value.
void AddEntry(DictEntries *entries, std::unordered_map<std::string, size_t> *positions,
              const std::string &name, const std::string &value) {
   auto [it, inserted] = positions->emplace(LowerName(name), entries->size());
   if (inserted) {
      entries->emplace_back(name, value);
   } else {
      (*entries)[it->second].second = value;
   }
}

bool ParseLines(std::string_view text, std::string_view source, DictEntries *entries,
                std::string *error) {
   size_t lineNo = 0;
   size_t start = 0;
   std::string name, value;
   std::unordered_map<std::string, size_t> positions;
   while (start < text.size()) {
      lineNo++;
      size_t nl = text.find('\n', start);
      size_t end = nl == std::string_view::npos ? text.size() : nl;
      std::string_view line = text.substr(start, end - start);
      start = end + 1;
      const char *reason = nullptr;
      bool isEntry = false;
      if (line.size() > kDictMaxLineSize) {
         reason = "line too long";
      } else if (!ParseLine(line, &isEntry, &name, &value, &reason)) {
         // reason set
      } else if (isEntry && entries->size() >= kDictMaxEntries) {
         reason = "too many entries";
      }
      if (reason != nullptr) {
         *error = "Syntax error in " + std::string(source) + ", line " + std::to_string(lineNo) +
                  ": " + reason;
         return false;
      }
      if (isEntry) {
         AddEntry(entries, &positions, name, value);
      }
   }
   return true;
}

bool IsUtf8Name(std::string_view enc) {
   return DictNamesEqual(enc, "UTF-8") || DictNamesEqual(enc, "UTF8");
}

// The character sets a dictionary may name. iconv knows hundreds, some of
// them stateful or with converters that are costly to load; a text only
// needs the common ones, and an unknown name is refused as a typo would be.
bool IsAllowedEncoding(std::string_view enc) {
   static constexpr std::string_view kNames[] = {
      "US-ASCII", "Shift_JIS", "EUC-JP", "GBK", "GB18030", "Big5", "EUC-KR",
   };
   for (std::string_view name : kNames) {
      if (DictNamesEqual(enc, name)) {
         return true;
      }
   }
   // ISO-8859-1 .. ISO-8859-16 and windows-1250 .. windows-1258.
   auto numbered = [enc](std::string_view prefix, int low, int high) {
      if (enc.size() <= prefix.size() || !DictNamesEqual(enc.substr(0, prefix.size()), prefix)) {
         return false;
      }
      std::string_view digits = enc.substr(prefix.size());
      if (digits.size() > 4 || digits[0] == '0') {
         return false;
      }
      int n = 0;
      for (char c : digits) {
         if (c < '0' || c > '9') {
            return false;
         }
         n = n * 10 + (c - '0');
      }
      return n >= low && n <= high;
   };
   return numbered("ISO-8859-", 1, 16) || numbered("windows-", 1250, 1258);
}

// Converts the whole text from `encoding` to UTF-8.
bool ConvertToUtf8(std::string_view text, const std::string &encoding, std::string *out,
                   std::string *error, std::string_view source) {
   iconv_t cd = IsAllowedEncoding(encoding) ? iconv_open("UTF-8", encoding.c_str())
                                             : reinterpret_cast<iconv_t>(-1);
   if (cd == reinterpret_cast<iconv_t>(-1)) {
      *error = "Unknown encoding \"" + encoding + "\" in " + std::string(source);
      return false;
   }
   out->clear();
   std::string in(text);
   char *inPtr = in.data();
   size_t inLeft = in.size();
   char buf[4096];
   bool ok = true;
   while (inLeft > 0) {
      char *outPtr = buf;
      size_t outLeft = sizeof buf;
      size_t rc = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
      out->append(buf, sizeof buf - outLeft);
      if (rc == static_cast<size_t>(-1) && errno != E2BIG) {
         ok = false;
         break;
      }
   }
   iconv_close(cd);
   if (!ok) {
      *error = "Cannot convert " + std::string(source) + " from encoding \"" + encoding + "\"";
   }
   return ok;
}

}  // namespace

bool IsDictionaryName(std::string_view name) {
   for (char c : name) {
      if (!IsNameChar(c)) {
         return false;
      }
   }
   return !name.empty();
}

bool DictNamesEqual(std::string_view a, std::string_view b) {
   return EqualsIgnoringAsciiCase(a, b);
}

bool ParseDictionaryText(std::string_view text, std::string_view source, DictEntries *entries,
                         std::string *error) {
   if (text.size() > kDictMaxTextSize) {
      *error = "Syntax error in " + std::string(source) + ": file too large";
      return false;
   }
   // The character set is known only once ".encoding" is read, so the text
   // is parsed as it stands first; a text in another character set is then
   // converted whole and parsed again.
   DictEntries raw;
   if (!ParseLines(text, source, &raw, error)) {
      return false;
   }
   std::string encoding;
   for (const auto &e : raw) {
      if (DictNamesEqual(e.first, ".encoding")) {
         encoding = e.second;
      }
   }
   if (encoding.empty() || IsUtf8Name(encoding)) {
      *entries = std::move(raw);
      return true;
   }
   std::string converted;
   if (!ConvertToUtf8(text, encoding, &converted, error, source)) {
      return false;
   }
   DictEntries result;
   if (!ParseLines(converted, source, &result, error)) {
      return false;
   }
   *entries = std::move(result);
   return true;
}

std::string QuoteDictionaryValue(std::string_view value) {
   static const char kHex[] = "0123456789ABCDEF";
   std::string out = "\"";
   for (char c : value) {
      unsigned char u = static_cast<unsigned char>(c);
      if (c == '"' || c == '\\' || c == '|') {
         out.push_back('\\');
         out.push_back(c);
      } else if (u < 0x20 || u == 0x7F) {
         out.push_back('|');
         out.push_back(kHex[u >> 4]);
         out.push_back(kHex[u & 0xF]);
      } else {
         out.push_back(c);
      }
   }
   out.push_back('"');
   return out;
}

}  // namespace trp
