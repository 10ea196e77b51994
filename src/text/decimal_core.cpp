#include "text/decimal_core.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "inverse/power.h"
#include "inverse/progress.h"
#include "inverse/sizes.h"
#include "multiply/transform_checks.h"
#include "text/digits.h"
#include "text/radix.h"
#include "text/radix_plan.h"
#include "text/radix_powers.h"
#include "text/radix_write.h"
#include "threads/parallel.h"

namespace kvt::text {

using objects::BigFloat;

namespace {

constexpr const char* location = "to_string_dec()";

template <class W>
void plan_decimal(RadixPlan<W>& plan, u64 n, u64 tasks) {
    const u64 useful = multiply::useful_tasks(tasks, n * word_bits<W>);
    const i32 code = make_radix_plan<W>(plan, Decimal<W>::base, n, useful, Direction::write);
    if (code != 0) raise_generic(code, location, nullptr);
}

template <class W>
u64 digits_stage_bytes(const RadixPlan<W>& plan, u64 p) {
    return words_area<W>(p + 2) + words_area<W>(plan.digit_words) + plan.scratch_bytes();
}

// Scratch memory in stages: what lies behind the first `used` bytes of the parameters' memory.
BasicParameters behind(const BasicParameters& params, u64 used) {
    BasicParameters out = params;
    const u64 taken = std::min(used, params.memory_bytes);
    out.memory = static_cast<u8*>(params.memory) + taken;
    out.memory_bytes -= taken;
    return out;
}

// k = floor(log10(x)) or one less: from the number of bits above the point.
template <class W>
i64 decimal_exponent(const BigFloat<W>& x) {
    const i64 top = x.exp + static_cast<i64>(x.L);
    constexpr i64 limit_bits = i64{1} << 48;
    if (top > limit_bits / word_bits<W> || top < -(limit_bits / word_bits<W>))
        fatal_exit("BitToDec(): Float-Indexing Limit Exceeded");
    const i64 bits = top * word_bits<W> - std::countl_zero(x.T[x.L - 1]);
    if (bits >= limit_bits) fatal_exit("BitToDec(): Float-Indexing Limit Exceeded");
    return static_cast<i64>(std::floor(static_cast<double>(bits) * 0.3010299956639812));
}

// y := x / 10^k, p + 2 words at the start of the scratch memory.
template <class W>
BigFloat<W> scaled(const BasicParameters& params, const BigFloat<W>& x, i64 k, u64 p) {
    W* const words = static_cast<W*>(params.memory);
    const ProgressSink* sink = current_progress_sink();
    if (k == 0) {
        require_capacity(params.memory_bytes, words_area<W>(p + 2), location);
        const u64 n = std::min(x.L, p + 2);
        std::copy(x.T + (x.L - n), x.T + x.L, words);
        return {words, n, x.exp + static_cast<i64>(x.L - n), true, words, p + 2};
    }
    require_capacity(params.memory_bytes, words_area<W>(p + 3), "BigFloatR_pow_uW_sL_P()");
    const BasicParameters rest = behind(params, words_area<W>(p + 3));
    inverse::WordScratch<W> scratch{static_cast<W*>(rest.memory), std::min(2 * p + 9, rest.memory_bytes / sizeof(W))};
    BigFloat<W> S{words, 0, 0, true, words, p + 3};
    inverse::power_signed<W>(behind(rest, words_area<W>(2 * p + 9)), S, W{10}, -k, p, scratch, sink);

    const u64 n = std::min(S.L, p + 2);
    std::copy(S.T + (S.L - n), S.T + S.L, words);
    BigFloat<W> y{words, n, S.exp + static_cast<i64>(S.L - n), true, words, p + 2};
    objects::set_mul_ip(y, behind(params, words_area<W>(p + 2)), x, p);
    y.sign = true;
    return y;
}

// Digit words to characters, most significant first.
template <class W>
void write_characters(char* out, const W* digit_words, u64 n, u64 tasks) {
    constexpr u64 words_per_task = 4096;
    const u64 parts = std::clamp<u64>(n / words_per_task, 1, std::max<u64>(tasks, 1));
    Threads::run_parts(parts, [&](u64 part) {
        const auto share = Threads::share_of(n, parts, part);
        for (u64 i = share.first; i < share.last; ++i)
            write_digits(out + i * Decimal<W>::digits, digit_words[i], Decimal<W>::digits);
    });
}

}  // namespace

template <class W>
u64 decimal_core_bytes(u64 p, u64 n, u64 tasks) {
    p = clamp_words<W>(p);
    n = clamp_words<W>(n);
    RadixPlan<W> plan;
    plan_decimal(plan, n, tasks);
    const u64 products = inverse::transform_bytes<W>(2 * p + 6, tasks);
    const u64 transforms = inverse::transform_bytes<W>(p + 9, tasks);
    const u64 powers = words_area<W>(p + 3) + words_area<W>(2 * p + 9) + std::max(products, transforms);
    const u64 scaling = words_area<W>(p + 2) + products;
    return std::max({powers, scaling, digits_stage_bytes(plan, p)});
}

template <class W>
FloatString write_decimal_digits(const BasicParameters& params, char* buffer, u64 capacity, const BigFloat<W>& x,
                                 u64 p, u64 n, PhaseSeconds* times) {
    const i64 top = x.exp + static_cast<i64>(x.L);
    const i64 k = top == 0 || top == 1 ? 0 : decimal_exponent(x);
    RadixPlan<W> plan;
    plan_decimal(plan, n, params.tasks);
    // The longest transforms are those of the scaling; it checks the table for them.
    const GlobalTwiddleTable* table = params.table;
    if (plan.levels > 0) table = &multiply::require_table(params, plan.level[plan.levels - 1].transform, location);

    PhaseSeconds unused;
    if (times == nullptr) times = &unused;
    const auto timed = [&](double& seconds) { return plan.levels > 0 ? &seconds : nullptr; };

    BigFloat<W> y;
    {
        const PhaseTimer timer(timed(times->scaling));
        y = scaled(params, x, k, p);
    }
    require_capacity(params.memory_bytes, digits_stage_bytes(plan, p), location);
    if (y.exp + static_cast<i64>(y.L) > 1)
        fatal_assertion(errors::impossible_result, location, "Magnitude Normalization Failed");
    const bool has_unit = y.exp + static_cast<i64>(y.L) == 1;
    u64 unit = has_unit ? y.T[y.L - 1] : 0;
    const u64 fraction_words = y.L - has_unit;

    u8* memory = static_cast<u8*>(params.memory) + words_area<W>(p + 2);
    W* const digit_words = reinterpret_cast<W*>(memory);
    memory += words_area<W>(n);
    if (fraction_words == 0) {
        std::fill_n(digit_words, n, W{0});
    } else {
        const ProgressSink* sink = current_progress_sink();
        u8* const work = memory + plan.powers_bytes();
        {
            const PhaseTimer timer(timed(times->squaring));
            inverse::Phase<W> phase(sink, "Squaring...    ", n);
            compute_powers(plan, *table, memory, work);
        }
        const PhaseTimer timer(timed(times->converting));
        inverse::Phase<W> phase(sink, "Converting...  ", n);
        const int carry = write_digit_words(plan, *table, digit_words, y.T, fraction_words, work);
        unit += static_cast<u64>(static_cast<i64>(carry));
    }

    char* const digits = buffer + FloatString::headroom;
    u64 unit_characters = 0;
    if (has_unit || unit != 0) {
        char reversed[20];
        const char* first = write_digits_before(reversed + sizeof reversed, unit);
        unit_characters = static_cast<u64>(reversed + sizeof reversed - first);
        std::copy(first, static_cast<const char*>(reversed + sizeof reversed), digits);
    }
    write_characters(digits + unit_characters, digit_words, n, params.tasks);
    constexpr u64 per_word = Decimal<W>::digits;
    return {digits, unit_characters + per_word * n, k - static_cast<i64>(per_word * n), x.sign, buffer, capacity};
}

template u64 decimal_core_bytes<u32>(u64, u64, u64);
template u64 decimal_core_bytes<u64>(u64, u64, u64);
template FloatString write_decimal_digits(const BasicParameters&, char*, u64, const BigFloat<u32>&, u64, u64,
                                          PhaseSeconds*);
template FloatString write_decimal_digits(const BasicParameters&, char*, u64, const BigFloat<u64>&, u64, u64,
                                          PhaseSeconds*);

}  // namespace kvt::text
