#!/usr/bin/env bash
# Builds what the sample run of "trguest install" needs:
#   scripts/make-install-samples.sh OUT_DIR
# OUT_DIR/centos5-install.iso, OUT_DIR/ubuntu-install.iso
#     sample Linux distribution images: the samples' marker files plus an
#     isolinux tree with Debian's ISOLINUX and a STAND-IN kernel and initrd
#     (text files, not bootable: enough to show the media being built);
# OUT_DIR/tools/
#     STAND-INS for the product's guest tools: the Linux upgrader files, the
#     Windows upgrader and password store, and a tools image windows.iso
#     with a mass-storage driver directory /drivers/scsi;
# OUT_DIR/password.txt
#     the sample password (the command reads passwords from files only).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
out=${1:?usage: make-install-samples.sh OUT_DIR}
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

isolinux_dir=/usr/lib/ISOLINUX
syslinux_dir=/usr/lib/syslinux/modules/bios

standin() {  # standin FILE WHAT
  mkdir -p "$(dirname "$1")"
  printf 'STAND-IN %s made by scripts/make-install-samples.sh for the trguest sample run.\n' "$2" >"$1"
}

# Red Hat family: CentOS 5, isolinux.cfg with its label beside the kernel.
cp -r "$top/scripts/samples/centos5-x86_64/root" "$work/centos5"
standin "$work/centos5/isolinux/vmlinuz" "Linux kernel"
standin "$work/centos5/isolinux/initrd.img" "initrd"
cp "$isolinux_dir/isolinux.bin" "$syslinux_dir/ldlinux.c32" "$work/centos5/isolinux/"
xorriso -as mkisofs -quiet -iso-level 3 -R -V "CentOS_5.5_Final" \
  -o "$out/centos5-install.iso" "$work/centos5" 2>/dev/null

# Ubuntu: isolinux.cfg only includes the menu; the labels live in txt.cfg.
cp -r "$top/scripts/samples/ubuntu-10.04.4-i386/root" "$work/ubuntu"
cat >"$work/ubuntu/isolinux/txt.cfg" <<'CFG'
default install
label install
  menu label ^Install Ubuntu
  kernel /casper/vmlinuz
  append  file=/cdrom/preseed/ubuntu.seed boot=casper initrd=/casper/initrd.lz quiet splash --
CFG
standin "$work/ubuntu/casper/vmlinuz" "Linux kernel"
standin "$work/ubuntu/casper/initrd.lz" "initrd"
cp "$isolinux_dir/isolinux.bin" "$syslinux_dir/ldlinux.c32" "$work/ubuntu/isolinux/"
xorriso -as mkisofs -quiet -iso-level 3 -R -V "Ubuntu 10.04.4 LTS i386" \
  -o "$out/ubuntu-install.iso" "$work/ubuntu" 2>/dev/null

# The product's guest tools, as stand-ins.
tools="$out/tools"
rm -rf "$tools"
for f in tarvel-tools-upgrader-32 tarvel-tools-upgrader-64 TarvelToolsUpgrader.exe storePwd.exe; do
  standin "$tools/$f" "$f"
done
printf '#!/bin/sh\n# STAND-IN first-boot upgrader script for the trguest sample run.\necho "tools would be installed here"\n' \
  >"$tools/run_upgrader.sh"
drivers="$work/windows-tools/drivers/scsi"
mkdir -p "$drivers"
printf '[Disks]\r\nd1 = "Sample SCSI driver disk",\\trscsi.sys,\\\r\n\r\n[Defaults]\r\nscsi = trscsi\r\n\r\n[scsi]\r\ntrscsi = "Sample SCSI Controller (stand-in)"\r\n' \
  >"$drivers/txtsetup.oem"
for f in trscsi.sys trscsi.inf trscsi.cat; do standin "$drivers/$f" "driver file $f"; done
xorriso -as mkisofs -quiet -iso-level 3 -J -R -V "TOOLS" -o "$tools/windows.iso" \
  "$work/windows-tools" 2>/dev/null

printf 'sample-Passw0rd\n' >"$out/password.txt"
