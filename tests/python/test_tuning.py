"""Tuning holds the record as the library's loader stores it; check() gives
the diagnostics of hdrtm check."""
import json
import struct

import numpy as np
import pytest

import hdr_tm
from conftest import CHECK_DATA, EXAMPLE_TUNING, TOOL_DATA, hdrtm

# Offsets and formats of the fields a tuning file sets (tm_params.h pins them).
FIELDS = {
    "panel_max_luminance": (0, "H"), "panel_min_luminance": (4, "f"), "nominal_peak_luminance": (8, "f"),
    "panel_color_mode": (24, "I"), "output_gamma_val": (28, "f"), "output_gamma_space": (32, "I"),
    "t0": (464, "f"), "sharp": (468, "f"), "slope": (472, "f"), "intl": (476, "f"), "inth": (480, "f"),
    "pivot": (484, "f"), "LinearBoost": (488, "f"), "bright_enable": (492, "B"), "sysGamma": (496, "f"),
    "tlower": (500, "f"), "tupper": (504, "f"), "sat_enable": (508, "B"), "t1": (512, "f"), "t2": (516, "f"),
    "kmax": (520, "f"), "clipLuma": (524, "f"), "enableM": (528, "B"), "fixedClip": (529, "B"),
    "fixedRatio": (530, "B"), "linearScale": (531, "B"), "scaleStart": (532, "f"), "ratio": (536, "f"),
    "version": (736, "I"),
}
CURVE_OFFSET = 540


@pytest.mark.parametrize("path", [None, EXAMPLE_TUNING, TOOL_DATA / "parametric.xml", CHECK_DATA / "pcc_partial.xml"],
                         ids=["defaults", "example", "parametric", "pcc"])
def test_fields_are_the_loaders_record(clib, path):
    record, pcc = clib.record(path, convert_curve=False)
    t = hdr_tm.Tuning.defaults() if path is None else hdr_tm.Tuning.from_file(path, force=True)
    d = t.to_dict()
    for name, (offset, form) in FIELDS.items():
        expected = struct.unpack_from(form, record, offset)[0]
        assert getattr(t, name) == expected == d[name], name
    count = struct.unpack_from("i", record, CURVE_OFFSET)[0]
    xs = struct.unpack_from("24f", record, CURVE_OFFSET + 4)
    assert t.curve == {"num_points": count, "points_x": list(xs), "points_y": list(struct.unpack_from("24f", record, CURVE_OFFSET + 100))}
    if path is not None and "pcc" in path.name:
        rows = np.frombuffer(pcc.raw, dtype=np.float64)[1:].reshape(3, 11)
        assert t.pcc.dtype == np.float64 and np.array_equal(t.pcc, rows) and d["pcc"] == rows.tolist()
    else:
        assert t.pcc is None and d["pcc"] is None


def test_replace_changes_a_copy_and_says_so():
    t = hdr_tm.Tuning.from_file(EXAMPLE_TUNING)
    changed = t.replace(t0=0.05, enableM=0, panel_max_luminance=1000)
    assert (changed.t0, changed.enableM, changed.panel_max_luminance) == (np.float32(0.05), 0, 1000)
    assert t.enableM == 1 and changed.path == t.path
    assert repr(changed).endswith(".replace(t0=0.05000000074505806, enableM=0, panel_max_luminance=1000)")
    assert changed != t and t == hdr_tm.Tuning.from_file(EXAMPLE_TUNING)


@pytest.mark.parametrize("path", sorted(CHECK_DATA.glob("*.xml")), ids=lambda p: p.stem)
def test_check_gives_the_diagnostics_of_hdrtm_check(tmp_path, path):
    cli = json.loads(hdrtm("check", "--json", path, cwd=tmp_path, ok=(0, 1, 2)).stdout)
    got = [{"line": d.line, "column": d.column, "severity": d.severity, "code": d.code, "message": d.message,
            "stored": d.stored} for d in hdr_tm.check(path)]
    assert got == [{k: v for k, v in d.items() if k != "file"} for d in cli]


def test_warnings_reach_python_as_warnings():
    with pytest.warns(UserWarning, match="neither 0 nor 1"):
        hdr_tm.Tuning.from_file(CHECK_DATA / "switch_value.xml")
