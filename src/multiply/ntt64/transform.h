#pragma once
// One transform modulo the primes of a set: cutting, the stages there and back, the joining of the residues.

#include "multiply/engine.h"
#include "multiply/ntt64/kernel_table.h"
#include "multiply/ntt64/ntt64_roots.h"
#include "multiply/ntt64/primes.h"
#include "multiply/ntt64/shape.h"

namespace kvt::multiply::ntt64 {

class Transform {
  public:
    // work: from its first 64-byte boundary on, work_layout(shape)'s shared bytes, then a part for each of
    // min(tasks, part_limit) tasks.
    Transform(const Shape& shape, const GlobalTwiddleTable& table, void* work, u64 tasks) noexcept;

    unsigned primes() const { return prime_sets[shape_.set].count; }

    // Each works modulo prime i on arrays of shape.points() points.
    void forward(unsigned i, Operand a, Point* x) noexcept;            // x = transform of a
    void multiply(unsigned i, Point* x, const Point* y) noexcept;      // x = x * y, pointwise; null y squares
    void inverse(unsigned i, Point* x) noexcept;                       // back, up to a scale
    void product(unsigned i, Point* x, Operand b, Point* y) noexcept;  // x * transform of b, and back; y is work

    // Joins the arrays, one after the other at x, that inverse() or product() left: x then holds the words of the
    // product modulo 2^bits - 1 in some order of its own.
    void join(Point* x) const noexcept;
    // The joined words first .. first + count, in pieces: store(index of the piece's first word, bytes, words).
    template <class Store>
    void joined(const Point* x, u64 first, u64 count, const Store& store) const;
    // Of the joined number, modulo 2^61 - 1.
    Residue joined_residue(const Point* x) const noexcept;

    // Modulo 2^61 - 1.
    Residue residue(Operand a) const noexcept;

  private:
    enum class Step { forward, multiply, inverse, product };
    struct Node {
        unsigned k;  // x^M - z^k, z of order radix, split `depth` times: node number q
        unsigned depth;
        u64 q;
        unsigned exponent;  // 2^exponent points
    };
    struct Stage {
        unsigned radix, levels;
        u64 columns;  // a row's points
        Twiddle *there, *back;
    };

    void build_twiddles(Twiddle* out, const Node& node, unsigned levels, bool back) const noexcept;
    void build_root_stage(bool there, bool back) noexcept;
    void columns_forward(const Stage& stage, const Operand* source, Point* x, u64 first, u64 last,
                         u8* part) const noexcept;
    void columns_inverse(const Stage& stage, Point* x, u64 first, u64 last, u8* part) const noexcept;
    void cut(Point* out, Operand a, u64 first, u64 count) const noexcept;
    void run_node(Step step, const Node& node, Point* x, Point* y, u8* part, unsigned nesting) const noexcept;
    void run_block(Step step, const Node& node, Point* x, Point* y, u8* part) const noexcept;
    void run_nodes(Step step, Point* x, Point* y) const noexcept;
    void run_root_forward(Operand a, Point* x) const noexcept;
    void run_root_inverse(Point* x) const noexcept;
    void select(unsigned i) noexcept;
    // Where word i is put by join().
    u64 place(u64 i) const { return narrow_ ? (i >> 3 & 1) * shape_.points() + (i >> 4 << 3) + (i & 7) : i; }

    u64 groups(const Stage& stage) const {
        return stage.columns / group_of(u64{stage.radix} << stage.levels, stage.columns);
    }
    bool has_root_stage() const { return root_.radix > 1 || root_.levels > 0; }
    u8* part(u64 i) const { return parts_ + i * layout_.part_bytes(); }

    template <class Body>
    void parallel(u64 items, const Body& body) const;

    const Shape shape_;
    const WorkLayout layout_;
    const bool narrow_;
    const Kernels& kernels_;
    const Roots& roots_;
    u64 tasks_;
    Stage root_;
    u8* parts_;
    const PrimeRoots* prime_ = nullptr;
    Modulus modulus_{};
    RadixConstants radix_there_{}, radix_back_{};
};

template <class Store>
void Transform::joined(const Point* x, u64 first, u64 count, const Store& store) const {
    for (u64 i = first, end = first + count; i < end;) {
        const u64 n = narrow_ ? (8 - i % 8 < end - i ? 8 - i % 8 : end - i) : end - i;
        store(i, reinterpret_cast<const u8*>(x + place(i)), n);
        i += n;
    }
}

}  // namespace kvt::multiply::ntt64
