// windowsFloppyInt.h --
//
//    Internal pieces of the Windows floppy, exposed for the tests and the
//    fuzz target.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The identifiers of the mass-storage drivers that a txtsetup.oem may
// describe, in the order they are tried on each line; ends with NULL.
extern const char *const kOemDriverIdentifiers[];

// The driver description of a txtsetup.oem text: on the first line (lines
// end at LF; a CR stays in the line) that holds "=" and, before its first
// "=", one of kOemDriverIdentifiers, the text from the first double quote
// after that "=" through the next double quote, quotes included. Nothing
// when no line gives one. The text ends at its first NUL.
std::optional<std::string> OemDriverDescription(std::string_view text);

// Largest txtsetup.oem that WriteOEMDriverInfo reads; a real one is a few
// kilobytes.
constexpr size_t kMaxTxtsetupOemSize = 16u << 20;
