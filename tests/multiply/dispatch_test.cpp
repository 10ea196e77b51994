// Products, squares and their windows through the dispatcher, in the range of the direct products.

#include "multiply/dispatch.h"

#include <gtest/gtest.h>

#include "multiply/product_support.h"
#include "multiply/thresholds.h"
#include "reference/arithmetic.h"
#include "support/levels.h"
#include "support/operands.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

template <class W>
u64 scratch_of(u64 L) {
    MulSizeRecord record;
    mul_Psize<W>(record, L, 1);
    return record.scratch_bytes;
}

template <class W>
void check_products(u64 LA, u64 LB, Rng& rng) {
    SCOPED_TRACE(::testing::Message() << word_bits<W> << "-bit words, " << LA << " x " << LB);
    const Pattern pattern = hard_patterns[rng.below(std::size(hard_patterns))];
    const auto A = operand<W>(pattern, LA, rng), B = operand<W>(pattern, LB, rng);
    const ExactScratch scratch(scratch_of<W>(LA + LB), rng.below(8));
    FencedWords<W> C(LA + LB);
    mul_p<W>(scratch, C, A, LA, B, LB);
    EXPECT_TRUE(same(C.data(), reference::product(A.data(), LA, B.data(), LB).data(), LA + LB));
    if (LA != LB) return;
    sqr_p<W>(scratch, C, A, LA);
    EXPECT_TRUE(same(C.data(), reference::product(A.data(), LA, A.data(), LA).data(), 2 * LA));
}

template <class W>
void check_all_products() {
    Rng rng(71);
    const u64 limit = threshold_table<W>().begin()->limit;
    const u64 stride = KVNUM_HAVE_GMP ? 1 : 5;
    for (u64 total = 2; total <= limit; ++total)
        for (u64 LA = 1 + total % stride; LA < total; LA += stride) check_products<W>(LA, total - LA, rng);
}

TEST(Dispatch, DirectProductsAreExactInExactScratch) {
    for (auto level : all_levels()) {
        const LevelScope cap(level);
        check_all_products<u64>();
        check_all_products<u32>();
    }
}

// The basecase up to its own limit, which the default table does not reach.
TEST(Dispatch, BasecaseIsExactUpToItsReach) {
    constexpr ThresholdLimit basecase_only[] = {{"BKT", 65'536}};
    rebuild_threshold_table<u32>(basecase_only);
    rebuild_threshold_table<u64>(basecase_only);
    Rng rng(72);
    for (u64 i = rounds(KVNUM_HAVE_GMP ? 400 : 40); i-- > 0;) {
        const u64 LA = rng.between(1, 1023),
                  LB = rng.between(1, rng.below(2) ? 1024 - LA : std::min<u64>(40, 1024 - LA));
        check_products<u64>(LA, LB, rng);
        check_products<u32>(2 * LA - LA % 2, 2 * LB - LB % 2, rng);
        check_products<u64>(LA / 2 + 1, LA / 2 + 1, rng);
    }
    rebuild_threshold_table<u32>(default_limits());
    rebuild_threshold_table<u64>(default_limits());
}

template <class W>
void check_every_window(u64 LA, u64 LB, Rng& rng) {
    SCOPED_TRACE(::testing::Message() << word_bits<W> << "-bit words, " << LA << " x " << LB);
    const auto A = operand<W>(Pattern::runs, LA, rng), B = operand<W>(Pattern::random, LB, rng);
    auto product = reference::product(A.data(), LA, B.data(), LB);
    auto square = reference::product(A.data(), LA, A.data(), LA);
    const u64 beyond = 2 * std::max(LA, LB) + 2;
    product.resize(2 * beyond + 2, 0);
    square.resize(2 * beyond + 2, 0);
    for (u64 first = 0; first <= beyond; ++first)
        for (u64 count = 0; count <= beyond; ++count) {
            SCOPED_TRACE(::testing::Message() << "window " << first << " + " << count);
            const u64 formed = std::min(LA, first + count) + std::min(LB, first + count);
            const u64 squared = 2 * std::min(LA, first + count);
            FencedWords<W> C(count);
            mulp_p<W>(ExactScratch(scratch_of<W>(formed), rng.below(8)), C, first, count, A, LA, B, LB);
            ASSERT_TRUE(same(C.data(), product.data() + first, count));
            sqrp_p<W>(ExactScratch(scratch_of<W>(squared), rng.below(8)), C, first, count, A, LA);
            ASSERT_TRUE(same(C.data(), square.data() + first, count));
        }
}

TEST(Dispatch, EveryWindowOfSmallProductsIsExact) {
    Rng rng(73);
    for (auto [LA, LB] : {std::pair<u64, u64>{1, 1}, {3, 2}, {2, 7}, {19, 19}, {23, 20}}) {
        check_every_window<u64>(LA, LB, rng);
        check_every_window<u32>(LA, LB, rng);
    }
}

TEST(Dispatch, WindowsMayOverlapTheOperands) {
    Rng rng(74);
    for (u64 L : {1u, 5u, 18u, 29u}) {
        const ExactScratch scratch(scratch_of<u64>(2 * L), 0);
        for (u64 first : {u64{0}, L / 2, L}) {
            for (u64 count : {L, 2 * L - first}) {
                std::vector<u64> A = words<u64>(Pattern::random, 2 * L, rng);
                const auto want = reference::product(A.data(), L, A.data(), L);
                sqrp_p<u64>(scratch, A.data(), first, count, A.data(), L);
                EXPECT_TRUE(same(A.data(), want.data() + first, count));
            }
        }
    }
}

TEST(Dispatch, AnEmptyOperandGivesZero) {
    u64 C[3] = {1, 2, 3};
    const u64 A[3] = {4, 5, 6};
    const BasicParameters none{nullptr, nullptr, 0, 1};
    mul_p<u64>(none, C, A, 3, A, 0);
    EXPECT_TRUE(same<u64>(C, std::vector<u64>(3, 0).data(), 3));
}

// What a product does not use is not asked of it: short ones run without scratch on every machine.
TEST(Dispatch, ShortScratchRaisesBeforeTheFirstWrite) {
    const LevelScope cap({kernels::VectorLevel::scalar, kernels::WordLevel::scalar});
    const std::vector<u64> A(29, ~u64{0});
    std::vector<u64> C(58, 7);
    unsigned char memory[8];
    CapturedConsole console;
    EXPECT_THROW(mul_p<u64>({nullptr, memory, 8, 1}, C.data(), A.data(), 29, A.data() + 1, 28),
                 BufferTooSmallException);
    EXPECT_EQ(console.count("Buffer is too small."), 1u);
    EXPECT_EQ(console.count("    Buffer Size  : 8\n"), 1u);
    EXPECT_THROW(sqrp_p<u64>({nullptr, memory, 8, 1}, C.data(), 1, 4, A.data(), 29), BufferTooSmallException);
    EXPECT_EQ(C, std::vector<u64>(58, 7));
}

TEST(Dispatch, ProductsOfElevenWordsNeedNoScratch) {
    for (auto level : all_levels()) {
        const LevelScope cap(level);
        const std::vector<u64> A(11, ~u64{0});
        std::vector<u64> C(22);
        mul_p<u64>({nullptr, nullptr, 0, 1}, C.data(), A.data(), 11, A.data(), 11);
        EXPECT_EQ(C, reference::product(A, A));
        mul_p<u64>({nullptr, nullptr, 0, 1}, C.data(), A.data(), 11, A.data() + 1, 10);
        EXPECT_TRUE(same(C.data(), reference::product(A.data(), 11, A.data(), 10).data(), 21));
    }
}

TEST(Dispatch, LengthsBeyondEveryLimitRaise) {
    const u64 A[1] = {1};
    u64 C[1] = {7};
    const BasicParameters none{nullptr, nullptr, 0, 1};
    CapturedConsole console;
    EXPECT_THROW(mul_p<u64>(none, C, A, u64{1} << 63, A, u64{1} << 63), kv_exception);
    EXPECT_THROW(sqr_p<u64>(none, C, A, ~u64{0}), kv_exception);
    EXPECT_THROW(mulp_p<u64>(none, C, ~u64{0}, ~u64{0}, A, ~u64{0}, A, 1), kv_exception);
    EXPECT_EQ(C[0], 7u);
    EXPECT_EQ(console.count("Error Code: -4"), 3u);
}

}  // namespace
}  // namespace kvt::multiply
