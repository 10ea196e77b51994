#pragma once
// "BKT": schoolbook, Karatsuba and, where the machine has it, the vector schoolbook product.

#include "multiply/algorithm.h"

namespace kvt::multiply {

template <class W>
class BasecaseAlgorithm final : public MultiplicationAlgorithm<W> {
  public:
    constexpr BasecaseAlgorithm() : MultiplicationAlgorithm<W>("BKT", "Basecase/Karatsuba", 65'536) {}

    // Products check only what they use of it: nothing below the Karatsuba thresholds.
    u64 scratch_bytes(u64 L, u64 tasks) const override;
    void size_record(MulSizeRecord& record, u64 L, u64 tasks) const override;
    void square(const BasicParameters& params, W* C, const W* A, u64 L) const override;
    void multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) const override;
    void square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 L) const override;
    void multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 LA, const W* B,
                          u64 LB) const override;
    const TransformEngine& engine() const override;
};

}  // namespace kvt::multiply
