#pragma once
// The texts of the four Newton engines, and the ways a step that does not converge is reported.

#include "frame/types.h"

namespace kvt::inverse {

struct EngineTexts {
    const char* location;            // of capacity errors
    const char* divide_by_zero;      // message; null where the seed belongs to another engine
    const char* convergence;         // printed: guard word
    const char* under_estimate;      // printed: residual of an under-estimate too large
    const char* over_estimate;       // printed: residual of an over-estimate too large
    const char* failed;              // raised after any of them
    const char* failed_over;         // raised after over_estimate
    const char* strip_zero;          // fatal
    const char* insufficient_space;  // fatal; null where a shortage is an exception
};

extern const EngineTexts reciprocal_direct_texts, reciprocal_texts, inverse_sqrt_direct_texts, inverse_sqrt_texts;

// Prints the engine's convergence line and the guard word, then raises its failure.
[[noreturn]] void fail_guard(const EngineTexts& texts, u64 guard);

// Prints the residual's top position and the limit's exponent, the engine's line for that side, then raises.
[[noreturn]] void fail_residual(const EngineTexts& texts, bool over_estimate, i64 top, u64 half_precision);

// Prints both sizes and the text, then ends the process with status 1.
[[noreturn]] void fail_space(const EngineTexts& texts, u64 given_words, u64 required_words);

[[noreturn]] void raise_divide_by_zero(const EngineTexts& texts);

}  // namespace kvt::inverse
