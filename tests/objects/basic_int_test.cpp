#include "objects/basic_int.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "objects/owned.h"
#include "support/child_process.h"
#include "support/console_capture.h"

namespace kvt::objects {
namespace {

using namespace kvt::test;

// Frees the text of its record.
struct OwnedText {
    ~OwnedText() {
        if (record.text != nullptr) record.text_free(record.text);
    }
    TextRecord record{};
};

template <class W>
std::string decimal(const BasicInt<W>& x) {
    OwnedText text;
    to_string(text.record, x);
    EXPECT_EQ(text.record.text[text.record.length], '\0');
    return {text.record.text, text.record.length};
}

template <class W>
class BasicIntTest : public testing::Test {
  protected:
    OwnedBasicInt<W> random(u64 n, u64 capacity = 0) {
        const Pattern pattern = hard_patterns[rng_.below(std::size(hard_patterns))];
        return OwnedBasicInt<W>(words<W>(pattern, n, rng_), capacity);
    }
    Rng rng_{11};
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(BasicIntTest, Widths);

TYPED_TEST(BasicIntTest, ArithmeticIsExactAndKeepsItsChecksum) {
    using W = TypeParam;
    for (u64 round = 0; round < rounds(3000); ++round) {
        auto A = this->random(this->rng_.below(12)), B = this->random(this->rng_.below(12));
        const Dyadic a = A.exact(), b = B.exact();
        const u64 most = std::max(A->L, B->L);

        OwnedBasicInt<W> sum(most + 1);
        set_add(*sum, *A, *B);
        ASSERT_EQ(sum.exact(), a + b);
        ASSERT_TRUE(sum.sound());
        OwnedBasicInt<W> product(A->L + B->L), square(2 * A->L);
        set_mulB(*product, *A, *B);
        ASSERT_EQ(product.exact(), a * b);
        ASSERT_TRUE(product.sound());
        set_sqrB(*square, *A);
        ASSERT_EQ(square.exact(), a * a);
        ASSERT_TRUE(square.sound());

        const int order = compare(a, b);
        if (order != 0) {
            OwnedBasicInt<W> difference(most);
            auto& larger = order > 0 ? A : B;
            auto& smaller = order > 0 ? B : A;
            set_sub(*difference, *larger, *smaller);
            ASSERT_EQ(difference.exact(), order > 0 ? a - b : b - a);
            ASSERT_TRUE(difference.sound());
            set_subto(*larger, *smaller);
            ASSERT_EQ(larger.exact(), difference.exact());
            ASSERT_TRUE(larger.sound());
        }
        auto C = this->random(this->rng_.between(3, 9), 10), D = this->random(this->rng_.below(4));
        if (C->L < D->L) continue;
        const Dyadic want = C.exact() + D.exact();
        set_addto(*C, *D);
        ASSERT_EQ(C.exact(), want);
        ASSERT_TRUE(C.sound());
        if (C->L == 10) continue;
        set_addto(*C, *C);
        ASSERT_EQ(C.exact(), want + want);
        ASSERT_TRUE(C.sound());
    }
}

TYPED_TEST(BasicIntTest, ACarryOutOfAllOnesAddsAWord) {
    using W = TypeParam;
    const W ones = static_cast<W>(~W{0});
    OwnedBasicInt<W> x({ones, ones}, 3), one(std::vector<W>{1});
    set_addto(*x, *one);
    EXPECT_EQ(std::vector<W>(x->T, x->T + x->L), (std::vector<W>{0, 0, 1}));
    EXPECT_TRUE(x.sound());
}

TYPED_TEST(BasicIntTest, ShortCapacitiesAndBadDifferencesChangeNothing) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    const OwnedBasicInt<W> A({1, 2}), B({3, 4, 5});
    auto refused = [&](const char* location, u64 capacity, u64 needed, auto&& call) {
        OwnedBasicInt<W> out({9}, capacity);
        try {
            call(*out);
            ADD_FAILURE() << location;
        } catch (const BufferTooSmallException& error) {
            EXPECT_STREQ(error.location, location);
            EXPECT_EQ(error.buffer_size, capacity);
            EXPECT_EQ(error.required_size, needed);
        }
        EXPECT_EQ(out.exact(), Dyadic::of(std::vector<W>{9}.data(), 1));
    };
    using Number = BasicInt<W>;
    refused("BasicInt::operator+=()", 1, 2, [&](Number& x) { set_addto(x, *A); });
    refused("BasicIntR::set_add()", 3, 4, [&](Number& x) { set_add(x, *A, *B); });
    refused("BasicInt::operator-=()", 2, 3, [&](Number& x) { set_sub(x, *B, *A); });
    refused("BasicInt::set_sqrB()", 3, 4, [&](Number& x) { set_sqrB(x, *A); });
    refused("BasicIntR::set_mulB()", 4, 5, [&](Number& x) { set_mulB(x, *A, *B); });

    auto unsupported = [&](const char* message, const OwnedBasicInt<W>& X, const OwnedBasicInt<W>& Y) {
        OwnedBasicInt<W> out({9}, 4);
        try {
            set_sub(*out, *X, *Y);
            ADD_FAILURE() << message;
        } catch (const UnsupportedValueException& error) {
            EXPECT_STREQ(error.what(), message);
            EXPECT_STREQ(error.location, "BasicInt::operator-=()");
            EXPECT_EQ(error.reaction, REACT_PRINT_THROW);
        }
        EXPECT_EQ(out->T[0], 9u);
    };
    unsupported("A negative value was encountered.", A, B);
    unsupported("Zero was encountered.", A, A);
}

TYPED_TEST(BasicIntTest, PrintTellsABrokenChecksum) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    OwnedBasicInt<W> x({5, 1}, 3);
    const std::string sum = sizeof(W) == 8 ? "13" : "4294967301";  // W is 8 modulo 2^61 - 1 in 64 bits
    print(*x);
    EXPECT_EQ(console.take(), "L               2\nhash            " + sum + "  (ok)\n{5,1}\n\n");
    ++x->hash;
    print(*x);
    EXPECT_NE(console.take().find("  (fail)\n"), std::string::npos);
    print(*OwnedBasicInt<W>(0));
    EXPECT_EQ(console.take(), "L               0\nhash            0  (ok)\n{}\n\n");
    print(*OwnedBasicInt<W>(std::vector<W>(21, 1)));
    EXPECT_NE(console.take().find("{1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1}\n"), std::string::npos);
}

TYPED_TEST(BasicIntTest, DecimalText) {
    using W = TypeParam;
    EXPECT_EQ(decimal(*OwnedBasicInt<W>(0)), "0");
    EXPECT_EQ(decimal(*OwnedBasicInt<W>(std::vector<W>{999999999})), "999999999");
    EXPECT_EQ(decimal(*OwnedBasicInt<W>(std::vector<W>{1000000000})), "1000000000");
    // Multiplied back together digit by digit.
    for (u64 round = 0; round < rounds(200); ++round) {
        const auto x = this->random(this->rng_.below(30));
        const std::string text = decimal(*x);
        ASSERT_TRUE(text == "0" || text[0] != '0');
        Natural back;
        for (std::size_t i = 0; i < text.size(); i += 9) {
            const std::string group = text.substr(i, 9);
            const u64 scale = static_cast<u64>(std::stoull("1" + std::string(group.size(), '0')));
            const Natural scaled =
                trimmed(reference::product<u32>(back.empty() ? Natural{0} : back, {static_cast<u32>(scale)}));
            back = sum(scaled, trimmed({static_cast<u32>(std::stoul(group))}));
        }
        ASSERT_EQ(compare(back, x.exact().magnitude), 0) << text;
    }
}

TYPED_TEST(BasicIntTest, ATextAlreadyHeldIsFreedWithItsOwnFunction) {
    static int freed;
    freed = 0;
    char old[] = "old";
    OwnedText text;
    text.record = {3, old, [](char*) { ++freed; }};
    to_string(text.record, *OwnedBasicInt<TypeParam>(std::vector<TypeParam>{42}));
    EXPECT_EQ(freed, 1);
    EXPECT_STREQ(text.record.text, "42");
    EXPECT_EQ(text.record.length, 2u);
}

TEST(BasicIntText, WarnsFromTenThousandAndOneWordsOn) {
    ConsoleCapture console(set_console_sink);
    // The words in use count, not the value: zeros on top keep this fast.
    std::vector<u32> words(10001);
    words[0] = 7;
    BasicInt<u32> x{words.data(), 10000, 7, 10001};
    EXPECT_EQ(decimal(x), "7");
    EXPECT_EQ(console.take(), "");
    x.L = 10001;
    EXPECT_EQ(decimal(x), "7");
    EXPECT_EQ(console.take(),
              "BasicIntO::to_string(): Performance Warning\n"
              "    Converting a 10001-word number using the O(n^2) algorithm.\n");
}

const ChildCase adds_a_longer_one{"basic_int_add_longer", [] {
                                      u64 a[] = {1, 0, 0, 0}, b[] = {1, 2};
                                      BasicInt<u64> A{a, 1, 1, 4}, B{b, 2, 17, 2};
                                      set_addto(A, B);
                                  }};

TEST(BasicIntDeath, AddingALongerNumberInPlaceIsAFatalAssertion) {
    const ChildEnd end = adds_a_longer_one.run();
    EXPECT_TRUE(end.faulted);
    EXPECT_NE(end.output.find("Invalid Function Parameters:   BasicInt::operator+=()"), std::string::npos);
}

}  // namespace
}  // namespace kvt::objects
