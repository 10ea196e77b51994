#include "multiply/chunked_transform.h"

#include <bit>

#include "frame/fatal.h"
#include "frame/progress.h"
#include "kernels/linear.h"
#include "threads/parallel.h"

namespace kvt::multiply {
namespace {

// Units a stride apart, seen as points of one transform.
struct Points {
    u64* words;
    u64 stride_words;
    u64* operator[](u64 i) const { return words + i * stride_words; }
};

// A level of a transform of 2^level points out of the ring's 2M-th roots: distance 2^(level-1), in all blocks of
// `points`. Point i of a block stands for index i * scale + offset of its full block.
void forward_level(const FermatRing<u64>& ring, Points x, u64 points, u64 distance, u64 step, u64 first, u64* spare) {
    for (u64 block = 0; block < points; block += 2 * distance)
        for (u64 i = 0; i < distance; ++i)
            ring.forward(x[block + i], x[block + i + distance], first + i * step, spare);
}
void inverse_level(const FermatRing<u64>& ring, Points x, u64 points, u64 distance, u64 step, u64 first, u64* spare) {
    for (u64 block = 0; block < points; block += 2 * distance)
        for (u64 i = 0; i < distance; ++i)
            ring.inverse(x[block + i], x[block + i + distance], first + i * step, spare);
}

// All levels of 2^s consecutive units. The root of level l is 2^(2M / 2^l).
void forward_units(const FermatRing<u64>& ring, u64* units, u64 s, u64* spare) {
    for (u64 level = s; level > 0; --level)
        forward_level(ring, {units, ring.unit_words()}, u64{1} << s, u64{1} << (level - 1), 2 * ring.bits() >> level,
                      0, spare);
}
void inverse_units(const FermatRing<u64>& ring, u64* units, u64 s, u64* spare) {
    for (u64 level = 1; level <= s; ++level)
        inverse_level(ring, {units, ring.unit_words()}, u64{1} << s, u64{1} << (level - 1), 2 * ring.bits() >> level,
                      0, spare);
}

u64 shifted(u64 value, u64 bits) { return bits < 64 ? value << bits : 0; }

u64 require_block(u64 it, u64 u, u64 s, u64 S, const char* few, const char* small) {
    if (it < 4) fatal_exit(few);
    const u64 block = fpb_t::block_units(it, u, s, S);
    if (block == 0) fatal_exit(small);
    return block;
}

}  // namespace

template <class Transform>
void ftp_t::columns(const BlockSource& in, BlockStore& out, u64 bk, const StageScratch& scratch,
                    Transform&& transform) const {
    const u64 rows = u64{1} << (top_bk_ - bk), row_units = u64{1} << bk;
    const u64 most = fpb_t::get_buffer_k(rows, ring_.unit_bytes(), scratch.units_bytes);
    for (u64 column = 0; column < row_units; column += most) {
        const u64 n = std::min(most, row_units - column);
        const u64 row_words = n * ring_.unit_words();
        for (u64 r = 0; r < rows; ++r) in.read(r * row_units + column, n, scratch.units + r * row_words);
        for (u64 i = 0; i < n; ++i)
            transform(Points{scratch.units + i * ring_.unit_words(), row_words}, rows, column + i);
        for (u64 r = 0; r < rows; ++r) out.write(r * row_units + column, n, scratch.units + r * row_words);
    }
}

void ftp_t::forward_t(const BlockSource& in, BlockStore& out, u64 bk, u64 s, const StageScratch& scratch) const {
    const ProgressTag tag(current_progress_sink(), "F: ");
    columns(in, out, bk, scratch, [&](Points x, u64 rows, u64 column) {
        if (s != 0)
            for (u64 r = 0; r < rows; ++r) ring_.shift(x[r], s * ((r << bk) + column), scratch.spare);
        for (u64 level = top_bk_; level > bk; --level) {
            const u64 root = 2 * ring_.bits() >> level;
            forward_level(ring_, x, rows, rows >> (top_bk_ - level + 1), root << bk, root * column, scratch.spare);
        }
    });
}

void ftp_t::inverse_t(BlockStore& data, u64 bk, u64 s, const StageScratch& scratch) const {
    if (top_bk_ < bk) fatal_exit("ftp_t::inverse_t(): top_bk < bk");
    if (cyclic_ && s != 0) fatal_exit("ftp_t::inverse_t(): Cyclic convolution requires: s == 0");
    const ProgressTag tag(current_progress_sink(), "I: ");
    columns(data, data, bk, scratch, [&](Points x, u64 rows, u64 column) {
        for (u64 level = bk + 1; level <= top_bk_; ++level) {
            const u64 root = 2 * ring_.bits() >> level;
            inverse_level(ring_, x, rows, rows >> (top_bk_ - level + 1), root << bk, root * column, scratch.spare);
        }
        for (u64 r = 0; r < rows; ++r)
            ring_.shift(x[r], 2 * ring_.bits() - top_bk_ - s * ((r << bk) + column), scratch.spare);
    });
}

u64 fpb_t::block_units(u64 it, u64 u, u64 s, u64 S) {
    const u64 v = std::min(S / (4 * u), shifted(it, s) / 4) >> std::min<u64>(s, 63);
    return shifted(std::max<u64>(1, std::bit_floor(v)), s);
}

u64 fpb_t::get_buffer_k(u64 rows, u64 unit_bytes, u64 S) {
    const u64 columns = S / (rows * unit_bytes);
    if (columns == 0) fatal_exit("fpb_t::get_buffer_k(): Buffer is not large enough.");
    return columns;
}

u64 fpb_t::get_buffer_L(u64 buffers, u64 block_bytes, u64 S) {
    const u128 bytes = u128{buffers} * block_bytes;
    if (S < bytes) fatal_exit("fpb_t::get_buffer_L(): Buffer is not large enough.");
    return static_cast<u64>(bytes);
}

void fpb_t::me_fmul(u64 it, u64 s, BlockStore& a, const BlockSource& b, const StageScratch& scratch) const {
    const u64 block = require_block(it, ring_.unit_bytes(), s, scratch.units_bytes,
                                    "fpb_t::me_fmul(): Insufficient Iterations (it < 4)",
                                    "fpb_t::me_fmul(): Buffer is not large enough.");
    const ProgressTag tag(current_progress_sink(), "-PM: ");
    middle(it, s, block, a, &b, scratch);
}

void fpb_t::me_fsqr(u64 it, u64 s, BlockStore& a, const StageScratch& scratch) const {
    const u64 block = require_block(it, ring_.unit_bytes(), s, scratch.units_bytes,
                                    "fpb_t::me_fsqr(): Insufficient Iterations (it < 4)",
                                    "fpb_t::me_fsqr(): Buffer is not large enough.");
    const ProgressTag tag(current_progress_sink(), "-PS: ");
    middle(it, s, block, a, nullptr, scratch);
}

void fpb_t::middle(u64 it, u64 s, u64 block, BlockStore& a, const BlockSource* b, const StageScratch& scratch) const {
    const u64 unit_words = ring_.unit_words();
    const u64 block_words = block * unit_words;
    get_buffer_L(b != nullptr ? 4 : 2, 8 * block_words, scratch.units_bytes);
    const u64 all = it << s;
    // Two halves, each a block of both operands.
    u64* half[2] = {scratch.units, scratch.units + (b != nullptr ? 2 : 1) * block_words};
    const auto units_of = [&](u64 first) { return std::min(block, all - first); };
    const auto read = [&](u64 first, u64* to) {
        if (first >= all) return;
        a.read(first, units_of(first), to);
        if (b != nullptr) b->read(first, units_of(first), to + block_words);
    };

    read(0, half[0]);
    u64 current = 0;
    for (u64 first = 0; first < all; first += block, current ^= 1) {
        u64* x = half[current];
        u64* y = x + block_words;
        const u64 units = units_of(first);
        const auto transform = [&] {
            for (u64 i = 0; i < units; i += u64{1} << s) {
                forward_units(ring_, x + i * unit_words, s, scratch.spare);
                if (b != nullptr) forward_units(ring_, y + i * unit_words, s, scratch.spare);
            }
        };
        Threads::run_parts(2, [&](u64 part) {
            if (part == 0)
                transform();
            else
                read(first + block, half[current ^ 1]);
        });
        // Products may fail their check, and errors must not arise inside a fork.
        for (u64 i = 0; i < units * unit_words; i += unit_words)
            ring_.multiply(scratch.params, x + i, b != nullptr ? y + i : x + i, scratch.spare);
        for (u64 i = 0; i < units; i += u64{1} << s) inverse_units(ring_, x + i * unit_words, s, scratch.spare);
        a.write(first, units, x);
    }
}

ChunkedShape ChunkedShape::choose(u64 product_words, u64 top_bk, u64 s) {
    // Two operands of nA and nB pieces have nA + nB - 1 coefficients, each a sum of at most 2^top_bk products.
    const u64 points = u64{1} << top_bk;
    const u64 piece_words = std::max<u64>(1, (product_words + points - 2) / (points - 1));
    const u64 step = std::max<u64>(1, points / 128);  // the points divide 2M
    return {piece_words, (2 * piece_words + 1 + step - 1) / step * step, top_bk, s};
}

void chunked_product(const ChunkedShape& shape, u64* C, const u64* A, u64 LA, const u64* B, u64 LB,
                     BlockStore& store_a, BlockStore* store_b, const StageScratch& scratch) {
    const FermatRing<u64> ring(shape.ring_words);
    const ftp_t passes(ring, shape.top_bk, true);
    const fpb_t blocks(ring);
    const u64 iterations = u64{1} << (shape.top_bk - shape.s);

    passes.forward_t(OperandPieces(A, LA, shape.piece_words, ring.unit_words()), store_a, shape.s, 0, scratch);
    if (B == nullptr) {
        blocks.me_fsqr(iterations, shape.s, store_a, scratch);
    } else {
        passes.forward_t(OperandPieces(B, LB, shape.piece_words, ring.unit_words()), *store_b, shape.s, 0, scratch);
        blocks.me_fmul(iterations, shape.s, store_a, *store_b, scratch);
    }
    passes.inverse_t(store_a, shape.s, 0, scratch);

    const u64 length = LA + (B == nullptr ? LA : LB);
    std::fill_n(C, length, 0);
    for (u64 i = 0, at = 0; at < length; ++i, at += shape.piece_words) {
        store_a.read(i, 1, scratch.spare);
        const u64 n = std::min(ring.words(), length - at);
        const u32 carry = kernels::add_ir(C + at, scratch.spare, n, 0);
        kernels::add1_ir(C + at + n, length - at - n, carry);
    }
}

}  // namespace kvt::multiply
