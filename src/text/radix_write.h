#pragma once
// From a binary fraction to digit words of a base: the divide-and-conquer conversion of the decimal text.

#include "text/radix_plan.h"

namespace kvt::text {

// The two routines that a seam between blocks is checked in: of the top half, and of the lower half.
struct SeamFailure {
    bool failed = false;
    bool lower = false;
    u64 block_digit_words = 0;
    u64 expected = 0;
    u64 actual = 0;
};

// Converts the fraction (its k words below the point, destroyed; more than plan.fraction_words(n) do not count) to
// n = plan.digit_words digit words, most significant first. Returns what is to be added to the unit above the point:
// 1 when the digits rounded up (they are then zero), else 0 (or -1, when they rounded down from zero).
// work [plan.recursion_bytes()] is scratch. A seam whose digits disagree by more than one raises 0x10000002.
template <class W>
int write_digit_words(const RadixPlan<W>& plan, const GlobalTwiddleTable& table, W* digit_words, W* fraction, u64 k,
                      u8* work);

// The seam between the upper half's digits [s] and the lower half's [rest]: expected is the upper half's view of the
// first lower digit. carry: what is to be added to the digit above the upper half (-1, 0 or 1).
template <class W>
bool join_seam(W* digit_words, u64 s, W expected, W base, int& carry) noexcept;

[[noreturn]] void raise_seam_failure(const SeamFailure& failure);

}  // namespace kvt::text
