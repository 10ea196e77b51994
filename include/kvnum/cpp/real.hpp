#pragma once
// kv::Real: floating-point numbers of any precision. Included by kvnum/kvnum.hpp.

#include <cmath>

#include "kvnum/cpp/integer.hpp"

namespace kv {

// A value that owns its words and knows its precision in words of 64 bits. Results have the higher precision of their
// operands and are truncated, never rounded; one operation is less than one unit of its last word of precision off
// (two guard words are kept below it). Integers are exact as long as they fit. Operators run under
// Context::current(); errors are thrown as kv::Error.
class Real : public detail::Owner<BigFloat_c64> {
  public:
    // What bytes_needed() is asked of. inv_sqrt and power_of_word are those of a word, power is that of a Real;
    // multiply_word stands for scale() too.
    enum class Operation {
        add,
        multiply,
        multiply_word,
        divide,
        reciprocal,
        sqrt,
        inv_sqrt,
        power,
        power_of_word,
        to_decimal,
        to_hex,
        from_decimal
    };

    // The precision that holds so many decimal digits, with a word to spare.
    static std::uint64_t words_for_digits(std::uint64_t digits) {
        return static_cast<std::uint64_t>(static_cast<double>(digits) * 0.0519051264826151) + 2;
    }

    // Zero; it takes the precision of what it meets.
    Real() = default;
    template <detail::Native T>
    Real(T x, std::uint64_t precision) : Owner(1), precision_(clamped(precision)) {
        detail::check(BigFloat_c64_set_uL(get(), detail::magnitude(x)));
        record_.sign = x >= 0;
    }
    Real(double x, std::uint64_t precision) : Owner(2), precision_(clamped(precision)) {
        detail::check(BigFloat_c64_set_double(get(), x, 0));
        normalise_sign();
    }
    Real(const Integer& x, std::uint64_t precision)
        : Owner(std::min(x.words(), clamped(precision) + 2)), precision_(clamped(precision)) {
        BigFloat_c64 whole{x.get()->T, x.words(), 0, x.get()->sign, x.get()->T, x.words()};
        detail::check(BigFloat_c64_set_BigFloat(get(), &whole, precision));
        normalise_sign();
    }
    // An optional sign, digits with an optional point, an optional exponent: "-1.5e42", "2.5 *10^ -3".
    Real(std::string_view decimal, std::uint64_t precision);

    std::uint64_t precision() const { return precision_; }
    // Cut to a lower precision; a higher one adds nothing to the value.
    Real& set_precision(std::uint64_t words) {
        precision_ = words = clamped(words);
        if (record_.L > words + 2) {
            Real shorter(Capacity{words + 2, words});
            detail::check(BigFloat_c64_set_BigFloat(shorter.get(), get(), words));
            *this = std::move(shorter);
        }
        return *this;
    }

    // Digits are truncated: within one unit in the last one. Positional where the digits reach the point, else with an
    // exponent, "1.5 *10^ 42".
    Text to_decimal(std::uint64_t digits) const;
    Text to_hex(std::uint64_t digits) const;
    std::string to_string(std::uint64_t digits) const { return to_decimal(digits).str(); }
    double to_double() const {
        std::int64_t exponent;
        const double d = BigFloat_c64_to_double(get(), &exponent);
        return std::ldexp(d, static_cast<int>(std::clamp<std::int64_t>(exponent, -1000, 1000) * 64));
    }
    // The integer part, towards zero.
    Integer to_integer() const {
        const std::int64_t top = record_.exp + static_cast<std::int64_t>(record_.L);
        if (top <= 0 || record_.L == 0) return {};
        const auto n = static_cast<std::uint64_t>(top);
        const std::unique_ptr<std::uint64_t[]> range(new std::uint64_t[n]);
        BigFloat_c64_get_range(get(), range.get(), 0, n);
        return Integer::from_words(range.get(), n, !record_.sign);
    }

    Real operator-() const& { return -Real(*this); }
    Real operator-() && {
        negate();
        return std::move(*this);
    }
    friend Real abs(Real x) {
        x.record_.sign = true;
        return x;
    }
    friend Real operator+(const Real& a, const Real& b) { return sum<BigFloat_c64_set_add>(a, b); }
    friend Real operator-(const Real& a, const Real& b) { return sum<BigFloat_c64_set_sub>(a, b); }
    friend Real operator*(const Real& a, const Real& b);
    friend Real operator/(const Real& a, const Real& b);
    Real& operator+=(const Real& b) { return *this = *this + b; }
    Real& operator-=(const Real& b) { return *this = *this - b; }
    Real& operator*=(const Real& b) { return *this = *this * b; }
    Real& operator/=(const Real& b) { return *this = *this / b; }

    // By one word; by 2^k.
    Real& multiply_word(std::uint64_t m) {
        reserve(record_.L + 1);
        detail::check(BigFloat_c64_mul_uW(get(), m));
        return trim();
    }
    Real& scale(std::int64_t k) {
        reserve(record_.L + 1);
        detail::check(BigFloat_c64_mp2(get(), k));
        return trim();
    }

    // Drops zero words at the bottom, so that products with it are shorter; the value stays.
    Real& drop_zero_words() {
        BigFloat_c64_strip_tzs_all(get());
        return *this;
    }

    friend bool operator==(const Real& a, const Real& b) { return BigFloat_c64_cmp(a.get(), b.get()) == 0; }
    friend std::strong_ordering operator<=>(const Real& a, const Real& b) {
        return BigFloat_c64_cmp(a.get(), b.get()) <=> 0;
    }

    friend Real reciprocal(const Real& x);
    // Of one word; of a number (by Newton's iteration on products); x > 0 in inv_sqrt, x >= 0 in sqrt.
    static Real inv_sqrt(std::uint64_t x, std::uint64_t precision);
    static Real sqrt(std::uint64_t x, std::uint64_t precision) {
        return x == 0 ? Real(0, precision) : std::move(inv_sqrt(x, precision).multiply_word(x));
    }
    friend Real inv_sqrt(const Real& x);
    friend Real sqrt(const Real& x);
    // x^n; 0^0 = 1, 0 to a negative power is an error.
    static Real pow(std::uint64_t x, std::int64_t n, std::uint64_t precision);
    friend Real pow(const Real& x, std::int64_t n);

    // a * b and b * c; b is transformed once where that is faster.
    friend std::pair<Real, Real> products_with(const Real& a, const Real& b, const Real& c);

    // Memory that the operation takes beyond its operands, for numbers of that many words of precision, or digits
    // where a text is written, at the current Context's number of tasks. from_decimal: n characters, read to as many
    // words of precision as they fill.
    static Bytes bytes_needed(Operation operation, std::uint64_t n);

  private:
    struct Capacity {
        std::uint64_t words, precision;
    };
    // Some words are added to precisions, and no number is so long.
    static std::uint64_t clamped(std::uint64_t precision) { return std::min(precision, std::uint64_t{1} << 62); }

    explicit Real(Capacity capacity) : Owner(capacity.words), precision_(clamped(capacity.precision)) {}
    friend struct RealOperations;

    void reserve(std::uint64_t words_from_start) {
        if (record_.buffer_size >= words_from_start + static_cast<std::uint64_t>(record_.T - record_.buffer)) return;
        Real larger(Capacity{words_from_start, precision_});
        detail::check(BigFloat_c64_set_BigFloat(larger.get(), get(), record_.L));
        *this = std::move(larger);
    }
    // At most two guard words: the buffer of a number that grew by a word is kept.
    Real& trim() {
        if (record_.L > precision_ + 2) {
            const std::uint64_t extra = record_.L - (precision_ + 2);
            record_.T += extra;
            record_.exp += static_cast<std::int64_t>(extra);
            record_.L -= extra;
        }
        normalise_sign();
        return *this;
    }

    template <auto set>
    static Real sum(const Real& a, const Real& b) {
        const std::uint64_t p = std::max(a.precision_, b.precision_);
        std::uint64_t n = std::max(a.words(), b.words());
        if (!a.is_zero() && !b.is_zero()) {
            const BigFloat_c64 &x = *a.get(), &y = *b.get();
            const std::int64_t top =
                std::max(x.exp + static_cast<std::int64_t>(x.L), y.exp + static_cast<std::int64_t>(y.L));
            n = static_cast<std::uint64_t>(top - std::min(x.exp, y.exp));
        }
        Real out(Capacity{std::min(n, p + 2) + 1, p});
        detail::check(set(out.get(), a.get(), b.get(), p));
        return std::move(out.trim());
    }

    std::uint64_t precision_ = 0;
};

// The operations that take scratch memory; one place for what each needs.
struct RealOperations {
    using Need = detail::Need;

    static Need product_need(std::uint64_t La, std::uint64_t Lb, std::uint64_t p) {
        Need need{64 * (std::min(La, p + 2) + std::min(Lb, p + 2)), 0, 0};
        detail::check(BigFloat_c64_mul_Psize(&need.bytes, La, Lb, p, tasks()));
        return need;
    }
    template <auto sizes>
    static Need newton_need(std::uint64_t p, std::uint64_t* out_words) {
        Need need{64 * (2 * p + 32), 0, 0};
        detail::check(sizes(out_words, &need.words, &need.bytes, p, tasks()));
        return need;
    }
    static Need decimal_need(std::uint64_t digits, std::uint64_t* buffer_bytes) {
        Need need{64 * (2 * Real::words_for_digits(digits) + 32), 0, 0};
        detail::check(BigFloat_c64_to_string_dec_sizes(buffer_bytes, &need.bytes, digits, tasks()));
        return need;
    }
    static Need read_need(std::uint64_t chars, std::uint64_t p, std::uint64_t* out_words) {
        Need need;
        detail::check(BigFloat_c64_set_string_dec_sizes(out_words, &need.bytes, chars, p, tasks()));
        need.table_bits = 64 * (2 * std::max(*out_words, Real::words_for_digits(chars)) + 32);
        return need;
    }
    static Need full_product_need(std::uint64_t p) { return product_need(p + 2, p + 2, p); }

    static Real product(const Real& a, const Real& b) {
        const std::uint64_t p = std::max(a.precision_, b.precision_);
        if (a.is_zero() || b.is_zero()) return Real(0, p);
        Real out(Real::Capacity{product_words(a, b, p), p});
        const auto scratch = Context::current().prepare(product_need(a.words(), b.words(), p));
        if (a.get()->T == b.get()->T && a.words() == b.words() && a.sign() == b.sign())
            detail::check(BigFloat_c64_set_sqr(out.get(), &scratch.params, a.get(), p));
        else
            detail::check(BigFloat_c64_set_mul(out.get(), &scratch.params, a.get(), b.get(), p));
        return std::move(out.trim());
    }

    static std::pair<Real, Real> products_with(const Real& a, const Real& b, const Real& c) {
        if (a.is_zero() || b.is_zero() || c.is_zero()) return {product(a, b), product(b, c)};
        const std::uint64_t p = std::max({a.precision_, b.precision_, c.precision_});
        Real ab(Real::Capacity{product_words(a, b, p), p}), bc(Real::Capacity{product_words(b, c, p), p});
        Need need = product_need(std::max(a.words(), c.words()), b.words(), p);
        std::uint64_t shared;
        detail::check(mul_iPsize_c64(&shared, need.table_bits / 64, tasks()));
        need.bytes = std::max(need.bytes, shared);
        const auto scratch = Context::current().prepare(need);
        detail::check(BigFloat_c64_set_mul_AB_BC(ab.get(), bc.get(), &scratch.params, a.get(), b.get(), c.get(), p));
        ab.trim();
        bc.trim();
        return {std::move(ab), std::move(bc)};
    }

    static Real quotient(const Real& a, const Real& b) {
        if (b.is_zero()) throw Error("Division by zero.");
        const std::uint64_t p = std::max(a.precision_, b.precision_);
        std::uint64_t words;
        const auto scratch = Context::current().prepare(newton_need<BigFloatR_c64_div_sizes>(p, &words));
        Real out(Real::Capacity{words, p});
        detail::check(BigFloatR_c64_div(&scratch.params, out.get(), a.get(), b.get(), p, scratch.words,
                                        scratch.words_count, nullptr));
        return std::move(out.trim());
    }

    static Real reciprocal(const Real& x) {
        if (x.is_zero()) throw Error("Division by zero.");
        std::uint64_t words;
        const auto scratch = Context::current().prepare(newton_need<BigFloatR_c64_rcp_sizes>(x.precision_, &words));
        Real out(Real::Capacity{words, x.precision_});
        detail::check(BigFloatR_c64_rcp(&scratch.params, out.get(), x.get(), x.precision_, scratch.words,
                                        scratch.words_count, nullptr));
        return std::move(out.trim());
    }

    static Real inv_sqrt(std::uint64_t x, std::uint64_t p) {
        if (x == 0) throw Error("Division by zero.");
        std::uint64_t words;
        const auto scratch = Context::current().prepare(newton_need<BigFloatR_c64_invsqrt_uW_sizes>(p, &words));
        Real out(Real::Capacity{words, p});
        detail::check(
            BigFloatR_c64_invsqrt_uW(&scratch.params, out.get(), x, p, scratch.words, scratch.words_count, nullptr));
        return std::move(out.trim());
    }

    // y <- y + y (1 - x y^2) / 2. Each step doubles the correct bits, less a few for the rounding of its products.
    static Real inv_sqrt(const Real& x) {
        if (x.sign() <= 0) throw Error("The square root of a number that is not positive.");
        const std::uint64_t p = x.precision_;
        std::int64_t exponent;
        double seed = BigFloat_c64_to_double(x.get(), &exponent);
        if (exponent % 2 != 0) {
            seed *= 0x1p64;
            --exponent;
        }
        Real y(1 / std::sqrt(seed), 1);
        y.record_.exp -= exponent / 2;
        for (std::uint64_t bits = 48; bits < 64 * (p + 1);) {
            bits = std::min(2 * bits - 4, 64 * (p + 1));
            const std::uint64_t q = std::min(bits / 64 + 1, p + 1);
            y.set_precision(q);
            Real head = x;
            head.set_precision(q);
            Real correction = (Real(1, q) - head * (y * y)) * y;
            y += correction.scale(-1);
        }
        y.set_precision(p);
        return y;
    }

    static Real power(std::uint64_t x, std::int64_t n, std::uint64_t p) {
        if (x == 0 && n < 0) throw Error("Division by zero.");
        std::uint64_t words;
        const auto scratch = Context::current().prepare(newton_need<BigFloatR_c64_pow_uW_sL_sizes>(p, &words));
        Real out(Real::Capacity{words, p});
        detail::check(BigFloatR_c64_pow_uW_sL(&scratch.params, out.get(), x, n, p, scratch.words, scratch.words_count,
                                              nullptr));
        return std::move(out.trim());
    }

    static Real power(const Real& x, std::int64_t n) {
        Real out(1, x.precision_);
        const std::uint64_t count = detail::magnitude(n);
        for (int bit = std::bit_width(count) - 1; bit >= 0; --bit) {
            out = product(out, out);
            if ((count >> bit & 1) != 0) out = product(out, x);
        }
        return n < 0 ? reciprocal(out) : out;
    }

    static Real read(std::string_view text, std::uint64_t p) {
        std::uint64_t words;
        const auto scratch = Context::current().prepare(read_need(text.size(), p, &words));
        Real out(Real::Capacity{words, p});
        detail::check(BigFloat_c64_set_string_dec(&scratch.params, out.get(), text.data(), text.size(), p));
        return std::move(out.trim());
    }

    static Text decimal(const Real& x, std::uint64_t digits) {
        std::uint64_t bytes;
        const auto scratch = Context::current().prepare(decimal_need(digits, &bytes));
        Text out(bytes);
        char* first;
        detail::check(BigFloat_c64_to_string_dec(&scratch.params, &first, out.buffer(), x.get(), digits));
        out.set(first);
        return out;
    }

    static Text hex(const Real& x, std::uint64_t digits) {
        std::uint64_t bytes;
        detail::check(BigFloat_c64_to_string_hex_sizes(&bytes, digits));
        Text out(bytes);
        char* first;
        detail::check(BigFloat_c64_to_string_hex(&first, out.buffer(), x.get(), digits));
        out.set(first);
        return out;
    }

    static Bytes bytes_needed(Real::Operation operation, std::uint64_t n) {
        using enum Real::Operation;
        std::uint64_t out = 0;
        Need need;
        switch (operation) {
            case add: return {8 * (n + 3), 0};
            case multiply: return {8 * (n + 2), full_product_need(n).arena_bytes()};
            case multiply_word: return {8 * (n + 3), 0};
            case divide: need = newton_need<BigFloatR_c64_div_sizes>(n, &out); break;
            case reciprocal: need = newton_need<BigFloatR_c64_rcp_sizes>(n, &out); break;
            case inv_sqrt: need = newton_need<BigFloatR_c64_invsqrt_uW_sizes>(n, &out); break;
            // The power so far and the next one; the reciprocal of a power to a negative exponent.
            case power:
                need = newton_need<BigFloatR_c64_rcp_sizes>(n, &out);
                return {8 * (n + 2 + std::max(n + 2, out)),
                        std::max(need.arena_bytes(), full_product_need(n).arena_bytes())};
            case power_of_word: need = newton_need<BigFloatR_c64_pow_uW_sL_sizes>(n, &out); break;
            case from_decimal: need = read_need(n, Real::words_for_digits(n), &out); break;
            // y, a copy of x, 1 - x y^2 and two products.
            case sqrt: return {8 * 6 * (n + 4), full_product_need(n + 1).arena_bytes()};
            case to_decimal: need = decimal_need(n, &out); return {out, need.arena_bytes()};
            case to_hex: detail::check(BigFloat_c64_to_string_hex_sizes(&out, n)); return {out, 0};
        }
        return {8 * out, need.arena_bytes()};
    }

  private:
    static std::uint64_t tasks() { return Context::current().tasks(); }
    static std::uint64_t product_words(const Real& a, const Real& b, std::uint64_t p) {
        return std::min(std::min(a.words(), p + 2) + std::min(b.words(), p + 2), p + 2);
    }
};

inline Real::Real(std::string_view decimal, std::uint64_t precision)
    : Real(RealOperations::read(decimal, precision)) {}
inline Real operator*(const Real& a, const Real& b) { return RealOperations::product(a, b); }
inline Real operator/(const Real& a, const Real& b) { return RealOperations::quotient(a, b); }
inline Real reciprocal(const Real& x) { return RealOperations::reciprocal(x); }
inline Real inv_sqrt(const Real& x) { return RealOperations::inv_sqrt(x); }
inline Real sqrt(const Real& x) { return x.is_zero() ? x : RealOperations::inv_sqrt(x) * x; }
inline Real pow(const Real& x, std::int64_t n) { return RealOperations::power(x, n); }
inline std::pair<Real, Real> products_with(const Real& a, const Real& b, const Real& c) {
    return RealOperations::products_with(a, b, c);
}
inline Real Real::inv_sqrt(std::uint64_t x, std::uint64_t precision) {
    return RealOperations::inv_sqrt(x, precision);
}
inline Real Real::pow(std::uint64_t x, std::int64_t n, std::uint64_t precision) {
    return RealOperations::power(x, n, precision);
}
inline Text Real::to_decimal(std::uint64_t digits) const { return RealOperations::decimal(*this, digits); }
inline Text Real::to_hex(std::uint64_t digits) const { return RealOperations::hex(*this, digits); }
inline Bytes Real::bytes_needed(Operation operation, std::uint64_t n) {
    return RealOperations::bytes_needed(operation, n);
}

}  // namespace kv
