// toolsCacheFile.hh --
//
//    Whole-file replacement for the files the tools code extracts: a
//    temporary file is made beside the target, filled, and renamed over it.

#pragma once

namespace trguest::tools {

// Creates an empty unique file in path's directory; its malloc'd name, or
// NULL.
char *MakeTempBeside(const char *path) noexcept;
// Gives tempPath mode 0644, syncs it, renames it over path and syncs the
// directory; removes tempPath when that fails.
bool CommitTemp(const char *tempPath, const char *path) noexcept;

}  // namespace trguest::tools
