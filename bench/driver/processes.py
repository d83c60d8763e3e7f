# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""The processes of a measurement, and what the kernel knows of them."""

import json
import os
import pathlib
import select
import signal
import subprocess
import time


class BenchError(Exception):
    """A measurement that could not be made; the text says what was missing."""


class Process:
    """A child of the driver. What it writes goes to a log file, standard output if asked to us."""

    def __init__(self, name, command, environment, log, talks=False):
        self.name = name
        self.log = pathlib.Path(log)
        self.started = time.monotonic_ns()
        with open(self.log, "wb") as errors:
            self._child = subprocess.Popen(
                [str(word) for word in command], env={**os.environ, **environment},
                stdin=subprocess.PIPE if talks else subprocess.DEVNULL,
                stdout=subprocess.PIPE if talks else errors, stderr=errors)
        self.pid = self._child.pid
        self._buffer = b""

    def say(self, line):
        self._child.stdin.write(line.encode() + b"\n")
        self._child.stdin.flush()

    def hear(self, timeout):
        """The next line of JSON, or None if there was none in time."""
        deadline = time.monotonic() + timeout
        while b"\n" not in self._buffer:
            ready, _, _ = select.select([self._child.stdout], [], [],
                                        max(0.0, deadline - time.monotonic()))
            if not ready:
                return None
            piece = os.read(self._child.stdout.fileno(), 65536)
            if not piece:
                raise BenchError(f"{self.name} ended: {self.tail()}")
            self._buffer += piece
        line, self._buffer = self._buffer.split(b"\n", 1)
        return json.loads(line)

    def expect(self, key, timeout=20.0):
        """The value of `key` in the next line that is no late word of a measurement."""
        answer = self.hear(timeout)
        while answer is not None and "full" in answer:
            answer = self.hear(timeout)
        if answer is None or key not in answer:
            raise BenchError(f"{self.name} answered {answer}, not {key}: {self.tail()}")
        return answer[key]

    def send(self, number):
        self._child.send_signal(number)

    def tail(self):
        lines = self.log.read_text(errors="replace").splitlines()
        return " | ".join(lines[-3:]) or "(nothing logged)"

    def lines_with(self, text):
        return self.log.read_text(errors="replace").count(text)

    def alive(self):
        return self._child.poll() is None

    def stop(self):
        if self.alive():
            self._child.send_signal(signal.SIGCONT)
            self._child.terminate()
            try:
                self._child.wait(10)
            except subprocess.TimeoutExpired:
                self._child.kill()
                self._child.wait()
        for stream in (self._child.stdin, self._child.stdout):
            if stream is not None:
                stream.close()

    def cpu(self):
        """CPU time of all its threads, in nanoseconds."""
        total = 0
        for task in pathlib.Path(f"/proc/{self.pid}/task").iterdir():
            try:
                total += int((task / "schedstat").read_text().split()[0])
            except FileNotFoundError:
                pass  # a thread that ended between the two calls
        return total

    def memory(self):
        """Resident, its peak, and (from the mappings) proportional memory, in KiB."""
        text = pathlib.Path(f"/proc/{self.pid}/status").read_text()
        fields = dict(line.split(":", 1) for line in text.splitlines())
        text = pathlib.Path(f"/proc/{self.pid}/smaps_rollup").read_text()
        maps = dict(line.split(":", 1) for line in text.splitlines()[1:])
        return {"rss": int(fields["VmRSS"].split()[0]), "peak": int(fields["VmHWM"].split()[0]),
                "pss": int(maps["Pss"].split()[0])}
