// The test support itself: a guard that cannot fail guards nothing.

#include <gtest/gtest.h>

#include <cstdint>

#include "multiply/twiddle_table.h"
#include "support/child_process.h"
#include "support/falsify.h"
#include "support/fenced.h"
#include "support/scratch.h"

namespace kvt::test {
namespace {

const ChildCase reads_past_the_fence{"read_past_fence", [] {
                                         FencedWords<u64> words(5);
                                         volatile u64* end = words.data() + 5;
                                         (void)*end;
                                     }};
const ChildCase returns{"returns", [] {}};

TEST(FencedWords, AReadPastTheEndFaults) { EXPECT_TRUE(reads_past_the_fence.run().faulted); }

TEST(ChildCase, TellsABodyThatReturned) { EXPECT_TRUE(returns.run().exited_with(ChildCase::returned)); }

TEST(Scratch, TakesEverySkewAndSeesAWriteOnEitherSide) {
    for (std::size_t skew = 0; skew < 64; skew += 7)
        for (std::size_t bytes : {0, 1, 63, 64, 65, 4096, 5000}) {
            Scratch scratch(bytes, skew);
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(scratch.data()) % 64, skew);
            ASSERT_TRUE(scratch.intact());
            scratch.data()[-1] ^= 1;
            ASSERT_FALSE(scratch.intact());
            scratch.data()[-1] ^= 1;
            if ((bytes + skew) % 64 != 0) {
                scratch.data()[bytes] ^= 1;
                ASSERT_FALSE(scratch.intact());
            }
        }
}

// The direct engine keeps operands as they are: 64 bits of length, then the words.
TEST(FalsifyingEngine, FlipsTheBitAtItsStage) {
    const u64 a = 0x1234567890, b = 1000003;
    auto product_with = [&](FalsifyingEngine::Stage stage, u64 bit) {
        const FalsifyingEngine engine(multiply::direct_engine(), stage, bit);
        const multiply::TransformPlan plan = engine.plan(128);
        const GlobalTwiddleTable no_table{};
        const Scratch operand_a(plan.operand_bytes), operand_b(plan.operand_bytes), work(plan.work_bytes);
        u64 out[2];
        auto bytes = [](const u64& x) { return reinterpret_cast<const u8*>(&x); };
        engine.forward(plan, no_table, {bytes(a), 2}, operand_a.data(), work.data(), 1);
        engine.forward(plan, no_table, {bytes(b), 2}, operand_b.data(), work.data(), 1);
        engine.multiply(plan, no_table, operand_a.data(), operand_b.data(), work.data(), 1);
        engine.inverse(plan, no_table, operand_a.data(), {reinterpret_cast<u8*>(out), 0, 4}, nullptr, work.data(), 1);
        EXPECT_EQ(out[1], 0u);
        return out[0];
    };
    EXPECT_EQ(product_with(FalsifyingEngine::Stage::transformed, 64 + 3), (a ^ 8) * b);
    EXPECT_EQ(product_with(FalsifyingEngine::Stage::multiplied, 64 + 3), (a * b) ^ 8);
}

}  // namespace
}  // namespace kvt::test
