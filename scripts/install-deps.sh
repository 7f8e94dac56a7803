#!/usr/bin/env bash
# Installs (with apt) every package that building, testing, fuzzing and the
# sample media need, skipping those already present. Safe to run repeatedly.
set -euo pipefail

packages=(
  # build
  build-essential cmake ninja-build pkg-config ccache
  libxml2-dev libmd-dev libicu-dev
  # tests and benchmarks
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  # fuzzing (clang's libFuzzer runtime)
  clang libclang-rt-dev
  # real tools that make and check test media
  xorriso genisoimage udftools dosfstools mtools isolinux syslinux-common
  # XML checks of written answer files
  libxml2-utils
  # booting the Linux installation media in a virtual machine (tests/boot)
  qemu-system-x86 linux-image-amd64 busybox-static isolinux syslinux-common cpio
  # checks of the Linux answer files: preseed, Perl, password hashes
  debconf perl openssl libcrypt-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}" >&2
SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  SUDO="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq || true
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
