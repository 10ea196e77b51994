// Leaves of 64 points, eight vectors, held in registers from the forward transform through the product to the
// inverse: radix 8, transposition, radix 8 with roots by lane, and back.

constexpr u64 leaf_points = 64;
constexpr LaneRoots leaf_roots_4 = lane_roots(1), leaf_roots_5 = lane_roots(2), leaf_roots_6 = lane_roots(3);

[[gnu::always_inline]] inline Roots8 leaf_lane_roots(const Node& node) {
    const Complex c4 = by_lane(node.root(4), leaf_roots_4), c2 = by_lane(node.root(5), leaf_roots_5);
    const Complex c1 = by_lane(node.root(6), leaf_roots_6);
    // The second half's first root is e(1/8) c1.
    const Vec::D eighth = Vec::broadcast(0.70710678118654752440);
    const Complex d1{Vec::mul(eighth, Vec::sub(c1.re, c1.im)), Vec::mul(eighth, Vec::add(c1.re, c1.im))};
    const Complex d2 = times_i(c2);
    return {c4, {c1, c2, mul(c1, c2)}, {d1, d2, mul(d1, d2)}};
}

[[gnu::always_inline]] inline void transpose(Complex* v) {
    Vec::D re[8], im[8];
    for (int k = 0; k < 8; ++k) re[k] = v[k].re, im[k] = v[k].im;
    Vec::transpose(re);
    Vec::transpose(im);
    for (int k = 0; k < 8; ++k) v[k] = {re[k], im[k]};
}

template <Mode mode>
[[gnu::noinline]] void leaf(double* x, const double* a, Node node) {
    Complex v[8];
    for (int k = 0; k < 8; ++k) v[k] = load(x + 16 * k);
    if constexpr (goes_forward(mode)) {
        forward8(v, roots8(node));
        transpose(v);
        forward8(v, leaf_lane_roots(node));
    }
    for (int k = 0; k < 8; ++k) {
        if constexpr (mode == Mode::product) v[k] = mul(v[k], load(a + 16 * k));
        if constexpr (mode == Mode::square) v[k] = square(v[k]);
    }
    if constexpr (goes_back(mode)) {
        inverse8(v, leaf_lane_roots(node));
        transpose(v);
        inverse8(v, roots8(node));
    }
    for (int k = 0; k < 8; ++k) store(x + 16 * k, v[k]);
}

template <Mode mode>
[[gnu::always_inline]] inline void leaves4(double* x, const double* a, Node node) {
    for (u64 i = 0; i < 4; ++i) leaf<mode>(x + 2 * leaf_points * i, a + 2 * leaf_points * i, node.child4(i));
}
