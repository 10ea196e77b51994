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
#include "text/read_decimal.h"

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

}  // namespace
}  // namespace kvt::text
#endif
