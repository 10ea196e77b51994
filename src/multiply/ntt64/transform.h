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

    // Each works modulo prime i (0, 1, 2) on arrays of shape.points() points.
    void forward(unsigned i, Operand a, Point* x) noexcept;            // x = transform of a
    void multiply(unsigned i, Point* x, const Point* y) noexcept;      // x = x * y, pointwise; null y squares
    void inverse(unsigned i, Point* x) noexcept;                       // back, up to a scale
    void product(unsigned i, Point* x, Operand b, Point* y) noexcept;  // x * transform of b, and back; y is work

    // Joins the three arrays, which inverse() or product() left; the product's words replace those of x[0]. Reduces
    // modulo 2^bits - 1.
    void join(Point* const x[3]) noexcept;

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

    u64 groups(const Stage& stage) const {
        return stage.columns / (stage.columns < group_points ? stage.columns : group_points);
    }
    bool has_root_stage() const { return root_.radix > 1 || root_.levels > 0; }
    u8* part(u64 i) const { return parts_ + i * layout_.part_bytes(); }

    template <class Body>
    void parallel(u64 items, const Body& body) const;

    const Shape shape_;
    const WorkLayout layout_;
    const Kernels& kernels_;
    const Roots& roots_;
    u64 tasks_;
    Stage root_;
    u8* parts_;
    const PrimeRoots* prime_ = nullptr;
    Modulus modulus_{};
    RadixConstants radix_there_{}, radix_back_{};
};

}  // namespace kvt::multiply::ntt64
