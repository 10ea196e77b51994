// The kernels of kernel_table.h, once for every word level.

using u64 = std::uint64_t;
__extension__ typedef unsigned __int128 u128;

inline u64 high(u64 a, u64 b) { return static_cast<u64>((static_cast<u128>(a) * b) >> 64); }

// Lazy to reduced. In assembly because the compiler makes branches of the comparison, and these are never predicted.
inline u64 once(u64 x, u64 p) {
    u64 y = x;
    asm("sub %2, %0\n\tcmovc %1, %0" : "+&r"(y) : "r"(x), "rm"(p) : "cc");
    return y;
}
inline u64 add(u64 a, u64 b, u64 p) { return once(a + b, p); }  // reduced
inline u64 sub(u64 a, u64 b, u64 p) { return once(a - b + p, p); }

// x * w mod p for any x, lazy: the remainder is below p + x * p / 2^64.
inline u64 mul_lazy(u64 x, u64 w, u64 quotient, u64 p) { return x * w - high(x, quotient) * p; }
inline u64 mul(u64 x, u64 w, u64 quotient, u64 p) { return once(mul_lazy(x, w, quotient, p), p); }
inline u64 mul(u64 x, Twiddle t, u64 p) { return mul(x, t.w, t.quotient, p); }

// sum / 2^64 mod p for sums of up to four products of reduced values (their high words are below 2p), reduced.
inline u64 reduce(u128 sum, const Modulus& m) {
    const u64 q = static_cast<u64>(sum) * m.inverse;
    return sub(once(static_cast<u64>(sum >> 64), m.p), high(q, m.p), m.p);
}

void cut(Point* out, const Point* words, std::size_t n, const Modulus& m) noexcept {
    for (std::size_t i = 0; i < n; ++i) out[i] = mul(words[i], 1, m.one_quotient, m.p);
}

// w = root * scale; its quotient from the remainder of w * 2^64, as w * 2^64 - remainder divides exactly.
inline Twiddle make_twiddle(u64 root, const LevelScale& s, const Modulus& m) {
    const u64 remainder = mul(root, s.scale_shifted, m.p);
    return {mul(root, s.scale, m.p), (u64{0} - remainder) * m.inverse};
}

void twiddles(Twiddle* out, const u64* roots, const LevelScale* scales, unsigned levels, const Modulus& m) noexcept {
    for (unsigned l = 0; l < levels; ++l) {
        const std::size_t n = std::size_t{1} << l;
        for (std::size_t i = 0; i < n; ++i) out[n + i] = make_twiddle(roots[i], scales[l], m);
    }
}

inline Twiddle negated(Twiddle t, const Modulus& m) { return {m.p - t.w, ~t.quotient}; }  // w > 0

void inverse_twiddles(Twiddle* out, const u64* roots, const LevelScale* scales, unsigned levels,
                      const Modulus& m) noexcept {
    for (unsigned l = 0; l < levels; ++l) {
        const std::size_t n = std::size_t{1} << l;
        out[n] = make_twiddle(1, scales[l], m);
        for (std::size_t octave = 1; octave < n; octave *= 2) {
            for (std::size_t i = 0; i < octave; ++i)
                out[n + octave + i] = negated(make_twiddle(roots[2 * octave - 1 - i], scales[l], m), m);
        }
    }
}

inline void split(u64& u, u64& v, u64 w, u64 quotient, u64 p) {
    const u64 a = once(u, p), b = mul(v, w, quotient, p);
    u = a + b;
    v = a - b + p;
}

inline void unite(u64& u, u64& v, u64 w, u64 quotient, u64 p) {
    const u64 s = add(u, v, p), d = u - v + p;
    u = s;
    v = mul(d, w, quotient, p);
}

void forward2(Point* x, std::size_t nodes, std::size_t half, const Twiddle* w, u64 p) {
    for (std::size_t i = 0; i < nodes; ++i, x += 2 * half) {
        const Twiddle t = w[i];
        for (std::size_t j = 0; j < half; ++j) {
            u64 u = x[j], v = x[half + j];
            split(u, v, t.w, t.quotient, p);
            x[j] = u;
            x[half + j] = v;
        }
    }
}

// Two levels in one pass: w the nodes' twiddles, below[2i], below[2i + 1] those of node i's children.
void forward4(Point* x, std::size_t nodes, std::size_t quarter, const Twiddle* w, const Twiddle* below, u64 p) {
    for (std::size_t i = 0; i < nodes; ++i, x += 4 * quarter) {
        const Twiddle t = w[i], t0 = below[2 * i], t1 = below[2 * i + 1];
        for (std::size_t j = 0; j < quarter; ++j) {
            Point* const y = x + j;
            u64 a = y[0], b = y[quarter], c = y[2 * quarter], d = y[3 * quarter];
            split(a, c, t.w, t.quotient, p);
            split(b, d, t.w, t.quotient, p);
            split(a, b, t0.w, t0.quotient, p);
            split(c, d, t1.w, t1.quotient, p);
            y[0] = a;
            y[quarter] = b;
            y[2 * quarter] = c;
            y[3 * quarter] = d;
        }
    }
}

void inverse2(Point* x, std::size_t nodes, std::size_t half, const Twiddle* w, u64 p) {
    for (std::size_t i = 0; i < nodes; ++i, x += 2 * half) {
        const Twiddle t = w[i];
        for (std::size_t j = 0; j < half; ++j) {
            u64 u = x[j], v = x[half + j];
            unite(u, v, t.w, t.quotient, p);
            x[j] = u;
            x[half + j] = v;
        }
    }
}

void inverse4(Point* x, std::size_t nodes, std::size_t quarter, const Twiddle* w, const Twiddle* below, u64 p) {
    for (std::size_t i = 0; i < nodes; ++i, x += 4 * quarter) {
        const Twiddle t = w[i], t0 = below[2 * i], t1 = below[2 * i + 1];
        for (std::size_t j = 0; j < quarter; ++j) {
            Point* const y = x + j;
            u64 a = y[0], b = y[quarter], c = y[2 * quarter], d = y[3 * quarter];
            unite(a, b, t0.w, t0.quotient, p);
            unite(c, d, t1.w, t1.quotient, p);
            unite(a, c, t.w, t.quotient, p);
            unite(b, d, t.w, t.quotient, p);
            y[0] = a;
            y[quarter] = b;
            y[2 * quarter] = c;
            y[3 * quarter] = d;
        }
    }
}

void forward(Point* x, std::size_t n, unsigned levels, const Twiddle* w, u64 p) noexcept {
    unsigned l = 0;
    if (levels % 2 != 0) {
        forward2(x, 1, n / 2, w + 1, p);
        l = 1;
    }
    for (; l < levels; l += 2) {
        const std::size_t nodes = std::size_t{1} << l;
        forward4(x, nodes, n / nodes / 4, w + nodes, w + 2 * nodes, p);
    }
}

void inverse(Point* x, std::size_t n, unsigned levels, const Twiddle* w, u64 p) noexcept {
    for (unsigned l = levels; l >= 2; l -= 2) {
        const std::size_t nodes = std::size_t{1} << (l - 2);
        inverse4(x, nodes, n / nodes / 4, w + nodes, w + 2 * nodes, p);
    }
    if (levels % 2 != 0) inverse2(x, 1, n / 2, w + 1, p);
}

// Pairs a[j], a[r - j] are summed and subtracted first, so that each output needs (r - 1) / 2 products of each kind
// and no more than three are summed before a reduction.
template <unsigned r>
void radix(Point* x, std::size_t m, const RadixConstants& constants, const Modulus& modulus) noexcept {
    constexpr unsigned h = (r - 1) / 2;
    const u64 p = modulus.p;
    for (std::size_t i = 0; i < m; ++i, ++x) {
        const u64 first = once(x[0], p);
        u64 sums[h], differences[h], total = first;
        for (unsigned j = 1; j <= h; ++j) {
            const u64 a = once(x[j * m], p), b = once(x[(r - j) * m], p);
            sums[j - 1] = add(a, b, p);
            differences[j - 1] = sub(a, b, p);
            total = add(total, sums[j - 1], p);
        }
        x[0] = total;
        for (unsigned k = 1; k <= h; ++k) {
            u128 even = 0, odd = 0;
            for (unsigned j = 1; j <= h; ++j) {
                even += static_cast<u128>(sums[j - 1]) * constants.even[j * k % r];
                odd += static_cast<u128>(differences[j - 1]) * constants.odd[j * k % r];
            }
            const u64 e = add(first, reduce(even, modulus), p), o = reduce(odd, modulus);
            x[k * m] = add(e, o, p);
            x[(r - k) * m] = sub(e, o, p);
        }
    }
}

inline u128 product(u64 a, u64 b) { return static_cast<u128>(a) * b; }

inline void multiply_leaf(Point* a, const Point* b, u64 w, u64 quotient, const Modulus& m) {
    const u64 p = m.p;
    const u64 a0 = once(a[0], p), a1 = once(a[1], p), a2 = once(a[2], p), a3 = once(a[3], p);
    const u64 b0 = once(b[0], p), b1 = once(b[1], p), b2 = once(b[2], p), b3 = once(b[3], p);
    const u64 z1 = mul(b1, w, quotient, p), z2 = mul(b2, w, quotient, p), z3 = mul(b3, w, quotient, p);
    a[0] = reduce(product(a0, b0) + product(a1, z3) + product(a2, z2) + product(a3, z1), m);
    a[1] = reduce(product(a0, b1) + product(a1, b0) + product(a2, z3) + product(a3, z2), m);
    a[2] = reduce(product(a0, b2) + product(a1, b1) + product(a2, b0) + product(a3, z3), m);
    a[3] = reduce(product(a0, b3) + product(a1, b2) + product(a2, b1) + product(a3, b0), m);
}

inline void square_leaf(Point* a, u64 w, u64 quotient, const Modulus& m) {
    const u64 p = m.p;
    const u64 a0 = once(a[0], p), a1 = once(a[1], p), a2 = once(a[2], p), a3 = once(a[3], p);
    const u64 d0 = add(a0, a0, p), d1 = add(a1, a1, p);
    const u64 z2 = mul(a2, w, quotient, p), z3 = mul(a3, w, quotient, p);
    a[0] = reduce(product(a0, a0) + product(d1, z3) + product(a2, z2), m);
    a[1] = reduce(product(d0, a1) + product(add(a2, a2, p), z3), m);
    a[2] = reduce(product(d0, a2) + product(a1, a1) + product(a3, z3), m);
    a[3] = reduce(product(d0, a3) + product(d1, a2), m);
}

void multiply(Point* a, const Point* b, std::size_t pairs, const Twiddle* z, const Modulus& m) noexcept {
    for (std::size_t i = 0; i < pairs; ++i, a += 8, b += 8) {
        const Twiddle t = z[i], n = negated(t, m);
        multiply_leaf(a, b, t.w, t.quotient, m);
        multiply_leaf(a + 4, b + 4, n.w, n.quotient, m);
    }
}

void square(Point* a, std::size_t pairs, const Twiddle* z, const Modulus& m) noexcept {
    for (std::size_t i = 0; i < pairs; ++i, a += 8) {
        const Twiddle t = z[i], n = negated(t, m);
        square_leaf(a, t.w, t.quotient, m);
        square_leaf(a + 4, n.w, n.quotient, m);
    }
}

void join(Point* x1, std::size_t stride, std::size_t n, const JoinConstants& constants, u64* carry) noexcept {
    const WideJoin k = constants.wide;
    const Point *const x2 = x1 + stride, *const x3 = x2 + stride;
    u64 low = carry[0], high_word = carry[1];
    for (std::size_t i = 0; i < n; ++i) {
        const u64 v1 = mul(x1[i], k.s1, k.p1);
        const u64 v2 = sub(mul(x2[i], k.s2, k.p2), mul(v1, k.v1_2, k.p2), k.p2);
        const u64 t = sub(mul(x3[i], k.s3, k.p3), mul(v1, k.v1_3, k.p3), k.p3);
        const u64 v3 = sub(t, mul(v2, k.v2_3, k.p3), k.p3);
        // value + carry < 2^189 + 2^128
        const u128 middle = product(v2, k.p1), lower = product(v3, k.p12_low), upper = product(v3, k.p12_high);
        u128 sum = static_cast<u128>(v1) + low + static_cast<u64>(middle);
        sum += static_cast<u64>(lower);
        x1[i] = static_cast<u64>(sum);
        sum = (sum >> 64) + high_word + static_cast<u64>(middle >> 64);
        sum += static_cast<u64>(lower >> 64);
        sum += upper;
        low = static_cast<u64>(sum);
        high_word = static_cast<u64>(sum >> 64);
    }
    carry[0] = low;
    carry[1] = high_word;
}
