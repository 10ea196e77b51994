#pragma once
// The transform lengths: two lists of rows with ascending capacity. The fine list serves products up to its last
// capacity, the coarse list longer ones.

#include "frame/types.h"

namespace kvt::multiply::ntt32 {

// radix << exponent points of 16 * (count - 1) bits, modulo the set (count, radix).
struct Row {
    u8 count, radix, exponent;

    constexpr u64 points() const { return u64{radix} << exponent; }
    constexpr u64 point_bits() const { return 16u * (count - 1u); }
    constexpr u64 capacity_bits() const { return points() * point_bits(); }
    constexpr unsigned set() const { return (count - 3u) * 4u + radix / 2u; }
};

#include "multiply/ntt32/rows_data.inl"

inline constexpr u64 fine_max_bits = fine_rows[103].capacity_bits();
inline constexpr u64 max_bits = coarse_rows[103].capacity_bits();
static_assert(fine_max_bits == 146'800'640 && max_bits == 3'221'225'472);

struct RowList {
    const Row* rows;
    const u8* redirect;  // per row: the row at least as long that is fastest; the row itself where it is
    u64 length;
};
extern const RowList fine_list, coarse_list;

// The row that a product of this many bits uses; bits <= max_bits. Its number counts through both lists.
u64 row_number(u64 bits) noexcept;
// The longest product that chooses its row from the same place of the lists as one of this many bits.
u64 end_of_row(u64 bits) noexcept;
Row row_of(u64 number) noexcept;

}  // namespace kvt::multiply::ntt32
