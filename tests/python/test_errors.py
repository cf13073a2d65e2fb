"""Every bad input raises the stated exception with the CLI's words, never a
crash and never a silent conversion."""
import os

import numpy as np
import pytest

import hdr_tm
from conftest import CHECK_DATA, EXAMPLE_TUNING

F32 = np.zeros((2, 3), np.float32)
LUT = hdr_tm.run("pq", blend="layer").luts[0]
DEFAULTS = hdr_tm.Tuning.defaults()


def fifo(tmp_path):
    path = tmp_path / "tuning.xml"
    os.mkfifo(path)
    return path


def two_point_cube(tmp_path):
    path = tmp_path / "small.cube"
    path.write_text("LUT_3D_SIZE 2\n" + "0 0 0\n" * 8)
    return path


CASES = [
    # files
    ("missing tuning", lambda p: hdr_tm.Tuning.from_file(p / "none.xml"), FileNotFoundError,
     "tuning file .*none.xml does not exist"),
    ("tuning is a folder", lambda p: hdr_tm.Tuning.from_file(p), IsADirectoryError, "is a folder, not a file"),
    ("tuning is a FIFO", lambda p: hdr_tm.Tuning.from_file(fifo(p)), OSError, "tuning file .*tuning.xml is a FIFO"),
    ("check a missing file", lambda p: hdr_tm.check(p / "none.xml"), FileNotFoundError, "does not exist"),
    ("run a missing tuning", lambda p: hdr_tm.run("pq", tuning=str(p / "none.xml")), FileNotFoundError, "does not exist"),
    ("missing LUT", lambda p: hdr_tm.read_lut(p / "none.cube"), FileNotFoundError, "LUT file .*none.cube does not exist"),
    ("not a LUT", lambda p: hdr_tm.read_lut(CHECK_DATA / "clean.xml"), ValueError, "not a 3D .cube file"),
    ("LUT of 2 points", lambda p: hdr_tm.read_lut(two_point_cube(p)), ValueError, "the library's LUTs have 17"),
    # malformed tunings, with the checker's words naming the valid values
    ("unknown name", lambda p: hdr_tm.Tuning.from_file(CHECK_DATA / "unknown_name.xml"), ValueError,
     "is not one of sRGB, BT709, ADOBE, DCIP3, BT2020"),
    ("truncated integer", lambda p: hdr_tm.Tuning.from_file(CHECK_DATA / "truncated.xml"), ValueError,
     "1 error|2 error|does not fit in 16 bits: the loader stores 4464"),
    ("typo", lambda p: hdr_tm.Tuning.from_file(CHECK_DATA / "unknown_element.xml"), ValueError,
     "did you mean \"panel_max_luminance\"\\?.*|force=True"),
    ("not XML, forced", lambda p: hdr_tm.Tuning.from_file(CHECK_DATA / "malformed.xml", force=True), ValueError,
     "the library cannot load the tuning file"),
    ("tuning of another type", lambda p: hdr_tm.run("pq", tuning=42), TypeError, "tuning must be a Tuning, a path"),
    # layers and the configuration, with hdrtm lut --layer's words
    ("unknown transfer", lambda p: hdr_tm.Layer("dolby"), ValueError,
     "the transfer must be pq, hlg, sdr or an H.273 transfer code 0..255"),
    ("unknown primaries", lambda p: hdr_tm.Layer("pq", primaries="rec2020"), ValueError,
     "primaries must be bt2020, bt709, p3 or an H.273 code 0..255, not \"rec2020\""),
    ("unknown key", lambda p: hdr_tm.Layer("pq,colour=2"), ValueError,
     "unknown key \"colour\" \\(the keys are primaries=, class=, master=, cll=\\)"),
    ("key twice", lambda p: hdr_tm.Layer("pq,master=1000", master=4000), ValueError, "master is given twice"),
    ("master too high", lambda p: hdr_tm.Layer("pq", master=20000), ValueError,
     "master must be a whole number of nits, 0..10000, not \"20000\""),
    ("negative class", lambda p: hdr_tm.Layer("sdr", content_class=-1), ValueError, "class must be 0..2"),
    ("master in float", lambda p: hdr_tm.Layer("pq", master=1000.5), TypeError, "master must be an integer"),
    ("class as a bool", lambda p: hdr_tm.Layer("pq", content_class=True), TypeError, "content_class must be an integer"),
    ("no layer", lambda p: hdr_tm.run([]), ValueError, "1 to 4 layers"),
    ("five layers", lambda p: hdr_tm.run(["pq"] * 5), ValueError, "1 to 4 layers .*not 5"),
    ("layer of another type", lambda p: hdr_tm.run([3.5]), TypeError, "layers must be Layer objects"),
    ("unknown blend", lambda p: hdr_tm.run("pq", blend="rec"), ValueError, "blend must be \"pq\", \"layer\" or \"hlg\""),
    ("hw not a bool", lambda p: hdr_tm.run("pq", hw=1), TypeError, "hw must be True or False"),
    ("replaced tuning run", lambda p: hdr_tm.run("pq", tuning=DEFAULTS.replace(t0=0.1)), ValueError,
     "replace\\(\\) \\(t0\\)"),
    ("diff options without layers", lambda p: hdr_tm.diff(None, EXAMPLE_TUNING, hw=True), ValueError, "without layers"),
    ("negative max_de", lambda p: hdr_tm.diff(None, None, layers="pq", max_de=-1), ValueError, "max_de must be a number of 0 or more"),
    ("max_de as text", lambda p: hdr_tm.diff(None, None, layers="pq", max_de="1"), TypeError, "max_de must be a number"),
    # the record's fields
    ("unknown field", lambda p: DEFAULTS.replace(t00=1.0), ValueError, "no field t00 \\(did you mean t0\\?\\)"),
    ("too wide", lambda p: DEFAULTS.replace(panel_max_luminance=70000), ValueError,
     "panel_max_luminance must be 0..65535, not 70000"),
    ("integer field, float", lambda p: DEFAULTS.replace(enableM=1.0), TypeError, "enableM must be an integer 0..255"),
    ("float field, text", lambda p: DEFAULTS.replace(t0="0.1"), TypeError, "t0 must be a number, not str"),
    # arrays
    ("float64 colours", lambda p: hdr_tm.st2084_forward_tf(F32.astype(np.float64)), TypeError,
     "float32 array of shape \\(N, 3\\) or \\(H, W, 3\\), not an array of float64"),
    ("a list", lambda p: hdr_tm.OOTF_forward_tf([[0.1, 0.2, 0.3]], 1000), TypeError, "not list"),
    ("four channels", lambda p: hdr_tm.sRGB_forward_tf(np.zeros((2, 4), np.float32)), ValueError,
     "not of shape \\(2, 4\\)"),
    ("one axis", lambda p: hdr_tm.HLG_forward_tf(np.zeros(3, np.float32)), ValueError, "not of shape \\(3,\\)"),
    ("outside the table", lambda p: hdr_tm.st2084_inverse_tf(F32 + 1.5), ValueError,
     "every value must lie there \\(or be NaN\\), not 1.5"),
    ("infinity into a table", lambda p: hdr_tm.HLG_inverse_tf(F32 + np.inf, in_max=1023), ValueError, "not inf"),
    ("in_max 0", lambda p: hdr_tm.HLG_inverse_tf(F32, in_max=0), ValueError, "in_max must be 1..65535, not 0"),
    ("scale too wide", lambda p: hdr_tm.st2084_forward_tf(F32, in_scale=70000), ValueError, "in_scale must be 0..65535"),
    ("scale in float", lambda p: hdr_tm.bt709_forward_tf(F32, out_scale=1.5), TypeError, "out_scale must be an integer"),
    ("unknown direction", lambda p: hdr_tm.yTM(None, np.zeros(4, np.float32), direction="up"), ValueError,
     "direction must be \"forward\" or \"inverse\""),
    ("float64 log nits", lambda p: hdr_tm.tone_curve(None, np.zeros(4)), TypeError, "log_nits must be a numpy float32"),
    ("grid code too high", lambda p: hdr_tm.lut3d_process(None, [0, 2000]), ValueError, "grid codes must lie in 0..1023"),
    ("grid in float", lambda p: hdr_tm.lut3d_process(None, [0.0, 1023.0]), TypeError, "grid must hold integer codes"),
    ("grid of 18", lambda p: hdr_tm.HLG_lut3d_process(None, list(range(18))), ValueError, "n from 1 to 17"),
    ("bits 0", lambda p: hdr_tm.inverse_lut3d_process(None, bits=0), ValueError, "bits must be 1..16"),
    ("pcc shape", lambda p: hdr_tm.lut3d_process(None, pcc=np.zeros((3, 10))), ValueError, "pcc must be of shape \\(3, 11\\)"),
    ("ΔE shapes", lambda p: hdr_tm.delta_e_itp(np.zeros((2, 3)), np.zeros((3, 3))), ValueError, "the same shape"),
    ("ΔE of integers", lambda p: hdr_tm.delta_e_itp(np.zeros((2, 3), int), np.zeros((2, 3), int)), TypeError,
     "float32 or float64"),
    # LUTs
    ("image of float64", lambda p: LUT.apply(np.zeros((2, 2, 3))), TypeError, "uint16 samples .* or float32 signal"),
    ("signal above 1", lambda p: LUT.apply(np.full((1, 3), 1.5, np.float32)), ValueError, "signal 0..1"),
    ("NaN signal", lambda p: LUT.apply(np.full((1, 3), np.nan, np.float32)), ValueError, "holds nan"),
    ("image of 2 channels", lambda p: LUT.apply(np.zeros((4, 2), np.uint16)), ValueError, "shape"),
    ("write as PNG", lambda p: LUT.write(p / "lut.png"), ValueError, "written as .cube or .clf"),
    ("unwritable", lambda p: LUT.write("/proc/lut.cube"), OSError, "/proc/lut.cube"),
]


@pytest.mark.parametrize("call, error, words", [c[1:] for c in CASES], ids=[c[0] for c in CASES])
def test_bad_input_raises_with_words_that_say_what_to_fix(tmp_path, call, error, words):
    with pytest.raises(error, match=words):
        call(tmp_path)
