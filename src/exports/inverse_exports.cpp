// Exports of the inverse operations: reciprocal, division, inverse square root, powers and their sizes.

#include "frame/export_guard.h"
#include "inverse/inverse_sqrt.h"
#include "inverse/power.h"
#include "inverse/reciprocal.h"
#include "inverse/sizes.h"

using namespace kvt;
using kvt::objects::BigFloat;

namespace {

// An explicit sink wins over the calling thread's.
const ProgressSink* or_current(const ProgressSink* sink) noexcept {
    return sink != nullptr ? sink : current_progress_sink();
}

template <class W>
ExceptionWrapper* rcp(const BasicParameters* params, BigFloat<W>* out, const BigFloat<W>* x, u64 p, W* scratch,
                      u64 scratch_words, const ProgressSink* sink) noexcept {
    return guarded([&] { inverse::reciprocal<W>(*params, *out, *x, p, {scratch, scratch_words}, or_current(sink)); });
}

template <class W>
ExceptionWrapper* div(const BasicParameters* params, BigFloat<W>* out, const BigFloat<W>* a, const BigFloat<W>* b,
                      u64 p, W* scratch, u64 scratch_words, const ProgressSink* sink) noexcept {
    return guarded([&] { inverse::divide<W>(*params, *out, *a, *b, p, {scratch, scratch_words}, or_current(sink)); });
}

template <class W>
ExceptionWrapper* invsqrt(const BasicParameters* params, BigFloat<W>* out, W x, u64 p, W* scratch, u64 scratch_words,
                          const ProgressSink* sink) noexcept {
    return guarded([&] {
        inverse::inverse_sqrt<W>(*params, *out, x, p, {scratch, scratch_words}, or_current(sink));
    });
}

template <class W>
ExceptionWrapper* pow_unsigned(const BasicParameters* params, BigFloat<W>* out, W x, u64 n, u64 p,
                               const ProgressSink* sink) noexcept {
    return guarded([&] { inverse::power<W>(*params, *out, x, n, p, or_current(sink)); });
}

template <class W>
ExceptionWrapper* pow_signed(const BasicParameters* params, BigFloat<W>* out, W x, i64 n, u64 p, W* scratch,
                             u64 scratch_words, const ProgressSink* sink) noexcept {
    return guarded([&] {
        inverse::power_signed<W>(*params, *out, x, n, p, {scratch, scratch_words}, or_current(sink));
    });
}

// Answers a size query; scratch_words is null where the operation takes none.
template <class Query>
ExceptionWrapper* answer(u64* out_words, u64* scratch_words, u64* transform_bytes, Query query) noexcept {
    return guarded([&] {
        const inverse::Sizes sizes = query();
        *out_words = sizes.out_words;
        if (scratch_words != nullptr) *scratch_words = sizes.scratch_words;
        *transform_bytes = sizes.transform_bytes;
    });
}

}  // namespace

extern "C" {

KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_rcp(const BasicParameters* params, BigFloat<u32>* out,
                                                 const BigFloat<u32>* x, u64 p, u32* scratch, u64 scratch_words,
                                                 const ProgressSink* sink) noexcept {
    return rcp(params, out, x, p, scratch, scratch_words, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_rcp(const BasicParameters* params, BigFloat<u64>* out,
                                                 const BigFloat<u64>* x, u64 p, u64* scratch, u64 scratch_words,
                                                 const ProgressSink* sink) noexcept {
    return rcp(params, out, x, p, scratch, scratch_words, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_rcp_sizes(u64* out_words, u64* scratch_words, u64* transform_bytes,
                                                       u64 p, u64 tasks) noexcept {
    return answer(out_words, scratch_words, transform_bytes,
                  [&] { return inverse::reciprocal_sizes<u32>(p, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_rcp_sizes(u64* out_words, u64* scratch_words, u64* transform_bytes,
                                                       u64 p, u64 tasks) noexcept {
    return answer(out_words, scratch_words, transform_bytes,
                  [&] { return inverse::reciprocal_sizes<u64>(p, tasks); });
}

KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_div(const BasicParameters* params, BigFloat<u32>* out,
                                                 const BigFloat<u32>* a, const BigFloat<u32>* b, u64 p, u32* scratch,
                                                 u64 scratch_words, const ProgressSink* sink) noexcept {
    return div(params, out, a, b, p, scratch, scratch_words, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_div(const BasicParameters* params, BigFloat<u64>* out,
                                                 const BigFloat<u64>* a, const BigFloat<u64>* b, u64 p, u64* scratch,
                                                 u64 scratch_words, const ProgressSink* sink) noexcept {
    return div(params, out, a, b, p, scratch, scratch_words, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_div_sizes(u64* out_words, u64* scratch_words, u64* transform_bytes,
                                                       u64 p, u64 tasks) noexcept {
    return answer(out_words, scratch_words, transform_bytes, [&] { return inverse::division_sizes<u32>(p, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_div_sizes(u64* out_words, u64* scratch_words, u64* transform_bytes,
                                                       u64 p, u64 tasks) noexcept {
    return answer(out_words, scratch_words, transform_bytes, [&] { return inverse::division_sizes<u64>(p, tasks); });
}

KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_invsqrt_uW(const BasicParameters* params, BigFloat<u32>* out, u32 x,
                                                        u64 p, u32* scratch, u64 scratch_words,
                                                        const ProgressSink* sink) noexcept {
    return invsqrt(params, out, x, p, scratch, scratch_words, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_invsqrt_uW(const BasicParameters* params, BigFloat<u64>* out, u64 x,
                                                        u64 p, u64* scratch, u64 scratch_words,
                                                        const ProgressSink* sink) noexcept {
    return invsqrt(params, out, x, p, scratch, scratch_words, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_invsqrt_uW_sizes(u64* out_words, u64* scratch_words,
                                                              u64* transform_bytes, u64 p, u64 tasks) noexcept {
    return answer(out_words, scratch_words, transform_bytes,
                  [&] { return inverse::inverse_sqrt_sizes<u32>(p, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_invsqrt_uW_sizes(u64* out_words, u64* scratch_words,
                                                              u64* transform_bytes, u64 p, u64 tasks) noexcept {
    return answer(out_words, scratch_words, transform_bytes,
                  [&] { return inverse::inverse_sqrt_sizes<u64>(p, tasks); });
}

KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_pow_uW_uL(const BasicParameters* params, BigFloat<u32>* out, u32 x,
                                                       u64 n, u64 p, const ProgressSink* sink) noexcept {
    return pow_unsigned(params, out, x, n, p, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_pow_uW_uL(const BasicParameters* params, BigFloat<u64>* out, u64 x,
                                                       u64 n, u64 p, const ProgressSink* sink) noexcept {
    return pow_unsigned(params, out, x, n, p, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_pow_uW_uL_sizes(u64* out_words, u64* transform_bytes, u64 p,
                                                             u64 tasks) noexcept {
    return answer(out_words, nullptr, transform_bytes, [&] { return inverse::power_sizes<u32>(p, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_pow_uW_uL_sizes(u64* out_words, u64* transform_bytes, u64 p,
                                                             u64 tasks) noexcept {
    return answer(out_words, nullptr, transform_bytes, [&] { return inverse::power_sizes<u64>(p, tasks); });
}

KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_pow_uW_sL(const BasicParameters* params, BigFloat<u32>* out, u32 x,
                                                       i64 n, u64 p, u32* scratch, u64 scratch_words,
                                                       const ProgressSink* sink) noexcept {
    return pow_signed(params, out, x, n, p, scratch, scratch_words, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_pow_uW_sL(const BasicParameters* params, BigFloat<u64>* out, u64 x,
                                                       i64 n, u64 p, u64* scratch, u64 scratch_words,
                                                       const ProgressSink* sink) noexcept {
    return pow_signed(params, out, x, n, p, scratch, scratch_words, sink);
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c32_pow_uW_sL_sizes(u64* out_words, u64* scratch_words, u64* transform_bytes,
                                                             u64 p, u64 tasks) noexcept {
    return answer(out_words, scratch_words, transform_bytes,
                  [&] { return inverse::power_signed_sizes<u32>(p, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloatR_c64_pow_uW_sL_sizes(u64* out_words, u64* scratch_words, u64* transform_bytes,
                                                             u64 p, u64 tasks) noexcept {
    return answer(out_words, scratch_words, transform_bytes,
                  [&] { return inverse::power_signed_sizes<u64>(p, tasks); });
}

}  // extern "C"
