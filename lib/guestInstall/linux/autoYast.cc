// autoYast.cc --
//
//    The AutoYaST profile of SUSE and SLES 10: software patterns per
//    product, accounts with encrypted passwords, and the scripts that copy
//    the guest tools from their disc during installation and run them on
//    first boot.

#include <trplatform/str.h>
#include <trplatform/strutil.h>

#include <trguest/guess.h>

#include "../installFront.h"
#include "linuxAnswerInt.h"

namespace {

#define AUTOYAST_PROFILE_NS "http://www.suse.com/1.0/yast2ns"
#define AUTOYAST_CONFIG_NS "http://www.suse.com/1.0/configns"

// A printf format: each "%s" is one value. The full name sits in a CDATA
// section, which the name check keeps free of "]]>".
#define AUTOYAST_TEMPLATE \
   "<?xml version=\"1.0\"?>\n" \
   "<!DOCTYPE profile SYSTEM \"/usr/share/autoinstall/dtd/profile.dtd\">\n" \
   "<profile xmlns=\"" AUTOYAST_PROFILE_NS "\" xmlns:config=\"" AUTOYAST_CONFIG_NS "\">\n" \
   "  <partitioning config:type=\"list\">\n" \
   "    <drive>\n" \
   "      <use>all</use>\n" \
   "    </drive>\n" \
   "  </partitioning>\n" \
   "  <software>\n" \
   "    <patterns config:type=\"list\">\n" \
   "%s    </patterns>\n" \
   "  </software>\n" \
   "  <general>\n" \
   "    <mode>\n" \
   "      <confirm config:type=\"boolean\">false</confirm>\n" \
   "      <final_halt config:type=\"boolean\">%s</final_halt>\n" \
   "    </mode>\n" \
   "  </general>\n" \
   "  <configure>\n" \
   "    <x11>\n" \
   "      <display_manager>%s</display_manager>\n" \
   "    </x11>\n" \
   "    <networking>\n" \
   "      <interfaces config:type=\"list\">\n" \
   "        <interface>\n" \
   "          <bootproto>dhcp</bootproto>\n" \
   "          <device>eth0</device>\n" \
   "          <startmode>onboot</startmode>\n" \
   "        </interface>\n" \
   "      </interfaces>\n" \
   "    </networking>\n" \
   "    <users config:type=\"list\">\n" \
   "      <user>\n" \
   "        <username>root</username>\n" \
   "        <encrypted config:type=\"boolean\">true</encrypted>\n" \
   "        <user_password>%s</user_password>\n" \
   "        <forename/>\n" \
   "        <surname/>\n" \
   "      </user>\n" \
   "      <user>\n" \
   "        <encrypted config:type=\"boolean\">true</encrypted>\n" \
   "        <user_password>%s</user_password>\n" \
   "        <username>%s</username>\n" \
   "        <forename><![CDATA[%s]]></forename>\n" \
   "        <surname/>\n" \
   "      </user>\n" \
   "    </users>\n" \
   "    <scripts>\n" \
   "      <chroot-scripts config:type=\"list\">\n" \
   "         <listentry>\n" \
   "            <chrooted config:type=\"boolean\">true</chrooted>\n" \
   "            <filename>tools-install-pre.sh</filename>\n" \
   "            <interpreter>shell</interpreter>\n" \
   "            <source><![CDATA[\n" \
   "mkdir -p /tmp/tarvel-toolsmnt0\n" \
   "mount -t iso9660 /dev/%s /tmp/tarvel-toolsmnt0\n" \
   "cp -a /tmp/tarvel-toolsmnt0 /opt/tarvel-tools-installer\n" \
   "umount /tmp/tarvel-toolsmnt0\n" \
   "rmdir /tmp/tarvel-toolsmnt0\n" \
   "cd /opt/tarvel-tools-installer\n" \
   "mv upgra32 tarvel-tools-upgrader-32\n" \
   "mv upgra64 tarvel-tools-upgrader-64\n" \
   "mv upgrade.sh run_upgrader.sh\n" \
   "chmod +x /opt/tarvel-tools-installer/*upgr*\n" \
   "mv /etc/rc.d/rc5.d/*xdm /opt/tarvel-tools-installer\n" \
   "chkconfig --add syslog autoyast || true\n" \
   "]]></source>\n" \
   "         </listentry>\n" \
   "      </chroot-scripts>\n" \
   "      <init-scripts config:type=\"list\">\n" \
   "        <script>\n" \
   "          <filename>tools-install.sh</filename>\n" \
   "          <interpreter>shell</interpreter>\n" \
   "          <source><![CDATA[\n" \
   "chvt 1 < /dev/tty0 > /dev/tty0 || true\n" \
   "echo >/dev/tty0\n" \
   "echo \"Installing Tarvel Tools, please wait...\" >/dev/tty0\n" \
   "echo >/dev/tty0\n" \
   "cd /opt/tarvel-tools-installer\n" \
   "for s in sr0 sr1; do eject -s /dev/$s; done\n" \
   "./run_upgrader.sh\n" \
   "mv /opt/tarvel-tools-installer/*xdm /etc/rc.d/rc5.d\n" \
   "rm -rf /opt/tarvel-tools-installer\n" \
   "/etc/init.d/xdm start || true\n" \
   "]]></source>\n" \
   "        </script>\n" \
   "      </init-scripts>\n" \
   "    </scripts>\n" \
   "  </configure>\n" \
   "</profile>\n"

#define PATTERN(name) "      <pattern>" name "</pattern>\n"

// Desktop, server 11, older server and openSUSE selections.
constexpr char kPatternsDesktop[] = PATTERN("default") PATTERN("desktop-gnome") PATTERN("Basis-Devel");
constexpr char kPatternsSles11[] = PATTERN("base") PATTERN("gnome") PATTERN("Basis-Devel");
constexpr char kPatternsSles[] = PATTERN("default") PATTERN("gnome") PATTERN("Basis-Devel");
constexpr char kPatternsOpenSuse[] = PATTERN("kde4") PATTERN("enhanced_base") PATTERN("devel_C_C++");

const char *Patterns(const LinuxAnswerValues &in) {
   if (in.subVersion == GUESS_VERSION_SLED_ALL) {
      return kPatternsDesktop;
   }
   if (StrUtil_StartsWith(in.guestOS, "sles11")) {
      return kPatternsSles11;
   }
   return StrUtil_StartsWith(in.guestOS, "sles") ? kPatternsSles : kPatternsOpenSuse;
}

}  // namespace

char *FormatAutoYast(const LinuxAnswerValues &in, size_t *length) {
   const bool sles = StrUtil_StartsWith(in.guestOS, "sles");
   // SLES 10 sees the tools disc on the old IDE driver's name.
   const bool ide = GetLinuxFlavour(in.guestOS) == LINUX_FLAVOUR_SLES10;
   return Str_Asprintf(length, AUTOYAST_TEMPLATE, Patterns(in), in.powerOff ? "true" : "false",
                       sles ? "gdm" : "kdm", in.rootCrypt, in.userCrypt, in.userName,
                       in.fullName, ide ? "hda" : "sr0");
}
