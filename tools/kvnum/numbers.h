#pragma once
// Numbers as the user writes them.

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace program {

// A decimal number below 2^64, and nothing else.
inline std::optional<std::uint64_t> whole_number(std::string_view text) {
    std::uint64_t out = 0;
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, out);
    if (error != std::errc() || last != end) return std::nullopt;
    return out;
}

}  // namespace program
