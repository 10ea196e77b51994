// The transform on 32-bit lanes with Montgomery products, R = 2^32; V and its operations come from the file that
// includes this. Values are in [0, p) unless said otherwise; a factor may be in [0, 2p).

constexpr unsigned r_bits = 32;

// Inverse of odd p modulo 2^32.
constexpr u32 inverse32(u32 p) {
    u32 x = p;
    for (int i = 0; i < 4; ++i) x *= 2 - p * x;
    return x;
}

struct Constants {
    V p, half, inverse;
    explicit Constants(u32 prime) : p(set32(prime)), half(set32(prime / 2)), inverse(set32(inverse32(prime))) {}
};

// A constant factor w: w R mod p, and that times 1/p modulo R.
struct Factor {
    V w, w1;
};
AI Factor factor(u32 w, u32 w1) { return {set32(w), set32(w1)}; }
inline u32 to_form(u32 x, u32 p) { return static_cast<u32>((u64{x} << 32) % p); }
inline Factor make_factor(u32 x, u32 p) {
    const u32 w = to_form(x, p);
    return factor(w, w * inverse32(p));
}

// x * f / R in (-p, p): the low halves of both products agree, so their high halves subtract exactly.
AI V mul_open(V x, const Factor& f, const Constants& c) {
    const V odd = right64<32>(x);
    const V he = mul64(x, f.w), ho = mul64(odd, f.w);
    const V me = mul64(mul64(x, f.w1), c.p), mo = mul64(mul64(odd, f.w1), c.p);
    return high_halves(sub64(he, me), sub64(ho, mo));
}
AI V mul(V x, const Factor& f, const Constants& c) { return wrap_up(mul_open(x, f, c), c.p); }
// The same for a factor that differs by lane.
AI V mul_lanes(V x, const Factor& f, const Constants& c) {
    const V odd = right64<32>(x);
    const V he = mul64(x, f.w), ho = mul64(odd, right64<32>(f.w));
    const V me = mul64(mul64(x, f.w1), c.p), mo = mul64(mul64(odd, right64<32>(f.w1)), c.p);
    return wrap_up(high_halves(sub64(he, me), sub64(ho, mo)), c.p);
}
AI V add(V x, V y, const Constants& c) { return wrap_down(add32(x, y), c.p); }
AI V sub(V x, V y, const Constants& c) { return wrap_up(sub32(x, y), c.p); }
// In [0, 2p): for factors only.
AI V sub_open(V x, V y, const Constants& c) { return add32(sub32(x, y), c.p); }

// ---- tables of roots ----
// For the levels of a splitting, all counted from its own top: w[(1 << l) + q] belongs to node q of level l.
struct Levels {
    const u32 *w, *w1;
};

Levels build_levels(const Prime& prime, const Splitting& s, unsigned count, bool inverse, u32*& memory) {
    const Constants c(prime.p);
    const u32 p = prime.p, pi = inverse32(p);
    u32 *const w = memory, *const w1 = memory + (u64{1} << count) + 16;
    memory += 2 * ((u64{1} << count) + 16);
    Factor step[24];  // T[2^k + i] = T[i] * T[2^k]
    for (unsigned k = 0; k + 1 < count; ++k) step[k] = make_factor(root_at(prime, u64{1} << k, inverse), p);
    const u64 node = s.negacyclic ? (u64{1} << s.depth) + s.node : s.node;
    for (unsigned l = 0; l < count; ++l) {
        const unsigned j = branch_at(s.radix, s.branch, s.depth + l);
        const unsigned branch = inverse && j != 0 ? s.radix - j : j;
        u32 *const wl = w + (u64{1} << l), *const w1l = w1 + (u64{1} << l);
        wl[0] = to_form(mul_mod(root_at(prime, node << l, inverse), prime.inner[512 * branch], p), p);
        w1l[0] = wl[0] * pi;
        unsigned k = 0;
        for (; k < l && (1u << k) < lanes; ++k) {
            const u32 t = root_at(prime, u64{1} << k, inverse);
            for (u64 i = 0; i < u64{1} << k; ++i) {
                wl[(u64{1} << k) + i] = mul_mod(wl[i], t, p);
                w1l[(u64{1} << k) + i] = wl[(u64{1} << k) + i] * pi;
            }
        }
        for (; k < l; ++k) {
            for (u64 i = 0; i < u64{1} << k; i += lanes) {
                const V x = mul(load(wl + i), step[k], c);
                store(wl + (u64{1} << k) + i, x);
                const V e = mul64(x, c.inverse), o = mul64(right64<32>(x), c.inverse);
                store(w1l + (u64{1} << k) + i, high_halves(left64<32>(e), left64<32>(o)));
            }
        }
    }
    return {w, w1};
}

AI Factor level_factor(const Levels& t, unsigned l, u64 q) {
    const u64 at = (u64{1} << l) + q;
    return factor(t.w[at], t.w1[at]);
}
