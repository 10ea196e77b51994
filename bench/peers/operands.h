#pragma once
// Operands, destinations and parameters of a comparison; shared by its two sides, alive as long as either.

#include <kvnum/kvnum.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "comparison.h"

namespace peers {

// Memory that is not touched before it is used, so that it counts for the call that uses it.
template <class T>
struct Untouched : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = Untouched<U>;
    };
    template <class U>
    void construct(U* p) noexcept {
        ::new (static_cast<void*>(p)) U;
    }
    template <class U, class... Arguments>
    void construct(U* p, Arguments&&... arguments) {
        ::new (static_cast<void*>(p)) U(std::forward<Arguments>(arguments)...);
    }
};

using Words = std::vector<std::uint64_t, Untouched<std::uint64_t>>;
using Bytes = std::vector<unsigned char, Untouched<unsigned char>>;
using Characters = std::vector<char, Untouched<char>>;

inline Words random_words(std::size_t n, std::uint64_t seed) {
    Words out(n);
    for (auto& word : out) {
        std::uint64_t z = (seed += 0x9e3779b97f4a7c15);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        word = z ^ (z >> 31);
    }
    return out;
}

// Turns an error of ours into an exception; the sides of a benchmark must not fail.
inline void succeed(ExceptionWrapper* error) {
    if (error == nullptr) return;
    const std::string text = error->length != 0 ? error->message : "an error without a text";
    error->destroy(error);
    throw std::runtime_error(text);
}

struct Operands {
    explicit Operands(const Setting& s, std::size_t result_words)
        : a(random_words(s.words, 1)), b(random_words(s.short_words, 2)), ours(result_words), theirs(result_words) {}

    Words a, b, ours, theirs;
    Bytes scratch;
    BasicParameters params{};

    // Scratch and twiddle table for a product of this many words.
    void prepare_product(std::size_t product_words, std::uint64_t tasks) {
        MulSizeRecord sizes;
        if (ExceptionWrapper* error = mul_Psize64(&sizes, product_words, tasks)) {
            error->destroy(error);
            throw NotAvailable("no algorithm covers this length");
        }
        succeed(internal_ensure_global_table(64 * static_cast<std::uint64_t>(product_words)));
        scratch.resize(sizes.scratch_bytes + 64);
        const auto misaligned = reinterpret_cast<std::uintptr_t>(scratch.data()) % 64;
        params = {get_global_table(), scratch.data() + (64 - misaligned), sizes.scratch_bytes, tasks};
    }
};

}  // namespace peers
