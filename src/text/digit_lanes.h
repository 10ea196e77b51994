#pragma once
// Eight runs of decimal digits to eight numbers at a time, one in each lane of a vector; quadratic. For machines with
// AVX-512 IFMA.

#include <cstdint>

namespace kvt::text {

inline constexpr unsigned digit_lanes = 8, most_lane_digits = 48 * 19;

// 64-bit words that hold a number of so many digits. Inlined, so that no machine runs another's code.
[[gnu::always_inline]] constexpr unsigned lane_words(unsigned digits) {
    return digits * 213 / 4096 + 1;
}  // log2(10) / 64 = 0.05190

// The characters before end.
struct DigitLane {
    const char* end;
    unsigned digits;
};

struct DigitLaneKernel {
    // Word i of lane l to words[8 i + l], as many words for each as the longest one needs. No character but the
    // lanes' own is read. Lanes have at most most_lane_digits.
    void (*read)(const DigitLane* lanes, std::uint64_t* words) noexcept;
};
extern const DigitLaneKernel digit_lanes_avx512ifma;

}  // namespace kvt::text
