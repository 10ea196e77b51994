#include "text/hexadecimal.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "objects/owned.h"
#include "support/console_capture.h"

namespace kvt::text {
namespace {

using namespace kvt::test;

// Digit by digit from the exact value.
std::string oracle_hex(const Dyadic& x) {
    std::string digits;
    for (u32 word : x.magnitude)
        for (unsigned shift = 0; shift < 32; shift += 4) digits += "0123456789abcdef"[word >> shift & 15];
    while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
    if (digits.empty()) digits = "0";
    if (x.negative) digits += '-';
    return {digits.rbegin(), digits.rend()};
}

template <class W>
std::string written(const objects::BigInt<W>& x) {
    FencedBytes buffer(to_string_hex_bytes<W>(x.L));
    return to_string_hex(reinterpret_cast<char*>(buffer.data()), x);
}

template <class W>
class HexadecimalTest : public testing::Test {};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(HexadecimalTest, Widths);

TYPED_TEST(HexadecimalTest, WritesAndReadsBackEveryInteger) {
    using W = TypeParam;
    Rng rng(7);
    for (u64 round = 0; round < rounds(1000); ++round) {
        std::vector<W> content = words<W>(hard_patterns[round % std::size(hard_patterns)], rng.below(20), rng);
        if (!content.empty()) content.back() = static_cast<W>(content.back() >> rng.below(word_bits<W>));
        const OwnedBigInt<W> x(content, rng.below(2) != 0);
        const std::string text = written(*x);
        ASSERT_EQ(text, oracle_hex(x.exact()));
        std::string variant = text;
        if (round % 3 == 1) {
            variant.insert(text[0] == '-', "0x000000000000000000");
            for (char& c : variant) c = c == 'x' ? 'X' : static_cast<char>(std::toupper(c));
        }
        if (round % 3 == 2 && text[0] != '-') variant = "+" + text;
        OwnedBigInt<W> back(x->L);  // room for the value alone, whatever zeros stand in front
        set_string_hex(*back, variant.data(), variant.size());
        ASSERT_EQ(back.exact(), x.exact()) << variant;
        ASSERT_TRUE(normalised(*back));
        ASSERT_GE(set_string_hex_words<W>(variant.size()), x->L);
    }
}

TYPED_TEST(HexadecimalTest, SizesSaturate) {
    using W = TypeParam;
    for (u64 n = ~u64{0}; n > ~u64{0} - 100; --n) {
        EXPECT_EQ(to_string_hex_bytes<W>(n), ~u64{0});
        EXPECT_GE(to_string_hex_float_bytes<W>(n), n);
    }
    EXPECT_EQ(to_string_hex_bytes<W>(u64{1} << 62), ~u64{0});
}

TYPED_TEST(HexadecimalTest, ZeroHasNoSign) {
    using W = TypeParam;
    EXPECT_EQ(written(*OwnedBigInt<W>(0)), "0");
    OwnedBigInt<W> x(0);
    x->sign = false;
    set_string_hex(*x, "-0x00", 5);
    EXPECT_EQ(x->L, 0u);
    EXPECT_TRUE(x->sign);
}

TYPED_TEST(HexadecimalTest, NamesThePositionOfABadCharacter) {
    using W = TypeParam;
    const struct {
        std::string text;
        u64 position;
    } cases[] = {{"", 0},    {"-", 1},  {"0x", 2},    {"+0Xg", 3},   {" 1", 0},         {"12 ", 2},
                 {"--1", 1}, {"1-", 1}, {"0x0x1", 3}, {"12\xe9", 2}, {"fffffffffG", 9}, {std::string("1\0", 2), 1}};
    for (const auto& c : cases) {
        ConsoleCapture console(set_console_sink);
        OwnedBigInt<W> x({42}, false, 4);
        try {
            set_string_hex(*x, c.text.data(), c.text.size());
            ADD_FAILURE() << c.text;
        } catch (const Serialization::ParseException& error) {
            EXPECT_EQ(std::string(error.what()), "Invalid character at position " + std::to_string(c.position) + ".");
        }
        EXPECT_EQ(x->T[0], 42u);
        EXPECT_EQ(x->L, 1u);
        EXPECT_FALSE(x->sign);
    }
}

TYPED_TEST(HexadecimalTest, ReadingNeedsRoomForItsWords) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    OwnedBigInt<W> x({42}, true, 1);
    const std::string text = "1" + std::string(2 * sizeof(W), '0');
    try {
        set_string_hex(*x, text.data(), text.size());
        FAIL();
    } catch (const BufferTooSmallException& error) {
        EXPECT_STREQ(error.location, "BigInt::set_string_hex()");
        EXPECT_EQ(error.required_size, 2u);
    }
    EXPECT_EQ(x->T[0], 42u);
}

}  // namespace
}  // namespace kvt::text
