#!/usr/bin/env python3
"""Turns the results of one run into a table of medians and ratios, and compares them with the targets.

usage: report.py RESULTS_DIRECTORY [--record]
RESULTS_DIRECTORY holds what scripts/bench measured: times.json, heap.jsonl, start.json, versions.txt. With --record the tables and charts
also replace those of the last run in docs/measurements.md, docs/performance.md and README.md: what stands between the marker lines
there, and the files in docs/charts.
"""

import json
import os
import sys
import textwrap

SIZES = (50, 10_000, 100_000, 1_000_000)
MEMORY, FILE, GKEYFILE, RAPIDJSON = "memory ticket", "file ticket", "GKeyFile", "RapidJSON"
F1, F2, F3, F4 = "F1 pugixml", "F2 std::map", "F3 flat_hash_map", "F4 simdjson"
OWN = (MEMORY, FILE)
FLOORS = (F1, F2, F3, F4)
PEERS = (GKEYFILE, "KConfig", "libconfig++", "LMDB", "nlohmann-json", "QSettings", RAPIDJSON, "SimpleIni", "SQLite")
# The stores that hold every value with its type after a load. RapidJSON does, too, but leaves texts in the bytes of the file.
TYPED_AT_LOAD = ("libconfig++", "nlohmann-json")
PEER_SIZES = SIZES[:3]
SHAPES = ("flat", "wide", "deep")

# Operation, the store that it is compared with, title.
TABLES = (
    ("get_int", F2, "Read an integer"),
    ("set_int", F2, "Write an integer over another"),
    ("get_string", MEMORY, "Read a text"),
    ("set_string", MEMORY, "Write a text over another"),
    ("load", GKEYFILE, "Load a file and read every value once with its type, into fresh memory"),
    ("load_warm", GKEYFILE, "Load a file and read every value once with its type, into used memory"),
    ("load_only", F1, "Load a file, and read nothing of it yet, into fresh memory"),
    ("load_only_warm", F1, "Load a file, and read nothing of it yet, into used memory"),
    ("save", GKEYFILE, "Change one value and save it durably"),
)

# Title, operation, the store that it is compared with, sizes.
OTHER_OPERATIONS = (
    ("walk of all values", "walk", None, SIZES[1:]),
    ("merge into an empty ticket", "merge", "copy_by_walk", SIZES[1:]),
    ("the same by a walk that stores each value", "copy_by_walk", None, SIZES[1:]),
    ("2 keys of a file, selected", "load_2_keys", "load_for_2_keys", SIZES[1:]),
    ("2 keys of a file, all loaded", "load_for_2_keys", None, SIZES[1:]),
    ("40 integers read by ticket::Store", "store_40", "single_40", SIZES[:3]),
    ("batch of 40 integers read", "batch_40", "single_40", SIZES[:3]),
    ("40 integers read singly", "single_40", None, SIZES[:3]),
    ("40 integers written by ticket::Store", "set_store_40", "set_single_40", SIZES[:3]),
    ("batch of 40 integers written", "set_batch_40", "set_single_40", SIZES[:3]),
    ("40 integers written singly", "set_single_40", None, SIZES[:3]),
)


class Results:
    """Medians of one run."""

    def __init__(self, directory):
        self.seconds = {}  # (operation, store, size) -> seconds for one operation
        self.rates = {}  # the same -> operations per second of all threads together
        self.messages = 0
        with open(os.path.join(directory, "times.json"), encoding="utf-8") as stream:
            self.machine = json.load(stream)
        for entry in self.machine["benchmarks"]:
            if entry.get("aggregate_name") == "median":
                self._add(entry)
        self.heap = {}
        with open(os.path.join(directory, "heap.jsonl"), encoding="utf-8") as stream:
            for line in stream:
                entry = json.loads(line)
                self.heap[entry["store"], entry["count"]] = entry
        with open(os.path.join(directory, "start.json"), encoding="utf-8") as stream:
            self.start = json.load(stream)
        with open(os.path.join(directory, "versions.txt"), encoding="utf-8") as stream:
            self.versions = [line.strip() for line in stream if len(line.split()) == 2]

    def _add(self, entry):
        name = entry["run_name"].split("/")
        key = tuple(name[:2]) + (int(name[2]) if name[2].isdigit() else name[2],)
        # Manual and threaded benchmarks report wall-clock time or a time of their own, all others processor time.
        kind = "real_time" if len(name) > 3 else "cpu_time"
        self.seconds[key] = entry[kind] * {"ns": 1e-9, "us": 1e-6, "ms": 1e-3}[entry["time_unit"]]
        if "items_per_second" in entry:
            self.rates[key] = entry["items_per_second"]
        self.messages += entry.get("messages", 0)

    def time(self, operation, store, size):
        return self.seconds.get((operation, store, size))

    def ratio(self, a, b):
        """The time of one (operation, store, size) by that of another; None if one was not measured."""
        first, second = self.seconds.get(a), self.seconds.get(b)
        return first / second if first is not None and second else None

    def stores(self, operation):
        found = {store for (op, store, size) in self.seconds if op == operation and isinstance(size, int)}
        return sorted(found, key=lambda store: (store not in OWN, store not in FLOORS, store.lower()))

    def peers(self, operation):
        return [store for store in self.stores(operation) if store not in OWN + FLOORS]


def duration(seconds):
    if seconds is None:
        return "-"
    for unit, factor in (("ns", 1e9), ("µs", 1e6), ("ms", 1e3)):
        if seconds * factor < 1000 or unit == "ms":
            value = seconds * factor
            return f"{value:.0f} {unit}" if value >= 100 else f"{value:.3g} {unit}"
    return ""


def markdown(header, rows):
    widths = [max(len(str(row[i])) for row in [header] + rows) for i in range(len(header))]
    lines = ["| " + " | ".join(str(cell).ljust(width) for cell, width in zip(row, widths)) + " |"
             for row in [header] + rows]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def table_of(results, operation, base, title):
    sizes = [size for size in SIZES if any((operation, store, size) in results.seconds for store in OWN)]
    rows = []
    for store in results.stores(operation):
        row = [store]
        for size in sizes:
            time = results.time(operation, store, size)
            ratio = results.ratio((operation, store, size), (operation, base, size))
            row.append(duration(time) + (f" ({ratio:.2f})" if ratio is not None else ""))
        rows.append(row)
    return f"## {title}\n\nIn brackets: by {base}.\n\n" + markdown(["store"] + [f"{size:,} keys" for size in sizes], rows)


def own_store_of(results, operation):
    return next((store for store in OWN if any((operation, store, size) in results.seconds for size in SIZES)), None)


def table_of_operations(results):
    rows = []
    for title, operation, base, sizes in OTHER_OPERATIONS:
        store = own_store_of(results, operation)
        row = [title]
        for size in SIZES:
            time = results.time(operation, store, size) if size in sizes else None
            ratio = results.ratio((operation, store, size), (base, store, size)) if base else None
            row.append(duration(time) + (f" ({ratio:.2f})" if ratio is not None and time is not None else ""))
        rows.append(row)
    return ("## What peers do not have, or not in this form\n\nIn brackets: by the last line of each group.\n\n" +
            markdown(["operation"] + [f"{size:,} keys" for size in SIZES], rows))


def table_of_letters(results):
    rows = []
    for store in results.stores("save"):
        row = [store]
        for operation in ("load", "save"):
            ascii_time, foreign = (results.time(operation, store, name) for name in ("texts", "foreign"))
            row.append(f"{duration(ascii_time)} → {duration(foreign)} ({foreign / ascii_time:.2f})"
                       if ascii_time and foreign else "-")
        rows.append(row)
    return ("## Texts beyond ASCII\n\n10,000 texts of 40 bytes, first of ASCII, then of 20 letters of two bytes each; in "
            "brackets the second by the first.\n\n" +
            markdown(["store", "load and read every value", "change one value and save"], rows))


def table_of_threads(results):
    rows = []
    for store in results.stores("read_by_1_thread"):
        row = [store]
        for size in SIZES:
            one = results.rates.get(("read_by_1_thread", store, size))
            two = results.rates.get(("read_by_2_threads", store, size))
            row.append(f"{one / 1e6:.1f} → {two / 1e6:.1f} ({two / one:.2f})" if one and two else "-")
        rows.append(row)
    return ("## Two threads read one store\n\nMillions of reads in a second, by one thread and by two together; in "
            "brackets what the second one gives.\n\n" + markdown(["store"] + [f"{size:,} keys" for size in SIZES], rows))


def table_of_heap(results):
    rows = []
    stores = sorted({store for store, _ in results.heap},
                    key=lambda store: (store not in OWN, store not in FLOORS, store.lower()))
    for store in stores:
        row = [store]
        for size in SIZES[1:]:
            entry = results.heap.get((store, size))
            row.append(f"{entry['live'] / size:.0f} / {entry['peak'] / size:.0f} / {entry['read'] / size:.0f}" if entry else "-")
        rows.append(row)
    return ("## Heap\n\nBytes for each key: what stays after a load (or filling, for stores without a file) / the most "
            "there was during it / what there is when each value was read once. SQLite holds a few pages of its file, "
            "not the values.\n\n" + markdown(["store"] + [f"{size:,} keys" for size in SIZES[1:]], rows))


class Target:
    """One target: its parts, each with what was measured and whether it was reached; None: it was not measured."""

    def __init__(self, number, text):
        self.number, self.text, self.parts = number, text, []

    def at_most(self, label, value, limit, form="{:.2f}"):
        return self._add(label, value, limit, form, value is not None and value <= limit)

    def at_least(self, label, value, limit, form="{:.2f}"):
        return self._add(label, value, limit, form, value is not None and value >= limit)

    def _add(self, label, value, limit, form, reached):
        if value is None:
            self.parts.append((f"{label} not measured".strip(), None))
        else:
            self.parts.append((f"{label} {form.format(value)} of {form.format(limit)}".strip(), reached))
        return self

    def row(self):
        return [self.number, self.text, self._summary(), self._verdict()]

    def details(self):
        measured = "; ".join(f"**{text}**" if ok is False else text for text, ok in self.parts)
        return f"- **{self.number}** {self.text}: {measured}."

    def _summary(self):
        missed = sum(ok is False for _, ok in self.parts)
        measured = sum(ok is not None for _, ok in self.parts)
        return f"{measured - missed} of {measured}"

    def _verdict(self):
        verdicts = [ok for _, ok in self.parts]
        if False in verdicts:
            return "NOT REACHED"
        if True not in verdicts:
            return "not measured"
        return "reached as far as measured" if None in verdicts else "reached"


def access_target(results, number, text, operation):
    target = Target(number, text)
    for size in PEER_SIZES:
        target.at_most(f"{size:,} by {F3}:", results.ratio((operation, MEMORY, size), (operation, F3, size)), 1.0)
    for size in PEER_SIZES:
        times = {store: results.time(operation, store, size) for store in results.peers(operation)}
        times = {store: time for store, time in times.items() if time is not None}
        best = min(times, key=times.get, default=None)
        label = f"{size:,} by {best or 'the fastest peer'}"
        target.at_most(label, results.ratio((operation, MEMORY, size), (operation, best, size)) if best else None, 1.0)
    return target


def load_targets(results):
    warm = Target(4, "Load into used memory, by F1; into fresh memory at 50 keys, by F1")
    for size in PEER_SIZES:
        warm.at_most(f"{size:,}:", results.ratio(("load_only_warm", FILE, size), ("load_only_warm", F1, size)), 1.3)
    warm.at_most("fresh 50:", results.ratio(("load_only", FILE, 50), ("load_only", F1, 50)), 1.0)
    yield warm

    typed = Target(5, "Load, by stores that then have every type; load and read every value, by peers")
    for operation in ("load_only", "load_only_warm"):
        for peer in TYPED_AT_LOAD:
            for size in PEER_SIZES:
                typed.at_most(f"{operation} {size:,} by {peer}:",
                              results.ratio((operation, FILE, size), (operation, peer, size)), 1.0)
    for operation in ("load", "load_warm"):
        for peer in (GKEYFILE, RAPIDJSON):
            for size in PEER_SIZES:
                typed.at_most(f"{operation} {size:,} by {peer}:",
                              results.ratio((operation, FILE, size), (operation, peer, size)), 1.0)
    yield typed


def per_key(results, operation, size):
    time = results.time(operation, FILE, size)
    return time / size if time is not None else None


def growth_target(results):
    target = Target(12, "Growth: 1,000,000 keys by 10,000, each key; other shapes by the usual one")
    for label, operation in (("load", "load_only"), ("save", "save")):
        large, small = per_key(results, operation, 1_000_000), per_key(results, operation, 10_000)
        target.at_most(label, large / small if large and small else None, 1.5)
        for shape in SHAPES:
            target.at_most(f"{label} {shape}",
                           results.ratio((operation, FILE, shape), (operation, FILE, 100_000)), 1.5)
    return target


def peak_limit(own, floor):
    """Set when a load held the whole document, as F1 does; since ours are read without one, none comes near it."""
    nodes = floor["live"] - floor["file"]  # F1's document also keeps the text of the file
    return own["live"] + own["file"] + 1.1 * nodes


def targets_of(results):
    yield access_target(results, 1, "Read an integer of a memory ticket, by F3 and by the fastest peer", "get_int")
    yield access_target(results, 2, "Write an integer of a memory ticket, by F3 and by the fastest peer", "set_int")

    target = Target(3, "Read a text of a file ticket, by the memory ticket")
    for size in SIZES:
        target.at_most(f"{size:,}:", results.ratio(("get_string", FILE, size), ("get_string", MEMORY, size)), 1.3)
    yield target

    yield from load_targets(results)

    target = Target(6, "Save durably, by GKeyFile")
    for size in PEER_SIZES:
        target.at_most(f"{size:,}:", results.ratio(("save", FILE, size), ("save", GKEYFILE, size)), 1.0)
    yield target

    live = Target(7, "Live heap after every value was read, bytes for each key")
    peak = Target(8, "Peak heap of a load, by live heap + file + 1.1 × the XML nodes")
    for size in SIZES[1:]:
        own, floor = results.heap.get((FILE, size)), results.heap.get((F1, size))
        live.at_most(f"{size:,}:", own["read"] / size if own else None, 72, "{:.0f}")
        peak.at_most(f"{size:,}:", own["peak"] / peak_limit(own, floor) if own and floor else None, 1.0)
    yield live
    yield peak

    target = Target(9, "Two threads reading one ticket, by one thread")
    for store in OWN:
        for size in SIZES:
            one = results.rates.get(("read_by_1_thread", store, size))
            two = results.rates.get(("read_by_2_threads", store, size))
            target.at_least(f"{store} {size:,}:", two / one if one and two else None, 0.9)
    yield target

    target = Target(10, "A batch of 40 by 40 single calls; an element of a vector of 1,000 in ns")
    for size in SIZES[:3]:
        target.at_most(f"read {size:,}:", results.ratio(("batch_40", MEMORY, size), ("single_40", MEMORY, size)), 0.6)
        target.at_most(f"written {size:,}:",
                       results.ratio(("set_batch_40", MEMORY, size), ("set_single_40", MEMORY, size)), 0.8)
    vector = results.time("get_vector", MEMORY, 1000)
    target.at_most("vector", vector * 1e6 if vector else None, 15, "{:.1f}")
    yield target

    target = Target(11, "A setting of the service above the table call beneath it, in ns; messages formatted")
    for operation in ("get_int", "set_int", "get_string", "set_string"):
        service, table = (results.time(operation, store, "setting") for store in ("service", "table"))
        target.at_most(operation, (service - table) * 1e9 if service and table else None, 35, "{:.0f}")
    target.at_most("messages", results.messages, 0, "{:.0f}")
    yield target

    yield growth_target(results)
    yield Target(13, "Start of the library to the first value, by a process that only parses").at_most(
        "", results.start["service"] / results.start["parse"], 0.9)

    target = Target(14, "A merge by a walk that stores each value; 2 keys of a file, by a whole load")
    for size in SIZES[1:]:
        target.at_most(f"merge {size:,}:",
                       results.ratio(("merge", MEMORY, size), ("copy_by_walk", MEMORY, size)), 1.0)
    for size in SIZES[1:]:
        target.at_most(f"2 keys of {size:,}:",
                       results.ratio(("load_2_keys", FILE, size), ("load_for_2_keys", FILE, size)), 0.4)
    yield target


def report(results):
    context = results.machine["context"]
    commit = context.get("commit", "unknown")
    missing = [peer for peer in PEERS if peer not in results.peers("get_int")]
    cpu = f"{context['num_cpus']} processors at {context['mhz_per_cpu']} MHz"
    parts = [f"Run of {context['date'][:16]} of commit {commit} on {cpu}, load {context['load_avg'][0]:.1f} at the start." +
             (f" Without {', '.join(missing)}: not installed or not asked for." if missing else ""),
             f"Packages: {', '.join(results.versions)}; g++, release preset.",
             "## Targets\n\nRatios of medians of this run.\n\n" +
             markdown(["#", "what", "parts", ""], [target.row() for target in targets_of(results)]) +
             "\n\nEach part with its limit; what was not reached is bold.\n\n" +
             "\n".join(target.details() for target in targets_of(results))]
    parts += [table_of(results, *table) for table in TABLES]
    parts += [table_of_operations(results), table_of_letters(results), table_of_threads(results), table_of_heap(results)]
    rows = [[name, duration(results.seconds[operation, store, size])] for name, operation, store, size in (
        ("vector of 1,000 integers, read", "get_vector", MEMORY, 1000),
        ("vector of 1,000 integers, written", "set_vector", MEMORY, 1000),
        ("first element of a vector of up to 10,000 deleted", "delete_from_front", MEMORY, 10_000),
        ("setting of the service, integer read", "get_int", "service", "setting"),
        ("the table call beneath it", "get_int", "table", "setting"),
        ("setting of the service, text written", "set_string", "service", "setting"),
        ("the table call beneath it", "set_string", "table", "setting"),
    ) if (operation, store, size) in results.seconds]
    rows += [["process: library loaded, first value read", duration(results.start["service"] * 1e-6)],
             ["process: file parsed only", duration(results.start["parse"] * 1e-6)]]
    parts.append("## Other figures\n\n" + markdown(["what", "time"], rows))
    return "\n\n".join(parts) + "\n"


def wrapped(text, width=130):
    """Breaks the lines of paragraphs and list items, but not those of tables."""
    options = {"width": width, "break_long_words": False, "break_on_hyphens": False}
    return "\n".join(line if line.startswith("|") else
                     textwrap.fill(line, subsequent_indent="  " if line.startswith("- ") else "", **options)
                     for line in text.split("\n"))


def write_into(name, mark, text):
    begin, end = f"<!-- begin: {mark} -->\n", f"<!-- end: {mark} -->\n"
    with open(name, encoding="utf-8") as stream:
        content = stream.read()
    before, rest = content.split(begin)
    after = rest.split(end)[1]
    with open(name, "w", encoding="utf-8") as stream:
        stream.write(before + begin + "\n" + text + "\n" + end + after)


def record(results, text):
    import charts  # here, since it needs matplotlib

    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    directory = os.path.join(root, "docs", "charts")
    os.makedirs(directory, exist_ok=True)
    overview, *others = charts.draw(results, directory)
    for page, to_charts, drawn in (("README.md", "docs/charts", [overview]), ("docs/performance.md", "charts", others)):
        links = [f"![{title}]({to_charts}/{name}.svg)\n" for name, title in drawn]
        write_into(os.path.join(root, page), "charts", "\n".join(links))
    write_into(os.path.join(root, "docs/measurements.md"), "last full run", text)


def main(arguments):
    results = Results(arguments[1])
    text = wrapped(report(results))
    sys.stdout.write(text)
    if arguments[2:] == ["--record"]:
        record(results, text)


if __name__ == "__main__":
    main(sys.argv)
