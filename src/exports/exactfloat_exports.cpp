// Exports of ExactFloat.

#include "frame/export_guard.h"
#include "objects/exact_float.h"

using namespace kvt;
using objects::ExactFloat;

extern "C" {

KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_AddTo(ExactFloat<u32>* x, const ExactFloat<u32>* y) noexcept {
    return guarded([&] { objects::add_to(*x, *y); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_SubTo(ExactFloat<u32>* x, const ExactFloat<u32>* y) noexcept {
    return guarded([&] { objects::sub_to(*x, *y); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_set_add(ExactFloat<u32>* out, const ExactFloat<u32>* A,
                                                      const ExactFloat<u32>* B) noexcept {
    return guarded([&] { objects::set_add(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_set_sub(ExactFloat<u32>* out, const ExactFloat<u32>* A,
                                                      const ExactFloat<u32>* B) noexcept {
    return guarded([&] { objects::set_sub(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_mp2(ExactFloat<u32>* x, i64 k) noexcept {
    return guarded([&] { objects::mp2(*x, k); });
}
KVNUM_EXPORT void ExactFloat_c32_strip_tzs_all(ExactFloat<u32>* x) noexcept { return objects::strip_tzs_all(*x); }
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_set_sqr(ExactFloat<u32>* out, const BasicParameters* params,
                                                      const ExactFloat<u32>* A) noexcept {
    return guarded([&] { objects::set_sqr(*out, *params, *A); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_set_mul(ExactFloat<u32>* out, const BasicParameters* params,
                                                      const ExactFloat<u32>* A, const ExactFloat<u32>* B) noexcept {
    return guarded([&] { objects::set_mul(*out, *params, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_set_mul_extend(ExactFloat<u32>* out, const BasicParameters* params,
                                                             const ExactFloat<u32>* A, const ExactFloat<u32>* B,
                                                             i64 extend) noexcept {
    return guarded([&] { objects::set_mul_extend(*out, *params, *A, *B, extend); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_set_mul_AB_BC(ExactFloat<u32>* out_AB, ExactFloat<u32>* out_BC,
                                                            const BasicParameters* params, const ExactFloat<u32>* A,
                                                            const ExactFloat<u32>* B,
                                                            const ExactFloat<u32>* C) noexcept {
    return guarded([&] { objects::set_mul_AB_BC(*out_AB, *out_BC, *params, *A, *B, *C); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_set_mul_AB_BC_normalize(
    ExactFloat<u32>* out_AB, ExactFloat<u32>* out_BC, const BasicParameters* params, const ExactFloat<u32>* A,
    const ExactFloat<u32>* B, const ExactFloat<u32>* C) noexcept {
    return guarded([&] { objects::set_mul_AB_BC_normalize(*out_AB, *out_BC, *params, *A, *B, *C); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c32_print(const ExactFloat<u32>* x) noexcept {
    return guarded([&] { objects::print(*x); });
}

KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_AddTo(ExactFloat<u64>* x, const ExactFloat<u64>* y) noexcept {
    return guarded([&] { objects::add_to(*x, *y); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_SubTo(ExactFloat<u64>* x, const ExactFloat<u64>* y) noexcept {
    return guarded([&] { objects::sub_to(*x, *y); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_set_add(ExactFloat<u64>* out, const ExactFloat<u64>* A,
                                                      const ExactFloat<u64>* B) noexcept {
    return guarded([&] { objects::set_add(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_set_sub(ExactFloat<u64>* out, const ExactFloat<u64>* A,
                                                      const ExactFloat<u64>* B) noexcept {
    return guarded([&] { objects::set_sub(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_mp2(ExactFloat<u64>* x, i64 k) noexcept {
    return guarded([&] { objects::mp2(*x, k); });
}
KVNUM_EXPORT void ExactFloat_c64_strip_tzs_all(ExactFloat<u64>* x) noexcept { return objects::strip_tzs_all(*x); }
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_set_sqr(ExactFloat<u64>* out, const BasicParameters* params,
                                                      const ExactFloat<u64>* A) noexcept {
    return guarded([&] { objects::set_sqr(*out, *params, *A); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_set_mul(ExactFloat<u64>* out, const BasicParameters* params,
                                                      const ExactFloat<u64>* A, const ExactFloat<u64>* B) noexcept {
    return guarded([&] { objects::set_mul(*out, *params, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_set_mul_extend(ExactFloat<u64>* out, const BasicParameters* params,
                                                             const ExactFloat<u64>* A, const ExactFloat<u64>* B,
                                                             i64 extend) noexcept {
    return guarded([&] { objects::set_mul_extend(*out, *params, *A, *B, extend); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_set_mul_AB_BC(ExactFloat<u64>* out_AB, ExactFloat<u64>* out_BC,
                                                            const BasicParameters* params, const ExactFloat<u64>* A,
                                                            const ExactFloat<u64>* B,
                                                            const ExactFloat<u64>* C) noexcept {
    return guarded([&] { objects::set_mul_AB_BC(*out_AB, *out_BC, *params, *A, *B, *C); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_set_mul_AB_BC_normalize(
    ExactFloat<u64>* out_AB, ExactFloat<u64>* out_BC, const BasicParameters* params, const ExactFloat<u64>* A,
    const ExactFloat<u64>* B, const ExactFloat<u64>* C) noexcept {
    return guarded([&] { objects::set_mul_AB_BC_normalize(*out_AB, *out_BC, *params, *A, *B, *C); });
}
KVNUM_EXPORT ExceptionWrapper* ExactFloat_c64_print(const ExactFloat<u64>* x) noexcept {
    return guarded([&] { objects::print(*x); });
}

}  // extern "C"
