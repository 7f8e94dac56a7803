#!/usr/bin/env bash
# The whole test suite on a fresh machine: installs what is missing, builds
# the normal tree (build/) and the sanitizer tree (build-asan/, ASan+UBSan),
# and runs every test of both, fuzz corpus replays included.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"

scripts/install-deps.sh

jobs=${TRGUEST_JOBS:-$(nproc)}

echo "== build (RelWithDebInfo)"
scripts/build.sh build
echo "== test (RelWithDebInfo)"
ctest --test-dir build --output-on-failure -j "$jobs" --timeout 600

echo "== build (ASan+UBSan)"
scripts/build.sh build-asan -DCMAKE_BUILD_TYPE=Debug -DTRGUEST_SANITIZE=ON -DTRGUEST_BUILD_BENCH=OFF
echo "== test (ASan+UBSan)"
ctest --test-dir build-asan --output-on-failure -j "$jobs" --timeout 900

echo "== all tests passed"
