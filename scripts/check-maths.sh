#!/usr/bin/env bash
# The exhaustive check of the library's correctly rounded maths against MPFR:
# every float through logf and log10f, every float base through powf for each
# constant exponent of the stages, and 10^y for every y whose result neither
# overflows nor underflows. Prints a line per function with the arguments
# checked and the mismatches; exits 1 on any. About ten minutes on two cores.
#   scripts/check-maths.sh [logf] [log10f] [powf] [exp10f]   (all without arguments)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/maths -DCMAKE_BUILD_TYPE=Release -DHDRTM_BUILD_TOOLS=OFF > /dev/null
cmake --build build/maths -j"$(nproc)" --target maths_exhaustive > /dev/null
build/maths/tests/maths/maths_exhaustive "$@"
