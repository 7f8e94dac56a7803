#!/usr/bin/env bash
# The main job on a fresh machine: installs what is missing, builds, and runs
# trguest.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"

scripts/install-deps.sh
scripts/build.sh build >/dev/null

trguest=build/bin/trguest
"$trguest" --version
echo "guest OS identifiers: $("$trguest" guestos --count)"
