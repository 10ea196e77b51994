// Products and squares of word arrays: schoolbook and Karatsuba, both widths, every instruction set, in buffers that
// end at an unreadable page. The scratch ends there too and has exactly the size of the rule.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kernels/karatsuba.h"
#include "reference/arithmetic.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"

namespace {

using namespace kvt;
using namespace kvt::test;
using namespace kvt::kernels;

template <class W>
FencedWords<W> operand(Pattern pattern, std::size_t n, Rng& rng) {
    FencedWords<W> out(n);
    fill(pattern, out.data(), n, rng);
    return out;
}

template <class W>
std::string hex(const W* words, std::size_t n) {
    constexpr char digits[] = "0123456789abcdef";
    std::string out;
    for (std::size_t i = n; i-- > 0;) {
        for (int shift = word_bits<W> - 4; shift >= 0; shift -= 4) out += digits[words[i] >> shift & 15];
        out += ' ';
    }
    return out;
}

template <class W>
void expect_product(const char* what, const FencedWords<W>& C, const std::vector<W>& want, const FencedWords<W>& A,
                    const FencedWords<W>& B) {
    ASSERT_EQ(C.size(), want.size());
    if (std::memcmp(C.data(), want.data(), want.size() * sizeof(W)) == 0) return;
    ADD_FAILURE() << what << " of " << A.size() << " x " << B.size() << " words, level "
                  << level_name(active_levels().vector) << "/" << level_name(active_levels().word) << "\nA "
                  << hex(A.data(), A.size()) << "\nB " << hex(B.data(), B.size()) << "\ngot  "
                  << hex(C.data(), C.size()) << "\nwant " << hex(want.data(), want.size());
}

template <class W>
void check_product(Pattern pattern, std::size_t LA, std::size_t LB, Rng& rng) {
    const auto A = operand<W>(pattern, LA, rng);
    const auto B = operand<W>(rng.below(4) == 0 ? Pattern::random : pattern, LB, rng);
    const auto want = reference::product(A.data(), LA, B.data(), LB);
    FencedWords<W> C(LA + LB), S(mulK_scratch_words<W>(LA, LB));
    mulB<W>(C, A, LA, B, LB);
    expect_product("mulB", C, want, A, B);
    std::memset(C.data(), 0x5a, C.size() * sizeof(W));
    mulK<W>(C, A, LA, B, LB, S);
    expect_product("mulK", C, want, A, B);
    if (LA != LB) return;
    std::memset(C.data(), 0xa5, C.size() * sizeof(W));
    mulK_balanced<W>(C, A, B, LA, S);
    expect_product("mulK_balanced", C, want, A, B);
}

template <class W>
void check_square(Pattern pattern, std::size_t L, Rng& rng) {
    const auto A = operand<W>(pattern, L, rng);
    const auto want = reference::product(A.data(), L, A.data(), L);
    FencedWords<W> C(2 * L), S(sqrK_scratch_words<W>(L));
    sqrB<W>(C, A, L);
    expect_product("sqrB", C, want, A, A);
    std::memset(C.data(), 0x5a, C.size() * sizeof(W));
    sqrK<W>(C, A, L, S);
    expect_product("sqrK", C, want, A, A);
}

#if KVNUM_HAVE_GMP
constexpr std::size_t dense_words = 80;
#else
constexpr std::size_t dense_words = 27;
#endif

template <class W>
void check_every_small_pair() {
    Rng rng(1);
    for (const Levels level : all_levels()) {
        const LevelScope scope(level);
        for (std::size_t LA = 1; LA <= dense_words; ++LA)
            for (std::size_t LB = 1; LB <= dense_words; ++LB)
                for (const Pattern pattern : {Pattern::all_ones, hard_patterns[rng.below(std::size(hard_patterns))]})
                    check_product<W>(pattern, LA, LB, rng);
        for (std::size_t L = 1; L <= 2 * dense_words; ++L)
            for (const Pattern pattern : hard_patterns) check_square<W>(pattern, L, rng);
    }
}

template <class W>
void check_random_lengths() {
    Rng rng(2);
    const std::size_t longest = KVNUM_HAVE_GMP ? 1000 : 150;
    for (const Levels level : all_levels()) {
        const LevelScope scope(level);
        for (u64 round = 0; round < rounds(60); ++round) {
            const Pattern pattern = hard_patterns[rng.below(std::size(hard_patterns))];
            check_product<W>(pattern, rng.between(1, longest), rng.between(1, longest), rng);
            check_square<W>(pattern, rng.between(1, longest), rng);
        }
    }
}

// Multiples of the shorter length and their neighbours: every branch of the block loop of mulK.
template <class W>
void check_blocks() {
    Rng rng(3);
    for (const std::size_t n : {12, 13, 18, 19, 23, 37})
        for (std::size_t blocks = 1; blocks <= 7; ++blocks)
            for (const std::size_t extra : {std::size_t{0}, std::size_t{1}, n / 2, n - 1})
                for (const Pattern pattern : {Pattern::all_ones, Pattern::random, Pattern::runs})
                    check_product<W>(pattern, blocks * n + extra, n, rng);
}

// Halves that are equal, or differ in one word only; the low half's extra top word zero or not.
template <class W>
void check_halves() {
    Rng rng(4);
    for (std::size_t L = 12; L <= 90; ++L) {
        const std::size_t h = L / 2, l = L - h;
        for (int change = 0; change < 4; ++change) {
            auto A = operand<W>(Pattern::random, L, rng);
            std::memcpy(A.data() + l, A.data(), h * sizeof(W));
            if (l > h) A[h] = change == 1 ? 1 : 0;
            if (change == 2) A[rng.below(h)] ^= 1;
            if (change == 3) A[L - 1] = ~A[L - 1];
            const auto B = operand<W>(Pattern::runs, L, rng);
            FencedWords<W> C(2 * L), S(mulK_scratch_words<W>(L, L)), T(sqrK_scratch_words<W>(L));
            mulK<W>(C, A, L, B, L, S);
            expect_product("mulK", C, reference::product(A.data(), L, B.data(), L), A, B);
            sqrK<W>(C, A, L, T);
            expect_product("sqrK", C, reference::product(A.data(), L, A.data(), L), A, A);
        }
    }
}

TEST(Products, EverySmallPair32) { check_every_small_pair<u32>(); }
TEST(Products, EverySmallPair64) { check_every_small_pair<u64>(); }
TEST(Products, RandomLengths32) { check_random_lengths<u32>(); }
TEST(Products, RandomLengths64) { check_random_lengths<u64>(); }
TEST(Products, KaratsubaBlocks32) { check_blocks<u32>(); }
TEST(Products, KaratsubaBlocks64) { check_blocks<u64>(); }
TEST(Products, KaratsubaHalves32) { check_halves<u32>(); }
TEST(Products, KaratsubaHalves64) { check_halves<u64>(); }

TEST(Products, KaratsubaReadsItsThresholdsOnEveryCall) {
    karatsuba_mul_threshold = 5;
    karatsuba_sqr_threshold = 6;
    Rng rng(5);
    for (std::size_t n = 1; n <= 40; ++n) {
        check_product<u64>(Pattern::runs, n, rng.between(1, 40), rng);
        check_square<u64>(Pattern::runs, n, rng);
    }
    karatsuba_mul_threshold = 18;
    karatsuba_sqr_threshold = 19;
}

// The dispatcher's answer for a product length covers every product and square of that length, in both widths.
template <class W>
void check_entry_covers(u64 longest) {
    for (u64 L = 2; L <= longest; ++L) {
        const u64 working = karatsuba_entry_bytes<W>(L);
        for (u64 LB = 1; LB <= L / 2; ++LB) EXPECT_LE(mulK_scratch_words<W>(L - LB, LB) * sizeof(W), working) << L;
        if (L % 2 == 0) {
            EXPECT_LE(sqrK_scratch_words<W>(L / 2) * sizeof(W), working) << L;
        }
    }
}

TEST(Products, EntryScratchCoversKaratsuba) {
    check_entry_covers<u32>(2048);
    check_entry_covers<u64>(1024);
}

TEST(Products, ScratchRule) {
    EXPECT_EQ(karatsuba_scratch_words(17, 18), 0u);
    EXPECT_EQ(karatsuba_scratch_words(18, 18), 18u);
    EXPECT_EQ(karatsuba_scratch_words(37, 19), 38u + 20u);
    EXPECT_EQ(karatsuba_entry_bytes<u64>(58), (8u * 58 + 39) / 32 * 64 + 24 * 58 + (16 * 58 + 8 * (58 + 30)) + 8);
    EXPECT_EQ(karatsuba_entry_bytes<u32>(116), karatsuba_entry_bytes<u64>(58));
    EXPECT_EQ(karatsuba_entry_bytes<u64>(17), (8u * 17 + 39) / 32 * 64 + 24 * 17 + 8);
}

}  // namespace
