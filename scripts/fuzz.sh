#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each for a while from its seed corpus.
#   scripts/fuzz.sh [seconds per target, default 60] [target ...]
# New inputs go to build/fuzz/corpus/<target>/, failures to
# build/fuzz/artifacts/; the seed corpora in fuzz/corpus/ are only read.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"
shift || true
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then targets=(tuning_loader stage entry); fi

cmake -S . -B build/fuzz -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHDRTM_WERROR=ON -DHDRTM_BUILD_FUZZERS=ON \
  -DHDRTM_BUILD_TESTS=OFF -DHDRTM_BUILD_TOOLS=OFF
cmake --build build/fuzz -j"$(nproc)" --target "${targets[@]/%/_fuzzer}"

mkdir -p build/fuzz/artifacts
for target in "${targets[@]}"; do
  corpus="build/fuzz/corpus/$target"
  mkdir -p "$corpus"
  options=(-max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 -print_final_stats=1
           -artifact_prefix="build/fuzz/artifacts/$target-" -close_fd_mask=1)
  if [ -f "fuzz/$target.dict" ]; then options+=(-dict="fuzz/$target.dict"); fi
  echo "fuzz: $target for $seconds s"
  "build/fuzz/fuzz/${target}_fuzzer" "${options[@]}" "$corpus" "fuzz/corpus/$target"
done
