#pragma once
// A multiplication algorithm over a transform engine.

#include "multiply/algorithm.h"
#include "multiply/engine.h"

namespace kvt::multiply {

// Finds the engine; null while it is not built: every operation then raises the error of a missing algorithm.
using EngineSource = const TransformEngine& (*)() noexcept;

template <class W>
class EngineAlgorithm final : public MultiplicationAlgorithm<W> {
  public:
    constexpr EngineAlgorithm(const char* short_name, const char* display_name, u64 max_bits, EngineSource source)
        : MultiplicationAlgorithm<W>(short_name, display_name, max_bits), source_(source) {}

    u64 scratch_bytes(u64 L, u64 tasks) const override;
    void size_record(MulSizeRecord& record, u64 L, u64 tasks) const override;
    void square(const BasicParameters& params, W* C, const W* A, u64 L) const override;
    void multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) const override;
    void square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 L) const override;
    void multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 LA, const W* B,
                          u64 LB) const override;

  private:
    const TransformEngine& engine() const;

    EngineSource source_;
};

}  // namespace kvt::multiply
