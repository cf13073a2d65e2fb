#!/usr/bin/env bash
# Builds libhdr_tm with warnings as errors and runs every test, then the whole
# suite again under AddressSanitizer and UndefinedBehaviorSanitizer, and
# cross-built for 64-bit Arm under qemu.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh --arm64

jobs=$(nproc)
cmake -S . -B build/ci -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHDRTM_WERROR=ON -DHDRTM_BUILD_BENCH=ON
cmake --build build/ci -j"$jobs"
ctest --test-dir build/ci --output-on-failure -j"$jobs"

cmake -S . -B build/asan -DCMAKE_BUILD_TYPE=Debug -DHDRTM_WERROR=ON -DHDRTM_SANITIZE=address,undefined
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build/asan --output-on-failure -j"$jobs"

# The same suite cross-built for 64-bit Arm, where GCC would otherwise fuse
# multiply-adds; ctest runs every test binary under qemu-user-static.
cmake -S . -B build/arm64 --toolchain cmake/toolchains/aarch64-linux-gnu.cmake \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHDRTM_WERROR=ON -DHDRTM_BUILD_BENCH=OFF -DHDRTM_BUILD_TOOLS=ON
cmake --build build/arm64 -j"$jobs"
ctest --test-dir build/arm64 --output-on-failure -j"$jobs"
