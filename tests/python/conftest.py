"""What the hdr_tm tests share: the paths CTest passes, the library itself
through ctypes (the C functions the module must match bit for bit), the
hdrtm tool, and 16-bit PNGs read and written without imaging packages."""
import ctypes
import json
import os
import runpy
import struct
import subprocess
import zlib
from pathlib import Path

import numpy as np
import pytest

SOURCE = Path(os.environ["HDRTM_SOURCE_DIR"])
HDRTM = os.environ["HDRTM"]
LIBRARY = os.environ["HDR_TM_LIBRARY"]
EXAMPLE_TUNING = SOURCE / "tools" / "example_tuning.xml"
CHECK_DATA = SOURCE / "tests" / "data" / "check"
TOOL_DATA = SOURCE / "tests" / "data" / "hdrtm"
TUNINGS = {"defaults": None, "example": EXAMPLE_TUNING}

RECORD_SIZE = 744  # sizeof(TMParams), pinned by tm_params.h
PCC_SIZE = 272  # sizeof(PccCoefficients)
PCC_OFFSET = 448  # offsetof(TMParams, pcc)
VERSION_OFFSET = 736  # offsetof(TMParams, version)

# The smallest and largest subnormals, the smallest normal, and the values
# the library's clamps and powers must pass through as written.
EDGE_VALUES = np.array(
    [-0.0, 0.0, 1e-45, -1e-45, 1.1754942e-38, 1.1754944e-38, np.nan, -np.nan, np.inf, -np.inf,
     0.5, 1.0, 1.5, -1.0, 1e-20, 0.018, 0.0031308, 1e30, 3.4e38, 100.0],
    dtype=np.float32,
)


def edge_colours(values=EDGE_VALUES):
    """Every value in every channel beside the others: an (N, 3) float32 array."""
    n = len(values)
    return np.stack([values, np.roll(values, 1), np.roll(values, n // 2)], axis=1).astype(np.float32)


def same_bits(a, b):
    """True when a and b hold the same floats bit for bit, any NaN equal to any NaN."""
    a, b = np.asarray(a), np.asarray(b)
    if a.shape != b.shape or a.dtype != b.dtype:
        return False
    nan = np.isnan(a) & np.isnan(b)
    view = {4: np.uint32, 8: np.uint64}[a.dtype.itemsize]
    return bool(np.all(nan | (a.view(view) == b.view(view))))


class CLibrary:
    """libhdr_tm.so through ctypes: each exported stage called as C would."""

    MANGLED = {
        "st2084_forward_tf": "_Z17st2084_forward_tfPPfjtt",
        "st2084_inverse_tf": "_Z17st2084_inverse_tfPPfjjtt",
        "HLG_forward_tf": "_Z14HLG_forward_tfPPfjttt",
        "HLG_inverse_tf": "_Z14HLG_inverse_tfPPfjtt",
        "bt709_forward_tf": "_Z16bt709_forward_tfPPfjttt",
        "bt709_inverse_tf": "_Z16bt709_inverse_tfPPfjtt",
        "sRGB_forward_tf": "_Z15sRGB_forward_tfPPfjttt",
        "sRGB_inverse_tf": "_Z15sRGB_inverse_tfPPfjtt",
        "gamma2p2_forward_tf": "_Z19gamma2p2_forward_tfPPfjttt",
        "gamma2p2_inverse_tf": "_Z19gamma2p2_inverse_tfPPfjttt",
        "gamma_custom_forward_tf": "_Z23gamma_custom_forward_tffPPfjttt",
        "OOTF_forward_tf": "_Z15OOTF_forward_tfPPfjttf",
        "OOTF_inverse_tf": "_Z15OOTF_inverse_tfPPfjttf",
        "tone_mapping_core": "_Z17tone_mapping_coreP8TMParamsPPf",
        "inverse_tone_mapping_core": "_Z25inverse_tone_mapping_coreP8TMParamsPPf",
        "set_default_vals": "_Z16set_default_valsP8TMParams",
        "CalCurveLUT": "_Z11CalCurveLUTP8TMParams",
    }

    def __init__(self, path):
        self.lib = ctypes.CDLL(path)

    def function(self, name):
        return getattr(self.lib, self.MANGLED[name])

    def on_planes(self, name, colours, *args):
        """Calls a plane function on a copy of (N, 3) colours: args after the
        planes and the count as the C signature takes them (the exponent of
        gamma_custom_forward_tf goes first, before the planes, as in C)."""
        planes = [np.ascontiguousarray(colours[:, c], dtype=np.float32) for c in range(3)]
        pointers = (ctypes.POINTER(ctypes.c_float) * 3)(
            *[p.ctypes.data_as(ctypes.POINTER(ctypes.c_float)) for p in planes])
        f = self.function(name)
        f.restype = None
        count = ctypes.c_uint(len(colours))
        if name == "gamma_custom_forward_tf":
            f(ctypes.c_float(args[0]), pointers, count, *args[1:])
        else:
            f(pointers, count, *args)
        return np.stack(planes, axis=1)

    def record(self, tuning_path=None, convert_curve=True):
        """A TMParams as set_default_vals or the loader leaves it, with its PCC
        block; a version 2.0 table converted by CalCurveLUT, as the entry does
        before it runs a stage, unless convert_curve is False."""
        record = ctypes.create_string_buffer(RECORD_SIZE)
        pcc = ctypes.create_string_buffer(PCC_SIZE)
        struct.pack_into("Q", record, PCC_OFFSET, ctypes.addressof(pcc))
        if tuning_path is None:
            self.function("set_default_vals")(record)
        else:
            assert self.lib.HDR_load_tone_mapping_xml(str(tuning_path).encode(), record) == 0
        if convert_curve and struct.unpack_from("I", record, VERSION_OFFSET)[0] == 1:
            self.function("CalCurveLUT")(record)
        return record, pcc


@pytest.fixture(scope="session")
def clib():
    return CLibrary(LIBRARY)


def hdrtm(*args, cwd, ok=(0,)):
    """Runs the hdrtm tool; fails the test on an unexpected exit status."""
    done = subprocess.run([HDRTM, *map(str, args)], cwd=cwd, capture_output=True, text=True)
    assert done.returncode in ok, f"hdrtm {' '.join(map(str, args))}: {done.returncode}\n{done.stderr}"
    return done


def lut_codes_from_cli(tmp_path, configuration, tuning):
    """hdrtm lut for one configuration: its --json summary and its --codes file."""
    args = ["lut", "--repeat", "0", "--no-preview", "--json", "-o", tmp_path / "out", "--codes", tmp_path / "codes.json",
            "--blend", configuration.blend]
    for layer in configuration.layers:
        args += ["--layer", layer.text]
    if configuration.hw:
        args.append("--hw")
    if tuning is not None:
        args += ["--tuning", tuning]
    summary = json.loads(hdrtm(*args, cwd=tmp_path, ok=(0, 1)).stdout)
    return summary["configurations"][0], json.loads((tmp_path / "codes.json").read_text())["luts"]


# The PNG writer of the tool's test images, without running that script.
_write_png_rows = runpy.run_path(str(SOURCE / "scripts" / "make_test_images.py"))["write_png"]


def write_png(path, image):
    """A uint16 (H, W, 3) image as a 16-bit PNG marked BT.2020 PQ."""
    _write_png_rows(path, image.shape[1], [[tuple(px) for px in row] for row in image.tolist()])


def read_png(path):
    """A 16-bit RGB PNG (as hdrtm writes them) as uint16 (H, W, 3)."""
    data = Path(path).read_bytes()
    pos, idat, width, height = 8, b"", 0, 0
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack(">IIBB", body[:10])
            assert (depth, colour) == (16, 2), "a 16-bit RGB PNG"
        elif kind == b"IDAT":
            idat += body
        pos += 12 + length
    raw = zlib.decompress(idat)
    stride, bpp = width * 6, 6
    rows, previous = [], bytearray(stride)
    for y in range(height):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            left = line[i - bpp] if i >= bpp else 0
            up, corner = previous[i], previous[i - bpp] if i >= bpp else 0
            if kind == 1:
                line[i] = (line[i] + left) & 0xFF
            elif kind == 2:
                line[i] = (line[i] + up) & 0xFF
            elif kind == 3:
                line[i] = (line[i] + (left + up) // 2) & 0xFF
            elif kind == 4:
                p = left + up - corner
                pa, pb, pc = abs(p - left), abs(p - up), abs(p - corner)
                line[i] = (line[i] + (left if pa <= pb and pa <= pc else up if pb <= pc else corner)) & 0xFF
        rows.append(bytes(line))
        previous = line
    return np.frombuffer(b"".join(rows), dtype=">u2").reshape(height, width, 3).astype(np.uint16)
