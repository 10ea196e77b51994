// Reading decimal integers over the lengths where its ways change: rows, lanes, direct products, transforms, folded
// ones.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "multiply/twiddle_table.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"
#include "text/radix.h"
#include "text/read_decimal.h"
#include "text/read_float.h"

#if KVNUM_HAVE_GMP
#include <gmp.h>

namespace kvt::text {
namespace {

using namespace kvt::test;

template <class W>
void check(const std::string& digits, const mpz_t want, u64 tasks) {
    const FencedBytes memory(read_decimal_bytes<W>(digits.size(), tasks)), text(digits.size());
    std::memcpy(text.data(), digits.data(), digits.size());
    FencedWords<W> out(decimal_words<W>(digits.size()));
    objects::BigInt<W> y{nullptr, 0, true, out.data(), out.size()};
    const BasicParameters params{multiply::global_table(), memory.data(), memory.size(), tasks};
    set_string_dec(params, y, reinterpret_cast<const char*>(text.data()), digits.size());
    std::vector<W> words(out.size());
    u64 n = 0;
    mpz_export(words.data(), &n, -1, sizeof(W), 0, 0, want);
    ASSERT_EQ(y.L, n) << digits.size() << " digits";
    for (u64 i = 0; i < n; ++i) ASSERT_EQ(y.T[i], words[i]) << "word " << i << " of " << digits.size() << " digits";
}

TEST(Reading, EveryLevelAgreesOverItsLengths) {
    Rng rng(41);
    multiply::ensure_global_table(u64{3} << 20);
    mpz_t want;
    mpz_init(want);
    const auto at = [&](u64 d, unsigned kind) {
        std::string digits(d, kind == 1 ? '9' : '0');
        digits[0] = '9';
        if (kind == 0) {
            for (char& c : digits) c = static_cast<char>('0' + rng.below(10));
            digits[0] = '1';
        }
        mpz_set_str(want, digits.c_str(), 10);
        for (const kernels::Levels level : all_levels()) {
            const LevelScope scope(level);
            check<u64>(digits, want, 1 + kind);
            check<u32>(digits, want, 1 + kind);
        }
    };
    // Short ones all the way, longer ones by jumps; the last are folded over the longest floating-point transform.
    for (u64 d = 800; d < 20000 && !HasFatalFailure(); d += rng.between(1, 300)) at(d, d % 3);
    for (u64 d = 20000; d < 500000 && !HasFatalFailure(); d += d * rng.between(10, 60) / 100) at(d, d % 3);
    for (u64 d : {558000, 600000, 669000}) at(d, static_cast<unsigned>(d / 1000 % 2));
    mpz_clear(want);
}

// Scratch falls at some lengths: a sign or zeros in front make the text one of a length that needs less than its digits.
template <class W>
void check_falls(u64 tasks) {
    Rng rng(42);
    mpz_t want;
    mpz_init(want);
    unsigned falls = 0;
    for (u64 n = 48; n < 40000; ++n) {
        const u64 count = n * Decimal<W>::digits;
        const u64 needed = read_decimal_bytes<W>(count, tasks);
        for (u64 chars : {count + 1, count + count / 5}) {
            if (read_decimal_bytes<W>(chars, tasks) >= needed || (falls > 6 && n % 1000 != 0)) continue;
            ++falls;
            std::string text(chars, '0');
            for (u64 i = chars - count; i < chars; ++i) text[i] = static_cast<char>('1' + rng.below(9));
            if (chars == count + 1) text[0] = '+';
            mpz_set_str(want, text.c_str() + (chars - count), 10);
            check<W>(text, want, tasks);
        }
    }
    EXPECT_GT(falls, 0u);
    mpz_clear(want);
}

TEST(Reading, TheScratchOfALengthServesFewerDigits) {
    multiply::ensure_global_table(u64{3} << 20);
    for (u64 tasks : {1, 4}) {
        check_falls<u64>(tasks);
        check_falls<u32>(tasks);
    }
}

TEST(Reading, TheScratchOfAFloatsLengthServesFewerDigits) {
    constexpr u64 n = 35199, p = n;
    multiply::ensure_global_table((2 * n + 64) * 64);
    const std::string digits(n * Decimal<u64>::digits, '7'), text = "+" + digits;
    const ReadSizes sizes = read_float_sizes<u64>(text.size(), p, 2);
    ASSERT_LT(sizes.scratch_bytes, read_float_sizes<u64>(digits.size(), p, 2).scratch_bytes);
    const FencedBytes memory(sizes.scratch_bytes);
    FencedWords<u64> out(sizes.out_words), whole(decimal_words<u64>(digits.size()));
    objects::BigFloat<u64> x{nullptr, 0, 0, true, out.data(), out.size()};
    set_string_dec({multiply::global_table(), memory.data(), memory.size(), 2}, x, text.data(), text.size(), p);
    const FencedBytes more(read_decimal_bytes<u64>(digits.size(), 1));
    objects::BigInt<u64> y{nullptr, 0, true, whole.data(), whole.size()};
    set_string_dec({multiply::global_table(), more.data(), more.size(), 1}, y, digits.data(), digits.size());
    ASSERT_EQ(x.exp, 0);
    EXPECT_EQ(std::vector<u64>(x.T, x.T + x.L), std::vector<u64>(y.T, y.T + y.L));
}

}  // namespace
}  // namespace kvt::text
#endif
