// The test support itself: a guard that cannot fail guards nothing.

#include <gtest/gtest.h>

#include <cstdint>

#include "support/child_process.h"
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

}  // namespace
}  // namespace kvt::test
