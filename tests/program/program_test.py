#!/usr/bin/env python3
"""The kvnum program from outside: program_test.py [LAUNCHER] PROGRAM. Python's own integers are the oracle."""

import decimal
import hashlib
import json
import math
import os
import pathlib
import random
import re
import select
import signal
import subprocess
import sys
import tempfile
import time
import unittest

COMMAND = []
HUGE = 100_000  # digits
# Wine's own line where a pool's thread is only being born while its process ends; the status stays the program's.
WINE_AT_EXIT = re.compile(rb"^wine client error:[0-9a-f]+: sendmsg: Bad file descriptor\n", re.MULTILINE)
SANITIZED = "KVNUM_SANITIZE" in os.environ  # slow, and with memory of its own


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
        done = subprocess.run([*COMMAND, *arguments], input=stdin, capture_output=True, cwd=self.folder.name)
        done.stderr = WINE_AT_EXIT.sub(b"", done.stderr)
        return done

    def succeeded(self, done):
        self.assertEqual((done.returncode, done.stderr), (0, b""), f"printed {done.stdout[:2000]}")

    def product(self, *arguments, stdin=b""):
        """The integer that the program prints."""
        done = self.run_program(*arguments, stdin=stdin)
        self.succeeded(done)
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

    def test_decimal_operands(self):
        rng = random.Random(2)
        for digits in (1, 30, 700, 4000):
            a = rng.choice((-1, 1)) * rng.randrange(10**digits)
            b = rng.choice((-1, 1)) * rng.randrange(1, 10 ** (digits // 2 + 1))
            names = self.file("a", f"{a}\n"), self.file("b", f" {b}")
            self.assertEqual(self.decimal("mul", *names), [a * b])
            self.assertEqual(self.decimal("sqr", names[0]), [a * a])
            quotient = abs(a) // abs(b) * (-1 if (a < 0) != (b < 0) else 1)
            self.assertEqual(self.decimal("div", *names), [quotient, a - quotient * b])
            self.assertEqual(self.product("convert", names[0]), a)
            self.assertEqual(self.decimal("convert", "--hex", self.file("hex", f"{a:x}")), [a])
        a = self.file("a", "-12345678901234567890")
        for n in (0, 1, 7, 50):
            self.assertEqual(self.decimal("pow", a, str(n)), [(-12345678901234567890) ** n])
        zero = self.file("zero", "0")
        self.rejected("division by zero", "div", a, zero)
        self.rejected("a, line 1, column 1: 'f' is not a decimal digit", "sqr", self.file("a", "ff"))
        self.rejected("the power is too long", "pow", self.file("a", "7"), str(2**63))

    def decimal(self, *arguments):
        done = self.run_program(*arguments)
        self.succeeded(done)
        return [int(line) for line in done.stdout.split()]

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
        self.rejected("only one operand can be standard input", "mul", "--hex", "-", "-")
        for arguments in [(), ("mul", "--hex", good), ("mod", good, good), ("sqr", "--threads", "0", good),
                          ("pi",), ("pi", "1", "--framework", "other"), ("pi", "-5")]:
            done = self.run_program(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, b""), arguments)
            self.assertNotEqual(done.stderr, b"")
        self.assertEqual(self.run_program("--help").returncode, 0)
        self.rejected("X: '-1' is no number below 2^64", "sqrt", "-1", "5")
        self.rejected("N: '18446744073709551616' is no number below 2^64", "pow", good, str(2**64))
        self.assertEqual(self.digits("pi", "010"), "3.1415926535")

    @unittest.skipIf(not pathlib.Path("/dev/full").exists(), "no device that is always full")
    def test_a_full_device_is_told(self):
        good = self.file("good", "12")
        if len(COMMAND) == 1:  # the device is the host's
            self.rejected("/dev/full: cannot be written: No space left on device", "sqr", "--hex", good, "-o", "/dev/full")
            self.assertTrue(pathlib.Path("/dev/full").exists())

    @unittest.skipIf(sys.platform == "win32", "links and limits of POSIX")
    def test_outputs_that_are_special(self):
        if len(COMMAND) > 1:
            self.skipTest("the host's files")
        good, target = self.file("good", "3"), self.file("target", "old")
        os.symlink(target, self.path("link"))
        self.assertEqual(self.run_program("sqr", good, "-o", "link").returncode, 0)
        self.assertTrue(self.path("link").is_symlink())
        self.assertEqual(self.path("target").read_bytes(), b"9\n")
        os.symlink("loop", self.path("loop"))
        self.assertEqual(self.run_program("sqr", good, "-o", "loop").returncode, 2)
        self.path("folder.partial").mkdir()
        self.assertEqual(self.run_program("sqr", good, "-o", "folder").returncode, 2)
        self.assertTrue(self.path("folder.partial").is_dir(), "what stood there stays")
        # Standard error that cannot be written changes nothing else.
        shell = 'exec "$@" 2>/dev/full'
        for arguments, status, out in ((["pi", "5"], 0, b"3.14159\n"), (["sqr", "none"], 2, b"")):
            done = subprocess.run(["sh", "-c", shell, "sh", *COMMAND, *arguments], capture_output=True,
                                  cwd=self.folder.name)
            self.assertEqual((done.returncode, done.stdout), (status, out))
        # A limit that the file passes.
        done = subprocess.run(["sh", "-c", 'ulimit -f 1; exec "$@"', "sh", *COMMAND, "pi", "100000", "-o", "big"],
                              capture_output=True, cwd=self.folder.name)
        self.assertEqual((done.returncode, done.stderr), (2, b"kvnum: big: cannot be written: File too large\n"))
        self.assertEqual(list(self.path(".").glob("big*")), [])
        running = subprocess.Popen([*COMMAND, "pi", "30000000", "-o", "hung", "--quiet"], cwd=self.folder.name,
                                   stderr=subprocess.DEVNULL,
                                   preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_DFL))
        while not self.path("hung.partial").exists():
            self.assertIsNone(running.poll())
            time.sleep(0.01)
        running.send_signal(signal.SIGHUP)
        self.assertEqual(running.wait(), 130)
        self.assertEqual(list(self.path(".").glob("hung*")), [])

    def test_same_product_for_any_number_of_threads(self):
        a = self.file("a", hashlib.shake_256(b"a").hexdigest(HUGE // 2))
        b = self.file("b", hashlib.shake_256(b"b").hexdigest(HUGE // 2))
        products = {self.product("mul", "--hex", a, b, "--threads", str(n)) for n in (1, 2, 5)}
        self.assertEqual(len(products), 1)

    # Constants.

    def digits(self, *arguments):
        done = self.run_program(*arguments, "--quiet")
        self.succeeded(done)
        self.assertTrue(done.stdout.endswith(b"\n"))
        return done.stdout.decode().strip()

    def test_constants_from_formulas_of_their_own(self):
        digits = 1200
        unit = 10 ** (digits + 20)

        def atan_sum(pairs, sign):
            """unit times the sum of c * atan(1/x), or atanh(1/x) for sign = 1"""
            total = 0
            for c, x in pairs:
                term, k = unit * c // x, 0
                while term:
                    total += term // (2 * k + 1)
                    term = sign * term // (x * x) if sign > 0 else -(term // (x * x))
                    k += 1
            return total

        e, term, k = 0, unit, 0
        while term:
            e, k = e + term, k + 1
            term //= k
        values = {
            "pi": atan_sum([(16, 5), (-4, 239)], -1),
            "e": e,
            "log 2": atan_sum([(2, 3)], 1),
            "log 10": atan_sum([(6, 3), (2, 9)], 1),
            "sqrt 2": math.isqrt(2 * unit * unit),
            "sqrt 18446744073709551615": math.isqrt((2**64 - 1) * unit * unit),
            "golden": (unit + math.isqrt(5 * unit * unit)) // 2,
            "zeta3": None, "catalan": None, "gamma14": None,
        }
        known = {"zeta3": "1.202056903159594285399738161511449990764986292340498",
                 "catalan": "0.915965594177219015054603514932384110774149374281672",
                 "gamma14": "3.625609908221908311930685155867672002995167682880065"}
        for name, value in values.items():
            got = self.digits(*name.split(), str(digits), "--verify")
            if value is None:
                self.assertTrue(got.startswith(known[name]), name)
                self.assertEqual(len(got), digits + 2)
            else:
                text = str(value)[:-20].zfill(digits + 1)
                self.assertEqual(got, f"{text[:-digits]}.{text[-digits:]}", name)

    def test_whole_square_roots_and_few_digits(self):
        self.assertEqual(self.digits("sqrt", "144", "5"), "12.00000")
        self.assertEqual(self.digits("sqrt", "0", "2"), "0.00")
        self.assertEqual(self.digits("sqrt", str((2**32 - 1) ** 2), "1"), "4294967295.0")
        self.assertEqual(self.digits("pi", "1"), "3.1")
        self.assertEqual(self.digits("pi", "--hex", "40"), "3.243f6a8885a308d313198a2e03707344a4093822")

    def test_digits_do_not_depend_on_threads_or_length(self):
        longest = self.digits("pi", "30000", "--threads", "1")
        for framework in ("none", "spawn", "winpool", "cilk"):
            self.assertEqual(self.digits("pi", "30000", "--threads", "3", "--framework", framework), longest)
        for n in (10, 761, 764, 999, 20000):  # six nines stand behind digit 761
            self.assertEqual(self.digits("pi", str(n)), longest[: n + 2])

    def test_summary(self):
        done = self.run_program("pi", "2000", "--verify", "-o", "out")
        self.assertEqual((done.returncode, done.stdout), (0, b""))
        summary = dict(line.split(None, 1) for line in done.stderr.decode().splitlines())
        text = self.path("out").read_text().strip()
        self.assertEqual(summary["last"], text[-50:])
        self.assertEqual(summary["file"], "out")
        self.assertIn("second formula", summary["checks"])
        done = self.run_program("sqrt", "2", "2000", "--json")
        summary = json.loads(done.stderr)
        self.assertEqual((summary["constant"], summary["digits"], summary["file"]), ("sqrt2", 2000, None))
        self.assertEqual(summary["last"], done.stdout.decode().strip()[-50:])
        self.assertGreater(sum(summary["phases"].values()), 0)
        self.assertLessEqual(sum(summary["phases"].values()), summary["seconds"] + 0.001)

    def test_memory_is_foreseen(self):
        # Its numbers outgrow the precision early, so that many levels of the splitting hold full ones.
        slow = self.file("slow", "p (3000000000k-5)^4 (2000000000k-1)^4\nq 2 (3000000000k+7)^4 (2000000000k+1)^4\n")
        for arguments in (["pi", "300000"], ["zeta3", "100000", "--verify"], ["log", "2", "100000"],
                          ["gamma14", "100000"], ["custom", "50000", "--series", slow, "--threads", "3"],
                          ["pi", "2000000", "--threads", "4"]):
            done = self.run_program(*arguments, "--json", "-o", "out")
            summary = json.loads(done.stderr)
            # What an emulator or a sanitizer keeps for itself counts as the program's.
            if len(COMMAND) == 1 and not SANITIZED:
                self.assertLessEqual(summary["peak_bytes"], summary["foreseen_bytes"], arguments)
            limit = str(summary["foreseen_bytes"] - 1)
            done = self.run_program(*arguments, "--memory", limit, "-o", "other")
            self.assertEqual((done.returncode, done.stdout), (2, b""))
            self.assertRegex(done.stderr, rb"\Akvnum: \d+ digits need [0-9.]+ MiB, more than the limit of [^\n]+\r?\n\Z")
            self.assertFalse(self.path("other").exists())
        self.digits("pi", "10", "--memory", "1G")
        for amount in ("many", "0.5"):
            self.rejected(f"{amount} is no amount of memory: 500M, 2G", "pi", "10", "--memory", amount)

    def test_constants_are_told_what_is_wrong(self):
        self.rejected("log is there for 2 and 10", "log", "3", "10")
        self.rejected("at least one digit", "pi", "0")
        self.rejected("at most 1000000000000000 digits", "pi", str(2**64 - 1))
        missing = str(pathlib.PurePath("nowhere", "out"))
        done = self.run_program("pi", "1000000000", "-o", missing)  # told before anything is computed
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertRegex(done.stderr, rb"\Akvnum: nowhere.out: cannot be written: [^\n]+\n\Z")

    def test_series_of_ones_own(self):
        pi = self.file("pi", "# pi\np - (6k-5) (2k-1) (6k-1)\nq 10939058860032000 k^3\na 13591409 545140134\n"
                       "scale 4270934400\nroot 10005 # its inverse\ninvert\n")
        other = self.file("other", "p (4k-3) (2k-1) (4k-1)\nq 3073907232 k^3\na 1103 26390\nscale 9801\n"
                          "divisor 2\nroot 2\ninvert\n")
        self.assertEqual(self.digits("custom", "5000", "--series", pi, "--against", other), self.digits("pi", "5000"))
        e = self.file("e", "q k")
        self.assertEqual(self.digits("custom", "3000", "--series", e), self.digits("e", "3000"))
        done = self.run_program("custom", "100", "--series", pi, "--against", e, "-o", "out")
        self.assertEqual((done.returncode, done.stdout), (1, b""))
        self.assertIn(b"the second formula gives another value", done.stderr)
        self.assertFalse(self.path("out").exists())
        # Long integer parts, small values, terms that cancel.
        with decimal.localcontext() as context:
            context.prec = 150
            for n, digits in ((100, 10), (60, 10), (-60, 30), (-200, 100), (-30, 5)):
                series = self.file("exp", f"p {'- ' if n < 0 else ''}{abs(n)}\nq k\nscale 7\n")
                value = (7 * decimal.Decimal(n).exp()).quantize(decimal.Decimal(10) ** -digits, decimal.ROUND_DOWN)
                self.assertEqual(self.digits("custom", str(digits), "--series", series), f"{value:f}", n)
        # Terms that fall before they rise.
        term, total, k = 10**1500, 0, 0
        while term != 0:
            total, k = total + term, k + 1
            term = term * 4000 * k * k // (k + 200) ** 3
        dip = self.file("dip", "p 4000 k^2\nq (k+200)^3\n")
        scaled = total // 10**1490
        self.assertEqual(self.digits("custom", "10", "--series", dip), f"{scaled // 10**10}.{scaled % 10**10:010}")
        self.rejected("the sum is below 10^-20 and stands below", "custom", "10", "--quiet", "--series",
                      self.file("exp", "p - 60\nq k\ninvert\n"))
        self.rejected("custom is verified by another series: --against FILE",
                      "custom", "10", "--series", e, "--verify")
        for text, reason in {
            "q": "the series does not converge fast enough",
            "p k\nq (2k-1)\nq 3": "bad, line 3: q stands twice",
            "p k": "bad, line 2: q is missing",
            "q (2k-2)": "bad, line 1: '(2k-2)' is not positive for k = 1",
            "q (2k*3)": "bad, line 1: '(2k*3)' is no factor",
            "q k^0": "bad, line 1: a power is not within 1 to 32",
            "q x": "bad, line 1: 'x' is no number below 2^64",
            "scale 1 2\nq k": "bad, line 1: 2 is too much",
            "sum 1": "bad, line 1: sum is none of p, q, a, scale, divisor, root, invert",
        }.items():
            self.rejected(reason, "custom", "10", "--quiet", "--series", self.file("bad", text))

    def test_info(self):
        done = self.run_program("info")
        self.assertEqual(done.returncode, 0)
        self.assertIn(b"MULv2:", done.stdout)


@unittest.skipIf(sys.platform == "win32", "no pseudo-terminals")
class Terminal(unittest.TestCase):
    def setUp(self):
        if len(COMMAND) > 1:
            self.skipTest("the launcher is between the terminal and the program")
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def start(self, *arguments):
        import pty
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(self.folder.name)
            os.execv(COMMAND[0], [*COMMAND, *arguments])
        self.addCleanup(os.close, terminal)
        return pid, terminal

    def read(self, terminal, until=None, seconds=60):
        """What comes until the program ends, or until that text has come."""
        out, end = b"", time.monotonic() + seconds
        while time.monotonic() < end and (until is None or until not in out):
            if not select.select([terminal], [], [], 0.1)[0]:
                continue
            try:
                piece = os.read(terminal, 1 << 16)
            except OSError:  # the other side is closed
                break
            if not piece:
                break
            out += piece
        return out

    def test_bar_digits_and_file(self):
        digits = 400_000 if SANITIZED else 4_000_000  # long enough for a bar, short enough for its time
        pid, terminal = self.start("pi", str(digits), "--threads", "1")
        out = self.read(terminal).decode()
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), 0)
        self.assertRegex(out, r"\[#*\.+\] +\d+ %  series")
        self.assertRegex(out, rf"3\.14159265\d+\.\.\. {digits} digits \.\.\.\d{{50}}\r\n")
        self.assertIn(f"pi-{digits}.txt", out)
        text = (pathlib.Path(self.folder.name) / f"pi-{digits}.txt").read_text()
        self.assertEqual(len(text), digits + 3)

    def test_quiet_shows_digits_alone(self):
        pid, terminal = self.start("pi", "20", "--quiet")
        self.assertEqual(self.read(terminal), b"3.14159265358979323846\r\n")
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), 0)

    def test_interrupt_leaves_nothing_behind(self):
        pid, terminal = self.start("pi", "50000000", "-o", "out")
        self.assertIn(b"series", self.read(terminal, until=b"series"))
        self.assertEqual(os.listdir(self.folder.name), ["out.partial"])
        begin = time.monotonic()
        os.write(terminal, b"\x03")
        self.assertIn(b"interrupted", self.read(terminal))
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), 130)
        self.assertLess(time.monotonic() - begin, 10)
        self.assertEqual(os.listdir(self.folder.name), [])


if hasattr(sys, "set_int_max_str_digits"):
    sys.set_int_max_str_digits(0)

if __name__ == "__main__":
    COMMAND = [str(pathlib.Path(part).resolve()) for part in sys.argv[1:]]
    tests = unittest.TestSuite(map(unittest.defaultTestLoader.loadTestsFromTestCase, (Program, Terminal)))
    result = unittest.TextTestRunner(verbosity=1).run(tests)
    # The closing lines that ./test counts.
    bad = len(result.failures) + len(result.errors)
    print(f"[  PASSED  ] {result.testsRun - bad - len(result.skipped)} tests.")
    if bad:
        print(f"[  FAILED  ] {bad} tests, listed below:")
    sys.exit(bad != 0)
