// Exports of BigFloat.

#include "frame/export_guard.h"
#include "objects/convert.h"

using namespace kvt;
using objects::BasicInt;
using objects::BigFloat;
using objects::BigInt;
using objects::ExactFloat;

extern "C" {

KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_uL(BigFloat<u32>* out, u64 x) noexcept {
    return guarded([&] { objects::set_uL(*out, x); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_BasicInt(BigFloat<u32>* out, const BasicInt<u32>* x) noexcept {
    return guarded([&] { objects::set_BasicInt(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_BigInt(BigFloat<u32>* out, const BigInt<u32>* x) noexcept {
    return guarded([&] { objects::set_BigInt(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_ExactFloat(BigFloat<u32>* out, const ExactFloat<u32>* x) noexcept {
    return guarded([&] { objects::set_ExactFloat(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_BigFloat(BigFloat<u32>* out, const BigFloat<u32>* x, u64 p) noexcept {
    return guarded([&] { objects::set_BigFloat(*out, *x, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_double(BigFloat<u32>* out, double d, i64 e) noexcept {
    return guarded([&] { objects::set_double(*out, d, e); });
}
KVNUM_EXPORT double BigFloat_c32_to_double(const BigFloat<u32>* x, i64* exp_out) noexcept {
    return objects::to_double(*x, *exp_out);
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_print(const BigFloat<u32>* x) noexcept {
    return guarded([&] { objects::print(*x); });
}
KVNUM_EXPORT void BigFloat_c32_get_range(const BigFloat<u32>* x, u32* out, i64 first, u64 count) noexcept {
    return objects::get_range(*x, out, first, count);
}
KVNUM_EXPORT void BigFloat_c32_strip_tzs_all(BigFloat<u32>* x) noexcept { return objects::strip_tzs_all(*x); }
KVNUM_EXPORT i32 BigFloat_c32_cmp(const BigFloat<u32>* A, const BigFloat<u32>* B) noexcept {
    return objects::cmp(*A, *B);
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_mp2(BigFloat<u32>* x, i64 k) noexcept {
    return guarded([&] { objects::mp2(*x, k); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_mul_uW(BigFloat<u32>* x, u32 m) noexcept {
    return guarded([&] { objects::mul_uW(*x, m); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_mul_uW(BigFloat<u32>* out, const BigFloat<u32>* A, u32 m) noexcept {
    return guarded([&] { objects::set_mul_uW(*out, *A, m); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_add(BigFloat<u32>* out, const BigFloat<u32>* A,
                                                    const BigFloat<u32>* B, u64 p) noexcept {
    return guarded([&] { objects::set_add(*out, *A, *B, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_sub(BigFloat<u32>* out, const BigFloat<u32>* A,
                                                    const BigFloat<u32>* B, u64 p) noexcept {
    return guarded([&] { objects::set_sub(*out, *A, *B, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_sqr(BigFloat<u32>* out, const BasicParameters* params,
                                                    const BigFloat<u32>* A, u64 p) noexcept {
    return guarded([&] { objects::set_sqr(*out, *params, *A, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_mul(BigFloat<u32>* out, const BasicParameters* params,
                                                    const BigFloat<u32>* A, const BigFloat<u32>* B, u64 p) noexcept {
    return guarded([&] { objects::set_mul(*out, *params, *A, *B, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_sqr_ip(BigFloat<u32>* x, const BasicParameters* params,
                                                       u64 p) noexcept {
    return guarded([&] { objects::set_sqr_ip(*x, *params, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_mul_ip(BigFloat<u32>* x, const BasicParameters* params,
                                                       const BigFloat<u32>* B, u64 p) noexcept {
    return guarded([&] { objects::set_mul_ip(*x, *params, *B, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_mul_AB_BC(BigFloat<u32>* out_AB, BigFloat<u32>* out_BC,
                                                          const BasicParameters* params, const BigFloat<u32>* A,
                                                          const BigFloat<u32>* B, const BigFloat<u32>* C,
                                                          u64 p) noexcept {
    return guarded([&] { objects::set_mul_AB_BC(*out_AB, *out_BC, *params, *A, *B, *C, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_mul_Psize(u64* bytes_out, u64 LA, u64 LB, u64 p, u64 tasks) noexcept {
    return guarded([&] { *bytes_out = objects::big_float_mul_Psize<u32>(LA, LB, p, tasks); });
}

KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_uL(BigFloat<u64>* out, u64 x) noexcept {
    return guarded([&] { objects::set_uL(*out, x); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_BasicInt(BigFloat<u64>* out, const BasicInt<u64>* x) noexcept {
    return guarded([&] { objects::set_BasicInt(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_BigInt(BigFloat<u64>* out, const BigInt<u64>* x) noexcept {
    return guarded([&] { objects::set_BigInt(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_ExactFloat(BigFloat<u64>* out, const ExactFloat<u64>* x) noexcept {
    return guarded([&] { objects::set_ExactFloat(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_BigFloat(BigFloat<u64>* out, const BigFloat<u64>* x, u64 p) noexcept {
    return guarded([&] { objects::set_BigFloat(*out, *x, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_double(BigFloat<u64>* out, double d, i64 e) noexcept {
    return guarded([&] { objects::set_double(*out, d, e); });
}
KVNUM_EXPORT double BigFloat_c64_to_double(const BigFloat<u64>* x, i64* exp_out) noexcept {
    return objects::to_double(*x, *exp_out);
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_print(const BigFloat<u64>* x) noexcept {
    return guarded([&] { objects::print(*x); });
}
KVNUM_EXPORT void BigFloat_c64_get_range(const BigFloat<u64>* x, u64* out, i64 first, u64 count) noexcept {
    return objects::get_range(*x, out, first, count);
}
KVNUM_EXPORT void BigFloat_c64_strip_tzs_all(BigFloat<u64>* x) noexcept { return objects::strip_tzs_all(*x); }
KVNUM_EXPORT i32 BigFloat_c64_cmp(const BigFloat<u64>* A, const BigFloat<u64>* B) noexcept {
    return objects::cmp(*A, *B);
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_mp2(BigFloat<u64>* x, i64 k) noexcept {
    return guarded([&] { objects::mp2(*x, k); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_mul_uW(BigFloat<u64>* x, u64 m) noexcept {
    return guarded([&] { objects::mul_uW(*x, m); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_mul_uW(BigFloat<u64>* out, const BigFloat<u64>* A, u64 m) noexcept {
    return guarded([&] { objects::set_mul_uW(*out, *A, m); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_add(BigFloat<u64>* out, const BigFloat<u64>* A,
                                                    const BigFloat<u64>* B, u64 p) noexcept {
    return guarded([&] { objects::set_add(*out, *A, *B, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_sub(BigFloat<u64>* out, const BigFloat<u64>* A,
                                                    const BigFloat<u64>* B, u64 p) noexcept {
    return guarded([&] { objects::set_sub(*out, *A, *B, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_sqr(BigFloat<u64>* out, const BasicParameters* params,
                                                    const BigFloat<u64>* A, u64 p) noexcept {
    return guarded([&] { objects::set_sqr(*out, *params, *A, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_mul(BigFloat<u64>* out, const BasicParameters* params,
                                                    const BigFloat<u64>* A, const BigFloat<u64>* B, u64 p) noexcept {
    return guarded([&] { objects::set_mul(*out, *params, *A, *B, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_sqr_ip(BigFloat<u64>* x, const BasicParameters* params,
                                                       u64 p) noexcept {
    return guarded([&] { objects::set_sqr_ip(*x, *params, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_mul_ip(BigFloat<u64>* x, const BasicParameters* params,
                                                       const BigFloat<u64>* B, u64 p) noexcept {
    return guarded([&] { objects::set_mul_ip(*x, *params, *B, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_mul_AB_BC(BigFloat<u64>* out_AB, BigFloat<u64>* out_BC,
                                                          const BasicParameters* params, const BigFloat<u64>* A,
                                                          const BigFloat<u64>* B, const BigFloat<u64>* C,
                                                          u64 p) noexcept {
    return guarded([&] { objects::set_mul_AB_BC(*out_AB, *out_BC, *params, *A, *B, *C, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_mul_Psize(u64* bytes_out, u64 LA, u64 LB, u64 p, u64 tasks) noexcept {
    return guarded([&] { *bytes_out = objects::big_float_mul_Psize<u64>(LA, LB, p, tasks); });
}

}  // extern "C"
