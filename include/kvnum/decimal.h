#ifndef KVNUM_DECIMAL_H
#define KVNUM_DECIMAL_H
/* Decimal text of integers and floats, hexadecimal text of floats; both ways. Integers in hexadecimal: kvnum/text.h.
 *
 * Common to the conversions that take params: table must cover (2 * n + 16) * W bits for numbers of n words of W
 * bits; memory holds what the _sizes query answers and is aligned to the word, contents lost. They run on
 * params->tasks tasks, and show the phases "Squaring...    " and "Converting...  " to the calling thread's progress
 * sink. result receives the first character of the text, which lies inside buffer, not always at its start; the text
 * ends with a zero byte. Read texts need not. Errors: "Buffer is too small.", "Lookup table is too small.", "Generic
 * Exception" (code -4) when no multiplication algorithm is long enough, "Redundancy Check Failed:  " when a
 * conversion's own check finds a fault; when reading "Parse Error" with the message "Invalid character at position
 * N.", N counted from 0 and equal to chars when something is missing at the end; nothing is written then. Threads:
 * calls with their own buffers, numbers and memory may run together. */

#include "kvnum/bigfloat.h"
#include "kvnum/bigint.h"
#include "kvnum/frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes for an integer of L words: the character buffer and the scratch memory, in bytes. Fewer words may need more
 * scratch, and so may fewer digits of a float. */
ExceptionWrapper* BigInt_c32_to_string_dec_sizes(uint64_t* buffer_bytes, uint64_t* scratch_bytes, uint64_t L,
                                                 uint64_t tasks);
ExceptionWrapper* BigInt_c64_to_string_dec_sizes(uint64_t* buffer_bytes, uint64_t* scratch_bytes, uint64_t L,
                                                 uint64_t tasks);

/* The exact decimal text of x, a minus sign for a negative value.   Source: text/decimal.cpp */
ExceptionWrapper* BigInt_c32_to_string_dec(const BasicParameters* params, char** result, char* buffer,
                                           const BigInt_c32* x);
ExceptionWrapper* BigInt_c64_to_string_dec(const BasicParameters* params, char** result, char* buffer,
                                           const BigInt_c64* x);

/* Sizes for reading a text of so many characters: words of the result, bytes of scratch. A shorter text may need more
 * scratch: ask for the length that is read. */
ExceptionWrapper* BigInt_c32_set_string_dec_sizes(uint64_t* out_words, uint64_t* scratch_bytes, uint64_t chars,
                                                  uint64_t tasks);
ExceptionWrapper* BigInt_c64_set_string_dec_sizes(uint64_t* out_words, uint64_t* scratch_bytes, uint64_t chars,
                                                  uint64_t tasks);

/* out = the integer written at text: an optional sign and at least one digit, nothing else.
 *   out   [words of the digits without leading zeros]   Source: text/read_decimal.cpp */
ExceptionWrapper* BigInt_c32_set_string_dec(const BasicParameters* params, BigInt_c32* out, const char* text,
                                            uint64_t chars);
ExceptionWrapper* BigInt_c64_set_string_dec(const BasicParameters* params, BigInt_c64* out, const char* text,
                                            uint64_t chars);

/* Sizes for d significant digits of a float (0 counts as 1). */
ExceptionWrapper* BigFloat_c32_to_string_dec_sizes(uint64_t* buffer_bytes, uint64_t* scratch_bytes, uint64_t d,
                                                   uint64_t tasks);
ExceptionWrapper* BigFloat_c64_to_string_dec_sizes(uint64_t* buffer_bytes, uint64_t* scratch_bytes, uint64_t d,
                                                   uint64_t tasks);

/* d significant decimal digits of x, truncated: within one unit in the last digit. Positional notation ("123.",
 * "0.000123") where the digits reach the point, else one digit before it and an exponent ("-1.5 *10^ 42"). The two
 * widths may choose differently for numbers just below 1. The process ends where x is beyond about 2^(2^48) or below
 * 2^-(2^48).   Source: text/decimal.cpp */
ExceptionWrapper* BigFloat_c32_to_string_dec(const BasicParameters* params, char** result, char* buffer,
                                             const BigFloat_c32* x, uint64_t d);
ExceptionWrapper* BigFloat_c64_to_string_dec(const BasicParameters* params, char** result, char* buffer,
                                             const BigFloat_c64* x, uint64_t d);

/* Sizes for reading a text of so many characters to a precision of p words. */
ExceptionWrapper* BigFloat_c32_set_string_dec_sizes(uint64_t* out_words, uint64_t* scratch_bytes, uint64_t chars,
                                                    uint64_t p, uint64_t tasks);
ExceptionWrapper* BigFloat_c64_set_string_dec_sizes(uint64_t* out_words, uint64_t* scratch_bytes, uint64_t chars,
                                                    uint64_t p, uint64_t tasks);

/* out = the number written at text, to p words however short the text: exact where it fits in p words, else farther from
 * zero by less than one unit in word p from the top (p = 0 counts as 1), so that its truncated digits are those that
 * were read; what stands behind words of zeros from word p + 1 on may be cut, where no digit before it changes. An optional
 * sign, digits with an optional point, and an optional exponent as "e42" or " *10^ 42".
 * Source: text/read_float.cpp */
ExceptionWrapper* BigFloat_c32_set_string_dec(const BasicParameters* params, BigFloat_c32* out, const char* text,
                                              uint64_t chars, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_string_dec(const BasicParameters* params, BigFloat_c64* out, const char* text,
                                              uint64_t chars, uint64_t p);

/* Hexadecimal: bytes for d significant digits (0 counts as 1). */
ExceptionWrapper* BigFloat_c32_to_string_hex_sizes(uint64_t* buffer_bytes, uint64_t d);
ExceptionWrapper* BigFloat_c64_to_string_hex_sizes(uint64_t* buffer_bytes, uint64_t d);

/* d significant hexadecimal digits of x, truncated; notations as in decimal ("a.bc *16^ -7", the exponent in decimal
 * and a power of 16). Errors: "Generic Exception" (code 6) for an exponent beyond 2^58 words either way.
 * Source: text/hexadecimal.cpp */
ExceptionWrapper* BigFloat_c32_to_string_hex(char** result, char* buffer, const BigFloat_c32* x, uint64_t d);
ExceptionWrapper* BigFloat_c64_to_string_hex(char** result, char* buffer, const BigFloat_c64* x, uint64_t d);

/* Words for reading a hexadecimal text of so many characters to p words. */
ExceptionWrapper* BigFloat_c32_set_string_hex_sizes(uint64_t* out_words, uint64_t chars, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_string_hex_sizes(uint64_t* out_words, uint64_t chars, uint64_t p);

/* out = the number written at text: an optional sign, an optional 0x, digits with an optional point, an optional
 * exponent as " *16^ -7". Exact where it fits in p + 2 words, else truncated to them.   Source: text/read_float.cpp
 */
ExceptionWrapper* BigFloat_c32_set_string_hex(BigFloat_c32* out, const char* text, uint64_t chars, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_string_hex(BigFloat_c64* out, const char* text, uint64_t chars, uint64_t p);

#ifdef __cplusplus
}
#endif
#endif
