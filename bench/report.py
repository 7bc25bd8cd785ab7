#!/usr/bin/env python3
"""Turns the results of one run into a table of medians and ratios, and compares them with the targets.

usage: report.py RESULTS_DIRECTORY [--write MARKDOWN_FILE]
RESULTS_DIRECTORY holds what scripts/bench measured: times.json, heap.jsonl, start.json. With --write the table also
replaces what stands between the two marker lines of that file.
"""

import json
import os
import sys

SIZES = (50, 10_000, 100_000, 1_000_000)
MEMORY, FILE, F1, F2, GKEYFILE = "memory ticket", "file ticket", "F1 pugixml", "F2 std::map", "GKeyFile"
OWN = (MEMORY, FILE)
FLOORS = (F1, F2)
PEERS = (GKEYFILE, "KConfig", "libconfig++", "nlohmann-json", "QSettings", "SimpleIni", "SQLite")
PEER_SIZES = SIZES[:3]

# Operation, what it is compared with, and the title.
TABLES = (
    ("get_int", F2, "Read an integer"),
    ("set_int", F2, "Write an integer over another"),
    ("get_string", MEMORY, "Read a text"),
    ("set_string", MEMORY, "Write a text over another"),
    ("load", GKEYFILE, "Load a file and read every value once with its type"),
    ("load_only", F1, "Load a file, and read nothing of it yet"),
    ("save", GKEYFILE, "Change one value and save it durably"),
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

    def _add(self, entry):
        name = entry["run_name"].split("/")
        key = tuple(name[:2]) + (int(name[2]) if name[2].isdigit() else name[2],)
        # Manual and threaded times are on the wall or chosen by the benchmark; all others are processor time.
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
    return f"### {title}\n\nIn brackets: by {base}.\n\n" + markdown(["store"] + [f"{size:,} keys" for size in sizes], rows)


def table_of_threads(results):
    rows = []
    for store in results.stores("read_by_1_thread"):
        row = [store]
        for size in SIZES:
            one = results.rates.get(("read_by_1_thread", store, size))
            two = results.rates.get(("read_by_2_threads", store, size))
            row.append(f"{one / 1e6:.1f} → {two / 1e6:.1f} ({two / one:.2f})" if one and two else "-")
        rows.append(row)
    return ("### Two threads read one store\n\nMillions of reads in a second, by one thread and by two together; in "
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
    return ("### Heap\n\nBytes for each key: what stays after a load (or filling, for stores without a file) / the most "
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
        measured = "; ".join(f"**{text}**" if ok is False else text for text, ok in self.parts)
        return [self.number, self.text, measured, self._verdict()]

    def _verdict(self):
        verdicts = [ok for _, ok in self.parts]
        if False in verdicts:
            return "NOT REACHED"
        if True not in verdicts:
            return "not measured"
        return "reached as far as measured" if None in verdicts else "reached"


def access_target(results, number, text, operation):
    target = Target(number, text)
    for size, limit in ((50, 1.25), (10_000, 0.6), (100_000, 0.6)):
        target.at_most(f"{size:,}:", results.ratio((operation, MEMORY, size), (operation, F2, size)), limit)
    for size in (10_000, 100_000):
        times = {store: results.time(operation, store, size) for store in results.peers(operation)}
        times = {store: time for store, time in times.items() if time is not None}
        if not times:
            target.at_most(f"{size:,} by the fastest peer", None, 1.0)
        else:
            best = min(times, key=times.get)
            target.at_most(f"{size:,} by {best}", results.ratio((operation, MEMORY, size), (operation, best, size)), 1.0)
    return target


def per_key(results, operation, size):
    time = results.time(operation, FILE, size)
    return time / size if time is not None else None


def growth_target(results):
    target = Target(11, "Growth: 1,000,000 keys by 10,000, each key; other shapes by the usual one")
    for label, operation in (("load", "load_only"), ("save", "save")):
        large, small = per_key(results, operation, 1_000_000), per_key(results, operation, 10_000)
        target.at_most(label, large / small if large and small else None, 1.5)
        for shape in ("flat", "wide", "deep"):
            target.at_most(f"{label} {shape}",
                           results.ratio((operation, FILE, shape), (operation, FILE, 100_000)), 1.5)
    return target


def peak_limit(own, floor):
    """Set when a load held the whole document, as F1 does; since ours are read without one, none comes near it."""
    nodes = floor["live"] - floor["file"]  # F1's document also keeps the text of the file
    return own["live"] + own["file"] + 1.1 * nodes


def targets_of(results):
    yield access_target(results, 1, "Read an integer of a memory ticket, by F2", "get_int")
    yield access_target(results, 2, "Write an integer of a memory ticket, by F2", "set_int")

    target = Target(3, "Read a text of a file ticket, by the memory ticket")
    for size in SIZES:
        target.at_most(f"{size:,}:", results.ratio(("get_string", FILE, size), ("get_string", MEMORY, size)), 1.3)
    yield target

    target = Target(4, "Load, by F1; load and read every value, by GKeyFile")
    for size in SIZES:
        target.at_most(f"{size:,}:", results.ratio(("load_only", FILE, size), ("load_only", F1, size)), 1.9)
    for size in PEER_SIZES:
        target.at_most(f"{size:,} by {GKEYFILE}", results.ratio(("load", FILE, size), ("load", GKEYFILE, size)), 1.0)
    yield target

    target = Target(5, "Save durably, by GKeyFile")
    for size in PEER_SIZES:
        target.at_most(f"{size:,}:", results.ratio(("save", FILE, size), ("save", GKEYFILE, size)), 1.0)
    yield target

    live = Target(6, "Live heap after a load, bytes for each key")
    peak = Target(7, "Peak heap of a load, by live heap + file + 1.1 × the XML nodes")
    for size in SIZES[1:]:
        own, floor = results.heap.get((FILE, size)), results.heap.get((F1, size))
        live.at_most(f"{size:,}:", own["live"] / size if own else None, 110, "{:.0f}")
        peak.at_most(f"{size:,}:", own["peak"] / peak_limit(own, floor) if own and floor else None, 1.0)
    yield live
    yield peak

    target = Target(8, "Two threads reading one ticket, by one thread")
    for store in OWN:
        for size in SIZES:
            one = results.rates.get(("read_by_1_thread", store, size))
            two = results.rates.get(("read_by_2_threads", store, size))
            target.at_least(f"{store} {size:,}:", two / one if one and two else None, 0.9)
    yield target

    target = Target(9, "A batch of 40 by 40 reads; an element of a vector of 1,000 in ns")
    for size in SIZES[:3]:
        target.at_most(f"{size:,}:", results.ratio(("batch_40", MEMORY, size), ("single_40", MEMORY, size)), 0.6)
    vector = results.time("get_vector", MEMORY, 1000)
    target.at_most("vector", vector * 1e6 if vector else None, 15, "{:.1f}")
    yield target

    target = Target(10, "A setting of the service above the table call beneath it, in ns; messages formatted")
    for operation in ("get_int", "set_int", "get_string", "set_string"):
        service, table = (results.time(operation, store, "setting") for store in ("service", "table"))
        target.at_most(operation, (service - table) * 1e9 if service and table else None, 35, "{:.0f}")
    target.at_most("messages", results.messages, 0, "{:.0f}")
    yield target

    yield growth_target(results)
    yield Target(12, "Start of the library to the first value, by a process that only parses").at_most(
        "", results.start["service"] / results.start["parse"], 2.0)


def report(results):
    context = results.machine["context"]
    commit = context.get("commit", "unknown")
    missing = [peer for peer in PEERS if peer not in results.peers("get_int")]
    cpu = f"{context['num_cpus']} processors at {context['mhz_per_cpu']} MHz"
    parts = [f"Run of {context['date'][:16]} of commit {commit} on {cpu}, load {context['load_avg'][0]:.1f} at the start." +
             (f" Without {', '.join(missing)}: not installed or not asked for." if missing else ""),
             "### Targets\n\nRatios of medians of this run. What was not reached is **bold**.\n\n" +
             markdown(["#", "what", "measured", ""], [target.row() for target in targets_of(results)])]
    parts += [table_of(results, *table) for table in TABLES]
    parts += [table_of_threads(results), table_of_heap(results)]
    rows = [[name, duration(results.seconds[operation, store, size])] for name, operation, store, size in (
        ("vector of 1,000 integers, read", "get_vector", MEMORY, 1000),
        ("vector of 1,000 integers, written", "set_vector", MEMORY, 1000),
        ("setting of the service, integer read", "get_int", "service", "setting"),
        ("the table call beneath it", "get_int", "table", "setting"),
        ("setting of the service, text written", "set_string", "service", "setting"),
        ("the table call beneath it", "set_string", "table", "setting"),
    ) if (operation, store, size) in results.seconds]
    rows += [["process: library loaded, first value read", duration(results.start["service"] * 1e-6)],
             ["process: file parsed only", duration(results.start["parse"] * 1e-6)]]
    parts.append("### Other figures\n\n" + markdown(["what", "time"], rows))
    return "\n\n".join(parts) + "\n"


def write_into(name, text):
    begin, end = "<!-- begin: last full run -->\n", "<!-- end: last full run -->\n"
    with open(name, encoding="utf-8") as stream:
        content = stream.read()
    before, rest = content.split(begin)
    after = rest.split(end)[1]
    with open(name, "w", encoding="utf-8") as stream:
        stream.write(before + begin + "\n" + text + "\n" + end + after)


def main(arguments):
    text = report(Results(arguments[1]))
    sys.stdout.write(text)
    if len(arguments) == 4 and arguments[2] == "--write":
        write_into(arguments[3], text)


if __name__ == "__main__":
    main(sys.argv)
