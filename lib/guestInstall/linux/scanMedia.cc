// scanMedia.cc --
//
//    The boot directory "isolinux" of the small unattended-install image,
//    built from the distribution's disc given as an ISO image or as a tree
//    on the host: the disc's kernel and initrd under their base names, a new
//    isolinux.cfg that boots them at once with the flavour's answer-file
//    option, and the boot loader (isolinux.bin, plus ldlinux.c32 when the
//    loader comes with one, as newer loaders load it from their own
//    directory and do not boot without it).

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <trguest/autoinstall.h>
#include <trplatform/file.h>
#include <trplatform/fileio.h>
#include <trplatform/iso9660.h>
#include <trplatform/log.h>
#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "guestInstall/installFront.h"
#include "guestInstall/linux/linuxMediaInt.h"

namespace {

constexpr const char kScanDisk[] = "AutoInstall_ScanDisk";
constexpr const char kParseDisk[] = "parseCfgFilesInDisk";
constexpr const char kLoaderName[] = "isolinux.bin";
constexpr const char kLoaderModule[] = "ldlinux.c32";

// The staging directory's boot directory and its configuration path.
struct BootDir {
   OwnedText dir;
   OwnedText configPath;
   explicit BootDir(const char *stagingDir)
      : dir(joinPath(stagingDir, "isolinux")), configPath(joinPath(dir.get(), "isolinux.cfg")) {}
};

// The directory part of a path ("" for a bare name).
OwnedText DirectoryOf(const char *path) {
   char *dir = nullptr;
   File_GetPathName(path, &dir, nullptr);
   return OwnedText(dir);
}

OwnedText BaseNameOf(const char *path) {
   char *base = nullptr;
   File_GetPathName(path, nullptr, &base);
   return OwnedText(base);
}

// name in the directory of path (beside it).
OwnedText Beside(const char *path, const char *name) {
   OwnedText dir = DirectoryOf(path);
   return OwnedText(dir.get()[0] == '\0' ? UtilSafeStrdup0(name) : joinPath(dir.get(), name));
}

// Where a kernel or initrd value of the configuration lies: from the root
// when it begins with "/", else from the configuration's directory.
OwnedText BootFileSource(const char *root, const char *configDir, const char *value) {
   if (value[0] == '/') {
      return OwnedText(Str_SafeAsprintf(nullptr, "%s%s", root, value));
   }
   return OwnedText(joinPath(configDir, value));
}

// The new configuration for the entry, with the flavour's answer-file
// option as the process holds it now.
OwnedText NewConfigText(IsolinuxBootEntry *entry, LinuxFlavour flavour) {
   if (flavour == LINUX_FLAVOUR_REDHAT) {
      removeAskmethod(&entry->append);
   }
   OwnedText kernelBase = BaseNameOf(entry->kernel);
   OwnedText initrdBase = BaseNameOf(entry->initrd);
   return OwnedText(FormatIsolinuxConfig(kernelBase.get(), initrdBase.get(), entry->append,
                                         linuxFlavourTable[flavour].bootOption));
}

// Writes the configuration from the file's start; an older, longer file at
// the path is cut, so that no old tail follows the new text.
bool WriteConfig(const char *configPath, const char *text, bool log) {
   FileIODescriptor fd;
   FileIO_Invalidate(&fd);
   FileIOResult r = FileIO_Open(&fd, configPath, FILEIO_OPEN_ACCESS_WRITE, FILEIO_OPEN_CREATE_EMPTY);
   if (r != FILEIO_SUCCESS) {
      if (log) {
         Log("%s: FileIO_Open failed errio=%d configPath=\"%s\"\n", kScanDisk, r, configPath);
      }
      return false;
   }
   r = FileIO_Write(&fd, text, std::strlen(text), nullptr);
   if (r != FILEIO_SUCCESS && log) {
      Log("%s: FileIO_Write failed errio=%d\n", kScanDisk, r);
   }
   // Data the host did not take (a full disk noticed at close) is a failed
   // write too.
   FileIOResult closed = FileIO_Close(&fd);
   return r == FILEIO_SUCCESS && closed == FILEIO_SUCCESS;
}

// --- The disc as an ISO image ---------------------------------------------

// Up to kIsolinuxConfigMax bytes of an image file, as text.
bool ReadIsoText(Iso9660Image *iso, const Iso9660DirEntry *entry, std::string *text) {
   Iso9660FileHandle file;
   if (Iso9660_OpenFile(iso, entry, &file) != ISO9660_OK) {
      return false;
   }
   text->assign(kIsolinuxConfigMax, '\0');
   size_t got = 0;
   Iso9660Result r = ISO9660_OK;
   while (got < kIsolinuxConfigMax) {
      uint32_t count = static_cast<uint32_t>(kIsolinuxConfigMax - got);
      r = Iso9660_ReadFile(iso, file, text->data() + got, &count);
      if (r != ISO9660_OK || count == 0) {
         break;
      }
      got += count;
   }
   Iso9660_CloseFile(iso, file);
   text->resize(got);
   return r == ISO9660_OK || r == ISO9660_END;
}

// Finds "isolinux.cfg" on the image and the first complete entry in it or,
// failing that, in the ".cfg" files beside it. *configDir receives the
// in-image directory of the "isolinux.cfg" found.
bool ParseIsoConfig(Iso9660Image *iso, IsolinuxBootEntry *entry, OwnedText *configDir) {
   Iso9660DirHandle dir;
   char *found = nullptr;
   std::unique_ptr<Iso9660DirEntry, void (*)(void *)> config(
      findFileInIso(iso, "isolinux.cfg", nullptr, &dir, &found), std::free);
   OwnedText configPath(found);
   if (!config) {
      return false;
   }
   *configDir = DirectoryOf(configPath.get());
   std::string text;
   bool ok = ReadIsoText(iso, config.get(), &text);
   bool complete = ok && parseIsolinuxConfig(text.c_str(), &entry->kernel, &entry->initrd,
                                              &entry->append);
   if (ok && !complete && Iso9660_RewindDir(iso, dir) == ISO9660_OK) {
      // A configuration that only includes others keeps its labels in a
      // sibling; an unreadable sibling is passed over.
      auto sibling = std::make_unique<Iso9660DirEntry>();
      while (!complete && Iso9660_ReadDir(iso, dir, sibling.get()) == ISO9660_OK) {
         if (sibling->isDirectory || !StrUtil_EndsWith(sibling->name, ".cfg") ||
             std::strcmp(sibling->name, config->name) == 0 ||
             !ReadIsoText(iso, sibling.get(), &text)) {
            continue;
         }
         FreeBootEntry(entry);
         complete = parseIsolinuxConfig(text.c_str(), &entry->kernel, &entry->initrd,
                                        &entry->append);
      }
   }
   Iso9660_CloseDir(iso, dir);
   return complete;
}

// Extracts pathInImage into the boot directory and makes sure it is there
// as `name`. On an image with plain ISO 9660 names only, "vmlinuz" finds
// "VMLINUZ", which the extraction writes under the image's name; the new
// configuration and the mastering command name the file as the disc's
// configuration does.
bool ExtractAs(Iso9660Image *iso, const char *pathInImage, const char *bootDir,
               const char *name) {
   Iso9660Result r = Iso9660_Extract(iso, pathInImage, bootDir);
   if (r != ISO9660_OK) {
      return false;
   }
   OwnedText wanted(joinPath(bootDir, name));
   if (File_Exists(wanted.get())) {
      return true;
   }
   char **names = nullptr;
   int count = File_ListDirectory(bootDir, &names);
   bool renamed = false;
   for (int i = 0; i < count; i++) {
      if (!renamed && SameNameIgnoringCase(names[i], name)) {
         OwnedText extracted(joinPath(bootDir, names[i]));
         renamed = std::rename(extracted.get(), wanted.get()) == 0;
      }
      std::free(names[i]);
   }
   std::free(names);
   return renamed;
}

// Copies a file of the image into the boot directory under its base name.
// A value naming a directory ("images/", "..") would copy a whole tree and
// is refused.
bool ExtractBootFile(Iso9660Image *iso, const char *configDir, const char *value,
                     const char *bootDir) {
   OwnedText path = BootFileSource("", configDir, value);
   Iso9660DirHandle dir;
   if (Iso9660_OpenDir(iso, path.get(), &dir) == ISO9660_OK) {
      Iso9660_CloseDir(iso, dir);
      return false;
   }
   OwnedText base = BaseNameOf(value);
   return ExtractAs(iso, path.get(), bootDir, base.get());
}

bool CopyFile(const char *from, const char *to, bool log) {
   if (File_CopyFromNameToName(from, to, TRUE)) {
      return true;
   }
   if (log) {
      Log("%s: File_CopyFromNameToName failed from=\"%s\" to=\"%s\"\n", kScanDisk, from, to);
   }
   return false;
}

// The caller's boot loader, with the module beside it when there is one.
bool CopyCallerLoader(const char *loaderPath, const char *bootDir, bool log) {
   OwnedText target(joinPath(bootDir, kLoaderName));
   if (!CopyFile(loaderPath, target.get(), log)) {
      return false;
   }
   OwnedText module = Beside(loaderPath, kLoaderModule);
   OwnedText moduleTarget(joinPath(bootDir, kLoaderModule));
   return !File_Exists(module.get()) || CopyFile(module.get(), moduleTarget.get(), log);
}

bool ExtractIsoLoader(Iso9660Image *iso, const char *configDir, const char *bootDir) {
   OwnedText loader(joinPath(configDir, kLoaderName));
   if (!ExtractAs(iso, loader.get(), bootDir, kLoaderName)) {
      return false;
   }
   OwnedText module(joinPath(configDir, kLoaderModule));
   // Only a file of that name is a module; an older loader comes alone.
   Iso9660DirHandle dir;
   Iso9660Result r = Iso9660_OpenDir(iso, module.get(), &dir);
   if (r == ISO9660_OK) {
      Iso9660_CloseDir(iso, dir);
   }
   return r != ISO9660_NOT_A_DIRECTORY || ExtractAs(iso, module.get(), bootDir, kLoaderModule);
}

// --- The disc as a host tree -----------------------------------------------

// Up to kIsolinuxConfigMax bytes of a host file as text; quiet, or logging
// each failure as the search for "isolinux.cfg" itself does.
bool ReadDiskText(const char *path, std::string *text, bool log) {
   FileIODescriptor fd;
   FileIO_Invalidate(&fd);
   if (FileIO_Open(&fd, path, FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN) != FILEIO_SUCCESS) {
      if (log) {
         Log("%s: FileIO_Open failed pathIsolinuxCfg=\"%s\"\n", kParseDisk, path);
      }
      return false;
   }
   text->assign(kIsolinuxConfigMax, '\0');
   size_t got = 0;
   FileIOResult r = FileIO_Read(&fd, text->data(), kIsolinuxConfigMax, &got);
   FileIO_Close(&fd);
   text->resize(got);
   if (got == 0 || (r != FILEIO_SUCCESS && r != FILEIO_READ_ERROR_EOF)) {
      if (log) {
         Log("%s: FileIO_Read failed\n", kParseDisk);
      }
      return false;
   }
   return true;
}

bool ParseDiskConfig(const char *root, IsolinuxBootEntry *entry, OwnedText *configDir) {
   char *found = nullptr;
   if (!findFileInDisk("isolinux.cfg", root, &found)) {
      Log("%s: findFileInDisk failed isolinux.cfg in \"%s\"\n", kParseDisk, root);
      return false;
   }
   OwnedText configPath(found);
   *configDir = DirectoryOf(configPath.get());
   std::string text;
   if (!ReadDiskText(configPath.get(), &text, true)) {
      return false;
   }
   if (parseIsolinuxConfig(text.c_str(), &entry->kernel, &entry->initrd, &entry->append)) {
      return true;
   }
   OwnedText configName = BaseNameOf(configPath.get());
   char **names = nullptr;
   int count = File_ListDirectory(configDir->get(), &names);
   bool complete = false;
   for (int i = 0; i < count; i++) {
      if (!complete && StrUtil_EndsWith(names[i], ".cfg") &&
          std::strcmp(names[i], configName.get()) != 0) {
         OwnedText sibling(joinPath(configDir->get(), names[i]));
         if (ReadDiskText(sibling.get(), &text, false)) {
            FreeBootEntry(entry);
            complete = parseIsolinuxConfig(text.c_str(), &entry->kernel, &entry->initrd,
                                           &entry->append);
         }
      }
      std::free(names[i]);
   }
   std::free(names);
   return complete;
}

// Whether path, with its links and ".." resolved, stays inside the tree at
// root. The disc's configuration is untrusted: "../../etc/shadow" as a
// kernel would otherwise put a host file on the new medium. A path that
// does not resolve is left to the copy, which fails and says so.
bool InsideTree(const char *root, const char *path) {
   OwnedText resolvedPath(realpath(path, nullptr));
   if (!resolvedPath) {
      return true;
   }
   OwnedText resolvedRoot(realpath(root, nullptr));
   if (!resolvedRoot) {
      return false;
   }
   size_t n = std::strlen(resolvedRoot.get());
   if (std::strcmp(resolvedRoot.get(), "/") == 0) {
      return true;
   }
   return std::strncmp(resolvedPath.get(), resolvedRoot.get(), n) == 0 &&
          (resolvedPath.get()[n] == '/' || resolvedPath.get()[n] == '\0');
}

// Copies a file of the tree into the boot directory under targetName.
bool CopyTreeFile(const char *root, const char *source, const char *bootDir,
                  const char *targetName) {
   OwnedText target(joinPath(bootDir, targetName));
   if (!InsideTree(root, source)) {
      Log("%s: path outside the distribution tree from=\"%s\" to=\"%s\"\n", kScanDisk, source,
          target.get());
      return false;
   }
   return CopyFile(source, target.get(), true);
}

bool CopyTreeLoader(const char *root, const char *configDir, const char *bootDir) {
   OwnedText loader(joinPath(configDir, kLoaderName));
   if (!CopyTreeFile(root, loader.get(), bootDir, kLoaderName)) {
      return false;
   }
   OwnedText module(joinPath(configDir, kLoaderModule));
   return !File_Exists(module.get()) || CopyTreeFile(root, module.get(), bootDir, kLoaderModule);
}

}  // namespace

extern "C" {

TRGUEST_API Bool AutoInstall_ScanISO(const char *isoPath, const char *stagingDir,
                                     const char *guestOS, const char *isolinuxBinPath) noexcept {
   if (isoPath == nullptr || stagingDir == nullptr) {
      return FALSE;
   }
   const LinuxFlavour flavour = GetLinuxFlavour(guestOS);
   BootDir boot(stagingDir);
   if (!File_CreateDirectoryHierarchy(boot.dir.get())) {
      return FALSE;
   }
   Iso9660Image *iso = nullptr;
   if (Iso9660_Open(isoPath, ISO9660_FORMAT_ROCKRIDGE, 0, &iso) != ISO9660_OK) {
      return FALSE;
   }
   IsolinuxBootEntry entry{};
   OwnedText configDir;
   bool ok = ParseIsoConfig(iso, &entry, &configDir) &&
             ExtractBootFile(iso, configDir.get(), entry.kernel, boot.dir.get()) &&
             ExtractBootFile(iso, configDir.get(), entry.initrd, boot.dir.get());
   if (ok) {
      OwnedText text = NewConfigText(&entry, flavour);
      ok = WriteConfig(boot.configPath.get(), text.get(), false);
   }
   if (ok) {
      ok = isolinuxBinPath != nullptr
              ? CopyCallerLoader(isolinuxBinPath, boot.dir.get(), false)
              : ExtractIsoLoader(iso, configDir.get(), boot.dir.get());
   }
   FreeBootEntry(&entry);
   Iso9660_Close(iso);
   return ok ? TRUE : FALSE;
}

TRGUEST_API Bool AutoInstall_ScanDisk(const char *rootDir, const char *stagingDir,
                                      const char *guestOS, const char *isolinuxBinPath) noexcept {
   if (rootDir == nullptr || stagingDir == nullptr) {
      return FALSE;
   }
   const LinuxFlavour flavour = GetLinuxFlavour(guestOS);
   BootDir boot(stagingDir);
   if (!File_CreateDirectoryHierarchy(boot.dir.get())) {
      Log("%s: File_CreateDirectoryHierarchy failed \"%s\"\n", kScanDisk, boot.dir.get());
      return FALSE;
   }
   IsolinuxBootEntry entry{};
   OwnedText configDir;
   if (!ParseDiskConfig(rootDir, &entry, &configDir)) {
      Log("%s: parseIsolinuxConfig failed\n", kScanDisk);
      FreeBootEntry(&entry);
      return FALSE;
   }
   OwnedText kernel = BootFileSource(rootDir, configDir.get(), entry.kernel);
   OwnedText initrd = BootFileSource(rootDir, configDir.get(), entry.initrd);
   OwnedText kernelBase = BaseNameOf(entry.kernel);
   OwnedText initrdBase = BaseNameOf(entry.initrd);
   bool ok = CopyTreeFile(rootDir, kernel.get(), boot.dir.get(), kernelBase.get()) &&
             CopyTreeFile(rootDir, initrd.get(), boot.dir.get(), initrdBase.get());
   if (ok) {
      OwnedText text = NewConfigText(&entry, flavour);
      ok = WriteConfig(boot.configPath.get(), text.get(), true);
   }
   if (ok) {
      ok = isolinuxBinPath != nullptr ? CopyCallerLoader(isolinuxBinPath, boot.dir.get(), true)
                                      : CopyTreeLoader(rootDir, configDir.get(), boot.dir.get());
   }
   FreeBootEntry(&entry);
   return ok ? TRUE : FALSE;
}

}  // extern "C"
