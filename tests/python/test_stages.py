"""The stage functions give the C functions' bits: on edge values (-0, NaN,
infinities, subnormals), in every shape the module takes, and the pipelines
as the entry's LUTs."""
import ctypes
import struct

import numpy as np
import pytest

import hdr_tm
from conftest import EDGE_VALUES, EXAMPLE_TUNING, TOOL_DATA, edge_colours, same_bits

# Values a table decoder may be given: within 0..in_max, or NaN.
TABLE_VALUES = np.array([-0.0, 0.0, 1e-45, 1.1754942e-38, np.nan, 0.25, 0.5, 0.999, 1.0], dtype=np.float32)

# (module function, keyword arguments, the C call's arguments after the planes)
FORMULAS = [
    ("st2084_forward_tf", {"in_scale": 10000}, (10000, 1)),
    ("st2084_forward_tf", {}, (1, 1)),
    ("HLG_forward_tf", {"out_scale": 1023}, (3, 1, 1023)),
    ("bt709_forward_tf", {}, (3, 1, 1)),
    ("sRGB_forward_tf", {"in_scale": 100}, (3, 100, 1)),
    ("gamma2p2_forward_tf", {}, (3, 1, 1)),
    ("gamma2p2_inverse_tf", {"out_scale": 4095}, (3, 1, 4095)),
    ("gamma_custom_forward_tf", {"gamma": 2.4}, (2.4, 3, 1, 1)),
    ("OOTF_forward_tf", {"peak": 1000.0}, (0, 0, ctypes.c_float(1000.0))),
    ("OOTF_forward_tf", {"peak": 1500.0}, (0, 0, ctypes.c_float(1500.0))),
    ("OOTF_inverse_tf", {"peak": 1000.0}, (0, 0, ctypes.c_float(1000.0))),
]
TABLES = [
    ("st2084_inverse_tf", {"in_max": 1, "out_scale": 10000}, (3, 1, 10000)),
    ("HLG_inverse_tf", {}, (1, 1)),
    ("bt709_inverse_tf", {}, (1, 1)),
    ("sRGB_inverse_tf", {"in_max": 1}, (1, 1)),
]


@pytest.mark.parametrize("name, kwargs, c_args", FORMULAS, ids=[f[0] + str(i) for i, f in enumerate(FORMULAS)])
def test_formula_stages_give_the_c_bits_on_edge_values(clib, name, kwargs, c_args):
    colours = edge_colours()
    got = getattr(hdr_tm, name)(colours, **kwargs)
    assert got.dtype == np.float32 and got.shape == colours.shape
    assert same_bits(got, clib.on_planes(name, colours, *c_args))
    assert same_bits(colours, edge_colours())  # the caller's array is left alone


@pytest.mark.parametrize("name, kwargs, c_args", TABLES, ids=[t[0] for t in TABLES])
def test_table_decoders_give_the_c_bits_within_their_range(clib, name, kwargs, c_args):
    colours = edge_colours(TABLE_VALUES)
    assert same_bits(getattr(hdr_tm, name)(colours, **kwargs), clib.on_planes(name, colours, *c_args))


def test_an_image_is_the_same_colours_in_its_shape():
    image = np.random.default_rng(1).random((5, 7, 3), dtype=np.float32)
    flat = hdr_tm.st2084_forward_tf(image.reshape(-1, 3))
    got = hdr_tm.st2084_forward_tf(image)
    assert got.shape == (5, 7, 3) and same_bits(got.reshape(-1, 3), flat)
    strided = hdr_tm.st2084_forward_tf(image[:, ::2])  # a view, not contiguous
    assert same_bits(strided, got[:, ::2])
    assert hdr_tm.st2084_forward_tf(np.zeros((0, 3), np.float32)).shape == (0, 3)


def c_record(clib, tuning_path, grid_size, bt2020_input=False):
    record, pcc = clib.record(tuning_path)
    struct.pack_into("B", record, 21, grid_size)  # offsetof(TMParams, grid_size)
    struct.pack_into("I", record, 16, int(bt2020_input))  # offsetof(TMParams, inverse_bt2020_luma)
    return record, pcc


def c_core(clib, name, tuning_path, colours, bt2020_input=False):
    n = round(len(colours) ** (1 / 3))
    record, _pcc = c_record(clib, tuning_path, n, bt2020_input)
    planes = [np.ascontiguousarray(colours[:, c]) for c in range(3)]
    pointers = (ctypes.POINTER(ctypes.c_float) * 3)(*[p.ctypes.data_as(ctypes.POINTER(ctypes.c_float)) for p in planes])
    clib.function(name)(record, pointers)
    return np.stack(planes, axis=1)


CORE_TUNINGS = {"defaults": None, "saturation boost": TOOL_DATA / "parametric.xml", "table curve": EXAMPLE_TUNING}


@pytest.mark.parametrize("tuning", CORE_TUNINGS.values(), ids=CORE_TUNINGS.keys())
@pytest.mark.parametrize("name, bt2020", [("tone_mapping_core", False), ("inverse_tone_mapping_core", False),
                                          ("inverse_tone_mapping_core", True)])
def test_cores_give_the_c_bits_on_edge_values_for_any_count(clib, tuning, name, bt2020):
    values = np.resize(EDGE_VALUES, 27)
    colours = edge_colours(values)  # 27 = 3^3 points, what the C core takes with grid_size 3
    expected = c_core(clib, name, tuning, colours, bt2020)
    kwargs = {"bt2020_input": True} if bt2020 else {}
    function = getattr(hdr_tm, name)
    assert same_bits(function(tuning, colours, **kwargs), expected)
    # 20 points go through padded to a cube: each point is its own.
    assert same_bits(function(tuning, colours[:20], **kwargs), expected[:20])


CURVES = {
    "defaults": (None, {}),
    "table": (EXAMPLE_TUNING, {}),
    "parametric": (TOOL_DATA / "parametric.xml", {}),
    "shoulder at clipLuma": (TOOL_DATA / "follows_content.xml", {"version": 0, "clipLuma": 4000.0}),
    "LinearBoost above the pivot": (None, {"LinearBoost": 3.0}),
}


@pytest.mark.parametrize("tuning, changes", CURVES.values(), ids=CURVES.keys())
def test_tone_curve_is_the_curve_yTM_maps_luminance_through(tuning, changes):
    # yTM takes log10 of the nits, the curve, 10^, and puts the result on the
    # panel's range; without the brightness section and the linear scale that
    # is the tone curve alone.
    t = hdr_tm.Tuning.from_file(tuning) if tuning else hdr_tm.Tuning.defaults()
    t = t.replace(bright_enable=0, linearScale=0, **changes)
    luminance = np.geomspace(1e-7, 1.0, 200, dtype=np.float32)
    log_nits = hdr_tm.log10f(luminance * np.float32(10000))
    curve = hdr_tm.tone_curve(t, log_nits)
    black = max(np.float32(t.panel_min_luminance) / np.float32(10000), np.float32(5.0000004e-08))
    peak = np.float32(t.panel_max_luminance) / np.float32(10000)
    expected = (hdr_tm.powf(np.full_like(curve, 10), curve) / np.float32(10000) - black) / (peak - black)
    assert same_bits(hdr_tm.yTM(t, luminance), expected)
    grid = np.stack([log_nits, log_nits]).astype(np.float32)  # any shape comes back in its shape
    assert same_bits(hdr_tm.tone_curve(t, grid, inverse=True)[1], hdr_tm.tone_curve(t, log_nits, inverse=True))


# The entry's row for each pipeline on the defaults, and what the pipeline
# needs to run as the row does.
PIPELINES = [
    ("lut3d_process", {}, ("pq", "layer")),
    ("HLG_lut3d_process", {}, ("hlg", "layer")),
    ("inverse_lut3d_process", {"hlg_input": True}, ("hlg", "pq")),
    ("inverse_lut3d_process", {}, ("sdr", "pq")),
    ("HLG_inverse_lut3d_process", {}, ("sdr", "hlg")),
]


@pytest.mark.parametrize("name, kwargs, row", PIPELINES, ids=[f"{p[0]}-{p[2][0]}" for p in PIPELINES])
def test_pipelines_truncated_are_the_entrys_codes(name, kwargs, row):
    planes = getattr(hdr_tm, name)(None, **kwargs)
    assert planes.dtype == np.float32 and planes.shape == (17, 17, 17, 3)
    codes = hdr_tm.run(row[0], blend=row[1]).luts[0].codes
    assert np.array_equal(np.trunc(planes).astype(np.uint16), codes)  # the entry truncates


def test_pipelines_take_any_grid_of_up_to_17_codes():
    full = hdr_tm.lut3d_process(None, bits=12)
    assert full.max() <= 4095 and full.max() > 1023
    sub = hdr_tm.lut3d_process(None, [0, 512, 1023], bits=12)
    assert sub.shape == (3, 3, 3, 3)
    assert same_bits(sub[2, 1, 0], full[16, 8, 0])  # codes 1023, 512, 0
    axes = hdr_tm.lut3d_process(None, [[0, 1023], [0, 512], [0, 1023]], bits=12)
    assert same_bits(axes[1, 1, 0], full[16, 8, 0])
    identity = np.array([[0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0], [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0],
                         [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]], float)
    identity[0] = [0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0]
    identity[1] = [0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0]
    identity[2] = [0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0]
    assert same_bits(hdr_tm.lut3d_process(None, bits=12, pcc=identity), full)


def test_delta_e_itp_is_zero_for_equal_light_and_takes_either_precision():
    a = np.array([[100.0, 100.0, 100.0], [1000.0, 0.0, 0.0]])
    assert np.array_equal(hdr_tm.delta_e_itp(a, a), [0.0, 0.0])
    brighter = hdr_tm.delta_e_itp(a.astype(np.float32), a * 1.01)
    assert brighter.dtype == np.float64 and brighter.shape == (2,) and np.all(brighter > 0.3)
    assert hdr_tm.delta_e_itp(a.reshape(1, 2, 3), (a * 2).reshape(1, 2, 3)).shape == (1, 2)


def test_maths_are_correctly_rounded_and_refuse_other_types():
    # The float nearest the exact value, from 80-bit mpmath, on the edges and
    # on arguments whose results lie near a rounding boundary.
    mpmath = pytest.importorskip("mpmath")
    hard = [float.fromhex("0x1.827a74p-7"), float.fromhex("0x1.2f1fd6p+3")]
    x = np.array([1e-30, 0.5, 1.0, 10.0, *hard, 4095.0 * 4095.0, 3e38], np.float32)

    def nearest(value):
        with mpmath.workprec(24):
            return np.float32(float(+value))

    with mpmath.workprec(80):
        logs = [nearest(mpmath.log(mpmath.mpf(float(v)))) for v in x]
        log10s = [nearest(mpmath.log10(mpmath.mpf(float(v)))) for v in x]
        roots = [nearest(mpmath.sqrt(mpmath.mpf(float(v)))) for v in x]
    assert same_bits(hdr_tm.logf(x), np.array(logs, np.float32))
    assert same_bits(hdr_tm.log10f(x), np.array(log10s, np.float32))
    assert same_bits(hdr_tm.powf(x, 0.5), np.array(roots, np.float32))
    assert same_bits(hdr_tm.powf(x, np.full_like(x, 0.5)), hdr_tm.powf(x, 0.5))
    with pytest.raises(TypeError, match="float32"):
        hdr_tm.logf(x.astype(np.float64))
    with pytest.raises(ValueError, match="shape"):
        hdr_tm.powf(x, x[:3])
