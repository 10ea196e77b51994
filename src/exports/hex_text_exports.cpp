// Exports of hexadecimal text.

#include "frame/export_guard.h"
#include "text/hexadecimal.h"

using namespace kvt;
using objects::BigInt;

extern "C" {

KVNUM_EXPORT ExceptionWrapper* BigInt_c32_to_string_hex_sizes(u64* buffer_bytes, u64 L) noexcept {
    return guarded([&] { *buffer_bytes = text::to_string_hex_bytes<u32>(L); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_to_string_hex(char** result, char* buffer, const BigInt<u32>* x) noexcept {
    return guarded([&] { *result = text::to_string_hex(buffer, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_string_hex_sizes(u64* out_words, u64 chars) noexcept {
    return guarded([&] { *out_words = text::set_string_hex_words<u32>(chars); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c32_set_string_hex(BigInt<u32>* out, const char* text, u64 chars) noexcept {
    return guarded([&] { text::set_string_hex(*out, text, chars); });
}

KVNUM_EXPORT ExceptionWrapper* BigInt_c64_to_string_hex_sizes(u64* buffer_bytes, u64 L) noexcept {
    return guarded([&] { *buffer_bytes = text::to_string_hex_bytes<u64>(L); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_to_string_hex(char** result, char* buffer, const BigInt<u64>* x) noexcept {
    return guarded([&] { *result = text::to_string_hex(buffer, *x); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_string_hex_sizes(u64* out_words, u64 chars) noexcept {
    return guarded([&] { *out_words = text::set_string_hex_words<u64>(chars); });
}
KVNUM_EXPORT ExceptionWrapper* BigInt_c64_set_string_hex(BigInt<u64>* out, const char* text, u64 chars) noexcept {
    return guarded([&] { text::set_string_hex(*out, text, chars); });
}

}  // extern "C"
