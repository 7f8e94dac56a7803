// windowsFloppy.cc --
//
//    The floppy of an unattended Windows installation, "autoinst.flp" in the
//    virtual machine's configuration directory: the mass-storage driver
//    files (registered in winnt.sif so that text-mode setup loads them),
//    both answer files, the password store, the tools upgrader and the
//    first-boot command script. The answer files hold the user's password
//    and product key, so they are removed from the configuration directory
//    once the call is over, whatever its outcome.
//
//    Driver files come from a directory of the tools ISO image (extracted to
//    the work directory "scsi"), from a host directory, or, when the named
//    tools image is not there, from the driver floppy "trscsi.flp" of the
//    support directory. Every input may be damaged: failures are one log
//    line and FALSE, never a crash, and the clean-up runs on every way out.

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <trguest/autoinstall.h>
#include <trguest/iniutil.h>
#include <trplatform/file.h>
#include <trplatform/fsimage.h>
#include <trplatform/iso9660.h>
#include <trplatform/log.h>
#include <trplatform/str.h>

namespace {

constexpr const char kStep[] = "AutoInstall_MakeFloppyImg";

constexpr const char kFloppyName[] = "autoinst.flp";
constexpr const char kWinntSif[] = "winnt.sif";
constexpr const char kUnattendXml[] = "autoun~0.xml";
constexpr const char kStorePwdIni[] = "storePwd.ini";
constexpr const char kStorePwdExe[] = "storePwd.exe";
constexpr const char kUpgraderSource[] = "TarvelToolsUpgrader.exe";
constexpr const char kUpgraderName[] = "upgrader.exe";
constexpr const char kUnattendCmd[] = "unattend.cmd";
constexpr const char kDriverFloppy[] = "trscsi.flp";
constexpr const char kScsiWorkDir[] = "scsi";

// No floppy root directory holds more entries than this (a 1.44 MB floppy
// has 224, larger FAT12/16 images 512): a driver directory with more is
// not a driver, and adding its files one by one would only fail and log
// thousands of times.
constexpr int kMaxDriverFiles = 512;

// The format set that the tools image is read through: Joliet names, so
// that driver files keep the case that the image gives them.
constexpr uint32_t kToolsIsoFormats = ISO9660_FORMAT_JOLIET;

unsigned long long Code(FSImageError e) {
   return static_cast<unsigned long long>(e);
}

std::string PathJoin(const std::string &dir, const char *name) {
   char *joined = File_PathJoin(dir.c_str(), name);
   std::string out(joined);
   std::free(joined);
   return out;
}

// The names of a directory's entries, sorted; the count as File_ListDirectory
// gives it (below 0 when the directory cannot be read).
int ListDirectory(const std::string &dir, std::vector<std::string> *names) {
   char **list = nullptr;
   const int count = File_ListDirectory(dir.c_str(), &list);
   names->clear();
   for (int i = 0; i < count; i++) {
      names->emplace_back(list[i]);
      std::free(list[i]);
   }
   std::free(list);
   return count;
}

// A file name for a log line: names that come from an image may hold line
// feeds and other control characters, which would break the log's one line
// per message; they are shown as "?".
std::string Printable(const std::string &name) {
   std::string out = name;
   for (char &c : out) {
      if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
         c = '?';
      }
   }
   return out;
}

// An optional path argument: an empty text names nothing, like NULL.
const char *Named(const char *path) {
   return path != nullptr && *path != '\0' ? path : nullptr;
}

bool IsTxtsetupOem(const std::string &path) {
   char *base = nullptr;
   File_SplitName(path.c_str(), nullptr, nullptr, &base);
   const bool match = base != nullptr && strcasecmp(base, "txtsetup.oem") == 0;
   std::free(base);
   return match;
}

// One call of AutoInstall_MakeFloppyImg. Everything it opens or creates is
// recorded in its members, so that Finish() can undo it on any way out.
class WindowsFloppy {
public:
   WindowsFloppy(const char *templateFloppy, const char *configDir, const char *toolsIso,
                 const char *scsiDriverDir, const char *upgraderDir, const char *supportDir)
      : template_(Named(templateFloppy)),
        toolsIso_(Named(toolsIso)),
        scsiDriverDir_(Named(scsiDriverDir)),
        configDir_(configDir),
        upgraderDir_(upgraderDir),
        supportDir_(supportDir),
        winntSif_(PathJoin(configDir_, kWinntSif)),
        unattendXml_(PathJoin(configDir_, kUnattendXml)),
        storePwdIni_(PathJoin(configDir_, kStorePwdIni)),
        floppyPath_(PathJoin(configDir_, kFloppyName)),
        scsiDir_(PathJoin(configDir_, kScsiWorkDir)) {}
   ~WindowsFloppy() { Finish(); }
   WindowsFloppy(const WindowsFloppy &) = delete;
   WindowsFloppy &operator=(const WindowsFloppy &) = delete;

   bool Build();
   // The clean-up; false when the floppy's pending changes could not be
   // written. Runs once.
   bool Finish();

private:
   bool OpenImage();
   bool GatherDrivers(std::string *driverDir);
   bool PrepareWorkDir();
   bool CopyFromDriverFloppy();
   bool CopyDriverFloppyEntries(FSImageDir *dir);
   bool PlaceDrivers(const std::string &driverDir);
   bool PlaceAnswerFilesAndPrograms();
   bool Add(const std::string &hostPath, const char *name) {
      return AddFileToFloppyImg(root_, hostPath.c_str(), name) != FALSE;
   }
   void EmptyWorkDir();

   const char *template_;
   const char *toolsIso_;
   const char *scsiDriverDir_;
   std::string configDir_, upgraderDir_, supportDir_;
   std::string winntSif_, unattendXml_, storePwdIni_, floppyPath_, scsiDir_;

   FSImageVolume *volume_ = nullptr;
   FSImageDir *root_ = nullptr;
   Iso9660Image *iso_ = nullptr;
   // Set once "scsi" is the driver directory: what it held before this call
   // is left alone by the clean-up, everything else there is ours.
   bool usingWorkDir_ = false;
   std::set<std::string> workDirBefore_;
   bool finished_ = false;
};

bool WindowsFloppy::Build() {
   if (!OpenImage()) {
      return false;
   }
   std::string driverDir;
   if (!GatherDrivers(&driverDir)) {
      return false;
   }
   if (!driverDir.empty() && !PlaceDrivers(driverDir)) {
      return false;
   }
   return PlaceAnswerFilesAndPrograms();
}

bool WindowsFloppy::OpenImage() {
   FSImageError err;
   if (template_ != nullptr) {
      if (!File_CopyFromNameToName(template_, floppyPath_.c_str(), TRUE)) {
         Log("%s: File_CopyFromNameToName from=\"%s\" to=\"%s\"\n", kStep, template_,
             floppyPath_.c_str());
         return false;
      }
      err = FSImage_OpenVolume(nullptr, floppyPath_.c_str(), 1, &volume_);
      if (err != FSIMAGE_OK) {
         Log("%s: FSImage_OpenVolume err=%Lu floppyImageFilePath =\"%s\"\n", kStep, Code(err),
             floppyPath_.c_str());
         return false;
      }
   } else {
      err = FSImage_FormatVolume(nullptr, floppyPath_.c_str(), 1, 1, &volume_);
      if (err != FSIMAGE_OK) {
         Log("%s: FSImage_FormatVolume err=%Lu floppyImageFilePath =\"%s\"\n", kStep, Code(err),
             floppyPath_.c_str());
         return false;
      }
   }
   err = FSImage_SkipVolumeBoot(volume_, FSIMAGE_FAT_FILE_SYSTEM);
   if (err != FSIMAGE_OK) {
      Log("%s: FSImage_SkipVolumeBoot err=%Lu FSIMAGE_FAT_FILE_SYSTEM\n", kStep, Code(err));
      return false;
   }
   err = FSImage_OpenRootDirectory(volume_, &root_);
   if (err != FSIMAGE_OK) {
      Log("%s: FSImage_OpenRootDirectory err=%Lu\n", kStep, Code(err));
      return false;
   }
   return true;
}

// Sets *driverDir to the host directory that holds the driver files, or
// leaves it empty when no driver directory is named.
bool WindowsFloppy::GatherDrivers(std::string *driverDir) {
   if (scsiDriverDir_ == nullptr) {
      return true;
   }
   if (toolsIso_ == nullptr) {
      *driverDir = scsiDriverDir_;
      return true;
   }
   if (!PrepareWorkDir()) {
      return false;
   }
   *driverDir = scsiDir_;
   const Iso9660Result opened = Iso9660_Open(toolsIso_, kToolsIsoFormats, 0, &iso_);
   if (opened == ISO9660_OK) {
      const Iso9660Result res = Iso9660_Extract(iso_, scsiDriverDir_, scsiDir_.c_str());
      if (res != ISO9660_OK) {
         Log("%s: Iso9660_Extract res=%d scsiDriverDir=\"%s\"tempdir=\"%s\"\n", kStep,
             static_cast<int>(res), scsiDriverDir_, scsiDir_.c_str());
         return false;
      }
      return true;
   }
   if (File_Exists(toolsIso_)) {
      Log("%s: Iso9660_Open res=%d toolsIsoPath=\"%s\"\n", kStep, static_cast<int>(opened),
          toolsIso_);
      return false;
   }
   return CopyFromDriverFloppy();
}

bool WindowsFloppy::PrepareWorkDir() {
   if (!File_CreateDirectory(scsiDir_.c_str())) {
      Log("%s: File_CreateDirectory guestConfigDir=\"%s\"\n", kStep, configDir_.c_str());
      return false;
   }
   std::vector<std::string> names;
   ListDirectory(scsiDir_, &names);
   workDirBefore_.insert(names.begin(), names.end());
   usingWorkDir_ = true;
   return true;
}

// The named tools image is not there: the drivers come from the driver
// floppy of the support directory, through a copy of it in "scsi" (removed
// again before "scsi" is listed).
bool WindowsFloppy::CopyFromDriverFloppy() {
   const std::string source = PathJoin(supportDir_, kDriverFloppy);
   const std::string copy = PathJoin(scsiDir_, kDriverFloppy);
   if (!File_CopyFromNameToName(source.c_str(), copy.c_str(), TRUE)) {
      Log("%s: File_CopyFromNameToName from=\"%s\" to=\"%s\"\n", kStep, source.c_str(),
          copy.c_str());
      return false;
   }
   bool ok = false;
   FSImageVolume *volume = nullptr;
   FSImageDir *dir = nullptr;
   // Read only: nothing is written to the driver floppy.
   FSImageError err = FSImage_OpenVolume(nullptr, copy.c_str(), 0, &volume);
   if (err != FSIMAGE_OK) {
      Log("%s: FSImage_OpenVolume err=%Lu scsiFlp=\"%s\"\n", kStep, Code(err), copy.c_str());
   } else if ((err = FSImage_OpenRootDirectory(volume, &dir)) != FSIMAGE_OK) {
      Log("%s: FSImage_OpenRootDirectory err=%Lu\n", kStep, Code(err));
   } else {
      ok = CopyDriverFloppyEntries(dir);
   }
   FSImage_Close(dir);
   FSImage_Close(volume);
   File_UnlinkIfExists(copy.c_str());
   return ok;
}

// Copies every file of the driver floppy's root directory to "scsi" under
// its name in lower case. A broken cluster chain fails the copy of that
// file, so a looping chain ends the call rather than the walk.
bool WindowsFloppy::CopyDriverFloppyEntries(FSImageDir *dir) {
   const uint32_t count = FSImage_GetNumDirEntries(dir);
   for (uint32_t i = 0; i < count; i++) {
      Bool inUse = FALSE;
      Bool isDirectory = FALSE;
      char *name = nullptr;
      const FSImageError err = FSImage_GetCatInfo(dir, i, &inUse, &name, &isDirectory, nullptr,
                                                  nullptr);
      if (err != FSIMAGE_OK) {
         Log("%s: FSImage_GetCatInfo err=%Lu\n", kStep, Code(err));
         std::free(name);
         continue;
      }
      if (!inUse || isDirectory) {
         std::free(name);
         continue;
      }
      const std::string target = PathJoin(scsiDir_, Str_ToLower(name));
      const bool copied = GetFileFromFloppyImg(dir, name, target.c_str()) != FALSE;
      std::free(name);
      if (!copied) {
         Log("%s: GetFileFromFloppyImg file=\"%s\"\n", kStep, target.c_str());
         return false;
      }
   }
   return true;
}

bool WindowsFloppy::PlaceDrivers(const std::string &driverDir) {
   std::vector<std::string> names;
   const int count = ListDirectory(driverDir, &names);
   if (count < 1) {
      Log("%s: File_ListDirectory nf=%d tempdir=\"%s\"\n", kStep, count, driverDir.c_str());
      return false;
   }
   if (count > kMaxDriverFiles) {
      Log("%s: too many driver files nf=%d tempdir=\"%s\"\n", kStep, count, driverDir.c_str());
      return false;
   }
   std::string txtsetupOem;
   for (const std::string &name : names) {
      const std::string path = PathJoin(driverDir, name.c_str());
      if (Add(path, name.c_str())) {
         // A bare key: setup copies every file named in OEMBootFiles.
         if (!IniUtil_WriteIniFileString(winntSif_.c_str(), "OEMBootFiles", name.c_str(), "",
                                         FALSE)) {
            Log("%s: IniUtil_WriteIniFileString OEMBootFiles=\"%s\"unattendFilePath=\"%s\"\n",
                kStep, name.c_str(), winntSif_.c_str());
            return false;
         }
      } else {
         // A file whose name is not an 8.3 name, or that does not fit:
         // the other drivers may still be all that setup needs.
         Log("%s: AddFileToFloppyImg file=\"%s\"\n", kStep, Printable(name).c_str());
      }
      if (IsTxtsetupOem(path)) {
         txtsetupOem = path;
      }
   }
   if (!txtsetupOem.empty()) {
      WriteOEMDriverInfo(txtsetupOem.c_str(), winntSif_.c_str());
   }
   return true;
}

bool WindowsFloppy::PlaceAnswerFilesAndPrograms() {
   if (!Add(winntSif_, kWinntSif)) {
      Log("%s: AddFileToFloppyImg UNATTENDED_INSTALL_FILE=\"%s\"\n", kStep, winntSif_.c_str());
      return false;
   }
   if (!Add(unattendXml_, kUnattendXml)) {
      Log("%s: AddFileToFloppyImg UNATTENDED_XML_INSTALL_FILE=\"%s\"\n", kStep,
          unattendXml_.c_str());
      return false;
   }
   if (File_Exists(storePwdIni_.c_str())) {
      if (!Add(storePwdIni_, kStorePwdIni)) {
         Log("%s: AddFileToFloppyImg STOREPWD_INI_FILENAME=\"%s\"\n", kStep,
             storePwdIni_.c_str());
         return false;
      }
      const std::string storePwdExe = PathJoin(supportDir_, kStorePwdExe);
      if (!Add(storePwdExe, kStorePwdExe)) {
         Log("%s: AddFileToFloppyImg STOREPWD_EXE_FILENAME=\"%s\"\n", kStep,
             storePwdExe.c_str());
         return false;
      }
   }
   // Without a tools image (or with one that is not there) the guest gets
   // its tools some other way, so a missing upgrader is no failure then.
   const std::string upgrader = PathJoin(upgraderDir_, kUpgraderSource);
   if (!Add(upgrader, kUpgraderName) && toolsIso_ != nullptr && File_Exists(toolsIso_)) {
      Log("%s: AddFileToFloppyImg (tools \"%s\") UPGRADER_EXE=\"%s\"\n", kStep, toolsIso_,
          upgrader.c_str());
      return false;
   }
   const std::string unattendCmd = PathJoin(supportDir_, kUnattendCmd);
   if (!Add(unattendCmd, kUnattendCmd)) {
      Log("%s: AddFileToFloppyImg UNATTENDED_CMD=\"%s\"\n", kStep, unattendCmd.c_str());
      return false;
   }
   return true;
}

// Removes what this call put into "scsi" (files, and directories that an
// image's driver directory brought along).
void WindowsFloppy::EmptyWorkDir() {
   std::vector<std::string> names;
   ListDirectory(scsiDir_, &names);
   for (const std::string &name : names) {
      if (workDirBefore_.count(name) != 0) {
         continue;
      }
      const std::string path = PathJoin(scsiDir_, name.c_str());
      if (File_IsDirectory(path.c_str())) {
         File_DeleteDirectoryTree(path.c_str());
      } else {
         File_UnlinkIfExists(path.c_str());
      }
   }
}

bool WindowsFloppy::Finish() {
   if (finished_) {
      return true;
   }
   finished_ = true;
   FSImage_Close(root_);
   root_ = nullptr;
   const FSImageError closed = FSImage_Close(volume_);
   const bool written = volume_ == nullptr || closed == FSIMAGE_OK;
   if (!written) {
      // The files went in, but the image's directory and FAT did not reach
      // the disk: the floppy is not usable.
      Log("%s: FSImage_Close err=%Lu floppyImageFilePath =\"%s\"\n", kStep, Code(closed),
          floppyPath_.c_str());
   }
   volume_ = nullptr;
   if (usingWorkDir_) {
      EmptyWorkDir();
   }
   // An empty "scsi" goes whichever way the drivers came, so that one left
   // behind by an earlier call does not linger.
   File_DeleteEmptyDirectory(scsiDir_.c_str());
   Iso9660_Close(iso_);
   iso_ = nullptr;
   File_UnlinkIfExists(winntSif_.c_str());
   File_UnlinkIfExists(unattendXml_.c_str());
   File_UnlinkIfExists(storePwdIni_.c_str());
   return written;
}

}  // namespace

extern "C" {

TRGUEST_API Bool AutoInstall_MakeFloppyImg(const char *templateFloppy, const char *configDir,
                                           const char *toolsIsoPath, const char *scsiDriverDir,
                                           const char *upgraderDir,
                                           const char *supportDir) noexcept {
   if (Named(supportDir) == nullptr || Named(upgraderDir) == nullptr ||
       Named(configDir) == nullptr) {
      return FALSE;
   }
   try {
      WindowsFloppy floppy(templateFloppy, configDir, toolsIsoPath, scsiDriverDir, upgraderDir,
                           supportDir);
      const bool built = floppy.Build();
      const bool written = floppy.Finish();
      return built && written ? TRUE : FALSE;
   } catch (...) {
      // Out of memory for a path: the object's destructor has cleaned up.
      return FALSE;
   }
}

TRGUEST_API Bool AutoInstall_AddFileToFloppyImg(const char *hostPath, const char *nameOnFloppy,
                                                const char *configDir) noexcept {
   if (hostPath == nullptr || nameOnFloppy == nullptr || configDir == nullptr) {
      return FALSE;
   }
   char *path = File_PathJoin(configDir, kFloppyName);
   FSImageVolume *volume = nullptr;
   FSImageDir *root = nullptr;
   Bool added = FALSE;
   if (FSImage_OpenVolume(nullptr, path, 1, &volume) == FSIMAGE_OK &&
       FSImage_OpenRootDirectory(volume, &root) == FSIMAGE_OK) {
      added = AddFileToFloppyImg(root, hostPath, nameOnFloppy);
   }
   FSImage_Close(root);
   // Closing the volume writes the new directory entry and FAT: a file that
   // does not reach the disk was not added.
   if (FSImage_Close(volume) != FSIMAGE_OK) {
      added = FALSE;
   }
   std::free(path);
   return added;
}

}  // extern "C"
