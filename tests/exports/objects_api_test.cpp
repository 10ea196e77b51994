// BasicInt, BigFloat and ExactFloat through the shared library: short capacities, and the helpers of the header.

#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

#include <cstring>
#include <functional>
#include <vector>

#include "exports/refusal.h"

namespace {

using kvt::test::expect_refused;

template <class Number>
struct Refusal {
    const char* location;
    uint64_t capacity;  // one word short
    std::function<ExceptionWrapper*(Number*)> call;
};

// Runs every case on a number of the given storage, which must stay as it is.
template <class Number, class Make>
void expect_all_refused(const std::vector<Refusal<Number>>& cases, Make&& make) {
    for (const auto& test : cases) {
        uint64_t storage[8];
        std::memset(storage, 0x33, sizeof storage);
        Number x = make(storage, test.capacity);
        const Number before = x;
        expect_refused([&] { return test.call(&x); }, test.location);
        for (uint64_t word : storage) EXPECT_EQ(word, 0x3333333333333333u) << test.location;
        EXPECT_EQ(x.L, before.L);
        EXPECT_EQ(x.T, before.T);
    }
}

TEST(ObjectsApi, BigFloatRefusesEveryShortCapacity) {
    uint64_t a[] = {~uint64_t{0}, 1}, b[] = {5, 6, 7}, scratch[64];
    const BigFloat_c64 A{a, 2, 0, true, a, 2}, B{b, 3, 0, true, b, 3}, minus{a, 2, 0, false, a, 2};
    const BigInt_c64 integer{a, 2, true, a, 2};
    const BasicInt_c64 basic = make_BasicInt_c64(a, 2, 2);
    const ExactFloat_c64 exact = make_ExactFloat_c64(a, 2, 0, 2);
    const BasicParameters params{nullptr, scratch, sizeof scratch, 1};
    expect_all_refused<BigFloat_c64>(
        {
            {"BigFloat::set_BasicInt()", 1, [&](auto* x) { return BigFloat_c64_set_BasicInt(x, &basic); }},
            {"BigFloat::set_BigInt()", 1, [&](auto* x) { return BigFloat_c64_set_BigInt(x, &integer); }},
            {"BigFloat::set_ExactFloat()", 1, [&](auto* x) { return BigFloat_c64_set_ExactFloat(x, &exact); }},
            {"BigFloat::set_BigFloat()", 2, [&](auto* x) { return BigFloat_c64_set_BigFloat(x, &B, 1); }},
            {"BigFloat::set_double()", 0, [&](auto* x) { return BigFloat_c64_set_double(x, 0.5, 0); }},
            {"BigFloat::operator*=()", 1, [&](auto* x) { return BigFloat_c64_set_double(x, 1.0, 0); }},
            {"BigFloat::set_mul_uW()", 2, [&](auto* x) { return BigFloat_c64_set_mul_uW(x, &A, 3); }},
            {"BigFloat::set_uadd()", 3, [&](auto* x) { return BigFloat_c64_set_add(x, &A, &B, 9); }},
            {"BigFloat::set_uadd()", 2, [&](auto* x) { return BigFloat_c64_set_add(x, &A, &B, 1); }},
            {"BigFloat::set_usub()", 2, [&](auto* x) { return BigFloat_c64_set_add(x, &minus, &B, 9); }},
            {"BigFloat::set_sqr()", 3, [&](auto* x) { return BigFloat_c64_set_sqr(x, &params, &A, 9); }},
            {"BigFloat::set_mul()", 2, [&](auto* x) { return BigFloat_c64_set_mul(x, &params, &A, &B, 1); }},
            {"BigFloat::operator*=()", 2,
             [](auto* x) {
                 x->L = 2;
                 ExceptionWrapper* error = BigFloat_c64_mp2(x, 1);
                 x->L = 0;
                 return error;
             }},
            {"BigFloat::operator*=()", 2,
             [](auto* x) {
                 x->L = 1;
                 ++x->T;  // the place inside the buffer counts
                 ExceptionWrapper* error = BigFloat_c64_mul_uW(x, 3);
                 x->L = 0;
                 --x->T;
                 return error;
             }},
        },
        [](uint64_t* words, uint64_t capacity) { return BigFloat_c64{words, 0, 0, true, words, capacity}; });
}

TEST(ObjectsApi, BasicIntAndExactFloatRefuseShortCapacities) {
    uint64_t a[] = {~uint64_t{0}, 1}, b[] = {5, 6, 7};
    const BasicParameters params{};
    const BasicInt_c64 A = make_BasicInt_c64(a, 2, 2), B = make_BasicInt_c64(b, 3, 3);
    expect_all_refused<BasicInt_c64>(
        {
            {"BasicInt::operator+=()", 0, [&](auto* x) { return BasicInt_c64_set_addto(x, &A); }},
            {"BasicIntR::set_add()", 3, [&](auto* x) { return BasicInt_c64_set_add(x, &A, &B); }},
            {"BasicInt::operator-=()", 1, [&](auto* x) { return BasicInt_c64_set_subto(x, &A); }},
            {"BasicInt::operator-=()", 2, [&](auto* x) { return BasicInt_c64_set_sub(x, &B, &A); }},
            {"BasicInt::set_sqrB()", 3, [&](auto* x) { return BasicInt_c64_set_sqrB(x, &A); }},
            {"BasicIntR::set_mulB()", 4, [&](auto* x) { return BasicInt_c64_set_mulB(x, &A, &B); }},
        },
        [](uint64_t* words, uint64_t capacity) {
            return BasicInt_c64{words, 0, 0, capacity};
        });

    const ExactFloat_c64 X = make_ExactFloat_c64(a, 2, 0, 2), Y = make_ExactFloat_c64(b, 3, 1, 3);
    expect_all_refused<ExactFloat_c64>(
        {
            {"ExactFloat::set_add()", 4, [&](auto* x) { return ExactFloat_c64_set_add(x, &X, &Y); }},
            {"ExactFloat::set_sub()", 3, [&](auto* x) { return ExactFloat_c64_set_sub(x, &Y, &X); }},
            {"ExactFloat::set_sqr()", 3, [&](auto* x) { return ExactFloat_c64_set_sqr(x, &params, &X); }},
            {"ExactFloat::set_mul()", 4, [&](auto* x) { return ExactFloat_c64_set_mul(x, &params, &X, &Y); }},
            {"ExactFloat::set_mul()", 4,
             [&](auto* x) { return ExactFloat_c64_set_mul_AB_BC(x, x, &params, &X, &Y, &X); }},
            {"ExactFloat::set_mul(extend)", 6,
             [&](auto* x) { return ExactFloat_c64_set_mul_extend(x, &params, &X, &Y, -1); }},
        },
        [](uint64_t* words, uint64_t capacity) { return ExactFloat_c64{words, 0, 0, 0, words, capacity}; });
}

TEST(ObjectsApi, TheHeadersChecksumsAreTheLibrarys) {
    uint64_t wide[] = {~uint64_t{0}, 0x123456789abcdef0, ~uint64_t{0}, 0};
    uint32_t narrow[] = {0xffffffff, 0x9abcdef0, 0x12345678, 0xffffffff, 0, 0};
    kvt::test::ConsoleCapture console(SetConsoleSink);
    for (int64_t exp : {0, 1, -1, 29, -61, 1000003}) {
        const ExactFloat_c64 x = make_ExactFloat_c64(wide, 4, exp, 4);
        EXPECT_EQ(x.L, 3u);
        ASSERT_EQ(ExactFloat_c64_print(&x), nullptr);
        EXPECT_NE(console.take().find("  (ok)"), std::string::npos);
        const ExactFloat_c32 y = make_ExactFloat_c32(narrow, 6, exp, 6);
        EXPECT_EQ(y.L, 4u);
        ASSERT_EQ(ExactFloat_c32_print(&y), nullptr);
        EXPECT_NE(console.take().find("  (ok)"), std::string::npos);
    }
    const BasicInt_c64 integer = make_BasicInt_c64(wide, 4, 4);
    ASSERT_EQ(BasicInt_c64_print(&integer), nullptr);
    EXPECT_NE(console.take().find("  (ok)"), std::string::npos);
    const BasicInt_c32 short_integer = make_BasicInt_c32(narrow, 6, 6);
    ASSERT_EQ(BasicInt_c32_print(&short_integer), nullptr);
    EXPECT_NE(console.take().find("  (ok)"), std::string::npos);
}

TEST(ObjectsApi, ThirtyTwoBitNumbersCompute) {
    uint32_t a[] = {0xffffffff, 0xffffffff}, s[3], f[8], scratch[100];
    const BasicParameters params{nullptr, scratch, sizeof scratch, 1};
    const BasicInt_c32 A = make_BasicInt_c32(a, 2, 2);
    BasicInt_c32 sum{s, 0, 0, 3};
    ASSERT_EQ(BasicInt_c32_set_add(&sum, &A, &A), nullptr);
    TextRecord text{};
    ASSERT_EQ(BasicIntO_c32_to_string(&text, &sum), nullptr);
    EXPECT_STREQ(text.text, "36893488147419103230");
    text.text_free(text.text);

    BigFloat_c32 x{f, 0, 0, true, f, 8};
    ASSERT_EQ(BigFloat_c32_set_BasicInt(&x, &sum), nullptr);
    ASSERT_EQ(BigFloat_c32_set_sqr_ip(&x, &params, 0),
              nullptr);  // of the top two words: (2^33 - 1)^2 = 2^66 - 2^34 + 1
    EXPECT_EQ(x.L, 2u);
    EXPECT_EQ(x.exp, 3);
    EXPECT_EQ(f[0], 0xfffffffcu);
    EXPECT_EQ(f[1], 3u);
    int64_t exp;
    EXPECT_EQ(BigFloat_c32_to_double(&x, &exp), 0x1.fffffffep-31);
    EXPECT_EQ(exp, 5);
}

}  // namespace
