// oemDriverInfo.cc --
//
//    Registers a mass-storage driver in winnt.sif: the description that the
//    driver's txtsetup.oem gives becomes the key of section
//    "MassStorageDrivers", with the value OEM, so that text-mode setup loads
//    that driver from the floppy.

#include <cstring>
#include <memory>

#include <trguest/autoinstall.h>
#include <trguest/iniutil.h>
#include <trplatform/fileio.h>
#include <trplatform/log.h>

#include "guestInstall/windows/windowsFloppyInt.h"

const char *const kOemDriverIdentifiers[] = {
   "trscsi",        "TRSCSI",         "SYMMPI_32",   "LSI_SCSI_AMD64",
   "LSI_SAS_AMD64", "SYMMPI_1068",    "LSI_SAS_32",  "LSI_SAS_X64",
   "LSI_SCSI_IA64", "LSI_SCSI_32",    "SYMMPI_IA64", nullptr,
};

namespace {

// The quoted text after the "=" at `equals`, quotes included, when the line
// holds two double quotes there.
std::optional<std::string> QuotedAfter(std::string_view line, size_t equals) {
   const size_t open = line.find('"', equals + 1);
   if (open == std::string_view::npos) {
      return std::nullopt;
   }
   const size_t close = line.find('"', open + 1);
   if (close == std::string_view::npos) {
      return std::nullopt;
   }
   return std::string(line.substr(open, close - open + 1));
}

}  // namespace

std::optional<std::string> OemDriverDescription(std::string_view text) {
   text = text.substr(0, text.find('\0'));
   while (!text.empty()) {
      const size_t eol = text.find('\n');
      const std::string_view line = text.substr(0, eol);
      text = eol == std::string_view::npos ? std::string_view() : text.substr(eol + 1);
      const size_t equals = line.find('=');
      if (equals == std::string_view::npos) {
         continue;
      }
      // An identifier counts only as the key (before the first "="): the
      // same name in a value or a file name says nothing about the line.
      const std::string_view key = line.substr(0, equals);
      for (const char *const *id = kOemDriverIdentifiers; *id != nullptr; id++) {
         if (key.find(*id) == std::string_view::npos) {
            continue;
         }
         if (auto description = QuotedAfter(line, equals)) {
            return description;
         }
      }
   }
   return std::nullopt;
}

namespace {

// The whole file, or nothing when it cannot be read, is empty, or is far
// larger than any driver description (reading gigabytes whole would only
// exhaust memory).
std::optional<std::string> ReadTxtsetupOem(const char *path) {
   FileIODescriptor fd;
   FileIO_Invalidate(&fd);
   if (FileIO_Open(&fd, path, FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN) != FILEIO_SUCCESS) {
      return std::nullopt;
   }
   std::optional<std::string> text;
   const int64_t size = FileIO_GetSize(&fd);
   if (size > static_cast<int64_t>(kMaxTxtsetupOemSize)) {
      Warning("%s: txtsetup.oem too large size=%lld file=\"%s\"\n", "WriteOEMDriverInfo",
              static_cast<long long>(size), path);
   } else if (size > 0) {
      std::string buffer(static_cast<size_t>(size), '\0');
      size_t got = 0;
      if (FileIO_Read(&fd, buffer.data(), buffer.size(), &got) == FILEIO_SUCCESS &&
          got == buffer.size()) {
         text = std::move(buffer);
      }
   }
   FileIO_Close(&fd);
   return text;
}

}  // namespace

extern "C" {

TRGUEST_API void WriteOEMDriverInfo(const char *txtsetupOemPath,
                                    const char *winntSifPath) noexcept {
   if (txtsetupOemPath == nullptr || winntSifPath == nullptr) {
      return;
   }
   try {
      const auto text = ReadTxtsetupOem(txtsetupOemPath);
      if (!text) {
         return;
      }
      const auto description = OemDriverDescription(*text);
      if (!description) {
         Warning("%s: Failed to detect the type of driver in %s\n", "WriteOEMDriverInfo",
                 txtsetupOemPath);
         return;
      }
      // A failed write leaves winnt.sif without the entry; setup then asks
      // for the driver, which is all a caller could tell the user anyway.
      IniUtil_WriteIniFileString(winntSifPath, "MassStorageDrivers", description->c_str(), "OEM",
                                 FALSE);
   } catch (...) {
      // Out of memory for the file's text: nothing is written.
   }
}

}  // extern "C"
