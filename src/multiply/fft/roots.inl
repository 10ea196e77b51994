// Where a node finds its roots. Node (d, K) of the tree is modulo t^L - e((1/4 + K) / (r 2^d)), L = half / (r 2^d),
// 0 <= K < r 2^d with K = s + r k. The loads of roots stand at the start of every short loop: no branch, no scalar
// arithmetic that would have to be moved into vectors.

class Node {
    const double* roots_;  // the radix's sub-table
    u64 span_;             // r 2^d
    u64 K_;

    Node(const double* roots, u64 span, u64 K) : roots_(roots), span_(span), K_(K) {}

  public:
    Node(const FftShape& shape, u64 K) : Node(shape.roots, shape.radix, K) {}

    // Children of a split in two, four or eight, in the order that the butterflies leave them.
    Node child2(u64 i) const { return {roots_, 2 * span_, K_ + i * span_}; }
    Node child4(u64 i) const { return {roots_, 4 * span_, K_ + reverse2(i) * span_}; }
    Node child8(u64 i) const { return {roots_, 8 * span_, K_ + reverse3(i) * span_}; }

    static constexpr u64 reverse2(u64 i) { return (i & 1) << 1 | i >> 1; }
    static constexpr u64 reverse3(u64 i) { return (i & 1) << 2 | (i & 2) | i >> 2; }

    // w_m = e((1/4 + K) / (r 2^(d+m))): entry 4K + 1 of the table's level r 2^(d+m+2).
    [[gnu::always_inline]] Complex root(u64 m) const {
        if (m == 1) return first_root();
        const double* p = roots_ + (span_ << (m + 1)) + 8 * K_ + 1;
        return {Vec::broadcast(p[0]), Vec::broadcast(p[4])};
    }

  private:
    // w_1 may lie in the second quarter of the circle, which the table does not hold: then it is i times the entry a
    // quarter before. The whole (span odd) finds it one level further down, level r 2^4, as entry 8K + 2.
    [[gnu::always_inline]] Complex first_root() const {
        constexpr double signs[] = {1, -1};
        const u64 second = 2 * K_ >= span_;
        const u64 block = 4 * span_ + 8 * K_ - (second ? 4 * span_ : 0);
        const double* p = roots_ + ((block + 1) << (span_ & 1));
        return {Vec::mul(Vec::broadcast(p[4 * second]), Vec::broadcast(signs[second])),
                Vec::broadcast(p[4 - 4 * second])};
    }
};

[[gnu::always_inline]] inline Roots4 roots4(const Node& node) {
    const Complex c2 = node.root(1), c1 = node.root(2);
    return {c1, c2, mul(c1, c2)};
}
[[gnu::always_inline]] inline Roots8 roots8(const Node& node) {
    const Complex c4 = node.root(1), c2 = node.root(2), c1 = node.root(3);
    const Complex d1 = node.child2(1).root(2), d2 = times_i(c2);
    return {c4, {c1, c2, mul(c1, c2)}, {d1, d2, mul(d1, d2)}};
}

// Roots that differ by lane: lane v is child v of a split in `lanes`, so its w_m is w_(log lanes + m) of the node times
// e(reverse(v) / (lanes 2^m)).
struct LaneRoots {
    double re[Vec::lanes], im[Vec::lanes];
};
[[gnu::always_inline]] inline Complex by_lane(Complex root, const LaneRoots& lanes) {
    return mul(root, {Vec::load(lanes.re), Vec::load(lanes.im)});
}
