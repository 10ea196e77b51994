#pragma once
// Products whose convolution length is given, by the Chinese remainder theorem: modulo 2^L - 1, modulo 2^L + 1,
// joined. See docs/crt-mulp.md.

#include "frame/parameters.h"
#include "frame/progress.h"
#include "multiply/engine.h"
#include "multiply/storage_provider.h"

namespace kvt::multiply {

// How the two halves are formed: modulo 2^L - 1 and 2^L + 1.
struct CrtHalf {
    const TransformEngine* engine;
    TransformPlan plan;
};
struct CrtConvolution {
    bool wrapped;  // the plans wrap at L bits, cyclic and negacyclic; else both hold 2L bits and the result is folded
    CrtHalf cyclic, negacyclic;
};

// Wrapped transforms of the 32-bit engine where it has this very length both ways; otherwise plain products by the
// transform that the thresholds name. Raises a generic error when there is none.
CrtConvolution crt_convolution(u64 L_bits);

struct CrtSizes {
    u64 table_bits;     // the twiddle table must cover this
    u64 storage_bytes;  // of a MemoryStorage at any alignment
    u64 scratch_bytes;  // of the parameters
};
CrtSizes crt_mulp_sizes(const CrtConvolution& convolution, u64 L_bits, u64 tasks);
CrtSizes crt_mulp_sizes(u64 L_bits, u64 tasks);

// C[0..na+nb) = A * B. C must not overlap the operands. Stage tags go to the sink (null: none).
// Ends the process when L is no multiple of 32, or below 16 (na + nb). Raises "Lookup table is too small." and
// "Buffer is too small." before anything is written; storage that runs out only later leaves C
// undefined.
void CRT_mulp(const BasicParameters& params, StorageProvider& storage, const ProgressSink* sink, u32* C, const u32* A,
              u64 na, const u32* B, u64 nb, u64 L_bits);

// The same with a convolution of the caller's choice.
void CRT_mulp(const CrtConvolution& convolution, const BasicParameters& params, StorageProvider& storage,
              const ProgressSink* sink, u32* C, const u32* A, u64 na, const u32* B, u64 nb, u64 L_bits);

}  // namespace kvt::multiply
