// json_out.cc --
//
//    The JSON writer of trguest's --json output.

#include "json_out.hh"

#include <cstdio>

namespace trguest_cli {

namespace {

// Length of the valid UTF-8 sequence at s[0], or 0 when it is not one.
size_t Utf8SequenceLength(std::string_view s) {
   auto b = [&](size_t i) { return static_cast<unsigned char>(s[i]); };
   auto cont = [&](size_t i) { return i < s.size() && (b(i) & 0xC0) == 0x80; };
   unsigned char c = b(0);
   if (c < 0x80) {
      return 1;
   }
   if (c >= 0xC2 && c <= 0xDF) {
      return cont(1) ? 2 : 0;
   }
   if (c >= 0xE0 && c <= 0xEF) {
      if (!cont(1) || !cont(2)) return 0;
      if (c == 0xE0 && b(1) < 0xA0) return 0;    // overlong
      if (c == 0xED && b(1) >= 0xA0) return 0;   // surrogate
      return 3;
   }
   if (c >= 0xF0 && c <= 0xF4) {
      if (!cont(1) || !cont(2) || !cont(3)) return 0;
      if (c == 0xF0 && b(1) < 0x90) return 0;    // overlong
      if (c == 0xF4 && b(1) >= 0x90) return 0;   // past U+10FFFF
      return 4;
   }
   return 0;
}

}  // namespace

void JsonWriter::Separate() {
   if (afterKey_) {
      afterKey_ = false;
      return;
   }
   if (!first_.empty()) {
      if (!first_.back()) {
         out_ += ',';
      }
      first_.back() = false;
   }
}

void JsonWriter::Quote(std::string_view value) {
   out_ += '"';
   while (!value.empty()) {
      unsigned char c = static_cast<unsigned char>(value[0]);
      size_t n = Utf8SequenceLength(value);
      if (n == 0) {
         out_ += "\\ufffd";
         n = 1;
      } else if (c == '"' || c == '\\') {
         out_ += '\\';
         out_ += static_cast<char>(c);
      } else if (c == '\n') {
         out_ += "\\n";
      } else if (c == '\r') {
         out_ += "\\r";
      } else if (c == '\t') {
         out_ += "\\t";
      } else if (c < 0x20 || c == 0x7F) {
         char esc[8];
         std::snprintf(esc, sizeof esc, "\\u%04x", c);
         out_ += esc;
      } else {
         out_.append(value.data(), n);
      }
      value.remove_prefix(n);
   }
   out_ += '"';
}

JsonWriter &JsonWriter::BeginObject() {
   Separate();
   out_ += '{';
   first_.push_back(true);
   return *this;
}

JsonWriter &JsonWriter::EndObject() {
   out_ += '}';
   first_.pop_back();
   return *this;
}

JsonWriter &JsonWriter::BeginArray() {
   Separate();
   out_ += '[';
   first_.push_back(true);
   return *this;
}

JsonWriter &JsonWriter::EndArray() {
   out_ += ']';
   first_.pop_back();
   return *this;
}

JsonWriter &JsonWriter::Key(std::string_view key) {
   Separate();
   Quote(key);
   out_ += ':';
   afterKey_ = true;
   return *this;
}

JsonWriter &JsonWriter::String(std::string_view value) {
   Separate();
   Quote(value);
   return *this;
}

JsonWriter &JsonWriter::StringOrNull(const char *value) {
   if (value == nullptr) {
      Separate();
      out_ += "null";
      return *this;
   }
   return String(value);
}

JsonWriter &JsonWriter::Int(int64_t value) {
   Separate();
   out_ += std::to_string(value);
   return *this;
}

JsonWriter &JsonWriter::Bool(bool value) {
   Separate();
   out_ += value ? "true" : "false";
   return *this;
}

}  // namespace trguest_cli
