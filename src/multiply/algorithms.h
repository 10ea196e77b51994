#pragma once
// The algorithm objects, one of each kind per word width.

#include <string_view>

#include "multiply/basecase_algorithm.h"
#include "multiply/engine_algorithm.h"

namespace kvt::multiply {

template <class W>
inline constexpr BasecaseAlgorithm<W> basecase_algorithm;

inline constexpr EngineRung fft_rung{.location = "FFT::multiply()",
                                     .source = &fft_engine,
                                     .block_bits = 1'572'864,
                                     .base_cost = 1340,
                                     .level_cost = 82,
                                     .scalar_percent = 540,
                                     .avx2_percent = 125,
                                     .shorter = nullptr,
                                     .direct_bits = 6'400,
                                     .ifma_direct_bits = 19'456,
                                     .odd_percent = 106,
                                     .avx2_odd_percent = 103};
inline constexpr EngineRung ntt32_rung{.location = "NTT32::multiply()",
                                       .source = &ntt32_engine,
                                       .block_bits = u64{3} << 30,
                                       .base_cost = 0,
                                       .level_cost = 800,
                                       .scalar_percent = 400,
                                       .avx2_percent = 152,
                                       .shorter = &fft_rung,
                                       .odd_percent = 115,
                                       .avx2_odd_percent = 115};
inline constexpr EngineRung ntt64_rung{.location = "NTT64::multiply()",
                                       .source = &ntt64_engine,
                                       .block_bits = u64{7} << 59,
                                       .base_cost = 0,
                                       .level_cost = 1600,
                                       .scalar_percent = 100,
                                       .avx2_percent = 100,
                                       .shorter = &ntt32_rung};

template <class W>
inline constexpr EngineAlgorithm<W> fft_algorithm{"FFT", "Floating-Point FFT", u64{1} << 34, fft_rung};
template <class W>
inline constexpr EngineAlgorithm<W> ntt32_algorithm{"N32", "32-bit NTT", u64{3} << 30, ntt32_rung};
template <class W>
inline constexpr EngineAlgorithm<W> ntt64_algorithm{"N64", "64-bit NTT", u64{7} << 59, ntt64_rung};

// By the name in a list of thresholds; null for any other name.
template <class W>
constexpr const MultiplicationAlgorithm<W>* find_algorithm(std::string_view name) {
    if (name == "BKT") return &basecase_algorithm<W>;
    if (name == "FFT") return &fft_algorithm<W>;
    if (name == "NTT32") return &ntt32_algorithm<W>;
    if (name == "NTT64") return &ntt64_algorithm<W>;
    return nullptr;
}

}  // namespace kvt::multiply
