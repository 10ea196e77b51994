// Three words by two with a precomputed inverse give each word of the quotient, right but for rare cases (N. Moeller,
// T. Granlund, Improved division by invariant integers, 2011, algorithms 4 and 6).

#include "kernels/division.h"

#include "kernels/linear.h"

namespace kvt::kernels {
namespace {

constexpr u128 pair(u64 high, u64 low) noexcept { return static_cast<u128>(high) << 64 | low; }
constexpr u64 high_word(u128 x) noexcept { return static_cast<u64>(x >> 64); }

// (high, low) / d for high < d; the compiler would call a function that divides two words by two.
u64 divide_two_words(u64 high, u64 low, u64 d) noexcept {
    u64 quotient, remainder;
    __asm__("divq %[d]" : "=a"(quotient), "=d"(remainder) : "a"(low), "d"(high), [d] "r"(d) : "cc");
    return quotient;
}

// floor((B^3 - 1) / (d1, d0)) - B for B = 2^64; the top bit of d1 is set.
u64 inverse_of_two_words(u64 d1, u64 d0) noexcept {
    u64 v = divide_two_words(~d1, ~u64{0}, d1);
    u64 rest = d1 * v + d0;
    if (rest < d0) {
        --v;
        if (rest >= d1) {
            --v;
            rest -= d1;
        }
        rest -= d1;
    }
    const u128 t = static_cast<u128>(v) * d0;
    rest += high_word(t);
    if (rest < high_word(t)) {
        --v;
        if (pair(rest, static_cast<u64>(t)) >= pair(d1, d0)) --v;
    }
    return v;
}

}  // namespace

void divide_words(u64* q, u64* A, const u64* complement, u64 n) noexcept {
    const WordKernels& kernels = active_word_kernels();
    const u64 d1 = ~complement[n - 1], d0 = ~complement[n - 2];
    const u128 d = pair(d1, d0);
    const u64 inverse = inverse_of_two_words(d1, d0);

    // The remainder's two top words stay in r, the others in A; a step takes one word more.
    u128 r = pair(A[2 * n - 1], A[2 * n - 2]);
    for (u64 i = n; i-- > 0;) {
        u64* const row = A + i;
        u64 digit = ~u64{0};
        if (r == d) [[unlikely]] {
            // The digit is the largest word: rest + digit * (B^n - D) - digit * B^n, the top word of which is zero.
            row[n - 1] = d0;
            kernels.addmul(row, complement, n, digit, digit);
            r = pair(row[n - 1], row[n - 2]);
        } else {
            const u128 estimate = static_cast<u128>(inverse) * high_word(r) + r;
            digit = high_word(estimate);
            r = pair(static_cast<u64>(r) - digit * d1, row[n - 2]) - static_cast<u128>(d0) * digit - d;
            ++digit;
            if (high_word(r) >= static_cast<u64>(estimate)) {
                --digit;
                r += d;
            }
            if (r >= d) [[unlikely]] {
                ++digit;
                r -= d;
            }
            // digit * D's other words, as digit * B^(n-2) less digit * (B^(n-2) - D)
            const u64 borrow = digit - kernels.addmul(row, complement, n - 2, digit, digit);
            const bool negative = r < borrow;
            r -= borrow;
            if (negative) [[unlikely]] {
                // D's other words are added, as B^(n-2) less the complement and 1.
                --digit;
                r += d + 1 - kernels.sub(row, row, complement, n - 2, 1);
            }
        }
        q[i] = digit;
    }
    A[n - 1] = high_word(r);
    A[n - 2] = static_cast<u64>(r);
}

}  // namespace kvt::kernels
