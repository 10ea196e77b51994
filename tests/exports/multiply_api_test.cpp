// Large products through the shared library.

#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

#include <vector>

#include "reference/arithmetic.h"
#include "support/operands.h"

namespace {

using namespace kvt;

TEST(MultiplyApi, ProductsOfBothWidthsAgreeWithTheOracle) {
    test::Rng rng(75);
    const auto A = test::words<u64>(test::Pattern::random, 29, rng),
               B = test::words<u64>(test::Pattern::runs, 27, rng);
    MulSizeRecord record;
    ASSERT_EQ(mul_Psize64(&record, 58, 1), nullptr);
    std::vector<u64> scratch(record.scratch_bytes / 8), C(58);
    const BasicParameters params{nullptr, scratch.data(), record.scratch_bytes, 1};
    ASSERT_EQ(mul_p_c64(&params, C.data(), A.data(), 29, B.data(), 27), nullptr);
    EXPECT_EQ(std::vector<u64>(C.begin(), C.begin() + 56), reference::product(A, B));
    ASSERT_EQ(sqr_p_c64(&params, C.data(), A.data(), 29), nullptr);
    EXPECT_EQ(C, reference::product(A, A));

    const auto A32 = test::words<u32>(test::Pattern::random, 57, rng);
    ASSERT_EQ(mul_Psize32(&record, 114, 1), nullptr);
    ASSERT_LE(record.scratch_bytes, params.memory_bytes);
    std::vector<u32> C32(114);
    ASSERT_EQ(mul_p_c32(&params, C32.data(), A32.data(), 57, A32.data(), 57), nullptr);
    EXPECT_EQ(C32, reference::product(A32, A32));
    std::vector<u32> window(20);
    ASSERT_EQ(mulp_p_c32(&params, window.data(), 50, 20, A32.data(), 57, A32.data(), 57), nullptr);
    EXPECT_EQ(window, std::vector<u32>(C32.begin() + 50, C32.begin() + 70));
}

}  // namespace
