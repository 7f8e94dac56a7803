// answer_files_test.cc --
//
//    The Linux answer files written whole, one expected text per installer
//    family with each variant's values put in, the password hashes checked
//    with crypt(3), and each file read by the program that will read it:
//    debconf, perl, xmllint and sh.

#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>

#include "crypt_check.hh"
#include "guestInstall/installFront.h"
#include "testsupport.hh"

namespace {

// User texts that look like formats, quoting and interpolation, and that
// are not ASCII: each must reach the guest exactly as typed.
const std::string kUser = "ann%n%s\\\"\xc3\xbc";
const std::string kFullName = "Ann \"Q\" O'Neil %s %n \\ $HOME @ARGV `id` \xc3\xbc";
const std::string kUserPassword = "pa$$word%s\"@x\\";
const std::string kRootPassword = "r00t%n'@{x}`";
constexpr char kCrypt[] = "<crypt>";

// The expected texts mark each value with "{}".
std::string Fill(const std::string &text, const std::vector<std::string> &values) {
   std::string out;
   size_t from = 0, used = 0;
   for (size_t at; (at = text.find("{}", from)) != std::string::npos; from = at + 2) {
      out += text.substr(from, at - from);
      out += used < values.size() ? values[used] : "<missing value>";
      used++;
   }
   EXPECT_EQ(used, values.size());
   return out + text.substr(from);
}

// Checks each MD5-crypt string of text, in order, against its password and
// puts kCrypt in its place.
std::string CheckCrypts(const std::string &text, const std::vector<std::string> &passwords) {
   static const std::regex hash(R"(\$1\$[./0-9A-Za-z]{8}\$[./0-9A-Za-z]{22})");
   std::string out;
   size_t n = 0;
   auto last = text.cbegin();
   for (std::sregex_iterator it(text.begin(), text.end(), hash), end; it != end; ++it, ++n) {
      EXPECT_LT(n, passwords.size());
      if (n < passwords.size()) {
         EXPECT_TRUE(linuxtest::CryptVerifies(passwords[n], it->str())) << it->str();
      }
      out.append(last, (*it)[0].first);
      out += kCrypt;
      last = (*it)[0].second;
   }
   EXPECT_EQ(n, passwords.size());
   return out.append(last, text.cend());
}

// Writes one answer file over a longer stale one and returns its text.
std::string Prepare(const trtest::TempDir &dir, const char *guestOS, uint32_t sub,
                    const char *relativePath, const char *key = nullptr, bool powerOff = false) {
   const std::string path = dir.file(std::string("out/") + relativePath);
   trtest::WriteFile(path, std::string(20000, 'x'));
   EXPECT_TRUE(AutoInstall_PrepareAnswerFileEx_Linux(
      guestOS, sub, dir.file("out").c_str(), kUser.c_str(), kFullName.c_str(),
      kUserPassword.c_str(), kRootPassword.c_str(), key, powerOff ? TRUE : FALSE))
      << guestOS;
   return trtest::ReadFile(path);
}

constexpr char kKickstart[] = R"KS(lang en_US
{}langsupport --default en_US
network --bootproto dhcp
cdrom
keyboard us
zerombr {}yes
clearpart --all --initlabel
part /boot --size 300
part swap --recommended
part / --size 3000 --grow
{}part biosboot --fstype=biosboot --size=1
install
{}mouse generic3ps/2
firstboot --disable
firewall --enabled
timezone --utc America/Los_Angeles
xconfig --startxonboot {}--resolution=800x600
rootpw --iscrypted {}
{}
auth --useshadow --enablemd5
bootloader --location=mbr
{}key {}
%packages{}
python
{}
{}%end
%post
cp /boot/grub/menu.lst /boot/grub/grub.conf.bak
sed -i 's/ rhgb//' /boot/grub/grub.conf
if [ -f /etc/rc.d/rc.local ]; then cp /etc/rc.d/rc.local /etc/rc.d/rc.local.backup; fi
cat >>/etc/rc.d/rc.local <<EOF
#!/bin/bash
echo
echo "Installing Tarvel Tools, please wait..."
if [ -x /usr/sbin/getenforce ]; then oldenforce=\$(/usr/sbin/getenforce); /usr/sbin/setenforce permissive || true; fi
mkdir -p /tmp/tarvel-toolsmnt0
for i in hda sr0 scd0; do mount -t iso9660 /dev/\$i /tmp/tarvel-toolsmnt0 && break; done
cp -a /tmp/tarvel-toolsmnt0 /opt/tarvel-tools-installer
chmod 755 /opt/tarvel-tools-installer
cd /opt/tarvel-tools-installer
mv upgra32 tarvel-tools-upgrader-32
mv upgra64 tarvel-tools-upgrader-64
mv upgrade.sh run_upgrader.sh
chmod +x /opt/tarvel-tools-installer/*upgr*
umount /tmp/tarvel-toolsmnt0
rmdir /tmp/tarvel-toolsmnt0
if [ -x /usr/bin/rhgb-client ]; then /usr/bin/rhgb-client --quit; fi
cd /opt/tarvel-tools-installer
for s in sr0 sr1; do eject -s /dev/\$s; done
./run_upgrader.sh
if [ -f /etc/rc.d/rc.local.backup ]; then mv /etc/rc.d/rc.local.backup /etc/rc.d/rc.local; else rm -f /etc/rc.d/rc.local; fi
rm -rf /opt/tarvel-tools-installer
sed -i 's/3:initdefault/5:initdefault/' /etc/inittab
mv /boot/grub/grub.conf.bak /boot/grub/grub.conf
if [ -x /usr/sbin/getenforce ]; then /usr/sbin/setenforce \$oldenforce || true; fi
if [ -x /bin/systemd ]; then systemctl restart prefdm.service; else telinit 5; fi
EOF
chmod 755 /etc/rc.d/rc.local
if [ -x /bin/systemd ]; then systemctl enable rc-local.service; fi
/usr/sbin/adduser {}
/usr/sbin/usermod -p '{}' {}
/usr/bin/chfn -f "{}" {}
{}%end
)KS";

constexpr char kListA[] =
   "@ Desktop\n@ General Purpose Desktop\n@ Internet Browser\n@ X Window System\n@ Fonts\n"
   "@ Printing client\ngcc\nmake\npatch\nbinutils\nkernel-devel\n";
constexpr char kListB[] = "@ X Window System\n@ GNOME Desktop Environment\n@ Graphical Internet\n"
                          "@ Development Tools\n@ Fonts\n";
constexpr char kListC[] = "@ X Window System\n@ GNOME Desktop Environment\n@ Graphical Internet\n"
                          "@ Development Tools\n";
constexpr char kListD[] = "@ Chinese-support\n@ Japanese-support\n@ Korean-support\n"
                          "@ general-desktop\n@ internet-browser\n@ basic-desktop\n"
                          "@ desktop-platform\n@ x11\n";
constexpr char kListE[] = "@ base-x\n@ Chinese-support\n@ Japanese-support\n@ Korean-support\n"
                          "@ web-browsers\n@ kde-desktop\n";

TEST(LinuxAnswerFile, KickstartVariants) {
   // "" leaves a line active, "#" comments it out.
   const struct {
      const char *id;
      uint32_t sub;
      const char *key;
      bool powerOff;
      const char *lang, *zerombr, *biosboot, *mouse, *xconfig, *keyOn, *keyValue, *resolvedeps,
         *packages, *end;
   } cases[] = {
      {"rhel4", 0, nullptr, false, "", "", "#", "", "", "#", "--skip", " --resolvedeps", kListC, "#"},
      {"rhel5", 0, "AB%s-12\\", true, "#", "", "#", "#", "", "", "AB%s-12\\", "", kListC, "#"},
      {"rhel6-64", 0, "", false, "#", "#", "#", "#", "#", "", "--skip", "", kListA, ""},
      {"centos", GUESS_VERSION_CENTOS_6, nullptr, false, "#", "#", "#", "#", "#", "", "--skip", "",
       kListA, ""},
      {"centos-64", GUESS_VERSION_UNKNOWN, nullptr, false, "#", "", "#", "#", "", "#", "--skip", "",
       kListC, "#"},
      {"asianux3", 0, nullptr, false, "#", "", "#", "#", "", "#", "--skip", "", kListE, "#"},
      {"asianux4-64", 0, nullptr, false, "#", "#", "#", "#", "#", "#", "--skip", "", kListD, ""},
      {"fedora", GUESS_VERSION_FEDORA_9_TO_12, nullptr, false, "#", "", "#", "#", "", "#", "--skip",
       "", kListB, "#"},
      {"fedora-64", GUESS_VERSION_FEDORA_14_TO_16, nullptr, true, "#", "#", "", "#", "#", "#",
       "--skip", "", kListB, ""},
   };
   const std::string fullNameForShell = R"(Ann \"Q\" O'Neil %s %n \\ \$HOME @ARGV \`id\` )" "\xc3\xbc";
   for (const auto &c : cases) {
      trtest::TempDir dir;
      const std::string text =
         CheckCrypts(Prepare(dir, c.id, c.sub, "ks.cfg", c.key, c.powerOff),
                     {kRootPassword, kUserPassword});
      EXPECT_EQ(text, Fill(kKickstart, {c.lang, c.zerombr, c.biosboot, c.mouse, c.xconfig, kCrypt,
                                        c.powerOff ? "poweroff" : "reboot", c.keyOn, c.keyValue,
                                        c.resolvedeps, c.packages, c.end, kUser, kCrypt, kUser,
                                        fullNameForShell, kUser, c.end}))
         << c.id;

      // The shell that runs the post script hands chfn the name as typed.
      const size_t chfn = text.find("/usr/bin/chfn ");
      ASSERT_NE(chfn, std::string::npos);
      const size_t args = chfn + std::strlen("/usr/bin/chfn ");
      const size_t user = text.find(" " + kUser + "\n", args);
      trtest::WriteFile(dir.file("chfn.sh"),
                        "set -- " + text.substr(args, user - args) + "\nprintf '%s' \"$2\"\n");
      EXPECT_EQ(trtest::RunCommand({"sh", dir.file("chfn.sh")}).output, kFullName) << c.id;
   }
}

TEST(LinuxAnswerFile, Fedora17MovesTheKickstartBootOptionForGood) {
   LinuxFlavourInfo &row = linuxFlavourTable[LINUX_FLAVOUR_REDHAT];
   const char *const before = row.bootOption;
   trtest::TempDir dir;
   Prepare(dir, "fedora", GUESS_VERSION_FEDORA_18_OR_HIGHER, "ks.cfg");
   EXPECT_STREQ(row.bootOption, "ks=cdrom:/ks.cfg");
   Prepare(dir, "fedora", GUESS_VERSION_FEDORA_17, "ks.cfg");
   EXPECT_STREQ(row.bootOption, "ks=cdrom:/dev/cdrom:/ks.cfg");
   Prepare(dir, "rhel6", 0, "ks.cfg");
   EXPECT_STREQ(row.bootOption, "ks=cdrom:/dev/cdrom:/ks.cfg");
   row.bootOption = before;
}

// The tools script, the value of two keys.
constexpr char kPreseedScript[] = R"PS(mkdir -p /tmp/tarvel-toolsmnt0; \
for i in sr0 scd0; do mount -t iso9660 /dev/$i /tmp/tarvel-toolsmnt0 && break; done; \
cp -a /tmp/tarvel-toolsmnt0 /target/opt/tarvel-tools-installer; \
eject /tmp/tarvel-toolsmnt0; \
cd /target/opt/tarvel-tools-installer/; \
mv upgra32 tarvel-tools-upgrader-32; \
mv upgra64 tarvel-tools-upgrader-64; \
mv upgrade.sh run_upgrader.sh; \
chmod +x /target/opt/tarvel-tools-installer/*upgr*; \
mv /target/etc/rc.local /target/etc/rc.local.backup; \
sed '$d' /target/etc/rc.local.backup > /target/etc/rc.local; \
mv /target/etc/rc2.d/S*gdm /target/opt/tarvel-tools-installer || true; \
mv /target/etc/rc2.d/S*kdm /target/opt/tarvel-tools-installer || true; \
mv /target/etc/rc2.d/S*kdm-kde4 /target/opt/tarvel-tools-installer || true; \
mv /target/etc/init/*dm.conf /target/opt/tarvel-tools-installer || true; \
cp /target/etc/issue /target/etc/issue.backup; \
echo "************************************************" >/target/etc/issue; \
echo "************************************************" >>/target/etc/issue; \
echo "            Tarvel Stilmo" >>/target/etc/issue; \
echo >>/target/etc/issue; \
echo "  PLEASE WAIT! Tarvel Tools is currently being" >>/target/etc/issue; \
echo "  installed on your system. Depending on the" >>/target/etc/issue; \
echo "  version of Ubuntu you are installing, you may" >>/target/etc/issue; \
echo "  log in below and use the system during the" >>/target/etc/issue; \
echo "  installation. Otherwise, please wait for the" >>/target/etc/issue; \
echo "  graphical environment to launch. Thank you." >>/target/etc/issue; \
echo >>/target/etc/issue; \
echo "************************************************" >>/target/etc/issue; \
echo "************************************************" >>/target/etc/issue; \
chmod +x /target/etc/rc.local; \
echo "if [ -x /bin/plymouth ]; then plymouth message --text='Installing Tarvel Tools.  Please wait...'; else chvt 2 </dev/tty0 >/dev/tty0; fi" >> /target/etc/rc.local; \
echo "cd /opt/tarvel-tools-installer" >> /target/etc/rc.local; \
echo "./run_upgrader.sh" >> /target/etc/rc.local; \
echo "mv /etc/rc.local.backup /etc/rc.local" >> /target/etc/rc.local; \
echo "mv /etc/issue.backup /etc/issue" >> /target/etc/rc.local; \
echo "mv /opt/tarvel-tools-installer/S*gdm /etc/rc2.d/ 2>/dev/null || true" >> /target/etc/rc.local; \
echo "mv /opt/tarvel-tools-installer/S*kdm /etc/rc2.d/ 2>/dev/null || true" >> /target/etc/rc.local; \
echo "mv /opt/tarvel-tools-installer/S*kdm-kde4 /etc/rc2.d/ 2>/dev/null || true" >> /target/etc/rc.local; \
echo "mv /opt/tarvel-tools-installer/*dm.conf /etc/init/ 2>/dev/null || true" >> /target/etc/rc.local; \
echo "rm -rf /opt/tarvel-tools-installer" >> /target/etc/rc.local; \
echo "chvt 1 < /dev/tty0 > /dev/tty0" >> /target/etc/rc.local; \
echo "(/sbin/initctl start lightdm || /etc/init.d/gdm restart || /etc/init.d/kdm restart || /etc/init.d/kdm-kde4 restart) 2>/dev/null" >> /target/etc/rc.local
)PS";

const std::string kPreseed = std::string(
   "# Text mode installer settings\n"
   "d-i finish-install/reboot_in_progress note\n"
   "\n"
   "# Language selection\n"
   "ubiquity\tlanguagechooser/language-name\tselect\tEnglish\n"
   "ubiquity\tcountrychooser/shortlist\tselect\tUS\n"
   "ubiquity\ttime/zone\tselect\tAmerica/Los_Angeles\n"
   "ubiquity\tdebian-installer/locale\tselect\ten_US.UTF-8\n"
   "ubiquity\tlocalechooser/supported-locales\tmultiselect\ten_US.UTF-8\n"
   "ubiquity\tkeyboard-configuration/modelcode\tstring\tSKIP\n"
   "console-setup\tconsole-setup/layoutcode\tstring\tus\n"
   "console-setup\tconsole-setup/layout\tselect\tU.S. English\n"
   "console-setup\tconsole-setup/variantcode\tselect\tU.S. English\n"
   "console-setup\tconsole-setup/codeset\tselect\t. Combined - Latin; Slavic Cyrillic; Hebrew; basic Arabic\n"
   "\n"
   "# Partitioning\n"
   "ubiquity\tpartman-auto/init_automatically_partition\tselect\tGuided - use entire disk\n"
   "ubiquity\tpartman-auto/disk\tstring\t/dev/sda\n"
   "ubiquity\tpartman-auto/method\tstring\tregular\n"
   "ubiquity\tpartman-auto/choose_recipe\tselect\tAll files in one partition (recommended for new users)\n"
   "ubiquity\tpartman/confirm_write_new_label\tboolean\ttrue\n"
   "ubiquity\tpartman/choose_partition\tselect\tFinish partitioning and write changes to disk\n"
   "ubiquity\tpartman/confirm\tboolean\ttrue\n"
   "ubiquity\tpartman/confirm_nooverwrite\tboolean\ttrue\n"
   "\n"
   "# User name and password\n"
   "ubiquity\tpasswd/user-fullname\tstring\t{}\n"
   "ubiquity\tpasswd/username\tstring\t{}\n"
   "ubiquity\tpasswd/user-password-crypted password {}\n"
   "ubiquity\tuser-setup/encrypt-home boolean false\n"
   "\n"
   "# Miscellaneous\n"
   "ubiquity\tubiquity/{} boolean true\n"
   "ubiquity\tmigration-assistant/partitions\tmultiselect\t\n"
   "ubiquity\tubiquity/summary\tnote\n"
   "ubiquity\tapt-setup/security-updates-failed\tnote\n"
   "ubiquity\tubiquity/success_command\tstring \\\n")
   + kPreseedScript +
   "d-i    debian-installer/splash boolean false\n"
   "d-i\tpreseed/late_command\tstring \\\n"
   + kPreseedScript;

TEST(LinuxAnswerFile, PreseedPowerOffOrReboot) {
   for (const bool powerOff : {false, true}) {
      trtest::TempDir dir;
      const std::string text =
         CheckCrypts(Prepare(dir, "ubuntu-64", GUESS_VERSION_UBUNTU_710_OR_HIGHER,
                             "custom/preseed.cfg", nullptr, powerOff),
                     {kUserPassword});
      EXPECT_EQ(text, Fill(kPreseed, {R"(Ann \"Q\" O'Neil %s %n \ $HOME @ARGV `id` )" "\xc3\xbc",
                                      kUser, kCrypt, powerOff ? "poweroff" : "reboot"}));
      const auto check = trtest::RunCommand(
         {"debconf-set-selections", "--checkonly", dir.file("out/custom/preseed.cfg")});
      EXPECT_EQ(check.exitCode, 0) << check.output;
      EXPECT_EQ(check.output, "");
   }
}

constexpr char kAutoYast[] = R"AY(<?xml version="1.0"?>
<!DOCTYPE profile SYSTEM "/usr/share/autoinstall/dtd/profile.dtd">
<profile xmlns="http://www.suse.com/1.0/yast2ns" xmlns:config="http://www.suse.com/1.0/configns">
  <partitioning config:type="list">
    <drive>
      <use>all</use>
    </drive>
  </partitioning>
  <software>
    <patterns config:type="list">
{}    </patterns>
  </software>
  <general>
    <mode>
      <confirm config:type="boolean">false</confirm>
      <final_halt config:type="boolean">{}</final_halt>
    </mode>
  </general>
  <configure>
    <x11>
      <display_manager>{}</display_manager>
    </x11>
    <networking>
      <interfaces config:type="list">
        <interface>
          <bootproto>dhcp</bootproto>
          <device>eth0</device>
          <startmode>onboot</startmode>
        </interface>
      </interfaces>
    </networking>
    <users config:type="list">
      <user>
        <username>root</username>
        <encrypted config:type="boolean">true</encrypted>
        <user_password>{}</user_password>
        <forename/>
        <surname/>
      </user>
      <user>
        <encrypted config:type="boolean">true</encrypted>
        <user_password>{}</user_password>
        <username>{}</username>
        <forename><![CDATA[{}]]></forename>
        <surname/>
      </user>
    </users>
    <scripts>
      <chroot-scripts config:type="list">
         <listentry>
            <chrooted config:type="boolean">true</chrooted>
            <filename>tools-install-pre.sh</filename>
            <interpreter>shell</interpreter>
            <source><![CDATA[
mkdir -p /tmp/tarvel-toolsmnt0
mount -t iso9660 /dev/{} /tmp/tarvel-toolsmnt0
cp -a /tmp/tarvel-toolsmnt0 /opt/tarvel-tools-installer
umount /tmp/tarvel-toolsmnt0
rmdir /tmp/tarvel-toolsmnt0
cd /opt/tarvel-tools-installer
mv upgra32 tarvel-tools-upgrader-32
mv upgra64 tarvel-tools-upgrader-64
mv upgrade.sh run_upgrader.sh
chmod +x /opt/tarvel-tools-installer/*upgr*
mv /etc/rc.d/rc5.d/*xdm /opt/tarvel-tools-installer
chkconfig --add syslog autoyast || true
]]></source>
         </listentry>
      </chroot-scripts>
      <init-scripts config:type="list">
        <script>
          <filename>tools-install.sh</filename>
          <interpreter>shell</interpreter>
          <source><![CDATA[
chvt 1 < /dev/tty0 > /dev/tty0 || true
echo >/dev/tty0
echo "Installing Tarvel Tools, please wait..." >/dev/tty0
echo >/dev/tty0
cd /opt/tarvel-tools-installer
for s in sr0 sr1; do eject -s /dev/$s; done
./run_upgrader.sh
mv /opt/tarvel-tools-installer/*xdm /etc/rc.d/rc5.d
rm -rf /opt/tarvel-tools-installer
/etc/init.d/xdm start || true
]]></source>
        </script>
      </init-scripts>
    </scripts>
  </configure>
</profile>
)AY";

TEST(LinuxAnswerFile, AutoYastProducts) {
   const struct {
      const char *id;
      uint32_t sub;
      bool powerOff;
      std::vector<const char *> patterns;
      const char *displayManager, *toolsDevice;
   } cases[] = {
      {"opensuse-64", GUESS_VERSION_UNKNOWN, true, {"kde4", "enhanced_base", "devel_C_C++"}, "kdm", "sr0"},
      {"sles11", GUESS_VERSION_UNKNOWN, false, {"base", "gnome", "Basis-Devel"}, "gdm", "sr0"},
      {"sles11-64", GUESS_VERSION_SLED_ALL, false, {"default", "desktop-gnome", "Basis-Devel"}, "gdm",
       "sr0"},
      {"sles10", GUESS_VERSION_UNKNOWN, false, {"default", "gnome", "Basis-Devel"}, "gdm", "hda"},
   };
   for (const auto &c : cases) {
      trtest::TempDir dir;
      const std::string text = CheckCrypts(Prepare(dir, c.id, c.sub, "autoinst.xml", nullptr, c.powerOff),
                                           {kRootPassword, kUserPassword});
      std::string patterns;
      for (const char *p : c.patterns) {
         patterns += std::string("      <pattern>") + p + "</pattern>\n";
      }
      EXPECT_EQ(text, Fill(kAutoYast, {patterns, c.powerOff ? "true" : "false", c.displayManager,
                                       kCrypt, kCrypt, kUser, kFullName, c.toolsDevice}))
         << c.id;
      const std::string path = dir.file("out/autoinst.xml");
      auto r = trtest::RunCommand({"xmllint", "--noout", "--nonet", path});
      EXPECT_EQ(r.exitCode, 0) << r.output;
      r = trtest::RunCommand({"xmllint", "--nonet", "--xpath",
                              "concat(local-name(/*),' ',namespace-uri(/*),' ',"
                              "namespace-uri((//@*)[1]),' ',(//*[local-name()='forename'])[2])",
                              path});
      EXPECT_EQ(r.output, "profile http://www.suse.com/1.0/yast2ns "
                          "http://www.suse.com/1.0/configns " + kFullName + "\n")
         << c.id;
   }
}

TEST(LinuxAnswerFile, AutoInstReadsBackThroughPerl) {
   trtest::TempDir dir;
   const std::string text = Prepare(dir, "mandriva", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER,
                                    "auto_i~1.cfg");
   // The fixed lines, by number; the ones between them are the file's own
   // settings, which perl checks below.
   const std::pair<size_t, std::string> lines[] = {
      {1, "#!/usr/bin/perl -cw"},
      {2, "# "},
      {3, "# You should check the syntax of this file before using it in an auto-install."},
      {4, "# You can do this with 'perl -cw auto_inst.cfg.pl' or by executing this file"},
      {5, "# (note the '#!/usr/bin/perl -cw' on the first line)."},
      {6, "$o = {"},
      {11, "       'security_user' => '{}',"},
      {22, "       'default_packages' => ["},
      {23, "               'sudo',"},
      {24, "               'x11-driver-video-tarvel',"},
      {25, "             ],"},
      {29, "       'users' => ["},
      {30, "\t\t    {"},
      {31, "\t\t      'icon' => 'default',"},
      {32, "\t\t      'realname' => \"{}\","},
      {33, "\t\t      'uid' => '',"},
      {34, "\t\t      'groups' => [],"},
      {35, "\t\t      'name' => '{}',"},
      {36, "\t\t      'shell' => '/bin/bash',"},
      {37, "\t\t      'gid' => '',"},
      {38, "\t\t\t\t'password' => \"{}\""},
      {39, "\t\t    }"},
      {40, "\t\t  ],"},
      {89, "       'superuser' => {"},
      {90, "\t\t\t'password' => \"{}\","},
      {91, "\t\t\t'realname' => 'root',"},
      {92, "\t\t\t'uid' => '0',"},
      {93, "\t\t\t'shell' => '/bin/bash',"},
      {94, "\t\t\t'home' => '/root',"},
      {95, "\t\t\t'gid' => '0'"},
      {96, "\t\t      },"},
      {109, "       'autoExitInstall' => 1,"},
      {110, "\t\t 'postInstall' => \""},
      {111, "mkdir -p /tmp/tarvel-toolsmnt0"},
      {112, "mount -t iso9660 /dev/hda /tmp/tarvel-toolsmnt0"},
      {113, "cp -a /tmp/tarvel-toolsmnt0 /opt/tarvel-tools-installer"},
      {114, "cd /opt/tarvel-tools-installer"},
      {115, "mv upgra32 tarvel-tools-upgrader-32"},
      {116, "mv upgra64 tarvel-tools-upgrader-64"},
      {117, "mv upgrade.sh run_upgrader.sh"},
      {118, "sed -i 's/5:initdefault/3:initdefault/' /etc/inittab"},
      {119, "sed -i 's/splash=silent/splash=verbose/' /etc/lilo.conf"},
      {120, "chmod +x /opt/tarvel-tools-installer/*upgr*"},
      {121, "cp /etc/rc.d/rc.local /etc/rc.local.backup"},
      {122, "cat >>/etc/rc.d/rc.local <<EOF"},
      {123, "echo"},
      {124, "echo \\\"Installing Tarvel Tools, please wait...\\\""},
      {125, "cd /opt/tarvel-tools-installer"},
      {126, "./run_upgrader.sh"},
      {127, "mv /etc/rc.local.backup /etc/rc.d/rc.local"},
      {128, "rm -rf /opt/tarvel-tools-installer"},
      {129, "sed -i 's/3:initdefault/5:initdefault/' /etc/inittab"},
      {130, "sed -i 's/splash=verbose/splash=silent/' /etc/lilo.conf"},
      {131, "telinit 5"},
      {132, "EOF"},
      {133, "umount /tmp/tarvel-toolsmnt0"},
      {134, "rmdir /tmp/tarvel-toolsmnt0\","},
      {167, "       'security' => 3,"},
      {168, "     };"},
   };
   std::vector<std::string> actual;
   for (size_t from = 0, nl; (nl = text.find('\n', from)) != std::string::npos; from = nl + 1) {
      actual.push_back(text.substr(from, nl - from));
   }
   ASSERT_EQ(actual.size(), 168u);
   EXPECT_EQ(text.back(), '\n');
   const std::string perlName = R"(Ann \"Q\" O'Neil %s %n \\ \$HOME \@ARGV `id` )" "\xc3\xbc";
   const std::string perlUserPassword = R"(pa\$\$word%s\"\@x\\)";
   const std::string perlRootPassword = R"(r00t%n'\@{x}`)";
   const std::vector<std::string> values[] = {{kUser}, {perlName}, {kUser}, {perlUserPassword},
                                              {perlRootPassword}};
   size_t nextValue = 0;
   for (const auto &[number, expected] : lines) {
      const bool hasValue = expected.find("{}") != std::string::npos;
      EXPECT_EQ(actual[number - 1], hasValue ? Fill(expected, values[nextValue++]) : expected)
         << "line " << number;
   }

   const std::string path = dir.file("out/auto_i~1.cfg");
   auto r = trtest::RunCommand({"perl", "-c", path});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_NE(r.output.find("syntax OK"), std::string::npos) << r.output;
   trtest::WriteFile(dir.file("show.pl"),
                     "do $ARGV[0] or die \"cannot load: $@ $!\";\n"
                     "print join(\"\\n\", $o->{users}[0]{password}, $o->{superuser}{password},\n"
                     "           $o->{users}[0]{realname}, $o->{users}[0]{name});\n");
   r = trtest::RunCommand({"perl", dir.file("show.pl"), path});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_EQ(r.output,
             kUserPassword + "\n" + kRootPassword + "\n" + kFullName + "\n" + kUser);
}

TEST(LinuxAnswerFile, RefusedRequestsWriteNothing) {
   const char *user = "ann", *name = "Ann", *pw = "pw";
   const struct {
      const char *id, *user, *name, *userPw, *rootPw;
   } cases[] = {
      {"rhel6", nullptr, name, pw, pw}, {"rhel6", user, nullptr, pw, pw},
      {"ubuntu", user, name, nullptr, pw}, {"sles11", user, name, pw, nullptr},
      {"winXPPro", user, name, pw, pw}, {"sles12", user, name, pw, pw}, {nullptr, user, name, pw, pw},
   };
   for (const auto &c : cases) {
      trtest::TempDir dir;
      EXPECT_FALSE(AutoInstall_PrepareAnswerFileEx_Linux(c.id, 0, dir.file("out").c_str(), c.user,
                                                         c.name, c.userPw, c.rootPw, nullptr, FALSE))
         << (c.id ? c.id : "(null)");
      EXPECT_EQ(trtest::RunCommand({"find", dir.file("out"), "-type", "f"}).output, "");
   }
   // The output directory cannot be made where a file stands.
   trtest::TempDir dir;
   trtest::WriteFile(dir.file("file"), "");
   EXPECT_FALSE(AutoInstall_PrepareAnswerFileEx_Linux("rhel6", 0, dir.file("file/out").c_str(), user,
                                                      name, pw, pw, nullptr, FALSE));
   EXPECT_FALSE(AutoInstall_PrepareAnswerFileEx_Linux("rhel6", 0, nullptr, user, name, pw, pw,
                                                      nullptr, FALSE));
}

}  // namespace
