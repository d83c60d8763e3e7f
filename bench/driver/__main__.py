# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""Runs the benchmarks: every variant once a round, so that all meet the same weather."""

import argparse
import json
import os
import pathlib
import platform
import sys

import demands
import footprint
import measure
import micro
import report
import stopped_sink
import variants
from bed import Bed, program_version
from processes import BenchError

TOP = pathlib.Path(__file__).resolve().parents[2]


def options():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__)
    parser.add_argument("--quick", action="store_true", help="a look in a minute and a half, no paper")
    parser.add_argument("--write-docs", action="store_true",
                        help="write the figures into docs/performance.md")
    parser.add_argument("--only", metavar="TEXT", help="only variants with this text in their name")
    parser.add_argument("--rounds", type=int, help="how often each variant is measured")
    parser.add_argument("--build", default=TOP / "build/bench", help=argparse.SUPPRESS)
    return parser.parse_args()


def conditions(rounds):
    cpu = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo")
                if line.startswith("model name")), platform.machine())
    return [f"{os.cpu_count()} cores, {cpu}", f"Linux {platform.release().split('-')[0]}",
            program_version(["pkg-config", "--modversion", "glib-2.0"]).join(("GLib ", "")),
            program_version(["dbus-daemon", "--version"]),
            "mosquitto " + program_version(["dpkg-query", "-W", "-f", "${Version}", "mosquitto"]),
            program_version(["c++", "--version"]), f"{rounds} rounds",
            f"load average {os.getloadavg()[0]:.1f} before the run"]


def measure_roads(bed, rounds, chosen):
    figures = {variant.name: [] for variant in chosen}
    for round_ in range(rounds):
        for variant in chosen:
            print(f"\r\033[Kround {round_ + 1} of {rounds}: {variant.name}", end="",
                  file=sys.stderr, flush=True)
            figures[variant.name].append(measure.run(bed, variant))
    print("\r\033[K", end="", file=sys.stderr)
    return figures


def measure_all(arguments):
    scale = 5 if arguments.quick else 1
    rounds = arguments.rounds or (2 if arguments.quick else 5)
    results = {"conditions": conditions(rounds), "micro": {}, "footprint": {}, "sizes": {}}
    with Bed(arguments.build) as bed:
        chosen = variants.in_process(scale) + (variants.mqtt(scale) if bed.broker else [])
        chosen = [v for v in chosen if not arguments.only or arguments.only in v.name]
        results["roads"] = measure_roads(bed, rounds, chosen)
        if arguments.only:
            return results
        results["footprint"] = footprint.run(bed, 3 * rounds)
        results["micro"] = micro.run(bed.programs / "micro/micro", rounds,
                                     0.05 if arguments.quick else 0.3)
        if bed.broker:
            results["stopped_sink"] = stopped_sink.run(bed, 5 if arguments.quick else 40,
                                                       variants.STEADY)
    results["sizes"] = {
        "release": footprint.size(TOP / "build/bench/lumenfeed"),
        "device": footprint.size(TOP / "build/bench-device/lumenfeed"),
        "baseline": footprint.size(TOP / "build/bench/bench/baseline")}
    return results


def main():
    arguments = options()
    try:
        results = measure_all(arguments)
    except BenchError as error:
        sys.exit(f"bench: {error}")
    judged = demands.all_of(results)
    report.screen(results, judged)
    path = pathlib.Path(arguments.build) / "bench.json"
    path.write_text(json.dumps(results, indent=1))
    print(f"\nAll figures: {path}")
    if arguments.write_docs:
        report.write_paper(TOP / "docs/performance.md", results, judged)


main()
