#pragma once
// Peak memory of the two sides of a comparison, each in a process of its own.

#include <functional>

#include "comparison.h"

namespace peers {

// What one call takes beyond its operands, parameters and tables: result, scratch memory, what it allocates.
struct Peak {
    std::uint64_t ours_bytes, theirs_bytes;
    std::uint64_t table_bytes;  // our table of roots, made once and kept
};

// prepare makes the comparison. Before the first call this process must not have started threads.
Peak measure_peak(const std::function<Comparison()>& prepare, std::uint64_t table_bits);

}  // namespace peers
