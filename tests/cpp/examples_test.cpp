// The examples of docs/cpp.md and README.md, as they stand there.
#include <gtest/gtest.h>
#include <kvnum/kvnum.hpp>

#include <string>

namespace {

TEST(CppExamples, Integers) {
    kv::Context context;  // every core, scratch memory that is reused
    kv::Integer n = kv::pow(kv::Integer(3), 1000) - 1;
    auto [quotient, remainder] = kv::divmod(n, kv::Integer("123456789"));
    EXPECT_EQ(quotient * 123456789 + remainder, n);
    EXPECT_EQ(n.to_string().substr(0, 12), "132207081948");
}

TEST(CppExamples, Reals) {
    kv::Context context;
    const auto precision = kv::Real::words_for_digits(50);
    kv::Real golden = (kv::Real(1, precision) + kv::Real::sqrt(5, precision)) / kv::Real(2, precision);
    EXPECT_EQ(golden.to_string(50), "1.6180339887498948482045868343656381177203091798057");
}

TEST(CppExamples, Sizes) {
    kv::Context context(2);
    const kv::Bytes need = kv::Integer::bytes_needed(kv::Integer::Operation::multiply, 1000, 1000);
    const std::string text(15'000, '7');
    kv::Integer a(text);
    context.release();
    kv::Integer square = a * a;
    EXPECT_LE(context.arena_bytes(), need.scratch_bytes);
}

// Two sides at once, each with half of the tasks.
kv::Integer factorial(std::uint64_t from, std::uint64_t to) {
    if (to - from < 16) {
        kv::Integer product(1);
        for (std::uint64_t i = from; i < to; ++i) product.multiply_word(i);
        return product;
    }
    kv::Integer low, high;
    const std::uint64_t middle = from + (to - from) / 2;
    kv::Context::current().run_pair([&] { low = factorial(from, middle); }, [&] { high = factorial(middle, to); });
    return low * high;
}

TEST(CppExamples, Pairs) {
    kv::Context context(4);
    kv::Context::cover(20'000);  // the longest product, before several threads compute
    const kv::Integer parallel = factorial(1, 1009);
    EXPECT_EQ(parallel % 1009, 1008) << "(p - 1)! = -1 modulo a prime p";
}

TEST(CppExamples, Errors) {
    kv::Context::quiet();  // nothing is printed
    std::string reason;
    try {
        kv::Integer n("12x");
    } catch (const kv::Error& error) {
        reason = error.what();
    }
    EXPECT_EQ(reason, "Invalid character at position 2.");
    kv::Context::quiet(false);
}

}  // namespace
