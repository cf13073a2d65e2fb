#!/usr/bin/env bash
# Builds libhdr_tm with warnings as errors and runs every test (the soak test
# included) and the golden tests on the SSE2 baseline build, then the whole
# suite again under Valgrind memcheck, under AddressSanitizer and
# UndefinedBehaviorSanitizer, the threading test under ThreadSanitizer, each
# fuzzer for a minute, the suite built by clang on x86-64, and the suite
# cross-built for 64-bit Arm under qemu by GCC and by clang.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh --arm64

jobs=$(nproc)
cmake -S . -B build/ci -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHDRTM_WERROR=ON -DHDRTM_BUILD_BENCH=ON
cmake --build build/ci -j"$jobs"
ctest --test-dir build/ci --output-on-failure -j"$jobs"

# The processor picks the widest build of each plane loop; the SSE2 baseline
# must give the same bits, so the golden tests run on it too.
cmake -S . -B build/sse2 -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHDRTM_WERROR=ON \
  -DHDRTM_FUNCTION_CLONES=OFF -DHDRTM_BUILD_TOOLS=OFF
cmake --build build/sse2 -j"$jobs" --target golden_lut_test golden_planes_test
build/sse2/tests/golden_lut_test
build/sse2/tests/golden_planes_test

# The suite built by clang on x86-64 as well: each compiler's own rewriting
# of float comparisons, selects and loops must leave every value the same.
cmake -S . -B build/clang -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
  -DCMAKE_BUILD_TYPE=Release -DHDRTM_WERROR=ON
cmake --build build/clang -j"$jobs"
ctest --test-dir build/clang --output-on-failure -j"$jobs" -LE soak

# Every test binary of the GCC build once under Valgrind memcheck (the soak
# test is left out: it ran above).
scripts/memcheck.sh build/ci

cmake -S . -B build/asan -DCMAKE_BUILD_TYPE=Debug -DHDRTM_WERROR=ON -DHDRTM_SANITIZE=address,undefined
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build/asan --output-on-failure -j"$jobs" -LE soak

# The threading test under ThreadSanitizer: several callers at once, racing
# the first call that loads the tuning.
cmake -S . -B build/tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHDRTM_WERROR=ON -DHDRTM_SANITIZE=thread \
  -DHDRTM_BUILD_TOOLS=OFF
cmake --build build/tsan -j"$jobs" --target concurrency_test
TSAN_OPTIONS=halt_on_error=1 build/tsan/tests/concurrency_test

# Each libFuzzer target for a minute from its seed corpus.
scripts/fuzz.sh 60

# The same suite on 64-bit Arm under qemu-user-static (ctest runs every test
# binary under the emulator): with GCC, which would otherwise fuse
# multiply-adds there, and with clang, the compiler a device build uses, at
# -O2 as the device build compiles and at the project's Release level (-O3).
arm64_suite() {
  local dir="$1" toolchain="$2"
  shift 2
  cmake -S . -B "$dir" --toolchain "cmake/toolchains/$toolchain" -DHDRTM_WERROR=ON \
    -DHDRTM_BUILD_BENCH=OFF -DHDRTM_BUILD_TOOLS=ON "$@"
  cmake --build "$dir" -j"$jobs"
  ctest --test-dir "$dir" --output-on-failure -j"$jobs" -LE soak
}
arm64_suite build/arm64 aarch64-linux-gnu.cmake -DCMAKE_BUILD_TYPE=RelWithDebInfo
arm64_suite build/arm64-clang-o2 aarch64-linux-gnu-clang.cmake -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_C_FLAGS_RELEASE="-O2 -DNDEBUG" -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG"
arm64_suite build/arm64-clang aarch64-linux-gnu-clang.cmake -DCMAKE_BUILD_TYPE=Release
