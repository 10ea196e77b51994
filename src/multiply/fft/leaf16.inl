// Leaves of 16 points, four vectors: radix 4, transposition, radix 4 with roots by lane. With 16 registers the two
// halves, before and after the product, are separate loops over the leaves of a node.

constexpr u64 leaf_points = 16;
constexpr bool leaf_in_one = false;
constexpr LaneRoots leaf_roots_3 = lane_roots(1), leaf_roots_4 = lane_roots(2);

[[gnu::always_inline]] inline Roots4 leaf_lane_roots(const Node& node) {
    const Complex c2 = by_lane(node.root(3), leaf_roots_3), c1 = by_lane(node.root(4), leaf_roots_4);
    return {c1, c2, mul(c1, c2)};
}

[[gnu::always_inline]] inline void transpose(Complex* v) {
    Vec::D re[4] = {v[0].re, v[1].re, v[2].re, v[3].re}, im[4] = {v[0].im, v[1].im, v[2].im, v[3].im};
    Vec::transpose(re);
    Vec::transpose(im);
    for (int k = 0; k < 4; ++k) v[k] = {re[k], im[k]};
}

[[gnu::noinline]] void leaf_forward(double* x, Node node) {
    Complex v[4];
    for (int k = 0; k < 4; ++k) v[k] = load(x + 8 * k);
    forward4(v, roots4(node));
    transpose(v);
    forward4(v, leaf_lane_roots(node));
    for (int k = 0; k < 4; ++k) store(x + 8 * k, v[k]);
}

template <Mode mode>
[[gnu::noinline]] void leaf_inverse(double* x, const double* a, Node node) {
    Complex v[4];
    for (int k = 0; k < 4; ++k) {
        v[k] = load(x + 8 * k);
        if constexpr (mode == Mode::product) v[k] = mul(v[k], load(a + 8 * k));
        if constexpr (mode == Mode::square) v[k] = square(v[k]);
    }
    inverse4(v, leaf_lane_roots(node));
    transpose(v);
    inverse4(v, roots4(node));
    for (int k = 0; k < 4; ++k) store(x + 8 * k, v[k]);
}

template <Mode mode>
[[gnu::always_inline]] inline void leaf(double* x, const double* a, Node node) {
    if constexpr (goes_forward(mode)) leaf_forward(x, node);
    if constexpr (goes_back(mode)) leaf_inverse<mode>(x, a, node);
}

// The four leaves of a node, a loop for each half.
template <Mode mode>
[[gnu::always_inline]] inline void leaves4(double* x, const double* a, Node node) {
    if constexpr (goes_forward(mode))
        for (u64 i = 0; i < 4; ++i) leaf_forward(x + 2 * leaf_points * i, node.child4(i));
    if constexpr (goes_back(mode))
        for (u64 i = 0; i < 4; ++i)
            leaf_inverse<mode>(x + 2 * leaf_points * i, a + 2 * leaf_points * i, node.child4(i));
}
