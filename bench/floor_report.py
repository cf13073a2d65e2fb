#!/usr/bin/env python3
"""Runs hdr_tm_bench with repetitions and prints, from the medians, every
pipeline configuration as a ratio to its maths floor and each entry row (log
lines formatted and discarded, and logging silenced) as a ratio to the floor
of the maths calls it makes, as Markdown tables.

In the bench binary every maths call of the library passes through a small
forwarding function (it records the arguments for the floors). What that
adds, the forwarded floor less the floor, is taken off each timed case
before the ratio is formed, so the ratios are those of the library as it is
linked on a device. The hardware rows also have the host colour-manager
simulator taken off: on a device the colour manager is the vendor's.

Give one binary, or several as LABEL=PATH (say a GCC and a clang build):
each gets its own columns, the builds run one after the other.

    bench/floor_report.py build/bench/bench/hdr_tm_bench [--repetitions 10]
    bench/floor_report.py gcc=build/bench/bench/hdr_tm_bench clang=build/clang/bench/hdr_tm_bench
"""
import argparse
import json
import re
import subprocess

PIPELINE_TARGET = 1.2
ENTRY_TARGET = 1.3


def medians(binary, repetitions):
    """Benchmark name -> its counters' medians over the repetitions."""
    out = subprocess.run(
        [binary, "--benchmark_filter=BM_Pipeline/|BM_PipelineStages/|BM_PlaybackEntry/",
         f"--benchmark_repetitions={repetitions}",
         "--benchmark_report_aggregates_only=true", "--benchmark_format=json"],
        check=True, capture_output=True, text=True).stdout
    result = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") == "median":
            # Names carry "/min_time:0.100" from the binary's minimum times.
            result[re.sub(r"/min_time:[0-9.]+", "", b["run_name"])] = b
    return result


def pipeline_rows(m):
    """(configuration, time, forwarding, floor) in the binary's order."""
    rows = []
    for name, b in m.items():
        if name.startswith("BM_Pipeline/"):
            rows.append((name[len("BM_Pipeline/"):], b["pipeline_us"],
                         b["forwarded_us"] - b["floor_us"], b["floor_us"]))
    return rows


def entry_rows(m):
    """(row, logged, silent, forwarding, floor), the simulator taken off the
    hardware rows; the layer-cleared rows (no pipeline) are left out."""
    rows = []
    for name, b in m.items():
        if name.startswith("BM_PlaybackEntry/") and not name.startswith("BM_PlaybackEntry/NoPipeline"):
            off = b.get("simulator_us", 0.0)
            rows.append((name[len("BM_PlaybackEntry/"):], b["logged_us"] - off,
                         b["silent_us"] - off, b["forwarded_us"] - b["floor_us"], b["floor_us"]))
    return rows


STAGES = ["decode", "ootf", "core", "gamut", "pcc", "encode", "scale"]


def stage_rows(m):
    """(configuration, {stage: µs above its own maths calls})."""
    rows = []
    for name, b in m.items():
        if name.startswith("BM_PipelineStages/"):
            above = {stage: b[f"{stage}_us"] - b[f"{stage}_floor_us"]
                     for stage in STAGES if f"{stage}_us" in b}
            rows.append((name[len("BM_PipelineStages/"):], above))
    return rows


def ratio(time, forwarding, floor, target):
    r = (time - forwarding) / floor
    return f"{r:.2f}" + (" **over**" if r > target else "")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("binaries", nargs="+", help="PATH or LABEL=PATH")
    parser.add_argument("--repetitions", type=int, default=10)
    args = parser.parse_args()
    builds = []
    for argument in args.binaries:
        label, _, path = argument.rpartition("=")
        builds.append((label or "build", medians(path, args.repetitions)))

    print(f"Medians of {args.repetitions} repetitions, CPU microseconds per call. "
          f"time: as timed, less what the forwarding adds; floor: the replayed maths calls; "
          f"targets {PIPELINE_TARGET} (pipelines) and {ENTRY_TARGET} (entry, logged).\n")
    labels = [label for label, _ in builds]
    header = ["pipeline / configuration"]
    for label in labels:
        header += [f"{label} time", f"{label} floor", f"{label} ratio"]
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * len(header))
    tables = [pipeline_rows(m) for _, m in builds]
    for i, (config, *_rest) in enumerate(tables[0]):
        cells = [config]
        for rows in tables:
            _, t, w, f = rows[i]
            cells += [f"{t - w:.0f}", f"{f:.0f}", ratio(t, w, f, PIPELINE_TARGET)]
        print("| " + " | ".join(cells) + " |")

    print()
    header = ["entry row"]
    for label in labels:
        header += [f"{label} logged", f"{label} silent", f"{label} floor",
                   f"{label} ratio logged", f"{label} ratio silent"]
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * len(header))
    tables = [entry_rows(m) for _, m in builds]
    for i, (row, *_rest) in enumerate(tables[0]):
        cells = [row + (" (less simulator)" if "Hardware" in row else "")]
        for rows in tables:
            _, t, s, w, f = rows[i]
            cells += [f"{t - w:.0f}", f"{s - w:.0f}", f"{f:.0f}",
                      ratio(t, w, f, ENTRY_TARGET), ratio(s, w, f, ENTRY_TARGET)]
        print("| " + " | ".join(cells) + " |")
    print()
    print("Microseconds a call above the stage's own maths calls, stage by stage "
          "(each stage timed in turn with its calls; ootf is the HLG system gamma, "
          "encode the output encoding, PQ or HLG encode of the inverse pipelines).\n")
    header = ["pipeline / configuration"]
    for label in labels:
        header += [f"{label} {stage}" for stage in STAGES]
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * len(header))
    tables = [stage_rows(m) for _, m in builds]
    for i, (config, _) in enumerate(tables[0]):
        cells = [config]
        for rows in tables:
            above = rows[i][1]
            cells += [f"{above[stage]:.1f}" if stage in above else "" for stage in STAGES]
        print("| " + " | ".join(cells) + " |")
    print()
    for label, m in builds:
        simulator = [b["simulator_us"] for b in m.values() if "simulator_us" in b]
        cleared = m["BM_PlaybackEntry/NoPipeline"]
        print(f"{label}: host colour-manager simulator {min(simulator):.0f} to "
              f"{max(simulator):.0f} µs a hardware call (taken off above); no pipeline "
              f"(layer cleared) {cleared['logged_us']:.1f} µs logged, "
              f"{cleared['silent_us']:.1f} µs silent")


if __name__ == "__main__":
    main()
