// Hexadecimal text of BigFloats, both ways.

#include <gtest/gtest.h>

#include <string>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "objects/owned.h"
#include "support/console_capture.h"
#include "support/expected_error.h"
#include "text/hexadecimal.h"
#include "text/read_float.h"

namespace kvt::text {
namespace {

using namespace kvt::test;

template <class W>
std::string written(const objects::BigFloat<W>& x, u64 d) {
    FencedBytes buffer(to_string_hex_float_bytes<W>(d));
    const char* text = to_string_hex(reinterpret_cast<char*>(buffer.data()), x, d);
    return text != nullptr ? text : "inconsistent";
}

template <class W>
class HexadecimalFloatTest : public testing::Test {};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(HexadecimalFloatTest, Widths);

TYPED_TEST(HexadecimalFloatTest, Notations) {
    using W = TypeParam;
    const W top = static_cast<W>(W{0xabc} << (word_bits<W> - 12));  // 0.abc
    EXPECT_EQ(written(*OwnedBigFloat<W>(0), 5), "0.");
    EXPECT_EQ(written(*OwnedBigFloat<W>({0xabc}, 0, true), 3), "abc.");
    EXPECT_EQ(written(*OwnedBigFloat<W>({top}, -1, false), 3), "-0.abc");
    EXPECT_EQ(written(*OwnedBigFloat<W>({top, 7}, -1, true), 3), "7.ab");
    EXPECT_EQ(written(*OwnedBigFloat<W>({top, 7}, -1, true), 0), "7.");
    const i64 digits = word_bits<W> / 4;
    EXPECT_EQ(written(*OwnedBigFloat<W>({0xabc}, 3, true), 2), "a.b *16^ " + std::to_string(3 * digits + 2));
    EXPECT_EQ(written(*OwnedBigFloat<W>({0xabc}, -4, false), 9), "-a.bc *16^ -" + std::to_string(4 * digits - 2));
}

TYPED_TEST(HexadecimalFloatTest, ExponentsThatHaveNoTextAreRefused) {
    using W = TypeParam;
    constexpr i64 farthest = i64{1} << 58;
    EXPECT_EQ(written(*OwnedBigFloat<W>({5}, farthest, true), 1),
              "5. *16^ " + std::to_string(farthest * (word_bits<W> / 4)));
    for (i64 exp : {farthest + 1, -farthest - 1})
        test::expect_error(
            {6, "Generic Exception", "to_string_hex()", "The exponent is too large.", "to_string_hex()"},
            [&] { written(*OwnedBigFloat<W>({5}, exp, true), 1); });
}

TYPED_TEST(HexadecimalFloatTest, ReadsBackWhatItWrites) {
    using W = TypeParam;
    Rng rng(8);
    for (u64 round = 0; round < rounds(2000); ++round) {
        std::vector<W> content = words<W>(hard_patterns[round % std::size(hard_patterns)], rng.between(1, 9), rng);
        if (content.back() == 0) content.back() = 1;
        const OwnedBigFloat<W> x(content, static_cast<i64>(rng.below(30)) - 15, round % 2 != 0);
        const u64 enough = (x->L + 2) * 2 * sizeof(W);
        const std::string text = written(*x, enough);
        u64 room = set_string_hex_words<W>(text.size(), ~u64{0});
        OwnedBigFloat<W> back(room);
        set_string_hex(*back, text.data(), text.size(), ~u64{0});
        ASSERT_EQ(back.exact(), x.exact()) << text;
        ASSERT_TRUE(normalised(*back));
        // Less precision keeps the top words.
        const u64 p = rng.below(8);
        room = set_string_hex_words<W>(text.size(), p);
        OwnedBigFloat<W> cut(room);
        set_string_hex(*cut, text.data(), text.size(), p);
        ASSERT_LE(cut->L, p + 2);
        ASSERT_EQ(cut.exact(), x.exact().truncated_to(cut->exp * static_cast<i64>(word_bits<W>)));
    }
}

TYPED_TEST(HexadecimalFloatTest, ReadsOtherForms) {
    using W = TypeParam;
    auto read = [](const std::string& text) {
        OwnedBigFloat<W> x(set_string_hex_words<W>(text.size(), 9));
        set_string_hex(*x, text.data(), text.size(), 9);
        return x.exact();
    };
    auto power = [](u64 m, i64 nibbles) { return Dyadic::of(&m, 1).times_power_of_two(4 * nibbles); };
    EXPECT_EQ(read("+0X000A.b00"), power(0xab, -1));
    EXPECT_EQ(read("-.0001"), -power(1, -4));
    EXPECT_EQ(read("0x12."), power(0x12, 0));
    EXPECT_EQ(read("00.0050 *16^ +3"), power(0x50, -1));
    EXPECT_EQ(read("1 *16^ -100"), power(1, -100));
    EXPECT_EQ(read("-0.000"), Dyadic{});
}

TYPED_TEST(HexadecimalFloatTest, NamesThePositionOfABadCharacter) {
    using W = TypeParam;
    const struct {
        std::string text;
        u64 position;
    } cases[] = {{"", 0},       {"-", 1},        {".", 1},        {"1.2.3", 3},
                 {"1 *16^", 6}, {"1 *16^ ", 7},  {"1 *16^ -", 8}, {"1 *16^ 2a", 8},
                 {"1g", 1},     {"1 *10^ 3", 4}, {"0x.", 3},      {"1 *16^ 99999999999999999999", 25}};
    for (const auto& c : cases) {
        ConsoleCapture console(set_console_sink);
        OwnedBigFloat<W> x({42}, 1, false, 4);
        try {
            set_string_hex(*x, c.text.data(), c.text.size(), 3);
            ADD_FAILURE() << c.text;
        } catch (const Serialization::ParseException& error) {
            EXPECT_EQ(std::string(error.what()), "Invalid character at position " + std::to_string(c.position) + ".")
                << c.text;
        }
        EXPECT_EQ(x->T[0], 42u);
    }
}

}  // namespace
}  // namespace kvt::text
