// guessWindowsVista.cc --
//
//    Image-based Windows media: Vista, Server 2008, 7, Server 2008 R2, 8,
//    Server 2012 and Hyper-V Server, recognised from the files of the
//    medium's "sources" directory. Fills the identifier, the sub-code, the
//    default and all UI languages, and the editions on the medium.

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/dynbuf.h>
#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "guessInt.h"
#include "guessWindowsInt.h"

namespace {

// Fixed edition lists of Windows 8-generation media.
constexpr char kServer2012Editions[] =
   "Windows Server 2012 SERVERSTANDARDCORE?Windows Server 2012 SERVERSTANDARD?"
   "Windows Server 2012 SERVERDATACENTERCORE?Windows Server 2012 SERVERDATACENTER?";
constexpr char kWin8GenericEditions[] = "Windows 8 Pro?Windows 8?";
constexpr char kWin8EnterpriseEditions[] = "Windows 8 Enterprise?";
constexpr char kWin8EnterpriseNEditions[] = "Windows 8 Enterprise_N?";
constexpr char kWin8ProEditions[] = "Windows 8 Pro?";
constexpr char kWin8ProNEditions[] = "Windows 8 Pro_N?";

constexpr char kDefaultLanguage[] = "en-US";
constexpr char kLangSectionStart[] = "[Available UI Languages]\r\n";
constexpr char kLangSectionEnd[] = "\r\n[Fallback Languages]";

constexpr char kEditionPrefix[] = "install_";
constexpr char kEditionSuffix[] = ".clg";

struct Flags {
   bool server = false;
   bool vista = false;
   bool win7 = false;
   bool win8 = false;
   bool hyperV = false;
   bool amd64 = false;
   uint32_t subVersion = GUESS_VERSION_UNKNOWN;
};

bool Contains(const char *text, const char *part) {
   return text != nullptr && std::strstr(text, part) != nullptr;
}

// The value of the first `marker` (such as "BuildArch=") of a text, or NULL
// when there is none or it has no value. *found (optional) tells whether
// the marker is there at all. The caller frees the result.
char *ValueAt(const char *text, const char *marker, bool *found = nullptr) {
   const char *at = text != nullptr ? std::strstr(text, marker) : nullptr;
   if (found != nullptr) {
      *found = at != nullptr;
   }
   char *value = nullptr;
   if (at == nullptr || !GuessParseKeyValue(at, nullptr, &value)) {
      return nullptr;
   }
   return value;
}

void SetEditions(GuessInfo *info, const char *list) {
   Str_Strcpy(info->editions, list, sizeof info->editions);
}

// The install_<edition>.clg entries of "/sources", each name
// without prefix and suffix and followed by "?", copied into editions.
void ListEditions(GuessMedia *media, GuessInfo *info) {
   GuessDir *dir = Guess_OpenDir(media, "/sources");
   if (dir == nullptr) {
      return;
   }
   constexpr size_t kPrefixLen = sizeof kEditionPrefix - 1;
   constexpr size_t kSuffixLen = sizeof kEditionSuffix - 1;
   DynBuf list;
   DynBuf_Init(&list);
   const char *name;
   while ((name = Guess_ReadDir(media, dir)) != nullptr) {
      size_t len = std::strlen(name);
      if (len >= kPrefixLen + kSuffixLen && StrUtil_StartsWith(name, kEditionPrefix) &&
          StrUtil_EndsWith(name, kEditionSuffix)) {
         DynBuf_SafeAppend(&list, name + kPrefixLen, len - kPrefixLen - kSuffixLen);
         DynBuf_SafeAppend(&list, "?", 1);
      }
   }
   DynBuf_SafeAppend(&list, "", 1);
   SetEditions(info, list.data);
   DynBuf_Destroy(&list);
   Guess_CloseDir(media, dir);
}

// The product generation from the BuildBranch value. Returns true for a
// Windows 8-generation branch, which ClassifyWindows8 then sorts out.
bool ClassifyBranch(GuessMedia *media, const char *branch, Flags *f) {
   if (StrUtil_StartsWith(branch, "vista") || StrUtil_StartsWith(branch, "lh_sp2rtm")) {
      f->vista = true;
   } else if (Contains(branch, "win7")) {
      f->win7 = true;
   } else if (Contains(branch, "win8_rtm")) {
      return true;
   } else if (StrUtil_StartsWith(branch, "winmain")) {
      // neither
   } else if (Guess_FileExistsWithPrefix(media, "sources", "install_Windows Vista")) {
      f->vista = true;
   } else if (Guess_FileExistsWithPrefix(media, "sources", "install_Windows 7")) {
      f->win7 = true;
   }
   return false;
}

// Windows 8 and Server 2012 media, by the markers of "sources".
void ClassifyWindows8(GuessMedia *media, GuessInfo *info, Flags *f) {
   bool eiCfg = Guess_FileExistsWithPrefix(media, "sources", "ei.cfg");
   bool svrBmp = Guess_FileExistsWithPrefix(media, "sources", "background_svr.bmp");
   char *ei = eiCfg ? Guess_ReadFileName(media, "sources/ei.cfg", nullptr) : nullptr;

   if (svrBmp || f->server) {
      f->server = true;
      f->hyperV = Contains(ei, "ServerHyper");
      if (!f->hyperV) {
         SetEditions(info, kServer2012Editions);
      }
   } else if (!eiCfg) {
      SetEditions(info, kWin8GenericEditions);
   } else if (Contains(ei, "Enterprise") || Contains(ei, "enterprise")) {
      if (Contains(ei, "EnterpriseEval")) {
         f->subVersion = GUESS_VERSION_WIN8_ENTERPRISE_EVAL;
      } else if (Contains(ei, "EnterpriseN") || Contains(ei, "enterprisen")) {
         f->subVersion = GUESS_VERSION_WIN8_ENTERPRISE;
         SetEditions(info, kWin8EnterpriseNEditions);
      } else {
         f->subVersion = GUESS_VERSION_WIN8_ENTERPRISE;
         SetEditions(info, kWin8EnterpriseEditions);
      }
   } else if (Contains(ei, "ProfessionalN")) {
      SetEditions(info, kWin8ProNEditions);
   } else if (Contains(ei, "Professional")) {
      SetEditions(info, kWin8ProEditions);
   } else {
      SetEditions(info, kWin8GenericEditions);
   }
   std::free(ei);
   f->win8 = true;
}

// The identifier of the flags, or NULL.
const char *Identifier(const Flags &f) {
   if (f.vista && f.server) {
      return f.amd64 ? "longhorn-64" : "longhorn";
   }
   if (f.vista) {
      return f.amd64 ? "winvista-64" : "winvista";
   }
   if (f.win7 && f.server) {
      return "windows7srv-64";
   }
   if (f.win7) {
      return f.amd64 ? "windows7-64" : "windows7";
   }
   if (f.win8 && f.hyperV) {
      return "winhyperv";
   }
   if (f.win8 && f.server) {
      return "windows8srv-64";
   }
   if (f.win8) {
      return f.amd64 ? "windows8-64" : "windows8";
   }
   if (f.server) {
      return f.amd64 ? "longhorn-64" : "longhorn";
   }
   return nullptr;
}

// Server flag, generation and architecture of media whose idwbinfo.txt is
// present: the identifier, or NULL when the medium is not recognised.
const char *Recognise(GuessMedia *media, GuessInfo *info, const char *productIni,
                      const char *idwbInfo, Flags *f) {
   char *type = ValueAt(productIni, "Type=");
   f->server = Contains(type, "Server");
   std::free(type);

   char *branch = ValueAt(idwbInfo, "BuildBranch=");
   bool win8 = branch != nullptr && ClassifyBranch(media, branch, f);
   std::free(branch);
   if (win8) {
      ClassifyWindows8(media, info, f);
   } else if (!f->vista && !f->win7 && !f->server) {
      return nullptr;
   }

   bool archLine = false;
   char *arch = ValueAt(idwbInfo, "BuildArch=", &archLine);
   if (!archLine) {
      return nullptr;
   }
   f->amd64 = arch != nullptr && std::strcmp(arch, "amd64") == 0;
   std::free(arch);
   return Identifier(*f);
}

}  // namespace

Bool GuessWindowsLangIni(const char *langIni, GuessInfo *info) {
   const char *start = std::strstr(langIni, kLangSectionStart);
   if (start == nullptr) {
      return FALSE;
   }
   start += sizeof kLangSectionStart - 1;
   const char *end = std::strstr(start, kLangSectionEnd);
   if (end == nullptr) {
      return FALSE;
   }
   // A private copy of the section, cut into lines in place.
   char *section = UtilSafeStrndup0(start, static_cast<size_t>(end - start));

   DynBuf list;
   DynBuf_Init(&list);
   char *best = nullptr;
   int32_t bestValue = -1;
   bool complete = true;
   char *p = section;
   for (;;) {
      while (p[0] == '\r' && p[1] == '\n') {
         p += 2;
      }
      if (*p == '\0') {
         break;
      }
      char *next = std::strstr(p, "\r\n");
      if (next != nullptr) {
         *next = '\0';
         next += 2;
      } else {
         next = p + std::strlen(p);
      }
      char *key = nullptr;
      char *value = nullptr;
      if (GuessParseKeyValue(p, &key, &value)) {
         int32_t number;
         bool isInt = StrUtil_StrToInt(&number, value);
         std::free(value);
         if (!isInt) {
            std::free(key);
            complete = false;
            break;
         }
         DynBuf_SafeAppend(&list, key, std::strlen(key));
         DynBuf_SafeAppend(&list, "?", 1);
         if (number > bestValue) {
            bestValue = number;
            std::free(best);
            best = key;
         } else {
            std::free(key);
         }
      }
      p = next;
   }

   if (complete) {
      DynBuf_SafeAppend(&list, "", 1);
      Str_Strcpy(info->languages, list.data, sizeof info->languages);
   }
   Bool copied = FALSE;
   if (best != nullptr) {
      Str_Strcpy(info->language, best, sizeof info->language);
      copied = TRUE;
   }
   std::free(best);
   DynBuf_Destroy(&list);
   std::free(section);
   return copied;
}

extern "C" {

TRGUEST_API Bool Guess_WindowsVistaAndNewer(GuessMedia *media, GuessInfo *info) noexcept {
   // Both files are needed; media without the first are not read further.
   char *idwbInfo = Guess_ReadFileName(media, "sources/idwbinfo.txt", nullptr);
   char *langIni =
      idwbInfo != nullptr ? Guess_ReadFileName(media, "sources/lang.ini", nullptr) : nullptr;

   Flags flags;
   const char *id = nullptr;
   Bool languageCopied = FALSE;
   if (langIni != nullptr && idwbInfo != nullptr) {
      // Listed before the medium is recognised: a medium that fails later
      // keeps this list.
      ListEditions(media, info);
      // product.ini only tells server media apart, so it is read only here.
      char *productIni = Guess_ReadFileName(media, "sources/product.ini", nullptr);
      id = Recognise(media, info, productIni, idwbInfo, &flags);
      std::free(productIni);
      if (id != nullptr) {
         languageCopied = GuessWindowsLangIni(langIni, info);
      }
   }
   if (!languageCopied) {
      Str_Strcpy(info->language, kDefaultLanguage, sizeof info->language);
   }
   std::free(idwbInfo);
   std::free(langIni);
   return GuessFinish(info, id, flags.subVersion);
}

}  // extern "C"
