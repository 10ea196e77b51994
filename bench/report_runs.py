"""Runs the comparisons and keeps their rows."""

import csv
import datetime
import json
import os
import pathlib
import re
import shlex
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "release"
PEERS = BUILD / "bench" / "peers" / "kvnum_peers"
PROGRAM = BUILD / "tools" / "kvnum" / "kvnum"

MILLION, TEN_MILLION = 51_906, 519_052  # words of so many decimal digits

PRODUCTS = [4, 6, 8, 10, 12, 16, 24, 30, 40, 50, 75, 100, 150, 200, 350, 500, 750, 1000, 1750, 2500, 5000, 8000,
            12288, 16384, 32768, 65536, 131072, 300_000, 1_048_576]
SPARSE = [16, 50, 150, 500, 1000, 2500, 5000, 12288, 131072]
UNBALANCED = {2: [8, 24, 50, 100, 200, 500, 1000, 2500, 10_000, 40_000, 200_000, 1_000_000],
              10: [40, 100, 240, 500, 1000, 2500, 5000, 20_000, 100_000, 1_000_000],
              1000: [4000, 10_000, 30_000, 100_000, 500_000, 2_000_000]}
SUMS = [4, 10, 30, 100, 300, 1000, 10_000, 100_000, 1_000_000]
NUMBERS = [4, 10, 30, 100, 300, 1000, 3000, 10_000, MILLION]
PI = [104, 519, 5191, MILLION]
MEMORY = [16384, 131072, 1_048_576, 8_388_608]


class Plan:
    """The runs of kvnum_peers: (operations, peers, instruction sets, sizes, further options)."""

    def __init__(self, quick):
        self.quick, self.runs = quick, []
        number_ops = {"gmp": ("rcp", "div", "pow", "write", "read"),
                      "mpfr": ("rcp", "div", "invsqrt", "pow", "write", "read"),
                      "flint": ("rcp", "div", "invsqrt", "pow", "write", "read")}
        self.add("mul sqr", "gmp", "best avx2", PRODUCTS)
        self.add("mul sqr", "gmp", "avx512 scalar", SPARSE)
        self.add("mul sqr", "flint", "best avx2", [n for n in PRODUCTS if n >= 128])
        self.add("mul", "gmp", "best avx2", [8_388_608])
        self.add("mul", "flint", "best", [8_388_608], samples=3)
        self.add("sqr", "own", "best avx2", [n for n in PRODUCTS if n >= 12])
        for shape, sizes in UNBALANCED.items():
            self.add("mul", "gmp flint", "best avx2", sizes, shape=shape)
        self.add("mul", "gmp flint one_task", "best avx2", [1000, 2500, 5000, 12288, 32768, 131072, 1_048_576],
                 threads=2, samples=9)
        self.add("add_nr mul_nr", "gmp", "best", SUMS)
        self.add("int_add", "gmp flint", "best", SUMS)
        self.add("real_add", "gmp mpfr flint", "best", SUMS)
        self.add("real_mul", "mpfr flint", "best avx2", SUMS[:-1])
        for peer, ops in number_ops.items():
            self.add(" ".join(ops), peer, "best avx2", NUMBERS)
            self.add(" ".join(ops), peer, "best", [TEN_MILLION], samples=2)
        self.add("pi", "mpfr flint", "best avx2", PI, samples=3)
        self.add("rcp div invsqrt pow write read pi pi_text", "own", "best avx2", [MILLION, TEN_MILLION],
                 samples=9)
        self.add("sqr rcp div invsqrt pow write read pi_text", "one_task", "best", [MILLION, TEN_MILLION], threads=2,
                 samples=9)
        self.add("mul sqr", "gmp flint", "best", MEMORY, memory=True)
        for peer, ops in number_ops.items():
            self.add(" ".join(ops), peer, "best", [MILLION, TEN_MILLION], memory=True)
        self.add("pi", "mpfr flint", "best", [MILLION], memory=True)

    def add(self, ops, peers, isas, sizes, **options):
        if self.quick:
            sizes = [n for n in sizes if n <= 3000][-2:] or [2000]
        for isa in isas.split():
            for peer in peers.split():
                for op in ops.split():
                    self.runs.append((op, peer, isa, sizes, options))

    def operations(self):
        return {run[0] for run in self.runs} | {"program"}

    def run(self, wanted):
        """By name of the file that keeps them: the rows of the wanted operations, of all if none is named."""
        measured = {}
        runs = [run for run in self.runs if not wanted or run[0] in wanted]
        seconds = 0.02 if self.quick else 0.25
        for i, (op, peer, isa, sizes, options) in enumerate(runs):
            rows = measured.setdefault("memory.csv" if options.get("memory") else "speed.csv", [])
            with tempfile.TemporaryDirectory() as temporary:
                out = pathlib.Path(temporary) / "rows.csv"
                command = [PEERS, "--op", op, "--peer", peer, "--isa", isa, "--sizes", ",".join(map(str, sizes)),
                           "--row-seconds", seconds, "--csv", out]
                for name, value in options.items():
                    command += ["--" + name] + ([] if value is True else [value])
                print(f"[{i + 1}/{len(runs)}]", *command[1:-2], flush=True)
                subprocess.run([str(word) for word in command], check=True, stdout=subprocess.DEVNULL)
                rows += csv.DictReader(out.open())
        if not wanted or "program" in wanted:
            measured["program.csv"] = self.run_program()
        return measured

    def run_program(self):
        """Pi with its text by the program itself: time by phase, peak memory and what it had foreseen."""
        rows = []
        for digits in [10_000] if self.quick else [1_000_000, 10_000_000, 100_000_000]:
            for threads in (1, 2):
                with tempfile.TemporaryDirectory() as temporary:
                    command = [PROGRAM, "pi", digits, "--threads", threads, "--json", "-o",
                               pathlib.Path(temporary) / "pi.txt"]
                    print(*command[1:-2], flush=True)
                    done = subprocess.run([str(word) for word in command], check=True, capture_output=True)
                summary = json.loads(done.stderr)
                rows.append({"digits": digits, "threads": threads, "seconds": round(summary["seconds"], 3),
                             "peak_bytes": summary["peak_bytes"], "foreseen_bytes": summary["foreseen_bytes"],
                             "last_digits": summary["last"]})
        return rows


KEY = ("op", "peer", "isa", "word_isa", "threads", "words_a", "words_b", "digits")  # "digits": the program's rows


def key(row):
    return tuple(str(row.get(name)) for name in KEY)


def read_rows(path):
    return list(csv.DictReader(path.open())) if path.exists() else []


def write_rows(path, rows):
    with path.open("w", newline="") as file:
        out = csv.DictWriter(file, rows[0].keys(), lineterminator="\n")
        out.writeheader()
        out.writerows(rows)


def replace_rows(path, rows, ops):
    """Puts the rows in place of those that are kept of these operations; the others stay, each in its place."""
    new = {key(row): row for row in rows}
    kept = {key(row): row for row in read_rows(path) if key(row) in new or row.get("op", "program") not in ops}
    if rows:
        write_rows(path, list((kept | new).values()))


def output_of(command):
    return subprocess.run(command, shell=True, capture_output=True, text=True, cwd=ROOT).stdout.strip()


def describe_machine():
    cpu = dict(line.split(":", 1) for line in output_of("lscpu").splitlines() if ":" in line)
    field = lambda name: cpu.get(name, "").strip()
    versions = output_of("dpkg-query -W -f='${Package} ${Version}, ' libgmp10 libmpfr6 libflint17 libflint-arb2")
    flags = set(re.findall(r"\S+", field("Flags")))
    return {
        "Processor": f"{field('Model name')}, family {field('CPU family')} model {field('Model')}, "
                     f"{os.cpu_count()} processors",
        "Instruction sets": ", ".join(name for name in ("avx2", "avx512f", "avx512ifma", "adx") if name in flags),
        "Caches": ", ".join(f"{name} {field(name + ' cache')}" for name in ("L1d", "L2", "L3")),
        "Memory": output_of("awk '/MemTotal/ { printf \"%.0f GiB\", $2 / 1048576 }' /proc/meminfo"),
        "System": output_of(". /etc/os-release; echo $PRETTY_NAME") + ", Linux " + output_of("uname -r"),
        "Virtual machine": field("Hypervisor vendor") or "no",
        "Compiler": output_of("g++ --version").splitlines()[0],
        "Peers": versions.rstrip(", "),
        "Kernels": vector_kernels(),
        "Commit": output_of("git describe --always --dirty"),
        "Date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"),
    }


def machine_with_rows_of(ops, old, new):
    """The old description with the commit of these rows, and with what else was different when they were measured."""
    parts = [new["Commit"], new["Date"]] + [f"{name}: {value}" for name, value in new.items()
                                            if name not in ("Commit", "Date") and old.get(name) != value]
    return old | {f"Rows of {op}": "; ".join(parts) for op in ops}


def vector_kernels():
    match = re.search(r"Vector Kernels:\s+(.*)", output_of(f"{shlex.quote(str(PROGRAM))} info"))
    return match.group(1) if match else "unknown"
