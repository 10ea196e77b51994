#pragma once
// Oracle of the number classes: exact values m * 2^e with m of any length. Magnitudes go through GMP where it is
// there, through plain loops elsewhere; nothing is shared with the library.

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <vector>

#include "reference/arithmetic.h"

#if KVNUM_HAVE_GMP
#include <gmp.h>
#endif

namespace kvt::test {

// Little-endian, no zero at the top.
using Natural = std::vector<u32>;

inline Natural trimmed(Natural a) {
    while (!a.empty() && a.back() == 0) a.pop_back();
    return a;
}

inline int compare(const Natural& a, const Natural& b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    for (std::size_t i = a.size(); i-- > 0;)
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    return 0;
}

#if KVNUM_HAVE_GMP
inline Natural combine(const Natural& a, const Natural& b, void (*operation)(mpz_ptr, mpz_srcptr, mpz_srcptr)) {
    mpz_t x, y;
    mpz_inits(x, y, nullptr);
    mpz_import(x, a.size(), -1, 4, 0, 0, a.data());
    mpz_import(y, b.size(), -1, 4, 0, 0, b.data());
    operation(x, x, y);
    Natural out(mpz_sizeinbase(x, 2) / 32 + 1);
    std::size_t n = 0;
    mpz_export(out.data(), &n, -1, 4, 0, 0, x);
    out.resize(n);
    mpz_clears(x, y, nullptr);
    return trimmed(out);
}
inline Natural sum(const Natural& a, const Natural& b) { return combine(a, b, mpz_add); }
inline Natural difference(const Natural& a, const Natural& b) { return combine(a, b, mpz_sub); }  // a >= b
#else
inline Natural sum(const Natural& a, const Natural& b) {
    Natural out(std::max(a.size(), b.size()) + 1);
    u64 carry = 0;
    for (std::size_t i = 0; i < out.size(); ++i) {
        carry += (i < a.size() ? a[i] : u64{0}) + (i < b.size() ? b[i] : u64{0});
        out[i] = static_cast<u32>(carry);
        carry >>= 32;
    }
    return trimmed(out);
}
inline Natural difference(const Natural& a, const Natural& b) {
    Natural out(a.size());
    i64 borrow = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        borrow += static_cast<i64>(a[i]) - (i < b.size() ? b[i] : 0);
        out[i] = static_cast<u32>(borrow);
        borrow >>= 32;
    }
    return trimmed(out);
}
#endif

inline Natural shifted_left(const Natural& a, u64 bits) {
    if (a.empty()) return a;
    Natural out(bits / 32, 0);
    const unsigned r = bits % 32;
    u64 carry = 0;
    for (u32 word : a) {
        carry |= static_cast<u64>(word) << r;
        out.push_back(static_cast<u32>(carry));
        carry >>= 32;
    }
    out.push_back(static_cast<u32>(carry));
    return trimmed(out);
}

inline Natural shifted_right(const Natural& a, u64 bits) {
    Natural out;
    const unsigned r = bits % 32;
    for (u64 i = bits / 32; i < a.size(); ++i) {
        const u64 next = i + 1 < a.size() ? a[i + 1] : 0;
        out.push_back(static_cast<u32>((next << 32 | a[i]) >> r));
    }
    return trimmed(out);
}

struct Dyadic {
    Natural magnitude;
    i64 exponent = 0;  // bits
    bool negative = false;

    // Value of a number object's words.
    template <class W>
    static Dyadic of(const W* T, u64 L, i64 exp_words = 0, bool sign = true) {
        Dyadic out;
        for (u64 i = 0; i < L; ++i)
            for (unsigned shift = 0; shift < word_bits<W>; shift += 32)
                out.magnitude.push_back(static_cast<u32>(T[i] >> shift));
        out.magnitude = test::trimmed(out.magnitude);
        out.exponent = exp_words * static_cast<i64>(word_bits<W>);
        out.negative = !sign && !out.magnitude.empty();
        return out;
    }

    // The magnitude as a multiple of 2^bits; what lies below is dropped.
    Natural in_units_of(i64 bits) const {
        return exponent >= bits ? shifted_left(magnitude, static_cast<u64>(exponent - bits))
                                : shifted_right(magnitude, static_cast<u64>(bits - exponent));
    }
    Dyadic truncated_to(i64 bits) const {
        Dyadic out{in_units_of(bits), bits, negative};
        out.negative = negative && !out.magnitude.empty();
        return out;
    }
    Dyadic times_power_of_two(i64 bits) const { return {magnitude, exponent + bits, negative}; }
    Dyadic operator-() const { return {magnitude, exponent, !negative && !magnitude.empty()}; }
    Dyadic absolute() const { return {magnitude, exponent, false}; }
};

inline Dyadic operator+(const Dyadic& a, const Dyadic& b) {
    const i64 unit = std::min(a.exponent, b.exponent);
    const Natural x = a.in_units_of(unit), y = b.in_units_of(unit);
    if (a.negative == b.negative) return {sum(x, y), unit, a.negative};
    const int order = compare(x, y);
    if (order == 0) return {};
    return order > 0 ? Dyadic{difference(x, y), unit, a.negative} : Dyadic{difference(y, x), unit, b.negative};
}
inline Dyadic operator-(const Dyadic& a, const Dyadic& b) { return a + -b; }

inline Dyadic operator*(const Dyadic& a, const Dyadic& b) {
    if (a.magnitude.empty() || b.magnitude.empty()) return {};
    return {trimmed(reference::product(a.magnitude, b.magnitude)), a.exponent + b.exponent, a.negative != b.negative};
}

// -1, 0, 1.
inline int compare(const Dyadic& a, const Dyadic& b) {
    const Dyadic d = a - b;
    return d.magnitude.empty() ? 0 : d.negative ? -1 : 1;
}
inline bool operator==(const Dyadic& a, const Dyadic& b) { return compare(a, b) == 0; }

inline void PrintTo(const Dyadic& x, std::ostream* out) {
    *out << (x.negative ? "-" : "") << "{";
    for (u32 word : x.magnitude) *out << std::hex << word << " " << std::dec;
    *out << "} * 2^" << x.exponent;
}

}  // namespace kvt::test
