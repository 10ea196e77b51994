// Exports of BigInt.

#include "frame/export_guard.h"
#include "objects/convert.h"

using namespace kvt;
using objects::BasicInt;
using objects::BigFloat;
using objects::BigInt;

extern "C" {

KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_uL(BigInt<u32>* out, u64 x) noexcept {
    return guarded([&] { objects::set_uL(*out, x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_uWs(BigInt<u32>* out, const u32* src, u64 n) noexcept {
    return guarded([&] { objects::set_uWs(*out, src, n); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_BigInt(BigInt<u32>* out, const BigInt<u32>* x) noexcept {
    return guarded([&] { objects::set_BigInt(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_BasicInt(BigInt<u32>* out, const BasicInt<u32>* x) noexcept {
    return guarded([&] { objects::set_BasicInt(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_BigFloat(BigInt<u32>* out, const BigFloat<u32>* x) noexcept {
    return guarded([&] { objects::set_BigFloat(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_print(const BigInt<u32>* x) noexcept {
    return guarded([&] { objects::print(*x); });
}
KVNUM_EXPORT void BigInt_c32_get_range(const BigInt<u32>* x, u32* out, u64 first, u64 count) noexcept {
    return objects::get_range(*x, out, first, count);
}
KVNUM_EXPORT i32 BigInt_c32_cmp(const BigInt<u32>* A, const BigInt<u32>* B) noexcept { return objects::cmp(*A, *B); }
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_shl(BigInt<u32>* x, u64 bits) noexcept {
    return guarded([&] { objects::shl(*x, bits); });
}
KVNUM_EXPORT void BigInt_c32_shr(BigInt<u32>* x, u64 bits) noexcept { return objects::shr(*x, bits); }
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_mul_uW(BigInt<u32>* x, u32 m) noexcept {
    return guarded([&] { objects::mul_uW(*x, m); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_mul_uW(BigInt<u32>* out, const BigInt<u32>* A, u32 m) noexcept {
    return guarded([&] { objects::set_mul_uW(*out, *A, m); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_add(BigInt<u32>* out, const BigInt<u32>* A,
                                                  const BigInt<u32>* B) noexcept {
    return guarded([&] { objects::set_add(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_sub(BigInt<u32>* out, const BigInt<u32>* A,
                                                  const BigInt<u32>* B) noexcept {
    return guarded([&] { objects::set_sub(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_mul_Psize(u64* bytes_out, u64 LA, u64 LB, u64 tasks) noexcept {
    return guarded([&] { *bytes_out = objects::big_int_mul_Psize<u32>(LA, LB, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_sqr(BigInt<u32>* out, const BasicParameters* params,
                                                  const BigInt<u32>* A) noexcept {
    return guarded([&] { objects::set_sqr(*out, *params, *A); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_mul(BigInt<u32>* out, const BasicParameters* params,
                                                  const BigInt<u32>* A, const BigInt<u32>* B) noexcept {
    return guarded([&] { objects::set_mul(*out, *params, *A, *B); });
}

KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_uL(BigInt<u64>* out, u64 x) noexcept {
    return guarded([&] { objects::set_uL(*out, x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_uWs(BigInt<u64>* out, const u64* src, u64 n) noexcept {
    return guarded([&] { objects::set_uWs(*out, src, n); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_BigInt(BigInt<u64>* out, const BigInt<u64>* x) noexcept {
    return guarded([&] { objects::set_BigInt(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_BasicInt(BigInt<u64>* out, const BasicInt<u64>* x) noexcept {
    return guarded([&] { objects::set_BasicInt(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_BigFloat(BigInt<u64>* out, const BigFloat<u64>* x) noexcept {
    return guarded([&] { objects::set_BigFloat(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_print(const BigInt<u64>* x) noexcept {
    return guarded([&] { objects::print(*x); });
}
KVNUM_EXPORT void BigInt_c64_get_range(const BigInt<u64>* x, u64* out, u64 first, u64 count) noexcept {
    return objects::get_range(*x, out, first, count);
}
KVNUM_EXPORT i32 BigInt_c64_cmp(const BigInt<u64>* A, const BigInt<u64>* B) noexcept { return objects::cmp(*A, *B); }
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_shl(BigInt<u64>* x, u64 bits) noexcept {
    return guarded([&] { objects::shl(*x, bits); });
}
KVNUM_EXPORT void BigInt_c64_shr(BigInt<u64>* x, u64 bits) noexcept { return objects::shr(*x, bits); }
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_mul_uW(BigInt<u64>* x, u64 m) noexcept {
    return guarded([&] { objects::mul_uW(*x, m); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_mul_uW(BigInt<u64>* out, const BigInt<u64>* A, u64 m) noexcept {
    return guarded([&] { objects::set_mul_uW(*out, *A, m); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_add(BigInt<u64>* out, const BigInt<u64>* A,
                                                  const BigInt<u64>* B) noexcept {
    return guarded([&] { objects::set_add(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_sub(BigInt<u64>* out, const BigInt<u64>* A,
                                                  const BigInt<u64>* B) noexcept {
    return guarded([&] { objects::set_sub(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_mul_Psize(u64* bytes_out, u64 LA, u64 LB, u64 tasks) noexcept {
    return guarded([&] { *bytes_out = objects::big_int_mul_Psize<u64>(LA, LB, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_sqr(BigInt<u64>* out, const BasicParameters* params,
                                                  const BigInt<u64>* A) noexcept {
    return guarded([&] { objects::set_sqr(*out, *params, *A); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_mul(BigInt<u64>* out, const BasicParameters* params,
                                                  const BigInt<u64>* A, const BigInt<u64>* B) noexcept {
    return guarded([&] { objects::set_mul(*out, *params, *A, *B); });
}

}  // extern "C"
