#include "text/short_integer.h"

#include <gtest/gtest.h>

#include <string>

#include "kernels/direct.h"
#include "kernels/residue61.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"
#include "text/digits.h"
#include "text/medium_integer.h"
#include "text/read_decimal.h"

namespace kvt::text {
namespace {

using test::Pattern;
using test::Rng;

// Plain conversions, a digit a step.
std::string plain_text(std::vector<u64> words) {
    std::string out;
    while (!words.empty()) {
        u64 remainder = 0;
        for (u64 i = words.size(); i-- > 0;) {
            const u128 t = static_cast<u128>(remainder) << 64 | words[i];
            words[i] = static_cast<u64>(t / 10);
            remainder = static_cast<u64>(t % 10);
        }
        out.insert(out.begin(), static_cast<char>('0' + remainder));
        while (!words.empty() && words.back() == 0) words.pop_back();
    }
    return out.empty() ? "0" : out;
}

void check_both_ways(const std::vector<u64>& words) {
    const std::string want = plain_text(words);
    std::vector<u64> copy = words;
    test::FencedBytes buffer(20 * words.size());
    char* end = reinterpret_cast<char*>(buffer.data() + buffer.size());
    EXPECT_EQ(std::string(write_short_decimal(end, copy.data(), copy.size()), end), want);

    test::FencedBytes text(want.size());
    std::copy(want.begin(), want.end(), text.data());
    const char* const characters = reinterpret_cast<char*>(text.data());
    const DigitRun run = scan_decimal_digits(characters, 0, want.size());
    EXPECT_EQ(run.end, want.size());
    EXPECT_EQ(run.residue, kernels::residue_of(words.data(), 2 * words.size()));
    test::FencedWords<u64> out(decimal_words<u64>(want.size()));
    const u64 n = read_decimal_digits<u64>({}, out, characters, want.size(), want.size(), run.residue);
    std::vector<u64> value(out.data(), out.data() + n), trimmed = words;
    while (!trimmed.empty() && trimmed.back() == 0) trimmed.pop_back();
    while (!value.empty() && value.back() == 0) value.pop_back();
    EXPECT_EQ(value, trimmed) << want;
}

TEST(ShortDecimal, AgreesWithDigitByDigitConversionBothWays) {
    Rng rng(7);
    for (u64 n = 1; n <= 40; ++n)
        for (Pattern pattern : {Pattern::random, Pattern::all_ones, Pattern::sparse, Pattern::zero, Pattern::runs})
            for (u64 round = 0; round < test::rounds(3); ++round) check_both_ways(test::words<u64>(pattern, n, rng));
}

TEST(ShortDecimal, PowersOfTenAndTheirNeighbours) {
    std::vector<u64> power{1};
    for (u64 m = 0; m < 200; ++m) {
        check_both_ways(power);
        std::vector<u64> above = power, below = power;
        ++above[0];
        for (u64& word : below)
            if (word-- != 0) break;
        check_both_ways(above);
        if (m > 0) check_both_ways(below);
        u64 carry = 0;
        for (u64& word : power) {
            const u128 t = static_cast<u128>(word) * 10 + carry;
            word = static_cast<u64>(t);
            carry = static_cast<u64>(t >> 64);
        }
        if (carry != 0) power.push_back(carry);
    }
}

TEST(MediumDecimal, AgreesWithDivisionAtEveryLengthAndLevel) {
    for (const kernels::Levels level : test::all_levels()) {
        test::LevelScope scope(level);
        Rng rng(8);
        for (u64 n = 1; n <= longest_medium_words; n += 1 + n / 24) {
            for (Pattern pattern : test::hard_patterns) {
                std::vector<u64> words = test::words<u64>(pattern, n, rng), copy = words;
                test::FencedBytes buffer(20 * n), other(20 * n);
                test::FencedWords<u64> scratch(medium_scratch_words(n));
                char* end = reinterpret_cast<char*>(buffer.data() + buffer.size());
                char* other_end = reinterpret_cast<char*>(other.data() + other.size());
                const char* first = write_medium_decimal(end, words.data(), n, scratch);
                ASSERT_NE(first, nullptr);
                EXPECT_EQ(std::string(first, static_cast<const char*>(end)),
                          std::string(write_short_decimal(other_end, copy.data(), n), other_end))
                    << "n " << n;
            }
        }
    }
}

TEST(ReadDigits, EveryCharacterThatIsNoDigitIsSeen) {
    for (unsigned count = 1; count <= 19; ++count) {
        for (unsigned position = 0; position < count; ++position) {
            for (int c = 0; c < 256; ++c) {
                std::string text(count, '7');
                text[position] = static_cast<char>(c);
                bool ok = true;
                read_digits(text.data(), count, ok);
                EXPECT_EQ(ok, c >= '0' && c <= '9') << count << ' ' << position << ' ' << c;
            }
        }
    }
}

TEST(ScanDigits, EveryCharacterThatIsNoDigitIsFound) {
    for (u64 count : {1, 31, 32, 33, 63, 64, 90}) {
        for (u64 position = 0; position < count; ++position) {
            for (int c = 0; c < 256; ++c) {
                std::string text(count, '9');
                text[position] = static_cast<char>(c);
                const u64 end = scan_decimal_digits(text.data(), 0, count).end;
                ASSERT_EQ(end, c >= '0' && c <= '9' ? count : position) << count << ' ' << position << ' ' << c;
            }
        }
    }
}

}  // namespace
}  // namespace kvt::text
