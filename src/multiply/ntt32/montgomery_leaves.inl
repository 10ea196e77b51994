// The leaves: products of polynomials of degree below 8 modulo x^8 - z.

// `lanes` polynomials at a time; lane i of x[j] is coefficient j of polynomial i. z in Montgomery form.
constexpr unsigned leaf_words = 8 * lanes;

AI V reduce_signed(V even, V odd, const Constants& c) {  // |sums| <= 2 p^2; their quotient by R
    const V me = mul64(mul64(even, c.inverse), c.p), mo = mul64(mul64(odd, c.inverse), c.p);
    const V high = wrap_up(high_halves(even, odd), c.p);
    return wrap_up(sub32(high, high_halves(me, mo)), c.p);
}

// Factors centred around zero: |x y| <= p^2 / 4, so eight of them fit a signed lane.
AI void multiply_leaf(V* x, V* y, const Factor& z, const Constants& c) {
    alignas(64) u32 xs[2][leaf_words], ys[2][leaf_words], zs[2][leaf_words];
#pragma GCC unroll 8
    for (unsigned j = 0; j < 8; ++j) {
        const V wrapped = centre(mul_lanes(y[j], z, c), c.p, c.half);
        const V xj = centre(x[j], c.p, c.half), yj = centre(y[j], c.p, c.half);
        store(xs[0] + lanes * j, xj);
        store(ys[0] + lanes * j, yj);
        store(zs[0] + lanes * j, wrapped);
        store(xs[1] + lanes * j, right64<32>(xj));
        store(ys[1] + lanes * j, right64<32>(yj));
        store(zs[1] + lanes * j, right64<32>(wrapped));
    }
    V sums[2][8];
#pragma GCC unroll 2
    for (unsigned odd = 0; odd < 2; ++odd) {
        V s[8];
#pragma GCC unroll 8
        for (unsigned j = 0; j < 8; ++j) {
            const V yj = load(ys[odd] + lanes * j), zj = load(zs[odd] + lanes * j);
#pragma GCC unroll 8
            for (unsigned i = 0; i < 8; ++i) {
                const V product = mul_signed64(load(xs[odd] + lanes * i), i + j < 8 ? yj : zj);
                V& sum = s[(i + j) % 8];
                sum = j == 0 ? product : add64(sum, product);
            }
        }
#pragma GCC unroll 8
        for (unsigned i = 0; i < 8; ++i) sums[odd][i] = s[i];
    }
#pragma GCC unroll 8
    for (unsigned i = 0; i < 8; ++i) x[i] = reduce_signed(sums[0][i], sums[1][i], c);
}

// The z of `lanes` consecutive leaves: T and -T of the nodes above them, node by node.
AI Factor leaf_roots(const Levels& t, unsigned level, u64 q, const Constants& c) {
    const u64 at = (u64{1} << level) + q;
    const V even_mask = set64(0xffffffff);
    alignas(64) u32 w[lanes], w1[lanes];
    for (unsigned i = 0; i < lanes; ++i) {
        const unsigned node = wide ? i % 8 / 2 * 2 + i / 8 : i / 2;
        w[i] = t.w[at + node];
        w1[i] = t.w1[at + node];
    }
    const V x = load(w), x1 = load(w1);
    const V odd = sub32(c.p, x), odd1 = sub32(set32(1), x1);  // p / p = 1
    const V odd_mask = set64(u64{0xffffffff} << 32);
    return {or64(and64(x, even_mask), and64(odd, odd_mask)), or64(and64(x1, even_mask), and64(odd1, odd_mask))};
}

void multiply_leaves(u32* a, const u32* b, unsigned block_log, const Levels& t, const Constants& c0) {
    const Constants c = c0;
    const unsigned level = block_log - 4;
    for (u64 k = 0, q = 0; k < u64{1} << block_log; k += leaf_words, q += lanes / 2) {
        V x[8], y[8];
#pragma GCC unroll 8
        for (unsigned j = 0; j < 8; ++j) x[j] = load(a + k + lanes * j);
        transpose(x);
#pragma GCC unroll 8
        for (unsigned j = 0; j < 8; ++j) y[j] = load(b + k + lanes * j);
        transpose(y);
        multiply_leaf(x, y, leaf_roots(t, level, q, c), c);
        transpose(x);
#pragma GCC unroll 8
        for (unsigned j = 0; j < 8; ++j) store(a + k + lanes * j, x[j]);
    }
}
