// Algorithms over a transform engine: checks, ways of forming a product, windows, squares. The engine is a slow one
// that watches its contract.

#include "multiply/engine_algorithm.h"

#include "frame/exceptions.h"
#include "multiply/algorithms.h"
#include "multiply/block_product.h"
#include "multiply/cost.h"
#include "multiply/product_support.h"
#include "multiply/slow_engine.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

const TransformEngine& short_engine() noexcept {
    static const SlowEngine engine(-1, 84);
    return engine;
}
const TransformEngine& long_engine() noexcept {
    static const SlowEngine engine(1, 2048);
    return engine;
}
constexpr EngineRung short_rung{"", &short_engine, 64 * 100, 20000, 2000, 100, 100, nullptr};
constexpr EngineRung long_rung{"", &long_engine, 64 * 100'000, 40000, 4000, 100, 100, &short_rung};
template <class W>
constexpr EngineAlgorithm<W> algorithm{"slow", "Slow", 1 << 30, long_rung};

const GlobalTwiddleTable covering{1 << 30, {}, {}, nullptr};

template <class W>
ExactScratch scratch_for(u64 L, u64 tasks, Rng& rng) {
    MulSizeRecord record;
    algorithm<W>.size_record(record, L, tasks);
    EXPECT_LE(record.scratch_bytes, algorithm<W>.scratch_bytes(L, tasks));
    return ExactScratch(record.scratch_bytes, rng.below(2) * rng.below(8), tasks, &covering);
}

template <class W>
void check_product(u64 LA, u64 LB, u64 tasks, Rng& rng) {
    SCOPED_TRACE(::testing::Message() << word_bits<W> << "-bit words, " << LA << " x " << LB);
    const CapturedConsole quiet;
    const Pattern pattern = hard_patterns[rng.below(std::size(hard_patterns))];
    const auto A = operand<W>(pattern, LA, rng), B = operand<W>(pattern, LB, rng);
    const auto want = reference::product(A.data(), LA, B.data(), LB);
    FencedWords<W> C(LA + LB);
    algorithm<W>.multiply(scratch_for<W>(LA + LB, tasks, rng), C, A, LA, B, LB);
    EXPECT_TRUE(same(C.data(), want.data(), LA + LB));

    const u64 first = rng.below(LA + LB), count = rng.between(1, LA + LB - first);
    FencedWords<W> window(count);
    algorithm<W>.multiply_partial(scratch_for<W>(LA + LB, tasks, rng), window, first, count, A, LA, B, LB);
    EXPECT_TRUE(same(window.data(), want.data() + first, count)) << "window " << first << " + " << count;

    const auto square = reference::product(A.data(), LA, A.data(), LA);
    FencedWords<W> S(2 * LA);
    algorithm<W>.square(scratch_for<W>(2 * LA, tasks, rng), S, A, LA);
    EXPECT_TRUE(same(S.data(), square.data(), 2 * LA));
}

TEST(EngineAlgorithm, ProductsSquaresAndWindowsAreExactAtEveryBalance) {
    Rng rng(81);
    for (u64 tasks : {0, 1, 2, 3, 7})
        for (u64 LB : {1, 16, 17, 33, 60})
            for (u64 LA : {LB, LB + 1, 3 * LB, 10 * LB + 3, 40 * LB + 1}) {
                check_product<u64>(LA, LB, tasks, rng);
                check_product<u64>(LB, LA, tasks, rng);
                check_product<u32>(LA, LB, tasks, rng);
            }
}

TEST(EngineAlgorithm, WindowsMayOverlapTheOperands) {
    Rng rng(82);
    for (u64 LB : {3, 20, 40}) {
        const u64 LA = 8 * LB;
        const auto A = words<u64>(Pattern::random, LA, rng), B = words<u64>(Pattern::runs, LB, rng);
        const auto want = reference::product(A, B);
        for (u64 at : {u64{0}, LB, LA}) {
            // C starts inside A, whose copy stands at the front of this array.
            std::vector<u64> both(2 * LA + LB);
            std::copy(A.begin(), A.end(), both.begin());
            algorithm<u64>.multiply_partial(scratch_for<u64>(LA + LB, 1, rng), both.data() + at, 0, LA + LB,
                                            both.data(), LA, B.data(), LB);
            EXPECT_TRUE(same(both.data() + at, want.data(), LA + LB));
        }
    }
}

// Across the lengths that fold or halve over the floating-point transform, to some that no longer do; the first of each
// are among them.
template <class W>
void check_scratch_of_lengths(u64 tasks) {
    const u64 end = fft_rung.block_bits / word_bits<W>;
    u64 previous = 0;
    for (u64 L = end - 20; L <= end / 8 * 17; L += 3) {
        MulSizeRecord record;
        ntt32_algorithm<W>.size_record(record, L, tasks);
        const u64 bytes = ntt32_algorithm<W>.scratch_bytes(L, tasks);
        ASSERT_LE(record.scratch_bytes, bytes) << L << " words, " << tasks << " tasks";
        ASSERT_LE(previous, bytes) << L << " words, " << tasks << " tasks";
        previous = bytes;
    }
}

TEST(EngineAlgorithm, NoProductAsksForMoreThanTheScratchOfItsLength) {
    for (u64 tasks : {1, 2}) {
        check_scratch_of_lengths<u32>(tasks);
        check_scratch_of_lengths<u64>(tasks);
    }
}

template <class W>
void check_blocks(u64 LA, u64 LB, u64 block_words, Pattern pattern, Rng& rng) {
    const auto A = operand<W>(pattern, LA, rng), B = operand<W>(pattern, LB, rng);
    BlockPlan plan;
    plan.engine = &short_engine();
    plan.transform = plan.engine->plan((block_words + LB) * word_bits<W>);
    plan.block_words = block_words;
    plan.scratch_bytes = kept_scratch_bytes(plan.transform, 1) + (LB + 1) * sizeof(W) - 1;
    const Scratch memory(plan.scratch_bytes, rng.below(8));
    FencedWords<W> C(LA + LB);
    multiply_blocks<W>(plan, covering, C, A, LA, B, LB, memory.data(), 1);
    EXPECT_TRUE(memory.intact());
    EXPECT_TRUE(same(C.data(), reference::product(A.data(), LA, B.data(), LB).data(), LA + LB))
        << LA << " x " << LB << " in blocks of " << block_words;
}

TEST(BlockProduct, CarriesRunThroughEveryBlock) {
    Rng rng(83);
    for (Pattern pattern : hard_patterns)
        for (u64 LA : {5, 12, 13, 23, 24, 25})
            for (u64 block : {5, 6, 12}) {
                check_blocks<u64>(LA, 5, block, pattern, rng);
                check_blocks<u32>(LA, 5, block, pattern, rng);
            }
}

TEST(BlockProduct, IsChosenForUnbalancedProductsOnly) {
    const auto blocks = [](u64 LA, u64 LB, u64 scratch_bytes) {
        const u64 whole = transform_cost(long_rung, long_engine().plan(64 * (LA + LB))).product;
        return plan_blocks<u64>(long_rung, LA, LB, whole, scratch_bytes, 1);
    };
    EXPECT_EQ(blocks(1000, 1000, 1 << 30).engine, nullptr);
    EXPECT_EQ(blocks(5000, 50, 100).engine, nullptr) << "blocks need scratch too";
    const BlockPlan plan = blocks(5000, 20, 1 << 30);
    ASSERT_NE(plan.engine, nullptr);
    EXPECT_EQ(plan.engine, &short_engine()) << "short blocks go to the transform for short products";
    EXPECT_GE(plan.block_words, 20u);
    EXPECT_EQ(plan_blocks<u64>(long_rung, 5000, 20, 1, 1 << 30, 1).engine, nullptr) << "something else costs less";
}

TEST(EngineAlgorithm, TheTableIsCheckedBeforeTheScratchAndBothBeforeAnyWrite) {
    const std::vector<u64> A(40, ~u64{0});
    std::vector<u64> C(80, 7);
    GlobalTwiddleTable shorter{80 * 64 - 1, {}, {}, nullptr};
    MulSizeRecord record;
    algorithm<u64>.size_record(record, 80, 1);
    std::vector<u64> memory(record.scratch_bytes / 8 + 2);
    CapturedConsole console;
    const auto raised = [&](const GlobalTwiddleTable* table, u64 bytes) -> std::string {
        try {
            algorithm<u64>.square({table, memory.data(), bytes, 1}, C.data(), A.data(), 40);
        } catch (const kv_exception& error) {
            return error.title;
        }
        return "";
    };
    EXPECT_EQ(raised(&shorter, 0), "Lookup table is too small.");
    EXPECT_EQ(raised(nullptr, record.scratch_bytes), "Lookup table is too small.");
    EXPECT_EQ(console.count("    Required bits: 5120"), 2u);
    EXPECT_EQ(raised(&covering, record.scratch_bytes - 1), "Buffer is too small.");
    EXPECT_EQ(C, std::vector<u64>(80, 7));
    EXPECT_EQ(raised(&covering, record.scratch_bytes), "");
}

TEST(EngineAlgorithm, MisalignedScratchIsWarnedAboutOnceACall) {
    const std::vector<u64> A(40, 1);
    std::vector<u64> C(80);
    MulSizeRecord record;
    algorithm<u64>.size_record(record, 80, 1);
    std::vector<u8> memory(record.scratch_bytes + 32);
    u8* aligned = memory.data() + (0 - reinterpret_cast<std::uintptr_t>(memory.data())) % 16;
    const std::string warning = "Data Misalignment. Possible performance penalty.";
    CapturedConsole console;
    algorithm<u64>.square({&covering, aligned, record.scratch_bytes, 1}, C.data(), A.data(), 40);
    EXPECT_EQ(console.count(warning), 0u);
    algorithm<u64>.square({&covering, aligned + 8, record.scratch_bytes, 1}, C.data(), A.data(), 40);
    EXPECT_EQ(console.count(warning), 1u);
}

}  // namespace
}  // namespace kvt::multiply
