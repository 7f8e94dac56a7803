// ascii.hh --
//
//    Case of ASCII letters, whatever the process's locale. Names on images
//    and in dictionaries that compare "ignoring case" do so for these 26
//    letters only; every other byte compares exactly.

#pragma once

#include <cstddef>
#include <string_view>

namespace trp {

constexpr char AsciiToLower(char c) {
   return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr char AsciiToUpper(char c) {
   return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
   if (a.size() != b.size()) {
      return false;
   }
   for (size_t i = 0; i < a.size(); i++) {
      if (AsciiToLower(a[i]) != AsciiToLower(b[i])) {
         return false;
      }
   }
   return true;
}

}  // namespace trp
