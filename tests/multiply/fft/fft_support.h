#pragma once
// What the tests of the floating-point transform share: tables that reach beyond the dispatcher's limits, and
// products through the engine in buffers that end at an unreadable page.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kernels/residue61.h"
#include "multiply/engine.h"
#include "multiply/fft/length_table.h"
#include "multiply/twiddle_builder.h"
#include "reference/arithmetic.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"
#include "support/scratch.h"

namespace kvt::test {

// A table with the FFT levels of the rows up to one.
class FftTable {
  public:
    explicit FftTable(u64 row) {
        multiply::TableBuilder builder;
        const multiply::FftParameters parameters = multiply::fft_row(row);
        builder.fft.configure_code(parameters.code, parameters.capacity_bits);
        builder.cover(parameters.capacity_bits);
        builder.build_into(table_);
    }
    ~FftTable() { multiply::free_table(table_); }
    FftTable(const FftTable&) = delete;
    operator const GlobalTwiddleTable&() const { return table_; }
    GlobalTwiddleTable& get() { return table_; }

  private:
    GlobalTwiddleTable table_{};
};

// Row of the first length of at least this many points.
inline u64 row_of_points(u64 points) {
    u64 row = 0;
    while (multiply::fft_row(row).points < points) ++row;
    return row;
}

// A soak run on a build that is fast, and has memory for the longest lengths.
inline bool long_soak() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return KVNUM_HAVE_GMP && rounds(1) >= 10;
#endif
}

using Words = std::vector<u32>;

// Buffers of one product: fenced operands, scratch at a skew.
struct FftJob {
    const multiply::TransformEngine& engine = multiply::fft_engine();
    multiply::TransformPlan plan;
    const GlobalTwiddleTable& table;
    FencedWords<u32> a, b;
    Scratch operand_a, operand_b, work;
    u64 tasks;

    FftJob(const multiply::TransformPlan& plan, const GlobalTwiddleTable& table, const Words& x, const Words& y,
           u64 skew = 0, u64 tasks = 1)
        : plan(plan),
          table(table),
          a(x.size()),
          b(y.size()),
          operand_a(plan.operand_bytes, skew),
          operand_b(plan.operand_bytes, 3 * skew % 64),
          work(plan.product_bytes, 5 * skew % 64),
          tasks(tasks) {
        std::copy(x.begin(), x.end(), a.begin());
        std::copy(y.begin(), y.end(), b.begin());
    }
    ~FftJob() { EXPECT_TRUE(operand_a.intact() && operand_b.intact() && work.intact()); }

    multiply::Operand operand(const FencedWords<u32>& words) const {
        return {reinterpret_cast<const u8*>(words.data()), words.size()};
    }
    multiply::Residue forward_a() { return forward(a, operand_a); }

    // Words [first, first + count) by the one-shot product.
    Words product(u64 first, u64 count, bool check = true) { return one_shot(operand(b), first, count, check); }
    Words square(u64 first, u64 count, bool check = true) { return one_shot({nullptr, 0}, first, count, check); }

    // The same by the three separate steps.
    Words steps(u64 first, u64 count, bool squares, bool check = true) {
        FencedWords<u32> out(count);
        const multiply::Residue x = forward_a(), y = squares ? x : forward(b, operand_b);
        const Scratch& other = squares ? operand_a : operand_b;
        engine.multiply(plan, table, operand_a.data(), other.data(), work.data(), tasks);
        const multiply::Residue expected{kernels::residue_mul(x.value, y.value)};
        engine.inverse(plan, table, operand_a.data(), {reinterpret_cast<u8*>(out.data()), first, count},
                       check ? &expected : nullptr, work.data(), tasks);
        return {out.begin(), out.end()};
    }

  private:
    multiply::Residue forward(const FencedWords<u32>& words, Scratch& at) {
        return engine.forward(plan, table, operand(words), at.data(), work.data(), tasks);
    }
    Words one_shot(multiply::Operand other, u64 first, u64 count, bool check) {
        FencedWords<u32> out(count);
        const multiply::Residue residue = forward_a();
        engine.product(plan, table, operand_a.data(), residue, other,
                       {reinterpret_cast<u8*>(out.data()), first, count}, check, work.data(), tasks);
        return {out.begin(), out.end()};
    }
};

inline Words window_of_words(const Words& whole, u64 first, u64 count) {
    Words out(count);
    for (u64 i = 0; i < count; ++i) out[i] = first + i < whole.size() ? whole[first + i] : 0;
    return out;
}

inline std::string level_text() { return kernels::level_name(kernels::active_levels().vector); }

}  // namespace kvt::test
