// Products folded over a transform that wraps with either sign, formed by slow engines whose lengths are far apart.

#include "multiply/folded_product.h"

#include "frame/exceptions.h"
#include "multiply/algorithms.h"
#include "multiply/cost.h"
#include "multiply/product_support.h"
#include "multiply/slow_engine.h"
#include "support/falsify.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

constexpr u64 step_words = 400, longest_short_words = 2 * step_words;

const TransformEngine& short_engine() noexcept {
    static const SlowEngine engine(-1, 64 * step_words);
    return engine;
}
const TransformEngine& long_engine() noexcept {
    static const SlowEngine engine(1, 64 * 1000);
    return engine;
}
const TransformEngine& far_engine() noexcept {
    static const SlowEngine engine(1, 64 * 10'000);
    return engine;
}
// Flips a bit of word 3 of the transformed operand, which stands behind 16 bytes.
const TransformEngine& faulty_engine() noexcept {
    static const FalsifyingEngine engine(short_engine(), FalsifyingEngine::Stage::transformed, 8 * 16 + 200);
    return engine;
}
constexpr EngineRung short_rung{"", &short_engine, 64 * longest_short_words, 10000, 0, 100, 100, nullptr};
constexpr EngineRung long_rung{"", &long_engine, 64 * 100'000, 20000, 0, 100, 100, &short_rung};
constexpr EngineRung far_rung{"", &far_engine, 64 * 100'000, 20000, 0, 100, 100, &short_rung};
constexpr EngineRung faulty_rung{"", &faulty_engine, 64 * longest_short_words, 10000, 0, 100, 100, nullptr};

const GlobalTwiddleTable covering{1 << 30, {}, {}, nullptr};

template <class W>
ExactScratch scratch_for(const EngineAlgorithm<W>& algorithm, u64 L, Rng& rng) {
    MulSizeRecord record;
    algorithm.size_record(record, L, 1);
    return ExactScratch(record.scratch_bytes, rng.below(8), 1, &covering);
}

// LA, LB in 64-bit words.
bool folds(const EngineRung& rung, u64 LA, u64 LB, bool square) {
    const TransformPlan whole = rung.source().plan(64 * (LA + LB));
    const TransformCost cost = transform_cost(rung, whole);
    return plan_fold<u64>(rung, whole, LA, LB, square, square ? cost.square : cost.product, ~u64{0}).rung != nullptr;
}

template <class W>
void check(const EngineRung& rung, u64 LA, u64 LB, Pattern a, Pattern b, Rng& rng) {
    SCOPED_TRACE(::testing::Message() << word_bits<W> << "-bit words, " << LA << " x " << LB << " " << name_of(a)
                                      << " " << name_of(b));
    const CapturedConsole quiet;
    const EngineAlgorithm<W> algorithm("slow", "Slow", 1 << 30, rung);
    LA *= 8 / sizeof(W), LB *= 8 / sizeof(W);
    const auto A = operand<W>(a, LA, rng), B = operand<W>(b, LB, rng);
    const auto want = reference::product(A.data(), LA, B.data(), LB);
    FencedWords<W> C(LA + LB);
    algorithm.multiply(scratch_for(algorithm, LA + LB, rng), C, A, LA, B, LB);
    EXPECT_TRUE(same(C.data(), want.data(), LA + LB));

    const u64 first = rng.below(LA + LB), count = rng.between(1, LA + LB - first);
    FencedWords<W> window(count);
    algorithm.multiply_partial(scratch_for(algorithm, LA + LB, rng), window, first, count, A, LA, B, LB);
    EXPECT_TRUE(same(window.data(), want.data() + first, count)) << "window " << first << " + " << count;

    const auto square = reference::product(A.data(), LA, A.data(), LA);
    FencedWords<W> S(2 * LA);
    algorithm.square(scratch_for(algorithm, 2 * LA, rng), S, A, LA);
    EXPECT_TRUE(same(S.data(), square.data(), 2 * LA));
}

TEST(FoldedProduct, IsExactForEveryOperand) {
    Rng rng(91);
    for (u64 excess : {3, 1, 2, 36, 100}) {
        const u64 total = longest_short_words + excess;
        ASSERT_TRUE(folds(short_rung, total - total / 2, total / 2, false));
        ASSERT_TRUE(folds(long_rung, total - total / 2, total / 2, false));
        for (const EngineRung* rung : {&short_rung, &long_rung})
            for (Pattern a : hard_patterns)
                for (Pattern b : {a, Pattern::random}) {
                    if (!KVNUM_HAVE_GMP && a != b) continue;  // the oracle is slow
                    check<u64>(*rung, total - total / 2, total / 2, a, b, rng);
                    check<u32>(*rung, total - total / 2, total / 2, b, a, rng);
                    check<u64>(*rung, total - total / 3, total / 3, a, b, rng);
                }
    }
}

// By further moduli, where the long rung's own length is far.
TEST(FoldedProduct, IsExactFarBeyondTheShortRung) {
    Rng rng(94);
    for (u64 excess : {401, 402, 500, 699, 700}) {
        const u64 total = longest_short_words + excess;
        ASSERT_TRUE(folds(far_rung, total - total / 2, total / 2, false));
        for (Pattern a : hard_patterns)
            for (Pattern b : {a, Pattern::random}) {
                if (!KVNUM_HAVE_GMP && a != b) continue;
                check<u64>(far_rung, total - total / 2, total / 2, a, b, rng);
                check<u32>(far_rung, longest_short_words, excess, b, a, rng);
            }
    }
    EXPECT_FALSE(folds(far_rung, 751, 750, false)) << "more than seven eighths";
}

TEST(FoldedProduct, IsExactOverTheLongRungsOwnLengths) {
    Rng rng(93);
    for (u64 excess : {1, 2, 60}) {
        const u64 total = 2000 + excess;
        ASSERT_TRUE(folds(long_rung, total - total / 2, total / 2, false));
        for (Pattern a : hard_patterns)
            for (Pattern b : {a, Pattern::random}) {
                check<u64>(long_rung, total - total / 2, total / 2, a, b, rng);
                check<u32>(long_rung, total - total / 3, total / 3, b, a, rng);
            }
    }
}

TEST(FoldedProduct, IsChosenWhereItPays) {
    EXPECT_TRUE(folds(short_rung, 401, 400, true));
    EXPECT_FALSE(folds(short_rung, 400, 400, false)) << "fits";
    EXPECT_FALSE(folds(short_rung, 810, 20, false)) << "an operand longer than the transform";
    EXPECT_FALSE(folds(short_rung, 590, 590, false)) << "nearly the next length";
    EXPECT_TRUE(folds(long_rung, 1101, 1100, false)) << "over a length of its own";
    EXPECT_FALSE(folds(long_rung, 1301, 1300, false)) << "more than a quarter";
    EXPECT_FALSE(folds(long_rung, 1040, 30, false)) << "an operand longer than the transform";
    EXPECT_FALSE(folds(long_rung, 760, 760, false)) << "nearly the next length";
    const TransformPlan whole = short_rung.source().plan(64 * 801);
    EXPECT_EQ(plan_fold<u64>(short_rung, whole, 401, 400, false, ~u64{0}, 1000).rung, nullptr) << "no scratch";
    EXPECT_EQ(plan_fold<u64>(short_rung, whole, 401, 400, false, 1000, ~u64{0}).rung, nullptr) << "costs more";
}

// The shorter rung may have no length beyond its reach to ask for.
TEST(FoldedProduct, IsPlannedBeyondTheLastLengthOfEveryRung) {
    for (const EngineRung* rung : {&ntt32_rung, &ntt64_rung})
        for (u64 above : {1, 2, 1000})
            for (u64 bits : {rung->shorter->block_bits, rung->shorter->block_bits / 8 * 15}) {
                const u64 LA = bits / 128, LB = LA + above;
                const TransformPlan whole = rung->source().plan(64 * (LA + LB));
                const FoldPlan plan = plan_fold<u64>(*rung, whole, LB, LA, false, ~u64{0} >> 8, ~u64{0});
                EXPECT_TRUE(plan.rung == nullptr || plan.transform.capacity_bits < 64 * (LA + LB));
            }
}

// lo and hi next to each other are where the transform's result turns from 0 to its largest, 2^N = -1.
TEST(FoldedProduct, TellsTheUpperWordsAtTheTurn) {
    const u64 low = 0xfffffffffffffffe;
    for (int turn : {0, 1}) {  // hi = lo + turn
        std::vector<u64> C(6);
        C[4] = turn;  // lo - hi = 0, or 2^N
        C[5] = 7;     // lo = hi in two words: low, 7
        unfold<u64>(C.data(), 4, 2, low);
        EXPECT_EQ(C, (std::vector<u64>{low, 7, 0, 0, low + turn, 7}));
    }
    // hi - lo = 2: the transform gives 2^N - 1.
    std::vector<u64> C{~u64{0}, ~u64{0}, ~u64{0}, ~u64{0}, 0, 7};
    unfold<u64>(C.data(), 4, 2, low);
    EXPECT_EQ(C, (std::vector<u64>{low, 7, 0, 0, 0, 8}));
}

// lo + hi = 2^N - 1, which a cyclic transform may give as zero, and its neighbours.
TEST(FoldedProduct, TellsTheUpperWordsOfASumAtTheTurn) {
    const u64 ones = ~u64{0};
    const std::vector<u64> want{ones - 5, ones - 7, ones, ones, 5, 7};
    for (const u64 word : {u64{0}, ones}) {
        std::vector<u64> C{word, word, word, word, ones - 5, ones - 7};
        unfold_sum<u64>(C.data(), 4, 2);
        EXPECT_EQ(C, want);
    }
    std::vector<u64> C{1, 0, 0, 0, ones - 4, ones - 7};  // lo + hi = 2^N
    unfold_sum<u64>(C.data(), 4, 2);
    EXPECT_EQ(C, (std::vector<u64>{ones - 4, ones - 7, ones, ones, 5, 7}));
    C = {ones - 1, ones, ones, ones, ones - 6, ones - 7};  // 2^N - 2
    unfold_sum<u64>(C.data(), 4, 2);
    EXPECT_EQ(C, (std::vector<u64>{ones - 6, ones - 7, ones, ones, 5, 7}));
}

TEST(FoldedProduct, DamageIsNotReturned) {
    const EngineAlgorithm<u64> algorithm("slow", "Slow", 1 << 30, faulty_rung);
    Rng rng(92);
    const auto A = operand<u64>(Pattern::random, 410, rng), B = operand<u64>(Pattern::random, 410, rng);
    ASSERT_TRUE(folds(faulty_rung, 410, 410, false));
    FencedWords<u64> C(820);
    CapturedConsole console;
    const ExactScratch scratch = scratch_for(algorithm, 820, rng);
    EXPECT_THROW(algorithm.multiply(scratch, C, A, 410, B, 410), kv_exception);
    EXPECT_EQ(console.count("The product fails its check modulo 2^61 - 1."), 1u);
}

}  // namespace
}  // namespace kvt::multiply
