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

// A divisor's two top words.
struct TopWords {
    u64 d1, d0;
    u64 inverse = inverse_of_two_words(d1, d0);

    // (r1, r0) < d, and a third word below them, by d: the digit, which is right or too small by one in rare cases.
    // (r1, r0) becomes the remainder. Nothing foretells the correction in here, so it is made without a jump.
    u64 divide(u64& r1, u64& r0, u64 third) const noexcept {
        u64 digit, fraction, x, y;
        __asm__(
            "mov %[r1], %%rax\n"
            "mulq %[inverse]\n"
            "add %[r0], %%rax\n"
            "adc %[r1], %%rdx\n"
            "mov %%rax, %[fraction]\n"
            "mov %%rdx, %[digit]\n"
            // (r0, third) := (r0 - digit * d1, third) - digit * d0 - d
            "mov %[d1], %[r1]\n"
            "imul %%rdx, %[r1]\n"
            "sub %[r1], %[r0]\n"
            "mov %[d0], %%rax\n"
            "mul %%rdx\n"
            "sub %%rax, %[third]\n"
            "sbb %%rdx, %[r0]\n"
            "xor %k[x], %k[x]\n"
            "xor %k[y], %k[y]\n"
            "sub %[d0], %[third]\n"
            "sbb %[d1], %[r0]\n"
            // r0 >= fraction ? (r0, third) += d : ++digit
            "cmp %[fraction], %[r0]\n"
            "cmovae %[d0], %[x]\n"
            "cmovae %[d1], %[y]\n"
            "adc $0, %[digit]\n"
            "add %[x], %[third]\n"
            "adc %[y], %[r0]\n"
            : [r1] "+&r"(r1), [r0] "+&r"(r0), [third] "+&r"(third), [digit] "=&r"(digit), [fraction] "=&r"(fraction),
              [x] "=&r"(x), [y] "=&r"(y)
            : [inverse] "rm"(inverse), [d1] "rm"(d1), [d0] "rm"(d0)
            : "rax", "rdx", "cc");
        r1 = r0;
        r0 = third;
        return digit;
    }
};

}  // namespace

void divide_words(u64* q, u64* A, const u64* complement, u64 n) noexcept {
    const WordKernels& kernels = active_word_kernels();
    const TopWords top{~complement[n - 1], ~complement[n - 2]};

    // The remainder's two top words are r1 and r0, the others are in A; a step takes one word more.
    u64 r1 = A[2 * n - 1], r0 = A[2 * n - 2];
    for (u64 i = n; i-- > 0;) {
        u64* const row = A + i;
        u64 digit = ~u64{0};
        if (r1 == top.d1 && r0 == top.d0) [[unlikely]] {
            // The digit is the largest word: rest + digit * (B^n - D) - digit * B^n, the top word of which is zero.
            row[n - 1] = top.d0;
            kernels.addmul(row, complement, n, digit, digit);
            r1 = row[n - 1];
            r0 = row[n - 2];
        } else {
            digit = top.divide(r1, r0, row[n - 2]);
            if (r1 >= top.d1 && (r1 > top.d1 || r0 >= top.d0)) [[unlikely]] {
                ++digit;
                r1 -= top.d1 + (r0 < top.d0);
                r0 -= top.d0;
            }
            // digit * D's other words, as digit * B^(n-2) less digit * (B^(n-2) - D)
            const u64 borrow = digit - kernels.addmul(row, complement, n - 2, digit, digit);
            const bool lends = r0 < borrow;
            r0 -= borrow;
            // A jump where r1 lends: mostly foretold, it lets the next digit's first product begin before the kernel ends.
            if (lends && r1-- == 0) [[unlikely]] {
                // D's other words are added, as B^(n-2) less the complement and 1.
                --digit;
                const u128 r = pair(r1, r0) + pair(top.d1, top.d0) + 1 - kernels.sub(row, row, complement, n - 2, 1);
                r1 = high_word(r);
                r0 = static_cast<u64>(r);
            }
        }
        q[i] = digit;
    }
    A[n - 1] = r1;
    A[n - 2] = r0;
}

}  // namespace kvt::kernels
