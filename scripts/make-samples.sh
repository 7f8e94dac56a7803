#!/usr/bin/env bash
# Builds the sample installation images: scripts/make-samples.sh OUT_DIR
#
# Each directory scripts/samples/NAME describes one image:
#   root/    the files of the image, byte for byte
#   format   how to master it: plain, joliet, rockridge, udf (ISO 9660 +
#            Joliet + UDF bridge, as Windows media ship)
#   volume   the volume label (optional)
# The image is OUT_DIR/NAME.iso.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
out=${1:?usage: make-samples.sh OUT_DIR}
mkdir -p "$out"

for desc in "$top"/scripts/samples/*/; do
  name=$(basename "$desc")
  format=$(cat "$desc/format")
  volume=SAMPLE
  [ -f "$desc/volume" ] && volume=$(cat "$desc/volume")
  image="$out/$name.iso"
  rm -f "$image"
  case "$format" in
    plain)     xorriso -as mkisofs -quiet -iso-level 3 -V "$volume" -o "$image" "$desc/root" 2>/dev/null ;;
    joliet)    xorriso -as mkisofs -quiet -iso-level 3 -J -joliet-long -V "$volume" -o "$image" "$desc/root" 2>/dev/null ;;
    rockridge) xorriso -as mkisofs -quiet -iso-level 3 -R -V "$volume" -o "$image" "$desc/root" 2>/dev/null ;;
    udf)       genisoimage -quiet -iso-level 3 -J -joliet-long -udf -V "$volume" -o "$image" "$desc/root" ;;
    *) echo "make-samples: $name: unknown format '$format'" >&2; exit 1 ;;
  esac
  echo "$image"
done
