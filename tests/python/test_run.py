"""run(): the LUTs hdrtm lut writes, as numpy arrays, for every configuration
of the demo; several tunings in one process; threads; LUT files."""
import json
import threading

import numpy as np
import pytest

import hdr_tm
from conftest import EXAMPLE_TUNING, TOOL_DATA, TUNINGS, hdrtm, lut_codes_from_cli

CONFIGURATIONS = hdr_tm.demo_configurations()


@pytest.mark.parametrize("tuning", TUNINGS.values(), ids=TUNINGS.keys())
@pytest.mark.parametrize("configuration", CONFIGURATIONS, ids=[str(i + 1) for i in range(len(CONFIGURATIONS))])
def test_run_gives_the_codes_hdrtm_lut_writes(tmp_path, configuration, tuning):
    summary, cli_luts = lut_codes_from_cli(tmp_path, configuration, tuning)
    result = hdr_tm.run(configuration.layers, blend=configuration.blend, hw=configuration.hw, tuning=tuning)

    assert result.rows == [layer["decision_row"] for layer in summary["layers"]]
    assert [lut.label for lut in result.luts] == [lut["label"] for lut in cli_luts]
    assert [lut.checksum for lut in result.luts] == [lut["checksum"] for lut in summary["luts"]]
    assert [lut.levels for lut in result.luts] == [lut["levels"] for lut in summary["luts"]]
    for lut, cli in zip(result.luts, cli_luts):
        nodes = np.array(cli["nodes"], dtype=np.int64)  # red fastest: node = (b * 17 + g) * 17 + r
        inputs = lut.hardware_grid if cli["inputs_in_push"] else lut.grid_codes
        assert lut.bits == cli["output_bits"]
        expected_codes = nodes[:, 3:].reshape(17, 17, 17, 3).transpose(2, 1, 0, 3)
        assert np.array_equal(lut.codes, expected_codes)
        r, g, b = np.meshgrid(inputs, inputs, inputs, indexing="ij")
        assert np.array_equal(nodes[:, :3].reshape(17, 17, 17, 3).transpose(2, 1, 0, 3), np.stack([r, g, b], axis=-1))


def test_lut_arrays_have_the_documented_shapes_and_types():
    hardware = hdr_tm.run(hdr_tm.Layer("pq", master=1000), blend="pq", hw=True, tuning=EXAMPLE_TUNING).luts[0]
    layer = hdr_tm.run("pq,master=1000", blend="layer").luts[0]
    assert (hardware.kind, hardware.bits, hardware.pipeline) == ("hardware", 12, "lut3d_process")
    assert (layer.kind, layer.bits, layer.input_signal, layer.output_signal) == ("layer", 10, "pq", "panel")
    for lut in (hardware, layer):
        assert lut.codes.dtype == np.uint16 and lut.codes.shape == (17, 17, 17, 3)
        assert lut.grid.dtype == np.float64 and lut.grid.shape == (17,)
        assert np.array_equal(lut.grid, lut.grid_codes / 1023.0)
        assert int(lut.codes.max()) < 2 ** lut.bits
    assert layer.grid[1] == 64 / 1023  # the uniform grid's true positions, not i/16
    assert hardware.hardware_grid is not None and hardware.hardware_grid.dtype == np.uint16
    assert layer.hardware_grid is None


def test_no_lut_gives_the_row_and_an_empty_list():
    result = hdr_tm.run("pq", blend="pq")
    assert result.luts == [] and result.row == "no LUT: PQ blending without the hardware path"
    assert any("HDR_playback_strategies" in line for line in result.log)
    refused = hdr_tm.run(["pq", "sdr"], blend="hlg")  # the entry stops at the refusal
    assert refused.status == 0 and refused.rows == ["refused: PQ under HLG blending"]
    two = hdr_tm.run(["pq,master=4000", "sdr"], blend="pq", hw=True)
    assert two.row == "0: hardware LUT: lut3d_process, 12-bit; 1: layer LUT: inverse_lut3d_process, SDR to PQ"


def test_tunings_alternate_in_one_process():
    a, b = TOOL_DATA / "parametric.xml", TOOL_DATA / "parametric_t0.xml"
    first = [hdr_tm.run("pq,master=1000", blend="layer", tuning=t).luts[0].codes for t in (a, b, a, None)]
    assert np.array_equal(first[0], first[2])
    assert not np.array_equal(first[0], first[1])
    assert np.array_equal(first[3], hdr_tm.run("pq,master=1000", blend="layer").luts[0].codes)


def test_threads_get_what_they_would_get_alone():
    tunings = [None, EXAMPLE_TUNING, TOOL_DATA / "parametric.xml"]
    alone = [hdr_tm.run("pq,master=4000", blend="pq", hw=True, tuning=t).luts[0].codes for t in tunings]
    results, errors = {}, []

    def work(k):
        try:
            for _ in range(5):
                got = hdr_tm.run("pq,master=4000", blend="pq", hw=True, tuning=tunings[k % 3]).luts[0].codes
                results.setdefault(k, []).append(got)
        except Exception as e:  # reported below, not lost in the thread
            errors.append(e)

    threads = [threading.Thread(target=work, args=(k,)) for k in range(6)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert not errors
    assert all(np.array_equal(got, alone[k % 3]) for k, runs in results.items() for got in runs)


@pytest.mark.parametrize("name", ["lut.cube", "lut.clf"])
def test_written_luts_read_back(tmp_path, name):
    lut = hdr_tm.run("pq", blend="pq", hw=True, tuning=EXAMPLE_TUNING).luts[0]
    lut.write(tmp_path / name)
    back = hdr_tm.read_lut(tmp_path / name)
    assert (back.kind, back.bits) == ("file", 12)
    assert np.array_equal(back.codes, lut.codes) and np.array_equal(back.grid_codes, lut.grid_codes)
    assert (tmp_path / "lut.grid.txt").exists() == name.endswith(".cube")  # a non-uniform grid


@pytest.mark.parametrize("max_de, status", [(None, 1), (1.0, 1), (100.0, 0)])
def test_diff_gives_the_figures_of_hdrtm_diff_json(tmp_path, max_de, status):
    a, b = str(TOOL_DATA / "parametric.xml"), str(TOOL_DATA / "parametric_t0.xml")
    gate = [] if max_de is None else ["--max-de", max_de]
    cli = hdrtm("diff", a, b, "--layer", "pq,master=1000", "--blend", "layer", "--json", "--no-pictures", *gate,
                cwd=tmp_path, ok=(status,))
    got = hdr_tm.diff(a, hdr_tm.Tuning.from_file(b), layers=hdr_tm.Layer("pq", master=1000), blend="layer",
                      max_de=max_de)
    assert got == json.loads(cli.stdout)
    assert got["within_max_de"] == (None if max_de is None else status == 0)
    assert hdr_tm.diff(a, a, layers="hlg", blend="layer")["identical"] is True
