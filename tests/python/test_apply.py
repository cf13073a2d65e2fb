"""Lut.apply gives the samples hdrtm apply writes, for uint16 and float32 images."""
import numpy as np
import pytest

import hdr_tm
from conftest import EXAMPLE_TUNING, hdrtm, read_png, write_png


def test_image():
    """Random samples, the corners of the signal range and every grid node."""
    rng = np.random.default_rng(25)
    image = rng.integers(0, 65536, size=(12, 24, 3), dtype=np.uint16)
    image[0, :4] = [[0, 0, 0], [65535, 65535, 65535], [65535, 0, 0], [32, 65503, 31]]
    grid = np.round(np.array([0, 62, 64, 123, 512, 923, 960, 1023]) * 65535 / 1023).astype(np.uint16)
    image[1, :8] = np.stack([grid, grid[::-1], np.roll(grid, 3)], axis=1)
    return image


@pytest.mark.parametrize("source", ["cube", "clf", "tuning"])
def test_apply_gives_the_samples_hdrtm_apply_writes(tmp_path, source):
    image = test_image()
    write_png(tmp_path / "in.png", image)
    lut = hdr_tm.run("pq", blend="pq", hw=True, tuning=EXAMPLE_TUNING).luts[0]  # 12-bit, non-uniform grid
    if source == "tuning":
        argument = [EXAMPLE_TUNING, "--layer", "pq", "--blend", "pq", "--hw"]
    else:
        lut.write(tmp_path / f"lut.{source}")
        lut = hdr_tm.read_lut(tmp_path / f"lut.{source}")  # the file's values, as hdrtm reads them
        argument = [tmp_path / f"lut.{source}"]
    hdrtm("apply", tmp_path / "in.png", *argument, "-o", tmp_path / "out.png", cwd=tmp_path)
    got = lut.apply(image)
    assert got.dtype == np.uint16 and got.shape == image.shape
    assert np.array_equal(got, read_png(tmp_path / "out.png"))
    assert np.array_equal(lut.apply(image.reshape(-1, 3)), got.reshape(-1, 3))


def test_float_signal_reads_the_same_codes():
    lut = hdr_tm.run("hlg", blend="layer").luts[0]
    codes = np.random.default_rng(7).integers(0, 1024, size=(50, 3))
    samples = lut.apply(np.round(codes * 65535 / 1023).astype(np.uint16))
    signal = lut.apply((codes / 1023).astype(np.float32))
    assert signal.dtype == np.float32
    out_codes = np.round(signal.astype(np.float64) * 1023).astype(np.int64)
    assert np.array_equal(np.round(out_codes * 65535 / 1023).astype(np.uint16), samples)
