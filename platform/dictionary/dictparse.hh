// dictparse.hh --
//
//    The dictionary text syntax, shared by the dictionary and the message
//    catalogue (which must load catalogues without touching the caller's
//    message queue).

#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trp {

// Limits on what a dictionary text may hold.
constexpr size_t kDictMaxTextSize = 16u << 20;   // bytes of a whole file
constexpr size_t kDictMaxLineSize = 64u << 10;   // bytes of one line
constexpr size_t kDictMaxEntries = 100000;

using DictEntries = std::vector<std::pair<std::string, std::string>>;

// Parses a dictionary text into its entries in text order (a repeated name
// keeps its first place and takes the last value). On a syntax error
// returns false and sets *error to "Syntax error in <source>, line <n>:
// <reason>" (or another complete sentence for encoding problems).
bool ParseDictionaryText(std::string_view text, std::string_view source, DictEntries *entries,
                         std::string *error);

// Whether name can be written as an entry's name and read back: not empty,
// and no blank, line feed, "=", '"', "#" or NUL in it.
bool IsDictionaryName(std::string_view name);

// The value quoted and escaped as the syntax writes it.
std::string QuoteDictionaryValue(std::string_view value);

// ASCII case-insensitive equality of names.
bool DictNamesEqual(std::string_view a, std::string_view b);

}  // namespace trp
