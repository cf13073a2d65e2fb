#!/usr/bin/env python3
"""Writes the binary seed corpora of the stage and entry fuzzers.

Each seed is the fields a harness reads, in its order (see the layout notes
at the top of fuzz/stage_fuzzer.cpp and fuzz/entry_fuzzer.cpp). Run from the
repository root after changing a harness's layout:

    fuzz/make_seeds.py
"""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
UNIFORM = [0, 64, 128, 192, 256, 320, 384, 448, 512, 576, 640, 704, 768, 832, 896, 960, 1023]
NONUNIFORM = [0, 62, 123, 185, 254, 308, 386, 451, 482, 513, 544, 575, 606, 637, 668, 923, 1023]
POINTS_Y = [0, 35, 65, 95, 131, 190, 289, 400, 444, 528, 565, 674, 779, 840, 1000, 1023, 1023]

# Byte offsets of the TMParams fields (744 bytes, include/tm_params.h).
FIELDS = {
    "panel_max_luminance": (0, "<H"), "panel_min_luminance": (4, "<f"),
    "nominal_peak_luminance": (8, "<f"), "gamut_mode": (12, "<B"),
    "inverse_bt2020_luma": (16, "<I"), "out_bit_depth": (20, "<B"), "grid_size": (21, "<B"),
    "panel_color_mode": (24, "<I"), "output_gamma_val": (28, "<f"),
    "output_gamma_space": (32, "<I"), "pcc_enable": (36, "<B"), "map_direction": (456, "<I"),
    "grid_set": (460, "<I"), "t0": (464, "<f"), "sharp": (468, "<f"), "slope": (472, "<f"),
    "intl": (476, "<f"), "inth": (480, "<f"), "pivot": (484, "<f"), "LinearBoost": (488, "<f"),
    "bright_enable": (492, "<B"), "sysGamma": (496, "<f"), "tlower": (500, "<f"),
    "tupper": (504, "<f"), "sat_enable": (508, "<B"), "t1": (512, "<f"), "t2": (516, "<f"),
    "kmax": (520, "<f"), "clipLuma": (524, "<f"), "enableM": (528, "<B"),
    "fixedClip": (529, "<B"), "fixedRatio": (530, "<B"), "linearScale": (531, "<B"),
    "scaleStart": (532, "<f"), "ratio": (536, "<f"), "num_points": (540, "<i"),
    "version": (736, "<I"),
}
GRID_POINTS = 40
POINTS_X = 544
POINTS_Y_OFFSET = 640
RECORD_BYTES = 744

DEFAULTS = dict(
    panel_max_luminance=500, panel_min_luminance=0.02, nominal_peak_luminance=1500.0,
    gamut_mode=2, out_bit_depth=10, grid_size=17, panel_color_mode=3, output_gamma_val=2.2,
    output_gamma_space=1, t0=0.0005, sharp=2.0, slope=1.15, intl=125.0, inth=275.0, pivot=8.0,
    LinearBoost=1.0, sysGamma=1.0, tlower=0.5, tupper=400.0, t1=0.05, t2=0.5, kmax=1.2,
    clipLuma=1000.0, enableM=1, fixedClip=1, fixedRatio=1, scaleStart=1000.0, ratio=1.0,
    num_points=17, grid_set=1,
)


def record(**changes):
    fields = dict(DEFAULTS, **changes)
    out = bytearray(RECORD_BYTES)
    for name, value in fields.items():
        offset, fmt = FIELDS[name]
        struct.pack_into(fmt, out, offset, value)
    tuned = NONUNIFORM if fields.get("version") == 1 else UNIFORM
    for grid_set, codes in enumerate([tuned, UNIFORM]):
        for axis in range(3):
            struct.pack_into("<17I", out, GRID_POINTS + (grid_set * 3 + axis) * 68, *codes)
    struct.pack_into("<17f", out, POINTS_X, *NONUNIFORM)
    struct.pack_into("<17f", out, POINTS_Y_OFFSET, *POINTS_Y)
    return bytes(out)


IDENTITY_PCC = [0.0] * 33
for row in range(3):
    IDENTITY_PCC[row * 11 + 1 + row] = 1.0


def pcc_block():
    return struct.pack("<d33d", 0.0, *IDENTITY_PCC)


def ramp(count, top):
    """Three planes of `count` samples rising from 0 to `top`."""
    step = top / max(count - 1, 1)
    plane = struct.pack("<%df" % count, *[i * step for i in range(count)])
    return plane * 3


# Selector values, in the order of the Stage enumeration of stage_fuzzer.cpp.
STAGES = [
    "st2084_inverse", "st2084_forward", "hlg_forward", "hlg_inverse", "bt709_forward",
    "bt709_inverse", "srgb_forward", "srgb_inverse", "gamma2p2_forward", "gamma2p2_inverse",
    "gamma_custom_forward", "ootf_forward", "ootf_inverse", "rgb2rgb_conv", "rgb2xyz",
    "xyz2rgb", "xyz2lab", "xyz2rgb_luma", "rgb2rgb_gmap", "panel_pcc", "log_curves",
    "log_curve_tables", "cal_curve_lut", "ytm", "sat_gain", "rgb_sat_boost",
    "tone_mapping_core", "inverse_tone_mapping_core", "input_gen", "nonuniformity",
    "lut3d", "hlg_lut3d", "inverse_lut3d", "hlg_inverse_lut3d", "clipping",
]
# Record-based stages run on a 5-point grid (125 samples) to keep the seeds
# small; the pipelines fill their own planes on the full grid.
SMALL_GRID = 5
GRID_SAMPLES = SMALL_GRID ** 3
PIPELINES = ("lut3d", "hlg_lut3d", "inverse_lut3d", "hlg_inverse_lut3d")


def stage_seeds():
    seeds = {}
    transfer_count = 64
    for index, name in enumerate(STAGES):
        params = record(version=1 if name in ("cal_curve_lut", "log_curve_tables") else 0,
                        grid_size=17 if name in PIPELINES else SMALL_GRID)
        head = bytes([index]) + params + b"\x01" + pcc_block()
        if name in ("st2084_inverse", "hlg_inverse", "bt709_inverse", "srgb_inverse"):
            args = struct.pack("<HHHH", transfer_count, 3, 1023, 1)
            if name == "st2084_inverse":
                args += struct.pack("<I", 3)
            body = args + ramp(transfer_count, 1023.0)
        elif name in ("st2084_forward", "hlg_forward", "bt709_forward", "srgb_forward",
                      "gamma2p2_forward", "gamma2p2_inverse"):
            body = struct.pack("<HHHH", transfer_count, 3, 1, 1) + ramp(transfer_count, 1.0)
        elif name == "gamma_custom_forward":
            body = (struct.pack("<HHHHf", transfer_count, 3, 1, 1, 2.4)
                    + ramp(transfer_count, 1.0))
        elif name in ("ootf_forward", "ootf_inverse"):
            body = (struct.pack("<HHHHf", transfer_count, 3, 0, 0, 1000.0)
                    + ramp(transfer_count, 1.0))
        elif name == "rgb2rgb_conv":
            body = struct.pack("<HB", transfer_count, 5) + ramp(transfer_count, 1.0)
        elif name in ("rgb2xyz", "xyz2rgb", "xyz2lab"):
            body = b"\x03" + ramp(GRID_SAMPLES, 1.0)
        elif name == "log_curves":
            # x, yMin, yMax, k, xMax, xMin, yToe, yShoulder, intercept, slope; mode
            body = struct.pack("<10fB", 2.0, -1.7, 2.7, 2.0, 3.0, -3.3, 2.1, 2.44, 0.0, 1.0, 1)
        elif name == "log_curve_tables":
            body = struct.pack("<f", 300.0)
        elif name == "sat_gain":
            body = struct.pack("<4f", 0.01, 0.05, 0.5, 1.2)
        elif name == "rgb_sat_boost":
            body = (struct.pack("<H3fB", transfer_count, 0.05, 0.5, 1.2, 0)
                    + ramp(transfer_count, 1.0))
        elif name == "input_gen":
            body = struct.pack("<51I", *(UNIFORM * 3)) + b"\x11"
        elif name == "nonuniformity":
            body = struct.pack("<51I", *(NONUNIFORM * 3)) + b"\xff" * (129 * 4)
        elif name == "clipping":
            body = struct.pack("<3f", 2.0, 0.0, 1.0)
        elif name in PIPELINES:
            body = b""
        else:  # the other record-based stages: planes over the grid
            body = ramp(GRID_SAMPLES, 1.0)
        seeds["%02d_%s" % (index, name)] = head + body
    return seeds


def layer(transfer, primaries=9, content_class=0, master=10000000, cll=0, max_cll=0):
    return struct.pack("<BBBIBI", content_class, primaries, transfer, master, cll, max_cll)


def call(blend, hw, layers, missing=0, fill=0xC0000000):
    padded = layers + [layer(0, 0, 0, 0)] * (4 - len(layers))
    return struct.pack("<BBBBI", blend, hw, len(layers), missing, fill) + b"".join(padded)


def entry(tuning, calls, faults=0, tuning_file=b"", pcc_status=0, push_status=0, pcc=()):
    return (struct.pack("<BBii", tuning, faults, pcc_status, push_status)
            + struct.pack("<%dd" % len(pcc), *pcc)
            + bytes([len(calls) - 1]) + b"".join(calls) + tuning_file)


def entry_seeds():
    with open(os.path.join(HERE, "corpus", "tuning_loader", "example_v2.xml"), "rb") as f:
        v2 = f.read()
    with open(os.path.join(HERE, "corpus", "tuning_loader", "full_v1_pcc.xml"), "rb") as f:
        v1 = f.read()
    pq, hlg = layer(16), layer(18)
    sdr, sdr_class = layer(1, 1), layer(3, 1, content_class=2)
    return {
        "pq_per_layer": entry(0, [call(1, 0, [pq])]),
        "pq_hardware_v2": entry(2, [call(0, 1, [pq, hlg])], tuning_file=v2),
        "pq_hardware_tuned_clip": entry(2, [call(0, 1, [layer(16, master=40000000), pq])],
                                        tuning_file=v1),
        "pq_without_pcc": entry(0, [call(0, 0, [pq, sdr])]),
        "pq_refused_then_released": entry(0, [call(2, 1, [pq]), call(0, 1, [pq])]),
        "hlg_under_pq": entry(0, [call(0, 0, [hlg, hlg])]),
        "hlg_per_layer": entry(1, [call(1, 0, [hlg, pq])]),
        "hlg_hardware_then_refused": entry(0, [call(2, 1, [hlg, hlg])]),
        "hlg_blend_without_pcc": entry(0, [call(2, 0, [hlg])]),
        "sdr_inverse_both_blends": entry(0, [call(0, 0, [sdr, sdr_class]),
                                             call(2, 0, [sdr_class, sdr])]),
        "sdr_cleared": entry(0, [call(1, 0, [sdr, sdr, sdr, sdr])]),
        "four_layers_missing_descriptors": entry(0, [call(0, 1, [pq, hlg, sdr, hlg],
                                                          missing=0x25)]),
        "acquire_fails": entry(0, [call(0, 1, [pq])], faults=1),
        "pcc_read_fails": entry(0, [call(0, 1, [pq]), call(2, 1, [hlg])], faults=2,
                                pcc_status=-5),
        "push_fails_custom_pcc": entry(3, [call(0, 1, [pq]), call(2, 1, [hlg])], faults=12,
                                       push_status=7, pcc=[0.5] * 33),
        "no_layers": entry(1, [call(0, 0, [])]),
    }


def write(directory, seeds):
    os.makedirs(directory, exist_ok=True)
    for name, data in seeds.items():
        with open(os.path.join(directory, name + ".bin"), "wb") as f:
            f.write(data)


if __name__ == "__main__":
    write(os.path.join(HERE, "corpus", "stage"), stage_seeds())
    write(os.path.join(HERE, "corpus", "entry"), entry_seeds())
