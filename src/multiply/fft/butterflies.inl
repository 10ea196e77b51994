// Complex vectors and the butterflies of the root tree. A node splits modulo t^L - w^2 into t^(L/2) - w and + w, so
// the forward butterfly multiplies first, the inverse one last. e(x) = exp(2 pi i x).

struct Complex {
    Vec::D re, im;
};

[[gnu::always_inline]] inline Complex load(const double* p) { return {Vec::load(p), Vec::load(p + Vec::lanes)}; }
[[gnu::always_inline]] inline void store(double* p, Complex x) {
    Vec::store(p, x.re);
    Vec::store(p + Vec::lanes, x.im);
}
[[gnu::always_inline]] inline Complex add(Complex x, Complex y) {
    return {Vec::add(x.re, y.re), Vec::add(x.im, y.im)};
}
[[gnu::always_inline]] inline Complex sub(Complex x, Complex y) {
    return {Vec::sub(x.re, y.re), Vec::sub(x.im, y.im)};
}
// x + i y, x - i y
[[gnu::always_inline]] inline Complex add_i(Complex x, Complex y) {
    return {Vec::sub(x.re, y.im), Vec::add(x.im, y.re)};
}
[[gnu::always_inline]] inline Complex sub_i(Complex x, Complex y) {
    return {Vec::add(x.re, y.im), Vec::sub(x.im, y.re)};
}
[[gnu::always_inline]] inline Complex mul(Complex x, Complex y) {
    return {Vec::fms(x.re, y.re, Vec::mul(x.im, y.im)), Vec::fma(x.re, y.im, Vec::mul(x.im, y.re))};
}
// x * conj(y)
[[gnu::always_inline]] inline Complex mul_conj(Complex x, Complex y) {
    return {Vec::fma(x.re, y.re, Vec::mul(x.im, y.im)), Vec::fms(x.im, y.re, Vec::mul(x.re, y.im))};
}
[[gnu::always_inline]] inline Complex square(Complex x) {
    return {Vec::fms(x.re, x.re, Vec::mul(x.im, x.im)), Vec::mul(Vec::add(x.re, x.re), x.im)};
}

[[gnu::always_inline]] inline Complex times_i(Complex x) { return {Vec::sub(Vec::zero(), x.im), x.re}; }

// (u, v) -> (u + c v, u - c v)
[[gnu::always_inline]] inline void forward2(Complex& u, Complex& v, Complex c) {
    const Vec::D two = Vec::broadcast(2.0);
    const Complex s{Vec::fnma(v.im, c.im, Vec::fma(v.re, c.re, u.re)),
                    Vec::fma(v.im, c.re, Vec::fma(v.re, c.im, u.im))};
    v = {Vec::fms(two, u.re, s.re), Vec::fms(two, u.im, s.im)};
    u = s;
}
[[gnu::always_inline]] inline void inverse2(Complex& u, Complex& v, Complex c) {
    const Complex d = sub(u, v);
    u = add(u, v);
    v = mul_conj(d, c);
}

// Radix 4: the roots w, w^2, w^3; children in the order w, -w, iw, -iw.
struct Roots4 {
    Complex c1, c2, c3;
};
[[gnu::always_inline]] inline void forward4(Complex* x, const Roots4& w) {
    // The first addition rides on the multiplication, the others do not: this balances multiplying and adding units.
    forward2(x[0], x[2], w.c2);
    const Complex t1 = mul(x[1], w.c1), t3 = mul(x[3], w.c3);
    const Complex s = add(t1, t3), d = sub(t1, t3), s0 = x[0], d0 = x[2];
    x[0] = add(s0, s), x[1] = sub(s0, s);
    x[2] = add_i(d0, d), x[3] = sub_i(d0, d);
}
[[gnu::always_inline]] inline void inverse4(Complex* x, const Roots4& w) {
    const Complex s0 = add(x[0], x[1]), d0 = sub(x[0], x[1]), s1 = add(x[2], x[3]), d1 = sub(x[2], x[3]);
    x[0] = add(s0, s1);
    x[2] = mul_conj(sub(s0, s1), w.c2);
    x[1] = mul_conj(sub_i(d0, d1), w.c1);
    x[3] = mul_conj(add_i(d0, d1), w.c3);
}

// Radix 8: a split by c, then radix 4 in both children (roots of w^2 = c and of -c).
struct Roots8 {
    Complex c;
    Roots4 plus, minus;
};
[[gnu::always_inline]] inline void forward8(Complex* x, const Roots8& w) {
    for (int k = 0; k < 4; ++k) forward2(x[k], x[k + 4], w.c);
    forward4(x, w.plus);
    forward4(x + 4, w.minus);
}
[[gnu::always_inline]] inline void inverse8(Complex* x, const Roots8& w) {
    inverse4(x, w.plus);
    inverse4(x + 4, w.minus);
    for (int k = 0; k < 4; ++k) inverse2(x[k], x[k + 4], w.c);
}
