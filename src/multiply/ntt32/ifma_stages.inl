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
    const u32* a;  // transformed: what is multiplied or merged
    u32* out;      // what is split
    u64* work;
    Levels split, merge;
    Constants c;

    void run(u64* d, unsigned log_n, unsigned level, u64 q) const {
        const u64 n = u64{1} << log_n;
        if (log_n == leaf_log) return leaves(d, n, level, q);
        const unsigned levels = pass_levels(log_n - leaf_log);
        if (task == Task::forward || task == Task::product)
            split_any(levels, Lanes{d}, Lanes{d}, n, 1, split, level, q, c);
        below(d, log_n, levels, level, q);
        if (task != Task::forward) merge_any(levels, Lanes{d}, Lanes{d}, n, 1, merge, level, q, c);
    }
    void below(u64* d, unsigned log_n, unsigned levels, unsigned level, u64 q) const {
        const u64 n = u64{1} << log_n;
        if (log_n - levels == leaf_log) return leaves(d, n, level + levels, q << levels);
        for (u64 i = 0; i < u64{1} << levels; ++i) {
            run(d + i * (n >> levels), log_n - levels, level + levels, (q << levels) + i);
        }
    }
    void leaves(u64* d, u64 n, unsigned level, u64 q) const {
        const u32* const x = a + (d - work);
        if (task == Task::forward) {
            split_leaves(d, out + (d - work), n, level, q, split, c);
        } else if (task == Task::inverse) {
            merge_leaves(x, d, n, level, q, merge, c);
        } else {
            if (task == Task::product) split_leaves(d, d, n, level, q, split, c);
            multiply_leaves<task == Task::square>(x, d, n, level, q, split, c);
            merge_leaves(d, d, n, level, q, merge, c);
        }
    }
};

// What is split, from `source`: the first pass reads it, the last one writes out, which may be a.
template <Task task, class Source>
void run_block(const Prime& prime, const Shape& shape, const u32* a, u32* out, const Source& source, u64 row,
               void* scratch) {
    u64* memory = static_cast<u64*>(scratch);
    u64* const work = memory;
    memory += u64{1} << shape.block_log;
    Block<task> block{a, out, work, {}, {}, Constants(prime.p)};
    if (task != Task::inverse) block.split = block_levels(prime, shape, row, false, memory);
    if (task != Task::forward) block.merge = block_levels(prime, shape, row, true, memory);
    const u64 n = u64{1} << shape.block_log;
    const unsigned levels = pass_levels(shape.block_log - leaf_log);
    if constexpr (task == Task::forward || task == Task::product) {
        if (!same<Source, Residues> && shape.half_empty) {
            split_any<true>(levels, source, Lanes{work}, n, 1, block.split, 0, 0, block.c);
        } else {
            split_any(levels, source, Lanes{work}, n, 1, block.split, 0, 0, block.c);
        }
    }
    block.below(work, shape.block_log, levels, 0, 0);
    if (task != Task::forward) merge_any(levels, Lanes{work}, Residues{out}, n, 1, block.merge, 0, 0, block.c);
}

// Points of the columns from `column` on, in groups of 2^log.
template <unsigned limbs>
Points<limbs> points_at(const Shape& shape, Words words, u64 column, unsigned log) {
    const Cutter cut(shape.point_bytes());
    const u64 ahead = log < shape.block_log ? cut.step << log : 1024;  // the next group's, or a little further on
    return {words.bytes, words.n_bytes, column * cut.step, cut.step << shape.block_log, log, ahead, cut};
}

template <Task task>
void split_block(const Prime& prime, const Shape& shape, Words words, const u32* a, u32* b, u32* out, u64 row,
                 void* scratch) {
    if (words.bytes == nullptr) return run_block<task>(prime, shape, a, out, Residues{b}, row, scratch);
    if (cut_limbs(shape.primes) == 2)
        return run_block<task>(prime, shape, a, out, points_at<2>(shape, words, 0, shape.block_log), row, scratch);
    run_block<task>(prime, shape, a, out, points_at<3>(shape, words, 0, shape.block_log), row, scratch);
}

void block_forward(const Prime& prime, const Shape& shape, Words words, u32* a, u64 row, void* scratch) noexcept {
    split_block<Task::forward>(prime, shape, words, nullptr, a, a, row, scratch);
}
void block_inverse(const Prime& prime, const Shape& shape, u32* a, u64 row, void* scratch) noexcept {
    run_block<Task::inverse>(prime, shape, a, a, Residues{nullptr}, row, scratch);
}
void block_product(const Prime& prime, const Shape& shape, Words words, const u32* a, u32* b, u32* out, u64 row,
                   void* scratch) noexcept {
    if (words.bytes == nullptr && b == nullptr) {
        run_block<Task::square>(prime, shape, a, out, Residues{nullptr}, row, scratch);
    } else {
        split_block<Task::product>(prime, shape, words, a, b, out, row, scratch);
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
// The levels of one branch: 2^log_n words, down to nodes of a row each. The first pass reads the source, the last one
// writes the target, those between stay in the group.
template <bool half_empty, class Source>
void split_levels(const Source& from, u64* group, const Columns& to, unsigned depth, const Levels& t,
                  const Constants& c) {
    const unsigned log_n = depth + to.log;
    const Lanes here{group};
    unsigned levels = pass_levels(depth);
    if (levels == depth) return split_any<half_empty>(levels, from, to, u64{1} << log_n, 1, t, 0, 0, c);
    split_any<half_empty>(levels, from, here, u64{1} << log_n, 1, t, 0, 0, c);
    for (unsigned done = levels; done < depth; done += levels) {
        levels = pass_levels(depth - done);
        const u64 n = u64{1} << (log_n - done), nodes = u64{1} << done;
        if (levels == depth - done) {
            split_any(levels, here, to, n, nodes, t, done, 0, c);
        } else {
            split_any(levels, here, here, n, nodes, t, done, 0, c);
        }
    }
}
template <class Target>
void merge_levels(const Columns& from, u64* group, const Target& to, unsigned depth, const Levels& t,
                  const Constants& c) {
    const unsigned log_n = depth + from.log;
    const Lanes here{group};
    unsigned levels[8], passes = 0;
    for (unsigned left = depth; left > 0; left -= levels[passes++]) levels[passes] = pass_levels(left);
    unsigned done = depth;
    for (unsigned i = passes; i-- > 0;) {
        done -= levels[i];
        const u64 n = u64{1} << (log_n - done), nodes = u64{1} << done;
        const bool first = i + 1 == passes, last = i == 0;
        if (first && last) {
            merge_any(levels[i], from, to, n, nodes, t, done, 0, c);
        } else if (first) {
            merge_any(levels[i], from, here, n, nodes, t, done, 0, c);
        } else if (last) {
            merge_any(levels[i], here, to, n, nodes, t, done, 0, c);
        } else {
            merge_any(levels[i], here, here, n, nodes, t, done, 0, c);
        }
    }
}

void top_levels(const Prime& prime, const Shape& shape, bool inverse, u64*& memory, Levels* t) {
    for (unsigned i = 0; i < shape.radix; ++i) {
        t[i] = build_levels(prime, {shape.radix, i, 0, 0, shape.negacyclic}, shape.depth(), inverse, memory);
    }
}

// What a group of columns needs: its lanes in scratch, the roots of every branch.
struct Group {
    u64* lanes64;
    u64 branch;  // words of a branch
    Radix radix;
    Levels t[7];
    Group(const Prime& prime, const Shape& shape, bool inverse, void* scratch)
        : lanes64(static_cast<u64*>(scratch)),
          branch(u64{1} << (shape.column_log + shape.depth())),
          radix(prime, shape, inverse) {
        u64* memory = lanes64 + branch * shape.radix;
        top_levels(prime, shape, inverse, memory, t);
    }
};
// The rows of a branch at a group of columns. Where they are not read before, and more than caches hold, they are
// written around them.
Columns columns_at(const Shape& shape, u32* rows, u64 column, unsigned branch, bool inverse) {
    constexpr u64 stream_words = u64{1} << 22;
    return {rows + (u64{branch} << shape.depth()) * shape.pitch + column, shape.pitch, shape.column_log,
            !inverse && shape.points() >= stream_words};
}

template <class Source, class Target>
void split_radix(const Source& from, u64 from_step, const Target& to, u64 to_step, u64 n, const Shape& shape,
                 const Radix& r) {
    if (shape.half_empty) return any_radix_pass<false, true>(from, from_step, to, to_step, n, shape.radix, r);
    any_radix_pass<false>(from, from_step, to, to_step, n, shape.radix, r);
}

template <unsigned limbs>
void split_columns(const Prime& prime, const Shape& shape, Words words, u32* rows, u64 begin, u64 end,
                   void* scratch) {
    const Group group(prime, shape, false, scratch);
    const Constants& c = group.radix.ops.c;
    Points<limbs> points = points_at<limbs>(shape, words, begin, shape.column_log);
    if (shape.depth() == 0) {  // one group
        points.log = shape.block_log;
        points.ahead = 1024;
        const u64 step = u64{1} << shape.block_log;
        const Columns to{rows + begin, shape.pitch, shape.block_log, false};
        return split_radix(points, step, to, step, end - begin, shape, group.radix);
    }
    for (u64 column = begin; column < end; column += u64{1} << shape.column_log) {
        points.first = column * points.cut.step;
        if (shape.radix == 1) {
            const Columns to = columns_at(shape, rows, column, 0, false);
            if (shape.half_empty) {
                split_levels<true>(points, group.lanes64, to, shape.depth(), group.t[0], c);
            } else {
                split_levels<false>(points, group.lanes64, to, shape.depth(), group.t[0], c);
            }
            continue;
        }
        const Lanes here{group.lanes64};
        split_radix(points, group.branch, here, group.branch, group.branch, shape, group.radix);
        for (unsigned i = 0; i < shape.radix; ++i) {
            u64* const at = group.lanes64 + i * group.branch;
            split_levels<false>(Lanes{at}, at, columns_at(shape, rows, column, i, false), shape.depth(), group.t[i],
                                c);
        }
    }
    _mm_sfence();
}
void top_forward(const Prime& prime, const Shape& shape, Words words, u32* rows, u64 begin, u64 end,
                 void* scratch) noexcept {
    if (cut_limbs(shape.primes) == 2) return split_columns<2>(prime, shape, words, rows, begin, end, scratch);
    split_columns<3>(prime, shape, words, rows, begin, end, scratch);
}

void top_inverse(const Prime& prime, const Shape& shape, u32* rows, u64 begin, u64 end, void* scratch) noexcept {
    const Group group(prime, shape, true, scratch);
    const Constants& c = group.radix.ops.c;
    if (shape.depth() == 0) {
        const u64 step = u64{1} << shape.block_log;
        const Columns all{rows + begin, shape.pitch, shape.block_log, false};
        return any_radix_pass<true>(all, step, all, step, end - begin, shape.radix, group.radix);
    }
    for (u64 column = begin; column < end; column += u64{1} << shape.column_log) {
        const Columns all = columns_at(shape, rows, column, 0, true);
        if (shape.radix == 1) {
            merge_levels(all, group.lanes64, all, shape.depth(), group.t[0], c);
            continue;
        }
        for (unsigned i = 0; i < shape.radix; ++i) {
            u64* const at = group.lanes64 + i * group.branch;
            merge_levels(columns_at(shape, rows, column, i, true), at, Lanes{at}, shape.depth(), group.t[i], c);
        }
        const Lanes here{group.lanes64};
        any_radix_pass<true>(here, group.branch, all, group.branch, group.branch, shape.radix, group.radix);
    }
}

consteval KernelTable table_of(const char* name) {
    return {name,          r_bits,         {0, 0, 0, 2, 2, 1, 1, 2, 2, 2},
            top_forward,   top_inverse,    block_forward,
            block_inverse, block_multiply, block_product,
            join,          add_streams};
}
