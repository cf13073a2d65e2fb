#!/usr/bin/env bash
# Builds libhdr_tm with warnings as errors and runs every test, then the whole
# suite again under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

jobs=$(nproc)
cmake -S . -B build/ci -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHDRTM_WERROR=ON -DHDRTM_BUILD_BENCH=ON
cmake --build build/ci -j"$jobs"
ctest --test-dir build/ci --output-on-failure -j"$jobs"

cmake -S . -B build/asan -DCMAKE_BUILD_TYPE=Debug -DHDRTM_WERROR=ON -DHDRTM_SANITIZE=address,undefined
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build/asan --output-on-failure -j"$jobs"
