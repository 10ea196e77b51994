#include "support/operands.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace kvt::test {

const char* name_of(Pattern pattern) {
    constexpr const char* names[] = {"random", "runs", "all_ones", "sparse", "alternating", "power_of_two", "zero"};
    return names[static_cast<unsigned>(pattern)];
}

void fill_bytes(Pattern pattern, void* data, std::size_t bytes, Rng& rng) {
    auto* p = static_cast<unsigned char*>(data);
    if (bytes == 0) return;
    std::memset(p, 0, bytes);
    switch (pattern) {
        case Pattern::random:
            for (std::size_t i = 0; i < bytes; i += 8) {
                const u64 word = rng.next();
                std::memcpy(p + i, &word, std::min<std::size_t>(8, bytes - i));
            }
            break;
        case Pattern::runs: {
            bool bit = rng.below(2) != 0;
            for (std::size_t i = 0; i < 8 * bytes; bit = !bit) {
                const std::size_t end = std::min<std::size_t>(8 * bytes, i + 1 + rng.below(1 + rng.below(300)));
                for (; i < end; ++i)
                    if (bit) p[i / 8] |= static_cast<unsigned char>(1u << i % 8);
            }
            break;
        }
        case Pattern::all_ones: std::memset(p, 0xff, bytes); break;
        case Pattern::sparse:
            for (std::size_t i = 0; i < 1 + bytes / 64; ++i)
                p[rng.below(bytes)] |= static_cast<unsigned char>(1u << rng.below(8));
            p[bytes - 1] |= 0x80;
            break;
        case Pattern::alternating: std::memset(p, rng.below(2) ? 0x55 : 0xaa, bytes); break;
        case Pattern::power_of_two: p[bytes - 1] = static_cast<unsigned char>(1u << rng.below(8)); break;
        case Pattern::zero: break;
    }
}

std::vector<u64> around(std::initializer_list<u64> values) {
    std::vector<u64> out;
    for (u64 v : values) {
        if (v > 0) out.push_back(v - 1);
        out.push_back(v);
        out.push_back(v + 1);
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

u64 rounds(u64 base) {
    const char* text = std::getenv("KVNUM_TEST_SCALE");
    const double scale = text == nullptr ? 1.0 : std::atof(text);
    return std::max<u64>(1, static_cast<u64>(static_cast<double>(base) * scale));
}

}  // namespace kvt::test
