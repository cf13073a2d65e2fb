#!/usr/bin/env bash
# Installs the Debian 12 packages libhdr_tm needs to build, test and
# benchmark, when any is missing. Run as root (or with sudo available).
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libtinyxml2-dev android-liblog-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  binutils
)

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
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
