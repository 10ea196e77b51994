"""Writes the page of figures, its plots and the README's table from the rows that are kept."""

import json
import os
import re
import statistics
import subprocess

from report_runs import MILLION, ROOT, TEN_MILLION, read_rows

ISAS = {"best": None, "avx512": "AVX-512", "avx2": "AVX2", "scalar": "scalar"}  # best: as the machine says
NAMES = {"gmp": "GMP", "mpfr": "MPFR", "flint": "FLINT", "own": "our product", "one_task": "one task"}
TITLES = {
    "mul": "Balanced products", "sqr": "Squares", "mul2": "Products, two to one", "mul10": "Products, ten to one",
    "mul1000": "Products, a thousand to one", "add_nr": "Words plus words", "mul_nr": "Words times a word", "int_add": "Sums of integers", "real_add": "Sums of real numbers",
    "real_mul": "Products of real numbers, the upper half kept", "rcp": "Reciprocal", "div": "Division",
    "invsqrt": "Inverse square root of a word", "pow": "Powers of a word", "write": "Decimal text of a number",
    "read": "A number from decimal text", "pi": "Pi, without text", "mul, 2 threads": "Balanced products, two threads",
    "tasks": "Two tasks against one",
}

# Why a peer is faster there.
REASONS = [
    ("mul sqr", "Scalar kernels: between Karatsuba's method and the transform GMP has Toom-Cook's."),
    ("rcp div", "Short reciprocals and quotients: by the schoolbook method, as the peers'; ours form a word more for "
     "the accuracy that is promised, check quotient, divisor and remainder against the dividend, and look at table and "
     "scratch."),
    ("invsqrt", "Short roots: ours check each step by its residual."),
    ("pow", "Short powers: what a call costs beside one or two squarings."),
    ("add_nr int_add mul_nr", "Short sums: the choice of the kernel by a table, the entry into a loop of eight words, and "
     "the record of a number."),
]


class Rows:
    def __init__(self, folder):
        self.speed, self.memory = read_rows(folder / "speed.csv"), read_rows(folder / "memory.csv")
        self.program = read_rows(folder / "program.csv")
        self.machine = json.loads((folder / "machine.json").read_text())
        self.best = {"avx512ifma": "AVX-512 IFMA", "avx512": "AVX-512", "avx2": "AVX2"}.get(
            self.machine["Kernels"], self.machine["Kernels"])
        for row in self.speed + self.memory:
            row["a"], row["b"], row["threads"] = int(row["words_a"]), int(row["words_b"]), int(row["threads"])
            for name in ("ratio", "ours_median_ns", "peer_median_ns", "ours_ns_per_word"):
                if name in row:
                    row[name] = float(row[name])

    def isa(self, name):
        return ISAS[name] or self.best

    def find(self, op, peer, isa="best", threads=1, shape=1):
        """By words of the first operand."""
        return {row["a"]: row for row in self.speed
                if (row["op"], row["peer"], row["isa"], row["threads"]) == (op, peer, isa, threads)
                and row["b"] == max(1, round_down(row["a"] / shape))}

    def ratio(self, op, peer, isa, words, threads=1, shape=1):
        row = self.find(op, peer, isa, threads, shape).get(words)
        return row["ratio"] if row else None


def round_down(x):
    return int(x)


def text(value, digits=2):
    return "" if value is None else f"{value:.{digits}f}"


def inverse(value):
    return None if value is None else 1 / value


def table(head, rows):
    rows = [row for row in rows if any(str(cell) for cell in row[1:])]
    if not rows:
        return ""
    lines = [head, ["---"] * len(head)] + rows
    return "\n".join("| " + " | ".join(str(cell) for cell in line) + " |" for line in lines) + "\n\n"


def words_and_digits(words):
    return f"{words:,}"


def plot(path, title, lines, ylabel="peer's time by ours", reference=1, log=True):
    """lines: (label, peer, dashed, {words: value})."""
    lines = [line for line in lines if len(line[3]) > 1]
    if not lines:
        return False
    ends = [x for line in lines for x in line[3]]
    colours = {"GMP": "#1f77b4", "MPFR": "#d95f02", "FLINT": "#2a9d4a"}
    marks = {"GMP": 7, "MPFR": 5, "FLINT": 9}
    script = [f'set terminal svg size 800,440 dynamic background "white" font "sans,13"', f'set output "{path}"',
              f'set title "{title}"', "set logscale x 10", 'set xlabel "words of 64 bits"', 'set format x "10^{%T}"',
              f'set ylabel "{ylabel}"', "set grid xtics ytics lc rgb '#dddddd'", "set key below",
              f"set xrange [{min(ends) / 1.3}:{max(ends) * 1.3}]"]
    if log:
        script += ["set logscale y 2", 'set format y "%g"', "set autoscale y"]
    styles = []
    for i, (label, peer, dashed, points) in enumerate(lines):
        script += [f"$d{i} << END"] + [f"{x} {y:.4f}" for x, y in sorted(points.items())] + ["END"]
        styles.append(f"$d{i} with linespoints lc rgb '{colours.get(peer, '#6a4c93')}' pt {marks.get(peer, 13)} ps 0.5 "
                      f"lw 1.6 dt {dashed} title '{label}'")
    if reference:
        styles.append(f"{reference} with lines lc rgb '#555555' lw 1 notitle")
    script.append("plot " + ", ".join(styles))
    subprocess.run(["gnuplot"], input="\n".join(script), text=True, check=True)
    # What gnuplot says of itself and the time is no part of the picture.
    path.write_text(re.sub(r"<desc>.*?</desc>\n?", "", path.read_text(), flags=re.S))
    return True


DASHES = {"best": 1, "avx512": 4, "avx2": 2, "scalar": 3}


class Page:
    def __init__(self, rows, folder, page):
        self.rows, self.folder, self.page = rows, folder, page
        self.out = []

    def write(self):
        rows = self.rows
        self.out.append(
            "# Benchmarks\n\n"
            "Against GMP, MPFR and FLINT as Debian ships them (FLINT's real numbers are Arb's). A ratio is the peer's "
            "time by ours, the median over alternating runs on the same operands in one process: above 1, we are "
            "faster. One thread and words of 64 bits where nothing else is said; one thread is timed by its own clock, "
            f"two by the wall clock. FLINT's products are those of its own transform, from 128 words on. \"{rows.best}\" are the kernels that this machine runs; for the other instruction "
            "sets the library is capped at them. Made by `bench/report`; the rows are in [benchmarks](benchmarks/).\n\n"
            + table(["Machine", ""], [[name, value] for name, value in rows.machine.items()]))
        note = self.folder / "note.md"  # what is to be known of the run, by hand
        if note.exists():
            self.out.append(note.read_text() + "\n")
        self.at_a_glance()
        self.slower()
        self.plots()
        self.pi()
        self.memory()
        self.page.write_text(re.sub(r"\n{3,}", "\n\n", "".join(self.out)).rstrip() + "\n")

    def at_a_glance(self):
        r = self.rows
        self.out.append("## At a glance\n\nBalanced products:\n\n")
        sizes = sorted({*r.find("mul", "gmp")} | {*r.find("mul", "gmp", "avx2")})
        self.out.append(table(
            ["words", f"GMP, {r.best}", "GMP, AVX2", f"FLINT, {r.best}", "FLINT, AVX2", "ns a word"],
            [[words_and_digits(n), *(text(r.ratio("mul", peer, isa, n)) for peer in ("gmp", "flint")
                                     for isa in ("best", "avx2")),
              text(r.find("mul", "gmp")[n]["ours_ns_per_word"], 1) if n in r.find("mul", "gmp") else ""]
             for n in sizes]))
        lines = []
        for isa in ("best", "avx2"):
            parts = [1 / row["ratio"] for n, row in r.find("sqr", "own", isa).items() if 2 * n >= 200]
            if parts:
                lines.append([f"square in units of our product, median from 100 words, {r.isa(isa)}",
                              text(statistics.median(parts)), f"{min(parts):.2f} to {max(parts):.2f}"])
        for op, what in (("mul", "product"), ("sqr", "square"), ("div", "division"), ("rcp", "reciprocal"),
                         ("invsqrt", "inverse square root"), ("pow", "power"), ("write", "writing decimal"),
                         ("read", "reading decimal"), ("pi_text", "pi with text")):
            for isa in ("best", "avx2"):
                for n, row in sorted(r.find(op, "one_task", isa, threads=2).items()):
                    if n in (131_072, 1_048_576, MILLION, TEN_MILLION):
                        lines.append([f"two tasks, {what} of {n:,} words, {r.isa(isa)}", text(row["ratio"]),
                                      "times one task"])
        self.out.append(table(["", "", ""], lines))
        self.out.append("In units of our own balanced product of the same length, and against the peers:\n\n")
        lines = []
        for op, what in (("rcp", "reciprocal"), ("div", "division"), ("invsqrt", "inverse square root of a word"),
                         ("pow", "power of a word"), ("write", "writing decimal"), ("read", "reading decimal"),
                         ("pi", "pi"), ("pi_text", "pi with text")):
            for n in (MILLION, TEN_MILLION):
                lines.append([f"{what}, {'10^6' if n == MILLION else '10^7'} digits",
                              *(text(inverse(r.ratio(op, "own", isa, n))) for isa in ("best", "avx2")),
                              *(text(r.ratio(op, peer, isa, n)) for peer in ("gmp", "mpfr", "flint")
                                for isa in ("best", "avx2"))])
        self.out.append(table(["operation", f"products, {r.best}", "products, AVX2",
                               *(f"{NAMES[peer]}, {isa}" for peer in ("gmp", "mpfr", "flint")
                                 for isa in (r.best, "AVX2"))], lines))

    def slower(self):
        self.out.append("## Where a peer is faster\n\n")
        compared = [row for row in self.rows.speed if row["peer"] in ("gmp", "mpfr", "flint")]
        groups = {}
        for row in compared:
            if row["ratio"] < 1:
                name = row["op"], f"{NAMES[row['peer']]}, {row['peer_call']}", self.rows.isa(row["isa"]), row["threads"]
                groups.setdefault(name, []).append(row)
        self.out.append(f"{sum(map(len, groups.values()))} of {len(compared)} rows; words and ratio of each:\n\n")
        lines = [[*name, ", ".join(f"{row['a']:,}" + (f" by {row['b']:,}" if row["b"] != row["a"] else "") +
                                   f": {row['ratio']:.2f}" for row in rows)] for name, rows in groups.items()]
        self.out.append(table(["operation", "peer", "kernels", "threads", "words: ratio"], lines))
        slower = {name[0] for name in groups}
        self.out.append("".join(f"- {note}\n" for ops, note in REASONS if slower & set(ops.split())) + "\n")

    def plots(self):
        r = self.rows
        self.out.append("## Ratio over size\n\n")
        kinds = [("mul", "mul", 1, 1), ("sqr", "sqr", 1, 1), ("mul2", "mul", 1, 2), ("mul10", "mul", 1, 10),
                 ("mul1000", "mul", 1, 1000), ("mul, 2 threads", "mul", 2, 1)]
        kinds += [(op, op, 1, 1) for op in ("add_nr", "mul_nr", "int_add", "real_add", "real_mul", "rcp", "div", "invsqrt", "pow", "write",
                                            "read", "pi")]
        for kind, op, threads, shape in kinds:
            lines = []
            for peer in ("gmp", "mpfr", "flint"):
                for isa in ISAS:
                    points = {n: row["ratio"] for n, row in r.find(op, peer, isa, threads, shape).items()}
                    lines.append((f"{NAMES[peer]}, {r.isa(isa)}", NAMES[peer], DASHES[isa], points))
            self.show(kind, lines)
        per_word = [(r.isa(isa), "", DASHES[isa],
                     {n: row["ours_ns_per_word"] for n, row in r.find("mul", "gmp", isa).items()}) for isa in ISAS]
        self.show("product-time", per_word, title="Our balanced product", ylabel="ns a word", reference=0)

    def show(self, kind, lines, title=None, **options):
        path = self.folder / (kind.replace(", ", "-").replace(" ", "-") + ".svg")
        if plot(path, title or TITLES[kind], lines, **options):
            self.out.append(f"![{title or TITLES[kind]}]({os.path.relpath(path, self.page.parent)})\n\n")

    def pi(self):
        r = self.rows
        self.out.append("## Pi by the program\n\nFrom start to the written file, text included; peak memory as the "
                        "system counts it, and what `--memory` compares with the limit:\n\n")
        self.out.append(table(
            ["digits", "threads", "seconds", "peak memory, MiB", "bytes a digit", "foreseen, MiB"],
            [[f"{int(row['digits']):,}", row["threads"], row["seconds"], f"{int(row['peak_bytes']) / 2**20:,.0f}",
              f"{int(row['peak_bytes']) / int(row['digits']):.1f}", f"{int(row['foreseen_bytes']) / 2**20:,.0f}"]
             for row in r.program]))

    def memory(self):
        r = self.rows
        self.out.append("## Memory\n\nWhat one call adds to the resident memory at its peak, in bytes for a byte of the "
                        "first operand: the result, scratch memory, what the peer allocates. Our table of roots is made "
                        "once and kept: its MiB are apart.\n\n")
        lines = {}
        for row in r.memory:
            line = lines.setdefault((row["op"], row["a"]), {"table": row["table_bytes"]})
            line[row["peer"]] = int(row["peer_peak_bytes"]) / (8 * row["a"])
            line.setdefault("ours", int(row["ours_peak_bytes"]) / (8 * row["a"]))
        self.out.append(table(
            ["operation", "words", "ours", "GMP", "MPFR", "FLINT", "table, MiB"],
            [[op, f"{n:,}", *(text(line.get(who), 1) for who in ("ours", "gmp", "mpfr", "flint")),
              f"{int(line['table']) / 2**20:.0f}"] for (op, n), line in lines.items()]))


README_MARKS = "<!-- bench/report: begin -->\n", "<!-- bench/report: end -->\n"


def write_readme_table(rows):
    """The table of ratios in README.md, between its marks."""
    def ratios(op, peer, words, threads=1):
        pair = [rows.ratio(op, peer, isa, words, threads) for isa in ("best", "avx2")]
        return " / ".join(f"{ratio:.1f}" for ratio in pair if ratio is not None)

    size = lambda n: {MILLION: "10^6 digits", TEN_MILLION: "10^7 digits"}.get(n, f"{n:,} words")
    lines = [("product", "mul", n, 1) for n in (24, 500, 12288, 1_048_576)]
    lines += [("product, two threads", "mul", 1_048_576, 2), ("square", "sqr", 12288, 1),
              ("reciprocal", "rcp", MILLION, 1), ("division", "div", MILLION, 1),
              ("inverse square root", "invsqrt", MILLION, 1), ("power", "pow", MILLION, 1),
              ("writing decimal", "write", MILLION, 1), ("reading decimal", "read", MILLION, 1),
              ("pi", "pi", MILLION, 1)]
    text = table(["operation", "size", "GMP", "MPFR", "FLINT"],
                 [[what, size(n), *(ratios(op, peer, n, threads) for peer in ("gmp", "mpfr", "flint"))]
                  for what, op, n, threads in lines])
    path = ROOT / "README.md"
    before, rest = path.read_text().split(README_MARKS[0])
    path.write_text(before + README_MARKS[0] + text.rstrip() + "\n" + README_MARKS[1] + rest.split(README_MARKS[1])[1])
