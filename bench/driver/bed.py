# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""What stands for the whole run: a private bus with the shipped limits, a sink, a broker."""

import getpass
import mmap
import pathlib
import shutil
import struct
import subprocess
import tempfile
import time

from processes import BenchError, Process

FILTERS = '{"eventFilterList":[{"topicFilter":"tns1:Device//."}]}'

BROKER = """listener 0 {socket}
allow_anonymous true
user {user}
persistence false
max_queued_messages 0
log_dest none
"""

PLATFORM = """[broker]
address=unix:{socket}
"""


def until(condition, what, timeout=20.0):
    deadline = time.monotonic() + timeout
    while not condition():
        if time.monotonic() > deadline:
            raise BenchError(f"waited {timeout:.0f} s for {what}")
        time.sleep(0.005)


class Bed:
    """Made once a run; a context manager that leaves nothing behind."""

    def __init__(self, build):
        self.build = pathlib.Path(build).resolve()
        self.programs = self.build / "bench"
        self._processes = []
        self._count = 0

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="lumenfeed-bench-"))
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def _start(self):
        self.shared = self.folder / "received"
        self.shared.write_bytes(bytes(32))
        with open(self.shared, "rb") as file:
            self._shared = mmap.mmap(file.fileno(), 32, prot=mmap.PROT_READ)
        self.environment = {"BENCH_SHARED": str(self.shared)}
        self.bus = self.start("dbus-daemon", [
            "dbus-daemon", f"--config-file={self.build}/private-bus/bus.conf", "--nofork",
            "--nopidfile", "--print-address=1"])
        until(lambda: self.bus.log.read_text().startswith("unix:"), "the bus")
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self.bus.log.read_text().splitlines()[0]
        self.sink = self.start("sink", [self.programs / "sink"], talks=True)
        self.sink.expect("ready")
        self.broker = None
        if shutil.which("mosquitto", path="/usr/sbin:/usr/bin:/sbin:/bin"):
            self._start_broker()

    def _start_broker(self):
        socket = self.folder / "mqtt"
        (self.folder / "mosquitto.conf").write_text(BROKER.format(socket=socket, user=getpass.getuser()))
        (self.folder / "event2.conf").write_text(PLATFORM.format(socket=socket))
        self.environment["BENCH_BROKER"] = str(socket)
        self.environment["EVENT2_CONFIG"] = str(self.folder / "event2.conf")
        program = shutil.which("mosquitto", path="/usr/sbin:/usr/bin:/sbin:/bin")
        self.broker = self.start("mosquitto", [program, "-c", self.folder / "mosquitto.conf"])
        until(socket.exists, f"the broker, whose log is {self.broker.tail()}")

    def __exit__(self, *_):
        for process in reversed(self._processes):
            process.stop()
        shutil.rmtree(self.folder)

    def start(self, name, command, environment=None, talks=False):
        """A process that ends at the latest with the bed."""
        self._count += 1
        process = Process(name, command, {**self.environment, **(environment or {})},
                          self.folder / f"{self._count}-{name}.log", talks)
        self._processes.append(process)
        return process

    def end(self, process):
        process.stop()
        process.log.unlink()
        self._processes.remove(process)

    def in_flight_counter(self):
        """The environment of a sender whose calls in flight are to be counted."""
        return {"LD_PRELOAD": str(self.programs / "libin_flight.so")}

    def start_service(self, environment, in_process):
        """The service, with its name on the bus."""
        libraries = {"LD_LIBRARY_PATH": str(self.programs / "source")} if in_process else {}
        service, _ = self.start_owner(
            self.build / "lumenfeed", {**environment, **libraries, **self.in_flight_counter()})
        return service

    def start_owner(self, program, environment):
        """A program that owns the service's name; returns it and how long that took, in s."""
        service = self.start(program.name, [program], environment)
        self.sink.say("await")
        owned = self.sink.expect("owned")
        return service, (owned - service.started) / 1e9

    def open_sessions(self, count):
        before = self.answered()
        self.sink.say(f"open {count} {FILTERS}")
        opened = self.sink.expect("opened")
        if opened != count:
            raise BenchError(f"only {opened} of {count} sessions could be opened")
        # The answers to its responses may still be on their way to the service.
        until(lambda: self.answered() >= before + count, "the answers to the service's responses")

    def received(self):
        return struct.unpack_from("=Q", self._shared, 0)[0]

    def answered(self):
        return struct.unpack_from("=Q", self._shared, 8)[0]

    def await_replies(self):
        """Returns when the sender has no call in flight."""
        until(lambda: struct.unpack_from("=Q", self._shared, 24)[0] == 0, "the last replies")

    def most_in_flight(self):
        return struct.unpack_from("=Q", self._shared, 16)[0]

    def reset(self, expected):
        self.sink.say(f"reset {expected}")
        self.sink.expect("reset")

    def await_messages(self, patience=10.0):
        """True when the sink has all; False when nothing has come for `patience` seconds."""
        seen, since = self.received(), time.monotonic()
        while True:
            answer = self.sink.hear(0.2)
            if answer is not None:
                return "full" in answer
            if self.received() != seen:
                seen, since = self.received(), time.monotonic()
            elif time.monotonic() - since > patience:
                return False

    def records(self):
        """What the sink counted, and its records as tuples (received, sent, number, session)."""
        path = self.folder / "records"
        self.sink.say(f"report {path}")
        report = self.sink.hear(30)
        return report, list(struct.iter_unpack("=QQQQ", path.read_bytes()))


def program_version(command):
    try:
        return subprocess.run(command, capture_output=True, text=True,
                              check=False).stdout.splitlines()[0]
    except (FileNotFoundError, IndexError):
        return "unknown"
