#pragma once
// Operands that find faults: random words, long runs of equal bits, all ones, few bits, alternating, powers of two.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "frame/types.h"

namespace kvt::test {

enum class Pattern { random, runs, all_ones, sparse, alternating, power_of_two, zero };
inline constexpr Pattern hard_patterns[] = {Pattern::random, Pattern::runs,        Pattern::all_ones,
                                            Pattern::sparse, Pattern::alternating, Pattern::power_of_two};
const char* name_of(Pattern pattern);

// splitmix64; every test prints or fixes its seed.
class Rng {
  public:
    explicit Rng(u64 seed) : state_(seed) {}
    u64 next() {
        u64 z = (state_ += 0x9e3779b97f4a7c15);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }
    u64 below(u64 bound) { return next() % bound; }
    u64 between(u64 low, u64 high) { return low + below(high - low + 1); }

  private:
    u64 state_;
};

void fill_bytes(Pattern pattern, void* data, std::size_t bytes, Rng& rng);
template <class W>
void fill(Pattern pattern, W* words, std::size_t n, Rng& rng) {
    fill_bytes(pattern, words, n * sizeof(W), rng);
}
template <class W>
std::vector<W> words(Pattern pattern, std::size_t n, Rng& rng) {
    std::vector<W> out(n);
    fill(pattern, out.data(), n, rng);
    return out;
}

// Each value and its two neighbours, sorted, without repetition.
std::vector<u64> around(std::initializer_list<u64> values);

// Rounds of a random test, multiplied by KVNUM_TEST_SCALE (default 1; the soak run sets it).
u64 rounds(u64 base);

}  // namespace kvt::test
