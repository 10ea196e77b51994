// Exports of number text: decimal both ways, hexadecimal of floats.

#include "frame/export_guard.h"
#include "text/decimal.h"
#include "text/hexadecimal.h"
#include "text/read_decimal.h"
#include "text/read_float.h"

using namespace kvt;
using kvt::objects::BigFloat;
using kvt::objects::BigInt;

namespace {

template <class Query>
ExceptionWrapper* answer(u64* buffer_bytes, u64* scratch_bytes, Query query) noexcept {
    return guarded([&] {
        const text::TextSizes sizes = query();
        *buffer_bytes = sizes.buffer_bytes;
        *scratch_bytes = sizes.scratch_bytes;
    });
}

template <class W>
ExceptionWrapper* integer_reading_sizes(u64* out_words, u64* scratch_bytes, u64 chars, u64 tasks) noexcept {
    return guarded([&] {
        *scratch_bytes = text::read_decimal_bytes<W>(chars, tasks);
        *out_words = text::decimal_words<W>(chars);
    });
}

}  // namespace

extern "C" {

KVNUM_EXPORT ExceptionWrapper* BigInt_c32_to_string_dec_sizes(u64* buffer_bytes, u64* scratch_bytes, u64 L,
                                                              u64 tasks) noexcept {
    return answer(buffer_bytes, scratch_bytes, [&] { return text::integer_decimal_sizes<u32>(L, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_to_string_dec(const BasicParameters* params, char** result, char* buffer,
                                                        const BigInt<u32>* x) noexcept {
    return guarded([&] { *result = text::to_string_dec(*params, buffer, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_string_dec_sizes(u64* out_words, u64* scratch_bytes, u64 chars,
                                                               u64 tasks) noexcept {
    return integer_reading_sizes<u32>(out_words, scratch_bytes, chars, tasks);
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_string_dec(const BasicParameters* params, BigInt<u32>* out,
                                                         const char* text, u64 chars) noexcept {
    return guarded([&] { text::set_string_dec(*params, *out, text, chars); });
}

KVNUM_EXPORT ExceptionWrapper* BigInt_c64_to_string_dec_sizes(u64* buffer_bytes, u64* scratch_bytes, u64 L,
                                                              u64 tasks) noexcept {
    return answer(buffer_bytes, scratch_bytes, [&] { return text::integer_decimal_sizes<u64>(L, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_to_string_dec(const BasicParameters* params, char** result, char* buffer,
                                                        const BigInt<u64>* x) noexcept {
    return guarded([&] { *result = text::to_string_dec(*params, buffer, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_string_dec_sizes(u64* out_words, u64* scratch_bytes, u64 chars,
                                                               u64 tasks) noexcept {
    return integer_reading_sizes<u64>(out_words, scratch_bytes, chars, tasks);
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_string_dec(const BasicParameters* params, BigInt<u64>* out,
                                                         const char* text, u64 chars) noexcept {
    return guarded([&] { text::set_string_dec(*params, *out, text, chars); });
}

KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_to_string_hex_sizes(u64* buffer_bytes, u64 d) noexcept {
    return guarded([&] { *buffer_bytes = text::to_string_hex_float_bytes<u32>(d); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_to_string_hex(char** result, char* buffer, const BigFloat<u32>* x,
                                                          u64 d) noexcept {
    return guarded([&] { *result = text::to_string_hex(buffer, *x, d); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_to_string_dec_sizes(u64* buffer_bytes, u64* scratch_bytes, u64 d,
                                                                u64 tasks) noexcept {
    return answer(buffer_bytes, scratch_bytes, [&] { return text::float_decimal_sizes<u32>(d, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_to_string_dec(const BasicParameters* params, char** result, char* buffer,
                                                          const BigFloat<u32>* x, u64 d) noexcept {
    return guarded([&] { *result = text::to_string_dec(*params, buffer, *x, d); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_string_hex_sizes(u64* out_words, u64 chars, u64 p) noexcept {
    return guarded([&] { *out_words = text::set_string_hex_words<u32>(chars, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_string_hex(BigFloat<u32>* out, const char* text, u64 chars,
                                                           u64 p) noexcept {
    return guarded([&] { text::set_string_hex(*out, text, chars, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_string_dec_sizes(u64* out_words, u64* scratch_bytes, u64 chars, u64 p,
                                                                 u64 tasks) noexcept {
    return guarded([&] {
        const text::ReadSizes sizes = text::read_float_sizes<u32>(chars, p, tasks);
        *out_words = sizes.out_words;
        *scratch_bytes = sizes.scratch_bytes;
    });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c32_set_string_dec(const BasicParameters* params, BigFloat<u32>* out,
                                                           const char* text, u64 chars, u64 p) noexcept {
    return guarded([&] { text::set_string_dec(*params, *out, text, chars, p); });
}

KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_to_string_hex_sizes(u64* buffer_bytes, u64 d) noexcept {
    return guarded([&] { *buffer_bytes = text::to_string_hex_float_bytes<u64>(d); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_to_string_hex(char** result, char* buffer, const BigFloat<u64>* x,
                                                          u64 d) noexcept {
    return guarded([&] { *result = text::to_string_hex(buffer, *x, d); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_to_string_dec_sizes(u64* buffer_bytes, u64* scratch_bytes, u64 d,
                                                                u64 tasks) noexcept {
    return answer(buffer_bytes, scratch_bytes, [&] { return text::float_decimal_sizes<u64>(d, tasks); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_to_string_dec(const BasicParameters* params, char** result, char* buffer,
                                                          const BigFloat<u64>* x, u64 d) noexcept {
    return guarded([&] { *result = text::to_string_dec(*params, buffer, *x, d); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_string_hex_sizes(u64* out_words, u64 chars, u64 p) noexcept {
    return guarded([&] { *out_words = text::set_string_hex_words<u64>(chars, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_string_hex(BigFloat<u64>* out, const char* text, u64 chars,
                                                           u64 p) noexcept {
    return guarded([&] { text::set_string_hex(*out, text, chars, p); });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_string_dec_sizes(u64* out_words, u64* scratch_bytes, u64 chars, u64 p,
                                                                 u64 tasks) noexcept {
    return guarded([&] {
        const text::ReadSizes sizes = text::read_float_sizes<u64>(chars, p, tasks);
        *out_words = sizes.out_words;
        *scratch_bytes = sizes.scratch_bytes;
    });
}
KVNUM_EXPORT ExceptionWrapper* BigFloat_c64_set_string_dec(const BasicParameters* params, BigFloat<u64>* out,
                                                           const char* text, u64 chars, u64 p) noexcept {
    return guarded([&] { text::set_string_dec(*params, *out, text, chars, p); });
}

}  // extern "C"
