#ifndef KVNUM_TEXT_H
#define KVNUM_TEXT_H
/* Numbers as text. */

#include "kvnum/bigint.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes that to_string_hex of an integer of L words needs: 8 * L + 26 (c32), 16 * L + 26 (c64). */
ExceptionWrapper* BigInt_c32_to_string_hex_sizes(uint64_t* buffer_bytes, uint64_t L);
ExceptionWrapper* BigInt_c64_to_string_hex_sizes(uint64_t* buffer_bytes, uint64_t L);

/* Hexadecimal text of x: a minus sign for a negative value, lower-case digits without leading zeros, a final zero
 * byte.
 *   result   receives the first character, which lies inside buffer, not always at its start
 *   buffer   [to_string_hex_sizes(x.L) bytes]
 * Threads: no shared state.   Source: text/hexadecimal.cpp */
ExceptionWrapper* BigInt_c32_to_string_hex(char** result, char* buffer, const BigInt_c32* x);
ExceptionWrapper* BigInt_c64_to_string_hex(char** result, char* buffer, const BigInt_c64* x);

/* Words that set_string_hex of a text of that many characters needs at most. */
ExceptionWrapper* BigInt_c32_set_string_hex_sizes(uint64_t* out_words, uint64_t chars);
ExceptionWrapper* BigInt_c64_set_string_hex_sizes(uint64_t* out_words, uint64_t chars);

/* out = the integer written at text: an optional sign, an optional 0x or 0X, then at least one hexadecimal digit in
 * either case, and nothing else (no white space).
 *   out    [words of the digits without leading zeros]
 *   text   [chars characters] need not be zero-terminated
 * Errors: "Parse Error" with the message "Invalid character at position N.", where N counts from 0 and equals chars
 * when a digit is missing at the end; "Buffer is too small." at "BigInt::set_string_hex()". Nothing is written.
 * Source: text/hexadecimal.cpp */
ExceptionWrapper* BigInt_c32_set_string_hex(BigInt_c32* out, const char* text, uint64_t chars);
ExceptionWrapper* BigInt_c64_set_string_hex(BigInt_c64* out, const char* text, uint64_t chars);

#ifdef __cplusplus
}
#endif
#endif
