// The first pass, which splits the whole modulo t^half - i: radix 1, 2, 4, or 3 and 5 where the length has that
// factor. forward_real takes points without imaginary parts.

template <int Radix>
struct FirstPass;

template <>
struct FirstPass<1> {
    explicit FirstPass(const FftShape&) {}
    void forward(Complex*) const {}
    void forward_real(Complex*) const {}
    void inverse(Complex*) const {}
};

// u + e(1/8) v and u - e(1/8) v of real u and v.
[[gnu::always_inline]] inline void forward2_real(Complex& u, Complex& v) {
    const Vec::D t = Vec::mul(v.re, Vec::broadcast(0.70710678118654752440)), x = u.re;
    u = {Vec::add(x, t), t};
    v = {Vec::sub(x, t), Vec::sub(Vec::zero(), t)};
}

template <>
struct FirstPass<2> {
    Complex c;
    explicit FirstPass(const FftShape& shape) : c(Node(shape, 0).root(1)) {}
    [[gnu::always_inline]] void forward(Complex* x) const { forward2(x[0], x[1], c); }
    [[gnu::always_inline]] void forward_real(Complex* x) const { forward2_real(x[0], x[1]); }
    [[gnu::always_inline]] void inverse(Complex* x) const { inverse2(x[0], x[1], c); }
};

template <>
struct FirstPass<4> {
    Roots4 w;
    explicit FirstPass(const FftShape& shape) : w(roots4({shape, 0})) {}
    [[gnu::always_inline]] void forward(Complex* x) const { forward4(x, w); }
    [[gnu::always_inline]] void forward_real(Complex* x) const {
        forward2_real(x[0], x[2]);
        const Complex t1{Vec::mul(x[1].re, w.c1.re), Vec::mul(x[1].re, w.c1.im)};
        const Complex t3{Vec::mul(x[3].re, w.c3.re), Vec::mul(x[3].re, w.c3.im)};
        const Complex s = add(t1, t3), d = sub(t1, t3), s0 = x[0], d0 = x[2];
        x[0] = add(s0, s), x[1] = sub(s0, s);
        x[2] = add_i(d0, d), x[3] = sub_i(d0, d);
    }
    [[gnu::always_inline]] void inverse(Complex* x) const { inverse4(x, w); }
};

// Discrete transforms of three and five points; Sign is that of i in the exponent.
template <int Sign>
[[gnu::always_inline]] inline void dft3(Complex* x) {
    const Vec::D half = Vec::broadcast(0.5), sine = Vec::broadcast(Sign * 0.86602540378443864676);
    const Complex s = add(x[1], x[2]), t = sub(x[1], x[2]);
    const Complex m{Vec::fnma(half, s.re, x[0].re), Vec::fnma(half, s.im, x[0].im)};
    x[0] = add(x[0], s);
    x[1] = {Vec::fnma(sine, t.im, m.re), Vec::fma(sine, t.re, m.im)};
    x[2] = {Vec::fma(sine, t.im, m.re), Vec::fnma(sine, t.re, m.im)};
}
template <int Sign>
[[gnu::always_inline]] inline void dft5(Complex* x) {
    const Vec::D c1 = Vec::broadcast(0.30901699437494742410), c2 = Vec::broadcast(-0.80901699437494742410);
    const Vec::D s1 = Vec::broadcast(Sign * 0.95105651629515357212),
                 s2 = Vec::broadcast(Sign * 0.58778525229247312917);
    const Complex a1 = add(x[1], x[4]), t1 = sub(x[1], x[4]), a2 = add(x[2], x[3]), t2 = sub(x[2], x[3]);
    const Complex m1{Vec::fma(c1, a1.re, Vec::fma(c2, a2.re, x[0].re)),
                     Vec::fma(c1, a1.im, Vec::fma(c2, a2.im, x[0].im))};
    const Complex m2{Vec::fma(c2, a1.re, Vec::fma(c1, a2.re, x[0].re)),
                     Vec::fma(c2, a1.im, Vec::fma(c1, a2.im, x[0].im))};
    const Complex n1{Vec::fma(s1, t1.re, Vec::mul(s2, t2.re)), Vec::fma(s1, t1.im, Vec::mul(s2, t2.im))};
    const Complex n2{Vec::fms(s2, t1.re, Vec::mul(s1, t2.re)), Vec::fms(s2, t1.im, Vec::mul(s1, t2.im))};
    x[0] = add(x[0], add(a1, a2));
    x[1] = add_i(m1, n1), x[4] = sub_i(m1, n1);
    x[2] = add_i(m2, n2), x[3] = sub_i(m2, n2);
}

// Output s is the sum over k of x_k e(k / (4 Radix)) e(k s / Radix).
template <int Radix>
struct OddPass {
    Complex w[Radix];
    explicit OddPass(const FftShape& shape) {
        for (u64 k = 1; k < Radix; ++k) {
            const double* block = shape.roots + 8 * Radix + 8 * k;  // level 16 Radix, entry 4k
            w[k] = {Vec::broadcast(block[0]), Vec::broadcast(block[4])};
        }
    }
    [[gnu::always_inline]] void forward(Complex* x) const {
        for (int k = 1; k < Radix; ++k) x[k] = mul(x[k], w[k]);
        dft<1>(x);
    }
    [[gnu::always_inline]] void forward_real(Complex* x) const {
        for (int k = 1; k < Radix; ++k) x[k] = {Vec::mul(x[k].re, w[k].re), Vec::mul(x[k].re, w[k].im)};
        x[0].im = Vec::zero();
        dft<1>(x);
    }
    [[gnu::always_inline]] void inverse(Complex* x) const {
        dft<-1>(x);
        for (int k = 1; k < Radix; ++k) x[k] = mul_conj(x[k], w[k]);
    }

  private:
    template <int Sign>
    [[gnu::always_inline]] static void dft(Complex* x) {
        if constexpr (Radix == 3) dft3<Sign>(x);
        if constexpr (Radix == 5) dft5<Sign>(x);
    }
};
template <>
struct FirstPass<3> : OddPass<3> {
    using OddPass::OddPass;
};
template <>
struct FirstPass<5> : OddPass<5> {
    using OddPass::OddPass;
};

template <int Radix>
[[gnu::noinline]] void last_pass(const FftShape& shape, double* x, u64 begin, u64 end) {
    const FirstPass<Radix> pass(shape);
    const u64 stride = 2 * shape.half / Radix;  // doubles
    for (u64 j = 16 * begin; j < 16 * end; j += 2 * Vec::lanes) {
        Complex v[Radix];
        for (u64 k = 0; k < Radix; ++k) v[k] = load(x + k * stride + j);
        pass.inverse(v);
        for (u64 k = 0; k < Radix; ++k) store(x + k * stride + j, v[k]);
    }
}
void last(const FftShape& shape, double* x, u64 begin, u64 end) {
    switch (shape.first_radix) {
        case 1: return;
        case 2: return last_pass<2>(shape, x, begin, end);
        case 3: return last_pass<3>(shape, x, begin, end);
        case 4: return last_pass<4>(shape, x, begin, end);
        case 5: return last_pass<5>(shape, x, begin, end);
    }
}
