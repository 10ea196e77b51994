#pragma once
// The algorithm objects, one of each kind per word width.

#include <string_view>

#include "multiply/basecase_algorithm.h"
#include "multiply/engine_algorithm.h"

namespace kvt::multiply {

template <class W>
inline constexpr BasecaseAlgorithm<W> basecase_algorithm;

inline constexpr EngineRung fft_rung{&fft_engine, 1'572'864, 1340, 82, 540, 125, nullptr, 6'400, 19'456, 106, 103};
inline constexpr EngineRung ntt32_rung{&ntt32_engine, u64{3} << 30, 0, 800, 400, 152, &fft_rung, 0, 0, 115, 115};
inline constexpr EngineRung ntt64_rung{&ntt64_engine, u64{7} << 59, 0, 1600, 100, 100, &ntt32_rung};

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
