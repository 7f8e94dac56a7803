// answerFiles.cc --
//
//    AutoInstall_PrepareAnswerFileEx_Linux: writes the answer file that
//    drives a Linux guest's installer without questions, picking the format
//    by the guest's flavour, and the quoting of user texts for the places
//    they land in.

#include <cstdlib>
#include <cstring>
#include <string>

#include <trguest/autoinstall.h>
#include <trplatform/file.h>
#include <trplatform/fileio.h>

#include "../installFront.h"
#include "linuxAnswerInt.h"

namespace {

// The text with a backslash before each character of `special`.
std::string BackslashBefore(const char *text, const char *special) {
   std::string out;
   out.reserve(std::strlen(text) + 8);
   for (const char *p = text; *p != '\0'; p++) {
      if (std::strchr(special, *p) != nullptr) {
         out += '\\';
      }
      out += *p;
   }
   return out;
}

// Writes the whole text to path, replacing what was there. An older, longer
// answer file must not leave its tail behind, so the file is emptied first.
bool WriteAnswerFile(const std::string &path, const char *text, size_t length) {
   FileIODescriptor fd;
   FileIO_Invalidate(&fd);
   if (FileIO_Open(&fd, path.c_str(), FILEIO_OPEN_ACCESS_WRITE, FILEIO_OPEN_CREATE_EMPTY) !=
       FILEIO_SUCCESS) {
      return false;
   }
   const bool written = text != nullptr && FileIO_Write(&fd, text, length, nullptr) == FILEIO_SUCCESS;
   const bool closed = FileIO_Close(&fd) == FILEIO_SUCCESS;
   return written && closed;
}

char *FormatAnswerFile(LinuxAnswerTemplate kind, const LinuxAnswerValues &values,
                       size_t *length) {
   switch (kind) {
   case LINUX_TEMPLATE_KICKSTART:
      return FormatKickstart(values, length);
   case LINUX_TEMPLATE_PRESEED:
      return FormatPreseed(values, length);
   case LINUX_TEMPLATE_AUTOYAST:
      return FormatAutoYast(values, length);
   case LINUX_TEMPLATE_AUTO_INST:
      return FormatAutoInst(values, length);
   case LINUX_TEMPLATE_NONE:
   default:
      return nullptr;
   }
}

std::string JoinPath(const char *dir, const char *name) {
   char *joined = File_PathJoin(dir, name);
   std::string path(joined);
   std::free(joined);
   return path;
}

}  // namespace

std::string quoteDoubleQuotes(const char *text) { return BackslashBefore(text, "\""); }

std::string QuoteForPerl(const char *text) { return BackslashBefore(text, "\"\\$@"); }

std::string QuoteForShell(const char *text) { return BackslashBefore(text, "\"\\$`"); }

extern "C" {

TRGUEST_API Bool AutoInstall_PrepareAnswerFileEx_Linux(const char *guestOS, uint32_t subVersion,
                                                       const char *outputDir,
                                                       const char *userName,
                                                       const char *fullName,
                                                       const char *userPassword,
                                                       const char *rootPassword,
                                                       const char *installKey,
                                                       Bool powerOff) noexcept {
   const LinuxFlavour flavour = GetLinuxFlavour(guestOS);
   if (outputDir == nullptr || !File_CreateDirectoryHierarchy(outputDir)) {
      return FALSE;
   }
   if (userName == nullptr || fullName == nullptr || userPassword == nullptr ||
       rootPassword == nullptr) {
      return FALSE;
   }
   std::string dir(outputDir);
   if (flavour == LINUX_FLAVOUR_UBUNTU) {
      // The desktop installer looks for its preseed in /custom on the media.
      dir = JoinPath(outputDir, "custom");
      if (!File_CreateDirectory(dir.c_str())) {
         return FALSE;
      }
   } else if (flavour == LINUX_FLAVOUR_NONE) {
      return FALSE;
   }
   const LinuxFlavourInfo &row = linuxFlavourTable[flavour];

   // Each hash lands in the same static buffer, so keep a copy of each.
   const std::string userCrypt = cryptPasswordMd5(userPassword);
   const std::string rootCrypt = cryptPasswordMd5(rootPassword);
   const LinuxAnswerValues values = {guestOS,      subVersion,   userName,
                                     fullName,     userPassword, rootPassword,
                                     userCrypt.c_str(), rootCrypt.c_str(), installKey,
                                     powerOff != FALSE};
   size_t length = 0;
   char *text = FormatAnswerFile(row.answerTemplate, values, &length);
   const bool ok = WriteAnswerFile(JoinPath(dir.c_str(), row.answerFileName), text, length);
   std::free(text);
   return ok ? TRUE : FALSE;
}

}  // extern "C"
