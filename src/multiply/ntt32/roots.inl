// What every kernel shares: roots by their place in the splitting, and the butterflies of the odd radices written
// once over a small set of operations.

struct Splitting {
    unsigned radix, branch, depth;  // node `node` of level `depth` in branch `branch`
    u64 node;
    bool negacyclic;
};

u32 mul_mod(u32 a, u32 b, u32 p) { return static_cast<u32>(u64{a} * b % p); }

// T[m], or its inverse: -T with all bits below the top one flipped.
u32 root_at(const Prime& prime, u64 m, bool inverse) {
    const u64 n = 512;
    if (inverse && m != 0) m ^= (u64{1} << (63 - __builtin_clzll(m))) - 1;
    const u32 t = mul_mod(prime.inner[m % n], prime.steps[m / n], prime.p);
    return inverse && m != 0 ? prime.p - t : t;
}

// Exponent of the radix root w whose 2^(depth + 1)-th power is w^branch: the branch of the square roots at a depth.
unsigned branch_at(unsigned radix, unsigned branch, unsigned depth) {
    for (unsigned i = 0; i <= depth; ++i) branch = branch % 2 == 0 ? branch / 2 : (branch + radix) / 2;
    return branch;
}

// ---- discrete Fourier transforms of length 3, 5 and 7 ----
// Sums over the pairs y and radix - y separate into an even and an odd part; the even parts for 7 form a cyclic
// convolution of length 3, as the odd ones do after a change of signs.

u32 half_of(u32 x, u32 p) { return x % 2 == 0 ? x / 2 : x / 2 + p / 2 + 1; }
u32 add_mod(u32 a, u32 b, u32 p) { return static_cast<u32>((u64{a} + b) % p); }
u32 sub_mod(u32 a, u32 b, u32 p) { return static_cast<u32>((u64{a} + p - b) % p); }

template <unsigned radix>
void radix_constants(const Prime& prime, bool inverse, u32* out) {
    const u32 p = prime.p;
    u32 even[4], odd[4];  // (w^k + w^-k) / 2, (w^k - w^-k) / 2
    for (unsigned k = 1; k <= radix / 2; ++k) {
        const u32 a = prime.inner[512 * (inverse ? radix - k : k)], b = prime.inner[512 * (inverse ? k : radix - k)];
        even[k] = half_of(add_mod(a, b, p), p);
        odd[k] = half_of(sub_mod(a, b, p), p);
    }
    for (unsigned i = 0; i < 8; ++i) out[i] = 0;
    if constexpr (radix == 3) {
        out[0] = prime.inner[512 * (inverse ? 2 : 1)];
    } else if constexpr (radix == 5) {
        out[0] = half_of(add_mod(even[1], even[2], p), p);
        out[1] = half_of(sub_mod(even[1], even[2], p), p);
        out[2] = odd[1];
        out[3] = sub_mod(odd[2], odd[1], p);
        out[4] = add_mod(odd[1], odd[2], p);
    } else if constexpr (radix == 7) {
        const u32 third = static_cast<u32>(p % 3 == 2 ? (u64{p} + 1) / 3 : (2 * u64{p} + 1) / 3);
        u32 g[4] = {0, even[1], even[2], even[3]}, h[4] = {0, odd[1], odd[2], sub_mod(0, odd[3], p)};
        for (u32* v = g; v != nullptr; v = v == g ? h : nullptr) {
            const u32 mean = mul_mod(add_mod(add_mod(v[1], v[2], p), v[3], p), third, p);
            u32* const to = v == g ? out : out + 4;
            to[0] = mean;
            to[1] = sub_mod(v[2], mean, p);
            to[2] = sub_mod(v[1], v[2], p);
            to[3] = sub_mod(v[3], v[2], p);
        }
    }
}

// x[k] = sum of x[y] w^(k y)
template <unsigned radix, class Ops, class Value = typename Ops::Value>
AI void radix_butterfly(const Ops& o, const typename Ops::Constant* f, Value* x) {
    if constexpr (radix == 3) {
        const Value m = o.times(o.minus(x[1], x[2]), f[0]);
        const Value x0 = x[0], x1 = x[1], x2 = x[2];
        x[0] = o.plus(o.plus(x0, x1), x2);
        x[1] = o.plus(o.minus(x0, x2), m);
        x[2] = o.minus(o.minus(x0, x1), m);
    } else if constexpr (radix == 5) {
        const Value t1 = o.plus(x[1], x[4]), u1 = o.minus(x[1], x[4]);
        const Value t2 = o.plus(x[2], x[3]), u2 = o.minus(x[2], x[3]);
        const Value t = o.plus(t1, t2);
        const Value e = o.plus(x[0], o.times(t, f[0])), d = o.times(o.minus(t1, t2), f[1]);
        const Value m = o.times(o.plus(u1, u2), f[2]);
        const Value e1 = o.plus(e, d), o1 = o.plus(m, o.times(u2, f[3]));
        const Value e2 = o.minus(e, d), o2 = o.minus(o.times(u1, f[4]), m);
        x[0] = o.plus(x[0], t);
        x[1] = o.plus(e1, o1);
        x[4] = o.minus(e1, o1);
        x[2] = o.plus(e2, o2);
        x[3] = o.minus_far(e2, o2);
    } else if constexpr (radix == 7) {
        const Value t1 = o.plus(x[1], x[6]), u1 = o.minus(x[1], x[6]);
        const Value t2 = o.plus(x[2], x[5]), u2 = o.minus(x[2], x[5]);
        const Value t3 = o.plus(x[3], x[4]), u3 = o.minus(x[4], x[3]);
        Value e1, e2, e3, o1, o2, o3;
        const Value t = convolve3(o, f, t1, t2, t3, e1, e2, e3);
        convolve3(o, f + 4, u1, u2, u3, o1, o2, o3);
        e1 = o.plus(x[0], e1);
        e2 = o.plus(x[0], e2);
        e3 = o.plus(x[0], e3);
        x[0] = o.plus(x[0], t);
        x[1] = o.plus(e1, o1);
        x[6] = o.minus(e1, o1);
        x[2] = o.plus(e2, o2);
        x[5] = o.minus(e2, o2);
        x[3] = o.minus_far(e3, o3);
        x[4] = o.plus(e3, o3);
    }
}

// r1 = g1 x1 + g2 x2 + g3 x3, r2 = g2 x1 + g3 x2 + g1 x3, r3 = g3 x1 + g1 x2 + g2 x3 from the mean of the g and their
// distances to it; returns the sum of the x.
template <class Ops, class Value = typename Ops::Value>
AI Value convolve3(const Ops& o, const typename Ops::Constant* f, Value x1, Value x2, Value x3, Value& r1, Value& r2,
                   Value& r3) {
    const Value sum = o.plus(o.plus(x1, x2), x3), mean = o.times(sum, f[0]);
    const Value a = o.minus_far(x1, x3), b = o.minus_far(x2, x3);
    const Value m = o.times(o.plus(a, b), f[1]);
    const Value d1 = o.plus(o.times(a, f[2]), m), d2 = o.plus(o.times(b, f[3]), m);
    r1 = o.plus(mean, d1);
    r2 = o.plus(mean, d2);
    r3 = o.minus(o.minus(mean, d1), d2);
    return sum;
}

template <unsigned radix, class Ops, class Value = typename Ops::Value>
AI void negate_odd(const Ops& o, Value* x) {
    for (unsigned y = 1; y < radix; y += 2) x[y] = o.negated(x[y]);
}
