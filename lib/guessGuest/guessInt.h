// guessInt.h --
//
//    Internal interface of guest OS detection: the access layer's helpers,
//    the detectors' common last step and the key=value scanner the Windows
//    detectors share.

#pragma once

#include <trguest/guess.h>

// Source path that NOT_REACHED stops of detection name.
#define GUESS_SOURCE_PATH "lib/guessGuest/guess"

// The common last step of a detector in the chain: with an identifier,
// writes guestOS and subVersion and returns TRUE; without one, leaves the
// record as it is and returns whether guestOS is already set (FALSE within
// the chain, which stops at the first detector that sets it).
inline Bool GuessFinish(GuessInfo *info, const char *guestOS, uint32_t sub) {
   if (guestOS == nullptr) {
      return info->guestOS != nullptr ? TRUE : FALSE;
   }
   info->guestOS = guestOS;
   info->subVersion = sub;
   return TRUE;
}

// Whether two names on the image are the same: ASCII letters compare
// without regard to case, every other byte exactly, whatever the process's
// locale.
bool GuessNamesEqual(const char *a, const char *b);

// One attempt at opening a directory of the image (no case retries).
GuessDir *GuessOpenDirPath(GuessMedia *media, const char *path);

// Looks `name` up in an open directory, comparing ASCII letters without
// regard to case on ISO 9660 media (exactly on UDF media). With contents
// NULL it only reports whether the name exists; otherwise *contents
// receives the whole file with a NUL added (the caller frees it). length
// (may be NULL) receives the bytes in the buffer, NUL included, on ISO 9660
// media; on UDF media only when lengthOnUdf is set.
Bool GuessFindFile(GuessMedia *media, GuessDir *dir, const char *name, char **contents,
                   size_t *length, Bool lengthOnUdf);

// Guess_ReadFileName, but reporting the length on UDF media too.
char *GuessReadFileNameWithLength(GuessMedia *media, const char *path, size_t *length);

// Scans `key = value` text at p; see guessKeyValue.cc.
Bool GuessParseKeyValue(const char *p, char **key, char **value);

// Walks the root directory in directory order and returns the index in
// `names` of the first entry whose name equals one of them ignoring case;
// -1 when none does, -2 when the root directory does not open.
int GuessFirstRootEntryOf(GuessMedia *media, const char *const *names, size_t count);
