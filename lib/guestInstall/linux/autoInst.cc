// autoInst.cc --
//
//    The auto_inst file of Mandriva's installer: a Perl hash that the
//    installer evaluates, with the accounts (passwords in clear, as the
//    format wants them), a fixed desktop selection and the post-install
//    script that copies the guest tools from their disc and has rc.local
//    run them on first boot.

#include <trplatform/str.h>

#include "linuxAnswerInt.h"

// A printf format: each "%s" is one value. The values between double
// quotes are Perl strings, so they are quoted for Perl; the user name goes
// between single quotes as it is (the name check allows only a-z, 0-9, -).
#define AUTO_INST_TEMPLATE \
   "#!/usr/bin/perl -cw\n" \
   "# \n" \
   "# You should check the syntax of this file before using it in an auto-install.\n" \
   "# You can do this with 'perl -cw auto_inst.cfg.pl' or by executing this file\n" \
   "# (note the '#!/usr/bin/perl -cw' on the first line).\n" \
   "$o = {\n" \
   "       'printer' => {\n" \
   "                      'configured' => {}\n" \
   "                    },\n" \
   "       'libsafe' => 0,\n" \
   "       'security_user' => '%s',\n" \
   "       'compssUsersChoice' => {\n" \
   "                                'KDE' => 1,\n" \
   "                                'CONFIG' => 1,\n" \
   "                                'TEXT_TOOLS' => 1,\n" \
   "                                'SHELLS' => 1,\n" \
   "                                'NETWORKING_WWW' => 1,\n" \
   "                                'NETWORKING_INSTANT_MESSAGING' => 1,\n" \
   "                                'NETWORKING_REMOTE_ACCESS' => 1,\n" \
   "                                'OFFICE' => 1\n" \
   "                              },\n" \
   "       'default_packages' => [\n" \
   "               'sudo',\n" \
   "               'x11-driver-video-tarvel',\n" \
   "             ],\n" \
   "       'interactive' => 'gtk',\n" \
   "       'compssListLevel' => 4,\n" \
   "       'useSupermount' => 'magicdev',\n" \
   "       'users' => [\n" \
   "\t\t    {\n" \
   "\t\t      'icon' => 'default',\n" \
   "\t\t      'realname' => \"%s\",\n" \
   "\t\t      'uid' => '',\n" \
   "\t\t      'groups' => [],\n" \
   "\t\t      'name' => '%s',\n" \
   "\t\t      'shell' => '/bin/bash',\n" \
   "\t\t      'gid' => '',\n" \
   "\t\t\t\t'password' => \"%s\"\n" \
   "\t\t    }\n" \
   "\t\t  ],\n" \
   "       'locale' => {\n" \
   "                     'country' => 'US',\n" \
   "                     'lang' => 'en_US',\n" \
   "                     'langs' => {\n" \
   "                                  'en_US' => 1\n" \
   "                                },\n" \
   "                     'utf8' => 1\n" \
   "                   },\n" \
   "       'net' => {\n" \
   "                  'network' => {\n" \
   "                                 'NETWORKING' => 'yes',\n" \
   "                                 'FORWARD_IPV4' => 'false',\n" \
   "                                 'NETWORKING_IPV6' => 'no',\n" \
   "                                 'HOSTNAME' => 'localhost.localdomain'\n" \
   "                               },\n" \
   "                  'resolv' => {\n" \
   "                                'DOMAINNAME' => '',\n" \
   "                                'dnsServer2' => '',\n" \
   "                                'dnsServer3' => '',\n" \
   "                                'dnsServer' => ''\n" \
   "                              },\n" \
   "                  'ifcfg' => {\n" \
   "                               'eth0' => {\n" \
   "                                           'DEVICE' => 'eth0',\n" \
   "                                           'BOOTPROTO' => 'dhcp',\n" \
   "                                           'NETMASK' => '255.255.255.0',\n" \
   "                                           'ONBOOT' => 'yes',\n" \
   "                                           'NEEDHOSTNAME' => 'yes',\n" \
   "                                           'MII_NOT_SUPPORTED' => 'no',\n" \
   "                                           'isPtp' => '',\n" \
   "                                           'isUp' => 1\n" \
   "                                         }\n" \
   "                             },\n" \
   "                  'type' => 'lan',\n" \
   "                  'net_interface' => 'eth0',\n" \
   "                  'wireless' => {},\n" \
   "                  'zeroconf' => {},\n" \
   "                  'autodetect' => {\n" \
   "                                    'lan' => {\n" \
   "                                               'eth0' => 'eth0'\n" \
   "                                             }\n" \
   "                                  }\n" \
   "                },\n" \
   "       'authentication' => {\n" \
   "                             'shadow' => 1,\n" \
   "                             'local' => 1,\n" \
   "                             'md5' => 1\n" \
   "                           },\n" \
   "       'superuser' => {\n" \
   "\t\t\t'password' => \"%s\",\n" \
   "\t\t\t'realname' => 'root',\n" \
   "\t\t\t'uid' => '0',\n" \
   "\t\t\t'shell' => '/bin/bash',\n" \
   "\t\t\t'home' => '/root',\n" \
   "\t\t\t'gid' => '0'\n" \
   "\t\t      },\n" \
   "       'mouse' => {\n" \
   "                    'type' => 'Universal',\n" \
   "                    'name' => 'Any PS/2 & USB mice',\n" \
   "                    'device' => 'input/mice',\n" \
   "                    'nbuttons' => 7,\n" \
   "                    'MOUSETYPE' => 'ps/2',\n" \
   "                    'XMOUSETYPE' => 'ExplorerPS/2',\n" \
   "                    'Protocol' => 'ExplorerPS/2',\n" \
   "                    'EMULATEWHEEL' => undef,\n" \
   "                    'wacom' => [],\n" \
   "                    'synaptics' => undef\n" \
   "                  },\n" \
   "       'autoExitInstall' => 1,\n" \
   "\t\t 'postInstall' => \"\n" \
   "mkdir -p /tmp/tarvel-toolsmnt0\n" \
   "mount -t iso9660 /dev/hda /tmp/tarvel-toolsmnt0\n" \
   "cp -a /tmp/tarvel-toolsmnt0 /opt/tarvel-tools-installer\n" \
   "cd /opt/tarvel-tools-installer\n" \
   "mv upgra32 tarvel-tools-upgrader-32\n" \
   "mv upgra64 tarvel-tools-upgrader-64\n" \
   "mv upgrade.sh run_upgrader.sh\n" \
   "sed -i 's/5:initdefault/3:initdefault/' /etc/inittab\n" \
   "sed -i 's/splash=silent/splash=verbose/' /etc/lilo.conf\n" \
   "chmod +x /opt/tarvel-tools-installer/*upgr*\n" \
   "cp /etc/rc.d/rc.local /etc/rc.local.backup\n" \
   "cat >>/etc/rc.d/rc.local <<EOF\n" \
   "echo\n" \
   "echo \\\"Installing Tarvel Tools, please wait...\\\"\n" \
   "cd /opt/tarvel-tools-installer\n" \
   "./run_upgrader.sh\n" \
   "mv /etc/rc.local.backup /etc/rc.d/rc.local\n" \
   "rm -rf /opt/tarvel-tools-installer\n" \
   "sed -i 's/3:initdefault/5:initdefault/' /etc/inittab\n" \
   "sed -i 's/splash=verbose/splash=silent/' /etc/lilo.conf\n" \
   "telinit 5\n" \
   "EOF\n" \
   "umount /tmp/tarvel-toolsmnt0\n" \
   "rmdir /tmp/tarvel-toolsmnt0\",\n" \
   "       'keyboard' => {\n" \
   "                       'GRP_TOGGLE' => '',\n" \
   "                       'XkbModel' => 'pc105',\n" \
   "                       'KEYBOARD' => 'us'\n" \
   "                     },\n" \
   "       'manualFstab' => [\n" \
   "                        ],\n" \
   "       'timezone' => {\n" \
   "                       'timezone' => 'America/New_York',\n" \
   "                       'ntp' => undef,\n" \
   "                       'UTC' => 1\n" \
   "                     },\n" \
   "       'X' => {\n" \
   "                'monitors' => [\n" \
   "                                {\n" \
   "                                  'Identifier' => 'monitor1',\n" \
   "                                  'EISA_ID' => '',\n" \
   "                                  'VendorName' => 'Generic',\n" \
   "                                  'ModelName' => 'Flat Panel 1024x768',\n" \
   "                                  'HorizSync' => '31.5-48.5',\n" \
   "                                  'VertRefresh' => '40-70'\n" \
   "                                }\n" \
   "                              ],\n" \
   "                'resolution_wanted' => '1024',\n" \
   "                'default_depth' => 24,\n" \
   "                'disabled' => 0\n" \
   "              },\n" \
   "       'partitioning' => {\n" \
   "                           'auto_allocate' => 1,\n" \
   "                           'clearall' => 1,\n" \
   "                           'eraseBadPartitions' => 0\n" \
   "                         },\n" \
   "       'security' => 3,\n" \
   "     };\n"

char *FormatAutoInst(const LinuxAnswerValues &in, size_t *length) {
   return Str_Asprintf(length, AUTO_INST_TEMPLATE, in.userName,
                       QuoteForPerl(in.fullName).c_str(), in.userName,
                       QuoteForPerl(in.userPassword).c_str(),
                       QuoteForPerl(in.rootPassword).c_str());
}
