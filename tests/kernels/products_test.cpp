// Products and squares of word arrays: schoolbook and Karatsuba, both widths, every instruction set, in buffers that
// end at an unreadable page. The scratch ends there too and has exactly the size of the rule.

#include <gtest/gtest.h>

#include <cstring>
#include <span>
#include <string>

#include "kernels/direct.h"
#include "kernels/ifma52.h"
#include "kernels/karatsuba.h"
#include "reference/arithmetic.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"

namespace {

using namespace kvt;
using namespace kvt::test;
using namespace kvt::kernels;

// Blocks that end at an unreadable page, kept for the whole run: arrays are laid against their ends.
enum Slot { slot_a, slot_b, slot_c, slot_scratch };

unsigned char* last_bytes(Slot slot, std::size_t bytes) {
    static const FencedBytes blocks[] = {FencedBytes(1 << 16), FencedBytes(1 << 16), FencedBytes(1 << 16),
                                         FencedBytes(1 << 18)};
    EXPECT_LE(bytes, blocks[slot].size());
    return blocks[slot].data() + blocks[slot].size() - bytes;
}

template <class W>
std::span<W> array(Slot slot, std::size_t n) {
    return {reinterpret_cast<W*>(last_bytes(slot, n * sizeof(W))), n};
}

template <class W>
std::span<W> operand(Slot slot, Pattern pattern, std::size_t n, Rng& rng) {
    const auto out = array<W>(slot, n);
    fill(pattern, out.data(), n, rng);
    return out;
}

template <class W>
std::string hex(std::span<const W> words) {
    constexpr char digits[] = "0123456789abcdef";
    std::string out;
    for (std::size_t i = words.size(); i-- > 0;) {
        for (int shift = word_bits<W> - 4; shift >= 0; shift -= 4) out += digits[words[i] >> shift & 15];
        out += ' ';
    }
    return out;
}

// A product and the words it must have; C is filled anew before each method.
template <class W>
struct Case {
    std::span<const W> A, B;
    std::vector<W> want = reference::product(A.data(), A.size(), B.data(), B.size());
    std::span<W> C = array<W>(slot_c, A.size() + B.size());

    template <class Method>
    void expect(const char* what, std::size_t scratch_bytes, Method method) {
        std::memset(C.data(), 0x5a, C.size_bytes());
        method(C.data(), last_bytes(slot_scratch, scratch_bytes));
        if (std::memcmp(C.data(), want.data(), C.size_bytes()) == 0) return;
        ADD_FAILURE() << what << " of " << A.size() << " x " << B.size() << " words, level "
                      << level_name(active_levels().vector) << "/" << level_name(active_levels().word) << "\nA "
                      << hex<W>(A) << "\nB " << hex<W>(B) << "\ngot  " << hex<W>(C) << "\nwant " << hex<W>(want);
    }
};

template <class W>
void check_product(std::span<const W> A, std::span<const W> B) {
    const std::size_t LA = A.size(), LB = B.size();
    const std::size_t karatsuba_bytes = mulK_scratch_words<W>(LA, LB) * sizeof(W);
    Case<W> product{A, B};
    product.expect("mulB", 0, [&](W* C, void*) { mulB(C, A.data(), LA, B.data(), LB); });
    product.expect("mulK", karatsuba_bytes,
                   [&](W* C, void* S) { mulK(C, A.data(), LA, B.data(), LB, static_cast<W*>(S)); });
    product.expect("direct_multiply", direct_multiply_scratch_bytes<W>(LA, LB),
                   [&](W* C, void* S) { direct_multiply(C, A.data(), LA, B.data(), LB, S); });
    if (LA == LB)
        product.expect("mulK_balanced", karatsuba_bytes,
                       [&](W* C, void* S) { mulK_balanced(C, A.data(), B.data(), LA, static_cast<W*>(S)); });
}

template <class W>
void check_square(std::span<const W> A) {
    const std::size_t L = A.size();
    Case<W> square{A, A};
    square.expect("sqrB", 0, [&](W* C, void*) { sqrB(C, A.data(), L); });
    square.expect("sqrK", sqrK_scratch_words<W>(L) * sizeof(W),
                  [&](W* C, void* S) { sqrK(C, A.data(), L, static_cast<W*>(S)); });
    square.expect("direct_square", direct_square_scratch_bytes<W>(L),
                  [&](W* C, void* S) { direct_square(C, A.data(), L, S); });
}

template <class W>
void check_product(Pattern pattern, std::size_t LA, std::size_t LB, Rng& rng) {
    const auto A = operand<W>(slot_a, pattern, LA, rng);
    const auto B = operand<W>(slot_b, rng.below(4) == 0 ? Pattern::random : pattern, LB, rng);
    check_product<W>(A, B);
}

template <class W>
void check_square(Pattern pattern, std::size_t L, Rng& rng) {
    check_square<W>(operand<W>(slot_a, pattern, L, rng));
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
            const auto A = operand<W>(slot_a, Pattern::random, L, rng);
            std::memcpy(A.data() + l, A.data(), h * sizeof(W));
            if (l > h) A[h] = change == 1 ? 1 : 0;
            if (change == 2) A[rng.below(h)] ^= 1;
            if (change == 3) A[L - 1] = ~A[L - 1];
            check_product<W>(A, operand<W>(slot_b, Pattern::runs, L, rng));
            check_square<W>(A);
        }
    }
}

// The same where the radix-2^52 products split: halves that are equal or nearly so, and those whose difference or whose
// products are as large as can be.
template <class W>
void check_limb_halves() {
    Rng rng(6);
    for (const std::size_t bytes : {600, 604, 800, 1220, 1616, 2400, 6656}) {
        const std::size_t longer = bytes / sizeof(W), low = ifma52_half(longer * sizeof(W)) * 52 / 8;
        for (const std::size_t shorter : {longer, longer - 1, longer * 7 / 8, longer * 3 / 4}) {
            for (int kind = 0; kind < 8; ++kind) {
                const auto A = operand<W>(slot_a, kind < 4 ? Pattern::random : Pattern::all_ones, longer, rng);
                const auto B = operand<W>(slot_b, kind < 6 ? Pattern::all_ones : Pattern::random, shorter, rng);
                auto* const a = reinterpret_cast<unsigned char*>(A.data());
                auto* const b = reinterpret_cast<unsigned char*>(B.data());
                if (kind < 4) std::memcpy(a + low, a, longer * sizeof(W) - low);
                if (kind == 1) a[rng.below(longer * sizeof(W))] ^= 1;
                if (kind == 2) std::memset(a + (longer * sizeof(W) - low), 0, 2 * low - longer * sizeof(W));
                if (kind == 4 || kind == 5) std::memset(a, 0, low);
                if (kind == 5) std::memset(b + low, 0, shorter * sizeof(W) - low);
                if (kind == 7) std::memset(a + low, 0, longer * sizeof(W) - low);
                check_product<W>(A, B);
                check_square<W>(A);
            }
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

TEST(Products, LimbHalves32) { check_limb_halves<u32>(); }
TEST(Products, LimbHalves64) { check_limb_halves<u64>(); }

TEST(Products, KaratsubaReadsItsThresholdsOnEveryCall) {
    const u64 adx_mul = karatsuba_adx_mul_threshold, adx_sqr = karatsuba_adx_sqr_threshold;
    karatsuba_mul_threshold = karatsuba_adx_mul_threshold = 5;
    karatsuba_sqr_threshold = karatsuba_adx_sqr_threshold = 6;
    Rng rng(5);
    for (std::size_t n = 1; n <= 40; ++n) {
        check_product<u64>(Pattern::runs, n, rng.between(1, 40), rng);
        check_square<u64>(Pattern::runs, n, rng);
    }
    karatsuba_mul_threshold = 18;
    karatsuba_sqr_threshold = 19;
    karatsuba_adx_mul_threshold = adx_mul;
    karatsuba_adx_sqr_threshold = adx_sqr;
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
