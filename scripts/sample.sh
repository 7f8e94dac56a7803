#!/usr/bin/env bash
# The main job on a fresh machine: installs what is missing, builds, masters
# the sample installation images of scripts/samples/ and runs trguest detect
# on them (readable, then as JSON).
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
