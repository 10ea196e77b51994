// What all kernels share.

using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

// What a walk over the tree does with the points x.
enum class Mode {
    forward,
    product,  // forward, times a, inverse
    square,   // x is transformed: squared, inverse
    inverse,
};
constexpr bool goes_forward(Mode mode) { return mode == Mode::forward || mode == Mode::product; }
constexpr bool goes_back(Mode mode) { return mode != Mode::forward; }
