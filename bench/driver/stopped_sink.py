# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""What the service does while the streaming service is stopped, and after."""

import signal
import time

import stats
from measure import Setup, Variant

#: A reply of the service's main loop that comes within this time is prompt.
PROMPT_S = 0.1
#: What comes in such a slice tells the rate.
SLICE_S = 0.1
#: Of the load, before the sink is stopped and after: lengths of the measurement, not waits.
LEAD_S = 2
TAIL_S = 20


def run(bed, seconds, rate):
    """Stops the sink for some seconds of a steady load through the broker; returns the figures."""
    events = rate * (LEAD_S + seconds + TAIL_S)
    variant = Variant("stopped sink", "mqtt", events, rate=rate)
    with Setup(bed, variant) as setup:
        bed.reset(0)
        setup.starter.send(signal.SIGUSR1)
        time.sleep(LEAD_S)
        before = {"service": setup.sender.memory(), "broker": bed.broker.memory()}
        bed.sink.send(signal.SIGSTOP)
        time.sleep(seconds)
        bed.sink.send(signal.SIGCONT)
        continued = time.monotonic_ns()
        prompt = _prompt_again(bed, continued)
        while bed.received() < events and not _idle(bed):
            pass
        after = {"service": setup.sender.memory(), "broker": bed.broker.memory()}
        errors = setup.errors()
    _, records = bed.records()
    figures = stats.of_records(records, variant)
    flowing, caught_up = _flow(records, continued, rate)
    return {
        "seconds": seconds, "rate": rate, "lost": figures["lost"], "errors": errors,
        "growth_mb": (after["service"]["peak"] - before["service"]["rss"]) / 1024,
        "broker_growth_mb": (after["broker"]["peak"] - before["broker"]["rss"]) / 1024,
        "prompt_s": prompt, "flowing_s": flowing, "caught_up_s": caught_up,
        "healthy_s": None if flowing is None else max(prompt, flowing),
    }


def _idle(bed):
    """True if nothing came for a while: what is lost cannot be waited for."""
    seen = bed.received()
    time.sleep(1.5)
    return bed.received() == seen


def _prompt_again(bed, continued):
    """Seconds until every later answer of the service's main loop came promptly."""
    slow_until = continued
    while time.monotonic_ns() < continued + 5e9:
        bed.sink.say("probe")
        if bed.sink.expect("answered", 60) > PROMPT_S * 1e9:
            slow_until = time.monotonic_ns()
        time.sleep(0.02)
    return (slow_until - continued) / 1e9


def _flow(records, continued, rate):
    """Seconds until messages come at the rate of the load, and until they are fresh."""
    slices = {}
    flowing = caught_up = None
    for received, sent, _, _ in records:
        if received < continued:
            continue
        index = int((received - continued) / 1e9 / SLICE_S)
        slices[index] = slices.get(index, 0) + 1
        if caught_up is None and received - sent < PROMPT_S * 1e9:
            caught_up = (received - continued) / 1e9
    for index in sorted(slices):
        if slices[index] >= rate * SLICE_S:
            flowing = (index + 1) * SLICE_S
            break
    return flowing, caught_up
