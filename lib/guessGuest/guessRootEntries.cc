// guessRootEntries.cc --
//
//    Marker entries of the root directory, for the detectors that recognise
//    media by a top-level name.

#include <trguest/guess.h>

#include "guessInt.h"

int GuessFirstRootEntryOf(GuessMedia *media, const char *const *names, size_t count) {
   GuessDir *root = Guess_OpenDir(media, "/");
   if (root == nullptr) {
      return -2;
   }
   int found = -1;
   const char *entry;
   while (found < 0 && (entry = Guess_ReadDir(media, root)) != nullptr) {
      for (size_t i = 0; i < count; i++) {
         if (GuessNamesEqual(entry, names[i])) {
            found = static_cast<int>(i);
            break;
         }
      }
   }
   Guess_CloseDir(media, root);
   return found;
}
