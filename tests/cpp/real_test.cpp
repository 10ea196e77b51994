#include <gtest/gtest.h>
#include <kvnum/kvnum.hpp>

#include <string>
#include <vector>

#include "support/operands.h"

#if KVNUM_HAVE_GMP
#include <mpfr.h>
#endif

namespace {

using kv::Integer;
using kv::Real;
using kvt::test::Rng;

// A random number of n words, not zero, with a small exponent of either sign.
Real any_real(std::uint64_t n, Rng& rng) {
    const auto pattern = kvt::test::hard_patterns[rng.below(std::size(kvt::test::hard_patterns))];
    auto w = kvt::test::words<std::uint64_t>(pattern, n, rng);
    w[n - 1] |= 1;
    Real x(Integer::from_words(w.data(), n, rng.below(2) != 0), n);
    return std::move(x.scale(static_cast<std::int64_t>(rng.below(400)) - 200 - 64 * static_cast<std::int64_t>(n)));
}

// |x - y| < 2^-bits |y|
bool near(const Real& x, const Real& y, std::uint64_t bits) {
    return abs(x - y) < abs(y).scale(-static_cast<std::int64_t>(bits));
}

TEST(CppReal, NativeNumbersAndTexts) {
    EXPECT_EQ(Real(-3, 4).to_string(3), "-3.00");
    EXPECT_EQ(Real(0.375, 2).to_double(), 0.375);
    EXPECT_EQ(Real("1.5e3", 4).to_double(), 1500);
    EXPECT_EQ(Real(0, 4).sign(), 0);
    EXPECT_EQ(Real(0xabc, 4).to_hex(3).view(), "abc.");
    EXPECT_EQ(Real("-123456789.75", 4).to_integer(), Integer(-123456789));
    EXPECT_EQ(Real("0.99", 4).to_integer(), 0);
    EXPECT_EQ(Real(Integer("123456789012345678901234567890"), 8).to_integer().to_string(),
              "123456789012345678901234567890");
}

TEST(CppReal, SumsOfWhatFitsAreExact) {
    Rng rng(1);
    for (std::uint64_t i = 0; i < kvt::test::rounds(200); ++i) {
        const Real a = any_real(1 + rng.below(5), rng).set_precision(30),
                   b = any_real(1 + rng.below(5), rng).set_precision(30);
        ASSERT_EQ(a + b - b, a);
        ASSERT_EQ(a - b + b, a);
        ASSERT_EQ((a + b) * (a - b), a * a - b * b);
        Real c = a;
        c += b;
        ASSERT_EQ(c, a + b);
        ASSERT_EQ((a - a).sign(), 0);
    }
}

TEST(CppReal, PrecisionIsTheHigherOne) {
    EXPECT_EQ((Real(1, 3) + Real(1, 8)).precision(), 8u);
    EXPECT_EQ((Real(1, 8) * Real(1, 3)).precision(), 8u);
    EXPECT_EQ((Real(1, 3) / Real(7, 9)).precision(), 9u);
    Real third = Real(1, 20) / Real(3, 20);
    EXPECT_LE(third.words(), 22u);
    third.set_precision(5);
    EXPECT_LE(third.words(), 7u);
    EXPECT_EQ(third.to_string(30), "0.333333333333333333333333333333");
    EXPECT_LE((third * third).words(), 7u);
    EXPECT_LE(third.multiply_word(UINT64_MAX).words(), 7u);
}

TEST(CppReal, InverseOperationsUndoEachOther) {
    Rng rng(2);
    for (std::uint64_t n : {1, 2, 5, 40, 400}) {
        for (std::uint64_t i = 0; i < kvt::test::rounds(n > 100 ? 4 : 30); ++i) {
            const Real a = any_real(n, rng), b = any_real(n, rng);
            const std::uint64_t bits = 64 * n - 4;
            ASSERT_TRUE(near(a / b * b, a, bits)) << n;
            ASSERT_TRUE(near(reciprocal(b) * a, a / b, bits)) << n;
            const Real root = sqrt(abs(a));
            ASSERT_TRUE(near(root * root, abs(a), bits)) << n;
            ASSERT_TRUE(near(inv_sqrt(abs(a)) * root, Real(1, n), bits)) << n;
        }
        const std::uint64_t x = rng.next() | 1;
        EXPECT_TRUE(near(Real::sqrt(x, n), sqrt(Real(x, n)), 64 * n - 4)) << x;
        EXPECT_TRUE(near(Real::pow(x, -5, n) * Real::pow(x, 5, n), Real(1, n), 64 * n - 8)) << x;
        EXPECT_TRUE(near(pow(Real(x, n), 5), Real::pow(x, 5, n), 64 * n - 8)) << x;
    }
}

TEST(CppReal, ExtremeExponentsAndPrecisions) {
    for (const std::int64_t top : {(std::int64_t{1} << 59) - 1, -(std::int64_t{1} << 60) - 1}) {
        Real x(3, 5);
        x.get()->exp = top;
        const Real y = inv_sqrt(x);
        EXPECT_TRUE(near(x * y * y, Real(1, 5), 64 * 5));
        EXPECT_TRUE(near(sqrt(x) * y, Real(1, 5), 64 * 5));
    }
    const std::uint64_t all = UINT64_MAX;
    EXPECT_EQ(Real(3.3, all).scale(1).to_double(), 6.6);
    EXPECT_EQ(Real(Integer(1) << 500, all).set_precision(all).to_integer(), Integer(1) << 500);
}

TEST(CppReal, SharedFactorGivesTheSameProducts) {
    Rng rng(3);
    for (std::uint64_t n : {1, 30, 300, 2000}) {
        const Real a = any_real(n, rng), b = any_real(n / 2 + 1, rng), c = any_real(n, rng);
        const auto [ab, bc] = products_with(a, b, c);
        EXPECT_EQ(ab, a * b) << n;
        EXPECT_EQ(bc, b * c) << n;
    }
}

TEST(CppReal, ErrorsAreThrown) {
    EXPECT_THROW(Real(1, 3) / Real(0, 3), kv::Error);
    EXPECT_THROW(reciprocal(Real(0, 3)), kv::Error);
    EXPECT_THROW(inv_sqrt(Real(0, 3)), kv::Error);
    EXPECT_THROW(sqrt(Real(-1, 3)), kv::Error);
    EXPECT_THROW(Real::inv_sqrt(0, 3), kv::Error);
    EXPECT_THROW(Real::pow(0, -1, 3), kv::Error);
    EXPECT_THROW(pow(Real(0, 3), -1), kv::Error);
    kv::Context::quiet();
    EXPECT_THROW(Real("1.2.3", 3), kv::Error);
    kv::Context::quiet(false);
}

TEST(CppReal, OperationsKeepToTheirSizes) {
    using enum Real::Operation;
    Rng rng(4);
    for (std::uint64_t tasks : {1, 2}) {
        for (std::uint64_t n : {3, 50, 1000}) {
            kv::Context context(tasks);
            const Real a = abs(any_real(n, rng)), b = any_real(n, rng);
            auto check = [&](kv::Bytes said, std::uint64_t result_bytes, const char* what) {
                EXPECT_LE(context.arena_bytes(), said.scratch_bytes) << what << " of " << n;
                EXPECT_LE(result_bytes, said.result_bytes) << what << " of " << n;
                context.release();
            };
            auto buffer = [](const Real& x) { return 8 * x.get()->buffer_size; };
            check(Real::bytes_needed(multiply, n), buffer(a * b), "product");
            check(Real::bytes_needed(add, n), buffer(a + b), "sum");
            check(Real::bytes_needed(divide, n), buffer(b / a), "quotient");
            check(Real::bytes_needed(reciprocal, n), buffer(kv::reciprocal(a)), "reciprocal");
            check(Real::bytes_needed(inv_sqrt, n), buffer(Real::inv_sqrt(7, n)), "inverse square root");
            check(Real::bytes_needed(sqrt, n), buffer(kv::sqrt(a)), "square root");
            check(Real::bytes_needed(power, n), buffer(pow(b, 11)), "power");
            check(Real::bytes_needed(power, n), buffer(pow(b, -5)), "power to a negative exponent");
            const auto exponent = static_cast<std::int64_t>(50 * n);
            check(Real::bytes_needed(power_of_word, n), buffer(Real::pow(3, exponent, n)), "power of a word");
            check(Real::bytes_needed(power_of_word, n), buffer(Real::pow(3, -exponent, n)), "its inverse");
            check(Real::bytes_needed(multiply_word, n), buffer(Real(b).scale(7)), "shift");
            check(Real::bytes_needed(multiply_word, n), buffer(Real(b).multiply_word(UINT64_MAX)), "times a word");
            const std::string digits(19 * n, '7');
            check(Real::bytes_needed(from_decimal, 19 * n), buffer(Real(digits, Real::words_for_digits(19 * n))),
                  "number from text");
            check(Real::bytes_needed(to_decimal, 19 * n), a.to_string(19 * n).size(), "decimal text");
            check(Real::bytes_needed(to_hex, 16 * n), a.to_hex(16 * n).view().size(), "hexadecimal text");
        }
    }
}

#if KVNUM_HAVE_GMP

TEST(CppReal, AgreesWithAnotherLibrary) {
    const std::uint64_t n = 60, digits = 1000;
    const Real two(2, n), seven(7, n);
    mpfr_t x;
    mpfr_init2(x, 64 * n + 64);
    std::string text(digits + 20, '\0');
    auto expect = [&](const Real& value) {
        mpfr_snprintf(text.data(), text.size(), "%.*RZf", static_cast<int>(digits), x);
        // The last digit may be one unit off.
        EXPECT_EQ(value.to_string(digits).substr(0, digits), text.substr(0, digits));
    };
    mpfr_sqrt_ui(x, 2, MPFR_RNDN);
    expect(sqrt(two));
    expect(Real::sqrt(2, n));
    mpfr_ui_div(x, 7, x, MPFR_RNDN);
    expect(seven / sqrt(two));
    mpfr_rec_sqrt(x, x, MPFR_RNDN);
    expect(inv_sqrt(seven / sqrt(two)));
    mpfr_clear(x);
}

#endif

}  // namespace
