# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""Start-up, idle memory and size, against a daemon that only owns a name."""

import pathlib
import shutil
import subprocess
import tempfile
import time

#: Memory is measured this long after the start: what the start needed is given back by then.
IDLE_S = 0.5


def run(bed, rounds):
    """Per program, the figures of every round, interleaved."""
    source = {"LD_LIBRARY_PATH": str(bed.programs / "source")}
    programs = {
        "service": (bed.build / "lumenfeed", {}),
        "baseline": (bed.programs / "baseline", {}),
        "service, in-process source": (bed.build / "lumenfeed", source),
        "baseline, in-process source": (bed.programs / "baseline", source),
    }
    figures = {name: [] for name in programs}
    for _ in range(rounds):
        for name, (program, environment) in programs.items():
            process, seconds = bed.start_owner(program, environment)
            time.sleep(IDLE_S)
            memory = process.memory()
            bed.end(process)
            figures[name].append({"start_ms": seconds * 1e3, "rss_kb": memory["rss"],
                                  "pss_kb": memory["pss"]})
    return figures


def size(program):
    """Bytes of code and data as `size` counts them, and of the stripped file; None if not built."""
    if not pathlib.Path(program).exists():
        return None
    text = subprocess.run(["size", program], capture_output=True, text=True, check=True).stdout
    code, data, bss = (int(word) for word in text.splitlines()[1].split()[:3])
    with tempfile.TemporaryDirectory() as folder:
        stripped = shutil.copy(program, pathlib.Path(folder) / "stripped")
        subprocess.run(["strip", stripped], check=True)
        return {"code": code, "data": data + bss, "stripped": pathlib.Path(stripped).stat().st_size}
