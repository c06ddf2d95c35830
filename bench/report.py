"""Makes the tables and plots of what bench/run has measured.

    report.py --terminal RESULTS   prints the ratios to reach
"""

import collections
import json
import math
import pathlib
import statistics
import sys

OURS = "textmaps"

# Operation, peer, times as fast as it. The sizes are those of which all sides were measured.
TARGETS = [
    ("fill", [("plain", 2.0), ("uthash", 3.3), ("unordered_map", 2.0),
              ("unordered_map-transparent", 2.0), ("llvm-StringMap", 1.2),
              ("absl-flat_hash_map", 1.2)]),
    ("hit", [("plain", 2.0), ("uthash", 2.2), ("unordered_map", 3.3),
             ("unordered_map-transparent", 1.3), ("llvm-StringMap", 1.0),
             ("absl-flat_hash_map", 1.0)]),
    ("miss", [("plain", 1.8), ("uthash", 2.2), ("unordered_map", 3.2),
              ("unordered_map-transparent", 1.5), ("llvm-StringMap", None),
              ("absl-flat_hash_map", None)]),
    ("erase", [("plain", 1.5), ("uthash", 1.8), ("unordered_map", 2.5),
               ("unordered_map-transparent", 1.5), ("llvm-StringMap", 1.0),
               ("absl-flat_hash_map", 1.0)]),
    ("hit-32-buckets", [("plain", 2.3)]),
    ("dump", [("plain", 50)]),
    ("copy", [("plain", 2.0), ("unordered_map", 2.0), ("floor", 1 / 1.5)]),
    ("write-uint32", [("plain", 2.0), ("unordered_map", 2.0)]),
    ("read-uint32", [("plain", 2.0), ("unordered_map", 2.0)]),
]

# Sizes over which ratios are taken, where there are several.
COMPARED_SIZES = (1_000, 10_000, 100_000)


def read_results(directory):
    """Medians over the rounds: {(operation, candidate, size): ns per key}."""
    times = collections.defaultdict(list)
    for path in sorted(pathlib.Path(directory).glob("*.json")):
        for run in json.loads(path.read_text())["benchmarks"]:
            operation, candidate, size = run["name"].split("/")[:3]
            times[operation, candidate, int(size)].append(run["real_time"] / run["keys"])
    return {key: statistics.median(list_) for key, list_ in times.items()}


def geometric_mean(numbers):
    return math.exp(statistics.fmean(math.log(number) for number in numbers))


def sizes_of(medians, operation, *candidates):
    sizes = [{size for (op, candidate, size) in medians if (op, candidate) == (operation, name)}
             for name in candidates]
    common = set.intersection(*sizes)
    return sorted(common & set(COMPARED_SIZES) or common)


def times_as_fast(medians, operation, peer):
    """How many times as fast as the peer, over all compared sizes; None where not measured."""
    sizes = sizes_of(medians, operation, OURS, peer)
    if not sizes:
        return None
    return geometric_mean(medians[operation, peer, size] / medians[operation, OURS, size]
                          for size in sizes)


def mean_time(medians, operation, candidate):
    sizes = sizes_of(medians, operation, OURS, candidate)
    return geometric_mean(medians[operation, candidate, size] for size in sizes) if sizes else None


def print_targets(medians):
    print(f"{'operation':<16}{'ns a key':>9}  {'peer':<26}{'ns a key':>9}{'ratio':>8}{'target':>8}")
    for operation, peers in TARGETS:
        for peer, target in peers + [("floor", None)] * (operation in ("fill", "hit", "miss", "erase")):
            ratio = times_as_fast(medians, operation, peer)
            if ratio is None:
                continue
            wanted = f"{target:.2f}" if target else "-"
            verdict = "" if target is None or ratio >= target else "  short"
            print(f"{operation:<16}{mean_time(medians, operation, OURS):>9.1f}  {peer:<26}"
                  f"{mean_time(medians, operation, peer):>9.1f}{ratio:>8.2f}{wanted:>8}{verdict}")


def main():
    if len(sys.argv) != 3 or sys.argv[1] != "--terminal":
        sys.exit(__doc__)
    print_targets(read_results(sys.argv[2]))


if __name__ == "__main__":
    main()
