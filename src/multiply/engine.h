#pragma once
// The one interface behind every large product: convolution of word arrays by a transform. Implemented by the
// floating-point FFT (multiply/fft), the number-theoretic transforms (multiply/ntt32, multiply/ntt64) and, as an
// identity transform, by the direct products (multiply/direct_engine.*).
//
// Engines see arrays as little-endian bytes and count them in 32-bit words, so both word widths share them. They
// check nothing that a caller could get wrong: table, scratch and lengths are checked by the layer above
// (multiply/engine_algorithm.*, multiply/transform_helper.*). They fork only on the current framework and never
// throw inside a fork: a failed check is recorded in the step's status and raised after the join.

#include "frame/parameters.h"
#include "frame/types.h"

namespace kvt::multiply {

// A read-only operand: n 32-bit words, any alignment.
struct Operand {
    const u8* bytes;
    u64 n;
};

// Where a result goes: its 32-bit words [first, first + count), any alignment. May overlap the operands of the same
// call: they are consumed before the first store. Words beyond the product are zero.
struct Window {
    u8* bytes;
    u64 first;
    u64 count;
};

// What a transform of one length needs; a plain value that lives on the caller's stack.
struct TransformPlan {
    u64 min_bits = 0;       // asked for
    u64 capacity_bits = 0;  // products up to this many bits come out whole
    u64 wrap_bits = 0;      // longer ones come out modulo 2^wrap_bits - wrap_sign
    int wrap_sign = 1;      // +1 cyclic (N32, N64), -1 negacyclic (FFT), 0 truncated (direct)
    u64 alignment = 1;      // of operand and work buffers; an engine that wants more has the slack in work_bytes
    u64 table_bits = 0;     // the twiddle table must cover this

    // Scratch; none of the four depends on the machine. They may decrease as min_bits grows: see most_kept_bytes().
    u64 operand_bytes = 0;  // one transformed operand
    u64 work_bytes = 0;     // forward(), multiply(), inverse() beyond the operands
    u64 product_bytes = 0;  // product() beyond operand a; at most operand_bytes + work_bytes
    u64 task_bytes = 0;     // to be added to work_bytes and to product_bytes once for every task (at least one)

    u64 row = 0;  // the engine's own: row of its length table, code, ...
    u64 points = 0;
};

// Residue of a word array modulo M = 2^61 - 1, kept reduced; the engines carry it through the self-check
// A mod M * B mod M = C mod M of every product that is not wrapped.
struct Residue {
    u64 value = 0;
};

class TransformEngine {
  public:
    // Smallest transform that forms every product of min_bits bits without wrapping. Depends on nothing but min_bits.
    // A generic error when no length is large enough.
    virtual TransformPlan plan(u64 min_bits) const = 0;

    // The transform with a 2^halvings-th of a plan's points, and of its wrap_bits; capacity_bits is 0 where there is none.
    virtual TransformPlan plan_part(const TransformPlan& plan, u64 halvings) const;

    // The most scratch that plan() asks for at any length up to min_bits: two kept operands and the working bytes of so
    // many tasks, fewer where a length has no use for them.
    virtual u64 most_kept_bytes(u64 min_bits, u64 tasks) const;

    // Cuts a into points and transforms it into operand. a must fit in wrap_bits.
    // operand [plan.operand_bytes], work [plan.work_bytes + tasks * plan.task_bytes], any alignment. Returns a's
    // residue. tasks is at least 1.
    virtual Residue forward(const TransformPlan& plan, const GlobalTwiddleTable& table, Operand a, void* operand,
                            void* work, u64 tasks) const = 0;

    // Pointwise product, in place in a. a == b squares.
    virtual void multiply(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, const void* b,
                          void* work, u64 tasks) const = 0;

    // Transforms back, rounds or joins the residues, carries, and keeps the window's words; operand is destroyed.
    // expected: the product's residue when it is not wrapped and is to be checked, else null.
    virtual void inverse(const TransformPlan& plan, const GlobalTwiddleTable& table, void* operand, Window out,
                         const Residue* expected, void* work, u64 tasks) const = 0;

    // One-shot product: multiplies the transformed operand a (destroyed) by b, transformed block by block, and
    // transforms back while in cache. b.bytes == null squares. Same words as forward, multiply, inverse.
    // a_residue: as forward() returned it; checked against the result unless the product wraps (check = false).
    virtual void product(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, Residue a_residue,
                         Operand b, Window out, bool check, void* work, u64 tasks) const = 0;

    // The same, but a is kept; b is transformed in operand, or the square formed there. Scratch as of forward(). For
    // squares both areas must lie as far from a 64-byte boundary.
    virtual void product_keeping(const TransformPlan& plan, const GlobalTwiddleTable& table, const void* a,
                                 Residue a_residue, Operand b, void* operand, Window out, bool check, void* work,
                                 u64 tasks) const;

  protected:
    ~TransformEngine() = default;
};

const TransformEngine& fft_engine() noexcept;
const TransformEngine& ntt32_engine() noexcept;
const TransformEngine& ntt64_engine() noexcept;

// The same transforms modulo 2^wrap_bits + 1 (wrap_sign -1), for operands up to the whole wrap_bits. Windows must
// start at word 0 and be longer than wrap_bits: the word after them is 1 where the result is 2^wrap_bits.
const TransformEngine& ntt32_negacyclic_engine() noexcept;
const TransformEngine& direct_engine() noexcept;

}  // namespace kvt::multiply
