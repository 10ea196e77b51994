// Leaves of 64 points, eight vectors.

constexpr u64 leaf_points = 64;
constexpr bool product_in_one_step = true;
using LeafRoots = Roots8;

[[gnu::always_inline]] inline void leaf_forward(Complex* x, const LeafRoots& w) { forward8(x, w); }
[[gnu::always_inline]] inline void leaf_inverse(Complex* x, const LeafRoots& w) { inverse8(x, w); }
[[gnu::always_inline]] inline LeafRoots leaf_roots(const Node& node) { return roots8(node); }

constexpr LaneRoots lane_roots_4 = lane_roots(1), lane_roots_5 = lane_roots(2), lane_roots_6 = lane_roots(3);
[[gnu::always_inline]] inline LeafRoots leaf_lane_roots(const Node& node) {
    const Complex c4 = by_lane(node.root(4), lane_roots_4), c2 = by_lane(node.root(5), lane_roots_5);
    const Complex c1 = by_lane(node.root(6), lane_roots_6);
    // The second half's first root is e(1/8) c1.
    const Vec::D eighth = Vec::broadcast(0.70710678118654752440);
    const Complex d1{Vec::mul(eighth, Vec::sub(c1.re, c1.im)), Vec::mul(eighth, Vec::add(c1.re, c1.im))};
    const Complex d2 = times_i(c2);
    return {c4, {c1, c2, mul(c1, c2)}, {d1, d2, mul(d1, d2)}};
}
