// Every export of the number classes computes what its name says, in both widths: one small sum each.

#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

#include <vector>

namespace {

template <class W>
struct Exports;
#define EXPORTS(word, width)                                                                              \
    template <>                                                                                           \
    struct Exports<word> {                                                                                \
        using BasicInt = BasicInt_##width;                                                                \
        using BigInt = BigInt_##width;                                                                    \
        using BigFloat = BigFloat_##width;                                                                \
        using ExactFloat = ExactFloat_##width;                                                            \
        static constexpr auto make_basic = make_BasicInt_##width;                                         \
        static constexpr auto make_exact = make_ExactFloat_##width;                                       \
        struct B {                                                                                        \
            static constexpr auto set_addto = BasicInt_##width##_set_addto;                               \
            static constexpr auto set_add = BasicInt_##width##_set_add;                                   \
            static constexpr auto set_subto = BasicInt_##width##_set_subto;                               \
            static constexpr auto set_sub = BasicInt_##width##_set_sub;                                   \
            static constexpr auto set_sqrB = BasicInt_##width##_set_sqrB;                                 \
            static constexpr auto set_mulB = BasicInt_##width##_set_mulB;                                 \
        };                                                                                                \
        struct I {                                                                                        \
            static constexpr auto set_uL = BigInt_##width##_set_uL;                                       \
            static constexpr auto set_uWs = BigInt_##width##_set_uWs;                                     \
            static constexpr auto set_BasicInt = BigInt_##width##_set_BasicInt;                           \
            static constexpr auto set_BigInt = BigInt_##width##_set_BigInt;                               \
            static constexpr auto set_BigFloat = BigInt_##width##_set_BigFloat;                           \
            static constexpr auto get_range = BigInt_##width##_get_range;                                 \
            static constexpr auto cmp = BigInt_##width##_cmp;                                             \
            static constexpr auto shl = BigInt_##width##_shl;                                             \
            static constexpr auto shr = BigInt_##width##_shr;                                             \
            static constexpr auto mul_uW = BigInt_##width##_mul_uW;                                       \
            static constexpr auto set_mul_uW = BigInt_##width##_set_mul_uW;                               \
            static constexpr auto set_add = BigInt_##width##_set_add;                                     \
            static constexpr auto set_sub = BigInt_##width##_set_sub;                                     \
            static constexpr auto mul_Psize = BigInt_##width##_mul_Psize;                                 \
            static constexpr auto set_sqr = BigInt_##width##_set_sqr;                                     \
            static constexpr auto set_mul = BigInt_##width##_set_mul;                                     \
        };                                                                                                \
        struct F {                                                                                        \
            static constexpr auto set_uL = BigFloat_##width##_set_uL;                                     \
            static constexpr auto set_BasicInt = BigFloat_##width##_set_BasicInt;                         \
            static constexpr auto set_BigInt = BigFloat_##width##_set_BigInt;                             \
            static constexpr auto set_ExactFloat = BigFloat_##width##_set_ExactFloat;                     \
            static constexpr auto set_BigFloat = BigFloat_##width##_set_BigFloat;                         \
            static constexpr auto set_double = BigFloat_##width##_set_double;                             \
            static constexpr auto to_double = BigFloat_##width##_to_double;                               \
            static constexpr auto get_range = BigFloat_##width##_get_range;                               \
            static constexpr auto strip_tzs_all = BigFloat_##width##_strip_tzs_all;                       \
            static constexpr auto cmp = BigFloat_##width##_cmp;                                           \
            static constexpr auto mp2 = BigFloat_##width##_mp2;                                           \
            static constexpr auto mul_uW = BigFloat_##width##_mul_uW;                                     \
            static constexpr auto set_mul_uW = BigFloat_##width##_set_mul_uW;                             \
            static constexpr auto set_add = BigFloat_##width##_set_add;                                   \
            static constexpr auto set_sub = BigFloat_##width##_set_sub;                                   \
            static constexpr auto set_sqr = BigFloat_##width##_set_sqr;                                   \
            static constexpr auto set_mul = BigFloat_##width##_set_mul;                                   \
            static constexpr auto set_sqr_ip = BigFloat_##width##_set_sqr_ip;                             \
            static constexpr auto set_mul_ip = BigFloat_##width##_set_mul_ip;                             \
            static constexpr auto set_mul_AB_BC = BigFloat_##width##_set_mul_AB_BC;                       \
            static constexpr auto mul_Psize = BigFloat_##width##_mul_Psize;                               \
        };                                                                                                \
        struct E {                                                                                        \
            static constexpr auto AddTo = ExactFloat_##width##_AddTo;                                     \
            static constexpr auto SubTo = ExactFloat_##width##_SubTo;                                     \
            static constexpr auto set_add = ExactFloat_##width##_set_add;                                 \
            static constexpr auto set_sub = ExactFloat_##width##_set_sub;                                 \
            static constexpr auto mp2 = ExactFloat_##width##_mp2;                                         \
            static constexpr auto strip_tzs_all = ExactFloat_##width##_strip_tzs_all;                     \
            static constexpr auto set_sqr = ExactFloat_##width##_set_sqr;                                 \
            static constexpr auto set_mul = ExactFloat_##width##_set_mul;                                 \
            static constexpr auto set_mul_extend = ExactFloat_##width##_set_mul_extend;                   \
            static constexpr auto set_mul_AB_BC = ExactFloat_##width##_set_mul_AB_BC;                     \
            static constexpr auto set_mul_AB_BC_normalize = ExactFloat_##width##_set_mul_AB_BC_normalize; \
        };                                                                                                \
    };
EXPORTS(uint32_t, c32)
EXPORTS(uint64_t, c64)
#undef EXPORTS

template <class W>
class ObjectExports : public testing::Test, protected Exports<W> {
  protected:
    using B = typename Exports<W>::B;
    using I = typename Exports<W>::I;
    using F = typename Exports<W>::F;
    using E = typename Exports<W>::E;
    using BasicInt = typename Exports<W>::BasicInt;
    using BigInt = typename Exports<W>::BigInt;
    using BigFloat = typename Exports<W>::BigFloat;
    using ExactFloat = typename Exports<W>::ExactFloat;
    static constexpr unsigned bits = 8 * sizeof(W);

    W* storage() { return storage_[used_++]; }
    BasicInt basic(W x) {
        W* words = storage();
        *words = x;
        return Exports<W>::make_basic(words, 1, capacity);
    }
    ExactFloat exact(W x, int64_t exp = 0) {
        W* words = storage();
        *words = x;
        return Exports<W>::make_exact(words, 1, exp, capacity);
    }
    BigInt integer(W x = 0, bool sign = true) {
        W* words = storage();
        *words = x;
        return {words, x != 0, sign, words, capacity};
    }
    BigFloat real(W x = 0, bool sign = true, int64_t exp = 0) {
        W* words = storage();
        *words = x;
        return {words, x != 0, exp, sign, words, capacity};
    }
    // One word, with its sign or exponent.
    template <class Number>
    static void expect(ExceptionWrapper* error, const Number& x, W word) {
        ASSERT_EQ(error, nullptr);
        ASSERT_EQ(x.L, 1u);
        EXPECT_EQ(x.T[0], word);
    }
    template <class Number>
    static void expect(ExceptionWrapper* error, const Number& x, W word, bool sign) {
        expect(error, x, word);
        EXPECT_EQ(x.sign, sign);
    }

    static constexpr uint64_t capacity = 8;
    BasicParameters params_{nullptr, scratch_, sizeof scratch_, 1};

  private:
    W storage_[64][capacity] = {};
    unsigned used_ = 0;
    unsigned char scratch_[4096];
};
using Widths = testing::Types<uint32_t, uint64_t>;
TYPED_TEST_SUITE(ObjectExports, Widths);

TYPED_TEST(ObjectExports, BasicInts) {
    using B = typename TestFixture::B;
    auto a = this->basic(9), b = this->basic(4), out = this->basic(0);
    this->expect(B::set_add(&out, &a, &b), out, 13);
    this->expect(B::set_sub(&out, &a, &b), out, 5);
    this->expect(B::set_addto(&out, &b), out, 9);
    this->expect(B::set_subto(&out, &b), out, 5);
    this->expect(B::set_sqrB(&out, &a), out, 81);
    this->expect(B::set_mulB(&out, &a, &b), out, 36);
}

TYPED_TEST(ObjectExports, BigInts) {
    using I = typename TestFixture::I;
    auto a = this->integer(9), b = this->integer(4, false), out = this->integer();
    const auto basic = this->basic(6);
    const auto real = this->real(7, false);
    TypeParam words[2] = {3, 0}, range[2];
    this->expect(I::set_uL(&out, 5), out, 5, true);
    this->expect(I::set_uWs(&out, words, 2), out, 3, true);
    this->expect(I::set_BasicInt(&out, &basic), out, 6, true);
    this->expect(I::set_BigFloat(&out, &real), out, 7, false);
    this->expect(I::set_BigInt(&out, &b), out, 4, false);
    I::get_range(&a, range, 0, 2);
    EXPECT_EQ(range[0], 9u);
    EXPECT_EQ(range[1], 0u);
    EXPECT_EQ(I::cmp(&a, &b), 1);
    this->expect(I::set_add(&out, &a, &b), out, 5, true);
    this->expect(I::set_sub(&out, &a, &b), out, 13, true);
    this->expect(I::shl(&out, 2), out, 52, true);
    I::shr(&out, 3);
    this->expect(nullptr, out, 6, true);
    this->expect(I::mul_uW(&out, 3), out, 18, true);
    this->expect(I::set_mul_uW(&out, &b, 5), out, 20, false);
    this->expect(I::set_sqr(&out, &this->params_, &b), out, 16, true);
    this->expect(I::set_mul(&out, &this->params_, &a, &b), out, 36, false);
    uint64_t bytes = 0;
    EXPECT_EQ(I::mul_Psize(&bytes, 10, 10, 1), nullptr);
    EXPECT_GT(bytes, 0u);
}

TYPED_TEST(ObjectExports, BigFloats) {
    using F = typename TestFixture::F;
    auto a = this->real(9), b = this->real(4, false), out = this->real(), other = this->real();
    const auto basic = this->basic(6);
    const auto integer = this->integer(7, false);
    const auto exact = this->exact(8, -3);
    this->expect(F::set_uL(&out, 5), out, 5, true);
    this->expect(F::set_BasicInt(&out, &basic), out, 6, true);
    this->expect(F::set_BigInt(&out, &integer), out, 7, false);
    this->expect(F::set_ExactFloat(&out, &exact), out, 8, true);
    EXPECT_EQ(out.exp, -3);
    this->expect(F::set_BigFloat(&out, &b, 3), out, 4, false);
    int64_t exp;
    ASSERT_EQ(F::set_double(&out, -6.5, 2), nullptr);
    EXPECT_EQ(F::to_double(&out, &exp), this->bits == 64 ? -6.5 * 0x1p-64 : -6.5 * 0x1p-32);
    EXPECT_EQ(exp, 3);
    TypeParam range[2];
    F::get_range(&out, range, 2, 2);
    EXPECT_EQ(range[0], 6u);
    EXPECT_EQ(range[1], 0u);
    F::strip_tzs_all(&out);
    EXPECT_EQ(out.L, 2u);
    EXPECT_EQ(F::cmp(&b, &a), -1);
    this->expect(F::set_add(&out, &a, &b, 2), out, 5, true);
    this->expect(F::set_sub(&out, &a, &b, 2), out, 13, true);
    this->expect(F::mp2(&out, this->bits + 1), out, 26, true);
    EXPECT_EQ(out.exp, 1);
    this->expect(F::mul_uW(&out, 3), out, 78, true);
    this->expect(F::set_mul_uW(&out, &b, 5), out, 20, false);
    this->expect(F::set_sqr(&out, &this->params_, &b, 2), out, 16, true);
    this->expect(F::set_mul(&out, &this->params_, &a, &b, 2), out, 36, false);
    this->expect(F::set_mul_ip(&out, &this->params_, &a, 2), out, 324, false);
    out = this->real(12, false);
    this->expect(F::set_sqr_ip(&out, &this->params_, 2), out, 144, true);
    this->expect(F::set_mul_AB_BC(&out, &other, &this->params_, &a, &b, &b, 2), out, 36, false);
    this->expect(nullptr, other, 16, true);
    uint64_t bytes = 0, less = 0;
    EXPECT_EQ(F::mul_Psize(&bytes, 30, 20, 100, 1), nullptr);
    EXPECT_EQ(F::mul_Psize(&less, 30, 20, 8, 1), nullptr);
    EXPECT_GT(bytes, less);
}

TYPED_TEST(ObjectExports, ExactFloats) {
    using E = typename TestFixture::E;
    auto a = this->exact(9), b = this->exact(4), out = this->exact(0), other = this->exact(0);
    this->expect(E::set_add(&out, &a, &b), out, 13);
    this->expect(E::set_sub(&out, &a, &b), out, 5);
    this->expect(E::AddTo(&out, &b), out, 9);
    this->expect(E::SubTo(&out, &b), out, 5);
    this->expect(E::mp2(&out, -static_cast<int64_t>(this->bits) + 1), out, 10);
    EXPECT_EQ(out.exp, -1);
    this->expect(E::set_sqr(&out, &this->params_, &a), out, 81);
    this->expect(E::set_mul(&out, &this->params_, &a, &b), out, 36);
    ASSERT_EQ(E::set_mul_extend(&out, &this->params_, &a, &b, -2), nullptr);
    EXPECT_EQ(out.L, 3u);
    EXPECT_EQ(out.exp, -2);
    E::strip_tzs_all(&out);
    this->expect(nullptr, out, 36);
    this->expect(E::set_mul_AB_BC(&out, &other, &this->params_, &a, &b, &b), out, 36);
    this->expect(nullptr, other, 16);
    ASSERT_EQ(E::set_mul_extend(&out, &this->params_, &a, &b, -1), nullptr);
    const auto low = out;
    auto more = this->exact(0);
    this->expect(E::set_mul_AB_BC_normalize(&more, &other, &this->params_, &low, &b, &a), more, 144);
    EXPECT_EQ(more.exp, 0);
    this->expect(nullptr, other, 36);
}

}  // namespace
