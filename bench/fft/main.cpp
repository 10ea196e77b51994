// Balanced products and squares of n 64-bit words through the floating-point transform, against GMP on the same
// operands; both sides alternate in short rounds, and the fastest round of each side counts. usage: kvnum_bench_fft
// [phases] [rounds] [n ...]

#include <gmp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kernels/cpu.h"
#include "kernels/residue61.h"
#include "multiply/engine.h"
#include "multiply/fft/fft_component.h"
#include "multiply/fft/fft_table.h"
#include "multiply/fft/length_table.h"
#include "multiply/twiddle_builder.h"

using namespace kvt;
using namespace kvt::multiply;

namespace {

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

// The fastest of several rounds: what the code takes when nothing else runs.
class Fastest {
  public:
    void add(double seconds) { seconds_ = std::min(seconds_, seconds); }
    double seconds() const { return seconds_; }

  private:
    double seconds_ = 1e9;
};

template <class F>
double seconds_of(F&& f, unsigned calls) {
    const double start = now();
    for (unsigned i = 0; i < calls; ++i) f();
    return (now() - start) / calls;
}

template <class F>
unsigned calls_for(F&& f, double seconds) {
    unsigned calls = 1;
    while (seconds_of(f, calls) * calls < seconds && calls < 1u << 24) calls *= 2;
    return calls;
}

struct Product {
    u64 n;
    std::vector<u64> a, b, c, d;
    TransformPlan plan;
    u8* memory;
    const GlobalTwiddleTable& table;

    Product(u64 n, const GlobalTwiddleTable& table)
        : n(n), a(n), b(n), c(2 * n), d(2 * n), plan(fft_engine().plan(128 * n)), table(table) {
        std::mt19937_64 rng(n);
        for (u64& w : a) w = rng();
        for (u64& w : b) w = rng();
        memory = static_cast<u8*>(std::aligned_alloc(64, 20 * plan.points + 64));
    }
    ~Product() { std::free(memory); }
    Product(const Product&) = delete;

    void multiply(u64 tasks) {
        const Residue r = forward(tasks);
        fft_engine().product(plan, table, memory, r, {reinterpret_cast<const u8*>(b.data()), 2 * n}, out(), true,
                             memory + plan.operand_bytes, tasks);
    }
    void square(u64 tasks) {
        const Residue r = forward(tasks);
        fft_engine().product(plan, table, memory, r, {nullptr, 0}, out(), true, memory + plan.operand_bytes, tasks);
    }
    Residue forward(u64 tasks) {
        return fft_engine().forward(plan, table, {reinterpret_cast<const u8*>(a.data()), 2 * n}, memory,
                                    memory + plan.operand_bytes, tasks);
    }
    Window out() { return {reinterpret_cast<u8*>(c.data()), 0, 4 * n}; }
};

void compare(u64 n, const GlobalTwiddleTable& table, unsigned rounds) {
    using kernels::VectorLevel;
    Product p(n, table);
    const auto gmp_product = [&] { mpn_mul_n(p.d.data(), p.a.data(), p.b.data(), n); };
    const auto gmp_square = [&] { mpn_sqr(p.d.data(), p.a.data(), n); };
    const auto ours = [&] { p.multiply(1); };
    const auto ours_square = [&] { p.square(1); };
    const auto ours_two = [&] { p.multiply(2); };

    std::printf("%8lu %7lu/%lu", n, p.plan.points, p.plan.capacity_bits / p.plan.points);
    const VectorLevel top = kernels::supported_levels().vector;
    for (const VectorLevel level : {top, VectorLevel::avx2}) {
        kernels::cap_levels({level, kernels::WordLevel::adx});
        p.multiply(1);
        gmp_product();
        if (p.c != p.d) std::printf(" WRONG"), std::exit(1);
        const unsigned calls = calls_for(ours, 2e-4), gmp_calls = calls_for(gmp_product, 2e-4);
        Fastest product, gmp, square, gmp_squares, two;
        for (unsigned i = 0; i < rounds; ++i) {
            product.add(seconds_of(ours, calls)), gmp.add(seconds_of(gmp_product, gmp_calls));
            square.add(seconds_of(ours_square, calls)), gmp_squares.add(seconds_of(gmp_square, gmp_calls));
            two.add(seconds_of(ours_two, calls));
        }
        std::printf(" | %11.0f %6.2f %6.2f %6.2f %6.2f", product.seconds() * 1e9, gmp.seconds() / product.seconds(),
                    gmp_squares.seconds() / square.seconds(), square.seconds() / product.seconds(),
                    product.seconds() / two.seconds());
        std::fflush(stdout);
    }
    std::printf("\n");
}

// Nanoseconds of the pieces of a product; check is the residues modulo 2^61 - 1 of both operands and the product.
void phases(u64 n, const GlobalTwiddleTable& table, unsigned rounds) {
    Product p(n, table);
    const FftParameters row = fft_row(p.plan.row);
    for (const FftKernels* k : {&fft_kernels_avx512ifma, &fft_kernels_avx2}) {
        if (k->lanes == 8 && kernels::supported_levels().vector < kernels::VectorLevel::avx512ifma) continue;
        kernels::cap_levels(
            {k->lanes == 8 ? kernels::VectorLevel::avx512ifma : kernels::VectorLevel::avx2, kernels::WordLevel::adx});
        const u64 half = row.points / 2, leaf = k->lanes * k->lanes;
        u64 first = row.radix;
        if (row.radix == 1) {
            const int e = __builtin_ctzll(half / leaf);
            first = e <= 1 ? u64{1} << e : k->lanes == 8 ? (e == 3 ? 2 : 4) : (e % 2 == 0 ? 4 : 2);
        }
        const FftShape shape{fft_twiddles(table, row.radix).start, row.radix, half, row.bits, first, false};
        double* x = reinterpret_cast<double*>(p.memory);
        double* y = x + row.points;
        const FftSource source{reinterpret_cast<const u8*>(p.a.data()), 8 * n, false, true, 0, 0};
        i64 carries[8];
        FftExtremes extremes{};
        const auto cut = [&] { k->cut(shape, source, x, 0, half / first / 8); };
        const auto forward = [&] { k->forward(shape, x, 0, first); };
        const auto product = [&] { k->product(shape, y, x, 0, first); };
        const auto square = [&] { k->square(shape, x, 0, first); };
        const auto last = [&] { k->last(shape, y, 0, half / first / 8); };
        const auto carry = [&] {
            k->carry(shape, y, reinterpret_cast<u8*>(y + row.points), 0, 2 * half / k->lanes / 8, carries, extremes);
        };
        const auto check = [&] {
            for (const std::vector<u64>* words : {&p.a, &p.b, &p.c})
                kernels::residue_of(words->data(), 2 * words->size());
        };
        const auto whole = [&] { p.multiply(1); };
        std::memset(p.memory, 0, 20 * row.points);
        const auto time = [&](auto&& f) {
            const unsigned calls = calls_for(f, 1e-4);
            Fastest fastest;
            for (unsigned i = 0; i < rounds; ++i) fastest.add(seconds_of(f, calls));
            return fastest.seconds() * 1e9;
        };
        std::printf(
            "%8lu %7lu/%lu %-10s first %lu cut %.0f forward %.0f product %.0f square %.0f last %.0f carry %.0f", n,
            row.points, row.bits, k->isa, first, time(cut), time(forward), time(product), time(square), time(last),
            time(carry));
        const double checked = time(check), all = time(whole);
        std::printf(" check %.0f whole %.0f, of which %.1f%% check\n", checked, all, 100 * checked / all);
    }
}

}  // namespace

int main(int argc, char** argv) {
    int at = 1;
    const bool by_phase = argc > at && std::string(argv[at]) == "phases";
    at += by_phase;
    const unsigned rounds = argc > at ? static_cast<unsigned>(std::atoi(argv[at++])) : 60;
    std::vector<u64> sizes;
    for (; at < argc; ++at) sizes.push_back(std::strtoull(argv[at], nullptr, 10));
    if (sizes.empty()) sizes = {30, 50, 80, 100, 150, 200, 300, 500, 700, 1000, 1500, 2500, 3500, 5000, 8000, 12288};

    GlobalTwiddleTable table{};
    make_table(table, u64{128} * std::min<u64>(12'288, *std::max_element(sizes.begin(), sizes.end())));
    std::printf(
        "columns a set (%s, avx2): ns, GMP / ours, GMP / ours squares, our square / product, one / two tasks\n",
        kernels::level_name(kernels::supported_levels().vector));
    for (const u64 n : sizes)
        if (by_phase)
            phases(n, table, rounds);
        else
            compare(n, table, rounds);
    free_table(table);
}
