// linuxMedia.cc --
//
//    The rest of the Linux installation media: the tools upgrader files in
//    the staging directory, the floppy image for flavours whose installer
//    reads its answer file from a floppy, and mastering the staging
//    directory into "autoinst.iso".

#include <cstdlib>
#include <cstring>

#include <trguest/autoinstall.h>
#include <trplatform/file.h>
#include <trplatform/fsimage.h>
#include <trplatform/log.h>
#include <trplatform/str.h>

#include "guestInstall/installFront.h"
#include "guestInstall/linux/linuxMediaInt.h"

namespace {

constexpr const char kMakeFloppy[] = "AutoInstall_MakeFloppyImg_Linux";
constexpr const char kMasterIso[] = "AutoInstall_MasterISO";

// Tools upgrader files: name in the tools directory, 8.3-compatible name on
// the mastered image.
struct ToolsFile {
   const char *source;
   const char *target;
};

constexpr ToolsFile kToolsFiles[] = {
   {"tarvel-tools-upgrader-32", "upgra32"},
   {"tarvel-tools-upgrader-64", "upgra64"},
   {"run_upgrader.sh", "upgrade.sh"},
};

// The template a flavour's floppy starts from; null: a newly formatted one.
const char *FloppyTemplate(LinuxFlavour flavour) {
   switch (flavour) {
   case LINUX_FLAVOUR_SUSE:
   case LINUX_FLAVOUR_SLES10:
      return "suse.flp";
   case LINUX_FLAVOUR_MANDRIVA:
      return "mandriva.flp";
   default:
      return nullptr;
   }
}

// Opens the floppy image's volume: a copy of the template, or a new image.
FSImageVolume *OpenFloppy(const char *templateDir, const char *templateName,
                          const char *imagePath) {
   FSImageVolume *volume = nullptr;
   if (templateName == nullptr) {
      if (FSImage_FormatVolume(nullptr, imagePath, 1, 1, &volume) != FSIMAGE_OK) {
         Log("%s: FSImage_FormatVolume failed floppyImageFilePath=\"%s\"\n", kMakeFloppy,
             imagePath);
         return nullptr;
      }
      return volume;
   }
   OwnedText templatePath(joinPath(templateDir, templateName));
   if (!File_Exists(templatePath.get())) {
      Log("%s: !File_Exists failed templatePath=\"%s\"\n", kMakeFloppy, templatePath.get());
      return nullptr;
   }
   if (!File_CopyFromNameToName(templatePath.get(), imagePath, TRUE)) {
      Log("%s: File_CopyFromNameToName failed templatePath=\"%s\" floppyImageFilePath=\"%s\"\n",
          kMakeFloppy, templatePath.get(), imagePath);
      return nullptr;
   }
   if (FSImage_OpenVolume(nullptr, imagePath, 1, &volume) != FSIMAGE_OK) {
      Log("%s: FSImage_OpenVolume failed floppyImageFilePath=\"%s\"\n", kMakeFloppy, imagePath);
      return nullptr;
   }
   return volume;
}

// Characters that keep their meaning inside double quotes in the shell.
bool IsShellSafe(const char *path) {
   return std::strpbrk(path, "\"$`\\") == nullptr;
}

}  // namespace

extern "C" {

TRGUEST_API Bool AutoInstall_AddTools_Linux(const char *stagingDir, const char *toolsDir) noexcept {
   if (stagingDir == nullptr || toolsDir == nullptr) {
      return FALSE;
   }
   for (const ToolsFile &f : kToolsFiles) {
      OwnedText source(joinPath(toolsDir, f.source));
      OwnedText target(joinPath(stagingDir, f.target));
      if (!File_CopyFromNameToName(source.get(), target.get(), TRUE)) {
         return FALSE;
      }
   }
   return TRUE;
}

TRGUEST_API Bool AutoInstall_MakeFloppyImg_Linux(const char *answerDir, const char *floppyDir,
                                                 const char *templateDir,
                                                 const char *guestOS) noexcept {
   const LinuxFlavour flavour = GetLinuxFlavour(guestOS);
   if (flavour == LINUX_FLAVOUR_NONE || flavour == LINUX_FLAVOUR_REDHAT) {
      return TRUE;
   }
   if (answerDir == nullptr || floppyDir == nullptr) {
      return FALSE;
   }
   const char *answerName = linuxFlavourTable[flavour].answerFileName;
   OwnedText answerPath(flavour == LINUX_FLAVOUR_UBUNTU
                           ? Str_SafeAsprintf(nullptr, "%s/custom/preseed.cfg", answerDir)
                           : joinPath(answerDir, answerName));
   OwnedText imagePath(File_PathJoin(floppyDir, "autoinst.flp"));
   if (!File_Exists(answerPath.get())) {
      return FALSE;
   }
   const char *templateName = FloppyTemplate(flavour);
   if (templateName != nullptr && templateDir == nullptr) {
      return FALSE;
   }
   FSImageVolume *volume = OpenFloppy(templateDir, templateName, imagePath.get());
   if (volume == nullptr) {
      return FALSE;
   }
   FSImageDir *root = nullptr;
   bool ok = false;
   FSImageError err = FSImage_SkipVolumeBoot(volume, FSIMAGE_FAT_FILE_SYSTEM);
   if (err != FSIMAGE_OK) {
      Log("%s: FSImage_SkipVolumeBoot failed err=%Ld\n", kMakeFloppy,
          static_cast<long long>(err));
   } else if ((err = FSImage_OpenRootDirectory(volume, &root)) != FSIMAGE_OK) {
      Log("%s: FSImage_OpenRootDirectory failed err=%Ld\n", kMakeFloppy,
          static_cast<long long>(err));
   } else if (!AddFileToFloppyImg(root, answerPath.get(), answerName)) {
      Log("%s: AddFileToFloppyImg failed preseedFilePath=\"%s\"\n", kMakeFloppy,
          answerPath.get());
   } else {
      ok = true;
   }
   if (root != nullptr) {
      FSImage_Close(root);
   }
   // Closing the volume writes the FAT and the directory: a floppy whose
   // changes did not reach the image does not hold the answer file.
   if (FSImage_Close(volume) != FSIMAGE_OK) {
      ok = false;
   }
   return ok ? TRUE : FALSE;
}

TRGUEST_API Bool AutoInstall_MasterISO(const char *stagingDir, const char *masteringToolPath,
                                       const char *outputDir) noexcept {
   if (stagingDir == nullptr || masteringToolPath == nullptr || outputDir == nullptr) {
      return FALSE;
   }
   OwnedText imagePath(File_PathJoin(outputDir, "autoinst.iso"));
   // The command runs through the shell with each path in double quotes:
   // blanks are safe there, but a quote, "$", a backquote or a backslash
   // would end the quoting or run commands. Such a path is refused before
   // anything runs, and the staging directory goes as after any run.
   for (const char *path : {masteringToolPath, static_cast<const char *>(imagePath.get()), stagingDir}) {
      if (!IsShellSafe(path)) {
         Log("%s: path unsafe for the shell path=\"%s\"\n", kMasterIso, path);
         File_DeleteDirectoryTree(stagingDir);
         return FALSE;
      }
   }
   OwnedText command(Str_SafeAsprintf(nullptr,
                                      "\"%s\" -o \"%s\" -b isolinux/isolinux.bin "
                                      "-c isolinux/boot.cat -no-emul-boot -boot-load-size 4 "
                                      "-boot-info-table \"%s\"",
                                      masteringToolPath, imagePath.get(), stagingDir));
   int status = std::system(command.get());
   File_DeleteDirectoryTree(stagingDir);
   return status == 0 ? TRUE : FALSE;
}

}  // extern "C"
