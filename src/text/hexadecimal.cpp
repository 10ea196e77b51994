#include "text/hexadecimal.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "frame/exceptions.h"
#include "frame/format.h"
#include "objects/big_float_parts.h"
#include "objects/words.h"
#include "text/digits.h"
#include "text/float_string.h"

namespace kvt::text {
namespace {

// The eight digits of x as the bytes of a u64, the most significant in the lowest byte.
u64 eight_digits(u32 x) noexcept {
    u64 nibbles = x;
    nibbles = (nibbles << 16 | nibbles) & 0x0000ffff0000ffff;
    nibbles = (nibbles << 8 | nibbles) & 0x00ff00ff00ff00ff;
    nibbles = (nibbles << 4 | nibbles) & 0x0f0f0f0f0f0f0f0f;
    // '0'..'9' and 'a'..'f' are 39 apart from a straight count.
    const u64 letters = (nibbles + 0x0606060606060606) >> 4 & 0x0101010101010101;
    return __builtin_bswap64(nibbles + 0x3030303030303030 + letters * 39);
}

// Writes all words from the top down, every word in full.
template <class W>
void write_digits(char* out, const W* T, u64 L) noexcept {
    for (u64 i = L; i-- > 0;) {
        for (unsigned shift = word_bits<W>; shift > 0;) {
            shift -= 32;
            const u64 digits = eight_digits(static_cast<u32>(T[i] >> shift));
            std::memcpy(out, &digits, 8);
            out += 8;
        }
    }
}

struct Digits {
    const char* first;  // the first digit that is not 0
    u64 count;
    bool sign;  // true: no minus sign
};

Digits parse(const char* text, u64 chars, const char* location) {
    u64 i = 0;
    bool sign = true;
    if (i < chars && (text[i] == '-' || text[i] == '+')) sign = text[i++] == '+';
    if (chars - i >= 2 && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) i += 2;
    const u64 begin = i;
    while (i < chars && hex_digit_value(text[i]) < 16) ++i;
    if (i < chars || i == begin) raise_parse_error(location, "Invalid character at position " + to_decimal(i) + ".");
    i = begin;
    while (i < chars && text[i] == '0') ++i;
    return {text + i, chars - i, sign};
}

// Word of the n digits at text.
template <class W>
W read_word(const char* text, u64 n) noexcept {
    u64 word = 0;
    for (u64 i = 0; i < n; ++i) word = word << 4 | hex_digit_value(text[i]);
    return static_cast<W>(word);
}

template <class W>
void read_words(W* out, const Digits& digits) noexcept {
    u64 left = digits.count;
    for (; left > hex_digits<W>; left -= hex_digits<W>)
        *out++ = read_word<W>(digits.first + left - hex_digits<W>, hex_digits<W>);
    if (left > 0) *out = read_word<W>(digits.first, left);
}

}  // namespace

template <class W>
char* to_string_hex(char* buffer, const objects::BigInt<W>& x) {
    if (x.L == 0) {
        buffer[0] = '0';
        buffer[1] = '\0';
        return buffer;
    }
    char* digits = buffer + FloatString::headroom;
    write_digits(digits, x.T, x.L);
    FloatString string{digits, hex_digits<W> * x.L, 0, x.sign, buffer, to_string_hex_bytes<W>(x.L)};
    string.format_integer();
    return string.finished();
}

template <class W>
char* to_string_hex(char* buffer, const objects::BigFloat<W>& x, u64 d) {
    if (x.L == 0) {
        std::memcpy(buffer, "0.", 3);
        return buffer;
    }
    constexpr i64 farthest = i64{1} << 58;
    if (x.exp < -farthest || x.exp > farthest)
        raise_generic(errors::unsupported_value, "to_string_hex()", "The exponent is too large.");
    d = std::max<u64>(d, 1);
    const objects::BigFloat<W> top = objects::top_words(x, d / hex_digits<W> + 2);
    char* digits = buffer + FloatString::headroom;
    write_digits(digits, top.T, top.L);
    const i64 exponent = top.exp * static_cast<i64>(hex_digits<W>);
    FloatString string{digits, hex_digits<W> * top.L, exponent, x.sign, buffer, to_string_hex_float_bytes<W>(d)};
    if (!string.format_fixed(d)) string.format_sci(d, " *16^ ");
    return string.finished();
}

template <class W>
void set_string_hex(objects::BigInt<W>& out, const char* text, u64 chars) {
    const Digits digits = parse(text, chars, "BigInt::set_string_hex()");
    const u64 L = set_string_hex_words<W>(digits.count);
    if (L == 0) return objects::set_zero(out);
    require_capacity(out.buffer_size, L, "BigInt::set_string_hex()");
    read_words(out.buffer, digits);
    out.T = out.buffer;
    out.L = L;
    out.sign = digits.sign;
}

template char* to_string_hex(char*, const objects::BigInt<u32>&);
template char* to_string_hex(char*, const objects::BigInt<u64>&);
template char* to_string_hex(char*, const objects::BigFloat<u32>&, u64);
template char* to_string_hex(char*, const objects::BigFloat<u64>&, u64);
template void set_string_hex(objects::BigInt<u32>&, const char*, u64);
template void set_string_hex(objects::BigInt<u64>&, const char*, u64);

}  // namespace kvt::text
