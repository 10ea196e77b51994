// Operands kept in transformed form, wrapped products, and the direct products behind the engine interface.

#include "multiply/transform_helper.h"

#include "frame/exceptions.h"
#include "multiply/dispatch.h"
#include "multiply/product_support.h"
#include "multiply/slow_engine.h"
#include "multiply/thresholds.h"
#include "support/child_process.h"
#include "support/levels.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

const GlobalTwiddleTable covering{1 << 30, {}, {}, nullptr};

// Checks a product that may wrap: the words between the spoiled ones and the wrap, as a number within one unit.
template <class W>
void expect_range(const TransformHelper<W>& helper, const std::vector<W>& got, u64 first, std::vector<W> whole) {
    const u64 spoiled = helper.spoiled_words(whole.size());
    whole.resize(std::max<u64>(whole.size(), first + got.size()), 0);
    const u64 from = std::max(first, spoiled);
    const u64 to = std::min(first + got.size(), spoiled > 0 ? helper.wrap_words() : whole.size());
    if (from >= to) return;
    // Difference of the two numbers from word "from" on; -1, 0 or 1 modulo the top.
    i64 borrow = 0;
    bool zero = true, ones = true, one = true;
    for (u64 i = from; i < to; ++i) {
        const i128 d = static_cast<i128>(got[i - first]) - whole[i] + borrow;
        const W word = static_cast<W>(d);
        borrow = d < 0 ? -1 : 0;
        zero = zero && word == 0;
        ones = ones && word == static_cast<W>(~W{0});
        one = one && word == (i == from ? 1 : 0);
    }
    EXPECT_TRUE(spoiled > 0 ? zero || ones || one : zero)
        << "words " << from << " to " << to << ", spoiled " << spoiled;
}

template <class W>
void check_helper(const TransformEngine& engine, u64 words, u64 LA, u64 LB, Rng& rng) {
    SCOPED_TRACE(::testing::Message() << word_bits<W> << "-bit words, set-up of " << words << ", " << LA << " x "
                                      << LB);
    const CapturedConsole quiet;
    const u64 tasks = rng.below(4);
    const u64 bytes = [&] {
        const TransformPlan plan = engine.plan(words * word_bits<W>);
        return 2 * plan.operand_bytes + plan.work_bytes + plan.task_bytes;
    }();
    const ExactScratch scratch(bytes, rng.below(8), tasks, &covering);
    const TransformHelper<W> helper(scratch, words, engine);
    EXPECT_GE(helper.wrap_words(), words);
    const auto A = operand<W>(hard_patterns[rng.below(6)], LA, rng), B = operand<W>(Pattern::random, LB, rng);
    const auto AB = reference::product(A.data(), LA, B.data(), LB),
               BB = reference::product(B.data(), LB, B.data(), LB);
    const auto AA = reference::product(A.data(), LA, A.data(), LA);
    const u64 first = rng.below(words), count = rng.between(1, helper.wrap_words() - first);
    std::vector<W> out(count);

    // A stays in its buffer for two products; the second one takes it along.
    auto a = helper.forward_first(A, LA);
    auto b = helper.forward_second(B, LB);
    helper.product(b, a, out.data(), first, count);
    expect_range(helper, out, first, AB);
    EXPECT_EQ(b.setup, nullptr);
    b = helper.forward_second(B, LB);
    helper.product(b, b, out.data(), first, count);
    expect_range(helper, out, first, BB);
    b = helper.forward_second(B, LB);
    helper.product(a, b, out.data(), first, count);
    expect_range(helper, out, first, AB);

    // An operand in a caller's buffer, multiplied with operands that are used once.
    const u64 alignment = helper.operand_alignment();
    const FencedBytes own((helper.operand_bytes() + alignment - 1) / alignment * alignment);
    const auto kept = helper.forward(own.data(), A, LA);
    helper.product(kept, A, LA, out.data(), first, count);
    expect_range(helper, out, first, AA);
    helper.product(kept, B, LB, out.data(), first, count);
    expect_range(helper, out, first, AB);
}

template <class W>
void check_engine(const TransformEngine& engine, u64 most) {
    Rng rng(91);
    for (u64 i = rounds(300); i-- > 0;) {
        const u64 words = rng.between(1, most);
        const u64 LA = rng.between(1, words), LB = rng.between(1, words);
        check_helper<W>(engine, words, LA, LB, rng);
    }
}

TEST(TransformHelper, KeptOperandsGiveExactAndWrappedProducts) {
    check_engine<u64>(SlowEngine(1, 100), 40);
    check_engine<u64>(SlowEngine(-1, 84), 40);
    check_engine<u32>(SlowEngine(1, 64), 40);
    check_engine<u32>(SlowEngine(-1, 100), 40);
}

TEST(TransformHelper, DirectProductsAreATransformToo) {
    for (auto level : all_levels()) {
        const LevelScope cap(level);
        check_engine<u64>(direct_engine(), 120);
        check_engine<u32>(direct_engine(), 120);
    }
}

// Every set-up of the inverse operations fits exactly what the size query answers.
TEST(TransformHelper, NeedsWhatTheSizeQueryAnswers) {
    for (u64 p = 0; p + 9 <= 58; ++p)
        for (u64 words : {p + 8, p + 9}) {
            u64 bytes;
            mul_iPsize<u64>(bytes, p + 9, 1);
            EXPECT_LE(TransformHelper<u64>::needs(words, 1).scratch_bytes, bytes);
            const ExactScratch scratch(bytes, p % 8);
            const TransformHelper<u64> helper(scratch, words);
            mul_iPsize<u32>(bytes, p + 9, 1);
            const ExactScratch scratch32(bytes, p % 8);
            const TransformHelper<u32> helper32(scratch32, words);
        }
}

TEST(TransformHelper, ShortagesAreNamed) {
    const u64 needed = TransformHelper<u64>::needs(30, 1).scratch_bytes;
    std::vector<u64> memory(needed / 8 + 1);
    CapturedConsole console;
    try {
        const TransformHelper<u64> helper({nullptr, memory.data(), needed - 1, 1}, 30);
        ADD_FAILURE();
    } catch (const BufferTooSmallException& error) {
        EXPECT_STREQ(error.location, "TransformHelper::TransformHelper()");
        EXPECT_EQ(error.buffer_size, needed - 1);
        EXPECT_EQ(error.required_size, needed);
        EXPECT_STREQ(error.what(), "");
    }
    const SlowEngine engine(1, 64);
    const GlobalTwiddleTable shorter{30 * 64 - 1, {}, {}, nullptr};
    try {
        const TransformHelper<u64> helper({&shorter, memory.data(), 1 << 20, 1}, 30, engine);
        ADD_FAILURE();
    } catch (const kv_exception& error) {
        EXPECT_STREQ(error.title, "Lookup table is too small.");
    }
    try {
        const TransformHelper<u64> helper({nullptr, memory.data(), needed, 1}, u64{1} << 57);
        ADD_FAILURE();
    } catch (const kv_exception& error) {
        EXPECT_EQ(error.code, -4);
        EXPECT_STREQ(error.title, "Generic Exception");
    }
}

struct TwoHelpers {
    std::vector<u64> memory = std::vector<u64>(2 * 400);
    TransformHelper<u64> one{{nullptr, memory.data(), 3200, 1}, 20},
        other{{nullptr, memory.data() + 400, 3200, 1}, 20};
    std::vector<u64> A = std::vector<u64>(21, 1), out = std::vector<u64>(40);

    void mix(bool missing) {
        auto a = one.forward_first(A.data(), 10);
        auto b = other.forward_second(A.data(), 10);
        if (missing) b = {};
        one.product(a, b, out.data(), 0, 20);
    }
};

const ChildCase other_set_up{"operand_of_another_set_up", [] { TwoHelpers().mix(false); }};
const ChildCase no_set_up{"operand_of_no_set_up", [] { TwoHelpers().mix(true); }};
const ChildCase too_long{"operand_too_long", [] {
                             TwoHelpers t;
                             t.one.forward_first(t.A.data(), 21);
                         }};

TEST(TransformHelper, OperandsOfAnotherSetUpEndTheProcess) {
    for (const ChildCase* mixed : {&other_set_up, &no_set_up}) {
        const ChildEnd end = mixed->run();
        EXPECT_TRUE(end.exited_with(1));
        EXPECT_EQ(end.output, "BigFloat::set_inverse_fmul(): Mismatching Transform Parameters\n");
    }
}

TEST(TransformHelper, AnOperandLongerThanTheTransformIsAnAssertion) {
    const ChildEnd end = too_long.run();
    EXPECT_TRUE(end.faulted);
    EXPECT_NE(end.output.find("Invalid Function Parameters:   "), std::string::npos);
}

}  // namespace
}  // namespace kvt::multiply
