#pragma once
// What the tests of products share.

#include <gtest/gtest.h>

#include <cstring>

#include "frame/parameters.h"
#include "multiply/twiddle_table.h"
#include "support/fenced.h"
#include "support/operands.h"

namespace kvt::test {

// Scratch of exactly the queried size, starting at a multiple of 8 plus shift and ending at an unreadable page (shift
// bytes of margin, watched).
class ExactScratch {
  public:
    ExactScratch(u64 bytes, u64 shift, u64 tasks = 1, const GlobalTwiddleTable* table = nullptr)
        : memory_(bytes + shift), parameters_{} {
        std::memset(memory_.data(), 0xa5, memory_.size());
        parameters_ = {table, memory_.data(), bytes, tasks};
    }
    ~ExactScratch() {
        for (u64 i = parameters_.memory_bytes; i < memory_.size(); ++i) EXPECT_EQ(memory_.data()[i], 0xa5);
    }
    operator const BasicParameters&() const { return parameters_; }

  private:
    FencedBytes memory_;
    BasicParameters parameters_;
};

template <class W>
FencedWords<W> operand(Pattern pattern, u64 n, Rng& rng) {
    FencedWords<W> out(n);
    fill(pattern, out.data(), n, rng);
    return out;
}

template <class W>
::testing::AssertionResult same(const W* got, const W* want, u64 n) {
    for (u64 i = 0; i < n; ++i)
        if (got[i] != want[i])
            return ::testing::AssertionFailure()
                   << "word " << i << " of " << n << ": " << got[i] << ", want " << want[i];
    return ::testing::AssertionSuccess();
}

}  // namespace kvt::test
