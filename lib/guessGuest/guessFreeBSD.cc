// guessFreeBSD.cc --
//
//    FreeBSD media: the kernel image, 32-bit or 64-bit by its ELF header.

#include <cstdlib>

#include <trguest/guess.h>

#include "guessInt.h"

namespace {

// Cheapest and most common location first. The last form, with a trailing
// dot, is how some ISO 9660 readers present a name without extension.
constexpr const char *kKernelPaths[] = {
   "/kernel",
   "/boot/kernel/kernel",
   "/boot/kernel/kernel.",
};

}  // namespace

extern "C" TRGUEST_API Bool Guess_FreeBSD(GuessMedia *media, GuessInfo *info) noexcept {
   for (const char *path : kKernelPaths) {
      size_t length = 0;
      // The length is needed on UDF media too, to look at the ELF header.
      char *kernel = GuessReadFileNameWithLength(media, path, &length);
      if (kernel == nullptr) {
         continue;
      }
      info->guestOS = Guess_ELF_Arch(kernel, length) == 2 ? "freeBSD-64" : "freeBSD";
      info->subVersion = GUESS_VERSION_UNKNOWN;
      std::free(kernel);
      return TRUE;
   }
   return FALSE;
}
