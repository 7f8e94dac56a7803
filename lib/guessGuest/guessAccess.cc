// guessAccess.cc --
//
//    The image access layer of detection: directories and whole files of an
//    ISO 9660 or UDF image, with names tried as given, in upper case and in
//    lower case.

#include <cstdlib>
#include <cstring>

#include <trguest/guess.h>
#include <trplatform/dynbuf.h>
#include <trplatform/file.h>
#include <trplatform/log.h>
#include <trplatform/str.h>
#include <trplatform/strutil.h>
#include <trplatform/util.h>

#include "guessInt.h"

namespace {

constexpr uint32_t kChunk = 2048;

[[noreturn]] void UnknownKind(int line) {
   Panic("NOT_REACHED %s:%d\n", GUESS_SOURCE_PATH, line);
}

Bool FindOnIso(GuessMedia *media, GuessDir *dir, const char *name, char **contents,
               size_t *length) {
   // The entry the caller's last Guess_ReadDir returned is not looked up
   // again (on a fresh handle that entry is the empty name).
   if (GuessNamesEqual(name, dir->isoEntry.name)) {
      return FALSE;
   }
   Iso9660DirHandle own;
   if (Iso9660_OpenDir(media->iso, dir->path, &own) != ISO9660_OK) {
      return FALSE;
   }
   Iso9660DirEntry entry;
   bool matched = false;
   while (Iso9660_ReadDir(media->iso, own, &entry) == ISO9660_OK) {
      if (GuessNamesEqual(entry.name, name)) {
         matched = true;
         break;
      }
   }
   Iso9660FileHandle file;
   if (!matched || Iso9660_OpenFile(media->iso, &entry, &file) != ISO9660_OK) {
      Iso9660_CloseDir(media->iso, own);
      return FALSE;
   }
   Bool found = TRUE;
   if (contents == nullptr) {
      if (length != nullptr) {
         *length = 0;
      }
   } else {
      DynBuf buf;
      DynBuf_Init(&buf);
      if (entry.size < SIZE_MAX) {
         DynBuf_Enlarge(&buf, static_cast<size_t>(entry.size) + 1);
      }
      char chunk[kChunk];
      for (;;) {
         uint32_t count = kChunk;
         Iso9660Result r = Iso9660_ReadFile(media->iso, file, chunk, &count);
         if (r == ISO9660_END) {
            break;
         }
         if (r != ISO9660_OK) {
            found = FALSE;
            break;
         }
         DynBuf_SafeAppend(&buf, chunk, count);
      }
      if (found) {
         DynBuf_SafeAppend(&buf, "", 1);
         if (length != nullptr) {
            *length = buf.size;
         }
         *contents = static_cast<char *>(DynBuf_Detach(&buf));
      }
      DynBuf_Destroy(&buf);
   }
   Iso9660_CloseFile(media->iso, file);
   Iso9660_CloseDir(media->iso, own);
   return found;
}

Bool FindOnUdf(GuessMedia *media, GuessDir *dir, const char *name, char **contents,
               size_t *length, Bool lengthOnUdf) {
   UDFFile *file = UDF_OpenFile(media->udf, dir->udfDir, name);
   if (file == nullptr) {
      return FALSE;
   }
   Bool found = TRUE;
   if (contents != nullptr) {
      found = UDF_ReadFile(file, contents);
      if (found && lengthOnUdf && length != nullptr) {
         *length = static_cast<size_t>(UDF_GetLastReadSize(file)) + 1;
      }
   }
   UDF_CloseFile(file);
   return found;
}

// Calls attempt with text as given, then in upper case, then in lower case,
// until one succeeds. A variant that equals the text as given is not tried
// a second time (a name without lower-case letters is its own upper-case
// form): a failed lookup walks a whole directory.
template <typename Attempt>
auto WithCaseVariants(const char *text, Attempt attempt) -> decltype(attempt(text)) {
   char *copy = UtilSafeStrdup0(text);
   auto result = attempt(copy);
   if (!result && std::strcmp(Str_ToUpper(copy), text) != 0) {
      result = attempt(copy);
   }
   if (!result && std::strcmp(Str_ToLower(copy), text) != 0) {
      result = attempt(copy);
   }
   std::free(copy);
   return result;
}

// Reads a file of an open directory, trying the name as given, then in
// upper case, then in lower case.
char *ReadWithCaseRetries(GuessMedia *media, GuessDir *dir, const char *name, size_t *length,
                          Bool lengthOnUdf) {
   char *contents = nullptr;
   auto attempt = [&](const char *variant) {
      return GuessFindFile(media, dir, variant, &contents, length, lengthOnUdf);
   };
   // File names on ISO 9660 media compare ignoring case already, so the
   // other variants could only find what the first did not.
   Bool found = media->kind == GUESS_MEDIA_ISO9660 ? attempt(name)
                                                   : WithCaseVariants(name, attempt);
   return found ? contents : nullptr;
}

char *ReadFileName(GuessMedia *media, const char *path, size_t *length, Bool lengthOnUdf) {
   char *dirPart = nullptr;
   char *base = nullptr;
   File_GetPathName(path, &dirPart, &base);
   char *contents = nullptr;
   GuessDir *dir = Guess_OpenDir(media, dirPart);
   if (dir != nullptr) {
      contents = ReadWithCaseRetries(media, dir, base, length, lengthOnUdf);
      Guess_CloseDir(media, dir);
   }
   std::free(dirPart);
   std::free(base);
   return contents;
}

}  // namespace

bool GuessNamesEqual(const char *a, const char *b) {
   for (;; a++, b++) {
      char x = *a, y = *b;
      if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
      if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
      if (x != y) return false;
      if (x == '\0') return true;
   }
}

GuessDir *GuessOpenDirPath(GuessMedia *media, const char *path) {
   auto *dir = static_cast<GuessDir *>(UtilSafeCalloc0(1, sizeof(GuessDir)));
   switch (media->kind) {
   case GUESS_MEDIA_ISO9660:
      if (Iso9660_OpenDir(media->iso, path, &dir->isoDir) != ISO9660_OK) {
         std::free(dir);
         return nullptr;
      }
      break;
   case GUESS_MEDIA_UDF:
      dir->udfDir = UDF_OpenDir(media->udf, nullptr, path);
      if (dir->udfDir == nullptr) {
         std::free(dir);
         return nullptr;
      }
      break;
   default:
      UnknownKind(__LINE__);
   }
   dir->path = UtilSafeStrdup0(path);
   return dir;
}

Bool GuessFindFile(GuessMedia *media, GuessDir *dir, const char *name, char **contents,
                   size_t *length, Bool lengthOnUdf) {
   switch (media->kind) {
   case GUESS_MEDIA_ISO9660:
      return FindOnIso(media, dir, name, contents, length);
   case GUESS_MEDIA_UDF:
      return FindOnUdf(media, dir, name, contents, length, lengthOnUdf);
   default:
      UnknownKind(__LINE__);
   }
}

char *GuessReadFileNameWithLength(GuessMedia *media, const char *path, size_t *length) {
   return ReadFileName(media, path, length, TRUE);
}

extern "C" {

TRGUEST_API GuessDir *Guess_OpenDir(GuessMedia *media, const char *path) noexcept {
   return WithCaseVariants(path, [media](const char *variant) {
      return GuessOpenDirPath(media, variant);
   });
}

TRGUEST_API const char *Guess_ReadDir(GuessMedia *media, GuessDir *dir) noexcept {
   switch (media->kind) {
   case GUESS_MEDIA_ISO9660:
      return Iso9660_ReadDir(media->iso, dir->isoDir, &dir->isoEntry) == ISO9660_OK
                ? dir->isoEntry.name
                : nullptr;
   case GUESS_MEDIA_UDF:
      return UDF_ReadDir(dir->udfDir);
   default:
      UnknownKind(__LINE__);
   }
}

TRGUEST_API Bool Guess_RewindDir(GuessMedia *media, GuessDir *dir) noexcept {
   switch (media->kind) {
   case GUESS_MEDIA_ISO9660:
      return Iso9660_RewindDir(media->iso, dir->isoDir) == ISO9660_OK ? TRUE : FALSE;
   case GUESS_MEDIA_UDF:
      UDF_RewindDir(dir->udfDir);
      return TRUE;
   default:
      UnknownKind(__LINE__);
   }
}

TRGUEST_API Bool Guess_CloseDir(GuessMedia *media, GuessDir *dir) noexcept {
   if (media == nullptr || dir == nullptr) {
      return FALSE;
   }
   switch (media->kind) {
   case GUESS_MEDIA_ISO9660:
      if (Iso9660_CloseDir(media->iso, dir->isoDir) != ISO9660_OK) {
         return FALSE;
      }
      break;
   case GUESS_MEDIA_UDF:
      if (!UDF_CloseDir(dir->udfDir)) {
         return FALSE;
      }
      break;
   default:
      UnknownKind(__LINE__);
   }
   std::free(dir->path);
   std::free(dir);
   return TRUE;
}

TRGUEST_API char *Guess_ReadFile(GuessMedia *media, GuessDir *dir, const char *name,
                                 size_t *length) noexcept {
   return ReadWithCaseRetries(media, dir, name, length, FALSE);
}

TRGUEST_API char *Guess_ReadFileName(GuessMedia *media, const char *path,
                                     size_t *length) noexcept {
   return ReadFileName(media, path, length, FALSE);
}

TRGUEST_API Bool Guess_FileExists(GuessMedia *media, const char *dirPath,
                                  const char *name) noexcept {
   GuessDir *dir = Guess_OpenDir(media, dirPath);
   if (dir == nullptr) {
      return FALSE;
   }
   Bool found = GuessFindFile(media, dir, name, nullptr, nullptr, FALSE);
   Guess_CloseDir(media, dir);
   return found;
}

TRGUEST_API Bool Guess_FileExistsWithPrefix(GuessMedia *media, const char *dirPath,
                                            const char *prefix) noexcept {
   GuessDir *dir = Guess_OpenDir(media, dirPath);
   if (dir == nullptr) {
      return FALSE;
   }
   Bool found = FALSE;
   const char *name;
   while (!found && (name = Guess_ReadDir(media, dir)) != nullptr) {
      found = StrUtil_CaselessStartsWith(name, prefix);
   }
   Guess_CloseDir(media, dir);
   return found;
}

TRGUEST_API int Guess_ELF_Arch(const char *buffer, size_t length) noexcept {
   if (length < 19) {
      return 0;
   }
   // The low byte of the ELF header's machine field.
   switch (static_cast<signed char>(buffer[18])) {
   case 3:   // Intel 80386
   case 6:   // Intel 80486
   case 7:   // Intel 80860
      return 1;
   case 62:  // AMD x86-64
      return 2;
   default:
      return 0;
   }
}

}  // extern "C"
