#pragma once
// Scratch memory for operations: starts at any chosen distance from a 64-byte boundary, is full of garbage, and tells
// whether anything next to it was written. Reading or writing 64 bytes past the end faults.

#include <algorithm>
#include <cstring>

#include "frame/parameters.h"
#include "support/fenced.h"

namespace kvt::test {

class Scratch {
  public:
    explicit Scratch(std::size_t bytes, std::size_t skew = 0)
        : block_(front + bytes + gap_to_fence(bytes, skew)), bytes_(bytes) {
        std::memset(block_.data(), canary, block_.size());
        std::memset(data(), 0xa5, bytes);
    }

    unsigned char* data() const { return block_.data() + front; }
    std::size_t size() const { return bytes_; }
    bool intact() const {
        auto untouched = [](const unsigned char* first, const unsigned char* last) {
            return std::all_of(first, last, [](unsigned char c) { return c == canary; });
        };
        return untouched(block_.data(), data()) && untouched(data() + bytes_, block_.data() + block_.size());
    }

    BasicParameters parameters(const GlobalTwiddleTable* table = nullptr, u64 tasks = 1) const {
        return {table, data(), bytes_, tasks};
    }

  private:
    static constexpr std::size_t front = 64;
    static constexpr unsigned char canary = 0x5c;

    // The block ends on a page boundary; this many bytes behind the scratch put its start at the skew.
    static std::size_t gap_to_fence(std::size_t bytes, std::size_t skew) { return (128 - (bytes + skew) % 64) % 64; }

    FencedBytes block_;
    std::size_t bytes_;
};

}  // namespace kvt::test
