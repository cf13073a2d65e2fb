"""Reads a LUT file (.cube or CLF) with OpenColorIO and prints its output at
every point (r, g, b) of the given axis positions, red fastest, one "r g b"
line per point. Usage: ocio_sample.py FILE P0,P1,... (positions 0..1)."""
import sys

import PyOpenColorIO as ocio


def main():
    path, positions = sys.argv[1], [float(p) for p in sys.argv[2].split(",")]
    transform = ocio.FileTransform(src=path, interpolation=ocio.INTERP_TETRAHEDRAL,
                                   direction=ocio.TRANSFORM_DIR_FORWARD)
    processor = ocio.Config.CreateRaw().getProcessor(transform).getDefaultCPUProcessor()
    pixels = []
    for b in positions:
        for g in positions:
            for r in positions:
                pixels += [r, g, b]
    out = processor.applyRGB(pixels)
    for i in range(0, len(out), 3):
        print(f"{out[i]:.8f} {out[i + 1]:.8f} {out[i + 2]:.8f}")


if __name__ == "__main__":
    main()
