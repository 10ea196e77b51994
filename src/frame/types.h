#pragma once
// Fixed-width integers and the word traits that carry both widths through the templates.

#include <cstddef>
#include <cstdint>

namespace kvt {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i32 = std::int32_t;
using i64 = std::int64_t;
__extension__ typedef unsigned __int128 u128;
__extension__ typedef __int128 i128;

template <class W>
inline constexpr unsigned word_bits = 8 * sizeof(W);

// Double-width unsigned type of a word.
template <class W>
struct DoubleWidth;
template <>
struct DoubleWidth<u32> {
    using type = u64;
};
template <>
struct DoubleWidth<u64> {
    using type = u128;
};
template <class W>
using DoubleWord = typename DoubleWidth<W>::type;

}  // namespace kvt
