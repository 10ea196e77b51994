#pragma once
// Products whose transforms do not fit in scratch. The points of a transform over a Fermat ring are units of a store,
// and three stages pass over it:
//   forward_t   the upper levels, over columns: a few units of every row at a time
//   me_fmul     what is left falls into independent iterations of 2^s consecutive units, done in memory: the lower
//               levels, the pointwise products, and the lower levels back
//   inverse_t   the upper levels back
// See docs/chunked-products.md.

#include "multiply/block_store.h"
#include "multiply/fermat_ring.h"

namespace kvt::multiply {

// Scratch of a stage: `words` for units, the parameters' memory for ring operations and their products.
struct StageScratch {
    u64* units;
    u64 units_bytes;
    u64* spare;              // FermatRing::spare_words()
    BasicParameters params;  // for ring products
};

// The transform's passes over a store of 2^top_bk units.
class ftp_t {
  public:
    ftp_t(const FermatRing<u64>& ring, u64 top_bk, bool cyclic) : ring_(ring), top_bk_(top_bk), cyclic_(cyclic) {}

    // Levels top_bk .. bk + 1 of in, to out, which falls into blocks of 2^bk units. Unit i is first multiplied by
    // 2^(s i): 0 for cyclic convolutions, M / 2^top_bk for negacyclic ones.
    void forward_t(const BlockSource& in, BlockStore& out, u64 bk, u64 s, const StageScratch& scratch) const;

    // Undoes all of that and the factor 2^top_bk which the whole transform has gathered.
    void inverse_t(BlockStore& data, u64 bk, u64 s, const StageScratch& scratch) const;

  private:
    template <class Transform>
    void columns(const BlockSource& in, BlockStore& out, u64 bk, const StageScratch& scratch,
                 Transform&& transform) const;

    const FermatRing<u64>& ring_;
    u64 top_bk_;
    bool cyclic_;
};

// The middle stage.
class fpb_t {
  public:
    explicit fpb_t(const FermatRing<u64>& ring) : ring_(ring) {}

    // a := a * b, or a * a, point by point of `it` iterations of 2^s units: in rounds of blocks, the next of which is
    // read while the current one is transformed.
    void me_fmul(u64 it, u64 s, BlockStore& a, const BlockSource& b, const StageScratch& scratch) const;
    void me_fsqr(u64 it, u64 s, BlockStore& a, const StageScratch& scratch) const;

    // Units of a block for it iterations of 2^s units of u bytes in S bytes of scratch: a power of two of iterations;
    // 0 when that overflows.
    static u64 block_units(u64 it, u64 u, u64 s, u64 S);

    // Columns of `rows` units that fit S bytes, and the bytes of `buffers` blocks; too small a scratch ends the
    // process.
    static u64 get_buffer_k(u64 rows, u64 unit_bytes, u64 S);
    static u64 get_buffer_L(u64 buffers, u64 block_bytes, u64 S);

  private:
    void middle(u64 it, u64 s, u64 block, BlockStore& a, const BlockSource* b, const StageScratch& scratch) const;

    const FermatRing<u64>& ring_;
};

// C[0..LA+LB) = A * B through the three stages; B null squares A.
struct ChunkedShape {
    u64 piece_words, ring_words, top_bk, s;

    // 2^top_bk points, 2^s of them an iteration.
    static ChunkedShape choose(u64 product_words, u64 top_bk, u64 s);
    u64 store_words() const { return (ring_words + 1) << top_bk; }
};
void chunked_product(const ChunkedShape& shape, u64* C, const u64* A, u64 LA, const u64* B, u64 LB,
                     BlockStore& store_a, BlockStore* store_b, const StageScratch& scratch);

}  // namespace kvt::multiply
