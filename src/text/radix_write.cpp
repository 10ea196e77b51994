#include "text/radix_write.h"

#include <algorithm>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "frame/format.h"
#include "kernels/linear.h"
#include "multiply/transform_checks.h"
#include "threads/parallel.h"

namespace kvt::text {
namespace {

// One block: a fraction of k words to m digit words; what it tells its parent.
template <class W>
struct Block {
    W* fraction;
    u64 k;
    W* digit_words;
    u64 m;
    bool lower;     // which half of its parent it is
    W overlap = 0;  // the digit word just below the block, as this block sees it
    int carry = 0;  // to be added to the digit word above the block
    SeamFailure failure = {};
};

template <class W>
class Conversion {
  public:
    Conversion(const RadixPlan<W>& plan, const GlobalTwiddleTable& table) : plan_(plan), table_(table) {}

    void run(Block<W>& block, u64 tasks, u64 depth, u8* work) const {
        if (block.m <= plan_.bottom) {
            run_directly(block);
            return;
        }
        const RadixLevel<W>& level = plan_.level[plan_.splitting_level(block.m)];
        const u64 s = level.half_digit_words;
        Block<W> lower{reinterpret_cast<W*>(work), plan_.fraction_words(block.m - s), block.digit_words + s,
                       block.m - s, true};
        work += area_bytes(plan_.split_words(block.m, s) * sizeof(W));
        multiply_fraction(level, block, lower, tasks, work);

        const u64 kept = std::min(block.k, plan_.fraction_words(s));
        Block<W> upper{block.fraction + (block.k - kept), kept, block.digit_words, s, false};
        if (plan_.splits_tasks(tasks, depth)) {
            const u64 upper_tasks = tasks - tasks / 2;
            u8* const lower_work = work + plan_.block_bytes(upper.m, upper_tasks, depth + 1);
            Threads::run_both([&] { run(upper, upper_tasks, depth + 1, work); },
                              [&] { run(lower, tasks / 2, depth + 1, lower_work); });
        } else {
            run(upper, tasks, depth + 1, work);
            run(lower, tasks, depth + 1, work);
        }
        join(block, upper, lower);
    }

  private:
    // Quadratic: the carry out of fraction * base is the next digit word. A word below the digits still to come is
    // dropped at every step.
    void run_directly(Block<W>& block) const {
        u64 n = block.k;
        W* fraction = block.fraction;
        const u64 kept = block.m + 2;
        if (n > kept) {
            fraction += n - kept;
            n = kept;
        }
        for (u64 i = 0; i < block.m; ++i) {
            block.digit_words[i] = kernels::mul_ir(fraction, n, plan_.base, W{0});
            if (n > block.m + 1 - i) {
                ++fraction;
                --n;
            }
        }
        block.overlap = kernels::mul_ir(fraction, n, plan_.base, W{0});
    }

    // lower.fraction := fraction of block.fraction * base^s, from a product that may wrap below the words kept.
    void multiply_fraction(const RadixLevel<W>& level, const Block<W>& block, const Block<W>& lower, u64 tasks,
                           u8* work) const {
        const u64 k = block.k, kept = lower.k;
        const multiply::TransformPlan& transform = level.transform;

        // The words kept start at this bit of the product; before its lowest one where the fraction is short.
        const i64 first_bit = (static_cast<i64>(k) - static_cast<i64>(kept)) * static_cast<i64>(word_bits<W>) -
                              static_cast<i64>(level.shift_bits);
        const unsigned shift = static_cast<unsigned>(first_bit & (word_bits<W> - 1));
        const i64 first = (first_bit - static_cast<i64>(shift)) / static_cast<i64>(word_bits<W>);
        const u64 count = kept + (shift != 0);
        const u64 below = first < 0 ? std::min(static_cast<u64>(-first), count) : 0;
        W* const out = lower.fraction;
        std::fill_n(out, below, W{0});
        const auto window =
            multiply::window_of(out + below, static_cast<u64>(std::max<i64>(first, 0)), count - below);
        level.engine->product_keeping(transform, table_, level.power_transform, level.power_residue,
                                      multiply::operand_of(block.fraction, k), work, window, false,
                                      work + area_bytes(transform.operand_bytes), tasks);
        if (shift == 0) return;
        for (u64 i = 0; i < kept; ++i)
            out[i] = static_cast<W>(out[i] >> shift | out[i + 1] << (word_bits<W> - shift));
    }

    void join(Block<W>& block, const Block<W>& upper, const Block<W>& lower) const {
        block.overlap = lower.overlap;
        block.failure = upper.failure.failed ? upper.failure : lower.failure;
        if (block.failure.failed) return;

        // A lower half that rounds up (its digit words are then zero, or all base - 1) shows in its first digit word.
        block.carry = upper.carry;
        int carry = 0;
        if (!join_seam(block.digit_words, upper.m, upper.overlap, plan_.base, carry))
            block.failure = {true, block.lower, block.m, upper.overlap, block.digit_words[upper.m]};
        block.carry += carry;
    }

    const RadixPlan<W>& plan_;
    const GlobalTwiddleTable& table_;
};

}  // namespace

template <class W>
bool join_seam(W* digit_words, u64 s, W expected, W base, int& carry) noexcept {
    const W actual = digit_words[s], largest = static_cast<W>(base - 1);
    carry = 0;
    if (expected == largest && actual == 0) {
        for (u64 i = s; i-- > 0;) {
            if (digit_words[i] != largest) {
                ++digit_words[i];
                return true;
            }
            digit_words[i] = 0;
        }
        carry = 1;
        return true;
    }
    if (expected == 0 && actual == largest) {
        for (u64 i = s; i-- > 0;) {
            if (digit_words[i] != 0) {
                --digit_words[i];
                return true;
            }
            digit_words[i] = largest;
        }
        carry = -1;
        return true;
    }
    return (expected > actual ? expected - actual : actual - expected) <= 1;
}

void raise_seam_failure(const SeamFailure& failure) {
    const char* text =
        failure.lower ? "kvh_CBRv2_ci_btrf_L(): Overlap Mismatch" : "kvq_CBRv2_ci_btrf_T(): Overlap Mismatch";
    ConsoleText()
        .line(text, 'R')
        .line("RL        " + to_decimal(failure.block_digit_words), 'w')
        .line("Expected  " + to_decimal(failure.expected))
        .line("Actual    " + to_decimal(failure.actual))
        .print();
    raise_generic(errors::radix_overlap, nullptr, text);
}

template <class W>
int write_digit_words(const RadixPlan<W>& plan, const GlobalTwiddleTable& table, W* digit_words, W* fraction, u64 k,
                      u8* work) {
    const u64 kept = std::min(k, plan.fraction_words(plan.digit_words));
    Block<W> whole{fraction + (k - kept), kept, digit_words, plan.digit_words, false};
    Conversion<W>(plan, table).run(whole, plan.tasks, 0, work);
    if (whole.failure.failed) raise_seam_failure(whole.failure);
    return whole.carry;
}

template bool join_seam(u32*, u64, u32, u32, int&) noexcept;
template bool join_seam(u64*, u64, u64, u64, int&) noexcept;
template int write_digit_words(const RadixPlan<u32>&, const GlobalTwiddleTable&, u32*, u32*, u64, u8*);
template int write_digit_words(const RadixPlan<u64>&, const GlobalTwiddleTable&, u64*, u64*, u64, u8*);

}  // namespace kvt::text
