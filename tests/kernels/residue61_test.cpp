// The checksum modulo 2^61 - 1 against the plain definition.

#include "kernels/residue61.h"

#include <gtest/gtest.h>

#include "reference/arithmetic.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"

namespace {

using namespace kvt;
using namespace kvt::test;
using namespace kvt::kernels;

void check(std::size_t n, Pattern pattern, Rng& rng) {
    const FencedWords<u32> words(n);
    fill(pattern, words.data(), n, rng);
    const u64 want = reference::residue(words.data(), 4 * n, residue_modulus);
    for (const Levels level : all_levels()) {
        const LevelScope scope(level);
        EXPECT_EQ(residue_of(words.data(), n), want) << n << " " << name_of(pattern);
    }
}

TEST(Residue61, EveryLength) {
    Rng rng(21);
    for (std::size_t n = 0; n <= 400; ++n)
        for (const Pattern pattern : {Pattern::random, Pattern::all_ones, Pattern::sparse}) check(n, pattern, rng);
}

TEST(Residue61, LongArrays) {
    Rng rng(22);
    for (const u64 n : around({1000, 4096, 100000, 999402 /* 65534 blocks of 61 bytes */, 1100000}))
        for (const Pattern pattern : hard_patterns) check(n, pattern, rng);
}

// Multiples of M and M - 1 at every position: sums that wrap in every lane.
TEST(Residue61, MultiplesOfTheModulus) {
    for (std::size_t n = 2; n <= 130; ++n) {
        std::vector<u32> words(n, 0xffffffff);  // 2^(32 n) - 1
        const u64 want = residue_sub(residue_shift(1, static_cast<i64>(32 * n)), 1);
        for (const Levels level : all_levels()) {
            const LevelScope scope(level);
            EXPECT_EQ(residue_of(words.data(), n), want) << n;
        }
    }
}

TEST(Residue61, UnalignedBytes) {
    Rng rng(23);
    std::vector<u8> bytes(4000);
    fill_bytes(Pattern::random, bytes.data(), bytes.size(), rng);
    for (const Levels level : all_levels()) {
        const LevelScope scope(level);
        for (std::size_t offset = 0; offset < 64; ++offset)
            EXPECT_EQ(residue_of(bytes.data() + offset, 900),
                      reference::residue(bytes.data() + offset, 3600, residue_modulus));
    }
}

TEST(Residue61, Arithmetic) {
    Rng rng(24);
    for (int round = 0; round < 1000; ++round) {
        const u64 a = rng.below(residue_modulus), b = rng.below(residue_modulus);
        const auto plain = [](u128 x) { return static_cast<u64>(x % residue_modulus); };
        EXPECT_EQ(residue_add(a, b), plain(static_cast<u128>(a) + b));
        EXPECT_EQ(residue_sub(a, b), plain(static_cast<u128>(a) + residue_modulus - b));
        EXPECT_EQ(residue_mul(a, b), plain(static_cast<u128>(a) * b));
        const i64 k = static_cast<i64>(rng.below(400)) - 200;
        EXPECT_EQ(residue_shift(residue_shift(a, k), -k), a);
        EXPECT_EQ(residue_shift(a, 61 + k), residue_shift(a, k));
        EXPECT_EQ(residue_shift(a, 1), plain(static_cast<u128>(a) * 2));
    }
    EXPECT_EQ(residue_mul(residue_modulus - 1, residue_modulus - 1), 1u);
    EXPECT_EQ(residue_reduce(~u64{0}), 7u);
}

}  // namespace
