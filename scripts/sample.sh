#!/usr/bin/env bash
# The main job on a fresh machine: installs what is missing, builds, masters
# the sample installation images of scripts/samples/ and runs trguest detect
# on them (readable, then as JSON); then runs trguest install on sample Linux
# distributions and Windows images and lists what each floppy and ISO holds.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"

scripts/install-deps.sh
scripts/build.sh build >/dev/null

trguest=build/bin/trguest
"$trguest" --version
echo "guest OS identifiers: $("$trguest" guestos --count)"

mapfile -t images < <(scripts/make-samples.sh build/samples)
echo
"$trguest" detect --all "${images[@]}"
echo
"$trguest" detect --json "${images[@]}"

samples=build/samples
scripts/make-install-samples.sh "$samples"
tools="$samples/tools"
pw="$samples/password.txt"

show_media() {  # what each made floppy and ISO image holds
  local dir=$1
  if [ -f "$dir/autoinst.flp" ]; then
    echo "-- $dir/autoinst.flp"
    "$trguest" floppy list "$dir/autoinst.flp"
  fi
  if [ -f "$dir/autoinst.iso" ]; then
    echo "-- $dir/autoinst.iso"
    xorriso -indev "$dir/autoinst.iso" -find / -type f 2>/dev/null | sed 's/^/  /'
    xorriso -indev "$dir/autoinst.iso" -report_el_torito plain 2>/dev/null | grep -E '^El Torito (catalog|boot img)' | sed 's/^/  /'
  fi
}

run_install() {  # run_install NAME IMAGE [options...]
  local name=$1 image=$2
  shift 2
  local dir="$samples/install-$name"
  rm -rf "$dir"
  echo
  echo "== trguest install $image ($name)"
  "$trguest" install "$image" --out "$dir" --password-file "$pw" --tools-dir "$tools" "$@"
  show_media "$dir"
}

run_install centos5 "$samples/centos5-install.iso" --user sample --full-name "Sample User"
run_install ubuntu "$samples/ubuntu-install.iso" --user sample --full-name "Sample User"
run_install winxp "$samples/winxp-pro.iso" --user sample --full-name "Sample User" \
  --key ABCDE-FGHIJ-KLMNO-PQRST-UVWXY
run_install windows7 "$samples/windows7-x64.iso" --user sample --full-name "Sample User" \
  --edition "Windows 7 PROFESSIONAL"
