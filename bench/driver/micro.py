# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""The micro-benchmarks: Google Benchmark's own program, run once with interleaved repetitions."""

import json
import statistics
import subprocess

from processes import BenchError


def run(program, repetitions, seconds):
    """CPU nanoseconds per call of every repetition, by benchmark name."""
    command = [program, "--benchmark_format=json", f"--benchmark_repetitions={repetitions}",
               "--benchmark_enable_random_interleaving=true", f"--benchmark_min_time={seconds}"]
    done = subprocess.run(command, stdout=subprocess.PIPE, text=True)
    if done.returncode != 0:
        raise BenchError(f"{program} ended with status {done.returncode}")
    figures = {}
    for entry in json.loads(done.stdout)["benchmarks"]:
        if entry["run_type"] == "iteration":
            if entry.get("error_occurred"):
                raise BenchError(f"{entry['name']}: {entry['error_message']}")
            figures.setdefault(entry["run_name"], []).append(
                entry["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6}[entry["time_unit"]])
    return figures


def ratio(figures, of, to):
    """Of the medians: repetitions of two benchmarks are no pairs. None if one is missing."""
    if of not in figures or to not in figures:
        return None
    divisor = statistics.median(figures[to])
    ratios = [value / divisor for value in figures[of]]
    return {"median": statistics.median(ratios), "min": min(ratios), "max": max(ratios)}
