// disklib.cc --
//
//    Read access to the database entries of a virtual disk's text
//    descriptor (see trplatform/disk.h for the grammar accepted).

#include <trplatform/disk.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <trplatform/util.h>

#include "file/textfile.hh"
#include "internal/ascii.hh"

struct DiskLibHandle {
   uint32_t flags = 0;
   std::vector<std::pair<std::string, std::string>> entries;  // file order
};

namespace {

// Descriptors are small; anything larger is a data file, not a descriptor.
constexpr size_t kDescriptorMaxSize = 1024 * 1024;

bool IsBlank(char c) {
   return c == ' ' || c == '\t';
}

std::string_view Trim(std::string_view s) {
   while (!s.empty() && IsBlank(s.front())) {
      s.remove_prefix(1);
   }
   while (!s.empty() && (IsBlank(s.back()) || s.back() == '\r')) {
      s.remove_suffix(1);
   }
   return s;
}

bool IsExtentLine(std::string_view line) {
   for (std::string_view access : {"RW", "RDONLY", "NOACCESS"}) {
      if (line.size() > access.size() && line.substr(0, access.size()) == access &&
          IsBlank(line[access.size()])) {
         return true;
      }
   }
   return false;
}

// One `name = "value"` (or `name = word`) line; false when the line is
// anything else.
bool ParseEntry(std::string_view line, std::string *name, std::string *value) {
   size_t i = 0;
   while (i < line.size() && !IsBlank(line[i]) && line[i] != '=' && line[i] != '"') {
      i++;
   }
   if (i == 0) {
      return false;
   }
   *name = std::string(line.substr(0, i));
   std::string_view rest = Trim(line.substr(i));
   if (rest.empty() || rest.front() != '=') {
      return false;
   }
   rest = Trim(rest.substr(1));
   if (!rest.empty() && rest.front() == '"') {
      size_t close = rest.find('"', 1);
      if (close == std::string_view::npos || close + 1 != rest.size()) {
         return false;
      }
      *value = std::string(rest.substr(1, close - 1));
      return true;
   }
   if (rest.empty()) {
      return false;
   }
   for (char c : rest) {
      if (IsBlank(c) || c == '"') {
         return false;
      }
   }
   *value = std::string(rest);
   return true;
}

bool ParseDescriptor(std::string_view text, DiskLibHandle *disk) {
   if (text.find('\0') != std::string_view::npos) {
      return false;
   }
   bool sawContent = false;
   while (!text.empty()) {
      size_t end = text.find('\n');
      std::string_view line = Trim(text.substr(0, end));
      text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
      if (line.empty() || line.front() == '#') {
         continue;
      }
      sawContent = true;
      if (IsExtentLine(line)) {
         continue;
      }
      std::string name;
      std::string value;
      if (!ParseEntry(line, &name, &value)) {
         return false;
      }
      disk->entries.emplace_back(std::move(name), std::move(value));
   }
   // An empty file, or one of comments only, describes no disk.
   return sawContent;
}

}  // namespace

extern "C" {

TRPLATFORM_API DiskLibError DiskLib_Open(const char *path, uint32_t flags, void *,
                                         DiskHandle *disk) noexcept {
   if (disk == nullptr) {
      return DISKLIB_ERR_INVALID;
   }
   *disk = nullptr;
   if (path == nullptr) {
      return DISKLIB_ERR_INVALID;
   }
   std::string text;
   trp::TextFileError error;
   if (!trp::ReadTextFile(path, kDescriptorMaxSize, &text, &error)) {
      return error == trp::TextFileError::kTooLarge ? DISKLIB_ERR_TOO_LARGE
                                                     : DISKLIB_ERR_CANNOT_OPEN;
   }
   auto *handle = new DiskLibHandle;
   handle->flags = flags;
   if (!ParseDescriptor(text, handle)) {
      delete handle;
      return DISKLIB_ERR_NOT_DESCRIPTOR;
   }
   *disk = handle;
   return DISKLIB_SUCCESS;
}

TRPLATFORM_API DiskLibError DiskLib_DBGet(DiskHandle disk, const char *name,
                                          char **value) noexcept {
   if (value == nullptr) {
      return DISKLIB_ERR_INVALID;
   }
   *value = nullptr;
   if (disk == nullptr || name == nullptr) {
      return DISKLIB_ERR_INVALID;
   }
   const std::string wanted = std::string("ddb.") + name;
   const std::string *found = nullptr;
   for (const auto &entry : disk->entries) {
      if (trp::EqualsIgnoringAsciiCase(entry.first, wanted)) {
         found = &entry.second;
      }
   }
   if (found == nullptr) {
      return DISKLIB_ERR_NOT_FOUND;
   }
   *value = UtilSafeStrdup0(found->c_str());
   return DISKLIB_SUCCESS;
}

TRPLATFORM_API void DiskLib_Close(DiskHandle disk) noexcept {
   delete disk;
}

}  // extern "C"
