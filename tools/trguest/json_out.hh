// json_out.hh --
//
//    A small JSON writer for trguest's --json output. Texts from images may
//    hold any bytes: control characters are escaped, and bytes that are not
//    valid UTF-8 become U+FFFD, so the output is always valid JSON.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace trguest_cli {

class JsonWriter {
public:
   JsonWriter &BeginObject();
   JsonWriter &EndObject();
   JsonWriter &BeginArray();
   JsonWriter &EndArray();
   JsonWriter &Key(std::string_view key);
   JsonWriter &String(std::string_view value);
   JsonWriter &StringOrNull(const char *value);
   JsonWriter &Int(int64_t value);
   JsonWriter &Bool(bool value);

   const std::string &text() const { return out_; }

private:
   void Separate();
   void Quote(std::string_view value);

   std::string out_;
   std::vector<bool> first_;   // per open container: nothing written in it yet
   bool afterKey_ = false;
};

}  // namespace trguest_cli
