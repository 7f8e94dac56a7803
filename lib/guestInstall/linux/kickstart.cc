// kickstart.cc --
//
//    The kickstart file of the Red Hat family: which lines of the template
//    are active for an installer generation (old installer, product key,
//    new syntax, BIOS boot partition), the package selection, and the
//    first-boot script that installs the guest tools.

#include <trguest/guess.h>
#include <trplatform/str.h>
#include <trplatform/strutil.h>

#include "../installFront.h"
#include "linuxAnswerInt.h"

namespace {

// A printf format, so that the compiler checks its values; each "%s" is one
// value and "%%" one "%".
#define KICKSTART_TEMPLATE \
   "lang en_US\n" \
   "%slangsupport --default en_US\n" \
   "network --bootproto dhcp\n" \
   "cdrom\n" \
   "keyboard us\n" \
   "zerombr %syes\n" \
   "clearpart --all --initlabel\n" \
   "part /boot --size 300\n" \
   "part swap --recommended\n" \
   "part / --size 3000 --grow\n" \
   "%spart biosboot --fstype=biosboot --size=1\n" \
   "install\n" \
   "%smouse generic3ps/2\n" \
   "firstboot --disable\n" \
   "firewall --enabled\n" \
   "timezone --utc America/Los_Angeles\n" \
   "xconfig --startxonboot %s--resolution=800x600\n" \
   "rootpw --iscrypted %s\n" \
   "%s\n" \
   "auth --useshadow --enablemd5\n" \
   "bootloader --location=mbr\n" \
   "%skey %s\n" \
   "%%packages%s\n" \
   "python\n" \
   "%s\n" \
   "%s%%end\n" \
   "%%post\n" \
   "cp /boot/grub/menu.lst /boot/grub/grub.conf.bak\n" \
   "sed -i 's/ rhgb//' /boot/grub/grub.conf\n" \
   "if [ -f /etc/rc.d/rc.local ]; then cp /etc/rc.d/rc.local /etc/rc.d/rc.local.backup; fi\n" \
   "cat >>/etc/rc.d/rc.local <<EOF\n" \
   "#!/bin/bash\n" \
   "echo\n" \
   "echo \"Installing Tarvel Tools, please wait...\"\n" \
   "if [ -x /usr/sbin/getenforce ]; then oldenforce=\\$(/usr/sbin/getenforce); /usr/sbin/setenforce permissive || true; fi\n" \
   "mkdir -p /tmp/tarvel-toolsmnt0\n" \
   "for i in hda sr0 scd0; do mount -t iso9660 /dev/\\$i /tmp/tarvel-toolsmnt0 && break; done\n" \
   "cp -a /tmp/tarvel-toolsmnt0 /opt/tarvel-tools-installer\n" \
   "chmod 755 /opt/tarvel-tools-installer\n" \
   "cd /opt/tarvel-tools-installer\n" \
   "mv upgra32 tarvel-tools-upgrader-32\n" \
   "mv upgra64 tarvel-tools-upgrader-64\n" \
   "mv upgrade.sh run_upgrader.sh\n" \
   "chmod +x /opt/tarvel-tools-installer/*upgr*\n" \
   "umount /tmp/tarvel-toolsmnt0\n" \
   "rmdir /tmp/tarvel-toolsmnt0\n" \
   "if [ -x /usr/bin/rhgb-client ]; then /usr/bin/rhgb-client --quit; fi\n" \
   "cd /opt/tarvel-tools-installer\n" \
   "for s in sr0 sr1; do eject -s /dev/\\$s; done\n" \
   "./run_upgrader.sh\n" \
   "if [ -f /etc/rc.d/rc.local.backup ]; then mv /etc/rc.d/rc.local.backup /etc/rc.d/rc.local; else rm -f /etc/rc.d/rc.local; fi\n" \
   "rm -rf /opt/tarvel-tools-installer\n" \
   "sed -i 's/3:initdefault/5:initdefault/' /etc/inittab\n" \
   "mv /boot/grub/grub.conf.bak /boot/grub/grub.conf\n" \
   "if [ -x /usr/sbin/getenforce ]; then /usr/sbin/setenforce \\$oldenforce || true; fi\n" \
   "if [ -x /bin/systemd ]; then systemctl restart prefdm.service; else telinit 5; fi\n" \
   "EOF\n" \
   "chmod 755 /etc/rc.d/rc.local\n" \
   "if [ -x /bin/systemd ]; then systemctl enable rc-local.service; fi\n" \
   "/usr/sbin/adduser %s\n" \
   "/usr/sbin/usermod -p '%s' %s\n" \
   "/usr/bin/chfn -f \"%s\" %s\n" \
   "%s%%end\n"

constexpr char kListA[] =
   "@ Desktop\n@ General Purpose Desktop\n@ Internet Browser\n@ X Window System\n"
   "@ Fonts\n@ Printing client\ngcc\nmake\npatch\nbinutils\nkernel-devel\n";
constexpr char kListB[] =
   "@ X Window System\n@ GNOME Desktop Environment\n@ Graphical Internet\n"
   "@ Development Tools\n@ Fonts\n";
constexpr char kListC[] =
   "@ X Window System\n@ GNOME Desktop Environment\n@ Graphical Internet\n"
   "@ Development Tools\n";
constexpr char kListD[] =
   "@ Chinese-support\n@ Japanese-support\n@ Korean-support\n@ general-desktop\n"
   "@ internet-browser\n@ basic-desktop\n@ desktop-platform\n@ x11\n";
constexpr char kListE[] =
   "@ base-x\n@ Chinese-support\n@ Japanese-support\n@ Korean-support\n@ web-browsers\n"
   "@ kde-desktop\n";

// Fedora 17's installer finds the kickstart on the disc only under the
// device path.
constexpr char kFedora17BootOption[] = "ks=cdrom:/dev/cdrom:/ks.cfg";

// What the guest id and sub-code say about the installer.
struct KickstartVariant {
   bool oldInstaller;   // langsupport, mouse, --resolvedeps
   bool keyLine;        // asks for a product key
   bool newSyntax;      // %end lines, no zerombr/xconfig arguments
   bool biosBoot;       // GPT disks need a BIOS boot partition
   const char *packages;
};

bool IsFedora14OrLater(uint32_t sub) {
   return sub == GUESS_VERSION_FEDORA_14_TO_16 || sub == GUESS_VERSION_FEDORA_17 ||
          sub == GUESS_VERSION_FEDORA_18_OR_HIGHER;
}

KickstartVariant GetVariant(const char *guestOS, uint32_t sub) {
   const bool rhel = StrUtil_StartsWith(guestOS, "rhel");
   const bool centos = sub >= GUESS_VERSION_CENTOS_3 && sub <= GUESS_VERSION_CENTOS_6;
   const bool asianux = StrUtil_StartsWith(guestOS, "asianux");
   // The digit follows the prefix; a shorter id reads its terminating NUL,
   // which gives a negative (old) version.
   bool haveMajor = true;
   int major = 0;
   if (rhel) {
      major = guestOS[4] - '0';
   } else if (centos) {
      major = static_cast<int>(sub - GUESS_VERSION_CENTOS_3) + 3;
   } else if (asianux) {
      major = guestOS[7] - '0';
   } else {
      haveMajor = false;
   }
   const bool enterprise = rhel || centos;
   const bool fedora14 = IsFedora14OrLater(sub);

   KickstartVariant v{};
   v.oldInstaller = enterprise && major <= 4;
   v.keyLine = enterprise && major >= 5;
   v.newSyntax = (enterprise && major >= 6) || (asianux && haveMajor && major >= 4) || fedora14;
   v.biosBoot = fedora14;
   if (asianux && haveMajor && major >= 4) {
      v.packages = kListD;
   } else if (asianux) {
      v.packages = kListE;
   } else if (enterprise && major >= 6) {
      v.packages = kListA;
   } else if (sub == GUESS_VERSION_FEDORA_9_TO_12 || fedora14) {
      v.packages = kListB;
   } else {
      v.packages = kListC;
   }
   return v;
}

// "" keeps a line (or the rest of it) active, "#" comments it out.
const char *ActiveIf(bool active) { return active ? "" : "#"; }
const char *CommentIf(bool comment) { return comment ? "#" : ""; }

}  // namespace

char *FormatKickstart(const LinuxAnswerValues &in, size_t *length) {
   const KickstartVariant v = GetVariant(in.guestOS, in.subVersion);
   if (in.subVersion == GUESS_VERSION_FEDORA_17) {
      // Stays changed for the rest of the process: the boot media written
      // later for this guest must point the installer at the same place.
      linuxFlavourTable[LINUX_FLAVOUR_REDHAT].bootOption = kFedora17BootOption;
   }
   const bool haveKey = in.installKey != nullptr && in.installKey[0] != '\0';
   return Str_Asprintf(length, KICKSTART_TEMPLATE,
                       ActiveIf(v.oldInstaller),           // langsupport
                       CommentIf(v.newSyntax),             // zerombr
                       ActiveIf(v.biosBoot),               // part biosboot
                       ActiveIf(v.oldInstaller),           // mouse
                       CommentIf(v.newSyntax),             // xconfig --resolution
                       in.rootCrypt,
                       in.powerOff ? "poweroff" : "reboot",
                       ActiveIf(v.keyLine),
                       haveKey ? in.installKey : "--skip",
                       v.oldInstaller ? " --resolvedeps" : "",
                       v.packages,
                       ActiveIf(v.newSyntax),              // %end of %packages
                       in.userName,
                       in.userCrypt, in.userName,
                       QuoteForShell(in.fullName).c_str(), in.userName,
                       ActiveIf(v.newSyntax));             // %end of %post
}
