// linuxMediaInt.h --
//
//    Internal interface of the Linux installation media: finding a disc's
//    isolinux configuration on an image or a host tree, reading its first
//    complete boot entry, and the text of the new configuration that boots
//    that entry's kernel and initrd unattended.

#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

#include <trguest/autoinstall.h>
#include <trplatform/iso9660.h>

// Bytes of a candidate configuration file that are read and parsed.
constexpr size_t kIsolinuxConfigMax = 4096;
// Bound of an append value and of the append text rebuilt from it, NUL
// included.
constexpr size_t kAppendMax = 512;

// The first complete boot entry of a configuration. Each text is owned and
// null until found.
typedef struct IsolinuxBootEntry {
   char *kernel;   // the text behind "kernel "
   char *initrd;   // the text behind the append line's "initrd="
   char *append;   // the other options of the append line, each followed by a space
} IsolinuxBootEntry;

// Whether two names are equal ignoring ASCII case (whatever the locale).
bool SameNameIgnoringCase(const char *a, const char *b);

// dir + "/" + name, newly allocated.
char *joinPath(const char *dir, const char *name);

// Searches the host tree below dir (null: "/") depth first, in listing
// order, for an entry whose name equals name ignoring case. TRUE and its
// full path (newly allocated) in *path on a hit.
Bool findFileInDisk(const char *name, const char *dir, char **path);

// The same search in an image below dir (null: "/"). On a hit returns the
// entry (newly allocated, free()), stores the in-image path in *path and
// leaves the directory that holds the entry open in *dirHandle, positioned
// after the entry; null when nothing matches.
Iso9660DirEntry *findFileInIso(Iso9660Image *iso, const char *name, const char *dir,
                               Iso9660DirHandle *dirHandle, char **path);

// Reads the first label that gives a kernel and an append line holding an
// initrd. The three outputs are set to null first, and hold what was found
// (newly allocated) even when the result is FALSE.
Bool parseIsolinuxConfig(const char *text, char **kernel, char **initrd, char **append);

// Rebuilds *append from its space-separated tokens without the token
// "askmethod", each kept token followed by one space.
void removeAskmethod(char **append);

// The isolinux.cfg of the new boot directory, newly allocated.
char *FormatIsolinuxConfig(const char *kernelBase, const char *initrdBase, const char *append,
                           const char *bootOption);

// Releases the three texts of an entry and sets them to null.
void FreeBootEntry(IsolinuxBootEntry *entry);

// A newly allocated text owned for the length of a scope.
struct FreeText {
   void operator()(char *p) const { std::free(p); }
};
using OwnedText = std::unique_ptr<char, FreeText>;
