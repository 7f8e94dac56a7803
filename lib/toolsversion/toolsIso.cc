// toolsIso.cc --
//
//    Tools ISO images: which image serves a virtual machine, the paths of
//    the image, its AVR file and its cache file, taking "manifest.txt" out
//    of an image, and the host manifest cache.

#include "toolsManifestInt.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include <trguest/toolsversion.h>
#include <trplatform/dictionary.h>
#include <trplatform/file.h>
#include <trplatform/guestos.h>
#include <trplatform/iso9660.h>
#include <trplatform/log.h>
#include <trplatform/msg.h>
#include <trplatform/str.h>
#include <trplatform/util.h>

char *hostManifestCacheDir = nullptr;
const char *toolsDefaultLibDir = "/usr/lib/tarvel";

namespace {

// Format selectors handed to Iso9660_Open: a set of name spaces to read the
// image through, the best the image has winning (Rock Ridge, then Joliet,
// then the plain ISO 9660 names, which compare ignoring case). The Windows
// images are read through their Joliet names (2), the others through Rock
// Ridge (4); an image without that extension is read through its plain
// names, where "manifest.txt" is found as MANIFEST.TXT.
constexpr uint32_t kWindowsImageFormat = ISO9660_FORMAT_JOLIET;   // 2
constexpr uint32_t kOtherImageFormat = ISO9660_FORMAT_ROCKRIDGE;  // 4

const char *const kImageNames[] = {"windows.iso", "winPre2k.iso", "linux.iso",
                                   "freebsd.iso", "solaris.iso",  "netware.iso"};

struct DictionaryFree {
   void operator()(Dictionary *d) const { Dictionary_Free(d); }
};

// The image that serves a guest OS id, or NULL. Windows first, and within
// it the four oldest ids, then Linux, Solaris, NetWare and FreeBSD.
const char *ImageForGuestOS(int id) {
   if (id >= 0x5003 && id <= 0x5016) {
      return Gos_InSet(id, 0x5003, 0x5004, 0x5005, 0x5006, 0) ? "winPre2k.iso" : "windows.iso";
   }
   if (Gos_InSet(id, 0x501A, 0x501B, 0x501C, 0x501D, 0x501E, 0x501F, 0x5020, 0x5021, 0x5024,
                 0x5025, 0x5026, 0x5027, 0x5028, 0x503D, 0)) {
      return "linux.iso";
   }
   if (Gos_InSet(id, 0x502B, 0x502C, 0x502D, 0x502E, 0x502F, 0)) {
      return "solaris.iso";
   }
   if (Gos_InSet(id, 0x503A, 0x503B, 0x503C, 0)) {
      return "netware.iso";
   }
   if (Gos_InSet(id, 0x5029, 0x502A, 0)) {
      return "freebsd.iso";
   }
   return nullptr;
}

}  // namespace

Bool GetToolsIsoPath(const char *configPath, const char *imageName, char **imagePath,
                     char **imageDir, char **baseName, uint32_t *formatSelector) noexcept {
   *imagePath = nullptr;
   *imageDir = nullptr;
   *baseName = nullptr;
   if (configPath == nullptr && imageName == nullptr) {
      return FALSE;
   }

   std::unique_ptr<Dictionary, DictionaryFree> dict;
   if (configPath != nullptr) {
      dict.reset(Dictionary_Create());
      if (!dict) {
         Log("Error creating dictionary for trx config file.\n");
         return FALSE;
      }
      if (!Dictionary_Load(dict.get(), configPath)) {
         Log("Error loading dictionary for trx config file: %s.\n", Msg_GetMessagesAndReset());
         return FALSE;
      }
   }

   char *name;
   if (imageName != nullptr) {
      name = UtilSafeStrdup0(imageName);
   } else {
      char *guestOS = Dict_GetString(dict.get(), nullptr, "guestOS");
      int id = guestOS != nullptr ? GuestOS_GetOSIDByName(guestOS) : -1;
      std::free(guestOS);
      const char *image = id != -1 ? ImageForGuestOS(id) : nullptr;
      if (image == nullptr) {
         return FALSE;
      }
      name = UtilSafeStrdup0(image);
   }

   *formatSelector = std::strcmp(name, "windows.iso") == 0 || std::strcmp(name, "winPre2k.iso") == 0
                        ? kWindowsImageFormat
                        : kOtherImageFormat;

   char *libDir = dict ? Dict_GetString(dict.get(), toolsDefaultLibDir, "libdir")
                       : UtilSafeStrdup0(toolsDefaultLibDir);
   char *path = libDir != nullptr
                   ? Str_SafeAsprintf(nullptr, "%s%s%s%s%s", libDir, "/", "isoimages", "/", name)
                   : nullptr;
   if (path == nullptr) {
      Log("Failed to allocate string buffer for tools iso image path.\n");
      std::free(libDir);
      std::free(name);
      return FALSE;
   }

   *imageDir = Str_SafeAsprintf(nullptr, "%s%s%s", libDir, "/", "isoimages");
   char *dot = std::strrchr(name, '.');
   if (dot != nullptr) {
      *dot = '\0';
   }
   *imagePath = path;
   *baseName = name;
   std::free(libDir);
   return TRUE;
}

void GetManifestPaths(const char *imageDir, const char *baseName, char **avrPath,
                      char **cachePath) noexcept {
   *avrPath = Str_SafeAsprintf(nullptr, "%s%s%s_%s_%s", imageDir, "/", baseName, "avr",
                               "manifest.txt");
   *cachePath = hostManifestCacheDir == nullptr
                   ? nullptr
                   : Str_SafeAsprintf(nullptr, "%s%s%s_%s", hostManifestCacheDir, "/", baseName,
                                      "manifest.txt");
}

// The manifest is extracted into a temporary file beside destPath and then
// renamed over it, so that a reader of destPath (a status computation in
// another process reading a cache file) sees the old file or the whole new
// one, and a failure leaves no truncated file behind.
Bool ExtractIsoManifest(const char *destPath, const char *imagePath,
                        uint32_t formatSelector) noexcept {
   Iso9660Image *image = nullptr;
   if (Iso9660_Open(imagePath, formatSelector, 0, &image) != ISO9660_OK) {
      Log("Failed to open tools ISO image.\n");
      Iso9660_Close(image);
      return FALSE;
   }
   char *temp = File_MakeTempBeside(destPath);
   bool ok = temp != nullptr && Iso9660_ExtractFileEx(image, "manifest.txt", temp) == ISO9660_OK;
   Iso9660_Close(image);
   if (ok) {
      ok = File_CommitTemp(temp, destPath) != FALSE;
   } else if (temp != nullptr) {
      File_UnlinkIfExists(temp);
   }
   std::free(temp);
   if (!ok) {
      Log("Failed to extract version file from tools ISO image.\n");
      return FALSE;
   }
   return TRUE;
}

extern "C" {

TRGUEST_API void ToolsVersion_SetHostManifestCacheDir(const char *dir) noexcept {
   std::free(hostManifestCacheDir);
   hostManifestCacheDir = UtilSafeStrdup0(dir);
}

TRGUEST_API void ToolsVersion_InitHostManifestCache(const char *dir) noexcept {
   ToolsVersion_SetHostManifestCacheDir(dir);
   // Without a cache directory no cache file can be named: nothing to rebuild.
   if (hostManifestCacheDir == nullptr) {
      return;
   }
   for (const char *imageName : kImageNames) {
      char *imagePath, *imageDir, *baseName;
      uint32_t format;
      if (!GetToolsIsoPath(nullptr, imageName, &imagePath, &imageDir, &baseName, &format)) {
         Log("Failed to get tools iso path for %s.\n", imageName);
         continue;
      }
      char *avrPath, *cachePath;
      GetManifestPaths(imageDir, baseName, &avrPath, &cachePath);
      File_UnlinkIfExists(cachePath);
      ExtractIsoManifest(cachePath, imagePath, format);
      std::free(imagePath);
      std::free(imageDir);
      std::free(baseName);
      std::free(avrPath);
      std::free(cachePath);
   }
}

}  // extern "C"
