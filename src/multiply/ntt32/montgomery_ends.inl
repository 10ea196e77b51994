// Cutting words into points, joining residues to digits, adding digits up.

// ---- cutting ----
// One Montgomery reduction for every 32 bits of a point: the point divided by R^limbs. Points are in pairs of
// lanes / 2; reads 16 bytes from the start of each.
template <unsigned limbs>
AI V cut_lanes(const u8* bytes, u64 step, V top_mask, const Constants& c) {
    V limb[4];
    load_limbs(bytes, step, limb);
    limb[limbs - 1] = and64(limb[limbs - 1], top_mask);
    V sum = limb[0];  // below 2^33 throughout
#pragma GCC unroll 4
    for (unsigned i = 1; i <= limbs; ++i) {
        const V multiple = mul64(mul64(sum, c.inverse), c.p);
        sum = sub64(add64(right64<32>(sum), and64(c.p, set64(0xffffffff))), right64<32>(multiple));
        if (i < limbs) sum = add64(sum, limb[i]);
    }
    return sum;
}
template <unsigned limbs>
void cut_points(const u8* bytes, u64 step, u64 n, u32* out, const Constants& c0) {
    const Constants c = c0;
    const V top_mask = set64(step % 4 == 0 ? 0xffffffff : 0xffff);
    for (u64 k = 0; k < n; k += lanes, bytes += lanes * step) {
        const V low = cut_lanes<limbs>(bytes, step, top_mask, c);
        const V high = cut_lanes<limbs>(bytes + lanes / 2 * step, step, top_mask, c);
        store(out + k, wrap_down(narrow(low, high), c.p));
    }
}
// n points, a multiple of 16; may read 16 bytes beyond them.
void cut(const u8* bytes, u64 step, u64 n, u32* out, const Constants& c) {
    switch ((step + 3) / 4) {
        case 1: return cut_points<1>(bytes, step, n, out, c);
        case 2: return cut_points<2>(bytes, step, n, out, c);
        case 3: return cut_points<3>(bytes, step, n, out, c);
        default: return cut_points<4>(bytes, step, n, out, c);
    }
}

// ---- joining ----
constexpr unsigned half_lanes = lanes / 2;

// 64 bits from a bit on of numbers in 28-bit limbs.
template <unsigned limbs, unsigned bit, unsigned part = 0>
AI V bits_at(const V* limb) {
    constexpr unsigned i = bit / 28 + part;
    if constexpr (i >= limbs || 28 * part >= 64 + bit % 28) {
        return set64(0);
    } else if constexpr (part == 0) {
        return or64(right64<bit % 28>(limb[i]), bits_at<limbs, bit, 1>(limb));
    } else {
        return or64(left64<28 * part - bit % 28>(limb[i]), bits_at<limbs, bit, part + 1>(limb));
    }
}
// One 64-bit word for every point, `step` bytes apart.
template <unsigned step>
AI void put_words(u8* to, V x) {
    alignas(64) u32 words[lanes];
    store(words, x);
#pragma GCC unroll 8
    for (unsigned i = 0; i < half_lanes; ++i) __builtin_memcpy(to + i * step, words + 2 * i, 8);
}

template <unsigned primes>
void join_points(const Joiner& joiner, const u32* const* residues, u64 n, u8* low, u8* middle, u8* high) {
    constexpr unsigned limbs = (31 * primes + 27) / 28, point_bytes = 2 * (primes - 1);
    constexpr unsigned bias_bits = 31 * primes - 1;
    const V mask = set64((1u << 28) - 1);
    Factor scale[primes];
    for (unsigned i = 0; i < primes; ++i) {
        scale[i] = make_factor(joiner.scale[i], joiner.p[i]);
    }
    for (u64 k = 0; k < n; k += lanes) {
        alignas(64) u32 scaled[primes][lanes];
#pragma GCC unroll 9
        for (unsigned i = 0; i < primes; ++i) {
            Constants c(joiner.p[i]);
            store(scaled[i], mul(load(residues[i] + k), scale[i], c));
        }
        for (unsigned half = 0; half < lanes; half += half_lanes) {
            V sum[limbs + 1];
            V quotient = set64(u64{1} << (joiner.centred ? 57 : 53));
#pragma GCC unroll 11
            for (unsigned j = 0; j < limbs; ++j) sum[j] = set64(0);
            if (joiner.centred) sum[bias_bits / 28] = set64(u64{1} << bias_bits % 28);
            for (unsigned i = 0; i < primes; ++i) {
                const V x = widen(scaled[i] + half);
                quotient = add64(quotient, mul64(x, set64(joiner.quotient28[i])));
#pragma GCC unroll 11
                for (unsigned j = 0; j < limbs; ++j) {
                    sum[j] = add64(sum[j], mul64(x, set64(joiner.cofactor28[i][j])));
                }
            }
            quotient = right64<58>(quotient);
            V carry = set64(0);
#pragma GCC unroll 11
            for (unsigned j = 0; j < limbs; ++j) {
                carry = add64(carry, add64(sum[j], mul64(quotient, set64(joiner.minus_product28[j]))));
                sum[j] = and64(carry, mask);
                carry = right64<28>(carry);
            }
            // A word's surplus lies where a later store comes: upper words first, then lower ones point by point.
            constexpr unsigned bits = 8 * point_bytes;
            const u64 at = (k + half) * point_bytes;
            if constexpr (point_bytes > 8) {
                put_words<point_bytes>(low + at + 8, bits_at<limbs, 64>(sum));
                put_words<point_bytes>(middle + at + 8, bits_at<limbs, bits + 64>(sum));
                put_words<point_bytes>(high + at + 8, set64(0));
            }
            put_words<point_bytes>(low + at, bits_at<limbs, 0>(sum));
            put_words<point_bytes>(middle + at, bits_at<limbs, bits>(sum));
            put_words<point_bytes>(high + at, bits_at<limbs, 2 * bits>(sum));
        }
    }
}

void join(const Joiner& joiner, const u32* const* residues, u64 n, u8* low, u8* middle, u8* high) noexcept {
    switch (joiner.primes) {
        case 3: return join_points<3>(joiner, residues, n, low, middle, high);
        case 4: return join_points<4>(joiner, residues, n, low, middle, high);
        case 5: return join_points<5>(joiner, residues, n, low, middle, high);
        case 6: return join_points<6>(joiner, residues, n, low, middle, high);
        case 7: return join_points<7>(joiner, residues, n, low, middle, high);
        case 8: return join_points<8>(joiner, residues, n, low, middle, high);
        default: return join_points<9>(joiner, residues, n, low, middle, high);
    }
}

u64 add_streams(const u8* low, const u8* middle, const u8* high, u64 n, u8* out, u64 carry) noexcept {
    for (u64 i = 0; i < n; ++i) {
        u64 x, y, z;
        __builtin_memcpy(&x, low + 8 * i, 8);
        __builtin_memcpy(&y, middle + 8 * i, 8);
        __builtin_memcpy(&z, high + 8 * i, 8);
        u64 sum, more;
        u64 next = __builtin_add_overflow(x, y, &sum);
        next += __builtin_add_overflow(z, carry, &more);
        next += __builtin_add_overflow(sum, more, &sum);
        __builtin_memcpy(out + 8 * i, &sum, 8);
        carry = next;
    }
    return carry;
}
