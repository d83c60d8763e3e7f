# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""Arithmetic on figures: of one measurement's records, and over rounds."""

import statistics


def percentile(ordered, share):
    """Of a sorted list; 0 if it is empty."""
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))] if ordered else 0


def most_on_the_way(records):
    """The largest number of messages between their making and the sink, at any time."""
    sent = sorted(record[1] for record in records)
    received = sorted(record[0] for record in records)
    most = 0
    arrived = 0
    for made, time in enumerate(sent, 1):
        while received[arrived] <= time:
            arrived += 1
        most = max(most, made - arrived)
    return most


def faults_of_order(records, sessions):
    """Messages that came twice or after a later one of their session."""
    last = [0] * sessions
    faults = 0
    for _, _, number, session in records:
        faults += number <= last[session]
        last[session] = max(last[session], number)
    return faults


def of_records(records, variant):
    latencies = sorted(record[0] - record[1] for record in records)
    span = max(r[0] for r in records) - min(r[1] for r in records) if records else 0
    distinct = len({(record[3], record[2]) for record in records})
    return {
        "count": len(records),
        "lost": variant.messages - distinct,
        "disorder": faults_of_order(records, variant.sessions),
        "rate": len(records) / span * 1e9 if span else 0.0,
        "p50_us": percentile(latencies, 0.50) / 1e3,
        "p99_us": percentile(latencies, 0.99) / 1e3,
        "on_the_way": most_on_the_way(records),
    }


def median(values):
    return statistics.median(values)


def ratio(of, to):
    """Round by round: the median of the ratios, the smallest and the largest."""
    ratios = [a / b for a, b in zip(of, to) if b]
    if not ratios:
        return None
    return {"median": statistics.median(ratios), "min": min(ratios), "max": max(ratios)}
