#include "multiply/ntt64/transform.h"

#include <algorithm>
#include <cstring>

#include "kernels/cpu.h"
#include "kernels/float_state.h"
#include "kernels/residue61.h"
#include "multiply/ntt64/constants.h"
#include "multiply/transform_checks.h"
#include "threads/parallel.h"

namespace kvt::multiply::ntt64 {
namespace {

const Kernels& kernels_for(const Shape& shape) noexcept {
    if (shape.set == narrow_set) return kernels_avx512ifma;
    return kernels::active_levels().word == kernels::WordLevel::adx ? kernels_adx : kernels_scalar;
}

}  // namespace

Transform::Transform(const Shape& shape, const GlobalTwiddleTable& table, void* work, u64 tasks) noexcept
    : shape_(shape),
      layout_(work_layout(shape)),
      narrow_(shape.set == narrow_set),
      kernels_(kernels_for(shape)),
      roots_(*roots_of(table)),
      tasks_(std::clamp<u64>(tasks, 1, part_limit)) {
    u8* const base = static_cast<u8*>(aligned(work, 64));
    root_.radix = shape.radix;
    root_.levels = shape.stage_levels(shape.radix, shape.exponent);
    root_.columns = u64{1} << (shape.exponent - root_.levels);
    root_.there = reinterpret_cast<Twiddle*>(base);
    root_.back = reinterpret_cast<Twiddle*>(base + layout_.root_table_bytes);
    parts_ = base + layout_.shared_bytes();
}

// body(first, last, part) on shares of the items, at the same time.
template <class Body>
void Transform::parallel(u64 items, const Body& body) const {
    const u64 parts = std::min(tasks_, items);
    Threads::run_parts(parts, [&](u64 i) {
        const Threads::Share share = Threads::share_of(items, parts, i);
        body(share.first, share.last, i);
    });
}

void Transform::select(unsigned i) noexcept {
    prime_ = &roots_.of(shape_.set, i);
    const u64 p = prime_sets[shape_.set].primes[i];
    modulus_ = modulus_of(p, kernels_.factor_bits);
    if (shape_.radix > 1) {
        radix_there_ = radix_constants(*prime_, shape_.radix, false, p, kernels_.factor_bits);
        radix_back_ = radix_constants(*prime_, shape_.radix, true, p, kernels_.factor_bits);
    }
}

// The twiddle of node q * 2^l + i at depth + l is inner[i] times the scale of level l: the product, over the bits b
// of q, of roots of order 2^(b + l + 2), and the 2^(depth + l + 1)-th root of z^k. Each level's scale is the square
// of the next one's.
void Transform::build_twiddles(Twiddle* out, const Node& node, unsigned levels, bool back) const noexcept {
    if (levels == 0) return;
    const u64 p = modulus_.p;
    const u64* const ladder = back ? prime_->inverse_ladder : prime_->ladder;
    u64 w = 1;
    for (unsigned b = 0; b < node.depth; ++b) {
        if (node.q >> b & 1) w = mul_mod(w, ladder[b + levels + 1], p);
    }
    if (node.k != 0) {
        const unsigned r = shape_.radix;
        unsigned t = node.k;
        for (unsigned l = 0; l < node.depth + levels; ++l) t = t * ((r + 1) / 2) % r;
        w = mul_mod(w, radix_power(*prime_, r, back ? r - t : t, p), p);
    }
    const unsigned bits = kernels_.factor_bits;
    LevelScale scales[inner_levels];
    for (unsigned l = levels; l-- > 0; w = mul_mod(w, w, p)) {
        scales[l] = {twiddle_of(w, p, bits), twiddle_of(shift_mod(w, p, bits), p, bits)};
    }
    (back ? kernels_.inverse_twiddles : kernels_.twiddles)(out, prime_->inner, scales, levels, modulus_);
}

void Transform::build_root_stage(bool there, bool back) noexcept {
    for (unsigned k = 0; k < root_.radix; ++k) {
        const Node node{k, 0, 0, shape_.exponent};
        if (there) build_twiddles(root_.there + (u64{k} << root_.levels), node, root_.levels, false);
        if (back) build_twiddles(root_.back + (u64{k} << root_.levels), node, root_.levels, true);
    }
}

// Points first .. first + count of a, a multiple of 8; zero beyond its end.
void Transform::cut(Point* out, Operand a, u64 first, u64 count) const noexcept {
    const u64 bytes = 8 * prime_sets[shape_.set].point_words, offset = first * bytes;
    const u64 present = offset < 4 * a.n ? std::min(count * bytes, 4 * a.n - offset) : 0;
    u64 n = present / (8 * bytes) * 8;
    if (n != 0) kernels_.cut(out, reinterpret_cast<const Point*>(a.bytes + offset), n, modulus_);
    if (const u64 rest = present - n * bytes; rest != 0) {
        u64 tail[16] = {};
        std::memcpy(tail, a.bytes + offset + n * bytes, rest);
        kernels_.cut(out + n, tail, 8, modulus_);
        n += 8;
    }
    std::memset(out + n, 0, 8 * (count - n));
}

// Splits the columns of groups first .. last: they are gathered into a buffer in cache. Points come from the source's
// words, or from x itself when it is null.
void Transform::columns_forward(const Stage& stage, const Operand* source, Point* x, u64 first, u64 last,
                                u8* part) const noexcept {
    const u64 rows = u64{stage.radix} << stage.levels;
    const u64 g = group_of(rows, stage.columns), m = g << stage.levels;
    const u64 point_bytes = 8 * prime_sets[shape_.set].point_words;
    Point* const buffer = reinterpret_cast<Point*>(part + layout_.part_bytes() - layout_.buffer_bytes);
    for (u64 group = first; group < last; ++group) {
        const u64 column = group * g;
        for (u64 row = 0; row < rows; ++row) {
            const u64 at = row * stage.columns + column;
            if (source != nullptr) {
                for (u64 j = 0; j < g * point_bytes; j += 64)
                    __builtin_prefetch(source->bytes + std::min((at + g) * point_bytes + j, 4 * source->n));
                cut(buffer + row * g, *source, at, g);
            } else {
                for (u64 j = 0; j < g; j += line_points) __builtin_prefetch(x + at + g + j);
                std::memcpy(buffer + row * g, x + at, 8 * g);
            }
        }
        if (stage.radix > 1) kernels_.radix[stage.radix / 2 - 1](buffer, m, radix_there_, modulus_);
        for (unsigned k = 0; k < stage.radix; ++k)
            kernels_.forward(buffer + k * m, m, stage.levels, stage.there + (u64{k} << stage.levels), modulus_.p);
        for (u64 row = 0; row < rows; ++row) std::memcpy(x + row * stage.columns + column, buffer + row * g, 8 * g);
    }
}

void Transform::columns_inverse(const Stage& stage, Point* x, u64 first, u64 last, u8* part) const noexcept {
    const u64 rows = u64{stage.radix} << stage.levels;
    const u64 g = group_of(rows, stage.columns), m = g << stage.levels;
    Point* const buffer = reinterpret_cast<Point*>(part + layout_.part_bytes() - layout_.buffer_bytes);
    for (u64 group = first; group < last; ++group) {
        const u64 column = group * g;
        for (u64 row = 0; row < rows; ++row) {
            const u64 at = row * stage.columns + column;
            for (u64 j = 0; j < g; j += line_points) __builtin_prefetch(x + at + g + j);
            std::memcpy(buffer + row * g, x + at, 8 * g);
        }
        for (unsigned k = 0; k < stage.radix; ++k)
            kernels_.inverse(buffer + k * m, m, stage.levels, stage.back + (u64{k} << stage.levels), modulus_.p);
        if (stage.radix > 1) kernels_.radix[stage.radix / 2 - 1](buffer, m, radix_back_, modulus_);
        for (u64 row = 0; row < rows; ++row) std::memcpy(x + row * stage.columns + column, buffer + row * g, 8 * g);
    }
}

void Transform::run_block(Step step, const Node& node, Point* x, Point* y, u8* part) const noexcept {
    const u64 n = u64{1} << node.exponent, pairs = n >> (kernels_.leaf_exponent + 1);
    const unsigned levels = node.exponent - kernels_.leaf_exponent;
    const u64 p = modulus_.p;
    Twiddle* const there = reinterpret_cast<Twiddle*>(part);
    Twiddle* const back = reinterpret_cast<Twiddle*>(part + layout_.block_table_bytes);
    if (step != Step::inverse) build_twiddles(there, node, levels, false);
    if (step == Step::inverse || step == Step::product) build_twiddles(back, node, levels, true);

    if (step == Step::forward) kernels_.forward(x, n, levels, there, p);
    if (step == Step::product && y != nullptr) kernels_.forward(y, n, levels, there, p);
    if (step == Step::multiply || step == Step::product) {
        const Twiddle* const z = there + (u64{1} << (levels - 1));
        if (y == nullptr || x == y) {
            kernels_.square(x, pairs, z, modulus_);
        } else {
            kernels_.multiply(x, y, pairs, z, modulus_);
        }
    }
    if (step == Step::inverse || step == Step::product) kernels_.inverse(x, n, levels, back, p);
}

void Transform::run_node(Step step, const Node& node, Point* x, Point* y, u8* part, unsigned nesting) const noexcept {
    if (node.exponent <= shape_.block_exponent) {
        run_block(step, node, x, y, part);
        return;
    }
    u8* const tables = part + 2 * layout_.block_table_bytes + 2 * nesting * layout_.stage_table_bytes;
    Stage stage;
    stage.radix = 1;
    stage.levels = shape_.stage_levels(1, node.exponent);
    stage.columns = u64{1} << (node.exponent - stage.levels);
    stage.there = reinterpret_cast<Twiddle*>(tables);
    stage.back = reinterpret_cast<Twiddle*>(tables + layout_.stage_table_bytes);
    if (step == Step::forward || step == Step::product) {
        Point* const split = step == Step::forward ? x : y;
        build_twiddles(stage.there, node, stage.levels, false);
        if (split != nullptr) columns_forward(stage, nullptr, split, 0, groups(stage), part);
    }
    for (u64 j = 0; j < u64{1} << stage.levels; ++j) {
        const Node child{node.k, node.depth + stage.levels, (node.q << stage.levels) + j,
                         node.exponent - stage.levels};
        const u64 at = j * stage.columns;
        run_node(step, child, x + at, y == nullptr ? nullptr : y + at, part, nesting + 1);
    }
    if (step == Step::inverse || step == Step::product) {
        build_twiddles(stage.back, node, stage.levels, true);
        columns_inverse(stage, x, 0, groups(stage), part);
    }
}

// The nodes that the first stage leaves, in parallel.
void Transform::run_nodes(Step step, Point* x, Point* y) const noexcept {
    parallel(u64{root_.radix} << root_.levels, [&](u64 first, u64 last, u64 i) {
        for (u64 j = first; j < last; ++j) {
            const u64 at = j * root_.columns;
            const Node node{static_cast<unsigned>(j >> root_.levels), root_.levels,
                            j & ((u64{1} << root_.levels) - 1), shape_.exponent - root_.levels};
            run_node(step, node, x + at, y == nullptr ? nullptr : y + at, part(i), 0);
        }
    });
}

void Transform::run_root_forward(Operand a, Point* x) const noexcept {
    if (has_root_stage()) {
        parallel(groups(root_),
                 [&](u64 first, u64 last, u64 i) { columns_forward(root_, &a, x, first, last, part(i)); });
    } else {
        cut(x, a, 0, shape_.points());
    }
}

void Transform::run_root_inverse(Point* x) const noexcept {
    if (!has_root_stage()) return;
    parallel(groups(root_), [&](u64 first, u64 last, u64 i) { columns_inverse(root_, x, first, last, part(i)); });
}

void Transform::forward(unsigned i, Operand a, Point* x) noexcept {
    select(i);
    build_root_stage(true, false);
    run_root_forward(a, x);
    run_nodes(Step::forward, x, nullptr);
}

void Transform::multiply(unsigned i, Point* x, const Point* y) noexcept {
    select(i);
    run_nodes(Step::multiply, x, const_cast<Point*>(y));  // read only in this step
}

void Transform::inverse(unsigned i, Point* x) noexcept {
    select(i);
    build_root_stage(false, true);
    run_nodes(Step::inverse, x, nullptr);
    run_root_inverse(x);
}

void Transform::product(unsigned i, Point* x, Operand b, Point* y) noexcept {
    select(i);
    build_root_stage(true, true);
    if (b.bytes != nullptr) run_root_forward(b, y);
    run_nodes(Step::product, x, b.bytes != nullptr ? y : nullptr);
    run_root_inverse(x);
}

void Transform::join(Point* x) const noexcept {
    const u64 points = shape_.points(), n = points * prime_sets[shape_.set].point_words;
    const kernels::FloatState state;  // short points are joined by a quotient that is estimated in doubles
    const JoinConstants constants = join_constants(shape_, kernels_);
    u64 carries[part_limit][3] = {};
    u64 ends[part_limit] = {};
    const u64 groups = points / 8, chunks = std::min(tasks_, groups);
    Threads::run_parts(chunks, [&](u64 i) {
        const kernels::FloatState state_there;
        const Threads::Share share = Threads::share_of(groups, chunks, i);
        kernels_.join(x + 8 * share.first, points, 8 * (share.last - share.first), constants, carries[i]);
        ends[i] = share.last * 8 * prime_sets[shape_.set].point_words;
    });
    // What a chunk carries out is added to the words after it, around the end: 2^bits = 1.
    for (u64 i = 0; i < chunks; ++i) {
        u64 carry = 0;
        for (u64 j = 0, at = ends[i] % n; j < 3 || carry != 0; ++j, at = at + 1 == n ? 0 : at + 1) {
            Point& word = x[place(at)];
            const u128 sum = static_cast<u128>(word) + (j < 3 ? carries[i][j] : 0) + carry;
            word = static_cast<u64>(sum);
            carry = static_cast<u64>(sum >> 64);
        }
    }
}

Residue Transform::joined_residue(const Point* x) const noexcept {
    const u64 words = shape_.points() * prime_sets[shape_.set].point_words;
    if (!narrow_) return residue({reinterpret_cast<const u8*>(x), 2 * words});
    constexpr u64 batch = 512;
    u64 residues[part_limit] = {};
    parallel((words + batch - 1) / batch, [&](u64 first, u64 last, u64 i) {
        u64 buffer[batch];
        for (u64 b = first; b < last; ++b) {
            const u64 at = b * batch, n = std::min(batch, words - at);
            joined(x, at, n,
                   [&](u64 j, const u8* bytes, u64 count) { std::memcpy(buffer + (j - at), bytes, 8 * count); });
            const u64 value = kernels::residue_of(buffer, 2 * n);
            residues[i] =
                kernels::residue_add(residues[i], kernels::residue_shift(value, static_cast<i64>(at % 61 * 64)));
        }
    });
    u64 sum = 0;
    for (u64 r : residues) sum = kernels::residue_add(sum, r);
    return {sum};
}

Residue Transform::residue(Operand a) const noexcept {
    u64 residues[part_limit] = {}, starts[part_limit] = {};
    parallel(a.n, [&](u64 first, u64 last, u64 i) {
        residues[i] = kernels::residue_of(a.bytes + 4 * first, last - first);
        starts[i] = first;
    });
    u64 sum = 0;
    for (u64 i = 0; i < part_limit; ++i)
        sum = kernels::residue_add(sum, kernels::residue_shift(residues[i], static_cast<i64>(starts[i] % 61 * 32)));
    return {sum};
}

}  // namespace kvt::multiply::ntt64
