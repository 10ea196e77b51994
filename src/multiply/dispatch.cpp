#include "multiply/dispatch.h"

#include <algorithm>

#include "multiply/thresholds.h"

namespace kvt::multiply {
namespace {

constexpr u64 saturating_sum(u64 a, u64 b) { return a + b < a ? ~u64{0} : a + b; }

}  // namespace

template <class W>
void sqr_p(const BasicParameters& params, W* C, const W* A, u64 L) {
    if (L == 0) return;
    threshold_table<W>().select(saturating_sum(L, L)).square(params, C, A, L);
}

template <class W>
void mul_p(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) {
    const auto& algorithm = threshold_table<W>().select(saturating_sum(LA, LB));
    if (LA == 0 || LB == 0) [[unlikely]]
        std::fill_n(C, LA + LB, W{0});
    else if (A == B && LA == LB)
        algorithm.square(params, C, A, LA);
    else
        algorithm.multiply(params, C, A, LA, B, LB);
}

template <class W>
void mul_Psize(MulSizeRecord& record, u64 L, u64 tasks) {
    threshold_table<W>().select(L).size_record(record, L, tasks);
}

template <class W>
void mul_iPsize(u64& bytes, u64 L, u64 tasks) {
    bytes = 0;
    u64 most = 0;
    for (const ThresholdEntry<W>& entry : threshold_table<W>()) {
        most = std::max(most, entry.algorithm->scratch_bytes(std::min(L, entry.limit), tasks));
        if (entry.limit >= L) {
            bytes = most;
            return;
        }
    }
    raise_no_algorithm();
}

template <class W>
void mulp_p(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 LA, const W* B, u64 LB) {
    const u64 end = saturating_sum(first, count);
    const u64 length_a = std::min(LA, end), length_b = std::min(LB, end);
    const u64 product = saturating_sum(length_a, length_b);
    const auto& algorithm = threshold_table<W>().select(product);
    const bool nothing = length_a == 0 || length_b == 0 || first >= product;
    const u64 formed = nothing ? 0 : std::min(count, product - first);
    if (formed > 0) {
        if (A == B && length_a == length_b)
            algorithm.square_partial(params, C, first, formed, A, length_a);
        else
            algorithm.multiply_partial(params, C, first, formed, A, length_a, B, length_b);
    }
    std::fill_n(C + formed, count - formed, W{0});
}

template <class W>
void sqrp_p(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 L) {
    mulp_p(params, C, first, count, A, L, A, L);
}

template <class W>
void mulp_Psize(MulSizeRecord& record, u64 L, u64 tasks) {
    mul_Psize<W>(record, L, tasks);
}

template void sqr_p(const BasicParameters&, u32*, const u32*, u64);
template void mul_p(const BasicParameters&, u32*, const u32*, u64, const u32*, u64);
template void mul_Psize<u32>(MulSizeRecord&, u64, u64);
template void mul_iPsize<u32>(u64&, u64, u64);
template void sqrp_p(const BasicParameters&, u32*, u64, u64, const u32*, u64);
template void mulp_p(const BasicParameters&, u32*, u64, u64, const u32*, u64, const u32*, u64);
template void mulp_Psize<u32>(MulSizeRecord&, u64, u64);

template void sqr_p(const BasicParameters&, u64*, const u64*, u64);
template void mul_p(const BasicParameters&, u64*, const u64*, u64, const u64*, u64);
template void mul_Psize<u64>(MulSizeRecord&, u64, u64);
template void mul_iPsize<u64>(u64&, u64, u64);
template void sqrp_p(const BasicParameters&, u64*, u64, u64, const u64*, u64);
template void mulp_p(const BasicParameters&, u64*, u64, u64, const u64*, u64, const u64*, u64);
template void mulp_Psize<u64>(MulSizeRecord&, u64, u64);

}  // namespace kvt::multiply
