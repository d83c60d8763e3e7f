# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""Prints the lines and branches reached in each folder, and those that were not; exits with 1 if a
folder is below its limits."""

import json
import pathlib
import sys

# Percent of lines and of branches. What dbus/ holds is generated: there is nothing of ours to count.
SERVICE, HOST = (97, 90), (93, 85)
LIMITS = {"service": SERVICE, "sessions": SERVICE, "input": SERVICE, "events": SERVICE,
          "platform/host": HOST}


def percent(part, whole):
    return 100 * part / whole if whole else 100.0


def ranges(numbers):
    """[1, 2, 3, 7] as "1-3, 7"."""
    runs = []
    for number in numbers:
        if runs and runs[-1][1] == number - 1:
            runs[-1][1] = number
        else:
            runs.append([number, number])
    return ", ".join(str(a) if a == b else f"{a}-{b}" for a, b in runs)


class Folder:
    def __init__(self, name):
        self.name, self.lines, self.branches, self.missed = name, [], [], []

    def add(self, file):
        lines = [line for line in file["lines"] if not line.get("gcovr/noncode")]
        branches = [(line["line_number"], branch["count"] > 0)
                    for line in lines for branch in line["branches"]]
        self.lines += [line["count"] > 0 for line in lines]
        self.branches += [reached for _, reached in branches]
        missed = ranges([line["line_number"] for line in lines if line["count"] == 0])
        partly = ranges(sorted({number for number, reached in branches if not reached}))
        if missed or partly:
            self.missed.append(f"  {file['file']}: lines {missed or 'none'}; branches of {partly or 'none'}")

    def good(self):
        return all(percent(sum(seen), len(seen)) >= limit
                   for seen, limit in zip((self.lines, self.branches), LIMITS[self.name]))

    def row(self):
        cells = "".join(f"{sum(seen):>7}/{len(seen):<5}{percent(sum(seen), len(seen)):6.1f} %  (>= {limit})"
                        for seen, limit in zip((self.lines, self.branches), LIMITS[self.name]))
        return f"{self.name:<14}{cells}{'' if self.good() else '   TOO LITTLE'}"


folders = {name: Folder(name) for name in LIMITS}
for entry in json.loads(pathlib.Path(sys.argv[1]).read_text())["files"]:
    for name, folder in folders.items():
        if entry["file"].startswith(name + "/"):
            folder.add(entry)

print("Not reached:")
print("\n".join(line for folder in folders.values() for line in folder.missed) or "  nothing")
print(f"\n{'folder':<14}{'lines':>9}{'branches':>27}")
print("\n".join(folder.row() for folder in folders.values()))
empty = [folder.name for folder in folders.values() if not folder.lines]
if empty:
    print("no figures for: " + ", ".join(empty))
sys.exit(0 if not empty and all(folder.good() for folder in folders.values()) else 1)
