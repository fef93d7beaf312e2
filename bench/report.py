"""Turns the outcome of the benchmarks into docs/performance.md with its charts, or compares it with earlier ratios.

    report.py write RESULTS.json GROWTH.json MEMORY.json DOCS
        writes DOCS/performance.md, DOCS/performance/*.svg and DOCS/performance/ratios.json
    report.py check RESULTS.json RATIOS.json
        names the jobs that became slower; the status is 1 if there are any

RESULTS.json and GROWTH.json are what moraine_bench writes, MEMORY.json what moraine_reader_memory writes.
"""

import argparse
import collections
import fnmatch
import itertools
import json
import math
import pathlib
import platform
import re
import statistics
import sys

OURS = "moraine"
# Columns that do less than the job, to show what it cannot take less than.
BOUNDS = {"memcpy", "flock-write", "spdlog without a lock between processes"}
# Of the earlier ratio: less is reported as a slow-down. Another machine, or another version of a peer, makes a half of
# some ratios; what falls back to a plain loop, or begins to copy or to allocate, loses more.
SLOWER = 0.4


class Goal(collections.namedtuple("Goal", "title jobs peers factor whole")):
    """A ratio of throughput, ours to the fastest of the peers, for each job or as geometric mean over all of them."""

    def judge(self, results):
        ratios = {job: results.ratio(job, self.peers) for job in results.jobs(self.jobs)}
        ratios = {job: ratio for job, ratio in ratios.items() if ratio}
        if not ratios:
            return None
        if self.whole:
            return geometric_mean(ratios.values()), "geometric mean"
        worst = min(ratios, key=ratios.get)
        return ratios[worst], worst


def goal(title, jobs, peers, factor, whole=False):
    return Goal(title, jobs, peers, factor, whole)


GOALS = [
    goal("Reader against xmlTextReader", "reader/*", ["xmlTextReader"], 2.0),
    goal("Reader against QXmlStreamReader", "reader/*", ["QXmlStreamReader"], 3.0),
    goal("Reader against the fastest of SAX2 push, Expat, Xerces", "reader/*", ["libxml2 SAX2", "expat", "xerces SAX2"], 1.2, True),
    goal("Writer against xmlTextWriter", "writer/*", ["libxml2"], 2.5),
    goal("Writer against XMLPrinter", "writer/*", ["tinyxml2"], 1.0),
    goal("UTF-8, ASCII, against Qt", "utf8/*/ascii", ["Qt"], 1.0),
    goal("UTF-8, Latin and CJK, against ICU, Qt, iconv", "utf8/*/[lc]*", ["ICU", "Qt", "iconv"], 2.0),
    goal("Base64 against OpenSSL, Abseil", "base64/*", ["OpenSSL", "Abseil"], 4.0),
    goal("URL escapes against Qt", "url/*", ["Qt"], 3.0),
    goal("Strings against Qt, POCO, Abseil", "string/*", ["Qt", "POCO", "Abseil"], 1.0),
    goal("Markup without references against memcpy", "xmlstring/*plain*", ["memcpy"], 0.5),
    goal("Properties against log4cplus, GLib, POCO, Qt", "properties/*", ["log4cplus", "GLib", "POCO", "Qt"], 2.0),
    goal("Logger against flock, write, flock", "logger/*", ["flock-write"], 1 / 1.3),
    goal("Logger against log4cplus with its lock file", "logger/*", ["log4cplus with its lock file"], 1.0),
    goal("Wildcard against fnmatch, QRegularExpression", "wildcard/*", ["fnmatch", "QRegularExpression"], 1.0),
]
EXCEPTION_LIMIT = 5e-6  # seconds
GROWTH_LIMIT = 2.0  # the dearest byte or node to the cheapest
MEMORY_LIMIT = 1 << 20  # bytes
ELAPSED = ("logger/",)  # jobs that wait for others: elapsed time counts, and processor time for all that one thread does


def geometric_mean(values):
    return math.exp(statistics.fmean(math.log(value) for value in values))


class Results:
    """Median times of all columns of all jobs, in seconds for each run, in the order of the jobs' names."""

    UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}

    def __init__(self, *paths):
        runs = [json.loads(pathlib.Path(path).read_text()) for path in paths]
        self.context = runs[0]["context"]
        times = collections.defaultdict(list)
        self.bytes = {}
        for entry in itertools.chain.from_iterable(run["benchmarks"] for run in runs):
            if entry.get("run_type") != "iteration":
                continue
            if entry.get("error_occurred"):
                sys.exit(f"{entry['name']}: {entry['error_message']}")
            name = entry["run_name"].removesuffix("/real_time")
            unit = self.UNITS[entry["time_unit"]]
            clock = "real_time" if name.startswith(ELAPSED) else "cpu_time"
            times[name].append(entry[clock] * unit)
            if "bytes_per_second" in entry:
                self.bytes[name.rpartition("/")[0]] = entry["bytes_per_second"] * entry["real_time"] * unit
        self.times = collections.defaultdict(dict)
        for name, values in sorted(times.items()):
            job, _, column = name.rpartition("/")
            self.times[job][column] = statistics.median(values)

    def jobs(self, pattern):
        return [job for job in self.times if fnmatch.fnmatchcase(job, pattern)]

    def ratio(self, job, peers):
        """Throughput of ours to that of the fastest of the peers; None where none of them is there."""
        there = [self.times[job][peer] for peer in peers if peer in self.times[job]]
        return min(there) / self.times[job][OURS] if there else None

    def peers(self, job):
        return [column for column in self.times[job] if not column.startswith(OURS)]

    def fastest(self, job):
        """The ratio to the fastest peer that does the same; None where there is none."""
        return self.ratio(job, [peer for peer in self.peers(job) if peer not in BOUNDS])

    def ratios(self):
        return {
            job: {peer: round(self.ratio(job, [peer]), 3) for peer in self.peers(job)}
            for job in self.times
            if self.peers(job)
        }

    def areas(self):
        """The jobs that have peers, by the first word of their name, in the order they were measured."""
        found = collections.defaultdict(list)
        for job in self.times:
            if self.peers(job):
                found[job.partition("/")[0]].append(job)
        return found

    def growth(self):
        """Seconds for each byte (or node), by kind and size."""
        found = collections.defaultdict(dict)
        for job in self.jobs("growth/*"):
            _, kind, size = job.split("/")
            amount = self.bytes.get(job) or float(size)
            found[kind][size] = self.times[job][OURS] / amount
        units = {"kB": 1e3, "MB": 1e6, "": 1}
        place = lambda size: float(re.match(r"\d+", size)[0]) * units[size.lstrip("0123456789")]
        return {kind: dict(sorted(costs.items(), key=lambda each: place(each[0]))) for kind, costs in found.items()}


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def speed(results, job, column):
    """A throughput where bytes are counted, else a time."""
    seconds = results.times[job].get(column)
    if seconds is None:
        return ""
    if job in results.bytes:
        return f"{results.bytes[job] / seconds / 1e6:,.0f} MB/s"
    return f"{seconds * 1e6:,.2f} µs"


def verdict(reached):
    return "yes" if reached else "**no**"


def goals_table(results, memory):
    rows = []
    for each in GOALS:
        judged = each.judge(results)
        if judged is None:
            rows.append([each.title, f"{each.factor:.2g} ×", "not measured", "", ""])
            continue
        ratio, where = judged
        rows.append([each.title, f"{each.factor:.2g} ×", f"{ratio:.2f} ×", where, verdict(ratio >= each.factor)])
    for job in results.jobs("exception/*"):
        seconds = results.times[job][OURS]
        rows.append(["An exception " + job.partition("/")[2], "under 5 µs", f"{seconds * 1e6:.2f} µs", "",
                     verdict(seconds < EXCEPTION_LIMIT)])
    for kind, costs in results.growth().items():
        spread = max(costs.values()) / min(costs.values())
        rows.append([f"Growth: {kind}", "within 2 ×", f"{spread:.2f} ×", f"{', '.join(costs)}",
                     verdict(spread <= GROWTH_LIMIT)])
    for run in memory["runs"]:
        peak = run["kilobytes_above_empty"]
        rows.append([f"Memory of the reader, {run['bytes'] // 1000000:,} MB document", "under 1 MB", f"{peak:,} KiB", "",
                     verdict(peak * 1024 < MEMORY_LIMIT)])
    return table(["Job", "Goal", "Worst ratio", "Where", "Reached"], rows)


def area_table(results, jobs):
    columns = list(dict.fromkeys(column for job in jobs for column in results.peers(job)))
    rows = []
    for job in jobs:
        best = results.fastest(job)
        rows.append([job, speed(results, job, OURS)] + [speed(results, job, column) for column in columns] +
                    [f"{best:.2f}" if best else ""])
    return table(["Job", OURS] + columns + ["ratio to the fastest peer"], rows)


def growth_table(results):
    growth = results.growth()
    rows = []
    for kind, costs in growth.items():
        rows.append([kind, ", ".join(f"{size}: {cost * 1e9:.3g} ns" for size, cost in costs.items())])
    return table(["What", "Time for each byte or node"], rows)


def save(figure, path):
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None, "Creator": None})
    # The drawing package breaks lines with blanks at their ends.
    path.write_text(re.sub(r"[ \t]+$", "", path.read_text(), flags=re.MULTILINE))


def bars(plot, path, title, labels, series, reference):
    """Horizontal bars on a logarithmic scale: the ratio of throughput, ours to each peer. Beyond 1 we are ahead."""
    height = 0.8 / len(series)
    figure, axes = plot.subplots(figsize=(8, 1.2 + 0.22 * len(labels) * max(1, len(series) * 0.7)))
    for index, (name, values) in enumerate(series.items()):
        places = [place + index * height for place, value in enumerate(values) if value]
        axes.barh(places, [value - 1 for value in values if value], height, left=1, label=name)
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_yticks([place + 0.4 - height / 2 for place in range(len(labels))], labels, fontsize=8)
    axes.invert_yaxis()
    axes.margins(y=0.01)
    axes.set_xscale("log", base=2)
    axes.xaxis.set_major_formatter(lambda value, _: f"{value:g} ×")
    axes.set_xlabel(reference, fontsize=8)
    axes.set_title(title, fontsize=10)
    if len(series) > 1:
        axes.legend(fontsize=7, loc="upper left", bbox_to_anchor=(1, 1))
    save(figure, path)
    plot.close(figure)


def draw(results, folder):
    import matplotlib

    matplotlib.use("svg")
    matplotlib.rcParams["svg.hashsalt"] = "moraine"
    matplotlib.rcParams["svg.fonttype"] = "none"
    from matplotlib import pyplot

    areas = results.areas()
    overview = {area: [results.fastest(job) for job in jobs] for area, jobs in areas.items()}
    overview = {area: geometric_mean(ratios) for area, ratios in overview.items() if all(ratios)}
    bars(pyplot, folder / "overview.svg", "Throughput against the fastest peer of each job (geometric mean)",
         list(overview), {"": list(overview.values())}, "1 × is the fastest peer, more is better")
    for area, jobs in areas.items():
        peers = dict.fromkeys(column for job in jobs for column in results.peers(job))
        series = {peer: [results.ratio(job, [peer]) for job in jobs] for peer in peers}
        bars(pyplot, folder / f"{area}.svg", f"{area}: throughput against each peer",
             [job.partition("/")[2] for job in jobs], series, "1 × is the peer, more is better")


def machine():
    model = platform.machine()
    try:
        found = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
        model = found.group(1) if found else model
    except OSError:
        pass
    return model


def write(results, memory, docs):
    folder = docs / "performance"
    folder.mkdir(parents=True, exist_ok=True)
    draw(results, folder)
    context = results.context
    missing = f" Not installed and left out: {context['missing']}." if context["missing"] else ""
    parts = [
        "# Performance\n",
        "Made by `scripts/bench`, which repeats it all on your machine. Every job is done by this library and by peers in "
        "one process, runs of all columns in random order, so that a noisy machine is noisy for all; before the timing, "
        "all columns of a job must tell the same outcome. Figures are medians of processor time (of elapsed time for the logger, which waits); read the ratios, not the absolute numbers.\n",
        f"Measured on {context['num_cpus']} cores of {machine()}, {context['compiler']}, Release build. "
        f"Peers: {context['peers']}, and the C library.{missing}\n",
        "![Throughput against the fastest peer](performance/overview.svg)\n",
        "## Goals\n",
        "A ratio is our throughput to that of the fastest of the peers named; the worst of all jobs counts. `memcpy`, "
        "`flock-write` and a logger that locks out no other process do less than the job: they show a bound, and do not "
        "count among the peers.\n",
        goals_table(results, memory),
        "## How the cost grows\n",
        "Measured in a process of its own whose allocator keeps the memory that it once had: the system takes several times "
        "as long to hand out fresh memory as the fast ones of these jobs take to fill it. What is left of growth is that "
        "of the caches, as `memory-input`, a mere copy, shows.\n",
        growth_table(results),
    ]
    for area, jobs in results.areas().items():
        parts += [f"## {area}\n", f"![{area}](performance/{area}.svg)\n", area_table(results, jobs)]
    (docs / "performance.md").write_text("\n".join(parts))
    (folder / "ratios.json").write_text(json.dumps(results.ratios(), indent=1, sort_keys=True) + "\n")


def check(results, ratios):
    """Names the jobs whose ratio to the peers (their median, so that one odd run of a peer does not count) fell."""
    slower = []
    compared = 0
    for job, earlier in ratios.items():
        changes = [results.ratio(job, [peer]) / ratio for peer, ratio in earlier.items() if peer in results.times.get(job, {})]
        if changes:
            compared += 1
            change = statistics.median(changes)
            if change < SLOWER:
                slower.append(job)
                print(f"slower: {job}: {change:.2f} of the earlier ratio", file=sys.stderr)
    print(f"{compared} jobs compared, {len(slower)} slower", file=sys.stderr)
    if compared == 0:
        sys.exit("nothing to compare")
    # For a second look: the jobs as a filter of the benchmark program.
    # Escaped for the program's dialect, which refuses an escaped blank.
    print("|".join("^" + re.sub(r"([][.*+?^$|(){}\\])", r"\\\1", job) + "/" for job in slower))
    return not slower


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="what", required=True)
    arguments_of = {
        "write": ["results", "growth", "memory", "docs"],
        "check": ["results", "ratios"],
    }
    for command, names in arguments_of.items():
        subparser = commands.add_parser(command)
        for name in names:
            subparser.add_argument(name)
    arguments = parser.parse_args()
    if arguments.what == "check":
        sys.exit(0 if check(Results(arguments.results), json.loads(pathlib.Path(arguments.ratios).read_text())) else 1)
    memory = json.loads(pathlib.Path(arguments.memory).read_text())
    write(Results(arguments.results, arguments.growth), memory, pathlib.Path(arguments.docs))


if __name__ == "__main__":
    main()
