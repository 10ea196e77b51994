#include "inverse/direct.h"

#include <gtest/gtest.h>

#include "frame/exceptions.h"
#include "support/operands.h"

#if KVNUM_HAVE_GMP
#include <gmp.h>

namespace kvt::inverse {
namespace {

using test::Pattern;
using test::Rng;

template <class W>
void import_words(mpz_t out, const W* words, u64 n) {
    mpz_import(out, n, -1, sizeof(W), 0, 0, words);
}

// |value - 1| < 2^-slack_bits, for value = V * B^exp.
template <class W>
bool close_to_one(const mpz_t V, i64 exp, u64 slack_bits) {
    if (exp > 0) return false;
    mpz_t one, distance;
    mpz_inits(one, distance, nullptr);
    mpz_setbit(one, static_cast<u64>(-exp) * word_bits<W>);
    mpz_sub(distance, V, one);
    mpz_mul_2exp(distance, distance, slack_bits);
    const bool close = mpz_cmpabs(distance, one) < 0;
    mpz_clears(one, distance, nullptr);
    return close;
}

constexpr u64 accuracy_bits(u64 width, u64 p) { return p == 0 ? 51 : width * p + width - 2; }

template <class W>
void check_reciprocal(const std::vector<W>& x, u64 p) {
    const SmallFloat<W> R = reciprocal_direct(x.data(), x.size(), i64{-3}, p);
    mpz_t X, Q;
    mpz_inits(X, Q, nullptr);
    import_words(X, x.data(), x.size());
    import_words(Q, R.w, R.n);
    mpz_mul(Q, Q, X);
    EXPECT_TRUE(close_to_one<W>(Q, R.exp - 3, accuracy_bits(word_bits<W>, p)))
        << "p " << p << " words " << x.size() << " top " << +x.back();
    EXPECT_LE(R.n, p + 3);
    EXPECT_NE(R.w[R.n - 1], 0u);
    mpz_clears(X, Q, nullptr);
}

// Operands at which a Newton step is hardest: next to powers of the word base on both sides, all ones, sparse.
template <class W>
std::vector<std::vector<W>> hard_operands(u64 seed) {
    Rng rng(seed);
    std::vector<std::vector<W>> out;
    for (u64 n : {1, 2, 3, 4, 5, 9, 12, 30}) {
        for (Pattern pattern : test::hard_patterns) {
            for (u64 round = 0; round < test::rounds(20); ++round) {
                std::vector<W> x = test::words<W>(pattern, n, rng);
                if (x.back() == 0) x.back() = 1;
                if (round % 4 == 1) x.back() = 1;
                if (round % 4 == 2) x.back() = ~W{0};
                out.push_back(x);
            }
        }
        std::vector<W> power(n, 0), above(n, 0), below(n, ~W{0});
        power.back() = 1;  // B^(n-1)
        above.back() = 1;  // B^(n-1) + 1
        above[0] |= 1;
        out.insert(out.end(), {power, above, below});
        for (u64 j = 0; j < n; ++j) {  // B^n - B^j
            std::vector<W> x(n, ~W{0});
            std::fill_n(x.begin(), j, W{0});
            out.push_back(x);
        }
    }
    return out;
}

template <class W>
class DirectEngines : public testing::Test {};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(DirectEngines, Widths);

TYPED_TEST(DirectEngines, ReciprocalMeetsItsBoundForHardOperands) {
    using W = TypeParam;
    const auto operands = hard_operands<W>(1);
    for (const auto& x : operands)
        for (u64 p = 0; p < direct_limit_words; ++p) check_reciprocal(x, p);
}

TYPED_TEST(DirectEngines, ReciprocalOfPowersOfTwoIsExact) {
    using W = TypeParam;
    for (unsigned bit = 0; bit < word_bits<W>; ++bit) {
        const W x = static_cast<W>(W{1} << bit);
        for (u64 p = 0; p < direct_limit_words; ++p) {
            SmallFloat<W> R = reciprocal_direct(&x, 1, i64{0}, p);
            R.trim_low();
            ASSERT_EQ(R.n, 1u) << "bit " << bit << " p " << p;
            EXPECT_EQ(R.w[0], bit == 0 ? W{1} : static_cast<W>(W{1} << (word_bits<W> - bit)));
            EXPECT_EQ(R.exp, bit == 0 ? 0 : -1);
        }
    }
}

TYPED_TEST(DirectEngines, InverseSquareRootMeetsItsBound) {
    using W = TypeParam;
    Rng rng(2);
    std::vector<W> operands{1, 2, 3, 4, 5, 7, 9, 10, static_cast<W>(~W{0}), static_cast<W>(~W{0} - 1)};
    for (unsigned bit = 0; bit < word_bits<W>; ++bit) operands.push_back(static_cast<W>(W{1} << bit));
    for (u64 i = 0; i < test::rounds(500); ++i)
        operands.push_back(static_cast<W>(rng.next() >> rng.below(word_bits<W>)) | 1);
    mpz_t Q;
    mpz_init(Q);
    for (W x : operands) {
        for (u64 p = 0; p < direct_limit_words; ++p) {
            const SmallFloat<W> R = inverse_sqrt_direct(x, p);
            import_words(Q, R.w, R.n);
            mpz_mul(Q, Q, Q);
            mpz_mul_ui(Q, Q, x);
            // The square of the root has twice the root's relative error; one step from a seed gives some 104 bits.
            const u64 bits = std::min<u64>(accuracy_bits(word_bits<W>, p), p == 1 ? 102 : ~u64{0});
            EXPECT_TRUE(close_to_one<W>(Q, 2 * R.exp, bits - 1)) << "x " << x << " p " << p;
        }
    }
    mpz_clear(Q);
}

TYPED_TEST(DirectEngines, InverseSquareRootOfPowersOfFourIsExact) {
    using W = TypeParam;
    for (unsigned bit = 0; bit < word_bits<W>; bit += 2) {
        for (u64 p = 0; p < direct_limit_words; ++p) {
            SmallFloat<W> R = inverse_sqrt_direct(static_cast<W>(W{1} << bit), p);
            R.trim_low();
            EXPECT_EQ(R.n, 1u);
            EXPECT_EQ(R.w[0], bit == 0 ? W{1} : static_cast<W>(W{1} << (word_bits<W> - bit / 2)));
        }
    }
}

}  // namespace
}  // namespace kvt::inverse
#endif
