#include "text/radix_plan.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "frame/errors.h"
#include "frame/fatal.h"
#include "multiply/algorithms.h"
#include "multiply/cost.h"
#include "multiply/dispatch.h"
#include "multiply/thresholds.h"

namespace kvt::text {
namespace {

// Blocks of fewer digit words than twice this are converted by repeated multiplication.
constexpr u64 smallest_bottom(Direction direction) { return direction == Direction::write ? 24 : 12; }

// Products of blocks of up to so many bits are direct: their short power makes that cheaper than a transform. Reading,
// they may be on some machines up to the second length.
constexpr u64 direct_block_bits = 160 * 64, longest_direct_bits = 320 * 64;

// More tasks split no further: what a query of scratch takes grows with them.
constexpr u64 most_tasks = 4096;

// The lowest levels always run in one task: those of blocks up to some 6,000 digit words.
constexpr u64 sequential_levels(Direction direction) { return direction == Direction::write ? 8 : 9; }

// Words that the products of a level must hold without wrapping into what is kept. With w words a digit word:
//   writing  the block has at most block * w + 3 words and odd^s at most s * w - shift + 1; what is kept ends
//            (block - s) * w + 3 words and the shift below the block's point: block * w + 6 words hold all from there up
//   reading  the upper half has at most (block - s) * w + 1 words, odd^s as above
template <class W>
u64 product_words(const RadixPlan<W>& plan, u64 block, u64 s) {
    if (plan.direction == Direction::write) return plan.fraction_words(block) + 4;
    return static_cast<u64>(static_cast<double>(block - s) * plan.words_per_digit +
                            static_cast<double>(s) * plan.words_per_odd) +
           3;
}

template <class W>
void choose_transform(RadixLevel<W>& level, u64 words) {
    const u64 bits = words * word_bits<W>;
    level.engine = bits <= direct_block_bits ? &multiply::direct_engine()
                                             : &multiply::threshold_table<W>().select(words).engine();
    level.transform = level.engine->plan(bits);
    level.direct = false;
    level.low_words = level.product_bytes = level.kept_words = 0;
}

// The transform that products of so many bits are folded over; one that holds them where folding does not pay. The
// floating-point lengths are a quarter apart, and the longest one is worth more folding than the others.
multiply::TransformPlan fold_plan(const multiply::TransformEngine& engine, u64 bits) {
    const u64 longest = multiply::fft_rung.block_bits;
    if (bits > longest && bits <= longest / 5 * 6) return multiply::fft_engine().plan(longest);
    if (&engine == &multiply::fft_engine()) return engine.plan(bits / 8 * 7);
    return engine.plan(bits);
}

// Whether a level's products are direct where they may be: the words are the same.
template <class W>
bool is_direct(const RadixPlan<W>& plan, const RadixLevel<W>& level) {
    if (level.engine == &multiply::direct_engine()) return true;
    constexpr u64 halves = 8 / sizeof(W);
    const u64 upper = plan.integer_words(level.block_digit_words - level.half_digit_words);
    return multiply::direct_cost(std::max(upper, level.power_words) / halves,
                                 std::min(upper, level.power_words) / halves,
                                 false) < multiply::transform_cost(multiply::fft_rung, level.transform).kept_product;
}

// The other ways to a product of up to `words` words.
template <class W>
void choose_reading(const RadixPlan<W>& plan, RadixLevel<W>& level, u64 words) {
    const u64 bits = words * word_bits<W>;
    if (bits <= longest_direct_bits) {
        level.direct = is_direct(plan, level);
        level.kept_words = level.power_words;
        level.product_bytes = multiply::direct_engine().plan(bits).work_bytes;
        return;
    }
    const multiply::TransformPlan shorter = fold_plan(*level.engine, bits);
    if (shorter.capacity_bits >= bits || shorter.capacity_bits % word_bits<W> != 0) return;
    level.engine = &multiply::fft_engine();
    level.transform = shorter;
    level.low_words = level.kept_words = words - shorter.capacity_bits / word_bits<W>;
    MulSizeRecord record;
    multiply::mulp_Psize<W>(record, 2 * level.low_words, plan.tasks);
    level.product_bytes = record.scratch_bytes;
}

}  // namespace

template <class W>
i32 make_radix_plan(RadixPlan<W>& plan, W base, u64 digit_words, u64 tasks, Direction direction) {
    if (base < 2) return errors::radix_base;
    constexpr double log2_e = 1.4426950408889634;
    const double base_bits = std::log(static_cast<double>(base)) * log2_e;
    plan.base = base;
    plan.twos = static_cast<unsigned>(std::countr_zero(base));
    plan.odd = static_cast<W>(base >> plan.twos);
    plan.digit_words = digit_words;
    plan.words_per_digit = base_bits / word_bits<W>;
    plan.words_per_odd = (base_bits - plan.twos) / word_bits<W>;
    plan.tasks = std::clamp<u64>(tasks, 1, most_tasks);
    plan.direction = direction;

    plan.levels = 0;
    while (digit_words >> (plan.levels + 1) >= smallest_bottom(direction)) ++plan.levels;
    const auto halved = [&](u64 times) { return (digit_words + (u64{1} << times) - 1) >> times; };
    plan.bottom = std::max<u64>(halved(plan.levels), 1);
    const u64 useful_depth = plan.levels - std::min(plan.levels, sequential_levels(direction));
    plan.parallel_depth = std::min<u64>(useful_depth, static_cast<u64>(std::bit_width(plan.tasks - 1)));

    for (u64 i = 0; i < plan.levels; ++i) {
        RadixLevel<W>& level = plan.level[i];
        level.half_digit_words = halved(plan.levels - i);
        level.block_digit_words = halved(plan.levels - i - 1);
        level.power_words = static_cast<u64>(static_cast<double>(level.half_digit_words) * plan.words_per_odd) + 6;
        level.shift_bits = plan.twos * level.half_digit_words;
        level.power_shift = direction == Direction::read ? level.shift_bits % word_bits<W> : 0;
        level.power_transform = nullptr;
        level.power = nullptr;
        // Both halves of a split use the level's one set-up.
        const u64 words = product_words(plan, level.block_digit_words, level.half_digit_words);
        choose_transform(level, words);
        if (direction == Direction::read) choose_reading(plan, level, words);
        const bool both_fit = level.transform.wrap_bits >= (words - level.low_words) * word_bits<W>;
        if (!both_fit) fatal_exit("kvt_CBRv2_ci_btrf_ap_make(): Thread Inconsistancy");
    }
    return 0;
}

template <class W>
u64 RadixPlan<W>::splitting_level(u64 m) const noexcept {
    u64 i = levels - 1;
    while (level[i].half_digit_words >= m) --i;
    return i;
}

template <class W>
u64 RadixPlan<W>::powers_bytes() const noexcept {
    if (levels == 0) return 0;
    u64 bytes = area_bytes(level[levels - 1].power_words * sizeof(W));
    for (u64 i = 0; i < levels; ++i) {
        bytes += area_bytes(level[i].transform.operand_bytes);
        bytes += words_area<W>(level[i].kept_words);
    }
    return bytes;
}

template <class W>
u64 RadixPlan<W>::product_bytes(const RadixLevel<W>& at, u64 block_tasks) const noexcept {
    const multiply::TransformPlan& t = at.transform;
    const u64 transformed = area_bytes(t.operand_bytes) + area_bytes(t.work_bytes + block_tasks * t.task_bytes);
    return std::max(transformed, area_bytes(at.product_bytes));
}

template <class W>
u64 RadixPlan<W>::split_words(u64 m, u64 s) const noexcept {
    if (direction == Direction::write) return fraction_words(m - s) + 1;
    return integer_words(m - s) + static_cast<u64>(static_cast<double>(s) * words_per_odd) + 2;
}

template <class W>
u64 RadixPlan<W>::block_bytes(u64 m, u64 block_tasks, u64 depth) const noexcept {
    if (m <= bottom) return 0;
    const RadixLevel<W>& at = level[splitting_level(m)];
    const u64 s = at.half_digit_words;
    u64 inner;
    if (splits_tasks(block_tasks, depth)) {
        inner =
            block_bytes(s, block_tasks - block_tasks / 2, depth + 1) + block_bytes(m - s, block_tasks / 2, depth + 1);
    } else {
        inner = block_bytes(s, block_tasks, depth + 1);  // the lower half is no longer than the upper one
    }
    return area_bytes(split_words(m, s) * sizeof(W)) + std::max(product_bytes(at, block_tasks), inner);
}

// compute_powers() squares all powers but the last one.
template <class W>
u64 RadixPlan<W>::recursion_bytes() const noexcept {
    u64 bytes = block_bytes(digit_words, tasks, 0);
    for (u64 i = 0; i + 1 < levels; ++i) bytes = std::max(bytes, product_bytes(level[i], tasks));
    return bytes;
}

template struct RadixPlan<u32>;
template struct RadixPlan<u64>;
template i32 make_radix_plan(RadixPlan<u32>&, u32, u64, u64, Direction);
template i32 make_radix_plan(RadixPlan<u64>&, u64, u64, u64, Direction);

}  // namespace kvt::text
