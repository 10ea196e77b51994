#include "multiply/fft/length_table.h"

#include <array>
#include <bit>

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

constexpr auto table = [] {
    std::array<FftParameters, fft_rows> t{};
    for (u64 i = 0; i < fft_rows; ++i) {
        t[i] = decode(rows[i].code);
        t[i].bits = rows[i].bits;
        t[i].capacity_bits = t[i].points * t[i].bits;
        t[i].index = i;
    }
    return t;
}();

// By the binary digits of a number of bits less one: the first row that can hold the smallest such number.
constexpr u64 most_digits = std::bit_width(table.back().capacity_bits - 1);
constexpr auto first_by_digits = [] {
    std::array<u8, most_digits + 1> first{};
    for (u64 digits = 1; digits <= most_digits; ++digits)
        while (table[first[digits]].capacity_bits <= u64{1} << (digits - 1)) ++first[digits];
    return first;
}();

constexpr bool capacities_grow() {
    for (u64 i = 1; i < fft_rows; ++i)
        if (table[i].capacity_bits <= table[i - 1].capacity_bits || table[i].radix == 7) return false;
    return true;
}
static_assert(capacities_grow());
static_assert(table[0].capacity_bits == 1344 && table[3].capacity_bits == 7680);
static_assert(table.back().capacity_bits == 17'179'869'184);

}  // namespace

FftParameters decode_fft_code(u64 code) { return decode(code); }

FftParameters shorter_fft(const FftParameters& row, u64 halvings) {
    // The shortest lengths of each radix.
    const u64 least_points = row.radix == 1 ? 64 : row.radix == 3 ? 384 : 640;
    if (row.points >> halvings < least_points) return {};
    FftParameters part = decode(row.code - 4 * halvings);
    part.bits = row.bits;
    part.capacity_bits = row.capacity_bits >> halvings;
    part.index = row.index;
    return part;
}

const FftParameters& fft_row(u64 index) { return table[index]; }

const FftParameters& choose_fft(u64 bits) {
    if (bits > table.back().capacity_bits)
        raise_generic(errors::no_algorithm, "FFT::plan()", "The convolution is longer than the largest transform.");
    u64 index = first_by_digits[std::bit_width(bits - (bits != 0))];
    while (table[index].capacity_bits < bits) ++index;
    return table[index];
}

}  // namespace kvt::multiply
