"""Makes docs of what the programs measured, or compares it with earlier ratios. All of them read standard input.

    report.py write DOCS      the measured part of DOCS/performance.md, with its chart, and DOCS/performance/ratios.json
    report.py check RATIOS    prints the jobs that became slower, as a filter; the status is 1 if there are any
    report.py limits [PAGE]   prints the table of limits, and puts it at the end of PAGE in the place of the one there;
                              the status is 1 if a cost grows
"""

import fnmatch
import json
import math
import pathlib
import re
import statistics
import sys

OURS = "moraine"
# A column that does less than the job: what it cannot take less than.
BOUND = "flock-write"
# Of the earlier ratio: less is reported as a slow-down. Another machine, or another version of a peer, makes a half of
# some ratios; what falls back to a plain loop, or begins to copy or to allocate, loses more.
SLOWER = 0.4
# What is not linear grows a thousandfold; a logarithm, caches and fresh memory make up to ten of one.
GROWTH = 30
NOT_LINEAR = "Wildcard: a part with"
# Where the written part of docs/performance.md ends.
MEASURED = "Measured on"
# Of a job's name, what one group of bars is.
PLACE = "reader/[^/]*|[^/-]*"

# Which peers, and the ratio aimed at for each job. docs/performance.md says what keeps those below it where they are.
GOALS = [
    ("reader/memory/*", ["RapidXML"], 1.0),
    ("reader/file/*", ["RapidXML"], 1.0),
    ("reader/memory/*", ["pugixml"], 1.0),
    ("reader/file/*", ["pugixml"], 1.0),
    ("reader/*", ["libxml2 SAX2", "Expat"], 1.0),
    ("reader/*", ["xmlTextReader"], 2.5),
    ("writer/*", ["xmlTextWriter"], 2.5),
    ("writer/*", ["tinyxml2"], 1.1),
    ("utf8/*", ["ICU"], 2.0),
    ("utf8/*", ["Qt"], 1.0),
    ("base64/*code", ["OpenSSL", "Abseil"], 4.0),
    ("base64/*-lines", ["Abseil"], 3.0),
    ("base64/*-wide", ["OpenSSL", "Abseil"], 1.0),
    ("url/*", ["Qt"], 3.0),
    ("string/*", ["Qt", "Abseil"], 1.0),
    ("wildcard*", ["fnmatch"], 1.0),
    ("wildcard*", ["GLib"], 1.0),
    ("logger/*", ["log4cplus with its lock file"], 1.0),
    ("logger/*", [BOUND], 0.5),
]


class Results:
    """The times of all columns of all jobs, in seconds for each run, round by round."""

    def __init__(self, lines):
        self.context, *jobs = map(json.loads, lines)
        self.jobs = {job["job"]: job for job in jobs}
        # By peer, the median over the rounds of our throughput to the peer's.
        self.ratios = {job["job"]: {
            peer: round(statistics.median(theirs / ours for ours, theirs in zip(job["seconds"][OURS], times)), 3)
            for peer, times in job["seconds"].items() if peer != OURS} for job in jobs}

    def speed(self, job):
        return f"{self.jobs[job]['bytes'] / statistics.median(self.jobs[job]['seconds'][OURS]) / 1e6:,.0f}"

    def goals(self):
        for pattern, peers, goal in GOALS:
            all_ratios = [(ratio, job) for job in fnmatch.filter(self.jobs, pattern)
                          for peer, ratio in self.ratios[job].items() if peer in peers]
            if all_ratios:
                ratio, where = min(all_ratios)
                missed = {job for ratio, job in all_ratios if ratio < goal}
                jobs = {job for _, job in all_ratios}
                yield [pattern, ", ".join(peers), f"{goal:g}", f"{ratio:.2f}, {where}",
                       f"**no**: {len(missed)} of {len(jobs)} below" if missed else "yes"]

    def tables(self):
        """One for each area. What is done in two ways is one row, with a figure for each."""
        areas = {}
        for job in self.jobs:
            area = re.match(r"[^/-]*", job)[0]
            row = re.sub(r"^[^/]*/|memory/|file/|-narrow|-wide", "", job)
            areas.setdefault(area, {}).setdefault(row, []).append(job)
        for area, rows in areas.items():
            peers = sorted({peer for jobs in rows.values() for job in jobs for peer in self.ratios[job]})
            yield table([area, "MB/s"] + peers, [
                [row, " / ".join(map(self.speed, jobs))] +
                [" / ".join(f"{self.ratios[job].get(peer, math.nan):.2f}" for job in jobs) for peer in peers]
                for row, jobs in rows.items()]).replace("nan", "-")


def table(head, rows):
    return "".join("| " + " | ".join(row) + " |\n" for row in [head, ["---"] * len(head), *rows])


def draw(results, path):
    import matplotlib
    matplotlib.use("svg")
    matplotlib.rcParams.update({"svg.hashsalt": OURS, "svg.fonttype": "none", "font.size": 8})
    from matplotlib import pyplot

    groups = {}
    for job, ratios in results.ratios.items():
        for peer, ratio in ratios.items():
            groups.setdefault(f"{re.match(PLACE, job)[0]}: {peer}", []).append(ratio)
    means = {name: statistics.geometric_mean(ratios) for name, ratios in groups.items() if BOUND not in name}
    figure, axes = pyplot.subplots(figsize=(8, 0.6 + 0.2 * len(means)))
    axes.barh(list(means), [mean - 1 for mean in means.values()], left=1)
    axes.invert_yaxis()
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_xscale("log", base=2)
    axes.xaxis.set_major_formatter(lambda value, _: f"{value:g} ×")
    axes.set_title("Throughput against each peer (geometric mean; beyond 1 × this library is ahead)", fontsize=9)
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None, "Creator": None})
    path.write_text(re.sub(r"[ \t]+$", "", path.read_text(), flags=re.MULTILINE))


def write(results, docs):
    (docs / "performance").mkdir(parents=True, exist_ok=True)
    draw(results, docs / "performance/overview.svg")
    (docs / "performance/ratios.json").write_text(json.dumps(results.ratios, indent=1, sort_keys=True) + "\n")
    model = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    context = results.context
    missing = f" Not installed and left out: {context['missing']}." if context["missing"] else ""
    machine = (f"{MEASURED} {context['cores']} cores of {model[1] if model else 'some processor'}, {context['compiler']}, "
               f"Release build. Peers: {context['peers']}.{missing}\n")
    goals = table(["Jobs", "Against", "Goal", "Least ratio", "Reached"], results.goals())
    written = pathlib.Path("docs/performance.md").read_text().split(MEASURED)[0]
    (docs / "performance.md").write_text("\n".join([written + machine, goals, *results.tables()]))


def check(results, earlier):
    """The median over a job's peers counts, so that one odd run of a peer does not."""
    slower, compared = [], 0
    for job, ratios in results.ratios.items():
        changes = [ratio / earlier[job][peer] for peer, ratio in ratios.items() if peer in earlier.get(job, {})]
        compared += bool(changes)
        if changes and statistics.median(changes) < SLOWER:
            print(f"slower: {job}: {statistics.median(changes):.2f} of the earlier ratio", file=sys.stderr)
            slower.append(f"^{job}$")
    print(f"{compared} jobs compared, {len(slower)} slower", file=sys.stderr)
    print("|".join(slower))
    return compared > 0 and not slower


def digits(value, step, *units):
    """Two digits, as the machine is not quiet."""
    while value >= 0.995 * step and len(units) > 1:
        value, units = value / step, units[1:]
    return f"{float(f'{value:.2g}'):g} {units[0]}"


def limits(lines, page):
    first, rows, good = {}, [], True
    for row in map(json.loads, lines):
        work, size, unit = row["work"], row["size"], row["unit"]
        each = row.get("seconds", math.nan) / size
        growth = each / first.setdefault(work, each)
        if not growth < GROWTH and not work.startswith(NOT_LINEAR):
            print(f"{work}: wrong, or {growth:.0f} times as dear for each where there are many", file=sys.stderr)
            good = False
        binary = next((f"{size / 1024 ** power:g} {prefix}i {unit}" for power, prefix in [(3, "G"), (2, "M"), (1, "K")]
                       if size >= 1024 ** power and size % (1024 ** power / 4) == 0), None)
        rows.append([work, binary or f"{size:,} {unit}", digits(each * size * 1e6, 1000, "µs", "ms", "s"), digits(each * 1e9, 1000, "ns", "µs"),
                     digits(row.get("bytes", math.nan) / 1024, 1024, "KiB", "MiB", "GiB")])
    print(table(["Work", "Size", "Time", "Time for each", "Most memory held"], rows), end="")
    if page and good:
        page.write_text(page.read_text().split("| Work | Size")[0] + farthest(rows))
    return good


def farthest(rows):
    """The table of the page: of each work the largest size, and what each cost at the smallest."""
    least = {}
    for work, size, _, each, _ in rows:
        least.setdefault(work, f"{each}, of {size}")
    last = {work: [work, *row, least[work]] for work, *row in rows}
    return table(["Work", "Size", "Time", "Time for each", "Most memory held", "Each of few"], last.values())


if __name__ == "__main__":
    what, *place = sys.argv[1:]
    if what == "limits":
        sys.exit(not limits(sys.stdin, pathlib.Path(*place) if place else None))
    if what == "check":
        sys.exit(not check(Results(sys.stdin), json.loads(pathlib.Path(*place).read_text())))
    write(Results(sys.stdin), pathlib.Path(*place))
