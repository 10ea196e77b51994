// The end of the tree: leaves of lanes^2 points, `lanes` vectors. A leaf is split by vectors, transposed, and split by
// vectors again, now with roots that differ by lane. Each of these steps runs over all leaves of a small node before
// the next one starts: a step's chain of operations is long, and the processor overlaps neighbouring leaves.

// The node that leaf i of a node's Leaves leaves belongs to, as base() splits it.
template <int Leaves>
[[gnu::always_inline]] inline Node leaf_node(const Node& node, u64 i) {
    static_assert(Leaves == 1 || Leaves == 2 || Leaves == 4 || Leaves == 8 || Leaves == 16);
    if constexpr (Leaves == 2) return node.child2(i);
    if constexpr (Leaves == 4) return node.child4(i);
    if constexpr (Leaves == 8) return Vec::lanes == 8 ? node.child8(i) : node.child4(i / 2).child2(i % 2);
    if constexpr (Leaves == 16) return node.child4(i / 4).child4(i % 4);
    return node;
}

struct Leaf {
    Complex v[Vec::lanes];

    [[gnu::always_inline]] explicit Leaf(const double* x) {
        for (u64 k = 0; k < Vec::lanes; ++k) v[k] = load(x + 2 * Vec::lanes * k);
    }
    [[gnu::always_inline]] void store_to(double* x) const {
        for (u64 k = 0; k < Vec::lanes; ++k) store(x + 2 * Vec::lanes * k, v[k]);
    }
    [[gnu::always_inline]] void transpose() {
        Vec::D re[Vec::lanes], im[Vec::lanes];
        for (u64 k = 0; k < Vec::lanes; ++k) re[k] = v[k].re, im[k] = v[k].im;
        Vec::transpose(re);
        Vec::transpose(im);
        for (u64 k = 0; k < Vec::lanes; ++k) v[k] = {re[k], im[k]};
    }
    template <Mode mode>
    [[gnu::always_inline]] void multiply(const double* a) {
        for (u64 k = 0; k < Vec::lanes; ++k) {
            if constexpr (mode == Mode::product) v[k] = mul(v[k], load(a + 2 * Vec::lanes * k));
            if constexpr (mode == Mode::square) v[k] = square(v[k]);
        }
    }
};

template <Mode mode, int Leaves>
[[gnu::noinline]] void leaves(double* x, const double* a, const Node& node) {
    constexpr u64 step = 2 * leaf_points;
    constexpr bool in_one = mode == Mode::product && product_in_one_step;
    if constexpr (goes_forward(mode)) {
        for (u64 i = 0; i < Leaves; ++i) {
            Leaf leaf(x + step * i);
            leaf_forward(leaf.v, leaf_roots(leaf_node<Leaves>(node, i)));
            leaf.store_to(x + step * i);
        }
        for (u64 i = 0; i < Leaves; ++i) {
            Leaf leaf(x + step * i);
            const LeafRoots roots = leaf_lane_roots(leaf_node<Leaves>(node, i));
            leaf.transpose();
            leaf_forward(leaf.v, roots);
            if constexpr (in_one) {
                leaf.multiply<mode>(a + step * i);
                leaf_inverse(leaf.v, roots);
                leaf.transpose();
            }
            leaf.store_to(x + step * i);
        }
    }
    if constexpr (goes_back(mode)) {
        for (u64 i = 0; i < Leaves && !in_one; ++i) {
            Leaf leaf(x + step * i);
            leaf.multiply<mode>(a + step * i);
            leaf_inverse(leaf.v, leaf_lane_roots(leaf_node<Leaves>(node, i)));
            leaf.transpose();
            leaf.store_to(x + step * i);
        }
        for (u64 i = 0; i < Leaves; ++i) {
            Leaf leaf(x + step * i);
            leaf_inverse(leaf.v, leaf_roots(leaf_node<Leaves>(node, i)));
            leaf.store_to(x + step * i);
        }
    }
}
