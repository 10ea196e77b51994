// The 31-bit transforms against GMP, alternating: products of two n-word operands.
//   bench_ntt32 [-level N] [-tasks N] [-rows] [-square] [-repeats N] n...
// -rows: instead, every row of the lists up to n words a factor, at its capacity: nanoseconds per product word.

#include <gmp.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "kernels/cpu.h"
#include "multiply/engine.h"
#include "multiply/ntt32/layout.h"
#include "multiply/twiddle_builder.h"
#include "threads/builtin.h"
#include "threads/framework.h"

using namespace kvt;
using namespace kvt::multiply;

namespace {

struct Options {
    kernels::Levels cap = kernels::no_cap;
    u64 tasks = 1;
    bool rows = false, square = false;
    unsigned repeats = 0;
} options;

// Processor time of the thread when there is one, so that others on the machine count less.
double seconds() {
    timespec t;
    clock_gettime(options.tasks == 1 ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}
double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

struct Buffers {
    explicit Buffers(u64 n) : a(n), b(n), c(2 * n + 2) {
        u64 x = 88172645463325252ull;
        for (auto* v : {&a, &b}) {
            for (u64& w : *v) {
                x ^= x << 13;
                x ^= x >> 7;
                x ^= x << 17;
                w = x;
            }
        }
    }
    std::vector<u64> a, b, c;
};

double time_ours(const TransformPlan& plan, const GlobalTwiddleTable& table, Buffers& data, u8* scratch, u64 n) {
    u8* const operand = scratch;
    u8* const work = scratch + plan.operand_bytes;
    const Operand a{reinterpret_cast<const u8*>(data.a.data()), 2 * n};
    const Operand b{options.square ? nullptr : reinterpret_cast<const u8*>(data.b.data()),
                    options.square ? 0 : 2 * n};
    const double start = seconds();
    const Residue residue = ntt32_engine().forward(plan, table, a, operand, work, options.tasks);
    ntt32_engine().product(plan, table, operand, residue, b, {reinterpret_cast<u8*>(data.c.data()), 0, 4 * n}, true,
                           work, options.tasks);
    return seconds() - start;
}

double time_gmp(Buffers& data, u64 n) {
    const double start = seconds();
    if (options.square) {
        mpn_sqr(data.c.data(), data.a.data(), static_cast<mp_size_t>(n));
    } else {
        mpn_mul_n(data.c.data(), data.a.data(), data.b.data(), static_cast<mp_size_t>(n));
    }
    return seconds() - start;
}

void measure(const TransformPlan& plan, const GlobalTwiddleTable& table, u64 n, bool against_gmp) {
    Buffers data(n);
    const std::unique_ptr<u8[]> scratch(
        new u8[plan.operand_bytes + plan.product_bytes + options.tasks * plan.task_bytes]);
    std::vector<double> ours, theirs, ratios;
    const double first = time_ours(plan, table, data, scratch.get(), n);
    const unsigned repeats =
        options.repeats != 0 ? options.repeats : static_cast<unsigned>(std::clamp(0.3 / first, 3.0, 200.0));
    for (unsigned i = 0; i < repeats; ++i) {
        if (against_gmp && (i < 15 || first < 0.001)) {
            const double gmp = time_gmp(data, n);
            ours.push_back(time_ours(plan, table, data, scratch.get(), n));
            ratios.push_back(gmp / ours.back());
        } else {
            ours.push_back(time_ours(plan, table, data, scratch.get(), n));
        }
    }
    const ntt32::Row row = ntt32::row_of(plan.row);
    const double words = 2.0 * static_cast<double>(n);
    std::printf("n %9llu  row %3llu (%d,%d,%2d)  fill %.3f  best %7.2f  median %7.2f ns/word",
                static_cast<unsigned long long>(n), static_cast<unsigned long long>(plan.row), row.count, row.radix,
                row.exponent, 64 * words / static_cast<double>(plan.capacity_bits),
                1e9 * *std::min_element(ours.begin(), ours.end()) / words, 1e9 * median(ours) / words);
    if (against_gmp) std::printf("  GMP/ours %.2f", median(ratios));
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<u64> sizes;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto next = [&] { return std::strtoull(argv[++i], nullptr, 10); };
        if (arg == "-level") {
            options.cap.vector = static_cast<kernels::VectorLevel>(next());
        } else if (arg == "-tasks") {
            options.tasks = next();
        } else if (arg == "-repeats") {
            options.repeats = static_cast<unsigned>(next());
        } else if (arg == "-rows") {
            options.rows = true;
        } else if (arg == "-square") {
            options.square = true;
        } else {
            sizes.push_back(std::strtoull(argv[i], nullptr, 10));
        }
    }
    kernels::cap_levels(options.cap);
    if (options.tasks > 1) Threads::set_current_framework(&Threads::winpool_framework());
    if (sizes.empty()) sizes = {16384, 131072, 1 << 20};
    const u64 largest = *std::max_element(sizes.begin(), sizes.end());
    GlobalTwiddleTable table{};
    TableBuilder builder;
    builder.ntt1.configure(128 * largest);
    builder.ntt2.configure(128 * largest);
    builder.cover(128 * largest);
    builder.build_into(table);
    if (options.rows) {
        for (u64 number = 0; number < 208; ++number) {
            TransformPlan plan;
            ntt32::plan_row(plan, number);
            if (plan.capacity_bits > 128 * largest) continue;
            if (number >= 104 && plan.capacity_bits <= ntt32::fine_max_bits) continue;
            measure(plan, table, plan.capacity_bits / 128, false);
        }
    } else {
        for (u64 n : sizes) measure(ntt32_engine().plan(128 * n), table, n, true);
    }
    free_table(table);
}
