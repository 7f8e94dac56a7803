// toolsExtConfig.hh --
//
//    What the status computation needs of the extended configuration file
//    and of the virtual disks, in one place: the file's path and contents,
//    the libxml2 start-up check, and the legacy tools version number.

#pragma once

#include <cstddef>

#include <trguest/toolsversion.h>

// Path of the extended configuration file that configPath names (newly
// allocated), or NULL after a log line.
char *ToolsExtConfigPath(const char *configPath) noexcept;
// The whole file, newly allocated with a NUL after its size bytes.
bool ToolsExtConfigRead(const char *path, char **buffer, size_t *size) noexcept;
// Runs libxml2's version check once per process, before the first parse.
void ToolsXmlInitOnce() noexcept;
// The legacy tools version number recorded in the virtual disks.
bool ToolsLegacyVersion(const char *configPath, uint32_t *version) noexcept;
