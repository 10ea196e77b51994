#pragma once
// The kernels of the floating-point transform, once per instruction set. See docs/fft.md for the transform.

#include <cstddef>
#include <cstdint>

namespace kvt::multiply {

// One length of the transform and where its roots of unity stand.
struct FftShape {
    const double* roots;        // the table's sub-table of this radix: level j starts at roots[(radix << j) / 2]
    std::uint64_t radix;        // 1, 3 or 5
    std::uint64_t half;         // complex points: radix << h
    std::uint64_t bits;         // of input in a real point
    std::uint64_t first_radix;  // of the first pass; the transform falls into as many independent blocks behind it
    bool split;                 // the blocks are split in four once more by passes over all of them
};

// An operand to be cut. Bytes beyond count are zero and are not read.
struct FftSource {
    const unsigned char* bytes;
    std::uint64_t count;
    bool padded;                // bytes[-16 .. whole transform + 32) may be read, and are zero outside [0, count)
    bool real;                  // all points from half on are zero: no imaginary parts
    double first_re, first_im;  // added to point 0
};

// Largest values seen while rounding: bit patterns of doubles without sign, so that NaN is the largest of all. Only
// the high halves count; low halves are arbitrary.
struct FftExtremes {
    std::uint64_t coefficient;
    std::uint64_t error;  // distance from an integer
};

// Points are complex, in blocks of `lanes` real parts followed by as many imaginary parts. Ranges [begin, end) count
// groups of eight consecutive points of one of the first pass's (or the carry's) parallel streams.
struct FftKernels {
    const char* isa;
    std::uint64_t lanes;
    std::uint64_t smallest_half;

    // Cuts an operand into points and does the first pass; groups of the half / first_radix points of a block.
    void (*cut)(const FftShape& shape, const FftSource& source, double* x, std::uint64_t begin, std::uint64_t end);

    // Only where shape.split is set: splits every block in four, and undoes it up to a factor; groups of the points
    // of a quarter of a block.
    void (*split)(const FftShape& shape, double* x, std::uint64_t begin, std::uint64_t end);
    void (*join)(const FftShape& shape, double* x, std::uint64_t begin, std::uint64_t end);

    // The transform of the blocks [begin, end) that these passes leave. product: x := inverse(forward(x) * a).
    // square: x := inverse(x^2). inverse: undoes forward, up to a factor.
    void (*forward)(const FftShape& shape, double* x, std::uint64_t begin, std::uint64_t end);
    void (*product)(const FftShape& shape, double* x, const double* a, std::uint64_t begin, std::uint64_t end);
    void (*square)(const FftShape& shape, double* x, std::uint64_t begin, std::uint64_t end);
    void (*inverse)(const FftShape& shape, double* x, std::uint64_t begin, std::uint64_t end);

    // Pointwise x := x * a, or x^2 when a == x; groups of all points.
    void (*multiply)(double* x, const double* a, std::uint64_t begin, std::uint64_t end);

    // Undoes the first pass, up to a factor.
    void (*last)(const FftShape& shape, double* x, std::uint64_t begin, std::uint64_t end);

    // Divides by half, rounds and carries. The 2 * half coefficients fall into `lanes` segments of equal length, the
    // first half of them real parts; groups [begin, end) of every segment are packed at their place in out, and
    // the carry that leaves segment i's range goes to carries[i].
    void (*carry)(const FftShape& shape, const double* x, unsigned char* out, std::uint64_t begin, std::uint64_t end,
                  std::int64_t* carries, FftExtremes& extremes);
};

extern const FftKernels fft_kernels_scalar, fft_kernels_avx2, fft_kernels_avx512, fft_kernels_avx512ifma;

}  // namespace kvt::multiply
