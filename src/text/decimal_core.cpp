#include "text/decimal_core.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "inverse/newton.h"
#include "inverse/power.h"
#include "inverse/progress.h"
#include "inverse/reciprocal.h"
#include "inverse/sizes.h"
#include "multiply/transform_checks.h"
#include "objects/big_float_parts.h"
#include "text/digits.h"
#include "text/radix.h"
#include "text/radix_plan.h"
#include "text/radix_powers.h"
#include "text/radix_write.h"
#include "text/truncation.h"
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
    return words_area<W>(p + 4) + words_area<W>(plan.digit_words) + plan.scratch_bytes();
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

// The division's precision: its quotient, cut to p + 2 words, is then off by less than one unit.
constexpr u64 quotient_precision(u64 p) noexcept { return p + 2; }

// The power of ten's.
template <class W>
constexpr u64 power_precision(u64 p) noexcept {
    return p + guard_words<W>;
}

// Scratch of scaling down: the quotient, the power of ten, the division's words.
template <class W>
struct QuotientLayout {
    u64 quotient, power, division;  // words
    explicit QuotientLayout(u64 p)
        : quotient(quotient_precision(p) + 3),
          power(power_precision<W>(p) + 3),
          division(inverse::division_sizes<W>(quotient_precision(p), 1).scratch_words) {}
    u64 power_bytes() const noexcept { return words_area<W>(quotient) + words_area<W>(power); }
    u64 bytes() const noexcept { return power_bytes() + words_area<W>(division); }
};

// The raise (text/truncation.h) is far above what the scaling and the conversion lose, some units at word p + 1 below the
// point whatever the power of ten, and far below the last digit wanted, word p - 1.
template <class W>
void raise_truncated(BigFloat<W>& y, u64 p) noexcept {
    const i64 position = -static_cast<i64>(p + 1);
    if (y.exp <= position) raise_word(y, static_cast<u64>(position - y.exp));
}

// y := x / 10^k for k > 0, at the start of the scratch memory. An exact quotient comes out at or above its value.
template <class W>
BigFloat<W> scaled_down(const BasicParameters& params, const BigFloat<W>& x, u64 k, u64 p) {
    const QuotientLayout<W> layout(p);
    W* const quotient = static_cast<W*>(params.memory);
    W* const power = static_cast<W*>(behind(params, words_area<W>(layout.quotient)).memory);
    const BasicParameters behind_power = behind(params, layout.power_bytes());
    const ProgressSink* sink = current_progress_sink();

    BigFloat<W> P{power, 0, 0, true, power, layout.power};
    inverse::power<W>(behind_power, P, W{10}, k, power_precision<W>(p), sink);
    BigFloat<W> y{quotient, 0, 0, true, quotient, layout.quotient};
    inverse::divide<W>(behind(params, layout.bytes()), y, x, P, quotient_precision(p),
                       {static_cast<W*>(behind_power.memory), layout.division}, sink);
    y.sign = true;
    if (y.L > p + 2) {
        inverse::keep_top(y, p + 2);
        objects::add_one_unit(y);
    }
    return y;
}

// y := x * 10^k, p + 2 words at the start of the scratch memory.
template <class W>
BigFloat<W> scaled_up(const BasicParameters& params, const BigFloat<W>& x, u64 k, u64 p) {
    const u64 q = power_precision<W>(p);
    W* const words = static_cast<W*>(params.memory);
    BigFloat<W> S{words, 0, 0, true, words, q + 3};
    inverse::power<W>(behind(params, words_area<W>(q + 3)), S, W{10}, k, q, current_progress_sink());
    const u64 n = std::min(S.L, p + 2);
    std::copy(S.T + (S.L - n), S.T + S.L, words);
    BigFloat<W> y{words, n, S.exp + static_cast<i64>(S.L - n), true, words, p + 2};
    objects::set_mul_ip(y, behind(params, words_area<W>(p + 2)), x, p);
    y.sign = true;
    y.buffer_size = p + 3;
    return y;
}

// Raises where the scratch memory is too short for the words of the scaling; its products look at what is behind.
template <class W>
void require_scaling(const BasicParameters& params, i64 k, u64 p) {
    if (k == 0) return require_capacity(params.memory_bytes, words_area<W>(p + 2), location);
    const u64 bytes = k > 0 ? QuotientLayout<W>(p).bytes() : words_area<W>(power_precision<W>(p) + 3);
    require_capacity(params.memory_bytes, bytes, "BigFloatR_pow_uW_sL_P()");
}

// y := x / 10^k, at most p + 3 words in the first of the scratch memory.
template <class W>
BigFloat<W> scaled(const BasicParameters& params, const BigFloat<W>& x, i64 k, u64 p) {
    if (k > 0) return scaled_down(params, x, static_cast<u64>(k), p);
    if (k < 0) return scaled_up(params, x, static_cast<u64>(-k), p);
    W* const words = static_cast<W*>(params.memory);
    const u64 n = std::min(x.L, p + 2);
    std::copy(x.T + (x.L - n), x.T + x.L, words);
    return {words, n, x.exp + static_cast<i64>(x.L - n), true, words, p + 2};
}

// Digit words to characters, most significant first.
template <class W>
void write_characters(char* out, const W* digit_words, u64 n, u64 tasks) {
    constexpr u64 words_per_task = 4096;
    const u64 parts = std::clamp<u64>(n / words_per_task, 1, std::max<u64>(tasks, 1));
    Threads::run_parts(parts, [&](u64 part) {
        const auto share = Threads::share_of(n, parts, part);
        for (u64 i = share.first; i < share.last; ++i) write_digit_word(out + i * Decimal<W>::digits, digit_words[i]);
    });
}

}  // namespace

template <class W>
u64 decimal_core_bytes(u64 p, u64 n, u64 tasks) {
    p = clamp_words<W>(p);
    n = clamp_words<W>(n);
    RadixPlan<W> plan;
    plan_decimal(plan, n, tasks);
    const u64 products = inverse::transform_bytes<W>(2 * power_precision<W>(p) + 6, tasks);
    const u64 division = inverse::division_sizes<W>(quotient_precision(p), tasks).transform_bytes;
    const QuotientLayout<W> layout(p);
    const u64 scaling = std::max(layout.power_bytes() + products, layout.bytes() + division);
    return std::max(scaling, digits_stage_bytes(plan, p));
}

template <class W>
FloatString write_decimal_digits(const BasicParameters& params, char* buffer, u64 capacity, const BigFloat<W>& x,
                                 u64 p, u64 n, bool is_float, PhaseSeconds* times) {
    const i64 top = x.exp + static_cast<i64>(x.L);
    const i64 k = top == 0 || top == 1 ? 0 : decimal_exponent(x);
    RadixPlan<W> plan;
    plan_decimal(plan, n, params.tasks);
    // The longest transforms are those of the scaling; it checks the table for them.
    const GlobalTwiddleTable* table = params.table;
    if (plan.levels > 0) table = &multiply::require_table(params, plan.level[plan.levels - 1].transform, location);

    // All that is too short is found before the first product.
    require_scaling<W>(params, k, p);
    require_capacity(params.memory_bytes, digits_stage_bytes(plan, p), location);

    PhaseSeconds unused;
    if (times == nullptr) times = &unused;
    const auto timed = [&](double& seconds) { return plan.levels > 0 ? &seconds : nullptr; };

    BigFloat<W> y;
    {
        const PhaseTimer timer(timed(times->scaling));
        y = scaled(params, x, k, p);
        if (is_float && (k != 0 || x.L > y.L)) raise_truncated(y, p);
    }
    if (y.exp + static_cast<i64>(y.L) > 1)
        fatal_assertion(errors::impossible_result, location, "Magnitude Normalization Failed");
    const bool has_unit = y.exp + static_cast<i64>(y.L) == 1;
    u64 unit = has_unit ? y.T[y.L - 1] : 0;
    const u64 fraction_words = y.L - has_unit;

    u8* memory = static_cast<u8*>(params.memory) + words_area<W>(p + 4);
    W* const digit_words = reinterpret_cast<W*>(memory);
    memory += words_area<W>(n);
    if (fraction_words == 0) {
        std::fill_n(digit_words, n, W{0});
    } else {
        const ProgressSink* sink = current_progress_sink();
        memory = aligned_memory<W>(memory);
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
template FloatString write_decimal_digits(const BasicParameters&, char*, u64, const BigFloat<u32>&, u64, u64, bool,
                                          PhaseSeconds*);
template FloatString write_decimal_digits(const BasicParameters&, char*, u64, const BigFloat<u64>&, u64, u64, bool,
                                          PhaseSeconds*);

}  // namespace kvt::text
