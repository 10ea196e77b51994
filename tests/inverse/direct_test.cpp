#include "inverse/direct.h"

#include <gtest/gtest.h>

#include "frame/exceptions.h"
#include "inverse/inverse_fixture.h"

#if KVNUM_HAVE_GMP
namespace kvt::inverse {
namespace {

constexpr u64 accuracy_bits(u64 width, u64 p) { return p == 0 ? 51 : width * p + width - 2; }

template <class W>
objects::BigFloat<W> operand(const std::vector<W>& x, i64 exp) {
    return {const_cast<W*>(x.data()), x.size(), exp, true, nullptr, 0};
}

template <class W>
void check_reciprocal(const std::vector<W>& x, u64 p) {
    const SmallFloat<W> R = reciprocal_direct(reciprocal_direct_texts, operand(x, -3), p);
    Distance distance;
    distance.set(R.w, R.n, R.exp);
    distance.multiply(x.data(), x.size(), -3);
    EXPECT_TRUE(distance.template close_to_one<W>(accuracy_bits(word_bits<W>, p)))
        << "p " << p << " words " << x.size() << " top " << +x.back();
    EXPECT_LE(R.n, p + 3);
    EXPECT_NE(R.w[R.n - 1], 0u);
}

template <class W>
class DirectEngines : public testing::Test {};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(DirectEngines, Widths);

TYPED_TEST(DirectEngines, ReciprocalMeetsItsBoundForHardOperands) {
    using W = TypeParam;
    const auto operands = hard_operands<W>({1, 2, 3, 4, 5, 9, 12, 30}, test::rounds(20), 1);
    for (const auto& x : operands)
        for (u64 p = 0; p < direct_limit_words; ++p) check_reciprocal(x, p);
}

TYPED_TEST(DirectEngines, ReciprocalOfPowersOfTwoIsExact) {
    using W = TypeParam;
    for (unsigned bit = 0; bit < word_bits<W>; ++bit) {
        const W x = static_cast<W>(W{1} << bit);
        for (u64 p = 0; p < direct_limit_words; ++p) {
            const SmallFloat<W> R =
                stripped(reciprocal_direct(reciprocal_direct_texts, operand(std::vector<W>{x}, 0), p));
            ASSERT_EQ(R.n, 1u) << "bit " << bit << " p " << p;
            EXPECT_EQ(R.w[0], bit == 0 ? W{1} : static_cast<W>(W{1} << (word_bits<W> - bit)));
            EXPECT_EQ(R.exp, bit == 0 ? 0 : -1);
        }
    }
}

TYPED_TEST(DirectEngines, InverseSquareRootMeetsItsBound) {
    using W = TypeParam;
    test::Rng rng(2);
    std::vector<W> operands{1, 2, 3, 4, 5, 7, 9, 10, static_cast<W>(~W{0}), static_cast<W>(~W{0} - 1)};
    for (unsigned bit = 0; bit < word_bits<W>; ++bit) operands.push_back(static_cast<W>(W{1} << bit));
    for (u64 i = 0; i < test::rounds(500); ++i)
        operands.push_back(static_cast<W>(rng.next() >> rng.below(word_bits<W>)) | 1);
    for (W x : operands) {
        for (u64 p = 0; p < direct_limit_words; ++p) {
            const SmallFloat<W> R = inverse_sqrt_direct(x, p, nullptr);
            Distance distance;
            distance.set(R.w, R.n, R.exp);
            distance.multiply(R.w, R.n, R.exp);
            distance.multiply(&x, 1, 0);
            // The square of the root has twice the root's relative error; one step from a seed gives some 104 bits.
            const u64 bits = std::min<u64>(accuracy_bits(word_bits<W>, p), p == 1 ? 102 : ~u64{0});
            EXPECT_TRUE(distance.template close_to_one<W>(bits - 1)) << "x " << x << " p " << p;
        }
    }
}

TYPED_TEST(DirectEngines, InverseSquareRootOfPowersOfFourIsExact) {
    using W = TypeParam;
    for (unsigned bit = 0; bit < word_bits<W>; bit += 2) {
        for (u64 p = 0; p < direct_limit_words; ++p) {
            const SmallFloat<W> R = stripped(inverse_sqrt_direct(static_cast<W>(W{1} << bit), p, nullptr));
            EXPECT_EQ(R.n, 1u);
            EXPECT_EQ(R.w[0], bit == 0 ? W{1} : static_cast<W>(W{1} << (word_bits<W> - bit / 2)));
        }
    }
}

}  // namespace
}  // namespace kvt::inverse
#endif
