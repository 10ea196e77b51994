#pragma once
// What the tests of products share.

#include <gtest/gtest.h>

#include <string>

#include "frame/console.h"
#include "frame/parameters.h"
#include "multiply/twiddle_table.h"
#include "support/console_capture.h"
#include "support/fenced.h"
#include "support/operands.h"
#include "support/scratch.h"

namespace kvt::test {

// Scratch of exactly the queried size at any distance from a 64-byte boundary; what lies next to it is watched.
class ExactScratch {
  public:
    ExactScratch(u64 bytes, u64 skew, u64 tasks = 1, const GlobalTwiddleTable* table = nullptr)
        : memory_(bytes, skew), parameters_(memory_.parameters(table, tasks)) {}
    ~ExactScratch() { EXPECT_TRUE(memory_.intact()); }
    operator const BasicParameters&() const { return parameters_; }

  private:
    Scratch memory_;
    BasicParameters parameters_;
};

// Collects what the library prints.
class CapturedConsole {
  public:
    const std::string& text() {
        text_ += capture_.take();
        return text_;
    }

    // How often part was printed.
    unsigned count(const std::string& part) {
        unsigned n = 0;
        for (std::size_t at = 0; (at = text().find(part, at)) != std::string::npos; at += part.size()) ++n;
        return n;
    }

  private:
    ConsoleCapture capture_{set_console_sink};
    std::string text_;
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
