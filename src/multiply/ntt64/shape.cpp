#include "multiply/ntt64/shape.h"

#include <algorithm>

#include "multiply/ntt64/kernel_table.h"

namespace kvt::multiply::ntt64 {

Shape shape_for(u64 bits) noexcept {
    const u64 points = bits / 64 + (bits % 64 != 0);
    Shape best{.radix = 0};
    for (unsigned set = 0; set < 2 && best.radix == 0; ++set) {
        for (unsigned radix = 1; radix <= (prime_sets[set].odd_radices ? 7u : 1u); radix += 2) {
            unsigned e = least_exponent;
            while (e < prime_sets[set].exponent && (u64{radix} << e) < points) ++e;
            const Shape shape{.set = set, .radix = radix, .exponent = e};
            if (shape.points() >= points && (best.radix == 0 || shape.points() < best.points())) best = shape;
        }
    }
    return best;
}

Shape narrowed(const Shape& shape) noexcept {
    if (shape.set != wide_set || shape.exponent <= least_narrow_exponent ||
        shape.exponent - 1 > prime_sets[narrow_set].exponent)
        return shape;
    Shape narrow = shape;
    narrow.set = narrow_set;
    narrow.exponent -= 1;
    return narrow;
}

WorkLayout work_layout(const Shape& shape) noexcept {
    WorkLayout layout{};
    const auto rounded = [](u64 bytes) { return (bytes + 63) & ~u64{63}; };
    unsigned exponent = shape.exponent;
    unsigned levels = shape.stage_levels(shape.radix, exponent);
    u64 rows = u64{shape.radix} << levels;
    layout.root_table_bytes = rounded(rows * sizeof(Twiddle));
    exponent -= levels;
    while (exponent > shape.block_exponent) {
        levels = shape.stage_levels(1, exponent);
        layout.stage_table_bytes = std::max<u64>(layout.stage_table_bytes, sizeof(Twiddle) << levels);
        rows = std::max(rows, u64{1} << levels);
        ++layout.nested_stages;
        exponent -= levels;
    }
    layout.block_table_bytes = rounded(sizeof(Twiddle) << (exponent - 2));
    layout.buffer_bytes = rounded(8 * std::min(shape.points(), std::max(rows * line_points, buffer_points)));
    return layout;
}

WorkLayout growing_layout(const Shape& shape) noexcept {
    WorkLayout most{};
    for (unsigned set = 0; set < 2; ++set) {
        for (unsigned radix = 1; radix <= (prime_sets[set].odd_radices ? 7u : 1u); radix += 2) {
            for (unsigned e = least_exponent; e <= prime_sets[set].exponent; ++e) {
                const Shape shorter{.set = set, .radix = radix, .exponent = e};
                if (shorter.points() > shape.points()) break;
                const WorkLayout layout = work_layout(shorter);
                most.root_table_bytes = std::max(most.root_table_bytes, layout.root_table_bytes);
                most.block_table_bytes = std::max(most.block_table_bytes, layout.block_table_bytes);
                most.stage_table_bytes = std::max(most.stage_table_bytes, layout.stage_table_bytes);
                most.nested_stages = std::max(most.nested_stages, layout.nested_stages);
                most.buffer_bytes = std::max(most.buffer_bytes, layout.buffer_bytes);
            }
        }
    }
    return most;
}

}  // namespace kvt::multiply::ntt64
