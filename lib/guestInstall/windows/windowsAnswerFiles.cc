// windowsAnswerFiles.cc --
//
//    The answer files of an unattended Windows installation: copies of the
//    caller's winnt.sif (text-mode setup of Windows 2000, XP and Server
//    2003), unattend XML (Vista and newer) and storePwd.ini templates in a
//    directory of the virtual machine, filled with the user's data. Both
//    answer files are written for every Windows guest; the floppy image
//    takes the one the guest reads.

#include <cstdlib>
#include <cstring>
#include <memory>

#include <trguest/autoinstall.h>
#include <trguest/iniutil.h>
#include <trplatform/file.h>
#include <trplatform/guestos.h>
#include <trplatform/log.h>
#include <trplatform/timeutil.h>
#include <trplatform/unicode.h>
#include <trplatform/util.h>

#include "guestInstall/windows/unattendXmlInt.h"

namespace {

const char kFunction[] = "AutoInstall_PrepareAnswerFileEx";

struct FreeText {
   void operator()(char *p) const { std::free(p); }
};
using Text = std::unique_ptr<char, FreeText>;

bool Given(const char *text) { return text != nullptr && *text != '\0'; }

// A missing text is logged as empty.
const char *Shown(const char *text) { return text != nullptr ? text : ""; }

// The code page that the guest's text-mode setup reads winnt.sif in, by
// the language's name; Western European for every other language.
StringEncoding EncodingOfLanguage(const char *language) {
   static const struct {
      const char *language;
      StringEncoding encoding;
   } kLanguageEncodings[] = {
      {"Japanese", STRING_ENCODING_WINDOWS_932},
      {"Russian", STRING_ENCODING_WINDOWS_1251},
      {"Simplified Chinese", STRING_ENCODING_WINDOWS_936},
      {"Traditional Chinese", STRING_ENCODING_WINDOWS_950},
      {"Korean", STRING_ENCODING_WINDOWS_949},
   };
   for (const auto &row : kLanguageEncodings) {
      if (std::strcmp(language, row.language) == 0) {
         return row.encoding;
      }
   }
   return STRING_ENCODING_WINDOWS_1252;
}

// The text in the encoding; the UTF-8 text itself when the encoding cannot
// represent it (setup then shows some characters wrongly, which is better
// than no name or a password the user does not know).
Text Convert(const char *utf8, StringEncoding encoding) {
   Text converted(Unicode_GetAllocBytes(utf8, encoding));
   if (converted == nullptr) {
      Log("%s: Failed to perform conversion from UTF-8 to %s\n", kFunction,
          Unicode_EncodingEnumToName(encoding));
      converted.reset(UtilSafeStrdup0(utf8));
   }
   return converted;
}

bool CopyTemplate(const char *from, const char *to) {
   if (!File_CopyFromNameToName(from, to, TRUE)) {
      Log("%s: File_CopyFromNameToName from=\"%s\" to=\"%s\"\n", kFunction, Shown(from),
          Shown(to));
      return false;
   }
   return true;
}

bool Prepare(const char *winntSifTemplate, const char *unattendXmlTemplate,
             const char *storePwdIniTemplate, const char *productKey, const char *kmsServer,
             const char *fullName, const char *password, const char *guestOS,
             int32_t subVersion, const char *destDir, const char *language,
             const char *imageName, Bool autoLogon) {
   int guestId = GuestOS_GetOSIDByName(guestOS);
   if (guestId == -1 || !GuestOS_IsWin(guestId)) {
      Log("%s: GuestOS_IsWin failed for guestID %s\n", kFunction, Shown(guestOS));
      return false;
   }
   if (!Given(language)) {
      language = GuestOS_IsWinVistaOrHigher(guestId) ? "en-US" : "English";
   }
   StringEncoding encoding = EncodingOfLanguage(language);

   if (destDir == nullptr) {
      // No directory: nothing can be copied anywhere.
      return CopyTemplate(winntSifTemplate, nullptr);
   }
   Text sifPath(File_PathJoin(destDir, "winnt.sif"));
   Text xmlPath(File_PathJoin(destDir, "autoun~0.xml"));
   if (!CopyTemplate(winntSifTemplate, sifPath.get()) ||
       !CopyTemplate(unattendXmlTemplate, xmlPath.get())) {
      return false;
   }
   Text storePwdPath;
   if (Given(storePwdIniTemplate)) {
      storePwdPath.reset(File_PathJoin(destDir, "storePwd.ini"));
      if (!CopyTemplate(storePwdIniTemplate, storePwdPath.get())) {
         return false;
      }
   }
   const char *sif = sifPath.get();

   if (Given(productKey)) {
      if (!IniUtil_WriteIniFileString(sif, "UserData", "ProductKey", productKey, TRUE) ||
          (GuestOS_IsWin2k(guestId) &&
           !IniUtil_WriteIniFileString(sif, "UserData", "ProductID", productKey, TRUE))) {
         Log("%s: IniUtil_WriteIniFileString unattendFilePath=\"%s\", ProductKey=\"%s\"\n",
             kFunction, sif, productKey);
         return false;
      }
   }
   if (Given(fullName)) {
      Text converted = Convert(fullName, encoding);
      if (!IniUtil_WriteIniFileString(sif, "UserData", "FullName", converted.get(), TRUE)) {
         Log("%s: IniUtil_WriteIniFileString unattendFilePath=\"%s\", FullName=\"%s\"\n",
             kFunction, sif, fullName);
         return false;
      }
   }
   if (Given(password)) {
      Text converted = Convert(password, encoding);
      if (!IniUtil_WriteIniFileString(sif, "GuiUnattended", "AdminPassword", converted.get(),
                                      TRUE)) {
         Log("%s: IniUtil_WriteIniFileString unattendFilePath=\"%s\", AdminPassword=\"%s\"\n",
             kFunction, sif, password);
         return false;
      }
      if (!IniUtil_WriteIniFileString(sif, "GuiUnattended", "AutoLogon", "Yes", FALSE)) {
         Log("%s: IniUtil_WriteIniFileString unattendFilePath=\"%s\", AutoLogon=\"Yes\"\n",
             kFunction, sif);
         return false;
      }
      if (!IniUtil_WriteIniFileString(sif, "GuiUnattended", "AutoLogonCount", "1", FALSE)) {
         Log("%s: IniUtil_WriteIniFileString unattendFilePath=\"%s\", AutoLogonCount=\"1\"\n",
             kFunction, sif);
         return false;
      }
      if (storePwdPath != nullptr &&
          !IniUtil_WriteIniFileString(storePwdPath.get(), "Autologon", "Enabled",
                                      autoLogon ? "1" : "0", FALSE)) {
         Log("%s: IniUtil_WriteIniFileString storePwdIniPath=\"%s\"", kFunction,
             storePwdPath.get());
         return false;
      }
   }

   char *zoneName = nullptr;
   int32_t zoneIndex = TimeUtil_GetLocalWindowsTimeZoneIndexAndName(&zoneName);
   Text windowsZone(zoneName);
   if (zoneIndex >= 0 && !IniUtil_WriteIniFileInt(sif, "GuiUnattended", "TimeZone", zoneIndex)) {
      Log("%s: IniUtil_WriteIniFileInt unattendFilePath=\"%s\", TimeZone=%d\n", kFunction, sif,
          static_cast<int>(zoneIndex));
      return false;
   }
   return RewriteUnattendXml(xmlPath.get(), productKey, kmsServer, fullName, password,
                             windowsZone.get(), guestId, subVersion, language, imageName,
                             autoLogon) != FALSE;
}

}  // namespace

extern "C" {

TRGUEST_API Bool AutoInstall_PrepareAnswerFileEx(const char *winntSifTemplate,
                                                 const char *unattendXmlTemplate,
                                                 const char *storePwdIniTemplate,
                                                 const char *productKey, const char *kmsServer,
                                                 const char *fullName, const char *password,
                                                 const char *guestOS, int32_t subVersion,
                                                 const char *destDir, const char *language,
                                                 const char *imageName, Bool autoLogon) noexcept {
   try {
      return Prepare(winntSifTemplate, unattendXmlTemplate, storePwdIniTemplate, productKey,
                     kmsServer, fullName, password, guestOS, subVersion, destDir, language,
                     imageName, autoLogon)
                ? TRUE
                : FALSE;
   } catch (...) {
      return FALSE;
   }
}

}  // extern "C"
