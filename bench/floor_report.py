#!/usr/bin/env python3
"""Runs hdr_tm_bench with repetitions and prints, from the medians, every
pipeline configuration and entry row against its floor, as Markdown tables.

The floor of a case is the maths it makes (every powf, logf and log10f, on
the same arguments) through the C library's functions, one call a sample,
and nothing else: what a LUT took before the library had its own maths. For
each case and build the report gives the floor, the project's time, their
ratio and the share of the project's time that its own maths take (the same
planes replayed through the library's plane forms). The entry rows are
timed with log lines formatted and discarded, and with logging silenced;
the hardware rows have the host colour-manager simulator taken off (on a
device the colour manager is the vendor's). Stage by stage, the time each
stage takes beside its own maths.

Give one binary, or several as LABEL=PATH (say a GCC and a clang build, or
builds before and after a change): each gets its own columns, the builds run
one after the other. A binary from before the library had its own maths
(its counters have forwarded_us) is reported as it was measured then.

    bench/floor_report.py build/bench/bench/hdr_tm_bench [--repetitions 10]
    bench/floor_report.py gcc=build/bench/bench/hdr_tm_bench clang=build/bench-clang/bench/hdr_tm_bench

Targets, by label: a label containing "gcc" 0.6 (pipelines) and 0.8 (entry,
logged), "clang" 1.0 (pipelines); --target LABEL=PIPELINE[,ENTRY] sets others.
"""
import argparse
import json
import re
import subprocess

DEFAULT_TARGETS = {"gcc": (0.6, 0.8), "clang": (1.0, None)}
STAGES = ["decode", "ootf", "core", "gamut", "pcc", "encode", "scale"]


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


def forwarding(b):
    """What an old binary's forwarding functions added to a timed case."""
    return b["forwarded_us"] - b["floor_us"] if "forwarded_us" in b else 0.0


def own_maths(b):
    """The library's own maths alone, or None for an old binary."""
    if "own_maths_us" not in b:
        return None
    return b["own_maths_us"] - b["own_maths_copies_us"]


def pipeline_rows(m):
    """configuration -> (time, floor, maths)."""
    return {name[len("BM_Pipeline/"):]: (b["pipeline_us"] - forwarding(b), b["floor_us"], own_maths(b))
            for name, b in m.items() if name.startswith("BM_Pipeline/")}


def entry_rows(m):
    """row -> (logged, silent, floor, maths), the simulator taken off the
    hardware rows; the layer-cleared row (no pipeline) is left out."""
    rows = {}
    for name, b in m.items():
        if name.startswith("BM_PlaybackEntry/") and not name.startswith("BM_PlaybackEntry/NoPipeline"):
            off = b.get("simulator_us", 0.0) + forwarding(b)
            rows[name[len("BM_PlaybackEntry/"):]] = (b["logged_us"] - off, b["silent_us"] - off,
                                                     b["floor_us"], own_maths(b))
    return rows


def stage_rows(m):
    """configuration -> {stage: (time, floor, maths)}."""
    rows = {}
    for name, b in m.items():
        if name.startswith("BM_PipelineStages/"):
            stages = {}
            for s in STAGES:
                if f"{s}_us" not in b:
                    continue
                maths = b[f"{s}_maths_us"] - b[f"{s}_copies_us"] if f"{s}_maths_us" in b else None
                stages[s] = (b[f"{s}_us"], b[f"{s}_floor_us"], maths)
            rows[name[len("BM_PipelineStages/"):]] = stages
    return rows


def ratio_cell(time, floor, target):
    r = time / floor
    return f"{r:.2f}" + (" **over**" if target is not None and r > target else "")


def share_cell(maths, time):
    return "" if maths is None else f"{100 * maths / time:.0f}%"


def targets_for(label, overrides):
    if label in overrides:
        return overrides[label]
    for key, value in DEFAULT_TARGETS.items():
        if key in label:
            return value
    return (None, None)


def table(header, rows):
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * len(header))
    for cells in rows:
        print("| " + " | ".join(cells) + " |")
    print()


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("binaries", nargs="+", help="PATH or LABEL=PATH")
    parser.add_argument("--repetitions", type=int, default=10)
    parser.add_argument("--target", action="append", default=[], metavar="LABEL=PIPELINE[,ENTRY]")
    args = parser.parse_args()
    overrides = {}
    for t in args.target:
        label, _, values = t.partition("=")
        parts = [float(v) for v in values.split(",")]
        overrides[label] = (parts[0], parts[1] if len(parts) > 1 else None)
    builds = []
    for argument in args.binaries:
        label, _, path = argument.rpartition("=")
        builds.append((label or "build", medians(path, args.repetitions)))
    labels = [label for label, _ in builds]

    print(f"Medians of {args.repetitions} repetitions, CPU microseconds a call. floor: the same "
          f"maths through the C library, one call a sample; time: the project's; ratio: time over "
          f"floor; maths: the share of the time its own maths take.\n")
    pipelines = [pipeline_rows(m) for _, m in builds]
    header = ["pipeline / configuration"]
    for label in labels:
        header += [f"{label} floor", f"{label} time", f"{label} ratio", f"{label} maths"]
    rows = []
    for config in pipelines[0]:
        cells = [config]
        for label, p in zip(labels, pipelines):
            time, floor, maths = p[config]
            cells += [f"{floor:.0f}", f"{time:.0f}", ratio_cell(time, floor, targets_for(label, overrides)[0]),
                      share_cell(maths, time)]
        rows.append(cells)
    table(header, rows)

    entries = [entry_rows(m) for _, m in builds]
    header = ["entry row"]
    for label in labels:
        header += [f"{label} floor", f"{label} logged", f"{label} silent", f"{label} ratio logged",
                   f"{label} maths"]
    rows = []
    for row in entries[0]:
        cells = [row + (" (less simulator)" if "Hardware" in row else "")]
        for label, e in zip(labels, entries):
            logged, silent, floor, maths = e[row]
            cells += [f"{floor:.0f}", f"{logged:.0f}", f"{silent:.0f}",
                      ratio_cell(logged, floor, targets_for(label, overrides)[1]), share_cell(maths, logged)]
        rows.append(cells)
    table(header, rows)

    print("Stage by stage, microseconds a call: each stage's time beside its own maths "
          "(ootf is the HLG system gamma, encode the output encoding, PQ or HLG encode of the "
          "inverse pipelines); time / maths.\n")
    stages = [stage_rows(m) for _, m in builds]
    header = ["pipeline / configuration"] + [f"{label} {s}" for label in labels for s in STAGES]
    rows = []
    for config in stages[0]:
        cells = [config]
        for s_rows in stages:
            for s in STAGES:
                if s not in s_rows[config]:
                    cells.append("")
                    continue
                time, floor, maths = s_rows[config][s]
                cells.append(f"{time:.1f}" + ("" if maths is None else f" / {maths:.1f}"))
        rows.append(cells)
    table(header, rows)

    for label, m in builds:
        simulator = [b["simulator_us"] for b in m.values() if "simulator_us" in b]
        cleared = m["BM_PlaybackEntry/NoPipeline"]
        print(f"{label}: host colour-manager simulator {min(simulator):.0f} to "
              f"{max(simulator):.0f} µs a hardware call (taken off above); no pipeline "
              f"(layer cleared) {cleared['logged_us']:.1f} µs logged, "
              f"{cleared['silent_us']:.1f} µs silent")


if __name__ == "__main__":
    main()
