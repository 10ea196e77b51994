#!/usr/bin/env python3
"""The kvnum program from outside: program_test.py [LAUNCHER] PROGRAM. Python's own integers are the oracle."""

import hashlib
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

COMMAND = []
HUGE = 100_000  # digits


class Program(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def file(self, name, content):
        path = pathlib.Path(self.folder.name) / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path.name

    def path(self, name):
        return pathlib.Path(self.folder.name) / name

    def run_program(self, *arguments, stdin=b""):
        return subprocess.run([*COMMAND, *arguments], input=stdin, capture_output=True, cwd=self.folder.name)

    def product(self, *arguments, stdin=b""):
        """The integer that the program prints."""
        done = self.run_program(*arguments, stdin=stdin)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertRegex(done.stdout, rb"\A-?[0-9a-f]+\n\Z")
        return int(done.stdout, 16)

    def rejected(self, message, *arguments, stdin=b""):
        """One line on standard error, status 2, nothing on standard output."""
        done = self.run_program(*arguments, stdin=stdin)
        self.assertEqual(done.stderr.decode().replace("\r\n", "\n"), f"kvnum: {message}\n")
        self.assertEqual((done.returncode, done.stdout), (2, b""))

    def test_products_of_every_size_and_sign(self):
        rng = random.Random(1)
        for digits_a, digits_b in [(1, 1), (16, 17), (160, 144), (900, 33), (5000, 5000), (HUGE, HUGE), (HUGE, 20)]:
            a = rng.choice((-1, 1)) * rng.getrandbits(4 * digits_a)
            b = rng.choice((-1, 1)) * rng.getrandbits(4 * digits_b)
            names = self.file("a", f"{a:x}\n"), self.file("b", f"{b:x}\n")
            self.assertEqual(self.product("mul", "--hex", *names), a * b, f"{digits_a} by {digits_b} digits")

    def test_squares(self):
        for digits in (1, 200, HUGE):
            a = -int("f" * digits, 16)
            self.assertEqual(self.product("sqr", "--hex", self.file("a", f"{a:x}")), a * a)

    def test_zero_has_no_sign(self):
        zero, other = self.file("zero", "-0x0000"), self.file("other", "-5")
        for names in [(zero, other), (other, zero), (zero, zero)]:
            self.assertEqual(self.run_program("mul", "--hex", *names).stdout, b"0\n")
        self.assertEqual(self.run_program("sqr", "--hex", zero).stdout, b"0\n")

    def test_operand_forms(self):
        b = self.file("b", "1")
        forms = {
            "ff": 0xFF,
            "+FF": 0xFF,
            " \t-0xAb\r\n": -0xAB,
            "0Xab\ncd\r\n\r\n ef\n": 0xABCDEF,
            "- 0 x 1 2": -0x12,
            "0000000000000000000000000001": 1,
            "0": 0,
        }
        for text, value in forms.items():
            self.assertEqual(self.product("mul", "--hex", self.file("a", text), b), value, repr(text))

    def test_standard_input_and_output_file(self):
        b = self.file("b", "3")
        self.assertEqual(self.product("mul", "--hex", "-", b, stdin=b"5\n"), 15)
        self.assertEqual(self.product("mul", "--hex", b, "-", stdin=b"-7"), -21)
        done = self.run_program("mul", "--hex", b, "-", "-o", "out", stdin=b"10")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
        self.assertEqual(self.path("out").read_bytes(), b"30\n")
        self.run_program("sqr", "--hex", b, "-o", "b")
        self.assertEqual(self.path("b").read_bytes(), b"9\n", "the output may replace an operand")

    def test_bad_operands_are_told_with_their_place(self):
        good = self.file("good", "12")
        cases = {
            b"12g4": "line 1, column 3: 'g' is not a hexadecimal digit",
            b"12\n34\r\n 5-6": "line 3, column 3: '-' is not a hexadecimal digit",
            b"0x0x1": "line 1, column 4: 'x' is not a hexadecimal digit",
            b"1x2": "line 1, column 2: 'x' is not a hexadecimal digit",
            b"12\x0034": "line 1, column 3: byte 0x00 is not a hexadecimal digit",
            b"\xc3\xa9": "line 1, column 1: byte 0xc3 is not a hexadecimal digit",
            b"": "line 1, column 1: the file is empty",
            b" \n ": "line 2, column 2: the file ends before a hexadecimal digit",
            b"-": "line 1, column 2: the file ends before a hexadecimal digit",
            b"+0x\n": "line 2, column 1: the file ends before a hexadecimal digit",
        }
        for content, reason in cases.items():
            bad = self.file("bad", content)
            self.rejected(f"bad, {reason}", "mul", "--hex", good, bad, "-o", "out")
            self.assertFalse(self.path("out").exists())
        self.rejected("bad, line 1, column 2: the file ends before a hexadecimal digit",
                      "sqr", "--hex", self.file("bad", "-"))
        self.rejected("standard input, line 1, column 1: the file is empty", "sqr", "--hex", "-")

    def test_files_that_cannot_be_used(self):
        good = self.file("good", "12")
        self.rejected("none, line 1, column 1: cannot be read: No such file or directory", "mul", "--hex", "none", good)
        done = self.run_program("sqr", "--hex", ".")
        self.assertEqual(done.returncode, 2)
        self.assertRegex(done.stderr, rb"\Akvnum: \., line 1, column 1: cannot be read: [^\n]+\n\Z")
        missing = str(pathlib.PurePath("nowhere", "out"))
        done = self.run_program("sqr", "--hex", good, "-o", missing)
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertRegex(done.stderr, rb"\Akvnum: nowhere.out: cannot be written: [^\n]+\n\Z")

    def test_a_bad_operand_leaves_an_existing_output_alone(self):
        bad = self.file("bad", "zz")
        out = self.file("out", "kept")
        self.run_program("sqr", "--hex", bad, "-o", out)
        self.assertEqual(self.path(out).read_bytes(), b"kept")

    def test_usage(self):
        good = self.file("good", "12")
        self.rejected("decimal operands and results come in a later version: use --hex", "mul", good, good)
        self.rejected("only one operand can be standard input", "mul", "--hex", "-", "-")
        for arguments in [(), ("mul", "--hex", good), ("div", good, good), ("sqr", "--threads", "0", good)]:
            done = self.run_program(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, b""), arguments)
            self.assertNotEqual(done.stderr, b"")
        self.assertEqual(self.run_program("--help").returncode, 0)

    @unittest.skipIf(not pathlib.Path("/dev/full").exists(), "no device that is always full")
    def test_a_full_device_is_told(self):
        good = self.file("good", "12")
        if len(COMMAND) == 1:  # the device is the host's
            self.rejected("/dev/full: cannot be written: No space left on device", "sqr", "--hex", good, "-o", "/dev/full")
            self.assertTrue(pathlib.Path("/dev/full").exists())

    def test_same_product_for_any_number_of_threads(self):
        a = self.file("a", hashlib.shake_256(b"a").hexdigest(HUGE // 2))
        b = self.file("b", hashlib.shake_256(b"b").hexdigest(HUGE // 2))
        products = {self.run_program("mul", "--hex", a, b, "--threads", str(n)).stdout for n in (1, 2, 5)}
        self.assertEqual(len(products), 1)


if __name__ == "__main__":
    COMMAND = [str(pathlib.Path(part).resolve()) for part in sys.argv[1:]]
    tests = unittest.defaultTestLoader.loadTestsFromTestCase(Program)
    result = unittest.TextTestRunner(verbosity=1).run(tests)
    # The closing lines that ./test counts.
    bad = len(result.failures) + len(result.errors)
    print(f"[  PASSED  ] {result.testsRun - bad - len(result.skipped)} tests.")
    if bad:
        print(f"[  FAILED  ] {bad} tests, listed below:")
    sys.exit(bad != 0)
