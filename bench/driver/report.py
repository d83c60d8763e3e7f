# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""Tables: the same rows for the screen and for docs/performance.md."""

import re

import stats

ROAD_HEAD = ["", "messages/s", "CPU us", "bus", "sink", "broker", "p50 us", "p99 us",
             "in flight", "on the way", "peak MB", "lost", "errors"]


def _number(value):
    if value is None:
        return "not seen"
    return f"{value:,.0f}" if abs(value) >= 100 else f"{value:.3g}"


def road_rows(results):
    for name, rounds in results["roads"].items():
        def middle(pick, rounds=rounds):
            return _number(stats.median([pick(figures) for figures in rounds]))

        def cpu(process, rounds=rounds):
            values = [figures["cpu_us"].get(process) for figures in rounds]
            return "" if None in values else _number(stats.median(values))

        yield [name, middle(lambda f: f["rate"]), cpu("sender"), cpu("bus"), cpu("sink"),
               cpu("broker"), middle(lambda f: f["p50_us"]), middle(lambda f: f["p99_us"]),
               middle(lambda f: f["in_flight"]), middle(lambda f: f["on_the_way"]), middle(lambda f: f["peak_rss_mb"]),
               _number(max(f["lost"] for f in rounds)), _number(max(f["errors"] for f in rounds))]


DEMAND_HEAD = ["", "measured", "smallest to largest", "at least", "aim", ""]


def demand_rows(demands):
    for demand in demands:
        value = demand.value
        if value is None:
            continue
        yield [demand.text,
               f"{_number(value['median'])} {demand.unit}",
               f"{_number(value['min'])} to {_number(value['max'])}",
               _number(demand.at_least), _number(demand.aim), demand.verdict()]


MICRO_HEAD = ["", "CPU ns", "smallest to largest"]


def micro_rows(results):
    for name, values in sorted(results["micro"].items()):
        yield [f"`{name}`", _number(stats.median(values)),
               f"{_number(min(values))} to {_number(max(values))}"]


FOOTPRINT_HEAD = ["", "start-up ms", "resident KB", "proportional KB"]


def footprint_rows(results):
    for name, rounds in results["footprint"].items():
        yield [name, *(_number(stats.median([figures[key] for figures in rounds]))
                       for key in ("start_ms", "rss_kb", "pss_kb"))]


SIZE_HEAD = ["", "code, bytes", "data, bytes", "file without symbols, bytes"]


def size_rows(results):
    for name, figures in results["sizes"].items():
        yield [name, *(_number(figures[key]) if figures else "not built"
                       for key in ("code", "data", "stripped"))]


STOPPED_TEXT = {
    "growth_mb": "growth of the service, MB", "broker_growth_mb": "growth of the broker, MB",
    "prompt_s": "until the main loop answers within 100 ms, s",
    "flowing_s": "until messages come at the rate of the load, s",
    "caught_up_s": "until the backlog is gone, s", "lost": "lost", "errors": "calls that failed"}


def stopped_rows(results):
    for key, text in STOPPED_TEXT.items():
        yield [text, _number(results["stopped_sink"][key])]


def sections(results, demands):
    """Title, head and rows of each table for which there are figures."""
    return [section for section in _all_sections(results, demands) if section[2]]


def _all_sections(results, demands):
    yield "Demands", DEMAND_HEAD, list(demand_rows(demands))
    yield "The road of an event", ROAD_HEAD, list(road_rows(results))
    if "stopped_sink" in results:
        seconds, rate = results["stopped_sink"]["seconds"], results["stopped_sink"]["rate"]
        yield (f"The sink stopped for {seconds} s at {rate:,} events/s", ["", ""],
               list(stopped_rows(results)))
    yield "Single functions", MICRO_HEAD, list(micro_rows(results))
    yield "Start-up and idle memory", FOOTPRINT_HEAD, list(footprint_rows(results))
    yield "Size of the program", SIZE_HEAD, list(size_rows(results))


def screen(results, demands):
    for title, head, rows in sections(results, demands):
        table = [head, *rows]
        widths = [max(len(row[column]) for row in table) for column in range(len(head))]
        print(f"\n{title}")
        for row in table:
            cells = [cell.ljust(width) if column == 0 else cell.rjust(width)
                     for column, (cell, width) in enumerate(zip(row, widths))]
            print("  " + "  ".join(cells).rstrip())


def markdown(results, demands):
    lines = [f"Conditions: {'; '.join(results['conditions'])}.", ""]
    for title, head, rows in sections(results, demands):
        lines += [f"### {title}", "", "| " + " | ".join(head) + " |",
                  "|---|" + "---:|" * (len(head) - 1)]
        lines += ["| " + " | ".join(row) + " |" for row in rows]
        lines.append("")
    return "\n".join(lines)


BEGIN, END = "<!-- figures -->\n", "<!-- end of figures -->"


def write_paper(path, results, demands):
    """Replaces the figures of the paper; its prose is written by hand."""
    text = path.read_text()
    between = re.compile(re.escape(BEGIN) + ".*?" + re.escape(END), re.DOTALL)
    if not between.search(text):
        raise ValueError(f"{path}: no place for the figures")
    figures = BEGIN + "\n" + markdown(results, demands) + "\n" + END
    path.write_text(between.sub(lambda _: figures, text))
