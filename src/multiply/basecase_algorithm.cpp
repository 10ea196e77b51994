#include "multiply/basecase_algorithm.h"

#include <cstring>
#include <utility>

#include "frame/exceptions.h"
#include "kernels/karatsuba.h"
#include "multiply/engine.h"

namespace kvt::multiply {
namespace {

constexpr const char* location = "BKT";

// Carves the scratch memory of one call; words start at the first address that suits W.
template <class W>
class Scratch {
  public:
    Scratch(const BasicParameters& params, u64 words) {
        if (words == 0) return;
        const auto address = reinterpret_cast<std::uintptr_t>(params.memory);
        const u64 padding = (0 - address) % alignof(W);
        const u64 required = words * sizeof(W) + padding;
        if (params.memory_bytes < required) raise_scratch_too_small(location, params.memory_bytes, required);
        at_ = reinterpret_cast<W*>(address + padding);
    }
    W* take(u64 words) { return std::exchange(at_, at_ + words); }

  private:
    W* at_ = nullptr;
};

template <class W>
bool overlap(const W* A, u64 LA, const W* B, u64 LB) {
    return A < B + LB && B < A + LA;
}

}  // namespace

template <class W>
u64 BasecaseAlgorithm<W>::scratch_bytes(u64 L, u64) const {
    return kernels::karatsuba_entry_bytes<W>(L);
}

template <class W>
void BasecaseAlgorithm<W>::size_record(MulSizeRecord& record, u64 L, u64 tasks) const {
    record = length_record<W>(L, scratch_bytes(L, tasks));
}

template <class W>
void BasecaseAlgorithm<W>::square(const BasicParameters& params, W* C, const W* A, u64 L) const {
    Scratch<W> scratch(params, kernels::sqrK_scratch_words<W>(L));
    kernels::sqrK(C, A, L, scratch.take(0));
}

template <class W>
void BasecaseAlgorithm<W>::multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B,
                                    u64 LB) const {
    Scratch<W> scratch(params, kernels::mulK_scratch_words<W>(LA, LB));
    kernels::mulK(C, A, LA, B, LB, scratch.take(0));
}

template <class W>
void BasecaseAlgorithm<W>::square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                          u64 L) const {
    if (count == 2 * L && !overlap<W>(C, count, A, L)) return square(params, C, A, L);
    Scratch<W> scratch(params, 2 * L + kernels::sqrK_scratch_words<W>(L));
    W* whole = scratch.take(2 * L);
    kernels::sqrK(whole, A, L, scratch.take(0));
    std::memcpy(C, whole + first, count * sizeof(W));
}

template <class W>
void BasecaseAlgorithm<W>::multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                            u64 LA, const W* B, u64 LB) const {
    if (count == LA + LB && !overlap<W>(C, count, A, LA) && !overlap<W>(C, count, B, LB))
        return multiply(params, C, A, LA, B, LB);
    Scratch<W> scratch(params, LA + LB + kernels::mulK_scratch_words<W>(LA, LB));
    W* whole = scratch.take(LA + LB);
    kernels::mulK(whole, A, LA, B, LB, scratch.take(0));
    std::memcpy(C, whole + first, count * sizeof(W));
}

template <class W>
const TransformEngine& BasecaseAlgorithm<W>::engine() const {
    return direct_engine();
}

template class BasecaseAlgorithm<u32>;
template class BasecaseAlgorithm<u64>;

}  // namespace kvt::multiply
