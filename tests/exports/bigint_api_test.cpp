// BigInt and its text through the shared library.

#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "exports/refusal.h"
#include "support/console_capture.h"

namespace {

using kvt::test::expect_refused;

TEST(BigIntApi, EveryShortCapacityIsRefusedWithItsLocation) {
    uint64_t a[] = {~uint64_t{0}, 1}, b[] = {5, 6, 7}, c[8], scratch[64];
    const BigInt_c64 A{a, 2, true, a, 2}, B{b, 3, true, b, 3}, zero{nullptr, 0, true, nullptr, 0};
    const BigInt_c64 negative{a, 2, false, a, 2};
    const BasicParameters params{nullptr, scratch, sizeof scratch, 1};
    const struct {
        const char* location;
        uint64_t capacity;  // one word short
        std::function<ExceptionWrapper*(BigInt_c64*)> call;
    } cases[] = {
        {"BigInt::set_BasicInt()", 1, [&](BigInt_c64* x) { return BigInt_c64_set_uWs(x, a, 2); }},
        {"BigInt::set_BigInt()", 2, [&](BigInt_c64* x) { return BigInt_c64_set_BigInt(x, &B); }},
        {"BigInt::set_BigInt()", 1, [&](BigInt_c64* x) { return BigInt_c64_set_sub(x, &zero, &A); }},
        {"BigInt::set_mul_uW()", 2, [&](BigInt_c64* x) { return BigInt_c64_set_mul_uW(x, &A, 1); }},
        {"BigInt::set_add()", 3, [&](BigInt_c64* x) { return BigInt_c64_set_add(x, &A, &B); }},
        {"BigInt::set_add()", 2, [&](BigInt_c64* x) { return BigInt_c64_set_add(x, &negative, &B); }},
        {"BigInt::set_add()", 2, [&](BigInt_c64* x) { return BigInt_c64_set_sub(x, &A, &B); }},
        {"BigInt::set_sqr()", 3, [&](BigInt_c64* x) { return BigInt_c64_set_sqr(x, &params, &A); }},
        {"BigInt::set_mul()", 4, [&](BigInt_c64* x) { return BigInt_c64_set_mul(x, &params, &A, &B); }},
        {"BigInt::set_mul()", 2, [&](BigInt_c64* x) { return BigInt_c64_set_mul(x, &params, &B, &zero); }},
        {"BigInt::set_string_hex()", 0, [&](BigInt_c64* x) { return BigInt_c64_set_string_hex(x, "1", 1); }},
        {"BigInt::operator<<=()", 2,
         [&](BigInt_c64* x) {
             x->L = 1;  // one word in use, moved up by one
             return BigInt_c64_shl(x, 64);
         }},
        {"BigInt::mul_uW()", 2,
         [&](BigInt_c64* x) {
             ++x->T;  // the place inside the buffer counts
             x->L = 1;
             return BigInt_c64_mul_uW(x, 1);
         }},
    };
    for (const auto& test : cases) {
        std::memset(c, 0x33, sizeof c);
        BigInt_c64 x{c, 0, false, c, test.capacity};
        expect_refused([&] { return test.call(&x); }, test.location);
        for (uint64_t word : c) EXPECT_EQ(word, 0x3333333333333333u) << test.location;
        EXPECT_FALSE(x.sign);
    }
}

TEST(BigIntApi, BothWidthsMultiplyAndWriteText) {
    const char* text = "-0xFFFFffffFFFFffffFFFFffffFFFFffff";
    const std::string square = "fffffffffffffffffffffffffffffffe00000000000000000000000000000001";
    char buffer[200], *result = nullptr;
    uint64_t words, bytes;

    ASSERT_EQ(BigInt_c64_set_string_hex_sizes(&words, std::strlen(text)), nullptr);
    std::vector<uint64_t> a(words), b(2 * words);
    BigInt_c64 A{a.data(), 0, true, a.data(), words}, B{b.data(), 0, true, b.data(), 2 * words};
    ASSERT_EQ(BigInt_c64_set_string_hex(&A, text, std::strlen(text)), nullptr);
    ASSERT_EQ(BigInt_c64_mul_Psize(&bytes, A.L, A.L, 1), nullptr);
    std::vector<unsigned char> scratch(bytes);
    const BasicParameters params{nullptr, scratch.data(), bytes, 1};
    ASSERT_EQ(BigInt_c64_set_sqr(&B, &params, &A), nullptr);
    ASSERT_EQ(BigInt_c64_to_string_hex_sizes(&bytes, B.L), nullptr);
    ASSERT_LE(bytes, sizeof buffer);
    ASSERT_EQ(BigInt_c64_to_string_hex(&result, buffer, &B), nullptr);
    EXPECT_EQ(result, square);
    EXPECT_EQ(BigInt_c64_cmp(&A, &B), -1);

    uint32_t a32[8], b32[16];
    BigInt_c32 A32{a32, 0, true, a32, 8}, B32{b32, 0, true, b32, 16};
    ASSERT_EQ(BigInt_c32_set_string_hex(&A32, text, std::strlen(text)), nullptr);
    ASSERT_EQ(BigInt_c32_mul_Psize(&bytes, A32.L, A32.L, 1), nullptr);
    scratch.resize(bytes);
    const BasicParameters params32{nullptr, scratch.data(), bytes, 1};
    ASSERT_EQ(BigInt_c32_set_mul(&B32, &params32, &A32, &A32), nullptr);
    ASSERT_EQ(BigInt_c32_to_string_hex(&result, buffer, &B32), nullptr);
    EXPECT_EQ(result, square);
}

}  // namespace
