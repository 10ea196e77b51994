#include "text/decimal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include "frame/exceptions.h"
#include "multiply/twiddle_table.h"
#include "support/fenced.h"
#include "support/operands.h"
#include "text/read_decimal.h"
#include "text/read_float.h"

#if KVNUM_HAVE_GMP
#include <gmp.h>
#include <mpfr.h>

namespace kvt::text {
namespace {

using test::Pattern;
using test::Rng;

template <class W>
std::vector<W> words_of(const mpz_t x) {
    std::vector<W> words(mpz_sizeinbase(x, 2) / word_bits<W> + 1);
    size_t n = 0;
    mpz_export(words.data(), &n, -1, sizeof(W), 0, 0, x);
    words.resize(n);
    return words;
}

// Fenced memory of exactly the queried size, the table grown to match.
BasicParameters parameters(const test::FencedBytes& memory, u64 bits, u64 tasks = 1) {
    multiply::ensure_global_table(bits);
    return {multiply::global_table(), memory.data(), memory.size(), tasks};
}

// The text of an integer by both ways of writing it, and back.
template <class W>
void check_integer(const mpz_t value, u64 tasks = 1) {
    std::vector<W> words = words_of<W>(value);
    const u64 L = words.size();
    const objects::BigInt<W> x{words.data(), L, mpz_sgn(value) >= 0, words.data(), L};
    const std::unique_ptr<char, void (*)(void*)> want(mpz_get_str(nullptr, 10, value), std::free);

    const TextSizes sizes = integer_decimal_sizes<W>(L, tasks);
    const test::FencedBytes memory(sizes.scratch_bytes), buffer(sizes.buffer_bytes);
    const BasicParameters params = parameters(memory, (2 * L + 16) * word_bits<W>, tasks);
    char* const text_buffer = reinterpret_cast<char*>(buffer.data());
    ASSERT_STREQ(to_string_dec(params, text_buffer, x), want.get()) << "L " << L;
    ASSERT_STREQ(to_string_dec_scaled(params, text_buffer, x), want.get()) << "L " << L;

    const u64 chars = std::strlen(want.get());
    const test::FencedBytes text(chars);
    std::memcpy(text.data(), want.get(), chars);
    const test::FencedBytes reading(read_decimal_bytes<W>(chars, tasks));
    test::FencedWords<W> out(decimal_words<W>(chars));
    objects::BigInt<W> y{nullptr, 0, true, out.data(), out.size()};
    set_string_dec(parameters(reading, (2 * L + 16) * word_bits<W>, tasks), y, reinterpret_cast<char*>(text.data()),
                   chars);
    ASSERT_EQ(std::vector<W>(y.T, y.T + y.L), words) << "L " << L;
    ASSERT_EQ(y.sign, x.sign);
}

template <class W>
class DecimalText : public testing::Test {
  protected:
    void SetUp() override { mpz_init(value_); }
    void TearDown() override { mpz_clear(value_); }
    mpz_t value_;
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(DecimalText, Widths);

TYPED_TEST(DecimalText, IntegersOfEveryPatternAndManyLengths) {
    using W = TypeParam;
    Rng rng(11);
    for (u64 n :
         {1, 2, 3, 5, 9, 10, 17, 25, 47, 48, 49, 55, 56, 57, 58, 70, 96, 100, 150, 200, 300, 500, 777, 1000, 2000}) {
        for (Pattern pattern : test::hard_patterns) {
            const auto words = test::words<W>(pattern, n, rng);
            mpz_import(this->value_, n, -1, sizeof(W), 0, 0, words.data());
            if (rng.below(2)) mpz_neg(this->value_, this->value_);
            if (mpz_sgn(this->value_) != 0) check_integer<W>(this->value_);
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

TYPED_TEST(DecimalText, SmallIntegers) {
    using W = TypeParam;
    for (u64 v = 1; v < (u64{1} << 20); v += 1 + (v > 2000) * 331 / test::rounds(1)) {
        mpz_set_ui(this->value_, v);
        check_integer<W>(this->value_);
        if (testing::Test::HasFatalFailure()) return;
    }
}

TYPED_TEST(DecimalText, PowersOfTenAndTheirNeighbours) {
    using W = TypeParam;
    for (u64 m = 1; m <= 2000; m += m < 100 ? 1 : 37) {
        for (i64 d : {-1, 0, 1}) {
            mpz_ui_pow_ui(this->value_, 10, m);
            if (d < 0) mpz_sub_ui(this->value_, this->value_, 1);
            if (d > 0) mpz_add_ui(this->value_, this->value_, 1);
            check_integer<W>(this->value_);
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

// The same text from any number of tasks.
TYPED_TEST(DecimalText, TasksDoNotChangeIt) {
    using W = TypeParam;
    Rng rng(12);
    const u64 n = 80000 / sizeof(W) * test::rounds(1);
    const auto words = test::words<W>(Pattern::random, n, rng);
    mpz_import(this->value_, n, -1, sizeof(W), 0, 0, words.data());
    for (u64 tasks : {1, 2, 3, 7, 16}) check_integer<W>(this->value_, tasks);
}

// A million digits, ten million in a soak, by residues modulo two primes, and read back.
TYPED_TEST(DecimalText, LongIntegersByResidues) {
    using W = TypeParam;
    Rng rng(16);
    const u64 n = (test::rounds(1) >= 10 ? 4160000 : 416000) / sizeof(W);
    auto words = test::words<W>(Pattern::random, n, rng);
    words.back() |= 1;
    mpz_import(this->value_, n, -1, sizeof(W), 0, 0, words.data());
    const objects::BigInt<W> x{words.data(), n, true, words.data(), n};
    const TextSizes sizes = integer_decimal_sizes<W>(n, 2);
    const test::FencedBytes memory(sizes.scratch_bytes), buffer(sizes.buffer_bytes);
    const char* text =
        to_string_dec(parameters(memory, (2 * n + 16) * word_bits<W>, 2), reinterpret_cast<char*>(buffer.data()), x);
    const u64 chars = std::strlen(text);
    EXPECT_EQ(chars, mpz_sizeinbase(this->value_, 10));
    for (u64 prime : {u64{1000000007}, u64{4294967291}}) {
        u64 residue = 0;
        for (u64 i = 0; i < chars; ++i) residue = (10 * residue + static_cast<u64>(text[i] - '0')) % prime;
        EXPECT_EQ(residue, mpz_fdiv_ui(this->value_, prime));
    }
    const test::FencedBytes reading(read_decimal_bytes<W>(chars, 2));
    test::FencedWords<W> out(decimal_words<W>(chars));
    objects::BigInt<W> y{nullptr, 0, true, out.data(), out.size()};
    set_string_dec(parameters(reading, (2 * n + 16) * word_bits<W>, 2), y, text, chars);
    EXPECT_EQ(std::vector<W>(y.T, y.T + y.L), words);
}

template <class W>
std::string float_text(const std::vector<W>& words, i64 exp, bool sign, u64 d) {
    std::vector<W> copy = words;
    const objects::BigFloat<W> x{copy.data(), copy.size(), exp, sign, copy.data(), copy.size()};
    const TextSizes sizes = float_decimal_sizes<W>(d, 1);
    const test::FencedBytes memory(sizes.scratch_bytes), buffer(sizes.buffer_bytes);
    const BasicParameters params = parameters(memory, (2 * d / 8 + 400) * word_bits<W>);
    return to_string_dec(params, reinterpret_cast<char*>(buffer.data()), x, d);
}

TYPED_TEST(DecimalText, FloatsAgreeWithTheExactValueToOneUnit) {
    using W = TypeParam;
    Rng rng(13);
    for (u64 d : {1, 5, 18, 19, 20, 38, 100, 333, 1000}) {
        for (u64 round = 0; round < test::rounds(30); ++round) {
            const u64 n = 1 + rng.below(12);
            auto words = test::words<W>(test::hard_patterns[round % 6], n, rng);
            if (words.back() == 0) words.back() = 1;
            const i64 exp = static_cast<i64>(rng.below(60)) - 35;
            std::string text = float_text(words, exp, true, d);

            // digits * 10^e of the text against the value.
            mpfr_t value, written, unit;
            mpfr_inits2(200 + 4 * d + 64 * 100, value, written, unit, nullptr);
            mpz_import(this->value_, n, -1, sizeof(W), 0, 0, words.data());
            mpfr_set_z(value, this->value_, MPFR_RNDN);
            mpfr_mul_2si(value, value, exp * static_cast<i64>(word_bits<W>), MPFR_RNDN);
            const auto marker = text.find(" *10^ ");
            const std::string mantissa = text.substr(0, marker);
            const i64 e = marker == std::string::npos ? 0 : std::stoll(text.substr(marker + 6));
            mpfr_set_str(written, (mantissa + "e" + std::to_string(e)).c_str(), 10, MPFR_RNDN);
            // One unit in the last of d digits, that is at most value * 10^(1-d).
            mpfr_set_si(unit, 1 - static_cast<long>(d), MPFR_RNDN);
            mpfr_exp10(unit, unit, MPFR_RNDU);
            mpfr_mul(unit, unit, value, MPFR_RNDU);
            mpfr_sub(written, value, written, MPFR_RNDN);
            mpfr_abs(written, written, MPFR_RNDN);
            EXPECT_LE(mpfr_cmp(written, unit), 0) << text << " d " << d << " exp " << exp;
            mpfr_clears(value, written, unit, nullptr);
        }
    }
}

TYPED_TEST(DecimalText, FloatNotations) {
    using W = TypeParam;
    EXPECT_EQ(float_text<W>({1}, 0, true, 5), "1.0000");
    EXPECT_EQ(float_text<W>({1}, 0, false, 1), "-1.");
    EXPECT_EQ(float_text<W>({static_cast<W>(W{1} << (word_bits<W> - 1))}, -1, true, 3), "0.500");
    EXPECT_EQ(float_text<W>({123}, 0, true, 3), "123.");
    EXPECT_EQ(float_text<W>({0, 0, 0, 0, 0, 0, 0, 0, 1}, 0, true, 4),
              sizeof(W) == 8 ? "1.340 *10^ 154" : "1.157 *10^ 77");
    objects::BigFloat<W> zero{nullptr, 0, 0, true, nullptr, 0};
    char buffer[100];
    EXPECT_STREQ(to_string_dec({}, buffer, zero, 10), "0.");
}

// Digits are dropped, whatever follows.
TYPED_TEST(DecimalText, FloatsAreNotRounded) {
    using W = TypeParam;
    const auto words_of = [](u64 value) {
        std::vector<W> words;
        for (; value != 0; value = sizeof(W) == 8 ? 0 : value >> 32) words.push_back(static_cast<W>(value));
        return words;
    };
    EXPECT_EQ(float_text<W>(words_of(1999999999999), 0, true, 4), "1.999 *10^ 12");
    EXPECT_EQ(float_text<W>(words_of(123499999999), 0, false, 4), "-1.234 *10^ 11");
    EXPECT_EQ(float_text<W>(words_of(9999999999999999999u), 0, true, 18), "9.99999999999999999 *10^ 18");
    const i64 below_one = -static_cast<i64>(8 / sizeof(W));
    EXPECT_EQ(float_text<W>(words_of(~u64{0}), below_one, true, 5), "0.99999");
    EXPECT_EQ(float_text<W>(words_of(~u64{0}), below_one, true, 19), "0.9999999999999999999");
    EXPECT_EQ(float_text<W>(words_of(~u64{0}), below_one, true, 20), "0.99999999999999999994");
    EXPECT_EQ(float_text(std::vector<W>(40, static_cast<W>(~W{0})), -40, true, 5), "0.99999");
}

TYPED_TEST(DecimalText, FloatsReadBack) {
    using W = TypeParam;
    const auto read = [](const std::string& text, u64 p) {
        const ReadSizes sizes = read_float_sizes<W>(text.size(), p, 1);
        const test::FencedBytes memory(sizes.scratch_bytes);
        test::FencedWords<W> out(sizes.out_words);
        objects::BigFloat<W> y{nullptr, 0, 0, true, out.data(), out.size()};
        set_string_dec(parameters(memory, (2 * p + 100) * word_bits<W>), y, text.data(), text.size(), p);
        std::vector<W> words(y.T, y.T + y.L);
        return float_text(words, y.exp, y.sign, 30);
    };
    EXPECT_EQ(read("1.5", 10).substr(0, 20), "1.500000000000000000");
    EXPECT_EQ(read("-0.000123", 10).substr(0, 12), "-0.000123000");
    EXPECT_EQ(read("12e3", 10).substr(0, 20), "12000.00000000000000");
    EXPECT_EQ(read("-1.5 *10^ 42", 10), "-1.50000000000000000000000000000 *10^ 42");
    EXPECT_EQ(read("+7.25E-50", 10), "7.25000000000000000000000000000 *10^ -50");
    EXPECT_EQ(read("000.", 10), "0.");
    EXPECT_EQ(read("0.1", 10), "0.100000000000000000000000000000");
    EXPECT_EQ(read("1e-40", 10), "1.00000000000000000000000000000 *10^ -40");
    EXPECT_EQ(read("0.999999999999999999999999999999999999999999", 10), "0.999999999999999999999999999999");
    EXPECT_EQ(read("1234567890123456789012345678.99999999999", 10), "1234567890123456789012345678.99");
    EXPECT_EQ(read("18446744073709551615.5", 10), "18446744073709551615.5000000000");
    EXPECT_EQ(read("1e1000", 10), "1.00000000000000000000000000000 *10^ 1000");
    EXPECT_EQ(read("7e-1000", 10), "7.00000000000000000000000000000 *10^ -1000");
}

// At any exponent and at any precision that holds the digits, written from as many words or from fewer than were read.
TYPED_TEST(DecimalText, WhatIsReadIsWrittenAgain) {
    using W = TypeParam;
    test::Rng rng(9);
    for (u64 round = 0; round < test::rounds(600); ++round) {
        const u64 d = rng.between(1, round % 10 == 0 ? 300 : 60);
        std::string digits;
        for (u64 i = 0; i < d; ++i) digits += static_cast<char>('0' + (rng.below(3) == 0 ? 9 : rng.below(10)));
        if (digits.front() == '0') digits.front() = '1';
        constexpr i64 far[] = {1'000'000,      -30'000'000,      1'000'000'000,
                               -1'000'000'000, -100'000'000'000, -5'000'000'000'000};
        const i64 exponent =
            round % 4 == 0 ? far[rng.below(std::size(far))] : static_cast<i64>(rng.below(1000)) - 700;
        const std::string text = digits + "e" + std::to_string(exponent);
        const u64 p = d * 64 / 19 / word_bits<W> + 3 + rng.below(12);
        const ReadSizes sizes = read_float_sizes<W>(text.size(), p, 1);
        const test::FencedBytes memory(sizes.scratch_bytes);
        test::FencedWords<W> out(sizes.out_words);
        objects::BigFloat<W> y{nullptr, 0, 0, true, out.data(), out.size()};
        set_string_dec(parameters(memory, (2 * p + 200) * word_bits<W>), y, text.data(), text.size(), p);
        std::string written = float_text(std::vector<W>(y.T, y.T + y.L), y.exp, true, d);
        written = written.substr(0, written.find(' '));
        std::erase(written, '.');
        EXPECT_EQ(written.substr(written.find_first_not_of('0')), digits) << text << " at " << p;
    }
}

TYPED_TEST(DecimalText, DyadicFractionsAreReadExactly) {
    using W = TypeParam;
    for (u64 p : {1, 2, 3, 9, 10, 11, 40, 100, 1000}) {
        for (const auto& [text, top] : {std::pair<std::string, W>{"0.5", W{1} << (word_bits<W> - 1)},
                                        {"0.75", W{3} << (word_bits<W> - 2)},
                                        {"2500e-4", W{1} << (word_bits<W> - 2)}}) {
            const ReadSizes sizes = read_float_sizes<W>(text.size(), p, 1);
            const test::FencedBytes memory(sizes.scratch_bytes);
            test::FencedWords<W> out(sizes.out_words);
            objects::BigFloat<W> y{nullptr, 0, 0, true, out.data(), out.size()};
            set_string_dec(parameters(memory, (2 * p + 100) * word_bits<W>), y, text.data(), text.size(), p);
            ASSERT_EQ(y.L, 1u) << text << " at " << p;
            EXPECT_EQ(y.T[0], top);
            EXPECT_EQ(y.exp, -1);
        }
    }
}

// A fraction of few digits has as many words as were asked for: |y * 10^k - digits| < unit of word p, times 10^k.
TYPED_TEST(DecimalText, ShortFractionsAreReadToFullPrecision) {
    using W = TypeParam;
    for (u64 p : {0, 1, 2, 3, 20, 100, 1000}) {
        for (u64 k : {1, 2, 30}) {
            const std::string text = "." + std::string(k - 1, '0') + "7";
            const ReadSizes sizes = read_float_sizes<W>(text.size(), p, 1);
            const test::FencedBytes memory(sizes.scratch_bytes);
            test::FencedWords<W> out(sizes.out_words);
            objects::BigFloat<W> y{nullptr, 0, 0, true, out.data(), out.size()};
            set_string_dec(parameters(memory, (2 * p + 100) * word_bits<W>), y, text.data(), text.size(), p);
            ASSERT_LT(y.exp, 0);
            mpz_t scale, error;
            mpz_inits(scale, error, nullptr);
            mpz_ui_pow_ui(scale, 10, k);
            mpz_import(error, y.L, -1, sizeof(W), 0, 0, y.T);
            mpz_mul(error, error, scale);
            mpz_set_ui(this->value_, 7);
            mpz_mul_2exp(this->value_, this->value_, static_cast<u64>(-y.exp) * word_bits<W>);
            mpz_sub(error, error, this->value_);
            // in units of word p: y.L - p words above the lowest
            if (p < y.L)
                mpz_mul_2exp(scale, scale, (y.L - p) * word_bits<W>);
            else
                mpz_tdiv_q_2exp(scale, scale, (p - y.L) * word_bits<W>);
            EXPECT_LT(mpz_cmpabs(error, scale), 0) << "p " << p << " text " << text;
            mpz_clears(scale, error, nullptr);
        }
    }
}

// Without a word asked for: the units and what is behind them all the same.
TYPED_TEST(DecimalText, NumbersAreReadAtPrecisionZero) {
    using W = TypeParam;
    for (const char* text : {"1.1", "0.7", "12345.5", "-4294967295.9"}) {
        const u64 chars = std::strlen(text);
        const ReadSizes sizes = read_float_sizes<W>(chars, 0, 1);
        const test::FencedBytes memory(sizes.scratch_bytes);
        test::FencedWords<W> out(sizes.out_words);
        objects::BigFloat<W> y{nullptr, 0, 0, true, out.data(), out.size()};
        set_string_dec(parameters(memory, 100 * word_bits<W>), y, text, chars, 0);
        double value = 0;
        for (u64 i = y.L; i-- > 0;)
            value += std::ldexp(static_cast<double>(y.T[i]),
                                static_cast<int>((y.exp + static_cast<i64>(i)) * word_bits<W>));
        EXPECT_NEAR(y.sign ? value : -value, std::atof(text), 1e-4) << text;
    }
}

TYPED_TEST(DecimalText, BadTextIsRefusedByPosition) {
    using W = TypeParam;
    W word = 77;
    const auto refused = [&](const char* text, u64 position, bool whole) {
        objects::BigInt<W> integer{&word, 1, true, &word, 1};
        objects::BigFloat<W> number{&word, 1, 0, true, &word, 1};
        try {
            if (whole)
                set_string_dec({}, integer, text, std::strlen(text));
            else
                set_string_dec({}, number, text, std::strlen(text), 4);
            ADD_FAILURE() << text;
        } catch (const Serialization::ParseException& error) {
            EXPECT_EQ(error.message, "Invalid character at position " + std::to_string(position) + ".") << text;
        }
        EXPECT_EQ(word, 77u);
    };
    refused("", 0, true);
    refused("-", 1, true);
    refused("12a4", 2, true);
    refused("1234567890123456789012345678901234567890 ", 40, true);
    refused("1.5", 1, true);
    refused("", 0, false);
    refused(".", 1, false);
    refused("1.2.3", 3, false);
    refused("1e", 2, false);
    refused("1 *16^ 2", 4, false);
    refused("5x", 1, false);
}

}  // namespace
}  // namespace kvt::text
#endif
