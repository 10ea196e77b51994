#pragma once
// kv::Integer: signed integers of any length. Included by kvnum/kvnum.hpp.

#include <bit>
#include <compare>

#include "kvnum/cpp/context.hpp"

namespace kv {

// A value that owns its words. Operators run under Context::current(); errors are thrown as kv::Error.
class Integer : public detail::Owner<BigInt_c64> {
  public:
    // What bytes_needed() is asked of; a and b are words of the operands, or characters where a text is read.
    enum class Operation {
        add,
        multiply,
        multiply_word,
        square,
        divide,
        power,
        shift_left,
        shift_right,
        to_decimal,
        to_hex,
        from_decimal,
        from_hex
    };

    Integer() = default;
    template <detail::Native T>
    Integer(T x) : Owner(1) {
        detail::check(BigInt_c64_set_uL(get(), detail::magnitude(x)));
        record_.sign = x >= 0;
    }
    // An optional sign and digits; in from_hex an optional 0x between them. Nothing else, no white space.
    explicit Integer(std::string_view decimal) { *this = from_decimal(decimal); }
    static Integer from_decimal(std::string_view text);
    static Integer from_hex(std::string_view text);
    // The magnitude's words, least significant first; zero words at the top are dropped.
    static Integer from_words(const std::uint64_t* words, std::uint64_t n, bool negative = false) {
        Integer out(Capacity{n});
        detail::check(BigInt_c64_set_uWs(out.get(), words, n));
        out.record_.sign = !negative;
        return out.finished();
    }

    std::uint64_t word(std::uint64_t i) const { return i < record_.L ? record_.T[i] : 0; }
    std::uint64_t bits() const { return record_.L == 0 ? 0 : 64 * record_.L - std::countl_zero(word(record_.L - 1)); }
    bool is_odd() const { return (word(0) & 1) != 0; }

    Text to_decimal() const;
    Text to_hex() const;
    std::string to_string() const { return to_decimal().str(); }

    Integer operator-() const& { return -Integer(*this); }
    Integer operator-() && {
        negate();
        return std::move(*this);
    }
    friend Integer abs(Integer x) {
        x.record_.sign = true;
        return x;
    }

    friend Integer operator+(const Integer& a, const Integer& b) { return sum<BigInt_c64_set_add>(a, b); }
    friend Integer operator-(const Integer& a, const Integer& b) { return sum<BigInt_c64_set_sub>(a, b); }
    friend Integer operator*(const Integer& a, const Integer& b);
    // Truncating towards zero; the remainder has the sign of a.
    friend Integer operator/(const Integer& a, const Integer& b);
    friend Integer operator%(const Integer& a, const Integer& b);

    // In place where the buffer is long enough.
    Integer& operator+=(const Integer& b) { return add_to<BigInt_c64_set_add>(b); }
    Integer& operator-=(const Integer& b) { return add_to<BigInt_c64_set_sub>(b); }
    Integer& operator*=(const Integer& b) { return *this = *this * b; }
    Integer& operator/=(const Integer& b) { return *this = *this / b; }
    Integer& operator%=(const Integer& b) { return *this = *this % b; }
    Integer& operator<<=(std::uint64_t bits) {
        if (is_zero()) return *this;
        reserve(record_.L + bits / 64 + 1);
        detail::check(BigInt_c64_shl(get(), bits));
        return *this;
    }
    // Towards zero, as division by a power of two.
    Integer& operator>>=(std::uint64_t bits) {
        BigInt_c64_shr(get(), bits);
        normalise_sign();
        return *this;
    }
    // By one word.
    Integer& multiply_word(std::uint64_t m) {
        reserve(record_.L + 1);
        detail::check(BigInt_c64_mul_uW(get(), m));
        return finish();
    }
    friend Integer operator<<(Integer x, std::uint64_t bits) { return std::move(x <<= bits); }
    friend Integer operator>>(Integer x, std::uint64_t bits) { return std::move(x >>= bits); }

    friend bool operator==(const Integer& a, const Integer& b) { return BigInt_c64_cmp(a.get(), b.get()) == 0; }
    friend std::strong_ordering operator<=>(const Integer& a, const Integer& b) {
        return BigInt_c64_cmp(a.get(), b.get()) <=> 0;
    }

    // Memory that the operation takes beyond its operands, at the current Context's number of tasks.
    //   multiply, add, divide   words of both operands
    //   power                   words of the base, exponent
    //   shift_left              words of the operand, bits
    //   others                  words or characters of the only operand
    static Bytes bytes_needed(Operation operation, std::uint64_t a, std::uint64_t b = 0);

  private:
    struct Capacity {
        std::uint64_t words;
    };
    explicit Integer(Capacity capacity) : Owner(capacity.words) {}
    friend struct IntegerOperations;

    Integer& finish() {
        normalise_sign();
        return *this;
    }
    Integer finished() { return std::move(finish()); }

    void reserve(std::uint64_t capacity_words) {
        if (record_.buffer_size >= capacity_words) return;
        Integer larger(Capacity{capacity_words});
        detail::check(BigInt_c64_set_BigInt(larger.get(), get()));
        *this = std::move(larger);
    }

    template <auto set>
    static Integer sum(const Integer& a, const Integer& b) {
        Integer out(Capacity{std::max(a.words(), b.words()) + 1});
        detail::check(set(out.get(), a.get(), b.get()));
        return out.finished();
    }
    template <auto set>
    Integer& add_to(const Integer& b) {
        if (record_.buffer_size < std::max(words(), b.words()) + 1) return *this = sum<set>(*this, b);
        detail::check(set(get(), get(), b.get()));
        return finish();
    }
};

// Quotient and remainder of one division: a = quotient * b + remainder, |remainder| < |b|, signs as of operator/ and %.
struct Division {
    Integer quotient;
    Integer remainder;
};

// The operations that take scratch memory; one place for what each needs.
struct IntegerOperations {
    using Need = detail::Need;

    static Need product_need(std::uint64_t La, std::uint64_t Lb) {
        Need need{64 * (La + Lb), 0, 0};
        detail::check(BigInt_c64_mul_Psize(&need.bytes, La, Lb, tasks()));
        return need;
    }

    // A quotient of n words: its approximation to n + 1 words is less than one unit off.
    static Need quotient_need(std::uint64_t n, std::uint64_t* out_words) {
        Need need{64 * (2 * (n + 1) + 16), 0, 0};
        detail::check(BigFloatR_c64_div_sizes(out_words, &need.words, &need.bytes, n + 1, tasks()));
        return need;
    }
    static Need decimal_need(std::uint64_t L, std::uint64_t* buffer_bytes) {
        Need need{64 * (2 * L + 16), 0, 0};
        detail::check(BigInt_c64_to_string_dec_sizes(buffer_bytes, &need.bytes, L, tasks()));
        return need;
    }
    static Need reading_need(std::uint64_t chars, std::uint64_t* out_words) {
        Need need;
        detail::check(BigInt_c64_set_string_dec_sizes(out_words, &need.bytes, chars, tasks()));
        need.table_bits = 64 * (2 * *out_words + 16);
        return need;
    }

    static Integer product(const Integer& a, const Integer& b) {
        if (a.is_zero() || b.is_zero()) return {};
        Integer out(Integer::Capacity{a.words() + b.words()});
        const auto scratch = Context::current().prepare(product_need(a.words(), b.words()));
        if (a.get()->T == b.get()->T && a.words() == b.words() && a.sign() == b.sign())
            detail::check(BigInt_c64_set_sqr(out.get(), &scratch.params, a.get()));
        else
            detail::check(BigInt_c64_set_mul(out.get(), &scratch.params, a.get(), b.get()));
        return out.finished();
    }

    static Division divide(const Integer& a, const Integer& b) {
        if (b.is_zero()) throw Error("Division by zero.");
        BigInt_c64 divisor = *b.get(), dividend = *a.get();
        divisor.sign = dividend.sign = true;
        if (BigInt_c64_cmp(&dividend, &divisor) < 0) return {Integer(), a};
        Integer quotient = quotient_near(dividend, divisor);
        // The approximation is off by one at most, so the remainder by one divisor.
        Integer remainder = abs(a) - quotient * abs(b);
        if (remainder.sign() < 0) {
            quotient -= 1;
            remainder += abs(b);
        } else if (BigInt_c64_cmp(remainder.get(), &divisor) >= 0) {
            quotient += 1;
            remainder -= abs(b);
        }
        if (remainder.sign() < 0 || BigInt_c64_cmp(remainder.get(), &divisor) >= 0)
            throw Error("A quotient failed its check.");
        if (a.sign() != b.sign()) quotient.negate();
        if (a.sign() < 0) remainder.negate();
        return {std::move(quotient), std::move(remainder)};
    }

    // By squarings, from the exponent's top bit down.
    static Integer power(const Integer& x, std::uint64_t n) {
        Integer out(1);
        for (int bit = std::bit_width(n) - 1; bit >= 0; --bit) {
            out = product(out, out);
            if ((n >> bit & 1) != 0) out = product(out, x);
        }
        return out;
    }

    static Bytes bytes_needed(Integer::Operation operation, std::uint64_t a, std::uint64_t b) {
        using enum Integer::Operation;
        std::uint64_t n = 0;
        switch (operation) {
            case add: return {8 * (std::max(a, b) + 1), 0};
            case multiply: return {8 * (a + b), product_need(a, b).arena_bytes()};
            case multiply_word: return {8 * (a + 1), 0};
            case shift_left: return {8 * (a + b / 64 + 1), 0};
            case shift_right: return {8 * a, 0};
            case square: return {16 * a, product_need(a, a).arena_bytes()};
            case divide: {
                if (a < b) return {8 * a, 0};
                // Quotient with its approximation; product, remainder and the divisor's magnitude.
                const Need need = quotient_need(a - b + 1, &n);
                const std::uint64_t product = product_need(a - b + 2, b).arena_bytes();
                return {8 * (n + 2 * (a - b + 2) + (a + 2) + 2 * (a + 3) + b), std::max(need.arena_bytes(), product)};
            }
            case power:
                if (b == 0) return {8, 0};
                if (a > (std::uint64_t{1} << 58) / b) throw Error("The power is too long.");
                detail::check(mul_iPsize_c64(&n, a * b + a, tasks()));
                return {16 * (a * b + 1), n};
            case to_hex: detail::check(BigInt_c64_to_string_hex_sizes(&n, a)); return {n, 0};
            case to_decimal: {
                const Need need = decimal_need(a, &n);
                return {n, need.arena_bytes()};
            }
            case from_hex: detail::check(BigInt_c64_set_string_hex_sizes(&n, a)); return {8 * n, 0};
            case from_decimal: {
                const Need need = reading_need(a, &n);
                return {8 * n, need.arena_bytes()};
            }
        }
        throw Error("There is no such operation.");
    }

    static Text decimal(const Integer& x) {
        std::uint64_t bytes;
        const auto scratch = Context::current().prepare(decimal_need(x.words(), &bytes));
        Text out(bytes);
        char* first;
        detail::check(BigInt_c64_to_string_dec(&scratch.params, &first, out.buffer(), x.get()));
        out.set(first);
        return out;
    }

    static Integer read_decimal(std::string_view text) {
        std::uint64_t words;
        const auto scratch = Context::current().prepare(reading_need(text.size(), &words));
        Integer out(Integer::Capacity{words});
        detail::check(BigInt_c64_set_string_dec(&scratch.params, out.get(), text.data(), text.size()));
        return out.finished();
    }

    static Text hex(const Integer& x) {
        std::uint64_t bytes;
        detail::check(BigInt_c64_to_string_hex_sizes(&bytes, x.words()));
        Text out(bytes);
        char* first;
        detail::check(BigInt_c64_to_string_hex(&first, out.buffer(), x.get()));
        out.set(first);
        return out;
    }

    static Integer read_hex(std::string_view text) {
        std::uint64_t words;
        detail::check(BigInt_c64_set_string_hex_sizes(&words, text.size()));
        Integer out(Integer::Capacity{words});
        detail::check(BigInt_c64_set_string_hex(out.get(), text.data(), text.size()));
        return out.finished();
    }

  private:
    static std::uint64_t tasks() { return Context::current().tasks(); }

    // The integer part of a / b to within one; a >= b > 0.
    static Integer quotient_near(const BigInt_c64& a, const BigInt_c64& b) {
        const std::uint64_t n = a.L - b.L + 1;
        std::uint64_t out_words;
        const auto scratch = Context::current().prepare(quotient_need(n, &out_words));
        const std::unique_ptr<std::uint64_t[]> words(new std::uint64_t[out_words]);
        BigFloat_c64 approximation{words.get(), 0, 0, true, words.get(), out_words};
        const BigFloat_c64 x{a.T, a.L, 0, true, a.T, a.L}, y{b.T, b.L, 0, true, b.T, b.L};
        detail::check(BigFloatR_c64_div(&scratch.params, &approximation, &x, &y, n + 1, scratch.words,
                                        scratch.words_count, nullptr));
        Integer out(Integer::Capacity{n + 1});
        BigFloat_c64_get_range(&approximation, out.get()->buffer, 0, n + 1);
        detail::check(BigInt_c64_set_uWs(out.get(), out.get()->buffer, n + 1));
        return out;
    }
};

inline Integer operator*(const Integer& a, const Integer& b) { return IntegerOperations::product(a, b); }
inline Division divmod(const Integer& a, const Integer& b) { return IntegerOperations::divide(a, b); }
inline Integer operator/(const Integer& a, const Integer& b) { return divmod(a, b).quotient; }
inline Integer operator%(const Integer& a, const Integer& b) { return divmod(a, b).remainder; }
// x^n; 0^0 = 1.
inline Integer pow(const Integer& x, std::uint64_t n) { return IntegerOperations::power(x, n); }

inline Integer Integer::from_decimal(std::string_view text) { return IntegerOperations::read_decimal(text); }
inline Integer Integer::from_hex(std::string_view text) { return IntegerOperations::read_hex(text); }
inline Text Integer::to_decimal() const { return IntegerOperations::decimal(*this); }
inline Text Integer::to_hex() const { return IntegerOperations::hex(*this); }
inline Bytes Integer::bytes_needed(Operation operation, std::uint64_t a, std::uint64_t b) {
    return IntegerOperations::bytes_needed(operation, a, b);
}

}  // namespace kv
