#include "multiply/ntt32/rows.h"

#include <algorithm>

namespace kvt::multiply::ntt32 {
namespace {
#include "multiply/ntt32/redirect_data.inl"

template <std::size_t n>
constexpr bool is_sound(const Row (&rows)[n], const u8 (&redirect)[n]) {
    for (std::size_t i = 0; i < n; ++i) {
        if (i > 0 && rows[i].capacity_bits() <= rows[i - 1].capacity_bits()) return false;
        if (redirect[i] < i || redirect[i] >= n || redirect[redirect[i]] != redirect[i]) return false;
    }
    return true;
}
static_assert(is_sound(fine_rows, fine_redirect) && is_sound(coarse_rows, coarse_redirect));
}  // namespace

constinit const RowList fine_list{fine_rows, fine_redirect, 104};
constinit const RowList coarse_list{coarse_rows, coarse_redirect, 104};

namespace {

const RowList& list_for(u64 bits) noexcept { return bits <= fine_max_bits ? fine_list : coarse_list; }

// The shortest row of the list that holds so many bits.
const Row* shortest_row(const RowList& list, u64 bits) noexcept {
    return std::lower_bound(list.rows, list.rows + list.length - 1, bits,
                            [](const Row& row, u64 bits) { return row.capacity_bits() < bits; });
}

}  // namespace

u64 row_number(u64 bits) noexcept {
    const RowList& list = list_for(bits);
    const u64 number = list.redirect[shortest_row(list, bits) - list.rows];
    return &list == &fine_list ? number : fine_list.length + number;
}

u64 end_of_row(u64 bits) noexcept { return shortest_row(list_for(bits), bits)->capacity_bits(); }

Row row_of(u64 number) noexcept {
    return number < fine_list.length ? fine_list.rows[number] : coarse_list.rows[number - fine_list.length];
}

}  // namespace kvt::multiply::ntt32
