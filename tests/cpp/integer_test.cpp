#include <gtest/gtest.h>
#include <kvnum/kvnum.hpp>

#include <string>
#include <vector>

#include "support/operands.h"

#if KVNUM_HAVE_GMP
#include <gmp.h>
#endif

namespace {

using kv::Integer;
using kvt::test::Pattern;
using kvt::test::Rng;

Integer number(Pattern pattern, std::uint64_t words, Rng& rng) {
    const auto w = kvt::test::words<std::uint64_t>(pattern, words, rng);
    return Integer::from_words(w.data(), w.size(), rng.below(2) != 0);
}

Integer any_number(std::uint64_t most_words, Rng& rng) {
    const Pattern pattern = kvt::test::hard_patterns[rng.below(std::size(kvt::test::hard_patterns))];
    return number(pattern, rng.below(most_words + 1), rng);
}

TEST(CppInteger, NativeNumbers) {
    EXPECT_EQ(Integer(0).to_string(), "0");
    EXPECT_EQ(Integer(-1).to_string(), "-1");
    EXPECT_EQ(Integer(INT64_MIN).to_string(), "-9223372036854775808");
    EXPECT_EQ(Integer(UINT64_MAX).to_string(), "18446744073709551615");
    EXPECT_EQ(Integer(std::int8_t{-128}).to_string(), "-128");
    EXPECT_EQ((-Integer(0)).sign(), 0);
    EXPECT_EQ(-Integer(0), Integer(0));
    EXPECT_EQ(Integer(UINT64_MAX).bits(), 64u);
    EXPECT_EQ(Integer(0).bits(), 0u);
}

TEST(CppInteger, ValuesAreIndependent) {
    Integer a("123456789012345678901234567890");
    Integer b = a;
    b += 1;
    EXPECT_EQ(a.to_string(), "123456789012345678901234567890");
    Integer c = std::move(b);
    EXPECT_TRUE(b.is_zero()) << "moved from";
    b = c;
    c *= c;
    EXPECT_EQ(b, a + 1);
    b = *&b;
    EXPECT_EQ(b, a + 1);
    a = Integer();
    EXPECT_EQ(a + a, 0);
    EXPECT_EQ(a - b, -b);
}

TEST(CppInteger, SumsInPlaceEqualSums) {
    Rng rng(1);
    for (std::uint64_t i = 0; i < kvt::test::rounds(300); ++i) {
        const Integer a = any_number(6, rng), b = any_number(6, rng);
        Integer sum = a, difference = a;
        sum += b;
        difference -= b;
        ASSERT_EQ(sum, a + b);
        ASSERT_EQ(difference, a - b);
        ASSERT_EQ(sum - b, a);
        ASSERT_EQ(difference + b, a);
        ASSERT_EQ(sum.is_zero(), a == -b);
        sum -= sum;
        ASSERT_EQ(sum.sign(), 0);
    }
}

// a = q b + r with the smallest r of a's sign, whatever the lengths; also quotients just below and at a whole one,
// where the approximation needs its correction.
void check_division(const Integer& a, const Integer& b) {
    const auto [q, r] = kv::divmod(a, b);
    ASSERT_EQ(q * b + r, a) << a.to_hex().view() << " / " << b.to_hex().view();
    ASSERT_LT(abs(r), abs(b)) << a.to_hex().view() << " / " << b.to_hex().view();
    ASSERT_TRUE(r.is_zero() || r.sign() == a.sign());
}

TEST(CppInteger, DivisionHoldsItsIdentity) {
    Rng rng(2);
    for (std::uint64_t most : {1, 3, 12, 70, 700}) {
        for (std::uint64_t i = 0; i < kvt::test::rounds(most > 100 ? 30 : 200); ++i) {
            const Integer a = any_number(most, rng), b = any_number(1 + rng.below(most), rng);
            if (b.is_zero()) continue;
            check_division(a, b);
            const Integer whole = a * b;
            check_division(whole, b);
            check_division(whole - 1, b);
            check_division(whole + 1, b);
            ASSERT_EQ(whole / b, a);
            ASSERT_EQ(whole % b, 0);
        }
    }
    EXPECT_EQ(Integer(-7) / 2, -3);
    EXPECT_EQ(Integer(-7) % 2, -1);
    EXPECT_EQ(Integer(7) / -2, -3);
    EXPECT_EQ(Integer(7) % -2, 1);
    EXPECT_EQ(Integer(0) / 5, 0);
}

TEST(CppInteger, ErrorsAreThrown) {
    EXPECT_THROW(Integer(1) / Integer(0), kv::Error);
    EXPECT_THROW(Integer(1) % Integer(0), kv::Error);
    kv::Context::quiet();
    try {
        Integer("12a");
        ADD_FAILURE() << "read";
    } catch (const kv::Error& error) {
        EXPECT_STREQ(error.what(), "Invalid character at position 2.");
        EXPECT_EQ(error.kind(), 1u);
    }
    EXPECT_THROW(Integer::from_hex("0xg"), kv::Error);
    EXPECT_THROW(Integer(""), kv::Error);
    kv::Context::quiet(false);
    EXPECT_THROW(kv::Context::use_framework("none of these"), kv::Error);
}

TEST(CppInteger, ShiftsArePowersOfTwo) {
    Rng rng(3);
    for (std::uint64_t i = 0; i < kvt::test::rounds(100); ++i) {
        const Integer a = any_number(9, rng);
        const std::uint64_t bits = rng.below(300);
        const Integer two = kv::pow(Integer(2), bits);
        ASSERT_EQ(a << bits, a * two);
        ASSERT_EQ(a >> bits, a / two);
        ASSERT_EQ((a << bits) >> bits, a);
    }
}

TEST(CppInteger, ZeroTakesAnyShift) {
    Integer zero;
    zero <<= UINT64_MAX;
    EXPECT_TRUE(zero.is_zero());
}

TEST(CppInteger, ScratchOfATextServesItsDigits) {
    const kv::Context context(1);  // its scratch is no larger than this text asks for
    const std::string digits(7201, '7');
    EXPECT_EQ(Integer("-" + digits).bits(), 23921u);
    EXPECT_EQ(Integer("-" + digits), -Integer(digits));
}

TEST(CppText, MovedFromIsEmpty) {
    kv::Text a = Integer(12345).to_decimal(), b = std::move(a);
    EXPECT_EQ(b.view(), "12345");
    EXPECT_TRUE(a.view().empty());
    a = std::move(b);
    EXPECT_EQ(a.view(), "12345");
    EXPECT_TRUE(b.view().empty());
}

TEST(CppInteger, TextsBothWays) {
    Rng rng(4);
    for (std::uint64_t i = 0; i < kvt::test::rounds(60); ++i) {
        const Integer a = any_number(i % 10 == 0 ? 900 : 20, rng);
        ASSERT_EQ(Integer(a.to_string()), a);
        ASSERT_EQ(Integer::from_hex(a.to_hex().view()), a);
    }
    EXPECT_EQ(Integer::from_hex("-0xFf").to_string(), "-255");
}

TEST(CppInteger, PowersAreProducts) {
    Rng rng(5);
    for (std::uint64_t n = 0; n < 20; ++n) {
        const Integer a = any_number(5, rng);
        Integer product(1);
        for (std::uint64_t i = 0; i < n; ++i) product *= a;
        ASSERT_EQ(kv::pow(a, n), product) << n;
    }
    EXPECT_EQ(kv::pow(Integer(0), 0), 1);
}

// Memory is what the query says, for one task and two, and results do not depend on it.
TEST(CppInteger, OperationsKeepToTheirSizes) {
    using enum Integer::Operation;
    Rng rng(6);
    for (std::uint64_t tasks : {1, 2}) {
        for (std::uint64_t n : {20, 300, 3000}) {
            kv::Context context(tasks);
            const Integer a = number(Pattern::all_ones, 2 * n, rng), b = number(Pattern::random, n, rng);
            auto check = [&](kv::Bytes said, std::uint64_t result_bytes, const char* what) {
                EXPECT_LE(context.arena_bytes(), said.scratch_bytes) << what << " of " << n;
                EXPECT_LE(result_bytes, said.result_bytes) << what << " of " << n;
                context.release();
            };
            auto buffer = [](const Integer& x) { return 8 * x.get()->buffer_size; };
            check(Integer::bytes_needed(multiply, a.words(), b.words()), buffer(a * b), "product");
            check(Integer::bytes_needed(square, a.words()), buffer(a * a), "square");
            check(Integer::bytes_needed(divide, a.words(), b.words()), buffer(a / b), "quotient");
            check(Integer::bytes_needed(power, b.words(), 7), buffer(kv::pow(b, 7)), "power");
            check(Integer::bytes_needed(shift_left, a.words(), 1000), buffer(a << 1000), "shift left");
            check(Integer::bytes_needed(shift_right, a.words()), buffer(a >> 1000), "shift right");
            check(Integer::bytes_needed(multiply_word, a.words()), buffer(Integer(a).multiply_word(UINT64_MAX)),
                  "times a word");
            check(Integer::bytes_needed(add, a.words(), b.words()), buffer(a + b), "sum");
            const std::string text = a.to_string();
            check(Integer::bytes_needed(to_decimal, a.words()), text.size(), "decimal text");
            check(Integer::bytes_needed(from_decimal, text.size()), buffer(Integer(text)), "reading");
            const std::string hex = a.to_hex().str();
            check(Integer::bytes_needed(to_hex, a.words()), hex.size(), "hexadecimal text");
            check(Integer::bytes_needed(from_hex, hex.size()), buffer(Integer::from_hex(hex)), "hexadecimal reading");
        }
    }
}

TEST(CppContext, EndsInReverseOrder) {
    EXPECT_EQ(kv::Context::current().tasks(), 1u);
    kv::Context outer(3);
    {
        kv::Context inner(5);
        EXPECT_EQ(&kv::Context::current(), &inner);
    }
    EXPECT_EQ(&kv::Context::current(), &outer);
    EXPECT_EQ(kv::Context(0).tasks(), 1u);
}

TEST(CppContext, PairsShareTasksAndCarryFailures) {
    for (const char* framework : {"none", "spawn", "cppasync", "winpool", "cilk"}) {
        kv::Context context(5, framework);
        std::uint64_t first = 0, second = 0;
        context.run_pair([&] { first = kv::Context::current().tasks(); },
                         [&] { second = kv::Context::current().tasks(); });
        EXPECT_EQ(first, 3u) << framework;
        EXPECT_EQ(second, 2u) << framework;
        bool other = false;
        EXPECT_THROW(context.run_pair([] { Integer(1) / Integer(0); }, [&] { other = true; }), kv::Error);
        EXPECT_TRUE(other) << framework;
        EXPECT_EQ(&kv::Context::current(), &context);
    }
}

TEST(CppContext, PairsOfOneTaskHaveContextsToo) {
    kv::Context context(1);
    const kv::Context *first = nullptr, *second = nullptr;
    EXPECT_THROW(context.run_pair(
                     [&] {
                         first = &kv::Context::current();
                         Integer(1) / Integer(0);
                     },
                     [&] { second = &kv::Context::current(); }),
                 kv::Error);
    EXPECT_NE(first, &context);
    ASSERT_NE(second, nullptr) << "both run before an exception is thrown";
    EXPECT_NE(second, &context);
    EXPECT_EQ(&kv::Context::current(), &context);
}

// What the header says of cover() holds for the sizes that operations ask for.
TEST(CppContext, CoverSufficesForAllOperations) {
    for (std::uint64_t n : {1, 2, 9, 100, 5000}) {
        const std::uint64_t bits = 64 * (2 * n + 64), characters = 19 * n + 1;
        std::uint64_t words;
        EXPECT_LE(kv::IntegerOperations::product_need(n, n).table_bits, bits);
        EXPECT_LE(kv::IntegerOperations::quotient_need(n, &words).table_bits, bits);
        EXPECT_LE(kv::IntegerOperations::decimal_need(n, &words).table_bits, bits);
        EXPECT_LE(kv::IntegerOperations::reading_need(characters, &words).table_bits, bits);
        EXPECT_LE(kv::RealOperations::full_product_need(n + 1).table_bits, bits);
        EXPECT_LE(kv::RealOperations::newton_need<BigFloatR_c64_div_sizes>(n, &words).table_bits, bits);
        EXPECT_LE(kv::RealOperations::decimal_need(characters, &words).table_bits, bits);
        EXPECT_LE(kv::RealOperations::read_need(characters, n, &words).table_bits, bits);
    }
}

#if KVNUM_HAVE_GMP

TEST(CppInteger, AgreesWithAnotherLibrary) {
    Rng rng(7);
    mpz_t x, y, z;
    mpz_inits(x, y, z, nullptr);
    auto set = [](mpz_t out, const Integer& a) { mpz_set_str(out, a.to_hex().str().c_str(), 16); };
    auto same = [](const Integer& a, const mpz_t want) {
        char* text = mpz_get_str(nullptr, 16, want);
        const bool equal = a.to_hex().view() == text;
        std::free(text);
        return equal;
    };
    for (std::uint64_t i = 0; i < kvt::test::rounds(100); ++i) {
        const std::uint64_t most = i % 20 == 0 ? 3000 : 40;
        const Integer a = any_number(most, rng), b = any_number(most, rng);
        set(x, a), set(y, b);
        mpz_mul(z, x, y);
        ASSERT_TRUE(same(a * b, z));
        mpz_add(z, x, y);
        ASSERT_TRUE(same(a + b, z));
        mpz_sub(z, x, y);
        ASSERT_TRUE(same(a - b, z));
        ASSERT_EQ(a < b, mpz_cmp(x, y) < 0);
        if (b.is_zero()) continue;
        mpz_tdiv_q(z, x, y);
        ASSERT_TRUE(same(a / b, z));
        mpz_tdiv_r(z, x, y);
        ASSERT_TRUE(same(a % b, z));
        char* text = mpz_get_str(nullptr, 10, x);
        ASSERT_EQ(a.to_string(), text);
        std::free(text);
    }
    mpz_clears(x, y, z, nullptr);
}

#endif

}  // namespace
