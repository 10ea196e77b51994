// Exports of the word kernels: no error reporting, nothing is checked.

#include "frame/export_guard.h"
#include "kernels/linear.h"
#include "kernels/schoolbook.h"

using namespace kvt;

// Flags: the two-array kernels of 64-bit words test the low byte of their argument, the others the whole of it.
extern "C" {

KVNUM_EXPORT void add1_ip_c32(u32* A, u32 c) noexcept { kernels::add1_ip(A, c); }
KVNUM_EXPORT void add1_ip_c64(u64* A, u32 c) noexcept { kernels::add1_ip(A, c); }
KVNUM_EXPORT u32 add1_ir_c32(u32* A, u64 L, u32 c) noexcept { return kernels::add1_ir(A, L, c); }
KVNUM_EXPORT u32 add1_ir_c64(u64* A, u64 L, u32 c) noexcept { return kernels::add1_ir(A, L, c); }

KVNUM_EXPORT void add_ip_c32(u32* A, const u32* B, u64 L, u32 c) noexcept { kernels::add_ip(A, B, L, c); }
KVNUM_EXPORT void add_ip_c64(u64* A, const u64* B, u64 L, u8 c) noexcept { kernels::add_ip(A, B, L, c); }
KVNUM_EXPORT u32 add_ir_c32(u32* A, const u32* B, u64 L, u32 c) noexcept { return kernels::add_ir(A, B, L, c); }
KVNUM_EXPORT u32 add_ir_c64(u64* A, const u64* B, u64 L, u8 c) noexcept { return kernels::add_ir(A, B, L, c); }
KVNUM_EXPORT u32 add_nr_c32(u32* C, const u32* A, const u32* B, u64 L, u32 c) noexcept {
    return kernels::add_nr(C, A, B, L, c);
}
KVNUM_EXPORT u32 add_nr_c64(u64* C, const u64* A, const u64* B, u64 L, u8 c) noexcept {
    return kernels::add_nr(C, A, B, L, c);
}

KVNUM_EXPORT void sub_ip_c32(u32* A, const u32* B, u64 L, u32 b) noexcept { kernels::sub_ip(A, B, L, b); }
KVNUM_EXPORT void sub_ip_c64(u64* A, const u64* B, u64 L, u8 b) noexcept { kernels::sub_ip(A, B, L, b); }
KVNUM_EXPORT u32 sub_ir_c32(u32* A, const u32* B, u64 L, u32 b) noexcept { return kernels::sub_ir(A, B, L, b); }
KVNUM_EXPORT u32 sub_ir_c64(u64* A, const u64* B, u64 L, u8 b) noexcept { return kernels::sub_ir(A, B, L, b); }
KVNUM_EXPORT u32 sub_nr_c32(u32* C, const u32* A, const u32* B, u64 L, u32 b) noexcept {
    return kernels::sub_nr(C, A, B, L, b);
}
KVNUM_EXPORT u32 sub_nr_c64(u64* C, const u64* A, const u64* B, u64 L, u8 b) noexcept {
    return kernels::sub_nr(C, A, B, L, b);
}

KVNUM_EXPORT u32 mul_ir_c32(u32* A, u64 L, u32 m, u32 carry) noexcept { return kernels::mul_ir(A, L, m, carry); }
KVNUM_EXPORT u64 mul_ir_c64(u64* A, u64 L, u64 m, u64 carry) noexcept { return kernels::mul_ir(A, L, m, carry); }
KVNUM_EXPORT u32 mul_nr_c32(u32* C, const u32* A, u64 L, u32 m, u32 carry) noexcept {
    return kernels::mul_nr(C, A, L, m, carry);
}
KVNUM_EXPORT u64 mul_nr_c64(u64* C, const u64* A, u64 L, u64 m, u64 carry) noexcept {
    return kernels::mul_nr(C, A, L, m, carry);
}

KVNUM_EXPORT void mulB_c32(u32* C, const u32* A, u64 LA, const u32* B, u64 LB) noexcept {
    kernels::mulB(C, A, LA, B, LB);
}
KVNUM_EXPORT void mulB_c64(u64* C, const u64* A, u64 LA, const u64* B, u64 LB) noexcept {
    kernels::mulB(C, A, LA, B, LB);
}
KVNUM_EXPORT void sqrB_c32(u32* C, const u32* A, u64 L) noexcept { kernels::sqrB(C, A, L); }
KVNUM_EXPORT void sqrB_c64(u64* C, const u64* A, u64 L) noexcept { kernels::sqrB(C, A, L); }

}  // extern "C"
