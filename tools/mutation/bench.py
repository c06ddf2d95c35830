"""Copies of the project with something broken in them, built and tested.

The test programs are linked once, in a copy that stays sound. Every worker has a copy of its own
where it builds no more than the library, a shared one, which it has the test programs load.
"""

import json
import os
import queue
import re
import shlex
import shutil
import subprocess
import sys
import threading
from collections import Counter, namedtuple
from pathlib import Path

PROGRAMS = ("unit_tests", "fault_tests")
LIBRARY = "textmaps_tested"

# What no sound run needs, in bytes: memory of its own (some tests map 4 GiB of it for a moment), and
# files, its output among them.
MEMORY = 5 << 30
FILE_SIZE = 64 << 20

FAILED = re.compile(r"^\[  FAILED  \] ([\w/.]+)", re.MULTILINE)
STARTED = re.compile(r"^\[ RUN      \] ([\w/.]+)", re.MULTILINE)
PASSED = re.compile(r"^\[       OK \] ([\w/.]+)(?:, where .*)? \((\d+) ms\)$", re.MULTILINE)

# What becomes of a broken library; one that a test notices is killed.
NOT_VIABLE, SAME_CODE, KILLED, SURVIVED = "not viable", "same code", "killed", "survived"

# The first test to fail, and whether it failed, crashed or hung.
Failure = namedtuple("Failure", "how program test")


def run(command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{shlex.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def synchronise(source, target):
    """Makes the target a copy of the source; files that are the same already are left alone."""
    ignore = shutil.ignore_patterns(".*", "build")
    for directory, names, files in os.walk(source):
        ignored = ignore(directory, names + files)
        names[:] = [name for name in names if name not in ignored]
        kept = [name for name in files if name not in ignored]
        to = target / Path(directory).relative_to(source)
        to.mkdir(parents=True, exist_ok=True)
        for old in set(os.listdir(to)) - set(names + kept):
            if (to / old).is_dir():
                shutil.rmtree(to / old)
            else:
                (to / old).unlink()
        for name in kept:
            content = (Path(directory) / name).read_bytes()
            if not (to / name).exists() or (to / name).read_bytes() != content:
                (to / name).write_bytes(content)


class Copy:
    """The project's files and a build of them under one directory."""

    def __init__(self, project, root, flags):
        root = root.resolve()
        self.tree = root / "tree"
        self.build = root / "build"
        self.libraries = self.build / "tests"
        self.sound_code = {}
        synchronise(project, self.tree)
        run(
            ["cmake", "-G", "Ninja", "-S", self.tree, "-B", self.build]
            + ["-DTEXTMAPS_TESTS_SHARED=ON", "-DTEXTMAPS_EXAMPLES=OFF"]
            + [f"-DCMAKE_C_FLAGS=-O0 {flags}", f"-DCMAKE_CXX_FLAGS=-O0 {flags}"]
            + ["-DCMAKE_EXPORT_COMPILE_COMMANDS=ON"]
        )
        self.commands = {
            entry["file"]: shlex.split(entry["command"])
            for entry in json.loads((self.build / "compile_commands.json").read_text())
        }

    def write(self, sources):
        for name, text in sources.items():
            (self.tree / name).write_text(text)

    def builds(self, *targets, jobs=1):
        command = ["ninja", "-C", self.build, f"-j{jobs}", *targets]
        return subprocess.run(command, capture_output=True, check=False).returncode == 0

    def optimised_code(self, unit):
        """The object file that an optimising compiler makes of a translation unit."""
        made = self.build / "optimised.o"
        command = list(self.commands[str(self.tree / unit)])
        command[command.index("-o") + 1] = str(made)
        run([*command, "-O2"])
        return made.read_bytes()

    def is_same_code(self, units, sound, broken):
        """Whether an optimising compiler makes the same of sound and broken sources."""
        missing = [unit for unit in units if unit not in self.sound_code]
        if missing:
            self.write(sound)
            for unit in missing:
                self.sound_code[unit] = self.optimised_code(unit)
            self.write(broken)
        return all(self.optimised_code(unit) == self.sound_code[unit] for unit in units)

    def units_by_file(self):
        """For each file of the project, the translation units that have it."""
        found = {}
        for entry in run(["ninja", "-C", self.build, "-t", "deps"]).split("\n\n"):
            paths = [Path(line.strip()) for line in entry.splitlines()[1:]]
            own = [path.relative_to(self.tree) for path in paths if path.is_relative_to(self.tree)]
            for path in own:
                found.setdefault(str(path), set()).add(own[0])
        return found


class Tests:
    """The test programs, built in a sound copy."""

    def __init__(self, sound, jobs, limited):
        self.sound = sound
        self.limits = [f"--fsize={FILE_SIZE}", "--core=0"]
        self.environment = {}
        self.left_out = ""
        if limited:
            self.limits.append(f"--data={MEMORY}")
        else:
            # AddressSanitizer reserves far more than it uses. What it uses counts pages as often as they
            # are mapped, and the giant texts are one file's, mapped again and again.
            self.environment["ASAN_OPTIONS"] = f"hard_rss_limit_mb={MEMORY >> 20}"
            self.left_out = "*GiantText*"
        self.seconds = {}
        self.failures = {}
        run(["ninja", "-C", sound.build, f"-j{jobs}", *PROGRAMS])
        for program in PROGRAMS:
            failure, output = self.run(sound, program, "*", 3600)
            if failure:
                sys.exit(f"{failure.how} though nothing is broken: {program} {failure.test}")
            for test, milliseconds in PASSED.findall(output):
                self.seconds[program, test] = int(milliseconds) / 1000

    def run(self, copy, program, chosen, seconds):
        """Runs tests on the copy's library: the failure, None if there is none, and the output."""
        printed = copy.build / f"{program}.output"
        command = ["prlimit", f"--cpu={seconds}", *self.limits, "--"]
        chosen += (":" if chosen.startswith("-") else "-") + self.left_out
        command += [self.sound.libraries / program, "--gtest_fail_fast", f"--gtest_filter={chosen}"]
        with printed.open("wb") as output:
            try:
                status = subprocess.run(
                    command,
                    cwd=copy.build,
                    env=dict(
                        os.environ, **self.environment, LD_LIBRARY_PATH=str(copy.libraries)
                    ),
                    stdin=subprocess.DEVNULL,
                    stdout=output,
                    stderr=subprocess.STDOUT,
                    timeout=60 + 10 * seconds,
                    check=False,
                ).returncode
            except subprocess.TimeoutExpired:
                status = -9
        text = printed.read_bytes().decode(errors="replace")
        if status == 0:
            return None, text
        failed, started = FAILED.findall(text), STARTED.findall(text)
        how = "hung" if status in (-9, -24) else "failed" if failed else "crashed"
        test = (failed[:1] or started[-1:] or ["before the first test"])[0]
        return Failure(how, program, test), text

    def limit(self, program, tests):
        """Several times the processor time that the tests need, in whole seconds."""
        return 2 + int(4 * sum(self.seconds.get((program, test), 0) for test in tests))

    def first_failure(self, copy, file):
        """Of any test on the copy's library, the quick ones first. Where a file is broken, those of them that
        failed when it was broken in other ways come before all others."""
        earlier = self.failures.setdefault(file, Counter())
        slow = {known for known, seconds in self.seconds.items() if seconds > 0.02}
        likely = {known for known, _ in earlier.most_common(40)} - slow if file else set()
        quick = set(self.seconds) - slow
        for group in (likely, quick, slow):
            for program in PROGRAMS:
                tests = [test for of, test in group if of == program]
                if not tests:
                    continue
                chosen = ":".join(tests)
                if group is quick:
                    chosen = "-" + ":".join(test for of, test in slow if of == program)
                failure, _ = self.run(copy, program, chosen, self.limit(program, tests))
                if failure:
                    earlier[program, failure.test] += 1
                    return failure
        return None


class Bench:
    """Where broken libraries are built and tested, a worker for each job."""

    def __init__(self, project, root, jobs, flags=""):
        self.jobs = jobs
        self.sanitized = flags != ""
        self.sound = Copy(project, root / "sound", flags)
        self.copies = [Copy(project, root / f"worker-{i}", flags) for i in range(jobs)]
        self.tests = Tests(self.sound, jobs, limited=not self.sanitized)
        self.units = self.sound.units_by_file()

    def units_of(self, files):
        """The translation units that have one of the files: the library's, and the tests'."""
        units = sorted({unit for file in files for unit in self.units[file]})
        tests = [unit for unit in units if unit.parts[0] == "tests"]
        return [unit for unit in units if unit not in tests], tests

    def trial(self, copy, item):
        copy.write(item.broken)
        try:
            if not copy.builds(LIBRARY):
                return NOT_VIABLE, ""
            failure = self.tests.first_failure(copy, item.file)
            if failure:
                return KILLED, " ".join(failure)
            units, _ = self.units_of(item.broken)
            if not self.sanitized and copy.is_same_code(units, item.sound, item.broken):
                return SAME_CODE, ""
            return SURVIVED, ""
        finally:
            copy.write(item.sound)

    def trial_with_tests_rebuilt(self, item):
        self.sound.write(item.broken)
        try:
            if not self.sound.builds(*PROGRAMS, jobs=self.jobs):
                return KILLED, "failed: a test program cannot be built"
            failure = self.tests.first_failure(self.sound, item.file)
            return (KILLED, " ".join(failure)) if failure else (SURVIVED, "")
        finally:
            self.sound.write(item.sound)

    def try_each(self, items, done):
        """Calls done(item, outcome, detail) for every item. An item has its broken sources, the sound
        ones that they stand for, and the file that is broken if it is one of many breakages of it.
        Survivors come last where tests have the source themselves and must be built anew for it."""
        waiting = queue.Queue()
        for item in items:
            waiting.put(item)
        again = []
        lock = threading.Lock()

        def work(copy):
            while True:
                try:
                    item = waiting.get_nowait()
                except queue.Empty:
                    return
                outcome, detail = self.trial(copy, item)
                _, tests = self.units_of(item.broken)
                with lock:
                    if outcome == SURVIVED and tests:
                        again.append(item)
                    else:
                        done(item, outcome, detail)

        workers = [threading.Thread(target=work, args=(copy,), daemon=True) for copy in self.copies]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        for item in again:
            done(item, *self.trial_with_tests_rebuilt(item))
