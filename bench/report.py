"""Turns the results of bench/run into docs/PERFORMANCE.md and SVG plots."""
import os
import pathlib
import platform
import re

MAIN_BUS = "dbus-daemon, one CPU"
SHAPES = ["get_1", "get_10", "get_100", "get_1000", "wildcard_16", "set", "get_object_10", "long_1024", "long_1048576"]
# At most this ratio to raw libdbus with the same texts.
CALL_TARGETS = {"get_1": 1.10, "get_10": 1.15, "get_100": 1.3, "get_1000": 1.7}
EVENT_TARGET = 1.05
FILE_TARGET = 1.2


def machine():
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    return {"cpus": len(os.sched_getaffinity(0)), "model": model.group(1) if model else platform.machine(),
            "kernel": platform.release(), "system": platform.machine()}


def ratio(bus, shape, percentile="p50"):
    calls = bus["calls"]
    return calls[f"library_{shape}"][percentile] / calls[f"raw_{shape}"][percentile]


def verdict(value, target, at_least=False):
    """The target and by how much it is missed."""
    if target is None:
        return ""
    missed = (target / value if at_least else value / target) - 1
    bound = f"{'at least' if at_least else 'at most'} {target:g}"
    return f"{bound}: {'met' if missed <= 0 else f'missed by {missed:.0%}'}"


def calls_table(bus):
    lines = ["| shape | raw libdbus, us | library, us | ratio p50 | ratio p99 | target of p50 |", "|---|---|---|---|---|---|"]
    for shape in SHAPES:
        value = ratio(bus, shape)
        lines.append(f"| `{shape}` | {bus['calls'][f'raw_{shape}']['p50']:.1f} | "
                     f"{bus['calls'][f'library_{shape}']['p50']:.1f} | {value:.2f} | {ratio(bus, shape, 'p99'):.2f} | "
                     f"{verdict(value, CALL_TARGETS.get(shape))} |")
    return lines


def relay_line(bus):
    parts = [f"{bus['calls'][f'relay_get_{n}']['p50'] / bus['calls'][f'raw_get_{n}']['p50']:.2f} ({n})"
             for n in (1, 10, 100, 1000)]
    return "The same bytes over socket pairs through one relay, relative to raw libdbus: " + ", ".join(parts) + "."


def events_table(bus):
    lines = ["| listeners | raw libdbus, us | raw libdbus that hears itself, us | library, us | to raw | to raw that hears itself "
             "| target of the first |", "|---|---|---|---|---|---|---|"]
    for count, found in bus["events"].items():
        raw, heard, library = (found[kind]["p50"] for kind in ("raw", "heard", "library"))
        target = EVENT_TARGET if count in ("1", "50") else None
        lines.append(f"| {count} | {raw:.1f} | {heard:.1f} | {library:.1f} | {library / raw:.2f} | {library / heard:.2f} | "
                     f"{verdict(library / raw, target)} |")
    return lines


def load_lines(results):
    lines = ["| bus | 1 thread | 4 threads | 8 threads | 8 to 1 | slowest to fastest of 8 | 8 processes to 1 |",
             "|---|---|---|---|---|---|---|"]
    for name, bus in results["buses"].items():
        threads, seconds = bus["threads"], bus["threads"]["seconds"]
        rates = {count: sum(threads[count]) / seconds for count in ("1", "4", "8")}
        fair = min(threads["8"]) / max(threads["8"])
        many = sum(bus["processes"]["8"]) / sum(bus["processes"]["1"])
        target = 1.15 if "one CPU" in name else 2.3
        lines.append(f"| {name} | {rates['1']:.0f}/s | {rates['4']:.0f}/s | {rates['8']:.0f}/s | "
                     f"{rates['8'] / rates['1']:.2f} ({verdict(rates['8'] / rates['1'], target, True)}) | "
                     f"{fair:.2f} ({verdict(fair, 0.9, True)}) | {many:.2f} |")
    return lines


def startup_lines(bus):
    startup = bus["startup"]
    lines = ["| process | until connected, ms | above bare | resident set, MiB | above bare | its own, not shared, MiB |",
             "|---|---|---|---|---|---|"]
    names = {"bare": "bare libdbus", "runtime": "with the C++ library loaded, unused", "library": "with this library"}
    for kind, name in names.items():
        found, bare = startup[kind], startup["bare"]
        lines.append(f"| {name} | {found['p50'] / 1000:.2f} | {(found['p50'] - bare['p50']) / 1000:.2f} | "
                     f"{found['resident'] / 1024:.2f} | {(found['resident'] - bare['resident']) / 1024:.2f} | "
                     f"{found['dirty'] / 1024:.2f} |")
    return lines


FILES = (("copy", "cp", "`CopyFile` to `cp`", True), ("read", "cat", "`ReadFile` to `cat` into /dev/null, which keeps nothing", True),
         ("read", "cat_to_memory", "`ReadFile` to `cat` into a file in memory, which keeps it, too", False),
         ("write", "cat_to_file", "`WriteFile` to `cat` into a file", True))


def other_lines(results, bus):
    startup = bus["startup"]
    beside = bus["beside"]["beside"] / bus["beside"]["alone"]
    load = (startup["library"]["p50"] - startup["bare"]["p50"]) / 1000
    size = (startup["library"]["resident"] - startup["bare"]["resident"]) / 1024
    files = results["files"]
    rows = [("fast calls beside a call of 100 ms, to those without it", f"{beside:.2f}", verdict(beside, 0.9, True)),
            ("load and `zeltoAppLibInit` above a bare libdbus connect, ms", f"{load:.2f}", verdict(load, 1)),
            ("resident set of an application above a bare libdbus process, MiB", f"{size:.2f}", verdict(size, 1)),
            ("resident set of a manager, MiB", f"{startup['manager_resident'] / 1024:.1f}", "")]
    for ours, theirs, text, has_target in FILES:
        if theirs not in files:
            continue
        value = files[ours] / files[theirs]
        rows.append((f"256 MiB: {text}", f"{value:.2f}", verdict(value, FILE_TARGET if has_target else None)))
    return ["| what | measured | target |", "|---|---|---|"] + [f"| {a} | {b} | {c} |" for a, b, c in rows]


def bars(title, labels, values, limits):
    """An SVG of horizontal bars; a line marks the target of each that has one."""
    row, left, width = 26, 150, 420
    scale = width / (max(values + [limit for limit in limits if limit]) * 1.1)
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 70}" height="{row * len(labels) + 40}" '
           'font-family="sans-serif" font-size="13">', '<rect width="100%" height="100%" fill="white"/>',
           f'<text x="8" y="20" font-weight="bold">{title}</text>']
    for index, (label, value, limit) in enumerate(zip(labels, values, limits)):
        top = 32 + index * row
        out.append(f'<text x="{left - 8}" y="{top + 15}" text-anchor="end">{label}</text>')
        out.append(f'<rect x="{left}" y="{top}" width="{value * scale:.1f}" height="{row - 8}" fill="#4878a8"/>')
        out.append(f'<text x="{left + value * scale + 6:.1f}" y="{top + 15}">{value:.2f}</text>')
        if limit:
            at = left + limit * scale
            out.append(f'<path d="M{at:.1f} {top - 3}v{row - 2}" stroke="#c03030" stroke-width="2"/>')
    return "\n".join(out) + "\n</svg>\n"


def write_plots(bus, directory):
    directory.mkdir(parents=True, exist_ok=True)
    (directory / "calls.svg").write_text(bars("Round trip, relative to raw libdbus", SHAPES,
                                              [ratio(bus, shape) for shape in SHAPES],
                                              [CALL_TARGETS.get(shape) for shape in SHAPES]))
    counts = list(bus["events"])
    (directory / "events.svg").write_text(
        bars("Event until every listener is called, relative to raw libdbus", [f"{count} listeners" for count in counts],
             [bus["events"][count]["library"]["p50"] / bus["events"][count]["raw"]["p50"] for count in counts],
             [EVENT_TARGET if count in ("1", "50") else None for count in counts]))


def told(results, bus):
    """What the placeholders of the notes stand for."""
    def measured(value, target=None, at_least=False):
        return f"{value:.2f}" + (f" ({verdict(value, target, at_least)})" if target else "")

    def events(count):
        found = bus["events"][count]
        return measured(found["library"]["p50"] / found["raw"]["p50"], EVENT_TARGET)

    def threads(found):
        return sum(found["threads"]["8"]) / sum(found["threads"]["1"])

    startup, files = bus["startup"], results["files"]
    values = {shape: measured(ratio(bus, shape), target) for shape, target in CALL_TARGETS.items()}
    values.update(
        event_1=events("1"), event_50=events("50"), threads=measured(threads(bus), 1.15, True),
        threads_free=measured(threads(results["buses"]["dbus-daemon, free"]), 2.3, True),
        beside=measured(bus["beside"]["beside"] / bus["beside"]["alone"], 0.9, True),
        startup=measured((startup["library"]["p50"] - startup["bare"]["p50"]) / 1000, 1),
        resident=measured((startup["library"]["resident"] - startup["bare"]["resident"]) / 1024, 1),
        read=measured(files["read"] / files["cat"], FILE_TARGET),
        read_kept=measured(files["read"] / files["cat_to_memory"]) if "cat_to_memory" in files else "no memory to measure it")
    return values


def write(results, docs):
    bus = results["buses"][MAIN_BUS]
    found = results["machine"]
    values = told(results, bus)
    notes = re.sub(r"\{\{(\w+)\}\}", lambda name: values[name.group(1)],
                   (pathlib.Path(__file__).parent / "notes.md").read_text())
    lines = ["# Measured speed", "",
             "Made by `bench/run`; the numbers behind it are in `bench/results.json`. Raw libdbus with ready-made texts of "
             "the same bytes is the floor. Rounds of all shapes are interleaved; a figure is the median, a ratio that of "
             "medians of one run.", "",
             f"Machine: {found['cpus']} CPUs, {found['model']}, Linux {found['kernel']}; load average at the start "
             f"{results['load_average']:.1f}; {results['rounds']} rounds.", "",
             f"## Calls ({MAIN_BUS})", "", *calls_table(bus), "", relay_line(bus), "", "![calls](performance/calls.svg)", "",
             f"## Events ({MAIN_BUS})", "", *events_table(bus), "", "![events](performance/events.svg)", "",
             "## Threads and processes", "", *load_lines(results), "", "## Everything else", "", *other_lines(results, bus),
             "", "## Start and memory", "", *startup_lines(bus), ""]
    if results["no_broker"]:
        lines += [f"dbus-broker was left out: {results['no_broker']}.", ""]
    for name, other in results["buses"].items():
        if name != MAIN_BUS:
            lines += [f"## Calls ({name})", "", *calls_table(other), "", f"## Events ({name})", "", *events_table(other), ""]
    write_plots(bus, docs / "performance")
    (docs / "PERFORMANCE.md").write_text("\n".join(lines) + "\n" + notes)
