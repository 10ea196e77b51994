// Exports of the multiplication dispatcher: large products, their sizes.

#include "frame/export_guard.h"
#include "multiply/dispatch.h"

using namespace kvt;

namespace {

template <class W>
ExceptionWrapper* sqr_p(const BasicParameters* params, W* C, const W* A, u64 L) noexcept {
    return guarded([&] { multiply::sqr_p(*params, C, A, L); });
}

template <class W>
ExceptionWrapper* mul_p(const BasicParameters* params, W* C, const W* A, u64 LA, const W* B, u64 LB) noexcept {
    return guarded([&] { multiply::mul_p(*params, C, A, LA, B, LB); });
}

template <class W>
ExceptionWrapper* mul_Psize(MulSizeRecord* out, u64 L, u64 tasks) noexcept {
    return guarded([&] { multiply::mul_Psize<W>(*out, L, tasks); });
}

template <class W>
ExceptionWrapper* mul_iPsize(u64* bytes_out, u64 L, u64 tasks) noexcept {
    return guarded([&] { multiply::mul_iPsize<W>(*bytes_out, L, tasks); });
}

template <class W>
ExceptionWrapper* sqrp_p(const BasicParameters* params, W* C, u64 first, u64 count, const W* A, u64 L) noexcept {
    return guarded([&] { multiply::sqrp_p(*params, C, first, count, A, L); });
}

template <class W>
ExceptionWrapper* mulp_p(const BasicParameters* params, W* C, u64 first, u64 count, const W* A, u64 LA, const W* B,
                         u64 LB) noexcept {
    return guarded([&] { multiply::mulp_p(*params, C, first, count, A, LA, B, LB); });
}

template <class W>
ExceptionWrapper* mulp_Psize(MulSizeRecord* out, u64 L, u64 tasks) noexcept {
    return guarded([&] { multiply::mulp_Psize<W>(*out, L, tasks); });
}

}  // namespace

extern "C" {

KVNUM_EXPORT ExceptionWrapper* sqr_p_c32(const BasicParameters* params, u32* C, const u32* A, u64 L) noexcept {
    return sqr_p(params, C, A, L);
}
KVNUM_EXPORT ExceptionWrapper* mul_p_c32(const BasicParameters* params, u32* C, const u32* A, u64 LA, const u32* B,
                                         u64 LB) noexcept {
    return mul_p(params, C, A, LA, B, LB);
}
KVNUM_EXPORT ExceptionWrapper* mul_Psize32(MulSizeRecord* out, u64 L, u64 tasks) noexcept {
    return mul_Psize<u32>(out, L, tasks);
}
KVNUM_EXPORT ExceptionWrapper* mul_iPsize_c32(u64* bytes_out, u64 L, u64 tasks) noexcept {
    return mul_iPsize<u32>(bytes_out, L, tasks);
}
KVNUM_EXPORT ExceptionWrapper* sqrp_p_c32(const BasicParameters* params, u32* C, u64 first, u64 count, const u32* A,
                                          u64 L) noexcept {
    return sqrp_p(params, C, first, count, A, L);
}
KVNUM_EXPORT ExceptionWrapper* mulp_p_c32(const BasicParameters* params, u32* C, u64 first, u64 count, const u32* A,
                                          u64 LA, const u32* B, u64 LB) noexcept {
    return mulp_p(params, C, first, count, A, LA, B, LB);
}
KVNUM_EXPORT ExceptionWrapper* mulp_Psize32(MulSizeRecord* out, u64 L, u64 tasks) noexcept {
    return mulp_Psize<u32>(out, L, tasks);
}

KVNUM_EXPORT ExceptionWrapper* sqr_p_c64(const BasicParameters* params, u64* C, const u64* A, u64 L) noexcept {
    return sqr_p(params, C, A, L);
}
KVNUM_EXPORT ExceptionWrapper* mul_p_c64(const BasicParameters* params, u64* C, const u64* A, u64 LA, const u64* B,
                                         u64 LB) noexcept {
    return mul_p(params, C, A, LA, B, LB);
}
KVNUM_EXPORT ExceptionWrapper* mul_Psize64(MulSizeRecord* out, u64 L, u64 tasks) noexcept {
    return mul_Psize<u64>(out, L, tasks);
}
KVNUM_EXPORT ExceptionWrapper* mul_iPsize_c64(u64* bytes_out, u64 L, u64 tasks) noexcept {
    return mul_iPsize<u64>(bytes_out, L, tasks);
}
KVNUM_EXPORT ExceptionWrapper* sqrp_p_c64(const BasicParameters* params, u64* C, u64 first, u64 count, const u64* A,
                                          u64 L) noexcept {
    return sqrp_p(params, C, first, count, A, L);
}
KVNUM_EXPORT ExceptionWrapper* mulp_p_c64(const BasicParameters* params, u64* C, u64 first, u64 count, const u64* A,
                                          u64 LA, const u64* B, u64 LB) noexcept {
    return mulp_p(params, C, first, count, A, LA, B, LB);
}
KVNUM_EXPORT ExceptionWrapper* mulp_Psize64(MulSizeRecord* out, u64 L, u64 tasks) noexcept {
    return mulp_Psize<u64>(out, L, tasks);
}
}  // extern "C"
