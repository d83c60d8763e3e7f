# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""What the figures should come to: ratios within one run, never times."""

import dataclasses

import micro
import stats


@dataclasses.dataclass(frozen=True)
class Demand:
    """One demand and how it came out; `value` is None where nothing was measured."""

    text: str
    unit: str
    value: dict
    at_least: float
    aim: float
    higher_is_better: bool = False

    def verdict(self):
        middle = self.value["median"]
        for name, goal in (("aim", self.aim), ("held", self.at_least)):
            if middle >= goal if self.higher_is_better else middle <= goal:
                return name
        return "short"


FLOOR = "floor, 64 in flight"


def _column(results, name, pick):
    return [pick(figures) for figures in results["roads"].get(name, [])]


def _ratio(results, of, to, pick):
    return stats.ratio(_column(results, of, pick), _column(results, to, pick))


def _most(results, names, key):
    """The largest of all rounds."""
    values = [value for name in names for value in _column(results, name, lambda f: f[key])]
    return _single(max(values)) if values else None


def _single(value):
    return None if value is None else {"median": value, "min": value, "max": value}


def _cpu(figures):
    return figures["cpu_us"]["sender"]


def _rate(figures):
    return figures["rate"]


def _roads(results):
    paced, timed, fixed = "in-process, paced", "in-process, 1,000 a second", "floor, 1,000 a second"
    flat, many, steady = "broker, flat out", "broker, flat out, 32 sessions", "broker, paced"
    yield Demand("rate, in-process source, paced, to the floor", "x",
                 _ratio(results, paced, FLOOR, _rate), 0.90, 1.0, True)
    yield Demand("CPU per message, in-process source, to the floor", "x",
                 _ratio(results, paced, FLOOR, _cpu), 1.15, 1.05)
    yield Demand("rate, broker to sink, flat out, to the floor", "x",
                 _ratio(results, flat, FLOOR, _rate), 0.60, 0.80, True)
    yield Demand("CPU per message, broker to sink, to the floor", "x",
                 _ratio(results, flat, FLOOR, _cpu), 1.7, 1.35)
    yield Demand("latency p50 at 1,000 events/s, to the floor", "x",
                 _ratio(results, timed, fixed, lambda f: f["p50_us"]), 1.15, 1.05)
    yield Demand("latency p99 at 1,000 events/s, to the floor", "x",
                 _ratio(results, timed, fixed, lambda f: f["p99_us"]), 1.3, 1.15)
    yield Demand("CPU per message in a burst of 50,000 calls, to the steady state", "x",
                 _ratio(results, flat, steady, _cpu), 1.3, 1.1)
    yield Demand("lost in that burst, one session and 32, worst round", "messages",
                 _most(results, (flat, many), "lost"), 0, 0)


def _stopped(results):
    stopped = results.get("stopped_sink") or {}
    after = f"after the sink was stopped for {stopped.get('seconds', 40)} s at 2,000 events/s"
    yield Demand(f"growth of memory {after}", "MB", _single(stopped.get("growth_mb")), 32, 16)
    yield Demand(f"time to healthy {after}", "s", _single(stopped.get("healthy_s")), 2, 1)


def _micro(results):
    figures = results["micro"]
    yield Demand("ItemFilter, decisions per second to libxml2's XPath", "x",
                 micro.ratio(figures, "itemFilterLibxml2", "itemFilter"), 20, 100, True)
    yield Demand("one event against 10,000 subscriptions, one matching, to 10", "x",
                 micro.ratio(figures, "topicIndex/10000", "topicIndex/10"), 2, 1.2)
    for name, text in (("200_bytes", "200 B"), ("10_filters", "10 filters")):
        # Two passes, of which each decodes: twice the decoding is where this ends.
        yield Demand(f"validate and parse to one bare decode, {text}", "x",
                     micro.ratio(figures, f"validateAndParse/{name}", f"decode/{name}"), 2.0, 1.6)


def _footprint(results):
    figures = results["footprint"]
    for key, text, at_least, aim in (("rss_kb", "idle resident memory", 1.15, 1.05),
                                     ("pss_kb", "idle proportional memory", 1.15, 1.05),
                                     ("start_ms", "start-up to the name", 1.3, 1.1)):
        for suffix in ("", ", in-process source"):
            pairs = [[round_[key] for round_ in figures[name + suffix]]
                     for name in ("service", "baseline")] if figures else [[], []]
            yield Demand(f"{text}{suffix}, to the baseline", "x", stats.ratio(*pairs), at_least, aim)


def all_of(results):
    return [demand for part in (_roads, _stopped, _micro, _footprint) for demand in part(results)]
