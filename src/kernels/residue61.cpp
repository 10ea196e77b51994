#include "kernels/residue61.h"

#include <cstring>

namespace kvt::kernels {

u64 residue_of(const void* bytes, u64 n) noexcept {
    const auto* p = static_cast<const u8*>(bytes);
    u64 r = 0;
    for (u64 i = n; i-- > 0;) {
        u32 half;
        std::memcpy(&half, p + 4 * i, 4);
        r = residue_reduce(residue_shift(r, 32) + half);
    }
    return r;
}

}  // namespace kvt::kernels
