// iniLines.hh --
//
//    The line model shared by the INI reader and writer: lines as one read
//    of at most 1,023 bytes returns them, and the split of an entry line into
//    key and value.

#pragma once

#include <cstdio>
#include <string_view>

namespace trguest::ini {

// One read: up to and including a line feed, at most this many bytes. A
// longer line comes back in pieces, each handled as a line of its own.
constexpr size_t kLineBufferSize = 1024;
constexpr size_t kMaxLineRead = kLineBufferSize - 1;

// Opens a regular file for reading ("r"); NULL for anything else. A FIFO
// would block the open and a device such as /dev/zero would never end, so
// neither is read.
std::FILE *OpenRegularFile(const char *path);

// Reads the next line of `file` into buf (kLineBufferSize bytes, NUL
// added). Returns the number of bytes read, which may include NUL bytes of
// the file; 0 at the end of the file or on a read error.
size_t ReadLine(std::FILE *file, char *buf);

// Whether c is a blank that leads or trails a key or value.
constexpr bool IsLeadingBlank(char c) { return c == ' ' || c == '\t'; }
constexpr bool IsTrailingBlank(char c) {
   return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// An entry line, split at its first "=".
struct EntryLine {
   size_t indent = 0;             // leading spaces and tabs
   std::string_view key;          // without trailing blanks and line end
   bool hasEquals = false;
   size_t valueStart = 0;         // offset just after the "=" (when hasEquals)
   std::string_view value;        // without leading/trailing blanks and line end
};

// Splits the text of an entry line (which must not begin a section or a
// comment).
EntryLine SplitEntry(std::string_view line);

// The name of a section header line ("[" at offset 0), or nothing when the
// line has no "]".
bool SectionName(std::string_view line, std::string_view *name);

// ASCII case-insensitive equality.
bool EqualsCaseless(std::string_view a, std::string_view b);

}  // namespace trguest::ini
