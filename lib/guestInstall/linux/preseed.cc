// preseed.cc --
//
//    The preseed file of Ubuntu's installers: answers for the desktop
//    installer and for the text-mode installer, each with the same script
//    that copies the guest tools from their disc into the new system and
//    runs them on first boot.

#include <trplatform/str.h>

#include "linuxAnswerInt.h"

// Copies the tools into the target and has rc.local run them once, with a
// notice on the console login; a debconf value continued over many lines.
#define PRESEED_TOOLS_SCRIPT \
   "mkdir -p /tmp/tarvel-toolsmnt0; \\\n" \
   "for i in sr0 scd0; do mount -t iso9660 /dev/$i /tmp/tarvel-toolsmnt0 && break; done; \\\n" \
   "cp -a /tmp/tarvel-toolsmnt0 /target/opt/tarvel-tools-installer; \\\n" \
   "eject /tmp/tarvel-toolsmnt0; \\\n" \
   "cd /target/opt/tarvel-tools-installer/; \\\n" \
   "mv upgra32 tarvel-tools-upgrader-32; \\\n" \
   "mv upgra64 tarvel-tools-upgrader-64; \\\n" \
   "mv upgrade.sh run_upgrader.sh; \\\n" \
   "chmod +x /target/opt/tarvel-tools-installer/*upgr*; \\\n" \
   "mv /target/etc/rc.local /target/etc/rc.local.backup; \\\n" \
   "sed '$d' /target/etc/rc.local.backup > /target/etc/rc.local; \\\n" \
   "mv /target/etc/rc2.d/S*gdm /target/opt/tarvel-tools-installer || true; \\\n" \
   "mv /target/etc/rc2.d/S*kdm /target/opt/tarvel-tools-installer || true; \\\n" \
   "mv /target/etc/rc2.d/S*kdm-kde4 /target/opt/tarvel-tools-installer || true; \\\n" \
   "mv /target/etc/init/*dm.conf /target/opt/tarvel-tools-installer || true; \\\n" \
   "cp /target/etc/issue /target/etc/issue.backup; \\\n" \
   "echo \"************************************************\" >/target/etc/issue; \\\n" \
   "echo \"************************************************\" >>/target/etc/issue; \\\n" \
   "echo \"            Tarvel Stilmo\" >>/target/etc/issue; \\\n" \
   "echo >>/target/etc/issue; \\\n" \
   "echo \"  PLEASE WAIT! Tarvel Tools is currently being\" >>/target/etc/issue; \\\n" \
   "echo \"  installed on your system. Depending on the\" >>/target/etc/issue; \\\n" \
   "echo \"  version of Ubuntu you are installing, you may\" >>/target/etc/issue; \\\n" \
   "echo \"  log in below and use the system during the\" >>/target/etc/issue; \\\n" \
   "echo \"  installation. Otherwise, please wait for the\" >>/target/etc/issue; \\\n" \
   "echo \"  graphical environment to launch. Thank you.\" >>/target/etc/issue; \\\n" \
   "echo >>/target/etc/issue; \\\n" \
   "echo \"************************************************\" >>/target/etc/issue; \\\n" \
   "echo \"************************************************\" >>/target/etc/issue; \\\n" \
   "chmod +x /target/etc/rc.local; \\\n" \
   "echo \"if [ -x /bin/plymouth ]; then plymouth message --text='Installing Tarvel Tools.  Please wait...'; else chvt 2 </dev/tty0 >/dev/tty0; fi\" >> /target/etc/rc.local; \\\n" \
   "echo \"cd /opt/tarvel-tools-installer\" >> /target/etc/rc.local; \\\n" \
   "echo \"./run_upgrader.sh\" >> /target/etc/rc.local; \\\n" \
   "echo \"mv /etc/rc.local.backup /etc/rc.local\" >> /target/etc/rc.local; \\\n" \
   "echo \"mv /etc/issue.backup /etc/issue\" >> /target/etc/rc.local; \\\n" \
   "echo \"mv /opt/tarvel-tools-installer/S*gdm /etc/rc2.d/ 2>/dev/null || true\" >> /target/etc/rc.local; \\\n" \
   "echo \"mv /opt/tarvel-tools-installer/S*kdm /etc/rc2.d/ 2>/dev/null || true\" >> /target/etc/rc.local; \\\n" \
   "echo \"mv /opt/tarvel-tools-installer/S*kdm-kde4 /etc/rc2.d/ 2>/dev/null || true\" >> /target/etc/rc.local; \\\n" \
   "echo \"mv /opt/tarvel-tools-installer/*dm.conf /etc/init/ 2>/dev/null || true\" >> /target/etc/rc.local; \\\n" \
   "echo \"rm -rf /opt/tarvel-tools-installer\" >> /target/etc/rc.local; \\\n" \
   "echo \"chvt 1 < /dev/tty0 > /dev/tty0\" >> /target/etc/rc.local; \\\n" \
   "echo \"(/sbin/initctl start lightdm || /etc/init.d/gdm restart || /etc/init.d/kdm restart || /etc/init.d/kdm-kde4 restart) 2>/dev/null\" >> /target/etc/rc.local\n"

// A printf format: each "%s" is one value.
#define PRESEED_TEMPLATE \
   "# Text mode installer settings\n" \
   "d-i finish-install/reboot_in_progress note\n" \
   "\n" \
   "# Language selection\n" \
   "ubiquity\tlanguagechooser/language-name\tselect\tEnglish\n" \
   "ubiquity\tcountrychooser/shortlist\tselect\tUS\n" \
   "ubiquity\ttime/zone\tselect\tAmerica/Los_Angeles\n" \
   "ubiquity\tdebian-installer/locale\tselect\ten_US.UTF-8\n" \
   "ubiquity\tlocalechooser/supported-locales\tmultiselect\ten_US.UTF-8\n" \
   "ubiquity\tkeyboard-configuration/modelcode\tstring\tSKIP\n" \
   "console-setup\tconsole-setup/layoutcode\tstring\tus\n" \
   "console-setup\tconsole-setup/layout\tselect\tU.S. English\n" \
   "console-setup\tconsole-setup/variantcode\tselect\tU.S. English\n" \
   "console-setup\tconsole-setup/codeset\tselect\t. Combined - Latin; Slavic Cyrillic; Hebrew; basic Arabic\n" \
   "\n" \
   "# Partitioning\n" \
   "ubiquity\tpartman-auto/init_automatically_partition\tselect\tGuided - use entire disk\n" \
   "ubiquity\tpartman-auto/disk\tstring\t/dev/sda\n" \
   "ubiquity\tpartman-auto/method\tstring\tregular\n" \
   "ubiquity\tpartman-auto/choose_recipe\tselect\tAll files in one partition (recommended for new users)\n" \
   "ubiquity\tpartman/confirm_write_new_label\tboolean\ttrue\n" \
   "ubiquity\tpartman/choose_partition\tselect\tFinish partitioning and write changes to disk\n" \
   "ubiquity\tpartman/confirm\tboolean\ttrue\n" \
   "ubiquity\tpartman/confirm_nooverwrite\tboolean\ttrue\n" \
   "\n" \
   "# User name and password\n" \
   "ubiquity\tpasswd/user-fullname\tstring\t%s\n" \
   "ubiquity\tpasswd/username\tstring\t%s\n" \
   "ubiquity\tpasswd/user-password-crypted password %s\n" \
   "ubiquity\tuser-setup/encrypt-home boolean false\n" \
   "\n" \
   "# Miscellaneous\n" \
   "ubiquity\tubiquity/%s boolean true\n" \
   "ubiquity\tmigration-assistant/partitions\tmultiselect\t\n" \
   "ubiquity\tubiquity/summary\tnote\n" \
   "ubiquity\tapt-setup/security-updates-failed\tnote\n" \
   "ubiquity\tubiquity/success_command\tstring \\\n" \
   PRESEED_TOOLS_SCRIPT \
   "d-i    debian-installer/splash boolean false\n" \
   "d-i\tpreseed/late_command\tstring \\\n" \
   PRESEED_TOOLS_SCRIPT

char *FormatPreseed(const LinuxAnswerValues &in, size_t *length) {
   // Debconf takes the value verbatim up to the line's end; the quoting
   // only keeps double quotes apart from the installer's own.
   return Str_Asprintf(length, PRESEED_TEMPLATE, quoteDoubleQuotes(in.fullName).c_str(),
                       in.userName, cryptPasswordMd5(in.userPassword),
                       in.powerOff ? "poweroff" : "reboot");
}
