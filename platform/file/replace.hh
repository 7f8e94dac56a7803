// replace.hh --
//
//    Replacing a host file through File_MakeTempBeside/File_CommitTemp with
//    contents that a writer streams into the temporary file.

#pragma once

#include <cstddef>
#include <functional>

namespace trp {

// Calls write with a descriptor open for writing on a fresh temporary file
// beside path; when it returns true, commits the file over path (see
// File_CommitTemp), else removes it. True when path holds the new contents.
bool ReplaceFileWith(const char *path, const std::function<bool(int fd)> &write);

// Writes all size bytes to fd, retrying short and interrupted writes.
bool WriteAll(int fd, const void *data, size_t size);

}  // namespace trp
