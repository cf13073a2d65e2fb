"""Reads a .cube file with OpenColorIO and prints its output at every grid
point i/(size-1), red fastest, one "r g b" line per point."""
import sys

import PyOpenColorIO as ocio


def main():
    path, size = sys.argv[1], int(sys.argv[2])
    transform = ocio.FileTransform(src=path, interpolation=ocio.INTERP_TETRAHEDRAL,
                                   direction=ocio.TRANSFORM_DIR_FORWARD)
    processor = ocio.Config.CreateRaw().getProcessor(transform).getDefaultCPUProcessor()
    step = 1.0 / (size - 1)
    pixels = []
    for b in range(size):
        for g in range(size):
            for r in range(size):
                pixels += [r * step, g * step, b * step]
    out = processor.applyRGB(pixels)
    for i in range(0, len(out), 3):
        print(f"{out[i]:.7f} {out[i + 1]:.7f} {out[i + 2]:.7f}")


if __name__ == "__main__":
    main()
