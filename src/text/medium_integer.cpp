#include "text/medium_integer.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

#include "kernels/direct.h"
#include "kernels/linear.h"
#include "text/digits.h"
#include "text/radix.h"
#include "text/short_integer.h"

namespace kvt::text {
namespace {

constexpr u64 base = Decimal<u64>::base;
constexpr unsigned digits = Decimal<u64>::digits;

// Integers of fewer words are divided directly.
constexpr u64 shortest_words = 9;

// T = floor(B^point / (2 * base^J)) + 1, long enough for n = 3J words; made by the compiler, by short divisions from
// the top.
template <u64 J>
struct InversePower {
    static constexpr u64 point = 4 * J + 2;  // words below the point
    u64 words[point] = {};
    u64 length = 0;

    constexpr InversePower() {
        // B^point / (2 * base^J): the first quotient is that of a one above the words.
        u64 remainder = 1;
        divide(2, remainder);
        for (u64 i = 0; i < J; ++i) divide(base, remainder = 0);
        u64 i = 0;
        while (++words[i] == 0) ++i;
        length = point;
        while (words[length - 1] == 0) --length;
    }

  private:
    constexpr void divide(u64 divisor, u64 remainder) {
        for (u64 i = point; i-- > 0;) {
            const u128 t = static_cast<u128>(remainder) << 64 | words[i];
            words[i] = static_cast<u64>(t / divisor);
            remainder = static_cast<u64>(t % divisor);
        }
    }
};

constexpr InversePower<8> inverse_8;
constexpr InversePower<16> inverse_16;
constexpr InversePower<32> inverse_32;
constexpr InversePower<64> inverse_64;
constexpr InversePower<128> inverse_128;

struct Inverse {
    const u64* words;
    u64 length, point;
};

template <u64 J>
constexpr Inverse view(const InversePower<J>& inverse) {
    return {inverse.words, inverse.length, inverse.point};
}

// For j = 8 << index.
constexpr Inverse inverses[] = {view(inverse_8), view(inverse_16), view(inverse_32), view(inverse_64),
                                view(inverse_128)};

// Writes j digit words of the fraction [n words], the most significant first; true when one half is left.
bool write_fraction(char* out, u64* fraction, u64 n, u64 j) noexcept {
    for (u64 i = 0; i < j; ++i) {
        write_digit_word(out + digits * i, kernels::mul_ir(fraction, n, base, u64{0}));
        if (n > j + 1 - i) {
            ++fraction;
            --n;
        }
    }
    const u64 left = fraction[n - 1];
    return left - ((u64{1} << 63) - 4096) < 8192;
}

}  // namespace

char* write_medium_decimal(char* end, u64* words, u64 n, u64* scratch) noexcept {
    while (n > 0 && words[n - 1] == 0) --n;
    if (n < shortest_words) return write_short_decimal(end, words, n);
    // Quadratic work falls to the fraction: about half of the digits, between a third and two thirds.
    const u64 index = std::min<u64>(static_cast<u64>(std::bit_width(n / 12 | 1)) - 1, std::size(inverses) - 1);
    const u64 j = u64{8} << index;
    const Inverse inverse = inverses[index];

    // 2x + 1, and T cut to what its product needs, rounded up.
    u64* const doubled = scratch;
    doubled[n] = kernels::mul_nr(doubled, words, n, u64{2}, u64{1});
    const u64 doubled_n = n + (doubled[n] != 0);
    const u64 kept = n + 3 < inverse.length ? n + 3 : inverse.length;
    const u64 dropped = inverse.length - kept;
    u64* const T = doubled + (n + 1);
    std::memcpy(T, inverse.words + dropped, kept * sizeof(u64));
    if (dropped != 0) kernels::add1_ir(T, kept, 1);
    const u64 point = inverse.point - dropped;

    u64* const product = T + kept;
    const u64 product_n = doubled_n + kept;
    kernels::direct_multiply(product, doubled, doubled_n, T, kept, product + product_n);

    const u64 fraction_n = j + 2 < point ? j + 2 : point;
    char* const fraction_text = end - digits * j;
    if (!write_fraction(fraction_text, product + (point - fraction_n), fraction_n, j)) return nullptr;
    const u64 integer_n = product_n - point;
    std::memmove(words, product + point, integer_n * sizeof(u64));
    return write_medium_decimal(fraction_text, words, integer_n, scratch);
}

}  // namespace kvt::text
