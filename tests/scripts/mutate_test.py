"""scripts/mutate: which changes it makes, and what it says of them in a small tree of its own."""

import shutil
import subprocess
import sys
import tempfile
import textwrap
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts"))
from mutation import changes, workshop  # noqa: E402


def changed(source):
    """The lines that changes make of a source of one line, as a set."""
    return {source[:c.start] + c.new + source[c.end:] for c in changes.changes(source)}


class ChangesTest(unittest.TestCase):
    def test_comparisons_are_flipped_and_moved_by_one(self):
        self.assertEqual(changed("x = a < b;"), {"x = a <= b;", "x = a >= b;"})
        self.assertEqual(changed("x = a == b;"), {"x = a != b;"})

    def test_template_brackets_references_and_pointers_are_no_operators(self):
        self.assertEqual(changed("std::vector<int> f(const T &a, T &&b, T *c);"), set())

    def test_numbers_become_one_more_and_one_less(self):
        self.assertEqual(changed("x = 7;"), {"x = 8;", "x = 6;"})
        self.assertEqual(changed("x = 0x10u;"), {"x = 0x11u;", "x = 0xfu;"})
        self.assertEqual(changed("x = 1'000;"), {"x = 1001;", "x = 999;"})
        self.assertEqual(changed("x = 0u;"), {"x = 1u;"})

    def test_words_and_signs_are_exchanged(self):
        self.assertEqual(changed("x = true;"), {"x = false;"})
        self.assertEqual(changed("x = a && !b;"), {"x = a || !b;", "x = a && b;"})
        self.assertEqual(changed("x = a + b;"), {"x = a - b;"})
        self.assertEqual(changed("x += a;"), {"x -= a;"})

    def test_conditions_are_negated(self):
        self.assertIn("void f() { if (!(found)) g(); }", changed("void f() { if (found) g(); }"))
        self.assertIn("void f() { if (int a = g(); !(a)) h(); }", changed("void f() { if (int a = g(); a) h(); }"))

    def test_a_negation_that_another_change_makes_is_not_made_twice(self):
        self.assertNotIn("void f() { if (!(a == b)) g(); }", changed("void f() { if (a == b) g(); }"))

    def test_statements_are_left_out_and_declarations_are_not(self):
        self.assertEqual(changed("void f() { g(); }"), {"void f() { {} }"})
        self.assertEqual(changed("void f() { T a = b; const T c(b); ns::T<X> *d = b; }"), set())
        self.assertEqual(changed("class T { void f(); T(); };"), set())
        self.assertIn("int f() { if (a) {} return b; }", changed("int f() { if (a) return c; return b; }"))

    def test_a_last_return_stays(self):
        self.assertEqual(changed("int f() { return b; }"), set())

    def test_statements_of_lambdas_and_switches_are_found(self):
        self.assertIn("void f() { g([&] { {} }); }", changed("void f() { g([&] { h(); }); }"))
        self.assertIn("void f() { switch (a) { case B: {} break; } }",
                      changed("void f() { switch (a) { case B: g(); break; } }"))

    def test_comments_texts_and_directives_are_left_alone(self):
        self.assertEqual(changed('// a < 1\n/* !b */ #include <x1>\nconst char *t = "a < 1 && !b" R"(1 < 2)";'), set())
        self.assertEqual(changed("#if A < 1\n#endif\n"), set())

    def test_what_macros_stand_for_is_changed(self):
        self.assertEqual(changed("#define LIMIT 7\n"), {"#define LIMIT 8\n", "#define LIMIT 6\n"})

    def test_what_only_the_compiler_judges_is_left_alone(self):
        self.assertEqual(changed("static_assert(sizeof(T) == 8);"), set())
        self.assertEqual(changed("char text[64];"), set())


class FoldersTest(unittest.TestCase):
    def test_every_source_folder_has_tests(self):
        self.assertEqual(workshop.tests_of("kivctl/gate.cpp"), "kivctl_")
        self.assertEqual(workshop.tests_of("prm/test/src/prm_kiv_acl.cpp"), "suite_|card_suite_")
        self.assertIsNone(workshop.tests_of("tests/kiv/run_test.cpp"))


TREE = {
    "CMakeLists.txt": """\
        cmake_minimum_required(VERSION 3.25)
        project(small LANGUAGES CXX)
        set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
        enable_testing()
        add_executable(kiv_small_test kiv/small.cpp tests/small_test.cpp)
        add_test(NAME kiv_small_test COMMAND kiv_small_test)
        """,
    "CMakePresets.json": """\
        {"version": 6, "configurePresets": [{"name": "release", "generator": "Ninja",
          "binaryDir": "${sourceDir}/build/release", "cacheVariables": {"CMAKE_BUILD_TYPE": "Release"}}]}
        """,
    ".gitignore": "/build/\n",
    "kiv/small.cpp": """\
        int larger(int a, int b) { return a > b ? a : b; }
        """,
    "tests/small_test.cpp": """\
        int larger(int a, int b);
        int clamped(int value);
        int unwatched(int value);
        void wait(volatile long long *left);
        int main() {
            volatile long long left = 3;
            wait(&left);
            unwatched(1);
            return left == 0 && larger(1, 2) == 2 && clamped(9) == 9 && clamped(10) == 10 && clamped(11) == 10 ? 0 : 1;
        }
        """,
}
MORE = """
int clamped(int value) {
    return value > 10 ? 10 : value;
}
int unwatched(int value) {
    return value + 5;
}
void wait(volatile long long *left) {
    while (*left > 0)
        *left -= 1;
}
"""


class MutateTest(unittest.TestCase):
    def setUp(self):
        self.tree = Path(tempfile.mkdtemp(prefix="kiv-mutate-"))
        self.addCleanup(shutil.rmtree, self.tree)
        for name, text in TREE.items():
            self.write(name, textwrap.dedent(text))
        shutil.copytree(ROOT / "scripts" / "mutation", self.tree / "scripts" / "mutation",
                        ignore=shutil.ignore_patterns("__pycache__"))
        shutil.copy2(ROOT / "scripts" / "mutate", self.tree / "scripts" / "mutate")
        self.git("init", "-q", "-b", "main")
        self.git("add", ".")
        self.git("-c", "user.name=t", "-c", "user.email=t", "commit", "-qm", "begin")
        self.git("checkout", "-qb", "branch")
        self.write("kiv/small.cpp", textwrap.dedent(TREE["kiv/small.cpp"]) + MORE)

    def write(self, name, text):
        path = self.tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def git(self, *arguments):
        return subprocess.run(["git", *arguments], cwd=self.tree, check=True, capture_output=True, text=True).stdout

    def mutate(self, *arguments):
        return subprocess.run([self.tree / "scripts" / "mutate", *arguments], cwd=self.tree, capture_output=True,
                              text=True)

    def confined_or_skipped(self):
        reason = workshop.can_confine()
        if reason is not None:
            self.skipTest(reason)

    def test_the_lines_that_the_branch_touched_are_changed(self):
        lines = self.mutate("--list", "--seed", "1").stdout.splitlines()
        self.assertIn("kiv/small.cpp:4: `>` became `>=`", lines)
        self.assertIn("kiv/small.cpp:11: `*left -= 1;` left out", lines)
        self.assertFalse([line for line in lines if line.startswith("kiv/small.cpp:1:")])

    def test_paths_name_whole_files_and_a_base_narrows_them_down(self):
        self.assertIn("kiv/small.cpp:1: `>` became `<=`", self.mutate("--list", "kiv").stdout)
        self.assertNotIn("kiv/small.cpp:1:", self.mutate("--list", "--base", "main", "kiv").stdout)

    def test_a_seed_makes_the_same_changes_again(self):
        once = self.mutate("--list", "--seed", "5", "--count", "4").stdout
        self.assertEqual(len(once.splitlines()), 4)
        self.assertEqual(once, self.mutate("--list", "--seed", "5", "--count", "4").stdout)
        self.assertNotEqual(once, self.mutate("--list", "--seed", "6", "--count", "4").stdout)

    def test_what_is_not_noticed_is_told_with_a_score(self):
        self.confined_or_skipped()
        before = {path: path.read_bytes() for path in self.tree.rglob("*") if path.is_file() and ".git/" not in str(path)}
        done = self.mutate("--seed", "1", "--timeout", "1")
        self.assertEqual(done.returncode, 0, done.stderr)
        told = {line for line in done.stdout.splitlines() if line.startswith("kiv/")}
        self.assertEqual(told, {"kiv/small.cpp:7: `+` became `-`", "kiv/small.cpp:7: `5` became `6`",
                                "kiv/small.cpp:7: `5` became `4`"})
        # `*left -= 1` that adds, takes nothing or is left out waits for ever; who gets 10 for 10 may ask for `> 10`,
        # `>= 10` or `> 9`, which compile to the same.
        self.assertRegex(done.stdout, r"(?m)^kiv +15 +12 +80 %$")
        self.assertIn("3 by hanging; not counted: 0 that do not compile, 2 that leave the code as it is", done.stdout)
        self.assertFalse((self.tree / "build" / "mutate").exists())
        self.assertEqual(before, {path: path.read_bytes() for path in before})
        self.assertEqual(self.git("status", "--short"), " M kiv/small.cpp\n")

    def test_tests_that_fail_without_a_change_are_named(self):
        self.confined_or_skipped()
        self.write("kiv/small.cpp", textwrap.dedent(TREE["kiv/small.cpp"]) + MORE.replace("? 10", "? 9"))
        done = self.mutate("--count", "1")
        self.assertEqual(done.returncode, 1)
        self.assertIn("these tests fail without any change: kiv_small_test", done.stderr)
        self.assertFalse((self.tree / "build" / "mutate").exists())

    def test_a_wrong_command_line_is_told(self):
        done = self.mutate("tests")
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("tests: no sources there", done.stderr)
        done = self.mutate("--base", "nowhere")
        self.assertEqual(done.returncode, 2)
        self.assertIn("nowhere", done.stderr)
        self.git("checkout", "-q", "kiv/small.cpp")
        done = self.mutate()
        self.assertEqual(done.returncode, 2)
        self.assertIn("no line that can be changed was touched", done.stderr)


if __name__ == "__main__":
    unittest.main()
