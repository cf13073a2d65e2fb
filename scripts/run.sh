#!/usr/bin/env bash
# The main job: builds libhdr_tm and its hdrtm tool, installs them into
# build/install (library, headers, pkg-config file, CMake package, hdrtm),
# then runs the installed `hdrtm demo`, which calls the library's entry as a
# display service would (built-in defaults, a representative set of layer
# configurations, the colour-manager simulator) and writes every LUT it gets
# as a .cube file with a preview PNG, plus a tone-curve plot, into build/demo;
# it prints a summary table. Last, the installed Python module hdr_tm builds
# one LUT.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

prefix="$(pwd)/build/install"
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DHDRTM_BUILD_TESTS=OFF
cmake --build build/release -j"$(nproc)"
cmake --install build/release --prefix "$prefix"
# build/demo belongs to this script: start it afresh (hdrtm refuses to mix
# its files with others it did not write).
rm -rf build/demo
"$prefix/bin/hdrtm" demo -o build/demo
echo "The .cube files, previews and tone curve are in $(pwd)/build/demo"
echo "hdrtm is installed as $prefix/bin/hdrtm; add $prefix/bin to PATH to call it as hdrtm."

# The Python module, installed beside it for Debian's interpreter (the one
# python3-numpy serves): one LUT from the example tuning, as numpy arrays.
pydir="$(echo "$prefix"/lib/python3*/site-packages)"
if [ -e "$pydir/hdr_tm.pyi" ]; then
  PYTHONPATH="$pydir" /usr/bin/python3 - <<'PY'
import hdr_tm
tuning = hdr_tm.Tuning.from_file("tools/example_tuning.xml")
result = hdr_tm.run(hdr_tm.Layer("pq", master=1000), blend="pq", hw=True, tuning=tuning)
lut = result.luts[0]
print(f"hdr_tm {hdr_tm.__version__}: {result.row}: codes {lut.codes.dtype}{lut.codes.shape}, "
      f"{lut.bits}-bit, checksum {lut.checksum}")
PY
  echo "The Python module hdr_tm is installed in $pydir; put it on PYTHONPATH and use /usr/bin/python3."
fi
