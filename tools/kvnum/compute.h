#pragma once
// Runs the computation of a constant: memory, bar, check, output, summary.

#include <cstdint>
#include <string>

#include "constants.h"

namespace program {

struct ComputeRequest {
    std::uint64_t digits = 0;  // after the point
    std::string output;        // empty: standard output, or a file where that is a terminal and the digits are many
    std::uint64_t memory_limit = 0;  // bytes; 0: none
    bool hex = false, verify = false, quiet = false, json = false;
};

// Bytes that the computation may need at most, under the current Context.
std::uint64_t memory_foreseen(const Constant& constant, const ComputeRequest& request);

void compute(const Constant& constant, const ComputeRequest& request);

}  // namespace program
