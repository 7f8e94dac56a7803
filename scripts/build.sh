#!/usr/bin/env bash
# Configures and builds one build tree: scripts/build.sh BUILD_DIR [cmake options...]
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${1:?usage: build.sh BUILD_DIR [cmake options...]}
shift
werror=${TRGUEST_WERROR:-OFF}
cmake -S "$top" -B "$build" -G Ninja -DTRGUEST_WERROR="$werror" "$@" >/dev/null
cmake --build "$build" -j "${TRGUEST_JOBS:-$(nproc)}"
