#!/usr/bin/env bash
# Configures and builds one build tree: scripts/build.sh BUILD_DIR [cmake options...]
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${1:?usage: build.sh BUILD_DIR [cmake options...]}
shift
werror=${TRGUEST_WERROR:-OFF}
launcher=()
# ccache, when present, makes rebuilds of several work trees cheap.
if command -v ccache >/dev/null 2>&1; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$top" -B "$build" -G Ninja -DTRGUEST_WERROR="$werror" "${launcher[@]}" "$@" >/dev/null
cmake --build "$build" -j "${TRGUEST_JOBS:-$(nproc)}"
