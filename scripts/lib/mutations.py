# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""Small changes of a C++ source, each of which a test should notice."""

import dataclasses
import pathlib
import re

# What is looked for, and what takes its place.
TOKENS = [(r" == ", " != "), (r" != ", " == "), (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "),
          (r" >= ", " > "), (r" && ", " || "), (r" \|\| ", " && "), (r" \+ ", " - "),
          (r"\bTRUE\b", "FALSE"), (r"\bFALSE\b", "TRUE"), (r"\btrue\b", "false"),
          (r"\bfalse\b", "true"), (r"\bif \(", "if (!("), (r"\b(\d+)\b(?![.\w\"'])", None)]
STATEMENT = re.compile(r"^(\s+)(?!return|break|continue|case|default|using|const|auto|static|struct"
                       r"|namespace|delete|throw|[\w:<>*& ]+ \w+( = .*)?;)[\w>.:\-\[\]*+]+.*;$")


@dataclasses.dataclass
class Change:
    source: pathlib.Path
    line: int
    what: str
    text: str

    def __str__(self):
        return f"{self.source}:{self.line}: {self.what}"


def code_of(line):
    """The line with its texts and comments blanked, so that nothing is found in them."""
    line = re.sub(r'"(\\.|[^"\\])*"', lambda text: '"' + "_" * (len(text.group()) - 2) + '"', line)
    line = re.sub(r"'(\\.|[^'\\])'", lambda text: "'" + "_" * (len(text.group()) - 2) + "'", line)
    return line.split("//")[0]


def token_changes(line):
    """Each line that one changed token makes of this one."""
    code = code_of(line)
    for pattern, replacement in TOKENS:
        for found in re.finditer(pattern, code):
            new = replacement or str(int(found.group(1)) + 1)
            changed = line[:found.start()] + new + line[found.end():]
            if pattern == r"\bif \(":
                if not code.rstrip().endswith(") {") or ";" in code:
                    continue
                changed = changed.rstrip()[:-3] + ")) {"
            yield changed


def balanced(code):
    return code.count("(") == code.count(")") and code.count("{") == code.count("}")


def of(source, text):
    """All changes of a source."""
    lines = text.split("\n")

    def change(at, what, *new, count=1):
        return Change(source, at + 1, what, "\n".join([*lines[:at], *new, *lines[at + count:]]))

    for at, line in enumerate(lines):
        code = code_of(line)
        if line.lstrip().startswith(("#", "//", "constexpr", "using", "template")) or "g_log(" in line:
            continue
        for changed in token_changes(line):
            yield change(at, f"{line.strip()} -> {changed.strip()}", changed)
        if STATEMENT.match(code) and balanced(code):
            yield change(at, f"without {line.strip()}")
            below = lines[at + 1] if at + 1 < len(lines) else ""
            indent = len(line) - len(line.lstrip())
            if (STATEMENT.match(code_of(below)) and balanced(code_of(below))
                    and len(below) - len(below.lstrip()) == indent):
                yield change(at, f"{line.strip()} after {below.strip()}", below, line, count=2)
