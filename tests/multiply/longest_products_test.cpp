// Products through the dispatcher where the number-theoretic transforms begin to take seconds: at every row's capacity
// and a word more, and around the end of the 31-bit transforms. Too long for the oracle, so checked modulo two primes
// that are not the library's own check. Nearly all of it only in the soak run: KVNUM_TEST_SCALE of 10 or more.

#include <gtest/gtest.h>

#include <algorithm>

#include "multiply/dispatch.h"
#include "multiply/engine.h"
#include "multiply/ntt32/rows.h"
#include "multiply/product_support.h"
#include "multiply/thresholds.h"
#include "reference/arithmetic.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

bool is_soak() { return rounds(1) >= 10; }

// The number modulo the prime 2^61 - below.
u64 modulo(const u64* words, u64 n, u64 below) {
    constexpr u64 low61 = (u64{1} << 61) - 1;
    u64 r = 0;
    while (n-- > 0) {
        u128 x = u128{r} * (8 * below) + words[n];  // r 2^64 + word
        while (x >> 61 != 0) x = (x >> 61) * below + static_cast<u64>(x & low61);
        r = static_cast<u64>(x);
    }
    const u64 p = low61 + 1 - below;
    return r >= p ? r - p : r;
}

void check(u64 total, Pattern pattern, u64 tasks, Rng& rng) {
    const u64 LB = total / 2, LA = total - LB;
    SCOPED_TRACE(::testing::Message() << LA << " x " << LB << " words, " << name_of(pattern));
    const auto A = operand<u64>(pattern, LA, rng), B = operand<u64>(Pattern::random, LB, rng);
    ensure_global_table(64 * total);
    MulSizeRecord record;
    mul_Psize<u64>(record, total, tasks);
    FencedWords<u64> C(total);
    mul_p<u64>(ExactScratch(record.scratch_bytes, 0, tasks, global_table()), C, A, LA, B, LB);
    for (const u64 below : {31, 45}) {
        const u64 p = (u64{1} << 61) - below;
        const u64 want = static_cast<u64>(u128{modulo(A, LA, below)} * modulo(B, LB, below) % p);
        EXPECT_EQ(modulo(C, total, below), want) << "modulo 2^61 - " << below;
    }
}

TEST(LongestProducts, TheCheckTellsWrongWordsFromRightOnes) {
    Rng rng(110);
    auto A = words<u64>(Pattern::random, 500, rng), B = words<u64>(Pattern::runs, 300, rng);
    auto C = reference::product(A, B);
    for (const u64 below : {31, 45}) {
        const u64 p = (u64{1} << 61) - below;
        const u64 want = static_cast<u64>(u128{modulo(A.data(), 500, below)} * modulo(B.data(), 300, below) % p);
        EXPECT_EQ(modulo(C.data(), 800, below), want);
        C[417] ^= 1;
        EXPECT_NE(modulo(C.data(), 800, below), want);
        C[417] ^= 1;
    }
}

TEST(LongestProducts, AtEveryRowsCapacityAndAWordMore) {
    if (!is_soak()) GTEST_SKIP() << "soak only";
    Rng rng(111);
    u64 previous = 0;
    for (u64 number = 0; number < 208; ++number) {
        const u64 bits = ntt32::row_of(number).capacity_bits();
        if (bits <= previous || bits > u64{1} << 28) continue;  // the lists overlap
        previous = bits;
        for (u64 total : {bits / 64, bits / 64 + 1, bits / 64 + bits / 64 / 40})
            check(total, hard_patterns[rng.below(6)], 1 + number % 3, rng);
    }
}

// From 2^22 points on rows are written by whole cache lines, around the caches: the rows must lie on lines wherever the
// scratch lies, and the size that was asked for must have room for that.
TEST(LongestProducts, ScratchOffTheCacheLines) {
    constexpr u64 LA = u64{1} << 21, LB = LA - 3, total = LA + LB;
    ASSERT_GE(ntt32_engine().plan(64 * total).points, u64{1} << 22);
    CapturedConsole console;  // a warning
    Rng rng(113);
    const auto A = operand<u64>(Pattern::random, LA, rng);
    FencedWords<u64> B(LB), want(total), C(total);
    // A times 1 + 2^(64 (LB - 1)).
    std::fill(B.begin(), B.end(), 0);
    B[0] = B[LB - 1] = 1;
    std::copy_n(A.data(), LA, want.begin());
    std::fill(want.begin() + LA, want.end(), 0);
    u64 carry = 0;
    for (u64 i = 0; i < LA || carry != 0; ++i) {
        const u128 sum = u128{want[LB - 1 + i]} + (i < LA ? A[i] : 0) + carry;
        want[LB - 1 + i] = static_cast<u64>(sum);
        carry = static_cast<u64>(sum >> 64);
    }
    ensure_global_table(64 * total);
    for (const u64 skew : {8, 16, 24, 40, 1, 63}) {
        const u64 tasks = 1 + skew / 16 % 2;
        MulSizeRecord record;
        mul_Psize<u64>(record, total, tasks);
        std::fill(C.begin(), C.end(), 0);
        mul_p<u64>(ExactScratch(record.scratch_bytes, skew, tasks, global_table()), C, A, LA, B, LB);
        ASSERT_TRUE(std::equal(C.begin(), C.end(), want.begin())) << "skew " << skew << ", " << tasks << " tasks";
        if (!is_soak()) break;
    }
}

TEST(LongestProducts, AroundTheEndOfThe31BitTransforms) {
    if (!is_soak()) GTEST_SKIP() << "soak only";
    Rng rng(112);
    for (const u64 bits : {u64{1} << 30, u64{3} << 30}) {
        for (u64 total : {bits / 64, bits / 64 + 1}) check(total, Pattern::random, 2, rng);
    }
    check((u64{3} << 30) / 64 + (u64{1} << 20), Pattern::all_ones, 2, rng);
}

}  // namespace
}  // namespace kvt::multiply
