#pragma once
// Decimal text of numbers. A long number is scaled by a power of ten to one digit above the point, its fraction is
// converted to digit words (text/radix_write.h); short integers are divided directly. See docs/text.md.

#include "frame/parameters.h"
#include "objects/big_float.h"
#include "objects/big_int.h"
#include "text/phase_timer.h"

namespace kvt::text {

struct TextSizes {
    u64 buffer_bytes;
    u64 scratch_bytes;  // of the parameters' memory, aligned to the word
};

// Sizes of the decimal text of an integer of L words; of d significant digits of a float. Raises the generic error
// when no multiplication algorithm is long enough.
template <class W>
TextSizes integer_decimal_sizes(u64 L, u64 tasks);
template <class W>
TextSizes float_decimal_sizes(u64 d, u64 tasks);

// Writes into buffer; returns the first character of the zero-terminated text. An integer's text is exact; a float's
// has d digits (0 counts as 1), truncated, within one unit in the last one.
template <class W>
char* to_string_dec(const BasicParameters& params, char* buffer, const objects::BigInt<W>& x);
template <class W>
char* to_string_dec(const BasicParameters& params, char* buffer, const objects::BigFloat<W>& x, u64 d);

// The integer's text by the scaling conversion whatever its length; for tests and tuning. What the phases took is
// added to times.
template <class W>
char* to_string_dec_scaled(const BasicParameters& params, char* buffer, const objects::BigInt<W>& x,
                           PhaseSeconds* times = nullptr);

}  // namespace kvt::text
