"""Where a change is tried: a copy of the tree with a build of its own, confined so that nothing a changed program does
(a signal to everybody, a removed directory, all memory taken) leaves it."""

import hashlib
import json
import os
import re
import shutil
import subprocess
import xml.etree.ElementTree as xml
from dataclasses import dataclass, field
from pathlib import Path

# Which tests concern a folder, by name. The first folder that holds a file counts.
FOLDERS = [
    ("prm/test", r"suite_|card_suite_"),
    ("kiv", r"kiv_|kivctl_"),
    ("card", r"card_|fuzz_card_"),
    ("kivctl", r"kivctl_"),
    ("app", r"app_suite_"),
]

NOTICED, HUNG, SURVIVED, NOT_COMPILED, EQUIVALENT = "noticed", "hung", "survived", "not compiled", "equivalent"
COUNTED = (NOTICED, HUNG, SURVIVED)

_MEMORY, _FILE = 4 << 30, 2 << 30  # bytes


class Trouble(Exception):
    """What a person must be told before anything can be tried."""


def tests_of(file):
    """The pattern of the tests' names that concern a file, or None."""
    for folder, pattern in FOLDERS:
        if file.startswith(folder + "/"):
            return pattern
    return None


def confined(writable, temporary, directory, command):
    """The command line that runs `command` in `directory`: everything read-only but `writable` and /tmp, which is
    `temporary`; no other process to see, no network, no more memory and files than a test can need; what it starts ends
    with it."""
    line = ["prlimit", f"--data={_MEMORY}", f"--fsize={_FILE}", "--core=0",
            "bwrap", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc", "--tmpfs", "/run",
            "--bind", str(temporary), "/tmp"]
    for path in writable:
        line += ["--bind", str(path), str(path)]
    return line + ["--unshare-pid", "--unshare-net", "--unshare-ipc", "--die-with-parent", "--new-session",
                   "--chdir", str(directory)] + [str(word) for word in command]


def can_confine():
    """None, or why not."""
    if shutil.which("bwrap") is None:
        return "bwrap is not installed (Debian package bubblewrap)"
    probe = subprocess.run(confined([], "/tmp", "/", ["true"]), capture_output=True, text=True)
    return None if probe.returncode == 0 else "bwrap does not work here: " + probe.stderr.strip()


@dataclass
class Test:
    name: str
    targets: list    # that build what it runs
    seconds: float = 0
    inputs: set = field(default_factory=set)  # what its programs are built from


@dataclass
class Workshop:
    """One copy of the tree. copy() and prepare() first; then try_change() as often as wanted, one at a time."""
    root: Path       # the tree that is copied
    place: Path      # where the copy goes
    slots: int       # how many workshops work side by side
    timeout: float   # the least a test is given, seconds
    tests: dict = field(default_factory=dict)   # by pattern
    _objects: dict = field(default_factory=dict)  # by file: what is compiled from it

    @property
    def build(self):
        return self.place / "build" / "release"

    # --- Preparing

    def copy(self, files):
        for name in files:
            target = self.place / name
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(self.root / name, target, follow_symlinks=False)

    def prepare(self, patterns, seconds=None):
        """Builds what the patterns' tests need. How long each takes is given, or found out: then all must pass."""
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        self._must(["cmake", "--preset", "release", *launcher], "configure")
        found = json.loads(self._run(["ctest", "--test-dir", self.build, "--show-only=json-v1"]).stdout)
        targets = {line.split(":")[0] for line in self._ninja("-t", "targets", "all").splitlines()}
        for pattern in patterns:
            # A test program is a target of its test's name; a test that is a script runs the two commands.
            self.tests[pattern] = [Test(test["name"], [test["name"]] if test["name"] in targets else ["prm_kiv", "kivctl"])
                                   for test in found["tests"]
                                   if re.match(pattern, test["name"])]
            if not self.tests[pattern]:
                raise Trouble(f"no test's name matches {pattern}")
        self._must(["ninja", "-C", self.build, *_targets(self._all_tests())], "build")
        for test in self._all_tests():
            test.inputs = set(self._ninja("-t", "inputs", *test.targets).split())
        self._read_objects()
        if seconds is None:
            self._time_tests()
        else:
            for test in self._all_tests():
                test.seconds = seconds[test.name]

    def seconds(self):
        return {test.name: test.seconds for test in self._all_tests()}

    def _all_tests(self):
        return [test for tests in self.tests.values() for test in tests]

    def _must(self, command, what):
        done = self._run(command, limit=3600)
        if done is None or done.returncode != 0:
            text = "" if done is None else done.stdout[-4000:]
            raise Trouble(f"could not {what} the tree as it is:\n{text}")

    def _ninja(self, *arguments):
        return self._run(["ninja", "-C", self.build, *arguments]).stdout

    def _read_objects(self):
        """From what the compiler told ninja: the object's name, then, set in, the files it was made of."""
        name = None
        for line in self._ninja("-t", "deps").splitlines():
            if line.startswith(" "):
                file = os.path.relpath(self.build / line.strip(), self.place)
                self._objects.setdefault(file, set()).add(name)
            elif line:
                name = line.split(":")[0]

    def _time_tests(self):
        for tests in self.tests.values():
            cases, _ = self._ctest(tests)
            failed = [test for test in tests if cases[test.name].get("status") == "fail"]
            if failed:  # it may have been the load
                again, text = self._ctest(failed)
                failed = [test.name for test in failed if again[test.name].get("status") == "fail"]
                if failed:
                    raise Trouble("these tests fail without any change: " + ", ".join(failed) + "\n" + text[-4000:])
                cases.update(again)
            for test in tests:
                test.seconds = float(cases[test.name].get("time"))

    def _ctest(self, tests):
        """Each test's result by its name, and what ctest prints."""
        report = self.build / "mutate.xml"
        done = self._run(["ctest", "--test-dir", self.build, "-R", _names(tests), "--output-on-failure",
                          "--timeout", "1200", "--output-junit", report], limit=7200, home=True)
        return {case.get("name"): case for case in xml.parse(report).getroot().iter("testcase")}, done.stdout

    # --- Trying

    def try_change(self, file, change):
        """What the tests of the file say of the change. The copy is as before afterwards."""
        path = self.place / file
        original = path.read_text()
        tests = self.tests[tests_of(file)]
        needed = set().union(*(test.inputs for test in tests))
        objects = sorted(self._objects.get(file, set()) & needed)
        if not objects:
            return SURVIVED  # no test is built from it
        before = self._built(objects)
        path.write_text(original[:change.start] + change.new + original[change.end:])
        try:
            if not self._builds(objects):
                return NOT_COMPILED
            after = self._built(objects)
            altered = {name for name in objects if after[name] != before[name]}
            if not altered:
                return EQUIVALENT
            for step in self._steps(file, [test for test in tests if altered & test.inputs]):
                if not self._builds(_targets(step)):
                    return NOT_COMPILED
                verdict = self._verdict(step)
                if verdict != SURVIVED:
                    return verdict
            return SURVIVED
        finally:
            path.write_text(original)
            self._builds(objects)

    def _built(self, objects):
        return {name: hashlib.sha256((self.build / name).read_bytes()).digest() for name in objects}

    def _builds(self, targets):
        done = self._run(["ninja", "-C", self.build, *targets], limit=1200)
        return done is not None and done.returncode == 0

    @staticmethod
    def _steps(file, tests):
        """The tests in the order in which they are likely and cheap to notice: those whose name has a word of the
        file's path, the quick ones, the rest."""
        common = set(re.split(r"[/_.]", file.split("/")[0])) | {"test", "prm", "kiv", "card", "kivctl", "suite"}
        words = set(re.split(r"[/_.]", file)) - common

        def rank(test):
            if words & set(test.name.split("_")):
                return 0
            return 1 if test.seconds < 1 else 2
        for wanted in range(3):
            step = sorted((test for test in tests if rank(test) == wanted), key=lambda test: test.seconds)
            if step:
                yield step

    def _verdict(self, tests):
        """Runs tests until one fails."""
        for test in tests:
            limit = self.timeout + 5 * test.seconds * self.slots
            done = self._run(["ctest", "--test-dir", self.build, "-R", _names([test]), "--timeout", str(int(limit))],
                             limit=limit + 30, home=True)
            if done is None or "***Timeout" in done.stdout:
                return HUNG
            if done.returncode != 0:
                return NOTICED
        return SURVIVED

    def _run(self, command, limit=600, home=False):
        """Runs a command confined to the copy; None when it took too long. Tests get a home of their own."""
        environment = dict(os.environ, LC_ALL="C.UTF-8", GTEST_FAIL_FAST="1", NINJA_STATUS="")
        temporary = self.place.with_name(self.place.name + ".tmp")
        shutil.rmtree(temporary, ignore_errors=True)
        temporary.mkdir(exist_ok=True)
        writable = [self.place]
        cache = _compiler_cache(environment, self.place)
        if cache:
            writable.append(cache)
        if home:
            environment["HOME"] = "/tmp"
        try:
            return subprocess.run(confined(writable, temporary, self.place, command), env=environment, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
                                  timeout=limit)
        except subprocess.TimeoutExpired:
            return None


_cache_directory = []


def _compiler_cache(environment, place):
    """Lets ccache serve every copy from what other builds of the tree left, and returns its directory."""
    if shutil.which("ccache") is None:
        return None
    if not _cache_directory:
        text = subprocess.run(["ccache", "-k", "cache_dir"], capture_output=True, text=True).stdout.strip()
        Path(text).mkdir(parents=True, exist_ok=True)
        _cache_directory.append(Path(text))
    environment["CCACHE_DIR"] = str(_cache_directory[0])
    environment["CCACHE_TEMPDIR"] = str(_cache_directory[0] / "tmp")
    environment.setdefault("CCACHE_BASEDIR", str(place))
    environment.setdefault("CCACHE_SLOPPINESS", "pch_defines,time_macros,include_file_ctime,include_file_mtime")
    return _cache_directory[0]


def _targets(tests):
    return sorted({target for test in tests for target in test.targets})


def _names(tests):
    return "^(" + "|".join(re.escape(test.name) for test in tests) + ")$"
