#pragma once
// A short benchmark that users can compare.

namespace program {

// Prints a table on standard output: products, squares, division, decimal text, pi. Takes some seconds.
void self_benchmark();

}  // namespace program
