#!/usr/bin/env python3
"""Shows on a sample what scripts/mutants changes, and what it says of tests that look well, badly and not at all.

usage: mutants_test.py ROOT
"""

import concurrent.futures
import pathlib
import select
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop()).resolve()
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "scripts/lib"))

from mutation import listing, places, rewriting, running, tokens

COMPILE = ("clang++-14", "-std=c++20", "-w", "-O0", "-I", ROOT)


def mutants_of(code):
    """The mutants of a function's body or of declarations, as pairs of a kind and what stands between « and »."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "Code.cpp"
        path.write_text(code)
        return places.mutants_of("Code.cpp", path, ["-std=c++20"])


def changes(code):
    return [(mutant.kind, mutant.place.partition("«")[2].partition("»")[0]) for mutant in mutants_of(code)]


class PlacesTest(unittest.TestCase):
    def test_a_comparison_gets_another_boundary(self):
        self.assertEqual(changes("bool f(int a, int b) { return a < b; }"), [("boundary", "a < b")])

    def test_each_operand_of_a_chain_is_left_out(self):
        self.assertEqual(changes("bool f(bool a, bool b, bool c) { return a && b && c; }"),
                         [("operand", "a"), ("operand", "b"), ("operand", "c")])

    def test_an_operand_is_not_turned_round_too(self):
        self.assertEqual(changes("bool f(int a, bool b) { return a == b || !b; }"), [("operand", "a == b"), ("operand", "!b")])

    def test_a_condition_is_turned_round(self):
        self.assertEqual(changes("void g(); void f(bool a) { if (a) g(); }"), [("condition", "a"), ("call", "g()")])

    def test_so_is_one_that_declares(self):
        self.assertEqual(changes("int g(); void f() { if (int a = g()) a; }"), [("condition", "int a = g()")])

    def test_a_loop_is_not_entered(self):
        self.assertEqual(changes("void f(bool a) { while (a) a = false; }"),
                         [("condition", "a"), ("assignment", "a = false"), ("truth", "false")])

    def test_jumps_are_left_out(self):
        self.assertEqual(changes("void f() { for (;;) { break; } return; }"), [("jump", "break"), ("jump", "return")])

    def test_the_break_of_a_switch_stays(self):
        self.assertEqual(changes("void f(int a) { for (;;) { switch (a) { case 1: break; } } }"), [])

    def test_numbers_and_arithmetic_change(self):
        self.assertEqual(changes("int f(int a) { return a + 7 + 0700; }"),
                         [("answer", "return a + 7 + 0700"), ("arithmetic", "a + 7 + 0700"), ("arithmetic", "a + 7"),
                          ("number", "7")])

    def test_an_answer_that_is_the_default_stays(self):
        self.assertEqual(changes("int* f() { return nullptr; }"), [])

    def test_a_reference_is_no_answer_to_leave_out(self):
        self.assertEqual(changes("int& f(int& a) { return a; }"), [])

    def test_overloaded_operators_count(self):
        self.assertEqual(changes("struct S { bool operator==(const S&) const; S& operator=(const S&); };"
                                 "bool f(S& a, S& b) { a = b; return a == b; }"),
                         [("assignment", "a = b"), ("equality", "a == b")])

    def test_what_makes_room_alone_stays(self):
        self.assertEqual(changes("struct S { void reserve(int); }; void f(S& a, int b) { a.reserve(b + 1); }"), [])

    def test_constants_and_what_the_compiler_decides_stay(self):
        self.assertEqual(changes("const int one = 1; template <int n> void f(int a = 2) {"
                                 "static_assert(n < 4); if constexpr (n > 3) { static const int x = 5; } }"), [])

    def test_lambdas_and_templates_count(self):
        self.assertEqual(changes("template <typename T> void f(T a, T b) { [&] { return a < b; }(); }"),
                         [("call", "[&] { return a < b; }()"), ("boundary", "a < b")])

    def test_a_mutant_says_where_it_is(self):
        mutant, = mutants_of("namespace n {\nstruct S {\n  bool less(int a) {\n    return /* ü */ a < 1'0; // 10\n  }\n};\n}\n")[:1]
        self.assertEqual((mutant.function, mutant.line, mutant.place), ("S::less", 4, "return /* ü */ «a < 1'0» ; // 10"))

    def test_what_does_not_compile_is_an_error(self):
        with self.assertRaisesRegex(RuntimeError, "Code.cpp does not compile"):
            mutants_of("bool f() { return missing; }")


class RewritingTest(unittest.TestCase):
    def rewritten(self, code):
        mutants = mutants_of(code)
        for number, mutant in enumerate(mutants):
            mutant.number = number
        return mutants, rewriting.rewritten(code, mutants)

    def test_mutants_lie_within_each_other(self):
        _, text = self.rewritten("bool f(int a) { if (a < 1) return true; }")
        self.assertEqual(text, rewriting.HEAD + (
            "bool f(int a) { if ((::mutants::on(0) != static_cast<bool>((::mutants::on(1) ? (a <= 1) : (a < (::mutants::on(2) ?"
            " (2) : (1))))))) return (::mutants::on(3) != static_cast<bool>(true)); }"))

    def test_lines_stay_where_they_are(self):
        code = "bool f(int a,\n       int b) {\n  return a <  // less\n         b;\n}\n"
        self.assertEqual(self.rewritten(code)[1].removeprefix(rewriting.HEAD).count("\n"), code.count("\n"))

    def test_a_complaint_is_put_down_to_the_nearest_mutant(self):
        mutants, text = self.rewritten("int f(int a) { return a + 7; }")
        column = text.removeprefix(rewriting.HEAD).index("on(2)") + 1
        self.assertEqual(rewriting.culprit(text, mutants, 1, column).kind, "number")


class TokensTest(unittest.TestCase):
    def test_comments_are_none_and_texts_are_one(self):
        self.assertEqual(tokens.tokens('a /* b */ R"x(" // )x" "\\"//" \'"\' 1\'000u >= // c\n->*d'),
                         ["a", 'R"x(" // )x"', '"\\"//"', "'\"'", "1'000u", ">=", "->*", "d"])


class ListingTest(unittest.TestCase):
    entry = "vellora/A.cpp: A::f: boundary\n  return «a < b» ;\n  Both are\n  the same.\n"

    def test_an_entry_says_what_is_equal_and_why(self):
        self.assertEqual(list(listing.entries("# Of equal ones.\n\n" + self.entry)),
                         [listing.Entry("vellora/A.cpp", "A::f", "boundary", "return «a < b» ;", "Both are the same.")])

    def test_an_entry_without_a_reason_is_an_error(self):
        with self.assertRaises(ValueError):
            list(listing.entries("vellora/A.cpp: A::f: boundary\n  return «a < b» ;\n"))

    def test_an_entry_that_is_no_mutant_any_more_is_told(self):
        listed = list(listing.entries(self.entry))
        self.assertEqual(listing.stale(listed, [], {"vellora/A.cpp"}), listed)
        self.assertEqual(listing.stale(listed, listed, {"vellora/A.cpp"}), [])

    def test_one_of_a_file_that_nobody_looked_at_is_not(self):
        self.assertEqual(listing.stale(list(listing.entries(self.entry)), [], {"vellora/B.cpp"}), [])

    def test_an_entry_is_told_when_tests_notice_all_its_mutants(self):
        listed = list(listing.entries(self.entry))
        mutant = listed[0]
        self.assertEqual(listing.noticed(listed, [(mutant, True)]), listed)
        self.assertEqual(listing.noticed(listed, [(mutant, True), (mutant, False)]), [])
        self.assertEqual(listing.noticed(listed, []), [])

    def test_an_entry_whose_mutant_is_undefined_may_be_noticed_by_chance(self):
        listed = list(listing.entries(self.entry + "  It reads what is gone, on which no test may count.\n"))
        self.assertEqual(len(listed), 1)
        self.assertEqual(listing.noticed(listed, [(listed[0], True)]), [])

    def test_the_entries_of_the_list_stand_in_their_sources(self):
        for entry in listing.entries((ROOT / "tests/mutants/equal.txt").read_text()):
            around = entry.place.replace("«", "").replace("»", "").replace(" ", "")
            self.assertIn(around, "".join((ROOT / entry.file).read_text().split()), entry)


class SampleTest(unittest.TestCase):
    """The sample with its mutants, built as scripts/mutants builds a source, and tried by its two tests."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        folder, source = pathlib.Path(cls.folder.name), ROOT / "tests/mutants/Sample.cpp"
        cls.mutants = places.mutants_of("vellora/Sample.cpp", source, ["-std=c++20"])
        for number, mutant in enumerate(cls.mutants):
            mutant.number = number
        copy, cls.program = folder / "Sample.cpp", folder / "SampleTests"
        copy.write_text(rewriting.rewritten(source.read_text(), cls.mutants))
        others = [ROOT / "tests/mutants" / name for name in ("SampleChecks.cpp", "Active.cpp")]
        subprocess.run([*COMPILE, copy, *others, "-o", cls.program], check=True)
        cls.reach = running.Reach("tests/SampleTests", cls.program, folder, len(cls.mutants), folder / "reach.json")
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            cls.tests, cls.failing = cls.reach.tests(pool)

    def verdict(self, function, place):
        mutant, = [mutant for mutant in self.mutants if mutant.function == function and place in mutant.place]
        reaching = [test for test in self.tests if mutant.number in test.reached]
        return running.verdict(mutant, reaching, {"tests/SampleTests": self.program}, {"tests/SampleTests": self.folder.name})

    def test_no_test_fails_without_a_mutant(self):
        self.assertEqual(self.failing, [])
        self.assertEqual([test.name for test in self.tests], ["SampleTest.FirstHolds", "SampleTest.SecondIsCalled"])

    def test_a_change_that_a_test_looks_at_is_noticed(self):
        for place in ("«number > 3» &&", "«number != 5»", "«note()»"):
            kinds = [m for m in self.mutants if m.function == "first" and place in m.place and m.kind in ("operand", "call")]
            self.assertEqual(len(kinds), 1, place)
        self.assertEqual(self.verdict("first", "«note()»"),
                         {"verdict": "killed", "how": "failed", "by": ["SampleTest.FirstHolds"]})
        self.assertEqual(self.verdict("first", "number > 3 && «number != 5»")["verdict"], "killed")

    def test_a_change_that_no_test_looks_at_survives(self):
        self.assertEqual(self.verdict("second", "«sum += at»"), {"verdict": "survived", "ran": 1, "reaching": 1})

    def test_a_change_where_no_test_comes_is_told_apart(self):
        self.assertEqual(self.verdict("third", "«!(calls > 1)»"), {"verdict": "unreached", "ran": 0, "reaching": 0})

    def test_what_the_compiler_runs_has_no_mutant_on(self):
        self.assertEqual([mutant.kind for mutant in self.mutants if mutant.function == "smaller"][:2], ["condition", "boundary"])

    def test_a_test_that_hangs_or_crashes_has_noticed(self):
        script = pathlib.Path(self.folder.name) / "script"
        for body, limit, end in (("sleep 100", 1, "hung"), ("kill -SEGV $$", 60, "signal 11"), ("exit 1", 60, "failed"),
                                 ("exit 0", 60, "passed")):
            script.write_text(f"#!/bin/sh\n{body}\n")
            script.chmod(0o755)
            self.assertEqual(running.run(script, [], {}, limit, "/"), end)

    def test_a_test_ends_with_who_runs_it(self):
        runner = ("import subprocess, sys; sys.path.insert(0, sys.argv[1]); from mutation import running;"
                  "subprocess.run(['sh', '-c', 'echo begun; exec sleep 1000'], preexec_fn=running.prepare_process)")
        with subprocess.Popen([sys.executable, "-B", "-c", runner, ROOT / "scripts/lib"], stdout=subprocess.PIPE) as process:
            self.assertEqual(process.stdout.readline(), b"begun\n")
            process.kill()
            closed, _, _ = select.select([process.stdout], [], [], 60)  # by all who could write to it
            self.assertTrue(closed)

    def test_the_notes_of_what_is_reached_serve_until_the_program_changes(self):
        class NoPool:
            map = None
        self.assertEqual(self.reach.tests(NoPool()), (self.tests, []))


if __name__ == "__main__":
    unittest.main()
