// Cutting words into points: a source of passes.

// Eight points, of 4 to 16 bytes, in 52-bit limbs by one byte permutation each. Limb 0 may have garbage above bit 52.
struct Cutter {
    u64 step;
    V take[3];
    __mmask64 kept[3];
    explicit Cutter(u64 point_bytes) : step(point_bytes) {
        alignas(64) u8 index[64];
        constexpr u64 first[3] = {0, 6, 13}, size[3] = {8, 7, 6};
        for (unsigned j = 0; j < 3; ++j) {
            kept[j] = 0;
            for (unsigned i = 0; i < 64; ++i) {
                const u64 byte = first[j] + i % 8, at = (i / 8) * step + byte;
                index[i] = static_cast<u8>(at % 128);
                if (i % 8 < size[j] && byte < step) kept[j] |= u64{1} << i;
            }
            take[j] = _mm512_loadu_si512(index);
        }
    }
};
// Limbs that points of a set with so many primes are cut into. With fewer than are needed at all, a point comes out
// below 2^33 too.
constexpr unsigned cut_limbs(unsigned primes) { return primes == 5 || primes == 6 ? 2 : 3; }

AI __mmask64 first_bytes(u64 n) { return n >= 64 ? ~u64{0} : (u64{1} << n) - 1; }

// Points of a number of n_bytes, zero beyond it, divided by R^(limbs - 1); below 2^33. Value i of a group of columns is
// in row i >> log.
template <unsigned limbs>
struct Points {
    const u8* bytes;
    u64 n_bytes, first;  // the group's first column, in bytes
    u64 pitch;           // from row to row, in bytes
    unsigned log;
    u64 ahead;  // in bytes: what is asked for while a vector is read
    Cutter cut;

    AI V get(u64 i, const Constants& c) const {
        const u64 at = first + (i >> log) * pitch + (i & ((u64{1} << log) - 1)) * cut.step;
        V a, b;
        if (at + 128 <= n_bytes) {
            a = _mm512_loadu_si512(bytes + at);
            b = _mm512_loadu_si512(bytes + at + 64);
            prefetch(bytes + at + ahead);
            if (limbs == 3) prefetch(bytes + at + ahead + 64);
        } else if (at < n_bytes) {
            const u64 present = n_bytes - at;
            a = _mm512_maskz_loadu_epi8(first_bytes(present), bytes + at);
            b = _mm512_maskz_loadu_epi8(first_bytes(present > 64 ? present - 64 : 0), bytes + at + 64);
        } else {
            return zero();
        }
        // x1 - h(m p), m = l(x0 / p): the quotient of x0 + x1 R by R; for three limbs once more, signed
        const V x0 = _mm512_maskz_permutex2var_epi8(cut.kept[0], a, cut.take[0], b);
        const V x1 = _mm512_srli_epi64(_mm512_maskz_permutex2var_epi8(cut.kept[1], a, cut.take[1], b), 4);
        V y = sub64(x1, high(zero(), low(zero(), x0, c.inverse), c.p));
        if constexpr (limbs == 3) {
            const V x2 = _mm512_maskz_permutex2var_epi8(cut.kept[2], a, cut.take[2], b);
            const V m = low(zero(), y, c.inverse);
            y = sub64(add64(x2, _mm512_srai_epi64(y, 52)), high(zero(), m, c.p));
        }
        return add64(y, c.p);
    }
};
