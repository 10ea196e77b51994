#pragma once
// A multiplication algorithm over a transform engine. Before the first write it checks the table, then the scratch;
// then it picks the cheapest of the ways that give the same words: a direct product, blocks of the longer operand
// against one transform of the shorter one, a product folded over a transform that is too short, halves, or one
// transform.

#include "multiply/algorithm.h"
#include "multiply/engine.h"

namespace kvt::multiply {

using EngineSource = const TransformEngine& (*)() noexcept;

// One rung of the transforms, ordered by reach.
struct EngineRung {
    const char* location;  // that its errors name
    EngineSource source;
    u64 block_bits;             // blocks of up to this many bits are best formed by it
    u64 base_cost, level_cost;  // of a product, in picoseconds for 8 bytes of operand: base + level * log2(points)
    u64 scalar_percent, avx2_percent;           // of that cost, at the lower levels
    const EngineRung* shorter;                  // the next lower rung, or null
    u64 direct_bits = 0, ifma_direct_bits = 0;  // up to so many a direct product wins: on every machine, with IFMA
    // Of that cost, where the points are not a power of two: with AVX-512, and at the lower levels.
    u64 odd_percent = 100, avx2_odd_percent = 100;
};

// The lowest rung from `longest` down that best forms products of so many bits.
inline const EngineRung& rung_for(const EngineRung& longest, u64 bits) noexcept {
    const EngineRung* rung = &longest;
    while (rung->shorter != nullptr && bits <= rung->shorter->block_bits) rung = rung->shorter;
    return *rung;
}

template <class W>
class EngineAlgorithm final : public MultiplicationAlgorithm<W> {
  public:
    constexpr EngineAlgorithm(const char* short_name, const char* display_name, u64 max_bits, const EngineRung& rung)
        : MultiplicationAlgorithm<W>(short_name, display_name, max_bits), rung_(rung) {}

    u64 scratch_bytes(u64 L, u64 tasks) const override;
    void size_record(MulSizeRecord& record, u64 L, u64 tasks) const override;
    void square(const BasicParameters& params, W* C, const W* A, u64 L) const override;
    void multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) const override;
    void square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 L) const override;
    void multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 LA, const W* B,
                          u64 LB) const override;
    const TransformEngine& engine() const override { return rung_.source(); }

  private:
    const EngineRung& rung_;
};

}  // namespace kvt::multiply
