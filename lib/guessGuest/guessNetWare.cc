// guessNetWare.cc --
//
//    NetWare media: a top-level entry of the release.

#include <strings.h>

#include <trguest/guess.h>

namespace {

struct NetWareRelease {
   const char *entry;  // root entry, compared without regard to case
   const char *guestOS;
};

constexpr NetWareRelease kReleases[] = {
   {"netware6", "netware6"},
   {"nw65os", "netware6"},
   {"nw51", "netware5"},
};

}  // namespace

extern "C" TRGUEST_API Bool Guess_NetWare(GuessMedia *media, GuessInfo *info) noexcept {
   GuessDir *root = Guess_OpenDir(media, "/");
   if (root == nullptr) {
      return FALSE;
   }
   const char *name;
   while ((name = Guess_ReadDir(media, root)) != nullptr) {
      for (const NetWareRelease &r : kReleases) {
         if (strcasecmp(name, r.entry) == 0) {
            Guess_CloseDir(media, root);
            info->guestOS = r.guestOS;
            info->subVersion = GUESS_VERSION_UNKNOWN;
            return TRUE;
         }
      }
   }
   Guess_CloseDir(media, root);
   return info->guestOS != nullptr;
}
