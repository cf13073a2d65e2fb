#!/usr/bin/env python3
"""Writes hdrtm's test images, 16-bit PNGs with a cICP chunk (BT.2020
primaries, PQ), into the given folder:

  test_pattern_pq.png  768x288: a grey ramp over the whole PQ range, skin-tone
                       patches, a highlight roll-off from 100 to 10000 nits,
                       saturated BT.2020 and BT.709 primaries and secondaries
  grid_nodes_pq.png    289x34: every node of the library's two 17-point grids
                       as a pixel (rows 0-16 the uniform grid, 17-33 the
                       non-uniform one), red fastest along a row
  ramp_narrow_alpha_pq.png  64x4: a PQ grey ramp in the narrow (video) range
                       with an alpha ramp, cICP full-range flag 0
  ramp_ycbcr_pq.png    64x4: the grey ramp with a cICP chunk that claims
                       YCbCr matrix coefficients (9), which a PNG cannot hold

Only the Python standard library: no downloads, no imaging packages."""
import math
import struct
import sys
import zlib
from pathlib import Path

# SMPTE ST 2084 (PQ) constants.
M1 = 2610 / 16384
M2 = 2523 / 4096 * 128
C1 = 3424 / 4096
C2 = 2413 / 4096 * 32
C3 = 2392 / 4096 * 32
PQ_PEAK_NITS = 10000.0
# BT.709 to BT.2020 primaries (ITU-R BT.2087).
BT709_TO_BT2020 = ((0.6274, 0.3293, 0.0433), (0.0691, 0.9195, 0.0114), (0.0164, 0.0880, 0.8956))
DIFFUSE_WHITE_NITS = 203.0  # BT.2408 reference white
# X-Rite ColorChecker skin patches and common skin tones, 8-bit sRGB.
SKIN_TONES = ((115, 82, 68), (194, 150, 130), (224, 172, 105), (141, 85, 36), (255, 219, 172), (198, 134, 66))
HIGHLIGHT_TINT = (1.0, 0.86, 0.62)  # a warm sunlit white
SATURATED = ((1, 0, 0), (0, 1, 0), (0, 0, 1), (0, 1, 1), (1, 0, 1), (1, 1, 0))
SATURATED_NITS = 1000.0
UNIFORM_GRID = (0, 64, 128, 192, 256, 320, 384, 448, 512, 576, 640, 704, 768, 832, 896, 960, 1023)
NON_UNIFORM_GRID = (0, 62, 123, 185, 254, 308, 386, 451, 482, 513, 544, 575, 606, 637, 668, 923, 1023)
CICP_BT2020_PQ = bytes((9, 16, 0, 1))  # H.273 primaries, transfer, matrix (RGB), full range
CICP_BT2020_PQ_NARROW = bytes((9, 16, 0, 0))
CICP_BT2020_PQ_YCBCR = bytes((9, 16, 9, 1))
NARROW_BLACK, NARROW_SPAN = 16, 219  # H.273 narrow range, in units of 2^(bits - 8)
RAMP_WIDTH, RAMP_HEIGHT = 64, 4
WIDTH, BAND = 768, 72
SAMPLE_MAX = 65535
CODE_MAX = 1023


def pq(nits):
    y = (max(nits, 0.0) / PQ_PEAK_NITS) ** M1
    return ((C1 + C2 * y) / (1 + C3 * y)) ** M2


def srgb_to_linear(v):
    v /= 255.0
    return v / 12.92 if v <= 0.04045 else ((v + 0.055) / 1.055) ** 2.4


def to_bt2020(rgb):
    return tuple(sum(m * c for m, c in zip(row, rgb)) for row in BT709_TO_BT2020)


def sample(signal):
    return round(min(max(signal, 0.0), 1.0) * SAMPLE_MAX)


def pq_pixel(nits_rgb):
    return tuple(sample(pq(n)) for n in nits_rgb)


def write_png(path, width, rows, cicp=CICP_BT2020_PQ):
    """Rows of (r, g, b) or (r, g, b, alpha) 16-bit pixels."""
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    channels = len(rows[0][0])
    raw = b"".join(b"\0" + struct.pack(f">{width * channels}H", *[v for px in row for v in px]) for row in rows)
    png = b"\x89PNG\r\n\x1a\n"
    png += chunk(b"IHDR", struct.pack(">IIBBBBB", width, len(rows), 16, 6 if channels == 4 else 2, 0, 0, 0))
    png += chunk(b"cICP", cicp)
    png += chunk(b"IDAT", zlib.compress(raw, 9))
    png += chunk(b"IEND", b"")
    Path(path).write_bytes(png)


def test_pattern():
    rows = []
    grey = [(sample(x / (WIDTH - 1)),) * 3 for x in range(WIDTH)]
    rows += [grey] * BAND
    patch = WIDTH // len(SKIN_TONES)
    for scale in (1.0, 2.0):  # skin at diffuse white, then lit twice as bright
        linear = [to_bt2020([srgb_to_linear(v) for v in tone]) for tone in SKIN_TONES]
        row = [pq_pixel([c * DIFFUSE_WHITE_NITS * scale for c in linear[x // patch]]) for x in range(WIDTH)]
        rows += [row] * (BAND // 2)
    rolloff = []
    for x in range(WIDTH):
        nits = 100.0 * 100.0 ** (x / (WIDTH - 1))  # 100 to 10000 nits, log spaced
        rolloff.append(pq_pixel([nits * t for t in HIGHLIGHT_TINT]))
    rows += [rolloff] * BAND
    patch = WIDTH // len(SATURATED)
    for container in (lambda c: c, to_bt2020):  # BT.2020 primaries, then BT.709's
        row = [pq_pixel([v * SATURATED_NITS for v in container(SATURATED[x // patch])]) for x in range(WIDTH)]
        rows += [row] * (BAND // 2)
    return rows


def grid_nodes():
    size = len(UNIFORM_GRID)
    rows = []
    for grid in (UNIFORM_GRID, NON_UNIFORM_GRID):
        codes = [round(c * SAMPLE_MAX / CODE_MAX) for c in grid]
        for b in range(size):
            rows.append([(codes[r], codes[g], codes[b]) for g in range(size) for r in range(size)])
    return rows


def narrow(signal):
    return round((NARROW_SPAN * min(max(signal, 0.0), 1.0) + NARROW_BLACK) * 256)


def ramp(narrow_range):
    row = []
    for x in range(RAMP_WIDTH):
        v = x / (RAMP_WIDTH - 1)
        code = narrow(v) if narrow_range else sample(v)
        row.append((code, code, code, sample(1.0 - v)) if narrow_range else (code, code, code))
    return [row] * RAMP_HEIGHT


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: make_test_images.py FOLDER")
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    write_png(folder / "test_pattern_pq.png", WIDTH, test_pattern())
    write_png(folder / "grid_nodes_pq.png", len(UNIFORM_GRID) ** 2, grid_nodes())
    write_png(folder / "ramp_narrow_alpha_pq.png", RAMP_WIDTH, ramp(True), CICP_BT2020_PQ_NARROW)
    write_png(folder / "ramp_ycbcr_pq.png", RAMP_WIDTH, ramp(False), CICP_BT2020_PQ_YCBCR)


if __name__ == "__main__":
    main()
