#include "multiply/storage_provider.h"

#include <algorithm>

#include "frame/exceptions.h"
#include "frame/fatal.h"

namespace kvt::multiply {

MemoryStorage::MemoryStorage(void* memory, u64 bytes) noexcept {
    auto* const at = static_cast<u8*>(memory);
    const u64 skipped = std::min<u64>((0 - reinterpret_cast<std::uintptr_t>(at)) % alignment, bytes);
    memory_ = at + skipped;
    end_ = at + bytes;
}

u32* MemoryStorage::create(const char* name, u64 bytes) {
    if (count_ == most_objects) fatal_assertion(errors::impossible_result, "MemoryStorage::create()", name);
    const u64 size = rounded(bytes);
    u8* first = memory_;
    u64 largest = 0;
    for (unsigned i = 0;; ++i) {
        const u64 gap = static_cast<u64>((i < count_ ? objects_[i].first : end_) - first);
        if (size <= gap) {
            std::copy_backward(objects_ + i, objects_ + count_, objects_ + count_ + 1);
            objects_[i] = {first, first + size};
            ++count_;
            return reinterpret_cast<u32*>(first);
        }
        largest = std::max(largest, gap);
        if (i == count_) raise_scratch_too_small("MemoryStorage::create()", largest, size);
        first = objects_[i].last;
    }
}

void MemoryStorage::release(u32* object) noexcept {
    const auto at = std::find_if(objects_, objects_ + count_,
                                 [&](const Extent& e) { return e.first == reinterpret_cast<u8*>(object); });
    if (at == objects_ + count_) fatal_assertion(errors::invalid_parameters, "MemoryStorage::release()");
    std::copy(at + 1, objects_ + count_, at);
    --count_;
}

}  // namespace kvt::multiply
