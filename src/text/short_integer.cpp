#include "text/short_integer.h"

#include "text/digits.h"
#include "text/radix.h"

namespace kvt::text {
namespace {

constexpr u64 base = Decimal<u64>::base;
constexpr unsigned digits = Decimal<u64>::digits;

// Division of two words by a normalised one through its inverse floor((2^128 - 1) / base) - 2^64
// (Moeller, Granlund: Improved division by invariant integers, 2011). remainder < base.
constexpr u64 base_inverse = static_cast<u64>(~u128{0} / base);

inline u64 divide_step(u64& remainder, u64 word) noexcept {
    const u128 estimate = static_cast<u128>(base_inverse) * remainder + (static_cast<u128>(remainder) << 64 | word);
    u64 quotient = static_cast<u64>(estimate >> 64) + 1;
    u64 rest = word - quotient * base;
    const bool too_large = rest > static_cast<u64>(estimate);
    quotient -= too_large;
    rest += too_large ? base : 0;
    if (__builtin_expect(rest >= base, 0)) {
        rest -= base;
        ++quotient;
    }
    remainder = rest;
    return quotient;
}

constexpr unsigned passes = 4;

// Divides the n words by base^4 in one sweep from the top: four chained divisions, each one word behind the one that
// feeds it, so that their multiplications overlap. remainders[0] is the lowest digit word.
void divide_four(u64* words, u64 n, u64 remainders[passes]) noexcept {
    u64 r0 = 0, r1 = 0, r2 = 0, r3 = 0;
    u64 q0 = 0, q1 = 0, q2 = 0;  // quotient words on their way to the next division
    u64* in = words + n;
    u64* out = words + n + passes - 1;  // its first three words do not exist: they are the pipeline filling up
    for (u64 step = 0; step < n; ++step) {
        const u64 q3 = divide_step(r3, q2);
        q2 = divide_step(r2, q1);
        q1 = divide_step(r1, q0);
        q0 = divide_step(r0, *--in);
        --out;
        if (step >= passes - 1) *out = q3;
    }
    for (unsigned left = passes - 1; left > 0; --left) {
        const u64 q3 = divide_step(r3, q2);
        if (left == 3) q2 = divide_step(r2, q1), q1 = divide_step(r1, q0);
        if (left == 2) q2 = divide_step(r2, q1);
        --out;
        if (n + (passes - 1 - left) >= passes - 1) *out = q3;
    }
    remainders[0] = r0, remainders[1] = r1, remainders[2] = r2, remainders[3] = r3;
}

// The plain sweep, for the few words at the end.
u64 divide_one(u64* words, u64 n) noexcept {
    u64 remainder = 0;
    for (u64 i = n; i-- > 0;) words[i] = divide_step(remainder, words[i]);
    return remainder;
}

u64 trimmed(const u64* words, u64 n) noexcept {
    while (n > 0 && words[n - 1] == 0) --n;
    return n;
}

}  // namespace

char* write_short_decimal(char* end, u64* words, u64 n) noexcept {
    n = trimmed(words, n);
    while (n > passes) {
        u64 group[passes];
        divide_four(words, n, group);
        for (u64 digit_word : group) write_digit_word(end -= digits, digit_word);
        n = trimmed(words, n);
    }
    while (n > 1 || (n == 1 && words[0] >= base)) {
        write_digit_word(end -= digits, divide_one(words, n));
        n = trimmed(words, n);
    }
    return write_digits_before(end, n == 0 ? 0 : words[0]);
}

}  // namespace kvt::text
