// Entries of the benchmark variant of the shared library only (kvnum_seams): what peers need to compare kernels.

#include "frame/export_guard.h"
#include "kernels/cpu.h"

using namespace kvt;

extern "C" {

// vector: 0 scalar, 1 avx2, 2 avx512, 3 avx512ifma; word: 0 scalar, 1 adx.
KVNUM_EXPORT void kvnum_seam_cap_levels(u32 vector, u32 word) noexcept {
    kernels::cap_levels({static_cast<kernels::VectorLevel>(vector), static_cast<kernels::WordLevel>(word)});
}

}  // extern "C"
