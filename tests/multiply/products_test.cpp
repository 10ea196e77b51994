// Products through the dispatcher in the range of the transforms, in scratch of exactly the queried size.

#include <gtest/gtest.h>

#include <algorithm>

#include "multiply/dispatch.h"
#include "multiply/fft/length_table.h"
#include "multiply/ntt32/rows.h"
#include "multiply/product_support.h"
#include "multiply/thresholds.h"
#include "multiply/transform_helper.h"
#include "reference/arithmetic.h"
#include "support/levels.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

// The oracle without GMP is quadratic.
constexpr u64 longest_words = KVNUM_HAVE_GMP ? 60'000 : 700;

const GlobalTwiddleTable* table_for(u64 words) {
    ensure_global_table(64 * words);
    return global_table();
}

template <class W>
ExactScratch scratch_for(u64 L, u64 tasks, Rng& rng) {
    MulSizeRecord record;
    mul_Psize<W>(record, L, tasks);
    return ExactScratch(record.scratch_bytes, 16 * rng.below(4), tasks, table_for(std::max(L, longest_words)));
}

// LA, LB in 64-bit words; 32-bit operands are one word shorter, so that lengths are odd.
template <class W>
void check(u64 LA, u64 LB, Rng& rng) {
    constexpr u64 halves = 8 / sizeof(W);
    LA = halves * LA - (halves - 1), LB = halves * LB - (halves - 1);
    const u64 tasks = std::initializer_list<u64>{0, 1, 2, 3, 7}.begin()[rng.below(5)];
    SCOPED_TRACE(::testing::Message() << word_bits<W> << "-bit words, " << LA << " x " << LB << ", tasks " << tasks);
    const auto A = operand<W>(hard_patterns[rng.below(6)], LA, rng),
               B = operand<W>(hard_patterns[rng.below(6)], LB, rng);
    const auto want = reference::product(A.data(), LA, B.data(), LB);
    FencedWords<W> C(LA + LB);
    mul_p<W>(scratch_for<W>(LA + LB, tasks, rng), C, A, LA, B, LB);
    EXPECT_TRUE(same(C.data(), want.data(), LA + LB));

    const u64 first = rng.below(LA + LB), count = rng.between(1, LA + LB - first);
    const u64 formed = std::min(LA, first + count) + std::min(LB, first + count);
    FencedWords<W> window(count);
    mulp_p<W>(scratch_for<W>(formed, tasks, rng), window, first, count, A, LA, B, LB);
    EXPECT_TRUE(same(window.data(), want.data() + first, count)) << "window " << first << " + " << count;

    if (2 * LA > halves * longest_words) return;
    const auto square = reference::product(A.data(), LA, A.data(), LA);
    FencedWords<W> S(2 * LA);
    sqr_p<W>(scratch_for<W>(2 * LA, tasks, rng), S, A, LA);
    EXPECT_TRUE(same(S.data(), square.data(), 2 * LA));
}

TEST(LargeProducts, AreExactAcrossTheThresholdsOfEveryWay) {
    for (auto level : all_levels()) {
        const LevelScope cap(level);
        Rng rng(101);
        for (u64 total : around({59, 80, 100, 120, 160, 232, 500}))
            for (u64 LB : {total / 2, total / 3, total / 10 + 1, u64{1}, u64{16}, u64{17}, u64{33}, u64{48}}) {
                if (LB >= total) continue;
                check<u64>(total - LB, LB, rng);
                check<u32>(total - LB, LB, rng);
            }
    }
}

TEST(LargeProducts, AreExactAtRandomLengths) {
    Rng rng(102);
    for (u64 i = rounds(KVNUM_HAVE_GMP ? 60 : 12); i-- > 0;) {
        const u64 total = 2 + rng.below(2 + rng.below(longest_words - 2));
        const u64 LB = 1 + rng.below(1 + rng.below(total - 1));
        check<u64>(total - LB, LB, rng);
        check<u32>(LB, total - LB, rng);
    }
}

// A little more than a transform of the FFT holds, and more than its longest.
TEST(LargeProducts, AreExactBeyondEveryLengthOfTheFft) {
    Rng rng(104);
    const auto levels = all_levels();
    for (u64 row = 4; row < fft_rows; ++row) {
        const u64 full = fft_row(row).capacity_bits / 64;
        for (u64 total :
             {full + 1, full + 1 + rng.below(full / 20), full + full / 8, full + full / 2, full + full / 2 + 1}) {
            if (total > longest_words) return;
            const LevelScope cap(levels[rng.below(levels.size())]);
            const u64 LB = rng.below(3) == 0 ? 1 + rng.below(total / 2) : total / 2;
            if (rng.below(2) == 0)
                check<u64>(total - LB, LB, rng);
            else
                check<u32>(total - LB, LB, rng);
        }
    }
}

// By further moduli of every number and length, and where these end.
TEST(LargeProducts, AreExactBeyondTheLongestLengthOfTheFft) {
    if (!KVNUM_HAVE_GMP) GTEST_SKIP() << "no fast oracle";
    Rng rng(106);
    const auto levels = all_levels();
    const u64 full = 24'576;
    for (u64 eighths = 1; eighths <= 7; ++eighths)
        for (u64 total : around({full + full / 8 * eighths})) {
            const LevelScope cap(levels[rng.below(levels.size())]);
            for (u64 LB : {total / 2, total - full}) {
                check<u64>(total - LB, LB, rng);
                check<u32>(LB, total - LB, rng);
            }
        }
}

// By halves, of lengths that differ by up to a sixteenth.
TEST(LargeProducts, AreExactByHalves) {
    if (!KVNUM_HAVE_GMP) GTEST_SKIP() << "no fast oracle";
    Rng rng(107);
    const auto levels = all_levels();
    for (u64 total : around({46'080, 49'152, 52'224}))
        for (u64 LB : {total / 2, total / 2 - rng.below(total / 64), total * 15 / 31, total * 15 / 31 - 1}) {
            const LevelScope cap(levels[rng.below(levels.size())]);
            check<u64>(total - LB, LB, rng);
            check<u32>(LB, total - LB, rng);
        }
}

// A little more than rows of the 31-bit transforms hold, with any number of tasks.
TEST(LargeProducts, AreExactBeyondRowsOfThe31BitTransforms) {
    if (!KVNUM_HAVE_GMP) GTEST_SKIP() << "no fast oracle";
    Rng rng(105);
    for (u64 full : {24'576, 32'768, 49'152})
        for (u64 total : {full + 1, full + 2, full + full / 100, full + full / 25})
            for (u64 LB : {total / 2, total / 3}) {
                check<u64>(total - LB, LB, rng);
                check<u32>(total - LB, LB, rng);
            }
}

// An output that starts inside the longer operand: every way of forming the product reads before it stores.
TEST(LargeProducts, WindowsMayOverlapTheOperands) {
    Rng rng(103);
    for (u64 LB : {u64{5}, u64{40}, u64{150}})
        for (u64 LA : {LB + 60, 12 * LB + 60}) {
            const auto A = words<u64>(Pattern::random, LA, rng), B = words<u64>(Pattern::runs, LB, rng);
            const auto want = reference::product(A, B);
            for (u64 at : {u64{0}, LB, LA - 1}) {
                std::vector<u64> both(2 * LA + LB);
                std::copy(A.begin(), A.end(), both.begin());
                mulp_p<u64>(scratch_for<u64>(LA + LB, 1, rng), both.data() + at, 0, LA + LB, both.data(), LA,
                            B.data(), LB);
                EXPECT_TRUE(same(both.data() + at, want.data(), LA + LB)) << LA << " x " << LB << " at " << at;
            }
        }
}

// Wherever the threshold table leads, a set-up fits what the size query answers for a word more.
TEST(LargeProducts, TransformHelpersFitTheSizeQuery) {
    for (u64 p = 0; p + 9 <= 30'000; p += 1 + p / 100)
        for (u64 tasks : {1, 2, 7})
            for (u64 words : {p + 8, p + 9}) {
                u64 bytes;
                mul_iPsize<u64>(bytes, p + 9, tasks);
                ASSERT_LE(TransformHelper<u64>::needs(words, tasks).scratch_bytes, bytes) << words;
                mul_iPsize<u32>(bytes, p + 9, tasks);
                ASSERT_LE(TransformHelper<u32>::needs(words, tasks).scratch_bytes, bytes) << words;
            }
}

// A longer product may need less scratch than a shorter one; the query for all lengths up to L never answers less.
TEST(LargeProducts, ScratchForAllLengthsNeverDecreasesAcrossRows) {
    for (u64 tasks : {1, 2, 3, 4, 8, 16, 64, 1000}) {
        u64 least = 0;
        const auto expect_no_less = [&](u64 words) {
            u64 bytes, bytes_of_pairs;
            mul_iPsize<u64>(bytes, words, tasks);
            mul_iPsize<u32>(bytes_of_pairs, 2 * words, tasks);
            ASSERT_GE(bytes, least) << words << " words, " << tasks << " tasks";
            ASSERT_EQ(bytes, bytes_of_pairs) << words << " words, " << tasks << " tasks";
            ASSERT_LE(TransformHelper<u64>::needs(words, tasks).scratch_bytes, bytes) << words;
            MulSizeRecord record;
            mul_Psize<u64>(record, words, tasks);
            ASSERT_LE(record.scratch_bytes, bytes) << words;
            least = bytes;
        };
        for (u64 words = 1; words < 24'000; words += 1 + words / 50) expect_no_less(words);
        for (const ntt32::RowList* list : {&ntt32::fine_list, &ntt32::coarse_list})
            for (u64 i = 0; i < list->length; ++i) {
                const u64 words = list->rows[i].capacity_bits() / 64;
                if (words < 24'000 || (list == &ntt32::coarse_list && words * 64 <= ntt32::fine_max_bits)) continue;
                expect_no_less(words);
                expect_no_less(words + 1);
            }
    }
}

}  // namespace
}  // namespace kvt::multiply
