#!/usr/bin/env bash
# Installs the Debian 12 packages libhdr_tm needs to build, test and
# benchmark, when any is missing. Run as root (or with sudo available).
# With --arm64 (or HDRTM_ARM64=1) it also installs the aarch64 cross compiler,
# qemu and the arm64 -dev packages for cross-building and testing under qemu.
set -euo pipefail

arm64="${HDRTM_ARM64:-0}"
for arg in "$@"; do
  case "$arg" in
    --arm64) arm64=1 ;;
    *) echo "usage: $0 [--arm64]" >&2; exit 2 ;;
  esac
done

packages=(
  build-essential cmake pkg-config
  libtinyxml2-dev android-liblog-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  binutils
  clang-14 libclang-rt-14-dev valgrind
  libcli11-dev nlohmann-json3-dev python3-pyopencolorio
  libcairo2-dev fonts-dejavu-core libpng-dev
  libmpfr-dev libgmp-dev python3-mpmath
  pybind11-dev python3-dev python3-numpy python3-pytest python3-matplotlib
)
if [ "$arm64" = 1 ]; then
  packages+=(
    g++-aarch64-linux-gnu binutils-aarch64-linux-gnu qemu-user-static
    libtinyxml2-dev:arm64 android-liblog-dev:arm64
    libgtest-dev:arm64 libgmock-dev:arm64
    libcairo2-dev:arm64 libpng-dev:arm64
    libmpfr-dev:arm64 libgmp-dev:arm64
  )
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "Installing: ${missing[*]}"
if [ "$arm64" = 1 ] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
  $SUDO dpkg --add-architecture arm64
fi
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
