# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""One measurement: a sender, its load, and the figures that came of it."""

import dataclasses
import signal

import stats
from processes import BenchError


@dataclasses.dataclass(frozen=True)
class Variant:
    """One row of the table."""

    name: str
    road: str  # floor, in-process, or mqtt
    events: int
    size: int = 200
    sessions: int = 1
    rate: int = 0
    window: int = 0

    @property
    def messages(self):
        return self.events * self.sessions

    def environment(self):
        return {"BENCH_EVENTS": str(self.events), "BENCH_SIZE": str(self.size),
                "BENCH_RATE": str(self.rate), "BENCH_WINDOW": str(self.window)}


class Setup:
    """The processes of one variant, ready to be started; a context manager."""

    def __init__(self, bed, variant):
        self.bed = bed
        self.variant = variant
        self.publisher = None

    def __enter__(self):
        bed, variant = self.bed, self.variant
        bed.reset(0)
        environment = variant.environment()
        if variant.road == "floor":
            self.sender = bed.start("floor", [bed.programs / "floor"],
                                    {**environment, **bed.in_flight_counter()}, talks=True)
            self.sender.expect("ready")
            self.starter = self.sender
            return self
        self.sender = bed.start_service(environment, variant.road == "in-process")
        bed.open_sessions(variant.sessions)
        self.starter = self.sender
        if variant.road == "mqtt":
            self.publisher = bed.start("publisher", [bed.programs / "publisher"], environment,
                                       talks=True)
            self.publisher.expect("ready")
            self.starter = self.publisher
        return self

    def __exit__(self, *_):
        for process in (self.publisher, self.sender):
            if process is not None:
                self.bed.end(process)

    def everyone(self):
        """The processes whose CPU is of interest, by the name of their column."""
        bed = self.bed
        names = {"sender": self.sender, "bus": bed.bus, "sink": bed.sink}
        if self.publisher is not None:
            names.update(broker=bed.broker, publisher=self.publisher)
        return names

    def errors(self):
        """Calls that failed, as the sender knows it."""
        if self.variant.road == "floor":
            answer = self.sender.hear(30)
            if answer is None:
                raise BenchError("the floor is still waiting for replies")
            return answer["failed"]
        return self.sender.lines_with("sendStreamData failed")


def run(bed, variant):
    """Measures a variant once."""
    with Setup(bed, variant) as setup:
        bed.reset(variant.messages)
        before = {name: process.cpu() for name, process in setup.everyone().items()}
        setup.starter.send(signal.SIGUSR1)
        bed.await_messages()
        bed.await_replies()
        errors = setup.errors()
        cpu = {name: process.cpu() - before[name] for name, process in setup.everyone().items()}
        memory = setup.sender.memory()
    in_flight = bed.most_in_flight()
    report, records = bed.records()
    figures = stats.of_records(records, variant)
    figures["cpu_us"] = {name: value / 1e3 / max(len(records), 1) for name, value in cpu.items()}
    figures["peak_rss_mb"] = memory["peak"] / 1024
    figures["errors"] = errors
    figures["in_flight"] = in_flight
    if report["strangers"]:
        raise BenchError(f"{report['strangers']} messages that nobody here sent")
    return figures
