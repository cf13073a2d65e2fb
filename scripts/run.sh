#!/usr/bin/env bash
# The main job: builds libhdr_tm and prints the tone-mapping parameters of the
# built-in defaults and of the example tuning file shipped in tools/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DHDRTM_BUILD_TESTS=OFF
cmake --build build/release -j"$(nproc)"
build/release/tools/hdrtm_params tools/example_tuning.xml
