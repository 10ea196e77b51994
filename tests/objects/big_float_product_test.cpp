// Products of BigFloats: exact ones, truncated ones, in place, and two that share a factor.

#include <gtest/gtest.h>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "multiply/dispatch.h"
#include "multiply/twiddle_table.h"
#include "objects/big_float.h"
#include "objects/big_float_parts.h"
#include "objects/owned.h"
#include "support/console_capture.h"
#include "support/operands.h"
#include "support/scratch.h"

namespace kvt::objects {
namespace {

using namespace kvt::test;

// The top K significant words of the exact product of the cut operands.
template <class W>
Dyadic floor_of_product(const BigFloat<W>& A, const BigFloat<W>& B, u64 p) {
    const BigFloat<W> a = top_words(A, kept_words(p)), b = top_words(B, kept_words(p));
    const Dyadic whole = exact(a) * exact(b);
    if (whole.magnitude.empty()) return whole;
    // Position above the top word of the product.
    const i64 product_bits =
        whole.exponent + static_cast<i64>(32 * whole.magnitude.size()) - __builtin_clz(whole.magnitude.back());
    const i64 bits = word_bits<W>;
    const i64 top = (product_bits - 1 >= 0 ? (product_bits - 1) / bits : -((bits - product_bits) / bits)) + 1;
    return whole.truncated_to((top - static_cast<i64>(std::min(kept_words(p), A.L + B.L))) * bits);
}

template <class W>
class BigFloatProductTest : public testing::Test {
  protected:
    OwnedBigFloat<W> random(u64 n, u64 capacity = 0) {
        const Pattern pattern = hard_patterns[rng_.below(std::size(hard_patterns))];
        std::vector<W> content = words<W>(pattern, n, rng_);
        if (n > 0 && content.back() == 0) content.back() = 1;
        return OwnedBigFloat<W>(content, static_cast<i64>(rng_.below(24)) - 12, rng_.below(2) != 0, capacity);
    }
    static Scratch scratch_for(u64 LA, u64 LB, u64 p) {
        return Scratch(LA != 0 && LB != 0 ? big_float_mul_Psize<W>(LA, LB, p, 1) : 0);
    }
    // Checks every way to form A * B at precision p.
    void check(const OwnedBigFloat<W>& A, const OwnedBigFloat<W>& B, u64 p) {
        const Dyadic want = floor_of_product(*A, *B, p);
        const u64 K = std::min(kept_words(p), std::min(A->L, kept_words(p)) + std::min(B->L, kept_words(p)));
        const Scratch scratch = scratch_for(A->L, B->L, p);
        const BasicParameters params = scratch.parameters(multiply::global_table());
        OwnedBigFloat<W> out(A->L != 0 && B->L != 0 ? K : 0);
        set_mul(*out, params, *A, *B, p);
        ASSERT_EQ(out.exact(), want) << A->L << " x " << B->L << " p " << p;
        ASSERT_TRUE(normalised(*out));
        OwnedBigFloat<W> x(std::max(A->L, K));
        set_BigFloat(*x, *A, ~u64{0});
        set_mul_ip(*x, params, *B, p);
        ASSERT_EQ(x.exact(), want);
        ASSERT_EQ(x->L, out->L);
        if (A->L == B->L) {
            const Dyadic square = floor_of_product(*A, *A, p);
            set_sqr(*out, params, *A, p);
            ASSERT_EQ(out.exact(), square);
            set_BigFloat(*x, *A, ~u64{0});
            set_sqr_ip(*x, params, p);
            ASSERT_EQ(x.exact(), square);
        }
        ASSERT_TRUE(scratch.intact());
    }
    Rng rng_{59};
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(BigFloatProductTest, Widths);

TYPED_TEST(BigFloatProductTest, ShortProductsAreTheFloorOfTheExactOne) {
    for (u64 round = 0; round < rounds(3000); ++round)
        this->check(this->random(this->rng_.below(24)), this->random(this->rng_.below(24)), this->rng_.below(26));
}

TYPED_TEST(BigFloatProductTest, LongProductsAreTheFloorOfTheExactOne) {
    constexpr u64 longest = 300;
    multiply::ensure_global_table(64 * 1200);
    for (u64 round = 0; round < rounds(60); ++round) {
        const u64 n = this->rng_.between(1, longest), m = round % 2 != 0 ? n : this->rng_.between(1, longest);
        const u64 p = round % 4 == 0 ? ~u64{0} : this->rng_.below(n + m);
        this->check(this->random(n), this->random(m), p);
    }
}

TYPED_TEST(BigFloatProductTest, UnbalancedProducts) {
    multiply::ensure_global_table(64 * 8000);
    const u64 lengths[][2] = {{1200, 5}, {1200, 60}, {200, 1500}, {1500, 400}};
    for (const auto& [n, m] : lengths)
        for (u64 p : {u64{70}, n - 100, n + m - 2, ~u64{0}}) this->check(this->random(n), this->random(m), p);
}

// Products just below and just above a power of the word base, where the top word hangs on the lowest words.
TYPED_TEST(BigFloatProductTest, TheKeptWindowFollowsTheTopWord) {
    using W = TypeParam;
    multiply::ensure_global_table(64 * 1200);
    const W ones = static_cast<W>(~W{0});
    for (u64 n : {1, 2, 3, 5, 30, 60}) {
        std::vector<W> power(n, 0), just_below(n, ones), above(n, 0), near(n, 0);
        power.back() = 1;
        above.back() = 1;
        above.front() |= 1;
        near.back() = 1;
        if (n > 1) near[n - 2] = 1;
        const std::vector<W> all[] = {power, just_below, above, near};
        for (const auto& a : all)
            for (const auto& b : all)
                for (u64 p = 0; p<2 * n; p += n> 5 ? 7 : 1)
                    this->check(OwnedBigFloat<W>(a, 3, true), OwnedBigFloat<W>(b, -5, false), p);
    }
    // 1/3 = 0.555..: times 3 it is 0.fff.., and with the last word one up 1.000..
    for (u64 n : {2, 3, 8, 30, 60}) {
        std::vector<W> third(n, static_cast<W>(ones / 3)), above = third;
        ++above[0];
        for (u64 p = 0; p < n; ++p) {
            this->check(OwnedBigFloat<W>({3}, 0, true), OwnedBigFloat<W>(third, 0, true), p);
            this->check(OwnedBigFloat<W>({3}, 0, true), OwnedBigFloat<W>(above, 0, true), p);
        }
    }
}

TYPED_TEST(BigFloatProductTest, TwoProductsThatShareAFactorEqualTwoProducts) {
    using W = TypeParam;
    multiply::ensure_global_table(64 * 3000);
    const u64 lengths[][3] = {{0, 3, 2},       {3, 0, 2},         {5, 9, 2},       {12, 15, 20},
                              {400, 410, 420}, {1000, 800, 1000}, {810, 1500, 800}};
    for (const auto& [la, lb, lc] : lengths) {
        for (u64 p : {u64{4}, u64{450}, u64{900}, ~u64{0}}) {
            const auto A = this->random(la), B = this->random(lb), C = this->random(lc);
            u64 bytes;
            multiply::mul_iPsize<W>(bytes, lb + std::max(la, lc) + 1, 1);
            const Scratch scratch(bytes);
            const BasicParameters params = scratch.parameters(multiply::global_table());
            OwnedBigFloat<W> AB(la + lb), BC(lb + lc), one(la + lb), two(lb + lc);
            set_mul_AB_BC(*AB, *BC, params, *A, *B, *C, p);
            set_mul(*one, params, *A, *B, p);
            set_mul(*two, params, *B, *C, p);
            EXPECT_EQ(AB.exact(), one.exact());
            EXPECT_EQ(BC.exact(), two.exact());
            EXPECT_EQ(AB->L, one->L);
            EXPECT_EQ(BC->L, two->L);
        }
    }
}

}  // namespace
}  // namespace kvt::objects
