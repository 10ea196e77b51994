#include "multiply/fft/length_table.h"

#include "frame/exceptions.h"

namespace kvt::multiply {
namespace {

struct Row {
    u8 code, bits;
};

// Bits fall as lengths grow, so that the largest coefficient, about points * 2^(2 bits), stays exact. The dips (code
// 57 carries fewer bits than the longer 58) are kept on purpose.
constexpr Row rows[fft_rows] = {
    {24, 21},  {28, 21},  {32, 20},  {34, 20},  {36, 19},  {37, 19},  {38, 19},  {40, 19},  {41, 19},
    {42, 19},  {44, 18},  {45, 18},  {46, 18},  {48, 18},  {49, 17},  {50, 17},  {52, 17},  {53, 17},
    {54, 17},  {56, 17},  {57, 16},  {58, 17},  {60, 16},  {61, 16},  {62, 16},  {64, 16},  {65, 15},
    {66, 16},  {68, 15},  {69, 15},  {70, 15},  {72, 15},  {73, 14},  {74, 14},  {76, 14},  {77, 14},
    {78, 14},  {80, 14},  {81, 13},  {82, 13},  {84, 13},  {85, 13},  {86, 13},  {88, 13},  {89, 12},
    {90, 12},  {92, 12},  {93, 12},  {94, 12},  {96, 12},  {97, 11},  {98, 11},  {100, 11}, {101, 11},
    {102, 11}, {104, 11}, {105, 10}, {106, 10}, {108, 10}, {109, 10}, {110, 10}, {112, 9},  {113, 9},
    {114, 9},  {116, 9},  {117, 9},  {118, 9},  {120, 8},  {121, 8},  {122, 8},  {124, 8},
};

constexpr FftParameters decode(u64 code) {
    constexpr u64 radices[] = {1, 5, 3, 7}, less[] = {0, 2, 1, 2};
    const u64 kind = code & 3;
    if ((code >> 2) < 2) return {0, 0, 0, code, 0, 0, 0};
    const u64 exponent = (code >> 2) - less[kind];
    return {radices[kind], exponent, 0, code, radices[kind] << exponent, 0, 0};
}

constexpr FftParameters row(u64 index) {
    FftParameters p = decode(rows[index].code);
    p.bits = rows[index].bits;
    p.capacity_bits = p.points * p.bits;
    p.index = index;
    return p;
}

constexpr bool capacities_grow() {
    for (u64 i = 1; i < fft_rows; ++i)
        if (row(i).capacity_bits <= row(i - 1).capacity_bits || row(i).radix == 7) return false;
    return true;
}
static_assert(capacities_grow());
static_assert(row(0).capacity_bits == 1344 && row(3).capacity_bits == 7680);
static_assert(row(fft_rows - 1).capacity_bits == 17'179'869'184);

}  // namespace

FftParameters decode_fft_code(u64 code) { return decode(code); }

FftParameters fft_row(u64 index) { return row(index); }

FftParameters choose_fft(u64 bits) {
    if (bits <= row(0).capacity_bits) return row(0);
    u64 low = 0, high = fft_rows - 1;
    if (bits > row(high).capacity_bits)
        raise_generic(errors::no_algorithm, "FFT length", "The convolution is longer than the largest transform.");
    // capacity(low) < bits <= capacity(high)
    while (high - low > 1) {
        const u64 middle = (low + high) / 2;
        (row(middle).capacity_bits < bits ? low : high) = middle;
    }
    return row(high);
}

}  // namespace kvt::multiply
