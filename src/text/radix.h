#pragma once
// Constants of the decimal radix conversion, per word width. A digit word holds one digit of base r = 10^19 or 10^9.

#include "frame/types.h"

namespace kvt::text {

template <class W>
struct Decimal;

template <>
struct Decimal<u64> {
    static constexpr u64 base = 10'000'000'000'000'000'000u;  // 10^19
    static constexpr u64 odd_base = 19'073'486'328'125u;      // 5^19
    static constexpr unsigned digits = 19;                    // characters of a digit word
    static constexpr unsigned twos = 19;                      // base = odd_base << twos
    static constexpr double words_per_digit = 0.051905126482615034;
    static constexpr double digit_words_per_word = 1.0139957748681472;
};

template <>
struct Decimal<u32> {
    static constexpr u32 base = 1'000'000'000;
    static constexpr u32 odd_base = 1'953'125;  // 5^9
    static constexpr unsigned digits = 9;
    static constexpr unsigned twos = 9;
    static constexpr double words_per_digit = 0.10381025296523007;
    static constexpr double digit_words_per_word = 1.0703288734719332;
};

static_assert(Decimal<u64>::odd_base << 19 == Decimal<u64>::base &&
              Decimal<u32>::odd_base << 9 == Decimal<u32>::base);

}  // namespace kvt::text
