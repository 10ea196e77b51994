// The constants of the 31-bit transforms: prime sets, rows, root tables.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "multiply/ntt32/prime_sets.h"
#include "multiply/ntt32/root_tables.h"
#include "multiply/ntt32/rows.h"

using namespace kvt;
using namespace kvt::multiply::ntt32;

namespace {

// Miller-Rabin; these bases decide every 32-bit number.
bool is_prime(u32 n) {
    u32 odd = n - 1;
    int twos = 0;
    for (; odd % 2 == 0; odd /= 2) ++twos;
    for (u32 base : {2u, 3u, 5u, 7u}) {
        u32 x = pow_mod(base, odd, n);
        if (x == 1) continue;
        int i = 0;
        for (; i < twos && x != n - 1; ++i) x = mul_mod(x, x, n);
        if (i == twos) return false;
    }
    return true;
}

TEST(Ntt32Sets, PrimesRootsAndDerivedTables) {
    for (unsigned s = 0; s < set_count; ++s) {
        const NttPrimeSet& set = prime_sets[s];
        ASSERT_EQ(set_index(set.count, set.radix), s);
        double log2_product = 0;
        for (unsigned i = 0; i < set.count; ++i) {
            const u32 p = set.primes[i];
            SCOPED_TRACE(testing::Message() << "set " << s << " prime " << i);
            log2_product += std::log2(p);
            EXPECT_TRUE(is_prime(p));
            EXPECT_LT(p, u32{1} << 31);
            const u64 order = u64{set.radix} << set.max_exponent;
            ASSERT_EQ((p - 1) % order, 0u);
            EXPECT_EQ(pow_mod(set.roots[i], order, p), 1u);
            EXPECT_NE(pow_mod(set.roots[i], order / 2, p), 1u);
            if (set.radix > 1) {
                EXPECT_NE(pow_mod(set.roots[i], order / set.radix, p), 1u);
            }
            EXPECT_EQ(mul_mod(set.scale[i], 2 * set.radix, p), 1u);
            u32 cofactor = 1;
            for (unsigned j = 0; j < set.count; ++j) {
                if (j == i) continue;
                EXPECT_NE(set.primes[j], p);
                cofactor = mul_mod(cofactor, set.primes[j] % p, p);
            }
            EXPECT_EQ(mul_mod(set.cofactor_inverse[i], cofactor, p), 1u);
            const u128 two82 = u128{1} << 82;
            EXPECT_EQ(set.reciprocal[i], static_cast<u64>(two82 / p));
        }
        EXPECT_NEAR(set.log2_product, log2_product, 1e-9);
    }
    EXPECT_EQ(prime_sets[0].roots[0], 0x757d36eeu);
    EXPECT_EQ(prime_sets[0].roots[1], 0x4483d85au);
    EXPECT_EQ(prime_sets[0].roots[2], 0x0c78442bu);
}

// Coefficients of two full operands are below points * 2^(2 * point bits), of either sign in a negacyclic product.
TEST(Ntt32Sets, HeadroomForSignedFullLengthCoefficients) {
    for (const NttPrimeSet& set : prime_sets) {
        const double points = std::log2(set.radix) + set.max_exponent;
        EXPECT_GT(set.log2_product, 1 + points + 32 * (set.count - 1)) << int{set.count} << "," << int{set.radix};
    }
}

TEST(Ntt32Rows, EveryRowFitsItsSetAndIsFound) {
    for (u64 number = 0; number < 208; ++number) {
        const Row row = row_of(number);
        const RowList& list = number < 104 ? fine_list : coarse_list;
        EXPECT_LE(row.exponent, prime_sets[row.set()].max_exponent);
        EXPECT_GE(row.exponent, 9u);
        const u64 base = number < 104 ? 0 : 104;
        if (number >= 104 && row.capacity_bits() <= fine_max_bits) continue;
        EXPECT_EQ(row_number(row.capacity_bits()), base + list.redirect[number - base]);
        if (number != 103 && number != 207) {
            EXPECT_EQ(row_number(row.capacity_bits() + 1), base + list.redirect[number - base + 1]);
        }
    }
    EXPECT_EQ(row_number(1), u64{fine_list.redirect[0]});
    EXPECT_GE(row_number(fine_max_bits + 1), 104u);
    EXPECT_GT(row_of(row_number(fine_max_bits + 1)).capacity_bits(), fine_max_bits);
}

u32 root_at(const PrimeRoots& roots, u64 m, u32 p) {
    const u64 n = u64{1} << inner_level;
    return mul_mod(roots.inner[m % n], roots.steps[m / n], p);
}

void check_roots(const PrimeRoots& roots, const NttPrimeSet& set, unsigned i, unsigned exponent) {
    const u32 p = set.primes[i];
    const u64 n = u64{1} << inner_level, all = n * step_count(exponent);
    ASSERT_EQ(roots.inner[0], 1u);
    ASSERT_EQ(mul_mod(roots.inner[1], roots.inner[1], p), p - 1);
    for (u64 m = 1; m < all / 2; ++m) {  // the children of m are the square roots of T[m] and of -T[m]
        const u32 t = root_at(roots, m, p), even = root_at(roots, 2 * m, p), odd = root_at(roots, 2 * m + 1, p);
        ASSERT_EQ(mul_mod(even, even, p), t) << m;
        ASSERT_EQ(mul_mod(odd, odd, p), p - t) << m;
    }
    if (set.radix == 1) return;
    const u32 w = roots.inner[n];
    EXPECT_NE(w, 1u);
    EXPECT_EQ(pow_mod(w, set.radix, p), 1u);
    for (u64 q = n; q < n * set.radix; ++q) ASSERT_EQ(roots.inner[q], mul_mod(roots.inner[q - n], w, p));
}

TEST(Ntt32RootTables, HoldTheTreeOfSquareRootsForEveryConfiguredSet) {
    struct Case {
        const RowList& list;
        u64 bits;
    };
    for (const auto& [list, bits] : {Case{fine_list, 1}, Case{fine_list, 700'000}, Case{fine_list, fine_max_bits},
                                     Case{coarse_list, u64{1} << 28}, Case{coarse_list, max_bits}}) {
        u64 words[RootTables::words] = {};
        RootTables tables(list, words);
        EXPECT_EQ(tables.bytes(), 0u);
        tables.configure(bits);
        const u64 bytes = tables.bytes();
        std::vector<u32> section(bytes / 4 + 1, 0xdeadbeef);
        tables.fill(section.data());
        EXPECT_EQ(section.back(), 0xdeadbeef);

        u8 needed[set_count] = {};
        for (u64 i = 0; i < list.length; ++i) {
            for (const Row& row : {list.rows[i], list.rows[list.redirect[i]]})
                if (row.exponent > needed[row.set()]) needed[row.set()] = row.exponent;
            if (list.rows[i].capacity_bits() >= bits) break;
        }
        SectionHeader header;
        std::memcpy(&header, section.data(), sizeof(header));
        for (unsigned s = 0; s < set_count; ++s) {
            EXPECT_EQ(header.exponents[s], needed[s]);
            EXPECT_EQ(header.offset_words[s] != 0, needed[s] != 0);
            if (needed[s] == 0) continue;
            for (unsigned i = 0; i < prime_sets[s].count; ++i)
                check_roots(roots_in(section.data(), s, i), prime_sets[s], i, needed[s]);
        }

        // Configuring for less changes nothing.
        tables.configure(1);
        EXPECT_EQ(tables.bytes(), bytes);
    }
}

}  // namespace
