#include "objects/convert.h"

#include <gtest/gtest.h>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "objects/owned.h"
#include "support/child_process.h"
#include "support/console_capture.h"

namespace kvt::objects {
namespace {

using namespace kvt::test;

template <class W>
class ConvertTest : public testing::Test {};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(ConvertTest, Widths);

TYPED_TEST(ConvertTest, TheIntegerPartIsRoundedTowardsZero) {
    using W = TypeParam;
    Rng rng(5);
    for (u64 round = 0; round < rounds(1000); ++round) {
        const u64 n = rng.below(8);
        const OwnedBigFloat<W> x(words<W>(hard_patterns[round % std::size(hard_patterns)], n, rng),
                                 static_cast<i64>(rng.below(16)) - 10, round % 2 != 0);
        const i64 top = x->exp + static_cast<i64>(x->L);
        OwnedBigInt<W> out(std::max<u64>(x->L, top > 0 ? static_cast<u64>(top) : 0));
        set_BigFloat(*out, *x);
        ASSERT_EQ(out.exact(), x.exact().truncated_to(0));
        ASSERT_TRUE(normalised(*out));
    }
    OwnedBigInt<W> out(2);
    set_BigFloat(*out, *OwnedBigFloat<W>({W{1} << (word_bits<W> - 1), 2}, -1, true));
    EXPECT_EQ(out->L, 1u);
    EXPECT_EQ(out->T[0], 2u);
    set_BigFloat(*out, *OwnedBigFloat<W>({3}, -1, false));
    EXPECT_EQ(out->L, 0u);
    EXPECT_TRUE(out->sign);
}

// The capacity check looks at the float's words alone; its exponent may ask for more.
TYPED_TEST(ConvertTest, TheCapacityCheckedIsTheFloatsLength) {
    using W = TypeParam;
    std::vector<W> buffer(5, 9);
    BigInt<W> out{buffer.data(), 0, true, buffer.data(), 1};
    set_BigFloat(out, *OwnedBigFloat<W>({7}, 3, false));
    EXPECT_EQ(buffer, (std::vector<W>{0, 0, 0, 7, 9}));
    EXPECT_EQ(out.L, 4u);
    EXPECT_FALSE(out.sign);
}

TYPED_TEST(ConvertTest, CopiesBetweenTheClasses) {
    using W = TypeParam;
    const OwnedBasicInt<W> basic({1, 2, 3});
    const OwnedBigInt<W> integer({4, 5}, false);
    const OwnedExactFloat<W> accurate({6, 7}, -3);
    OwnedBigInt<W> I(3);
    set_BasicInt(*I, *basic);
    EXPECT_EQ(I.exact(), basic.exact());
    OwnedBigFloat<W> F(3);
    set_BasicInt(*F, *basic);
    EXPECT_EQ(F.exact(), basic.exact());
    set_BigInt(*F, *integer);
    EXPECT_EQ(F.exact(), integer.exact());
    set_ExactFloat(*F, *accurate);
    EXPECT_EQ(F.exact(), accurate.exact());
    F->sign = false;
    set_ExactFloat(*F, *OwnedExactFloat<W>({}, 7));
    EXPECT_EQ(F->L, 0u);
    EXPECT_EQ(F->exp, 0);
    EXPECT_TRUE(F->sign);
}

TYPED_TEST(ConvertTest, ShortCapacitiesAreRefusedWithTheirLocation) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    const OwnedBasicInt<W> basic({1, 2});
    const OwnedBigInt<W> integer({4, 5}, false);
    const OwnedExactFloat<W> accurate({6, 7}, -3);
    const OwnedBigFloat<W> real({6, 7}, -3, true);
    OwnedBigInt<W> I(1);
    OwnedBigFloat<W> F(1);
    auto refused = [](const char* location, auto&& call) {
        try {
            call();
            ADD_FAILURE() << location;
        } catch (const BufferTooSmallException& error) {
            EXPECT_STREQ(error.location, location);
            EXPECT_EQ(error.required_size, 2u);
        }
    };
    refused("BigInt::set_BasicInt()", [&] { set_BasicInt(*I, *basic); });
    refused("BigInt::set_BigFloat()", [&] { set_BigFloat(*I, *real); });
    refused("BigFloat::set_BasicInt()", [&] { set_BasicInt(*F, *basic); });
    refused("BigFloat::set_BigInt()", [&] { set_BigInt(*F, *integer); });
    refused("BigFloat::set_ExactFloat()", [&] { set_ExactFloat(*F, *accurate); });
    EXPECT_EQ(I->L, 0u);
    EXPECT_EQ(F->L, 0u);
}

const ChildCase exponent_too_large{"convert_exponent_too_large", [] {
                                       u64 a[] = {1}, b[] = {1};
                                       BigFloat<u64> x{a, 1, INT64_MAX, true, a, 1};
                                       BigInt<u64> out{b, 0, true, b, 1};
                                       set_BigFloat(out, x);
                                   }};

TEST(ConvertDeath, AnIntegerThatFitsNoMemoryIsAFatalAssertion) {
    const ChildEnd end = exponent_too_large.run();
    EXPECT_TRUE(end.faulted);
    EXPECT_NE(end.output.find("Invalid Function Parameters:   BigInt::set_BigFloat()"), std::string::npos);
}

}  // namespace
}  // namespace kvt::objects
