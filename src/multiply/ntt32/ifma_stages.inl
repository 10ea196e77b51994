// The stages of the kernel table.

constexpr unsigned leaf_log = 6;

Levels block_levels(const Prime& prime, const Shape& shape, u64 row, bool inverse, u64*& memory) {
    const unsigned depth = shape.depth();
    const Splitting place{shape.radix, static_cast<unsigned>(row >> depth), depth, row & ((u64{1} << depth) - 1),
                          shape.negacyclic};
    return build_levels(prime, place, shape.block_log - 3, inverse, memory);
}

enum class Task { forward, inverse, product, square };

// One block, depth first: split from the source, at the leaves whatever the task is, merge to the target.
template <Task task>
struct Block {
    u32* a;  // transformed before (all but forward) and after the leaves
    u64* work;
    Levels split, merge;
    Constants c;

    void run(u64* d, unsigned log_n, unsigned level, u64 q) const {
        const u64 n = u64{1} << log_n;
        if (log_n == leaf_log) return leaves(d, n, level, q);
        const unsigned levels = pass_levels(log_n - leaf_log);
        if (task == Task::forward || task == Task::product) split_any(levels, d, d, n, 1, split, level, q, c);
        below(d, log_n, levels, level, q);
        if (task != Task::forward) merge_any(levels, d, d, n, 1, merge, level, q, c);
    }
    void below(u64* d, unsigned log_n, unsigned levels, unsigned level, u64 q) const {
        const u64 n = u64{1} << log_n;
        if (log_n - levels == leaf_log) return leaves(d, n, level + levels, q << levels);
        for (u64 i = 0; i < u64{1} << levels; ++i) {
            run(d + i * (n >> levels), log_n - levels, level + levels, (q << levels) + i);
        }
    }
    void leaves(u64* d, u64 n, unsigned level, u64 q) const {
        u32* const x = a + (d - work);
        if (task == Task::forward) {
            split_leaves(d, x, n, level, q, split, c);
        } else if (task == Task::inverse) {
            merge_leaves(x, d, n, level, q, merge, c);
        } else {
            if (task == Task::product) split_leaves(d, d, n, level, q, split, c);
            multiply_leaves<task == Task::square>(x, d, n, level, q, split, c);
            merge_leaves(d, d, n, level, q, merge, c);
        }
    }
};

// `source`: what is split, in 32-bit words. The first pass reads it, the last one writes a.
template <Task task>
void run_block(const Prime& prime, const Shape& shape, u32* a, const u32* source, u64 row, void* scratch) {
    u64* memory = static_cast<u64*>(scratch);
    u64* const work = memory;
    memory += u64{1} << shape.block_log;
    Block<task> block{a, work, {}, {}, Constants(prime.p)};
    if (task != Task::inverse) block.split = block_levels(prime, shape, row, false, memory);
    if (task != Task::forward) block.merge = block_levels(prime, shape, row, true, memory);
    const u64 n = u64{1} << shape.block_log;
    const unsigned levels = pass_levels(shape.block_log - leaf_log);
    if (task == Task::forward || task == Task::product) {
        if (shape.half_empty && shape.rows() == 1) {
            split_any<true>(levels, source, work, n, 1, block.split, 0, 0, block.c);
        } else {
            split_any(levels, source, work, n, 1, block.split, 0, 0, block.c);
        }
    }
    block.below(work, shape.block_log, levels, 0, 0);
    if (task != Task::forward) merge_any(levels, work, a, n, 1, block.merge, 0, 0, block.c);
}

void block_forward(const Prime& prime, const Shape& shape, u32* a, u64 row, void* scratch) noexcept {
    run_block<Task::forward>(prime, shape, a, a, row, scratch);
}
void block_inverse(const Prime& prime, const Shape& shape, u32* a, u64 row, void* scratch) noexcept {
    run_block<Task::inverse>(prime, shape, a, nullptr, row, scratch);
}
void block_product(const Prime& prime, const Shape& shape, u32* a, u32* b, u64 row, void* scratch) noexcept {
    if (b == nullptr) {
        run_block<Task::square>(prime, shape, a, nullptr, row, scratch);
    } else {
        run_block<Task::product>(prime, shape, a, b, row, scratch);
    }
}
void block_multiply(const Prime& prime, const Shape& shape, u32* a, const u32* b, u64 row, void* scratch) noexcept {
    const Constants c(prime.p);
    u64* memory = static_cast<u64*>(scratch);
    const Levels t = block_levels(prime, shape, row, false, memory);
    alignas(64) u64 y[leaf_words];
    const unsigned level = shape.block_log - leaf_log + 2;
    for (u64 k = 0, q = 0; k < u64{1} << shape.block_log; k += leaf_words, ++q) {
        V x[8];
        load_leaf(x, b + k);
        store_leaf(y, x);
        load_leaf(x, a + k);
        multiply_leaf(x, y, leaf_roots(t, level, q, c), c);
#pragma GCC unroll 8
        for (unsigned i = 0; i < 8; ++i) x[i] = reduce_low(x[i], c);
        store_leaf(a + k, x);
    }
}

// ---- the top stage: groups of columns in 64-bit lanes ----
void split_levels(u64* d, unsigned log_n, unsigned bottom_log, bool half_empty, const Levels& t, const Constants& c) {
    for (unsigned log = log_n, levels; log > bottom_log; log -= levels) {
        levels = pass_levels(log - bottom_log);
        if (half_empty && log == log_n) {
            split_any<true>(levels, d, d, u64{1} << log, 1, t, 0, 0, c);
        } else {
            split_any(levels, d, d, u64{1} << log, u64{1} << (log_n - log), t, log_n - log, 0, c);
        }
    }
}
void merge_levels(u64* d, unsigned log_n, unsigned bottom_log, const Levels& t, const Constants& c) {
    unsigned levels[8], passes = 0;
    for (unsigned left = log_n - bottom_log; left > 0; left -= levels[passes++]) levels[passes] = pass_levels(left);
    unsigned log = bottom_log;
    while (passes-- > 0) {
        log += levels[passes];
        merge_any(levels[passes], d, d, u64{1} << log, u64{1} << (log_n - log), t, log_n - log, 0, c);
    }
}

// Asks for what the next group of columns reads; never faults.
AI void prefetch(const void* from, u64 n_bytes) {
    for (u64 i = 0; i < n_bytes; i += 64) _mm_prefetch(static_cast<const char*>(from) + i, _MM_HINT_T1);
}

void top_levels(const Prime& prime, const Shape& shape, bool inverse, u64*& memory, Levels* t) {
    for (unsigned i = 0; i < shape.radix; ++i) {
        t[i] = build_levels(prime, {shape.radix, i, 0, 0, shape.negacyclic}, shape.depth(), inverse, memory);
    }
}

void top_forward(const Prime& prime, const Shape& shape, const u8* bytes, u64 n_bytes, u32* rows, u64 begin, u64 end,
                 void* scratch) noexcept {
    const Constants c(prime.p);
    const Cutter cutter(shape.point_bytes());
    if (shape.rows() == 1) {
        if (shape.half_empty) end = (u64{1} << shape.block_log) / 2;
        return cut(bytes, n_bytes, begin * cutter.step, cutter, end - begin, rows + begin, c);
    }
    u64* memory = static_cast<u64*>(scratch);
    u64* const group = memory;
    const u64 columns = u64{1} << shape.column_log, branch = columns << shape.depth();
    memory += branch * shape.radix;
    Levels t[7];
    top_levels(prime, shape, false, memory, t);
    for (u64 column = begin; column < end; column += columns) {
        for (u64 row = 0; row < (shape.half_empty ? shape.rows() / 2 : shape.rows()); ++row) {
            const u64 at = ((row << shape.block_log) + column) * cutter.step;
            if (at + columns * cutter.step < n_bytes)
                prefetch(bytes + at + columns * cutter.step, columns * cutter.step);
            cut(bytes, n_bytes, at, cutter, columns, group + row * columns, c);
        }
        if (shape.depth() == 0) {
            any_radix_pass<false>(group, branch, rows + column, shape.pitch, columns, prime, shape);
            continue;
        }
        any_radix_pass<false>(group, branch, group, branch, branch, prime, shape);
        for (unsigned i = 0; i < shape.radix; ++i) {
            split_levels(group + i * branch, shape.depth() + shape.column_log, shape.column_log, shape.half_empty,
                         t[i], c);
        }
        for (u64 row = 0; row < shape.rows(); ++row) {
            u32* const to = rows + row * shape.pitch + column;
            prefetch(to + columns, 4 * columns);
            for (u64 k = 0; k < columns; k += lanes) store(to + k, reduce_low(load(group + row * columns + k), c));
        }
    }
}

void top_inverse(const Prime& prime, const Shape& shape, u32* rows, u64 begin, u64 end, void* scratch) noexcept {
    if (shape.rows() == 1) return;
    if (shape.depth() == 0) {
        any_radix_pass<true>(rows + begin, shape.pitch, rows + begin, shape.pitch, end - begin, prime, shape);
        return;
    }
    const Constants c(prime.p);
    u64* memory = static_cast<u64*>(scratch);
    u64* const group = memory;
    const u64 columns = u64{1} << shape.column_log, branch = columns << shape.depth();
    memory += branch * shape.radix;
    Levels t[7];
    top_levels(prime, shape, true, memory, t);
    for (u64 column = begin; column < end; column += columns) {
        for (u64 row = 0; row < shape.rows(); ++row) {
            const u32* const from = rows + row * shape.pitch + column;
            prefetch(from + columns, 4 * columns);
            for (u64 k = 0; k < columns; k += lanes) store(group + row * columns + k, load(from + k));
        }
        for (unsigned i = 0; i < shape.radix; ++i) {
            merge_levels(group + i * branch, shape.depth() + shape.column_log, shape.column_log, t[i], c);
        }
        any_radix_pass<true>(group, branch, group, branch, branch, prime, shape);
        for (u64 row = 0; row < shape.rows(); ++row) {
            u32* const to = rows + row * shape.pitch + column;
            for (u64 k = 0; k < columns; k += lanes) store(to + k, reduce_low(load(group + row * columns + k), c));
        }
    }
}
