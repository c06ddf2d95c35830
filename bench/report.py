"""Makes tables and plots of what bench/run has measured.

    report.py --terminal RESULTS                    prints the ratios that matter
    report.py --document RESULTS TEMPLATE DOCUMENT  fills the template in; the plots go into a
                                                    directory of the document's name, beside it
"""

import collections
import json
import math
import pathlib
import re
import statistics
import subprocess
import sys

OURS = "textmaps"
FLOOR = "floor"
BARE = "bare-table"

NO_TEXT = "no-text"

# What the map's time can hardly go below, by operation: of a miss, the floor has all that a table reads.
BOUNDS = {
    "fill": BARE,
    "hit": BARE,
    "miss": FLOOR,
    "erase": BARE,
    "hit-32-buckets": BARE,
    "dump": BARE,
    "copy": BARE,
    "write-uint32": NO_TEXT,
    "read-uint32": NO_TEXT,
}

# The ratios that are aimed at: how many times as fast as the peer.
AIMS = {
    "fill": {"plain": 2.0, "uthash": 3.3, "unordered_map": 2.0, "unordered_map-transparent": 2.0,
             "llvm-StringMap": 1.2, "absl-flat_hash_map": 1.2},
    "hit": {"plain": 2.0, "uthash": 2.2, "unordered_map": 3.3, "unordered_map-transparent": 1.3,
            "llvm-StringMap": 1.0, "absl-flat_hash_map": 1.0},
    "miss": {"plain": 1.8, "uthash": 2.2, "unordered_map": 3.2, "unordered_map-transparent": 1.5,
             "llvm-StringMap": None, "absl-flat_hash_map": None},
    "erase": {"plain": 1.5, "uthash": 1.8, "unordered_map": 2.5, "unordered_map-transparent": 1.5,
              "llvm-StringMap": 1.0, "absl-flat_hash_map": 1.0},
    "hit-32-buckets": {"plain": 2.3},
    "dump": {"plain": 50, "uthash": None, "unordered_map": None, "unordered_map-transparent": None,
             "llvm-StringMap": None, "absl-flat_hash_map": None},
    "copy": {"plain": 2.0, "uthash": None, "unordered_map": 2.0, "unordered_map-transparent": None,
             "llvm-StringMap": None, "absl-flat_hash_map": None, FLOOR: 1 / 1.5},
    "write-uint32": {"plain": 2.0, "unordered_map": 2.0},
    "read-uint32": {"plain": 2.0, "unordered_map": 2.0},
}

# Instructions on armhf: at most this part of the peer's.
INSTRUCTION_AIMS = {"hit": {"uthash": 0.65, "unordered_map": 0.28}, "fill": {"uthash": 0.62},
                    "erase": {"uthash": 0.7}}

# Sizes over which ratios are taken, where there are several. The long chains have sizes of their own.
COMPARED_SIZES = {"hit-32-buckets": (1_024,), "dump": (10_000,)}
DEFAULT_SIZES = (1_000, 10_000, 100_000)

MAPS = [OURS, "plain", "uthash", "GHashTable", "unordered_map", "unordered_map-transparent",
        "boost-unordered_map", "llvm-StringMap", "absl-flat_hash_map", FLOOR, BARE]
MAP_OPERATIONS = ["fill", "hit", "miss", "replace-equal", "replace-other", "erase", "iterate", "clear",
                  "destroy", "copy", "equal", "dump"]
LIST_OPERATIONS = ["fill", "look-up", "erase", "iterate", "destroy", "copy", "equal"]
LIST_PEERS = {"multimap": "unordered_multimap", "arraymap": "unordered_map-vector"}

COLOURS = {OURS: "#c1272d", "plain": "#8c8c8c", "uthash": "#0072b2", "GHashTable": "#56b4e9",
           "unordered_map": "#e69f00", "unordered_map-transparent": "#f0c040",
           "boost-unordered_map": "#7a5c00", "llvm-StringMap": "#009e73",
           "absl-flat_hash_map": "#9467bd", FLOOR: "#000000", BARE: "#000000"}

DASHES = {FLOOR: "5 4", BARE: "2 3"}


class Results:
    """Nanoseconds a key by operation, candidate and size: the lower quartile of the rounds, since
    neighbours of a shared machine only add to a time. Ratios are taken within each round, for from one
    to the next a machine may be faster or slower as a whole, and are medians."""

    def __init__(self, directory):
        times = collections.defaultdict(list)
        self.bytes = {}
        for path in sorted(pathlib.Path(directory).glob("*.json")):
            for run in json.loads(path.read_text())["benchmarks"]:
                if "error_message" in run:
                    sys.exit(f"{run['name']}: {run['error_message']}")
                operation, candidate, size = run["name"].split("/")[:3]
                if "bytes" in run:
                    self.bytes[candidate, int(size)] = run["bytes"] / int(size)
                else:
                    times[operation, candidate, int(size)].append(run["real_time"] / run["keys"])
        self.all_times = times
        self.times = {key: statistics.quantiles(rounds, method="inclusive")[0]
                      if len(rounds) > 1 else rounds[0] for key, rounds in times.items()}

    def ratios(self, operation, peer, size):
        """How many times as fast as the peer, in each round."""
        return [theirs / ours for theirs, ours in zip(self.all_times[operation, peer, size],
                                                      self.all_times[operation, OURS, size],
                                                      strict=True)]

    def spread(self):
        """Of a ratio's rounds, the middle half in parts of their median: the median of the ratios shown."""
        quarters = [statistics.quantiles(self.ratios(operation, peer, size), method="inclusive")
                    for operation, aims in AIMS.items() for peer in aims
                    for size in self.compared_sizes(operation, OURS, peer)]
        return statistics.median((third - first) / median for first, median, third in quarters)

    def sizes(self, operation, *candidates):
        """Those of which all candidates were measured."""
        return sorted(set.intersection(*(
            {size for op, candidate, size in self.times if (op, candidate) == (operation, name)}
            for name in candidates)))

    def compared_sizes(self, operation, *candidates):
        wanted = COMPARED_SIZES.get(operation, DEFAULT_SIZES)
        return [size for size in self.sizes(operation, *candidates) if size in wanted]

    def times_as_fast(self, operation, peer):
        """How many times as fast as the peer: the geometric mean; None where it was not measured."""
        sizes = self.compared_sizes(operation, OURS, peer)
        return geometric_mean(statistics.median(self.ratios(operation, peer, size))
                              for size in sizes) if sizes else None

    def mean_time(self, operation, candidate):
        return geometric_mean(self.times[operation, candidate, size]
                              for size in self.compared_sizes(operation, OURS, candidate))


def geometric_mean(numbers):
    return math.exp(statistics.fmean(math.log(number) for number in numbers))


def print_ratios(results):
    print(f"{'operation':<16}{'ns a key':>9}  {'peer':<26}{'ns a key':>9}{'ratio':>8}{'aim':>8}")
    for operation, aims in AIMS.items():
        for peer, aim in ({FLOOR: None, BARE: None, NO_TEXT: None} | aims).items():
            ratio = results.times_as_fast(operation, peer)
            if ratio is None:
                continue
            print(f"{operation:<16}{results.mean_time(operation, OURS):>9.1f}  {peer:<26}"
                  f"{results.mean_time(operation, peer):>9.1f}{ratio:>8.2f}"
                  f"{f'{aim:.2f}' if aim else '-':>8}{'  short' if aim and ratio < aim else ''}")


def table(header, rows):
    lines = [header, ["---"] + ["---:"] * (len(header) - 1), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def nanoseconds(time):
    return f"{time:.1f}" if time < 100 else f"{time:,.0f}"


def ratio_cells(results, operation):
    """How many times as fast as each peer the map is, and what is aimed at."""
    cells = []
    for peer in AIMS["fill"]:
        ratio = results.times_as_fast(operation, peer)
        aim = AIMS[operation].get(peer)
        if ratio is None or peer not in AIMS[operation]:
            cells.append("")
        elif aim is None:
            cells.append(f"{ratio:.2f}")
        else:
            cells.append(f"{ratio:.2f} ({aim:g})" + (" †" if ratio < aim else ""))
    return cells


def ratio_table(results):
    rows = []
    for operation in AIMS:
        floor = results.times_as_fast(operation, FLOOR)
        part = f"{1 / floor:.2f}" if floor else ""
        aim = AIMS[operation].get(FLOOR)
        if aim:
            part += f" ({1 / aim:g})" + (" †" if floor < aim else "")
        rows.append([f"`{operation}`", *ratio_cells(results, operation), part])
    return table(["", *(f"`{peer}`" for peer in AIMS["fill"]), "× floor"], rows)


def shortfall_table(results):
    """Of each ratio that falls short, in parts of the map's time: what would reach the aim, what the bound
    takes, and the difference."""
    rows = []
    for operation, aims in AIMS.items():
        bound = results.times_as_fast(operation, BOUNDS[operation])
        for peer, aim in aims.items():
            ratio = results.times_as_fast(operation, peer)
            if aim and ratio < aim:
                left = ratio / aim - bound
                rows.append([f"`{operation}`, `{peer}`", f"{ratio / aim:.2f}",
                             f"{bound:.2f} (`{BOUNDS[operation]}`)",
                             f"{left:.2f} of {1 - bound:.2f}" if left >= 0.005 else "nothing"])
    return table(["", "aim", "bound", "left for the work that the bound omits"], rows)


def size_columns(results, operations):
    return sorted({size for op, _, size in results.times if op in operations})


def time_tables(results):
    parts = []
    for operation in MAP_OPERATIONS:
        sizes = size_columns(results, [operation])
        rows = [[f"`{name}`"] + [nanoseconds(results.times[operation, name, size])
                                 if (operation, name, size) in results.times else ""
                                 for size in sizes]
                for name in MAPS if any((operation, name, size) in results.times for size in sizes)]
        parts.append(f"### `{operation}`\n\n"
                     + table(["keys", *(f"{size:,}" for size in sizes)], rows))
    return "\n\n".join(parts)


def list_table(results):
    operations = [f"{family}-{op}" for family in LIST_PEERS for op in LIST_OPERATIONS]
    sizes = size_columns(results, operations)
    rows = []
    for family, peer in LIST_PEERS.items():
        for operation in LIST_OPERATIONS:
            for name in (OURS, peer):
                rows.append([f"{family} `{operation}`, `{name}`"]
                            + [nanoseconds(results.times[f"{family}-{operation}", name, size])
                               for size in sizes])
    return table(["keys", *(f"{size:,}" for size in sizes)], rows)


def typed_number_table(results):
    sizes = size_columns(results, ["write-uint32"])
    rows = [[f"{access}, `{name}`"] + [nanoseconds(results.times[f"{access}-uint32", name, size])
                                       for size in sizes]
            for access in ("write", "read")
            for name in (OURS, "plain", "unordered_map", "GHashTable", NO_TEXT)]
    return table(["keys", *(f"{size:,}" for size in sizes)], rows)


def row_table(results):
    rows = [operation.removeprefix("write-") for operation, candidate, size in results.times
            if operation.startswith("write-") and candidate == OURS and size == DEFAULT_SIZES[0]]
    return table(["row", "write", "read"],
                 [[f"`{row}`"] + [nanoseconds(results.times[f"{access}-{row}", OURS, DEFAULT_SIZES[0]])
                                  for access in ("write", "read")] for row in sorted(rows)])


def long_chain_table(results):
    operations = ["fill-32-buckets", "hit-32-buckets", "miss-32-buckets", "erase-32-buckets"]
    sizes = size_columns(results, operations)
    rows = [[f"`{operation.removesuffix('-32-buckets')}`, `{name}`"]
            + [nanoseconds(results.times[operation, name, size]) for size in sizes]
            for operation in operations for name in (OURS, "plain", FLOOR, BARE)
            if (operation, name, sizes[0]) in results.times]
    return table(["keys in 32 buckets", *(f"{size:,}" for size in sizes)], rows)


def load_table(results):
    keys, bucket = 1 << 12, 16
    return table(["keys a bucket", "hit", "miss", "bytes of buckets a key, 64-bit", "32-bit"],
                 [[f"{keys / size:g}"]
                  + [nanoseconds(results.times[f"{kind}-in-buckets", OURS, size])
                     for kind in ("hit", "miss")]
                  + [f"{size * width / keys:g}" for width in (bucket, bucket // 2)]
                  for size in sorted(size_columns(results, ["hit-in-buckets"]), reverse=True)])


def read_instructions(directory):
    """{(target, operation, candidate): number}"""
    lines = (pathlib.Path(directory) / "instructions.txt").read_text().splitlines()
    return {tuple(line.split()[:3]): float(line.split()[3]) for line in lines}


def memory_table(results, instructions):
    sizes = sorted({size for _, size in results.bytes})
    rows = []
    for name in MAPS:
        if (name, sizes[0]) not in results.bytes:
            continue
        row = [f"`{name}`"] + [f"{results.bytes[name, size]:.1f}" for size in sizes]
        row += [f"{instructions[target, 'memory', name]:.1f}"
                if (target, "memory", name) in instructions else "" for target in ("armhf", "mips")]
        rows.append(row)
    return table(["", *(f"x86-64, {size:,} keys" for size in sizes), "armhf, 1,024 keys",
                  "mips, 1,024 keys"], rows)


def instruction_table(instructions):
    rows = []
    for target in ("armhf", "mips"):
        for operation in ("fill", "hit", "miss", "erase"):
            ours = instructions[target, operation, OURS]
            row = [f"{target} `{operation}`", f"{ours:.0f}"]
            for peer in ("plain", "uthash", "unordered_map"):
                part = ours / instructions[target, operation, peer]
                aim = INSTRUCTION_AIMS.get(operation, {}).get(peer) if target == "armhf" else None
                row.append(f"{instructions[target, operation, peer]:.0f}: {part:.2f}"
                           + (f" ({aim})" if aim else "") + (" †" if aim and part > aim else ""))
            rows.append(row)
    return table(["", f"`{OURS}`", "`plain`", "`uthash`", "`unordered_map`"], rows)


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()


def library_commit():
    paths = ["src", "include", "addrkit", "cmake", "CMakeLists.txt"]
    commit = output_of("git", "log", "-1", "--format=%h", "--", *paths)
    changed = subprocess.run(["git", "diff", "--quiet", "HEAD", "--", *paths], check=False).returncode
    return commit + (" with changes" if changed else "")


def machine(results):
    context = min((json.loads(path.read_text())["context"]
                   for path in pathlib.Path(results).glob("*.json")), key=lambda one: one["date"])
    model = re.search(r"Model name:\s*(.*)", output_of("lscpu")).group(1)
    caches = ", ".join(f"L{cache['level']} {cache['type'].lower()} {cache['size'] // 1024:,} KiB"
                       for cache in context["caches"])
    packages = ["uthash-dev", "libglib2.0-dev", "libboost-dev", "llvm-14-dev", "libabsl-dev",
                "libstdc++6", "libc6", "libbenchmark-dev", "qemu-user"]
    versions = output_of("dpkg-query", "-W", "-f", "${Package} ${Version}, ", *packages).strip(", ")
    return (f"- Machine: {model}, {context['num_cpus']} processors; {caches}; "
            f"{output_of('uname', '-sr')}\n"
            f"- Compiler: {output_of('c++', '--version').splitlines()[0]}, as CMake's `Release` has "
            f"it (`-O3 -DNDEBUG`); the library static\n"
            f"- Against: {versions}\n"
            f"- The library as of commit {library_commit()}; {context['date'][:10]}, "
            f"load average {context['load_avg'][0]:.1f} when it began")


def plot(results, operation):
    """Nanoseconds a key over the number of keys, both logarithmic, as SVG."""
    lines = {name: [(size, results.times[operation, name, size])
                    for size in results.sizes(operation, name)] for name in MAPS}
    lines = {name: points for name, points in lines.items() if len(points) > 1}
    points = [point for line in lines.values() for point in line]
    width, height, left, bottom, top, legend = 780, 400, 60, 50, 30, 230
    x_low, x_high = (math.log10(pick(size for size, _ in points)) for pick in (min, max))
    y_low = math.floor(math.log2(min(time for _, time in points)))
    y_high = math.ceil(math.log2(max(time for _, time in points)))

    def x(size):
        return left + (math.log10(size) - x_low) / (x_high - x_low) * (width - left - legend)

    def y(time):
        return height - bottom - (math.log2(time) - y_low) / (y_high - y_low) * (height - bottom - top)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
             f'font-family="sans-serif" font-size="12">',
             f'<rect width="{width}" height="{height}" fill="white"/>',
             f'<text x="{left}" y="18" font-size="14">{operation}: nanoseconds a key</text>']
    for power in range(y_low, y_high + 1):
        level = y(2 ** power)
        parts.append(f'<path d="M{left} {level:.1f}H{width - legend}" stroke="#ddd"/>'
                     f'<text x="{left - 8}" y="{level + 4:.1f}" text-anchor="end">{2 ** power:g}</text>')
    for size in sorted({size for size, _ in points}):
        parts.append(f'<path d="M{x(size):.1f} {top}V{height - bottom}" stroke="#eee"/>'
                     f'<text x="{x(size):.1f}" y="{height - bottom + 18}" text-anchor="middle">'
                     f'{size:,}</text>')
    parts.append(f'<text x="{(left + width - legend) / 2}" y="{height - 10}" text-anchor="middle">'
                 f'keys</text>')
    by_last_time = sorted(lines.items(), key=lambda line: -line[1][-1][1])
    for position, (name, line) in enumerate(by_last_time):
        path = "L".join(f"{x(size):.1f} {y(time):.1f}" for size, time in line)
        stroke = f'stroke="{COLOURS[name]}" stroke-width="{3 if name == OURS else 1.5}"'
        dashes = f' stroke-dasharray="{DASHES[name]}"' if name in DASHES else ""
        level = top + 20 + 22 * position
        parts.append(f'<path d="M{path}" fill="none" {stroke}{dashes}/>'
                     f'<path d="M{width - legend + 15} {level}h24" {stroke}{dashes}/>'
                     f'<text x="{width - legend + 45}" y="{level + 4}">{name}</text>')
    return "\n".join([*parts, "</svg>", ""])


def write_document(directory, template, document):
    results = Results(directory)
    instructions = read_instructions(directory)
    document = pathlib.Path(document)
    plots = document.with_suffix("")
    plots.mkdir(exist_ok=True)
    plotted = [op for op in MAP_OPERATIONS if len(results.sizes(op, OURS)) > 1]
    for operation in plotted:
        (plots / f"{operation}.svg").write_text(plot(results, operation))
    values = {
        "machine": machine(directory),
        "rounds-of-ratios": str(len(results.all_times["hit", OURS, 1_000])),
        "rounds": str(len(results.all_times["iterate", OURS, 1_000])),
        "rounds-of-a-million": str(len(results.all_times["hit", OURS, 1_000_000])),
        "spread": f"{100 * results.spread():.0f} %",
        "ratios": ratio_table(results),
        "shortfalls": shortfall_table(results),
        "times": time_tables(results),
        "lists": list_table(results),
        "typed-number": typed_number_table(results),
        "rows": row_table(results),
        "size": (pathlib.Path(directory) / "size.txt").read_text().strip().replace("\n", "\n    "),
        "long-chains": long_chain_table(results),
        "loads": load_table(results),
        "memory": memory_table(results, instructions),
        "instructions": instruction_table(instructions),
        "plots": "\n".join(f"![{op}]({plots.name}/{op}.svg)" for op in plotted),
    }
    text = pathlib.Path(template).read_text()
    document.write_text(re.sub(r"\{\{([a-z-]+)\}\}", lambda match: values[match.group(1)], text))


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "--terminal":
        print_ratios(Results(sys.argv[2]))
    elif len(sys.argv) == 5 and sys.argv[1] == "--document":
        write_document(*sys.argv[2:])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
