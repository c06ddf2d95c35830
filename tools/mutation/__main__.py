"""Breaks the library in small ways, one at a time, and shows that the tests notice.

Without --bugs: makes every small wrong edit of the sources (or of the FILEs alone) and lists those
that all tests pass with. Each of these must be in tests/mutation/equivalent.txt, with the reason why
no test can tell it from the original; those that are not there are tried with sanitizers, too. What
an earlier run has found out is kept as long as the library's sources stay as they are: only edits
without a verdict, and those neither noticed nor explained, are tried.

With --bugs: tries the named bugs of tests/mutation/bugs.txt, and shows the test that catches each.
"""

import argparse
import hashlib
import json
import os
import random
import shutil
import sys
import tempfile
import time
from collections import Counter, namedtuple
from pathlib import Path

import edits
import kept
from bench import KILLED, NOT_VIABLE, SAME_CODE, SURVIVED, Bench

PROJECT = Path(__file__).resolve().parents[2]
SOURCES = ("src/**/*.cpp", "src/**/*.hpp", "addrkit/*.c")
HEADERS = ("include/textmaps/*.h", "addrkit/*.h")
EQUIVALENT = PROJECT / "tests/mutation/equivalent.txt"
BUGS = PROJECT / "tests/mutation/bugs.txt"
REQUIRED_RATE = 0.95

# Of edits that read the same, in one function, each has its number.
Mutant = namedtuple("Mutant", "change nth line file broken sound")
Bug = namedtuple("Bug", "name file broken sound")


def read(patterns):
    paths = sorted(path for pattern in patterns for path in PROJECT.glob(pattern))
    return {str(path.relative_to(PROJECT)): path.read_text() for path in paths}


def mutants_of(file, source, integers):
    seen = Counter()
    for edit in edits.edits_of(source, integers):
        before, after = source[: edit.start], source[edit.end :]
        first = before.rfind("\n") + 1
        rest = after[: after.find("\n")]
        old = kept.squeeze(source[first : edit.end] + rest)
        new = kept.squeeze(before[first:] + edit.text + rest)
        change = kept.Change(file, kept.function_at(source, edit.start), old, new)
        line = source.count("\n", 0, edit.start) + 1
        broken = {file: before + edit.text + after}
        yield Mutant(change, seen[change], line, file, broken, {file: source})
        seen[change] += 1


def bugs_of(sources):
    for block in kept.blocks(BUGS):
        broken = {change.file: sources[change.file] for change in block.changes}
        sound = dict(broken)
        for change in block.changes:
            broken[change.file] = kept.applied(change, broken[change.file])
        yield Bug(block.text, None, broken, sound)


class Log:
    """A line for each mutant: its outcome, which it is, and the test that killed it."""

    def __init__(self, path, sources):
        digest = hashlib.sha256("\0".join(sources.values()).encode()).hexdigest()
        self.path = path
        self.outcomes = {}
        lines = path.read_text().splitlines() if path.exists() else []
        if lines[:1] == [digest]:
            for line in lines[1:]:
                outcome, place, function, nth, old, new, _ = line.split("\t")
                change = kept.Change(place.rpartition(":")[0], function, old, new)
                self.outcomes[change, int(nth)] = outcome
        else:
            path.write_text(f"{digest}\n")

    def add(self, mutant, outcome, detail):
        change = mutant.change
        self.outcomes[change, mutant.nth] = outcome
        place = f"{change.file}:{mutant.line}"
        fields = (outcome, place, change.function, str(mutant.nth), change.old, change.new, detail)
        with self.path.open("a") as log:
            log.write("\t".join(fields) + "\n")

    def of(self, mutant):
        return self.outcomes.get((mutant.change, mutant.nth))


class Progress:
    """Says on standard error how far it is, but not for every item."""

    def __init__(self, what, count):
        self.what = what
        self.count = count
        self.outcomes = Counter()
        self.start = self.said = time.monotonic()

    def add(self, outcome):
        self.outcomes[outcome] += 1
        done = self.outcomes.total()
        now = time.monotonic()
        if now - self.said > 10 or done == self.count:
            self.said = now
            tally = ", ".join(f"{number} {outcome}" for outcome, number in self.outcomes.items())
            minutes = (now - self.start) / 60
            print(f"{done}/{self.count} {self.what}, {minutes:.1f} min: {tally}", file=sys.stderr)


def sanitizers():
    """The compiler flags of the sanitize preset."""
    presets = json.loads((PROJECT / "CMakePresets.json").read_text())["configurePresets"]
    (variables,) = [p["cacheVariables"] for p in presets if p["name"] == "sanitize"]
    return variables["CMAKE_CXX_FLAGS"].replace("-Werror", "")


def print_change(change, line):
    print(f"\n{change.file}, {change.function}    (line {line})\n- {change.old}\n+ {change.new}")


def report(mutants, log, explained, complete):
    """Prints the totals, and what is not as it must be. Whether all is well."""
    columns = ("made", NOT_VIABLE, SAME_CODE, KILLED, "explained", "unexplained")
    tables = {}
    unexplained = []
    used = set()
    for mutant in mutants:
        outcome = log.of(mutant)
        if outcome == SURVIVED and mutant.change in explained:
            outcome = "explained"
            used.add(mutant.change)
        elif outcome == SURVIVED:
            outcome = "unexplained"
            unexplained.append(mutant)
        for row in (mutant.file, "all"):
            tables.setdefault(row, Counter()).update(("made", outcome))

    print(f"{'':28}" + "".join(f"{column:>13}" for column in columns) + f"{'killed':>9}")
    for row in sorted(tables, key=lambda row: (row == "all", row)):
        table = tables[row]
        rate = table[KILLED] / max(1, table["made"] - table[NOT_VIABLE] - table[SAME_CODE])
        print(f"{row:28}" + "".join(f"{table[column]:>13}" for column in columns) + f"{rate:>9.1%}")

    for mutant in unexplained:
        print_change(mutant.change, mutant.line)
    stale = sorted(explained - used) if complete else []
    if stale:
        print("\nExplained, but not among the survivors:")
    for change in stale:
        print_change(change, "?")
    return not unexplained and not stale and rate >= REQUIRED_RATE


def try_mutants(options, sources):
    integers = edits.integer_names([*sources.values(), *read(HEADERS).values()])
    chosen = options.files or list(sources)
    mutants = [mutant for file in chosen for mutant in mutants_of(file, sources[file], integers)]
    if options.sample and options.sample < len(mutants):
        picked = random.Random(options.seed).sample(range(len(mutants)), options.sample)
        mutants = [mutants[i] for i in sorted(picked)]

    explained = {
        change._replace(old=kept.squeeze(change.old), new=kept.squeeze(change.new))
        for block in kept.blocks(EQUIVALENT)
        for change in block.changes
        if change.file in chosen
    }
    log = Log(options.work / "log", sources)

    def is_unexplained(mutant):
        return log.of(mutant) == SURVIVED and mutant.change not in explained

    undecided = [mutant for mutant in mutants if log.of(mutant) is None or is_unexplained(mutant)]
    for what, flags in (("mutants", ""), ("survivors with sanitizers", sanitizers())):
        if not undecided:
            break
        progress = Progress(what, len(undecided))

        def done(mutant, outcome, detail):
            log.add(mutant, outcome, detail)
            progress.add(outcome)

        root = options.work / ("sanitized" if flags else "plain")
        Bench(PROJECT, root, options.jobs, flags).try_each(undecided, done)
        undecided = [mutant for mutant in undecided if is_unexplained(mutant)]

    return report(mutants, log, explained, complete=not options.sample)


def try_bugs(options, sources):
    bugs = list(bugs_of(sources))
    progress = Progress("bugs", len(bugs))
    found = {}

    def done(bug, outcome, detail):
        progress.add(outcome)
        found[bug.name] = outcome, detail

    Bench(PROJECT, options.work / "plain", options.jobs).try_each(bugs, done)
    for bug in bugs:
        outcome, detail = found[bug.name]
        print(f"{bug.name}\n    {detail or outcome.upper()}")
    caught = sum(outcome == KILLED for outcome, _ in found.values())
    print(f"{caught} of {len(bugs)} bugs are caught")
    return caught == len(bugs)


def main():
    parser = argparse.ArgumentParser(
        prog="tools/mutate", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("files", metavar="FILE", nargs="*", help="a source of the library")
    parser.add_argument("--bugs", action="store_true", help="try the named bugs")
    parser.add_argument("--sample", type=int, metavar="N", help="of all edits, N at random")
    parser.add_argument("--seed", type=int, default=0, help="which ones (default: %(default)s)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="default: %(default)s")
    parser.add_argument("--fresh", action="store_true", help="forget what earlier runs found")
    parser.add_argument(
        "--work",
        type=Path,
        default=Path(tempfile.gettempdir()) / "textmaps-mutate",
        help="where the copies are built and the log is kept (default: %(default)s)",
    )
    options = parser.parse_args()
    sources = read(SOURCES)
    for file in options.files:
        if file not in sources:
            parser.error(f"{file} is not one of {' '.join(sources)}")
    if options.fresh:
        shutil.rmtree(options.work, ignore_errors=True)
    options.work.mkdir(parents=True, exist_ok=True)
    well = try_bugs(options, sources) if options.bugs else try_mutants(options, sources)
    sys.exit(0 if well else 1)


main()
