// Where a node finds its roots. Node (d, K) of the tree is modulo t^L - e((1/4 + K) / (r 2^d)), L = half / (r 2^d),
// 0 <= K < r 2^d with K = s + r k.

struct Node {
    const FftShape& shape;
    u64 d, K;

    // w_m = e((1/4 + K) / (r 2^(d+m))): entry 4K + 1 of the table's level r 2^(d+m+2).
    Root root(u64 m) const {
        if (m == 1) return first_root();
        const double* block = shape.roots + (shape.radix << (d + m + 2)) / 2 + 8 * K;
        return {block[1], block[5]};
    }

    // Children of a split in two, four or eight, in the order that the butterflies leave them.
    Node child2(u64 i) const { return {shape, d + 1, K + i * (shape.radix << d)}; }
    Node child4(u64 i) const { return {shape, d + 2, K + reverse2(i) * (shape.radix << d)}; }
    Node child8(u64 i) const { return {shape, d + 3, K + reverse3(i) * (shape.radix << d)}; }

    static constexpr u64 reverse2(u64 i) { return (i & 1) << 1 | i >> 1; }
    static constexpr u64 reverse3(u64 i) { return (i & 1) << 2 | (i & 2) | i >> 2; }

  private:
    // w_1 may lie in the second quarter of the circle, which the table does not hold.
    Root first_root() const {
        const u64 r = shape.radix;
        if (d == 0) {
            if (r == 1) return {0.70710678118654752440, 0.70710678118654752440};
            // Entry 2 (1 + 4K) of level 16 r.
            u64 entry = 2 * (1 + 4 * K);
            const bool second = entry >= 4 * r;
            if (second) entry -= 4 * r;
            const double* block = shape.roots + 8 * r + entry / 4 * 8 + entry % 4;
            const Root root{block[0], block[4]};
            return second ? times_i(root) : root;
        }
        const u64 quarter = r << (d - 1);
        const bool second = K >= quarter;
        const double* block = shape.roots + (r << (d + 3)) / 2 + 8 * (second ? K - quarter : K);
        const Root root{block[1], block[5]};
        return second ? times_i(root) : root;
    }
};

[[gnu::always_inline]] inline Roots4 roots4(const Node& node) {
    const Root c2 = node.root(1), c1 = node.root(2);
    return {broadcast(c1), broadcast(c2), broadcast(mul(c1, c2))};
}
[[gnu::always_inline]] inline Roots8 roots8(const Node& node) {
    const Root c4 = node.root(1), c2 = node.root(2), c1 = node.root(3), d1 = node.child2(1).root(2);
    const Root d2 = times_i(c2);
    return {broadcast(c4),
            {broadcast(c1), broadcast(c2), broadcast(mul(c1, c2))},
            {broadcast(d1), broadcast(d2), broadcast(mul(d1, d2))}};
}

// Roots that differ by lane: lane v is child v of a split in `lanes`, so its w_m is w_(log lanes + m) of the node
// times e(reverse(v) / (lanes 2^m)).
struct LaneRoots {
    double re[Vec::lanes], im[Vec::lanes];
};
[[gnu::always_inline]] inline Complex by_lane(Root root, const LaneRoots& lanes) {
    const Complex c{Vec::load(lanes.re), Vec::load(lanes.im)};
    const Vec::D re = Vec::broadcast(root.re), im = Vec::broadcast(root.im);
    return {Vec::fms(re, c.re, Vec::mul(im, c.im)), Vec::fma(re, c.im, Vec::mul(im, c.re))};
}
