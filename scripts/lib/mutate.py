# SPDX-License-Identifier: Apache-2.0
"""What scripts/mutate does, once the packages are there."""

import argparse
import collections
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import time
from typing import NamedTuple

from random_faults import random_faults

ROOT = pathlib.Path(__file__).resolve().parents[2]
COPY = ROOT / "build/mutate"
FOLDERS = {"core": ["src", "include"], "log": ["tarn"], "toolkit": ["toolkit"], "tool": ["apps"]}
TESTS = {"core": ["core"], "log": ["log"], "toolkit": ["toolkit", "tool"], "tool": ["tool"]}  # rooms below tests/


class Fault(NamedTuple):
    file: str
    begin: int
    end: int
    new: str
    text: str  # what is printed

    @property
    def area(self):
        return next(area for area, folders in FOLDERS.items() if self.file.split("/")[0] in folders)


class Run(NamedTuple):
    """Cases of a test program that are run together: its quick ones, or a single slow one."""

    program: str
    cases: str  # as --gtest_filter takes them
    seconds: float  # without a fault

    @property
    def name(self):
        return self.program + ("" if ":" in self.cases else " " + self.cases)


class Outcome(NamedTuple):
    word: str
    killer: str = ""


def fail(message):
    sys.exit(f"mutate: {message}")


def listed_faults():
    """The faults of tests/mutations.txt."""
    missing = []
    for line in (ROOT / "tests/mutations.txt").read_text().splitlines():
        if line.startswith("#"):
            continue
        file, *texts = line.split("\t")
        old, new = (re.sub(r"\\(.)", lambda match: match[1].replace("n", "\n"), text) for text in texts)
        path = ROOT / file
        begin = path.read_text().find(old) if path.exists() else -1
        if begin < 0:
            missing.append(f"{file} does not hold: {texts[0]}")
        else:
            yield Fault(file, begin, begin + len(old), new, f"{file}: {texts[0]} -> {texts[1]}")
    if missing:
        fail("\n".join(missing))


def all_random_faults():
    for file in sorted(file for folders in FOLDERS.values() for folder in folders for file in sources_below(folder)):
        source = (ROOT / file).read_text()
        for begin, end, new in random_faults(source):
            line_begin, line_end = source.rfind("\n", 0, begin) + 1, source.find("\n", end)
            before = " ".join(source[line_begin:line_end].split())
            after = " ".join((source[line_begin:begin] + new + source[end:line_end]).split()) or "nothing"
            yield Fault(file, begin, end, new, f"{file}:{source.count(chr(10), 0, begin) + 1}: {before} -> {after}")


def sources_below(folder):
    return [file for file in project_files() if file.startswith(folder + "/") and file.endswith((".cpp", ".h"))]


def project_files():
    listing = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    files = subprocess.run(listing, cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\0")
    return [file for file in files if file and (ROOT / file).is_file()]


class Copy:
    """A copy of the project, its build, and the test programs of the areas."""

    def __init__(self, areas):
        self._areas = areas
        rooms = {room for area in areas for room in TESTS[area]}
        shutil.rmtree(COPY / "source", ignore_errors=True)
        for file in project_files():
            (COPY / "source" / file).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(ROOT / file, COPY / "source" / file)  # as new: no object of an earlier fault stays
        self._programs = {room: [path.stem for path in sorted((ROOT / "tests" / room).glob("*_test.cpp"))]
                          for room in rooms}
        self._sources = {}  # of each file: its text without a fault
        self._runs = {}  # of each test program
        self._kills = collections.Counter()  # of a run, among the faults of a file and among those of its folder
        upper = "ON" if rooms - {"core", "log"} else "OFF"
        # Programs see a changed library without being linked anew, and must be able to start only when they are run.
        self._call("configure", "cmake", "-S", "source", "-B", "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                   "-DCMAKE_CXX_FLAGS_RELEASE=-O1", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache",
                   "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST",
                   f"-DSTEREOVISION_BUILD_TOOLKIT={upper}", f"-DSTEREOVISION_BUILD_APPS={upper}",
                   f"-DSTEREOVISION_IMAGE_DIR={os.environ['STEREOVISION_IMAGE_DIR']}") or fail(self._see("configure"))
        for program in self._programs_of(areas):
            self._build(program) or fail(self._see("build"))
            self._runs[program] = self._divide(program)
        self._objects = self._digest()

    def _divide(self, program):
        """The runs of a program, after trying each case without a fault."""
        listing = COPY / "cases.json"
        self._passes(program, 60, "--gtest_list_tests", f"--gtest_output=json:{listing}")
        cases = [f"{suite['name']}.{case['name']}"
                 for suite in json.loads(listing.read_text())["testsuites"] for case in suite["testsuite"]]
        runs = [Run(program, case, self._time(program, f"--gtest_filter={case}")) for case in cases]
        quick = [run for run in runs if run.seconds < 0.5]
        together = Run(program, "".join(f"{run.cases}:" for run in quick), sum(run.seconds for run in quick))
        return [together] * bool(quick) + [run for run in runs if run not in quick]

    def _time(self, program, option):
        begin = time.monotonic()
        self._passes(program, 600, option) or fail(f"{program} fails without any fault; {self._see('test')}")
        return time.monotonic() - begin

    def try_out(self, fault):
        """Runs the tests of the fault's part until one fails, those first that promise to. Each program is built
        when its turn comes."""
        self._put_in(fault)
        runs = [run for program in self._programs_of([fault.area]) for run in self._runs[program]]
        runs.sort(key=lambda run: self._turn(fault, run))
        built = set()
        try:
            for run in runs:
                if run.program not in built and not self._build(run.program):
                    return Outcome("does not compile")
                if not built and self._digest() == self._objects and self._changes_nothing():
                    return Outcome("no difference")
                built.add(run.program)
                if not self._passes(run.program, 10 + 10 * run.seconds, f"--gtest_filter={run.cases}"):
                    self._kills.update({(fault.file, run): 1, (os.path.dirname(fault.file), run): 1})
                    return Outcome("killed", run.name)
            return Outcome("no difference" if self._changes_nothing() else "SURVIVES")
        finally:
            self._put_in(fault._replace(end=fault.begin, new=""))

    def _turn(self, fault, run):
        """What killed faults of the file comes first, then what bears its name or that of its folder, then what
        killed faults of the folder, then what is quick."""
        folder, _ = os.path.split(fault.file)
        is_namesake = re.search(r"\b" + run.program.split("_")[0], fault.file)
        return -self._kills[fault.file, run], not is_namesake, -self._kills[folder, run], run.seconds

    def _put_in(self, fault):
        source = self._sources.setdefault(fault.file, (COPY / "source" / fault.file).read_text())
        (COPY / "source" / fault.file).write_text(source[:fault.begin] + fault.new + source[fault.end:])

    def _programs_of(self, areas):
        return [program for room in {room for area in areas for room in TESTS[area]} for program in self._programs[room]]

    def _build(self, *programs):
        return self._call("build", "cmake", "--build", "build", "--target", *programs)

    def _changes_nothing(self):
        """Whether the compiler makes what it made without the fault."""
        self._build(*self._programs_of(self._areas))  # those not built yet may hold another fault's objects
        return self._digest() == self._objects

    def _digest(self):
        digest = hashlib.sha256()
        for path in sorted((COPY / "build").rglob("*.o")):
            digest.update(path.read_bytes())
        return digest.digest()

    def _see(self, log):
        return f"see {COPY / log}.log"

    def _call(self, log, *command):
        with open(COPY / f"{log}.log", "w") as output:
            return subprocess.run(command, cwd=COPY, stdout=output, stderr=output).returncode == 0

    def _passes(self, program, seconds, *options):
        """Runs a test program in an empty folder. A fault may make it run on, fill memory or fill the disk."""
        scratch = COPY / "scratch"
        shutil.rmtree(scratch, ignore_errors=True)
        scratch.mkdir()

        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30))
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 30, 1 << 30))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        command = [COPY / "build/tests" / program, "--gtest_brief=1", "--gtest_fail_fast", *options]
        with open(COPY / "test.log", "w") as output:
            process = subprocess.Popen(command, cwd=scratch, env={**os.environ, "TMPDIR": str(scratch)}, stdout=output,
                                       stderr=output, preexec_fn=limit, start_new_session=True)
            try:
                return process.wait(seconds) == 0
            except subprocess.TimeoutExpired:
                return False
            finally:
                try:
                    os.killpg(process.pid, signal.SIGKILL)  # also what the program started and left behind
                except ProcessLookupError:
                    pass
                process.wait()


def try_faults(copy, faults, number, is_random):
    """Tries so many faults and returns whether all were killed. Random ones that are none are drawn anew."""
    killed = tried = 0
    for fault in faults:
        outcome = copy.try_out(fault)
        if outcome.word in ("does not compile", "no difference"):
            is_random or fail(f"{outcome.word}: {fault.text}")
            continue
        tried += 1
        killed += outcome.word == "killed"
        print(f"{outcome.word:10}{fault.text}{outcome.killer and f'  [{outcome.killer}]'}", flush=True)
        if tried == number:
            break
    print(f"{killed} of {tried} killed, {tried - killed} surviving: {100 * killed / max(tried, 1):.0f} %")
    return killed == tried


def main():
    parser = argparse.ArgumentParser(prog="mutate")
    parser.add_argument("--only", choices=FOLDERS, help="faults of this part alone")
    parser.add_argument("--random", type=int, metavar="N", help="random faults instead of those of the list")
    parser.add_argument("--seed", type=int, metavar="S", help="the same faults as with this seed before")
    parser.add_argument("pattern", nargs="?", default="", type=re.compile, help="those whose line it matches")
    arguments = parser.parse_args()

    faults = list(all_random_faults() if arguments.random else listed_faults())
    faults = [fault for fault in faults if arguments.only in (None, fault.area) and arguments.pattern.search(fault.text)]
    if arguments.random:
        seed = random.randrange(1000) if arguments.seed is None else arguments.seed
        print(f"seed {seed}, drawn from {len(faults)} faults", flush=True)
        random.Random(seed).shuffle(faults)
    copy = Copy({fault.area for fault in faults})
    all_killed = try_faults(copy, faults, arguments.random or len(faults), bool(arguments.random))
    return 0 if all_killed or arguments.random else 1


if __name__ == "__main__":
    sys.exit(main())
