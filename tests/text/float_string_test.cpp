#include "text/float_string.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "support/console_capture.h"

namespace kvt::text {
namespace {

// A string of the given digits with the usual room in front and as much behind.
struct Sample {
    explicit Sample(const std::string& digits, i64 exponent = 0, bool positive = true, u64 room = 40)
        : buffer(FloatString::headroom + digits.size() + room, '#'), string{buffer.data() + FloatString::headroom,
                                                                            digits.size(),
                                                                            exponent,
                                                                            positive,
                                                                            buffer.data(),
                                                                            buffer.size()} {
        std::memcpy(string.text, digits.data(), digits.size());
    }
    std::string text() const { return {string.text, string.length}; }

    std::string buffer;
    FloatString string;
};

std::string truncated_at(const std::string& digits, i64 exponent, i64 target, i64* exponent_out = nullptr) {
    Sample s(digits, exponent);
    s.string.truncate_at(target, '5', '9');
    if (exponent_out != nullptr) *exponent_out = s.string.exponent;
    return s.text();
}

TEST(FloatString, TruncatesAtAPositionRoundingHalfUp) {
    i64 exponent;
    EXPECT_EQ(truncated_at("123456", -3, 0, &exponent), "123");
    EXPECT_EQ(exponent, 0);
    EXPECT_EQ(truncated_at("123500", -3, 0), "124");
    EXPECT_EQ(truncated_at("129999", -3, 0), "130");
    EXPECT_EQ(truncated_at("9996", 0, 1, &exponent), "1000");
    EXPECT_EQ(exponent, 1);
    EXPECT_EQ(truncated_at("5", -1, 0, &exponent), "1");  // nothing kept, but carried into
    EXPECT_EQ(exponent, 0);
    EXPECT_EQ(truncated_at("4", -1, 0), "");
    EXPECT_EQ(truncated_at("77", -5, 0, &exponent), "0");
    EXPECT_EQ(exponent, -5);
    EXPECT_EQ(truncated_at("77", 0, -1), "77");
    EXPECT_EQ(truncated_at("77", 0, 0), "77");
}

TEST(FloatString, KeepsSignificantDigitsWithoutRounding) {
    Sample s("000129", -2);
    s.string.truncate_digits(2);
    EXPECT_EQ(s.text(), "00012");
    EXPECT_EQ(s.string.exponent, -1);
    Sample zeros("0000");
    zeros.string.truncate_digits(1);
    EXPECT_EQ(zeros.text(), "0000");  // the last of them counts
}

TEST(FloatString, StripsZerosUpToTheDot) {
    Sample s("0070");
    s.string.strip_zeros();
    EXPECT_EQ(s.text(), "70");
    Sample zeros("000");
    zeros.string.strip_zeros();
    EXPECT_EQ(zeros.text(), "0");
    Sample dotted("0001", -3);
    dotted.string.apply_dot(2);
    dotted.string.strip_zeros();
    EXPECT_EQ(dotted.text(), "0.01");
}

TEST(FloatString, FixedNotation) {
    auto fixed = [](const std::string& digits, i64 exponent, bool positive, u64 d) {
        Sample s(digits, exponent, positive);
        if (!s.string.format_fixed(d)) return "declined " + s.text();
        EXPECT_EQ(s.string.text[s.string.length], '\0');
        EXPECT_EQ(s.string.finished(), s.string.text);
        return s.text();
    };
    EXPECT_EQ(fixed("314159", -5, true, 6), "3.14159");
    EXPECT_EQ(fixed("000123", -6, true, 3), "0.000123");
    EXPECT_EQ(fixed("123", 0, true, 3), "123.");
    EXPECT_EQ(fixed("00314159", -5, false, 3), "-3.14");
    EXPECT_EQ(fixed("12345", 0, true, 3), "declined 123");
    EXPECT_EQ(fixed("12", -3, true, 5), "declined 12");
}

TEST(FloatString, ScientificNotation) {
    auto scientific = [](const std::string& digits, i64 exponent, bool positive, u64 d, const char* marker) {
        Sample s(digits, exponent, positive);
        s.string.format_sci(d, marker);
        EXPECT_EQ(s.string.finished(), s.string.text);
        return s.text();
    };
    EXPECT_EQ(scientific("00150", 40, false, 2, " *10^ "), "-1.5 *10^ 42");
    EXPECT_EQ(scientific("abc", -9, true, 3, " *16^ "), "a.bc *16^ -7");
    EXPECT_EQ(scientific("25", -1, true, 2, " *10^ "), "2.5");
}

TEST(FloatString, IntegersHaveNoPoint) {
    Sample s("00012399", -2, false);
    s.string.format_integer();
    EXPECT_EQ(s.text(), "-124");
    EXPECT_EQ(s.string.finished(), s.string.text);
}

TEST(FloatString, IsFinishedOnlyWithSignAndExponent) {
    Sample s("12", -1);
    EXPECT_EQ(s.string.finished(), nullptr);
    s.string.format_fixed(2);
    EXPECT_NE(s.string.finished(), nullptr);
    s.string.exponent = 3;  // not written anywhere
    EXPECT_EQ(s.string.finished(), nullptr);
}

TEST(FloatString, RefusesStepsOutOfOrder) {
    using Step = std::function<void(FloatString&)>;
    const Step dot = [](FloatString&s) { s.apply_dot(1); }, sign = [](FloatString&s) { s.apply_sign(); },
               exponent = [](FloatString&s) { s.apply_exp(" *10^ "); },
               strip = [](FloatString&s) { s.strip_zeros(); }, at = [](FloatString&s) { s.truncate_at(0, '5', '9'); },
               fixed = [](FloatString&s) { s.format_fixed(3); },
               scientific = [](FloatString&s) { s.format_sci(2, " *10^ "); },
               integer = [](FloatString&s) { s.format_integer(); }, at_front = [](FloatString&s) { s.text = s.base; },
               negative = [](FloatString&s) { s.positive = false; };
    const struct {
        std::vector<Step> before;
        Step refused;
        const char* message;
    } cases[] = {
        {{dot}, at, "Cannot truncate after dot."},
        {{sign}, at, "Cannot truncate after sign."},
        {{exponent}, at, "Cannot truncate after exp."},
        {{dot}, fixed, "Cannot truncate after dot."},
        {{sign}, fixed, "Cannot truncate after sign."},
        {{exponent}, fixed, "Cannot truncate after exp."},
        {{sign}, strip, "Cannot strip zeros after applying sign."},
        {{exponent}, strip, "Cannot strip zeros after applying exp."},
        {{dot}, dot, "Dot has already been applied."},
        {{sign}, dot, "Cannot apply dot after sign."},
        {{exponent}, dot, "Cannot apply dot after exp."},
        {{at_front}, dot, "T <= base_ptr"},
        {{}, [](FloatString& s) { s.apply_dot(4); }, "Cannot apply dot after end of string."},
        {{sign}, sign, "Sign has already been applied."},
        {{at_front, negative}, sign, "T <= base_ptr"},
        {{fixed}, fixed, "Formatting has already been set."},
        {{fixed}, scientific, "Formatting has already been set."},
        {{integer}, integer, "Formatting has already been set."},
        {{sign}, scientific, "Cannot strip zeros after applying sign."},
        {{exponent}, scientific, "Cannot strip zeros after applying exp."},
        {{dot}, scientific, "Cannot truncate after dot."},
    };
    for (const auto& c : cases) {
        test::ConsoleCapture console(set_console_sink);
        Sample s("123");
        for (const Step& step : c.before) step(s.string);
        try {
            c.refused(s.string);
            ADD_FAILURE() << "not refused: " << c.message;
        } catch (const kv_exception& error) {
            EXPECT_STREQ(error.what(), c.message);
            EXPECT_STREQ(error.title, "Generic Exception");
        }
    }
}

TEST(FloatString, ADotMayStandAtTheEnd) {
    Sample s("123");
    s.string.apply_dot(3);
    EXPECT_EQ(s.text(), "123.");
    EXPECT_EQ(s.string.exponent, 0);
}

TEST(FloatString, TheExponentNeedsRoomForItselfAndTheFinalZero) {
    const u64 tail = std::strlen(" *10^ -12");
    Sample enough("1", -12, true, tail + 1);
    enough.string.apply_exp(" *10^ ");
    EXPECT_EQ(enough.text(), "1 *10^ -12");
    test::ConsoleCapture console(set_console_sink);
    Sample short_of_one("1", -12, true, tail);
    try {
        short_of_one.string.apply_exp(" *10^ ");
        FAIL();
    } catch (const BufferTooSmallException& error) {
        EXPECT_STREQ(error.location, "FloatString::apply_exp()");
        EXPECT_EQ(error.buffer_size, tail);
        EXPECT_EQ(error.required_size, tail + 1);
    }
    Sample none("1", 0, true, 0);
    none.string.apply_exp(" *10^ ");
    EXPECT_EQ(none.text(), "1");
    EXPECT_TRUE(none.string.exp_applied);
}

}  // namespace
}  // namespace kvt::text
