#include "multiply/fft/fft_component.h"

#include <cmath>
#include <cstring>

#include "kernels/float_state.h"
#include "multiply/fft/length_table.h"

namespace kvt::multiply {
namespace {

// Places of the component's words after the head.
enum Word : u64 { level_1 = 2, level_3, level_5, level_7, start_1, start_3, start_5 };
static_assert(start_5 < component_words[0]);

constexpr u64 lowest_level = 4;
constexpr u64 subtable_bytes(u64 radix, u64 top) { return radix * (u64{8} << top); }

struct Block {
    double cosines[4];
    double sines[4];
};
static_assert(sizeof(Block) == 64);

// Out of line: a call stays within the floating-point state that is set around it.
[[gnu::noinline]] void fill_subtable(u8* at, u64 radix, u64 top) {
    // Bytes before level 4: unused.
    std::memset(at, 0, radix * (u64{4} << lowest_level));

    const u64 points = radix << top;
    const double step = 6.283185307179586 / static_cast<double>(points);
    Block* level = reinterpret_cast<Block*>(at + 4 * points);
    u64 blocks = (points / 4 + 3) / 4;
    for (u64 b = 0; b < blocks; ++b) {
        for (u64 t = 0; t < 4; ++t) {
            const double angle = static_cast<double>(4 * b + t) * step;
            level[b].cosines[t] = std::cos(angle);
            level[b].sines[t] = std::sin(angle);
        }
    }

    // Each lower level is every second angle of the one above, written just in front of it.
    for (u64 j = top; j > lowest_level; --j) {
        blocks /= 2;
        Block* lower = level - blocks;
        for (u64 b = 0; b < blocks; ++b) {
            const Block &x = level[2 * b], &y = level[2 * b + 1];
            lower[b] = {{x.cosines[0], x.cosines[2], y.cosines[0], y.cosines[2]},
                        {x.sines[0], x.sines[2], y.sines[0], y.sines[2]}};
        }
        level = lower;
    }
}

u64 address_word(u8* at) { return reinterpret_cast<std::uintptr_t>(at); }

}  // namespace

void FftComponent::configure(u64 bits) { configure_code(choose_fft(bits).code, bits); }

void FftComponent::configure_code(u64 code, u64 bits) {
    const auto raise_level = [&](Word word, u64 level) {
        words_[word] = std::max({words_[word], level, lowest_level});
        return words_[word];
    };
    // Codes are at least 24, so none of these is negative.
    const u64 k3 = raise_level(level_3, ((code + 2) >> 2) - 1);
    const u64 k5 = raise_level(level_5, ((code + 3) >> 2) - 2);
    const u64 k7 = raise_level(level_7, ((code + 1) >> 2) - 2);
    const u64 k1 = raise_level(level_1, std::max({(code + 4) >> 2, k3, k5, k7}));
    // No length uses radix 7: its level is kept without storage.
    configured(bits, subtable_bytes(1, k1) + subtable_bytes(3, k3) + subtable_bytes(5, k5));
}

void FftComponent::fill(u8* at) {
    const struct {
        u64 radix;
        Word level, start;
    } subtables[] = {{1, level_1, start_1}, {3, level_3, start_3}, {5, level_5, start_5}};
    const kernels::FloatState state;
    for (const auto& s : subtables) {
        words_[s.start] = address_word(at);
        fill_subtable(at, s.radix, words_[s.level]);
        at += subtable_bytes(s.radix, words_[s.level]);
    }
}

FftTwiddles fft_twiddles(const GlobalTwiddleTable& table, u64 radix) {
    const u64* words = table.descriptor;  // the first component's
    const bool three = radix == 3, five = radix == 5;
    const Word level = three ? level_3 : five ? level_5 : level_1;
    const Word start = three ? start_3 : five ? start_5 : start_1;
    return {reinterpret_cast<const double*>(static_cast<std::uintptr_t>(words[start])), radix, words[level]};
}

}  // namespace kvt::multiply
