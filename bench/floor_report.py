#!/usr/bin/env python3
"""Runs hdr_tm_bench with repetitions and prints, from the medians, each LUT
pipeline as a ratio to its maths floor and each entry row (logging discarded,
and silenced) as a ratio to the floor of the maths calls it makes.

In the bench binary every maths call of the library passes through a small
forwarding function (it records the arguments for the floors). What that
adds, the forwarded floor less the floor, is taken off each timed case
before the ratio is formed, so the ratios are those of the library as it is
linked on a device.

    bench/floor_report.py build/perf/bench/hdr_tm_bench [repetitions]
"""
import json
import subprocess
import sys


def medians(binary, repetitions):
    out = subprocess.run(
        [binary, "--benchmark_filter=Pipeline|PlaybackEntry|ColorManagerSimulator",
         f"--benchmark_repetitions={repetitions}",
         "--benchmark_report_aggregates_only=true", "--benchmark_format=json"],
        check=True, capture_output=True, text=True).stdout
    result = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") == "median":
            scale = {"ns": 1e-3, "us": 1.0, "ms": 1e3}[b["time_unit"]]
            result[b["run_name"]] = b["cpu_time"] * scale
    return result


def main():
    binary = sys.argv[1]
    repetitions = int(sys.argv[2]) if len(sys.argv) > 2 else 10
    m = medians(binary, repetitions)
    print(f"medians of {repetitions} repetitions, CPU microseconds per call")
    print("time: as timed here; fwd: what the forwarding adds to it; ratio: (time - fwd) / floor")
    print(f"{'pipeline':28} {'time':>8} {'fwd':>6} {'floor':>8} {'ratio':>6}")
    for name in ["PqForward", "HlgForward", "SdrToPq", "HlgToPq", "SdrToHlg"]:
        t = m[f"BM_{name}Pipeline"]
        f = m[f"BM_{name}PipelineFloor"]
        w = m[f"BM_{name}PipelineForwardedFloor"] - f
        print(f"{name:28} {t:8.1f} {w:6.1f} {f:8.1f} {(t - w) / f:6.2f}")
    print(f"{'entry row':28} {'logged':>8} {'silent':>8} {'fwd':>6} {'floor':>8} {'ratio':>6} {'silent':>6}")
    for row in ["PqPerLayer", "PqHardware", "HlgUnderPqBlend", "HlgPerLayer", "HlgHardware",
                "SdrUnderPqBlend", "SdrUnderHlgBlend"]:
        t = m[f"BM_PlaybackEntry/{row}"]
        s = m[f"BM_PlaybackEntry/{row}Silent"]
        f = m[f"BM_PlaybackEntryFloor/{row}"]
        w = m[f"BM_PlaybackEntryFloor/{row}Forwarded"] - f
        print(f"{row:28} {t:8.1f} {s:8.1f} {w:6.1f} {f:8.1f} {(t - w) / f:6.2f} {(s - w) / f:6.2f}")
    sim = m["BM_ColorManagerSimulator"]
    print(f"host colour-manager simulator per hardware-row call: {sim:.1f}")
    for row in ["PqHardware", "HlgHardware"]:
        s = m[f"BM_PlaybackEntry/{row}Silent"]
        f = m[f"BM_PlaybackEntryFloor/{row}"]
        w = m[f"BM_PlaybackEntryFloor/{row}Forwarded"] - f
        print(f"{row + ' without simulator':28} {s - sim:8.1f} {'':>8} {w:6.1f} {f:8.1f} "
              f"{'':>6} {(s - sim - w) / f:6.2f}")
    t = m["BM_PlaybackEntry/NoPipeline"]
    s = m["BM_PlaybackEntry/NoPipelineSilent"]
    print(f"{'NoPipeline':28} {t:8.1f} {s:8.1f}")


if __name__ == "__main__":
    main()
