// The 64-bit transform against GMP, or on two tasks against one, alternating: products of two operands of n words.
//   bench_ntt64 [-level 0..3] [-tasks N] [-repeats N] [-square] n...
// One task: time of the thread, which leaves out what other processes take. More: the wall clock, against one task.

#include <gmp.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "kernels/cpu.h"
#include "multiply/engine.h"
#include "multiply/ntt64/ntt64_roots.h"

using namespace kvt;
using namespace kvt::multiply;

namespace {

double seconds(clockid_t clock) {
    timespec t;
    clock_gettime(clock, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    u64 tasks = 1, repeats = 5;
    bool square = false;
    std::vector<u64> sizes;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto next = [&] { return i + 1 < argc ? std::strtoull(argv[++i], nullptr, 10) : 0; };
        if (arg == "-level") {
            kernels::cap_levels({static_cast<kernels::VectorLevel>(next()), kernels::WordLevel::adx});
        } else if (arg == "-tasks") {
            tasks = std::max<u64>(next(), 1);
        } else if (arg == "-repeats") {
            repeats = std::max<u64>(next(), 1);
        } else if (arg == "-square") {
            square = true;
        } else {
            sizes.push_back(std::strtoull(argv[i], nullptr, 10));
        }
    }
    const auto roots = std::make_unique<ntt64::Roots>();
    const GlobalTwiddleTable table = ntt64::table_of_roots(roots.get());
    const TransformEngine& engine = ntt64_engine();
    const clockid_t clock = tasks == 1 ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC;
    for (const u64 n : sizes) {
        std::vector<u64> a(n), b(n), c(2 * n), other(2 * n);
        u64 x = 88172645463325252;
        for (u64 i = 0; i < n; ++i) {
            x ^= x << 13, x ^= x >> 7, x ^= x << 17;
            a[i] = x;
            b[i] = x * 0x9e3779b97f4a7c15;
        }
        const TransformPlan plan = engine.plan(128 * n);
        const u64 bytes = plan.operand_bytes + plan.product_bytes + tasks * plan.task_bytes;
        const std::unique_ptr<u8[]> scratch(new u8[bytes]);
        const auto ours = [&](std::vector<u64>& out, u64 used) {
            u8* const work = scratch.get() + plan.operand_bytes;
            const double start = seconds(clock);
            const Residue residue = engine.forward(plan, table, {reinterpret_cast<const u8*>(a.data()), 2 * n},
                                                   scratch.get(), work, used);
            engine.product(plan, table, scratch.get(), residue,
                           {square ? nullptr : reinterpret_cast<const u8*>(b.data()), square ? 0 : 2 * n},
                           {reinterpret_cast<u8*>(out.data()), 0, 4 * n}, true, work, used);
            return seconds(clock) - start;
        };
        const auto theirs = [&] {
            if (tasks > 1) return ours(other, 1);
            const double start = seconds(clock);
            if (square) {
                mpn_sqr(other.data(), a.data(), static_cast<mp_size_t>(n));
            } else {
                mpn_mul_n(other.data(), a.data(), b.data(), static_cast<mp_size_t>(n));
            }
            return seconds(clock) - start;
        };
        std::vector<double> times, ratios;
        for (u64 r = 0; r < repeats; ++r) {
            const double peer = theirs();
            times.push_back(ours(c, tasks));
            ratios.push_back(peer / times.back());
        }
        const double words = 2 * static_cast<double>(n);
        std::printf(
            "n %10llu  points %10llu  scratch %.1f bytes/word  best %.1f median %.1f ns/word  %s/ours %.2f%s\n",
            static_cast<unsigned long long>(n), static_cast<unsigned long long>(plan.points),
            static_cast<double>(bytes) / words, 1e9 * *std::min_element(times.begin(), times.end()) / words,
            1e9 * median(times) / words, tasks > 1 ? "one task" : "GMP", median(ratios),
            c == other ? "" : "  DIFFERENT");
        std::fflush(stdout);
    }
}
