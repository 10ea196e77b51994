// Leaves of 16 points, four vectors.

constexpr u64 leaf_points = 16;
constexpr bool product_in_one_step = false;  // 16 registers
using LeafRoots = Roots4;

[[gnu::always_inline]] inline void leaf_forward(Complex* x, const LeafRoots& w) { forward4(x, w); }
[[gnu::always_inline]] inline void leaf_inverse(Complex* x, const LeafRoots& w) { inverse4(x, w); }
[[gnu::always_inline]] inline LeafRoots leaf_roots(const Node& node) { return roots4(node); }

constexpr LaneRoots lane_roots_3 = lane_roots(1), lane_roots_4 = lane_roots(2);
[[gnu::always_inline]] inline LeafRoots leaf_lane_roots(const Node& node) {
    const Complex c2 = by_lane(node.root(3), lane_roots_3), c1 = by_lane(node.root(4), lane_roots_4);
    return {c1, c2, mul(c1, c2)};
}
