#include "text/read_decimal.h"

#include <algorithm>
#include <cstring>

#include "frame/exceptions.h"
#include "frame/format.h"
#include "kernels/cpu.h"
#include "kernels/direct.h"
#include "kernels/linear.h"
#include "kernels/residue61.h"
#include "multiply/dispatch.h"
#include "multiply/folded_product.h"
#include "multiply/transform_checks.h"
#include "objects/words.h"
#include "text/digit_lanes.h"
#include "text/digits.h"
#include "text/radix.h"
#include "text/radix_plan.h"
#include "text/radix_powers.h"
#include "threads/parallel.h"

namespace kvt::text {
namespace {

constexpr const char* location = "BigInt::set_string_dec()";

[[noreturn]] void raise_mismatch() {
    raise_redundancy_failure(location, "The integer does not match its digits modulo 2^61 - 1.\n");
}

// Fewer digit words are read row by row, without a plan.
constexpr u64 shortest_split_words = 48;

template <class W>
void plan_reading(RadixPlan<W>& plan, u64 digits, u64 tasks) {
    const u64 n = clamp_words<W>(digits / Decimal<W>::digits + (digits % Decimal<W>::digits != 0));
    const u64 useful = multiply::useful_tasks(tasks, n * word_bits<W>);
    const i32 code = make_radix_plan<W>(plan, Decimal<W>::base, n, useful, Direction::read);
    if (code != 0) raise_generic(code, location, nullptr);
}

// Quadratic: out = out * base + digit word, for the digit words [first, first + m) of the count digits before end,
// counted from the least significant. Returns the length.
template <class W>
u64 read_rows(W* out, const char* end, u64 count, u64 first, u64 m) noexcept {
    constexpr u64 width = Decimal<W>::digits;
    // Rows are too short for a call, and the next one starts while one still runs.
    u64 n = 0;
    const auto append = [&](W carry) {
#pragma GCC unroll 4
        for (u64 i = 0; i < n; ++i) {
            const auto product = static_cast<DoubleWord<W>>(out[i]) * Decimal<W>::base + carry;
            out[i] = static_cast<W>(product);
            carry = static_cast<W>(product >> word_bits<W>);
        }
        if (carry != 0) out[n++] = carry;
    };
    u64 i = first + m;
    if (i * width > count) {  // the most significant digit word may be short
        --i;
        bool ok = true;
        const char* const word_end = end - i * width;
        const u64 digits = count - i * width;
        append(static_cast<W>(read_digits(word_end - digits, static_cast<unsigned>(digits), ok)));
    }
    while (i-- > first) append(read_digit_word<W>(end - (i + 1) * width));
    return n;
}

// Eight numbers that were read together, to be taken in order.
struct LaneNumbers {
    DigitLane lanes[digit_lanes];
    unsigned used = 0, taken = 0, n_words = 0;
    u64 words[digit_lanes * lane_words(most_lane_digits)];

    // Words of the next one to out; returns the length.
    template <class W>
    u64 take(W* out) noexcept {
        const u64* const lane = words + taken++;
        const auto word = [&](u64 i) {
            return static_cast<W>(lane[i * sizeof(W) / 8 * digit_lanes] >> i * word_bits<W> % 64);
        };
        u64 n = n_words * (8 / sizeof(W));
        while (n > 0 && word(n - 1) == 0) --n;
        for (u64 i = 0; i < n; ++i) out[i] = word(i);
        return n;
    }
};

template <class W>
class Reading {
  public:
    Reading(const RadixPlan<W>& plan, const GlobalTwiddleTable& table, const char* digits, u64 count)
        : plan_(plan), table_(table), begin_(digits), end_(digits + count), count_(count) {
        using kernels::VectorLevel;
        if (plan.levels > lane_levels && kernels::active_levels().vector == VectorLevel::avx512ifma)
            lane_kernel_ = &digit_lanes_avx512ifma;
    }

    // out := the digit words [first, first + m), counted from the least significant; returns the length. Their shortest
    // blocks are read already where `numbers` has them.
    u64 run(W* out, u64 first, u64 m, u64 tasks, u64 depth, u8* work, LaneNumbers* numbers = nullptr) const {
        if (numbers != nullptr && m <= longest_lane()) return numbers->take(out);
        if (m <= plan_.bottom) return read_rows(out, end_, count_, first, m);
        const u64 i = plan_.splitting_level(m);
        if (i == lane_levels && lane_kernel_ != nullptr && numbers == nullptr) {
            LaneNumbers eight;
            read_lanes(eight, first, m);
            return run(out, first, m, tasks, depth, work, &eight);
        }
        const RadixLevel<W>& level = plan_.level[i];
        const u64 s = level.half_digit_words;
        W* upper = reinterpret_cast<W*>(work);
        work += area_bytes(plan_.split_words(m, s) * sizeof(W));
        u64 lower_length, upper_length;
        if (plan_.splits_tasks(tasks, depth)) {
            const u64 lower_tasks = tasks - tasks / 2;
            u8* const upper_work = work + plan_.block_bytes(s, lower_tasks, depth + 1);
            Threads::run_both([&] { lower_length = run(out, first, s, lower_tasks, depth + 1, work); },
                              [&] { upper_length = run(upper, first + s, m - s, tasks / 2, depth + 1, upper_work); });
        } else {
            lower_length = run(out, first, s, tasks, depth + 1, work, numbers);
            upper_length = run(upper, first + s, m - s, tasks, depth + 1, work, numbers);
        }
        if (upper_length == 0) return lower_length;
        if (level.direct) {
            W* const product = reinterpret_cast<W*>(work);
            const u64 length = upper_length + level.power_length;
            kernels::direct_multiply(product, upper, upper_length, level.power, level.power_length, product + length);
            upper_length = objects::trimmed_length(product, length);
            upper = product;
        } else {
            upper_length = multiply_by_power(level, upper, upper_length, tasks, work);
        }
        const u64 offset = level.shift_bits / word_bits<W>;
        if (offset + upper_length > room_for(first, m)) raise_mismatch();
        return add_at(out, lower_length, upper, upper_length, offset);
    }

  private:
    // Blocks that this level splits have at most eight of the second shortest kind, which are read at the same time.
    static constexpr u64 lane_levels = 3;
    static_assert(1u << lane_levels == digit_lanes);
    u64 longest_lane() const { return plan_.level[0].block_digit_words; }

    void read_lanes(LaneNumbers& numbers, u64 first, u64 m) const {
        find_lanes(numbers, first, m);
        unsigned digits = 0;
        for (unsigned l = 0; l < digit_lanes; ++l) {
            if (l >= numbers.used) numbers.lanes[l] = {end_, 0};
            digits = std::max(digits, numbers.lanes[l].digits);
        }
        // The next eight lie before these; eight short runs are too many for the machine to foresee.
        const char* const at = numbers.lanes[0].end;
        for (u64 i = 0; i < m * Decimal<W>::digits; i += 64)
            __builtin_prefetch(at - std::min(2 * m * Decimal<W>::digits - i, static_cast<u64>(at - begin_)));
        numbers.n_words = lane_words(digits);
        lane_kernel_->read(numbers.lanes, numbers.words);
    }
    void find_lanes(LaneNumbers& numbers, u64 first, u64 m) const {
        if (m > longest_lane()) {
            const u64 s = plan_.level[plan_.splitting_level(m)].half_digit_words;
            find_lanes(numbers, first, s);
            return find_lanes(numbers, first + s, m - s);
        }
        const u64 below = first * Decimal<W>::digits;
        const auto digits = static_cast<unsigned>(std::min<u64>(m * Decimal<W>::digits, count_ - below));
        numbers.lanes[numbers.used++] = {end_ - below, digits};
    }

    // Words of the digit words [first, first + m), the most significant of which may be short.
    u64 room_for(u64 first, u64 m) const {
        return decimal_words<W>(std::min(m * Decimal<W>::digits, count_ - first * Decimal<W>::digits));
    }

    // upper := upper * (odd^s << power_shift), in place.
    u64 multiply_by_power(const RadixLevel<W>& level, W* upper, u64 n, u64 tasks, u8* work) const {
        const multiply::TransformPlan& transform = level.transform;
        const u64 product = n + level.power_length, wrap = transform.wrap_bits / word_bits<W>;
        const bool folds = product * word_bits<W> > transform.wrap_bits;
        const auto form = [&](u64 words) {
            level.engine->product_keeping(transform, table_, level.power_transform, level.power_residue,
                                          multiply::operand_of(upper, n), work, multiply::window_of(upper, 0, words),
                                          !folds, work + area_bytes(transform.operand_bytes), tasks);
        };
        if (!folds) {
            form(product);
        } else {
            const u64 d = product - wrap;  // less than either factor has
            const u64 expected = kernels::residue_mul(kernels::residue_of_words(upper, n), level.power_residue.value);
            const BasicParameters params{&table_, work, level.product_bytes, tasks};
            multiply::mulp_p(params, upper + wrap, 0, d, upper, d, level.power, d);
            const W low = upper[wrap];
            form(wrap + 1);
            multiply::unfold(upper, wrap, d, low);
            if (kernels::residue_of_words(upper, product) != expected) raise_mismatch();
        }
        return objects::trimmed_length(upper, product);
    }

    // out [n words] += upper, `offset` words up; returns the length. The sum is below base^m, which the caller's words
    // hold.
    static u64 add_at(W* out, u64 n, const W* upper, u64 upper_n, u64 offset) noexcept {
        if (offset > n) {
            objects::zero_words(out + n, offset - n);
            n = offset;
        }
        const u64 common = std::min(n - offset, upper_n);
        W* const above = out + (offset + common);
        u32 carry = kernels::add_ir(out + offset, upper, common, 0);
        if (common < upper_n) {
            std::memcpy(above, upper + common, (upper_n - common) * sizeof(W));
            n = offset + upper_n;
        }
        carry = kernels::add1_ir(above, n - offset - common, carry);
        if (carry != 0) out[n++] = 1;
        return n;
    }

    const RadixPlan<W>& plan_;
    const GlobalTwiddleTable& table_;
    const char *const begin_, *const end_;
    const u64 count_;
    const DigitLaneKernel* lane_kernel_ = nullptr;
};

}  // namespace

void raise_invalid_character(const char* where, u64 position) {
    raise_parse_error(where, "Invalid character at position " + to_decimal(position) + ".");
}

template <class W>
u64 decimal_words(u64 digits) noexcept {
    return static_cast<u64>(static_cast<double>(digits) * Decimal<W>::words_per_digit) + 1;
}

template <class W>
u64 read_decimal_bytes(u64 digits, u64 tasks) {
    RadixPlan<W> plan;
    plan_reading(plan, digits, tasks);
    return plan.scratch_bytes();
}

template <class W>
u64 read_decimal_digits(const BasicParameters& params, W* out, const char* digits, u64 count, u64 queried,
                        u64 residue) {
    const u64 n = (count + Decimal<W>::digits - 1) / Decimal<W>::digits;
    if (n < shortest_split_words) return read_rows(out, digits + count, count, 0, n);
    RadixPlan<W> plan;
    plan_reading(plan, count, params.tasks);
    if (plan.scratch_bytes() > params.memory_bytes && queried > count) {
        // Longer numbers may need less; their levels serve shorter ones too.
        plan_reading(plan, queried, params.tasks);
        plan.digit_words = n;
    }
    const GlobalTwiddleTable* table = params.table;
    if (plan.levels > 0) table = &multiply::require_table(params, plan.level[plan.levels - 1].transform, location);
    const u64 needed = plan.scratch_bytes();
    require_capacity(params.memory_bytes, needed, location);
    u8* const memory = aligned_memory<W>(params.memory);
    u8* const work = memory + plan.powers_bytes();
    compute_powers(plan, *table, memory, work);
    const u64 length = Reading<W>(plan, *table, digits, count).run(out, 0, plan.digit_words, plan.tasks, 0, work);
    if (kernels::residue_of_words(out, length) != residue) raise_mismatch();
    return length;
}

template <class W>
void set_string_dec(const BasicParameters& params, objects::BigInt<W>& out, const char* text, u64 chars) {
    u64 i = 0;
    bool sign = true;
    if (i < chars && (text[i] == '-' || text[i] == '+')) sign = text[i++] == '+';
    const auto [end, residue] = scan_decimal_digits(text, i, chars);
    if (end < chars || end == i) raise_invalid_character(location, end);
    while (i < end && text[i] == '0') ++i;
    if (i == end) return objects::set_zero(out);
    require_capacity(out.buffer_size, decimal_words<W>(end - i), location);
    out.L = read_decimal_digits(params, out.buffer, text + i, end - i, chars, residue);
    out.T = out.buffer;
    out.sign = sign;
}

template u64 decimal_words<u32>(u64) noexcept;
template u64 decimal_words<u64>(u64) noexcept;
template u64 read_decimal_bytes<u32>(u64, u64);
template u64 read_decimal_bytes<u64>(u64, u64);
template u64 read_decimal_digits(const BasicParameters&, u32*, const char*, u64, u64, u64);
template u64 read_decimal_digits(const BasicParameters&, u64*, const char*, u64, u64, u64);
template void set_string_dec(const BasicParameters&, objects::BigInt<u32>&, const char*, u64);
template void set_string_dec(const BasicParameters&, objects::BigInt<u64>&, const char*, u64);

}  // namespace kvt::text
