#include "multiply/basecase_algorithm.h"

#include <algorithm>
#include <cstring>

#include "frame/exceptions.h"
#include "kernels/direct.h"
#include "kernels/karatsuba.h"
#include "multiply/engine.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

constexpr const char* location = "BKT::multiply()";

void require_scratch(const BasicParameters& params, u64 bytes) {
    if (params.memory_bytes < bytes) raise_scratch_too_small(location, params.memory_bytes, bytes);
}

// For windows: forms the whole product with form(C, scratch), its words in the scratch memory, and copies a part.
template <class W, class Form>
void form_window(const BasicParameters& params, u64 length, u64 direct_bytes, W* C, u64 first, u64 count,
                 Form&& form) {
    W* whole = static_cast<W*>(aligned(params.memory, alignof(W)));
    const auto padding = static_cast<u64>(reinterpret_cast<u8*>(whole) - static_cast<u8*>(params.memory));
    require_scratch(params, padding + length * sizeof(W) + direct_bytes);
    form(whole, whole + length);
    std::memcpy(C, whole + first, count * sizeof(W));
}

// Apart, so that the shortest products save no registers for it.
template <class W>
[[gnu::noinline]] void multiply_rows(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) {
    require_scratch(params, kernels::direct_multiply_scratch_bytes<W>(LA, LB));
    kernels::direct_multiply(C, A, LA, B, LB, params.memory);
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
    require_scratch(params, kernels::direct_square_scratch_bytes<W>(L));
    kernels::direct_square(C, A, L, params.memory);
}

template <class W>
void BasecaseAlgorithm<W>::multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B,
                                    u64 LB) const {
    // One or two rows: at every level schoolbook products, which need no scratch.
    if (std::min(LA, LB) <= 2) return kernels::mulB(C, A, LA, B, LB);
    multiply_rows(params, C, A, LA, B, LB);
}

template <class W>
void BasecaseAlgorithm<W>::square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                          u64 L) const {
    if (count == 2 * L && disjoint<W>(C, count, A, L)) return square(params, C, A, L);
    form_window(params, 2 * L, kernels::direct_square_scratch_bytes<W>(L), C, first, count,
                [&](W* whole, void* scratch) { kernels::direct_square(whole, A, L, scratch); });
}

template <class W>
void BasecaseAlgorithm<W>::multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                            u64 LA, const W* B, u64 LB) const {
    if (count == LA + LB && disjoint<W>(C, count, A, LA) && disjoint<W>(C, count, B, LB))
        return multiply(params, C, A, LA, B, LB);
    form_window(params, LA + LB, kernels::direct_multiply_scratch_bytes<W>(LA, LB), C, first, count,
                [&](W* whole, void* scratch) { kernels::direct_multiply(whole, A, LA, B, LB, scratch); });
}

template <class W>
const TransformEngine& BasecaseAlgorithm<W>::engine() const {
    return direct_engine();
}

template class BasecaseAlgorithm<u32>;
template class BasecaseAlgorithm<u64>;

}  // namespace kvt::multiply
