// Products through the floating-point transform, at every row of its length table, on every instruction set.

#include <xmmintrin.h>

#include "multiply/fft/fft_support.h"
#if KVNUM_HAVE_GMP
#include <gmp.h>
#endif

namespace kvt::multiply {
namespace {

using namespace kvt::test;

void expect_product(const FftTable& table, u64 bits, u64 LA, u64 LB, Pattern pattern, Rng& rng, u64 tasks = 1) {
    const Words a = words<u32>(pattern, LA, rng);
    const Words b = words<u32>(rng.below(4) == 0 ? Pattern::random : pattern, LB, rng);
    FftJob job(fft_engine().plan(bits), table, a, b, 4 * rng.below(16), tasks);
    ASSERT_EQ(job.product(0, LA + LB), reference::product(a, b))
        << level_text() << " bits " << bits << " " << LA << " x " << LB << " " << name_of(pattern) << " tasks "
        << tasks;
}

void expect_square(const FftTable& table, u64 bits, u64 L, Pattern pattern, Rng& rng, u64 tasks = 1) {
    const Words a = words<u32>(pattern, L, rng);
    FftJob job(fft_engine().plan(bits), table, a, {}, 4 * rng.below(16), tasks);
    ASSERT_EQ(job.square(0, 2 * L), reference::product(a, a))
        << level_text() << " bits " << bits << " " << L << " squared " << name_of(pattern) << " tasks " << tasks;
}

// Rows that every pattern is tried on.
u64 last_short_row() { return row_of_points(KVNUM_HAVE_GMP ? u64{1} << 15 : 768); }

TEST(FftEngine, ProductsAtEveryRow) {
    const FftTable table(last_short_row() + 1);
    Rng rng(1);
    for (const kernels::Levels level : all_levels()) {
        const LevelScope scope(level);
        for (u64 row = 0; row <= last_short_row(); ++row) {
            const u64 full = fft_row(row).capacity_bits / 32;
            const u64 least = row == 0 ? 2 : fft_row(row - 1).capacity_bits / 32 + 1;
            for (const Pattern pattern : hard_patterns) {
                // At the capacity, one word more (which is the next row), and between.
                for (const u64 total : {full, full + 1, rng.between(least, full)}) {
                    expect_product(table, 32 * total, total / 2, total - total / 2, pattern, rng);
                    const u64 LA = rng.between(1, total - 1);
                    expect_product(table, 32 * total, LA, total - LA, pattern, rng);
                }
                expect_square(table, 32 * full, full / 2, pattern, rng);
                if (HasFatalFailure()) return;
            }
        }
    }
}

#if KVNUM_HAVE_GMP
// Every row beyond, to 2^22 points and, in a soak, to 2^27: at its capacity, at one bit more than the row before
// holds, and between; squares. The longer, the fewer sets and lengths a row is tried on.
TEST(FftEngine, LongProducts) {
    const bool soak = long_soak();
    const u64 last = row_of_points(u64{1} << (soak ? 27 : 22));
    const FftTable table(last);
    const std::vector<kernels::Levels> levels = all_levels();
    std::vector<kernels::Levels> vector_levels = levels;  // what the longest are tried on
    if (levels.size() > 1) vector_levels.erase(vector_levels.begin());
    constexpr u64 task_counts[] = {1, 2, 3, 7};
    Rng rng(2);
    for (u64 row = last_short_row() + 1; row <= last; ++row) {
        const u64 points = fft_row(row).points;
        const u64 full = fft_row(row).capacity_bits / 32, before = fft_row(row - 1).capacity_bits / 32;
        const auto product = [&](kernels::Levels level, u64 total, Pattern pattern) {
            const LevelScope scope(level);
            const u64 LA = rng.below(4) == 0 ? rng.between(1, total - 1) : total / 2;
            expect_product(table, 32 * total, LA, total - LA, pattern, rng, task_counts[rng.below(4)]);
        };
        const auto any_pattern = [&] { return hard_patterns[rng.below(std::size(hard_patterns))]; };
        // One set of kernels a case, each in turn, or all of them.
        const bool all = points <= u64{1} << (soak ? 22 : 17);
        const auto& candidates = points <= u64{1} << 22 ? levels : vector_levels;
        for (u64 i = 0; i < (all ? levels.size() : 1); ++i) {
            const auto level = [&](u64 turn) {
                return all ? levels[i] : candidates[(row + turn) % candidates.size()];
            };
            product(level(0), full, row % 2 == 0 ? Pattern::random : Pattern::runs);
            product(level(1), before + 1, any_pattern());
            if (points > u64{1} << (soak ? 25 : 19)) continue;
            product(level(2), rng.between(before + 1, full), any_pattern());
            const LevelScope scope(level(0));
            expect_square(table, 32 * full, full / 2, Pattern::random, rng, task_counts[rng.below(4)]);
        }
        if (HasFatalFailure()) return;
    }
}
#endif

// Operands that fill their digits exactly and have the top bit set carry one into a digit beyond.
TEST(FftEngine, OperandsThatFillTheirDigits) {
    const u64 last = row_of_points(KVNUM_HAVE_GMP ? 4096 : 512);
    const FftTable table(last);
    Rng rng(3);
    for (const kernels::Levels level : all_levels()) {
        const LevelScope scope(level);
        for (u64 row = 0; row <= last; ++row) {
            const FftParameters p = fft_row(row);
            const u64 total = p.capacity_bits / 32;
            for (u64 LA = 1; LA < total; ++LA) {
                const bool fills = 32 * LA % p.bits == 0 || LA == total / 2 || LA + 1 == total;
                if (!fills || (total > 300 && LA != total / 2 && rng.below(4) != 0)) continue;
                expect_product(table, p.capacity_bits, LA, total - LA, Pattern::all_ones, rng);
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(FftEngine, EveryNumberOfTasksGivesTheSameWords) {
    const u64 row = row_of_points(u64{1} << (KVNUM_HAVE_GMP ? 17 : 11));
    const FftTable table(row);
    Rng rng(4);
    for (const kernels::Levels level : all_levels()) {
        const LevelScope scope(level);
        for (u64 r : {row - 3, row - 2, row - 1, row}) {
            const u64 total = fft_row(r).capacity_bits / 32 - rng.below(50);
            for (const u64 tasks : {1, 2, 3, 7, 1000}) {
                expect_product(table, 32 * total, total / 2, total - total / 2, Pattern::runs, rng, tasks);
                expect_product(table, 32 * total, 33, total - 33, Pattern::all_ones, rng, tasks);
                expect_square(table, 32 * total, total / 2, Pattern::random, rng, tasks);
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(FftEngine, StepsAndWindowsGiveTheWordsOfTheProduct) {
    const u64 last = row_of_points(KVNUM_HAVE_GMP ? 2048 : 384);
    const FftTable table(last);
    Rng rng(5);
    for (const kernels::Levels level : all_levels()) {
        const LevelScope scope(level);
        for (u64 row = 0; row <= last; ++row) {
            const u64 total = fft_row(row).capacity_bits / 32 - rng.below(10);
            const Words a = words<u32>(Pattern::runs, total / 2, rng);
            const Words b = words<u32>(Pattern::random, total / 3, rng);
            const Words ab = reference::product(a, b), aa = reference::product(a, a);
            FftJob job(fft_engine().plan(32 * total), table, a, b, 4 * rng.below(16));
            for (u64 round = 0; round < 6; ++round) {
                const u64 first = rng.below(total + 20), count = rng.below(total + 20 - first) + (round == 0);
                ASSERT_EQ(job.product(first, count), window_of_words(ab, first, count)) << row << level_text();
                ASSERT_EQ(job.steps(first, count, false), window_of_words(ab, first, count)) << row << level_text();
                ASSERT_EQ(job.square(first, count), window_of_words(aa, first, count)) << row << level_text();
                ASSERT_EQ(job.steps(first, count, true), window_of_words(aa, first, count)) << row << level_text();
            }
        }
    }
}

TEST(FftEngine, TheProductMayReplaceItsOperand) {
    const FftTable table(row_of_points(512));
    Rng rng(6);
    const Words a = words<u32>(Pattern::random, 120, rng);
    Words c = words<u32>(Pattern::random, 240, rng);
    const Words want = reference::product(a, Words(c.begin(), c.begin() + 120));
    FftJob job(fft_engine().plan(240 * 32), table, a, {});
    const Residue residue = job.forward_a();
    u8* bytes = reinterpret_cast<u8*>(c.data());
    job.engine.product(job.plan, table, job.operand_a.data(), residue, {bytes, 120}, {bytes, 0, 240}, true,
                       job.work.data(), 1);
    EXPECT_EQ(c, want);
}

#if KVNUM_HAVE_GMP
// x * y modulo 2^(32 n) + 1, in n + 2 words.
Words wrapped_product(const Words& x, const Words& y, u64 n) {
    const Words xy = reference::product(x, y);
    mpz_t z, m;
    mpz_inits(z, m, nullptr);
    mpz_import(z, xy.size(), -1, 4, 0, 0, xy.data());
    mpz_setbit(m, 32 * n);
    mpz_add_ui(m, m, 1);
    mpz_mod(z, z, m);
    Words out(n + 2);
    mpz_export(out.data(), nullptr, -1, 4, 0, 0, z);
    mpz_clears(z, m, nullptr);
    return out;
}

// Operands as long as the whole transform: the canonical residue modulo 2^wrap + 1.
TEST(FftEngine, LongerProductsWrapWithAMinusSign) {
    const u64 last = row_of_points(1024);
    const FftTable table(last);
    Rng rng(7);
    for (const kernels::Levels level : all_levels()) {
        const LevelScope scope(level);
        for (u64 row = 0; row <= last; ++row) {
            const TransformPlan plan = fft_engine().plan(fft_row(row).capacity_bits);
            ASSERT_EQ(plan.wrap_bits, fft_row(row).capacity_bits);
            ASSERT_EQ(plan.wrap_sign, -1);
            const u64 n = plan.wrap_bits / 32;
            for (u64 round = 0; round < 12; ++round) {
                Words a = words<u32>(hard_patterns[round % 6], n, rng);
                Words b = words<u32>(hard_patterns[(round + round / 6) % 6], n, rng);
                if (round == 10) {  // 2^(wrap - 1) * 2 = -1
                    std::fill(a.begin(), a.end(), 0), std::fill(b.begin(), b.end(), 0);
                    a[n - 1] = 0x80000000, b[0] = 2;
                }
                if (round == 11)  // (2^wrap - 1)^2 = (-2)^2
                    std::fill(a.begin(), a.end(), ~u32{0}), std::fill(b.begin(), b.end(), ~u32{0});
                const Words want = wrapped_product(a, b, n);
                FftJob job(plan, table, a, b, 4 * rng.below(16));
                ASSERT_EQ(job.product(0, n + 2, false), want) << row << " " << round << level_text();
                ASSERT_EQ(job.steps(0, n + 2, false, false), want) << row << " " << round << level_text();
                ASSERT_EQ(job.product(5, 9, false), window_of_words(want, 5, 9));
            }
        }
    }
}
#endif

TEST(FftEngine, PlansAskForTwentyBytesAPoint) {
    for (u64 row = 0; row < fft_rows; ++row) {
        const FftParameters p = fft_row(row);
        for (const u64 bits : {p.capacity_bits, p.capacity_bits - 31}) {
            const TransformPlan plan = fft_engine().plan(bits);
            EXPECT_EQ(plan.points, p.points);
            EXPECT_EQ(plan.operand_bytes, 8 * p.points);
            EXPECT_EQ(plan.operand_bytes + plan.product_bytes, 20 * p.points);
            EXPECT_EQ(2 * plan.operand_bytes + plan.work_bytes, 20 * p.points);
            EXPECT_EQ(plan.task_bytes, 0u);
            EXPECT_EQ(plan.table_bits, bits);
            EXPECT_EQ(plan.capacity_bits, p.capacity_bits);
        }
    }
}

// Other rounding, flushing to zero: neither harms the product, and the caller finds its state as it was.
TEST(FftEngine, RunsInItsOwnFloatingPointState) {
    const u64 row = row_of_points(KVNUM_HAVE_GMP ? 4096 : 512), L = fft_row(row).capacity_bits / 64;
    const FftTable table(row);
    Rng rng(10);
    const Words a = words<u32>(Pattern::runs, L, rng), b = words<u32>(Pattern::all_ones, L, rng);
    const Words want = reference::product(a, b);
    for (const kernels::Levels level : all_levels()) {
        const LevelScope scope(level);
        FftJob job(fft_engine().plan(64 * L), table, a, b);
        const unsigned before = _mm_getcsr();
        for (const unsigned state : {0xffc0u, 0x7f80u, 0x3f80u, 0x5fc0u}) {  // FTZ, DAZ and every rounding mode
            _mm_setcsr(state);
            const Words got = job.product(0, 2 * L);
            const unsigned after = _mm_getcsr();
            _mm_setcsr(before);
            EXPECT_EQ(after, state);
            EXPECT_EQ(got, want);
        }
    }
}

}  // namespace
}  // namespace kvt::multiply
