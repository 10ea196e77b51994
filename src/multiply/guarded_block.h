#pragma once
// A heap block with guard words on both sides, checked on release. Layout, from the raw block of ceil8(bytes) + 72
// bytes: the usable area starts at the first 32-byte boundary at least 32 bytes in; just below it stand the raw
// block's address, the rounded size and a guard word; the same guard word follows the usable area.

#include "frame/types.h"

namespace kvt::multiply {

inline constexpr u64 guard_word = 0x5451234810025523;

// A failing allocation is fatal. The contents are not initialised.
void* allocate_guarded(u64 bytes) noexcept;

// A changed guard word is fatal. Null is ignored.
void release_guarded(void* usable) noexcept;

}  // namespace kvt::multiply
