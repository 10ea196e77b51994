// The stages of the kernel table.

// n points from byte `at` on of a number, zero beyond it.
void cut_some(Words words, u64 at, u64 step, u64 n, u32* out, const Constants& c) {
    const auto [bytes, n_bytes] = words;
    u64 inside = 0;
    if (at + 16 < n_bytes) {
        inside = (n_bytes - at - 16) / step / 16 * 16;
        if (inside > n) inside = n;
        cut(bytes + at, step, inside, out, c);
    }
    for (u64 k = inside; k < n; k += 16) {
        const u64 from = at + k * step;
        if (from >= n_bytes) {
            __builtin_memset(out + k, 0, 4 * (n - k));
            return;
        }
        u8 padded[16 * 16 + 16] = {};
        const u64 present = n_bytes - from < 16 * step ? n_bytes - from : 16 * step;
        __builtin_memcpy(padded, bytes + from, present);
        cut(padded, step, 16, out + k, c);
    }
}

Levels block_levels(const Prime& prime, const Shape& shape, u64 row, bool inverse, u32*& memory) {
    const unsigned depth = shape.depth();
    const Splitting place{shape.radix, static_cast<unsigned>(row >> depth), depth, row & ((u64{1} << depth) - 1),
                          shape.negacyclic};
    return build_levels(prime, place, shape.block_log - 3, inverse, memory);
}

// One table for every branch of the radix.
void top_levels(const Prime& prime, const Shape& shape, bool inverse, u32*& memory, Levels* t) {
    for (unsigned i = 0; i < shape.radix; ++i) {
        t[i] = build_levels(prime, {shape.radix, i, 0, 0, shape.negacyclic}, shape.depth(), inverse, memory);
    }
}

void top_forward(const Prime& prime, const Shape& shape, Words words, u32* rows, u64 begin, u64 end,
                 void* scratch) noexcept {
    const Constants c(prime.p);
    const Radix radix(prime, shape, false);
    const u64 step = shape.point_bytes();
    u32* memory = static_cast<u32*>(scratch);
    u32* const group = memory;
    const u64 columns = u64{1} << shape.column_log, branch = columns << shape.depth();
    memory += branch * shape.radix;
    const bool half_empty = shape.half_empty && shape.radix == 1;
    Levels t[7];
    top_levels(prime, shape, false, memory, t);
    for (u64 column = begin; column < end; column += columns) {
        for (u64 row = 0; row < (half_empty ? shape.rows() / 2 : shape.rows()); ++row) {
            cut_some(words, ((row << shape.block_log) + column) * step, step, columns, group + row * columns, c);
        }
        if (shape.depth() == 0) {
            any_radix_pass<false>(group, branch, rows + column, shape.pitch, columns, shape.radix, radix);
            continue;
        }
        any_radix_pass<false>(group, branch, group, branch, branch, shape.radix, radix);
        for (unsigned i = 0; i < shape.radix; ++i) {
            split_tree(group + i * branch, shape.depth() + shape.column_log, shape.column_log, half_empty, 0, 0, t[i],
                       c);
        }
        for (u64 row = 0; row < shape.rows(); ++row) {
            __builtin_memcpy(rows + row * shape.pitch + column, group + row * columns, 4 * columns);
        }
    }
}

void top_inverse(const Prime& prime, const Shape& shape, u32* rows, u64 begin, u64 end, void* scratch) noexcept {
    const Radix radix(prime, shape, true);
    if (shape.depth() == 0) {
        any_radix_pass<true>(rows + begin, shape.pitch, rows + begin, shape.pitch, end - begin, shape.radix, radix);
        return;
    }
    const Constants c(prime.p);
    u32* memory = static_cast<u32*>(scratch);
    u32* const group = memory;
    const u64 columns = u64{1} << shape.column_log, branch = columns << shape.depth();
    memory += branch * shape.radix;
    Levels t[7];
    top_levels(prime, shape, true, memory, t);
    for (u64 column = begin; column < end; column += columns) {
        for (u64 row = 0; row < shape.rows(); ++row) {
            __builtin_memcpy(group + row * columns, rows + row * shape.pitch + column, 4 * columns);
        }
        for (unsigned i = 0; i < shape.radix; ++i) {
            merge_tree(group + i * branch, shape.depth() + shape.column_log, shape.column_log, 0, 0, t[i], c);
        }
        any_radix_pass<true>(group, branch, group, branch, branch, shape.radix, radix);
        for (u64 row = 0; row < shape.rows(); ++row) {
            __builtin_memcpy(rows + row * shape.pitch + column, group + row * columns, 4 * columns);
        }
    }
}

// The points of a row that is the whole transform.
void cut_row(const Shape& shape, Words words, u32* to, const Constants& c) {
    cut_some(words, 0, shape.point_bytes(), shape.points() >> (shape.half_empty ? 1 : 0), to, c);
}

void block_forward(const Prime& prime, const Shape& shape, Words words, u32* a, u64 row, void* scratch) noexcept {
    const Constants c(prime.p);
    u32* memory = static_cast<u32*>(scratch);
    const Levels t = block_levels(prime, shape, row, false, memory);
    if (words.bytes != nullptr) cut_row(shape, words, a, c);
    split_block(a, shape, t, c);
}

void block_inverse(const Prime& prime, const Shape& shape, u32* a, u64 row, void* scratch) noexcept {
    u32* memory = static_cast<u32*>(scratch);
    const Levels t = block_levels(prime, shape, row, true, memory);
    merge_block(a, shape.block_log, t, Constants(prime.p));
}

void block_multiply(const Prime& prime, const Shape& shape, u32* a, const u32* b, u64 row, void* scratch) noexcept {
    u32* memory = static_cast<u32*>(scratch);
    const Levels t = block_levels(prime, shape, row, false, memory);
    multiply_leaves(a, b, shape.block_log, t, Constants(prime.p));
}

void block_product(const Prime& prime, const Shape& shape, Words words, const u32* a, u32* b, u32* out, u64 row,
                   void* scratch) noexcept {
    const Constants c(prime.p);
    u32* memory = static_cast<u32*>(scratch);
    if (words.bytes != nullptr) {
        b = out == a ? memory : out;
        memory += u64{1} << shape.block_log;
        cut_row(shape, words, b, c);
    }
    const Levels t = block_levels(prime, shape, row, false, memory);
    const Levels back = block_levels(prime, shape, row, true, memory);
    if (b != nullptr)
        split_block(b, shape, t, c);
    else if (out != a)
        __builtin_memcpy(out, a, sizeof(u32) << shape.block_log);
    multiply_leaves(out, out == a && b != nullptr ? b : a, shape.block_log, t, c);
    merge_block(out, shape.block_log, back, c);
}

consteval KernelTable table_of(const char* name) {
    return {name,          r_bits,         {0, 0, 0, 1, 2, 2, 3, 3, 4, 4},
            top_forward,   top_inverse,    block_forward,
            block_inverse, block_multiply, block_product,
            join,          add_streams};
}
