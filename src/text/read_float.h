#pragma once
// Reading floating-point numbers from text, decimal and hexadecimal. See text/number_text.h for what may be written.

#include "frame/parameters.h"
#include "objects/big_float.h"

namespace kvt::text {

struct ReadSizes {
    u64 out_words;
    u64 scratch_bytes;
};

// Sizes of reading a text of so many characters to a precision of p words.
template <class W>
ReadSizes read_float_sizes(u64 chars, u64 p, u64 tasks);

// out := the number, to p + 2 words: exact where it fits in p, else farther from zero than what is written, by less than
// a unit in word p from the top; what stands behind words of zeros may be cut. p = 0 counts as 1. Raises Serialization::ParseException before anything is written.
template <class W>
void set_string_dec(const BasicParameters& params, objects::BigFloat<W>& out, const char* text, u64 chars, u64 p);

// The same for hexadecimal text; exact where it fits, else truncated to p + 2 words.
template <class W>
u64 set_string_hex_words(u64 chars, u64 p) noexcept;
template <class W>
void set_string_hex(objects::BigFloat<W>& out, const char* text, u64 chars, u64 p);

}  // namespace kvt::text
