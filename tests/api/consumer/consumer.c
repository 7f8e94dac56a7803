/*
 * consumer.c --
 *
 *    A program of a library user, built against an installed tree (once
 *    through pkg-config, once through find_package). It validates a user
 *    name, which needs the message catalogue of the installed tree, and
 *    asks the guest OS table of the platform library.
 */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <trguest/autoinstall.h>
#include <trguest/iniutil.h>
#include <trplatform/guestos.h>

int main(void) {
   GuessInfo info;
   char *message = NULL;
   AutoInstallTextResult result;

   memset(&info, 0, sizeof info);
   info.guestOS = "ubuntu";
   result = AutoInstall_ValidateShortName("linux", &info, "1abc", &message);
   if (result != TEXT_BAD_UBUNTU_USERNAME || message == NULL) {
      fprintf(stderr, "unexpected validation result %d\n", (int)result);
      return 1;
   }
   printf("%s\n", message);
   free(message);
   printf("vista or later: %d\n", GuestOS_IsWinVistaOrHigher(GuestOS_GetOSIDByName("windows7-64")));
   return 0;
}
