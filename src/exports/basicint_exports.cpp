// Exports of BasicInt.

#include "frame/export_guard.h"
#include "objects/basic_int.h"

using namespace kvt;
using objects::BasicInt;

extern "C" {

KVNUM_EXPORT ExceptionWrapper* BasicInt_c32_set_addto(BasicInt<u32>* out, const BasicInt<u32>* x) noexcept {
    return guarded([&] { objects::set_addto(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c32_set_add(BasicInt<u32>* out, const BasicInt<u32>* A,
                                                    const BasicInt<u32>* B) noexcept {
    return guarded([&] { objects::set_add(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c32_set_subto(BasicInt<u32>* out, const BasicInt<u32>* x) noexcept {
    return guarded([&] { objects::set_subto(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c32_set_sub(BasicInt<u32>* out, const BasicInt<u32>* A,
                                                    const BasicInt<u32>* B) noexcept {
    return guarded([&] { objects::set_sub(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c32_set_sqrB(BasicInt<u32>* out, const BasicInt<u32>* A) noexcept {
    return guarded([&] { objects::set_sqrB(*out, *A); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c32_set_mulB(BasicInt<u32>* out, const BasicInt<u32>* A,
                                                     const BasicInt<u32>* B) noexcept {
    return guarded([&] { objects::set_mulB(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c32_print(const BasicInt<u32>* x) noexcept {
    return guarded([&] { objects::print(*x); });
}
KVNUM_EXPORT ExceptionWrapper* BasicIntO_c32_to_string(TextRecord* out, const BasicInt<u32>* x) noexcept {
    return guarded([&] { objects::to_string(*out, *x); });
}

KVNUM_EXPORT ExceptionWrapper* BasicInt_c64_set_addto(BasicInt<u64>* out, const BasicInt<u64>* x) noexcept {
    return guarded([&] { objects::set_addto(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c64_set_add(BasicInt<u64>* out, const BasicInt<u64>* A,
                                                    const BasicInt<u64>* B) noexcept {
    return guarded([&] { objects::set_add(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c64_set_subto(BasicInt<u64>* out, const BasicInt<u64>* x) noexcept {
    return guarded([&] { objects::set_subto(*out, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c64_set_sub(BasicInt<u64>* out, const BasicInt<u64>* A,
                                                    const BasicInt<u64>* B) noexcept {
    return guarded([&] { objects::set_sub(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c64_set_sqrB(BasicInt<u64>* out, const BasicInt<u64>* A) noexcept {
    return guarded([&] { objects::set_sqrB(*out, *A); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c64_set_mulB(BasicInt<u64>* out, const BasicInt<u64>* A,
                                                     const BasicInt<u64>* B) noexcept {
    return guarded([&] { objects::set_mulB(*out, *A, *B); });
}
KVNUM_EXPORT ExceptionWrapper* BasicInt_c64_print(const BasicInt<u64>* x) noexcept {
    return guarded([&] { objects::print(*x); });
}
KVNUM_EXPORT ExceptionWrapper* BasicIntO_c64_to_string(TextRecord* out, const BasicInt<u64>* x) noexcept {
    return guarded([&] { objects::to_string(*out, *x); });
}

}  // extern "C"
