// Cuts eight digits at a time. Digit j of b bits is the signed field of bits [jb, jb + b), plus the bit just below
// it: of the signed field f of bits [jb - 1, jb + b) it is (f + 1) >> 1, between -2^(b-1) and 2^(b-1). No carry runs
// between digits. Eight digits are b bytes; the first one's lower neighbour is the top bit of the byte before them.

// Where the eight fields stand in two 16-byte loads, and how far they are shifted to the top of a 32-bit lane.
struct CutPlan {
    unsigned char shuffle[32];
    u32 up[8];
    u32 second;  // offset of the second load
};
constexpr u64 least_cut_bits = 8, most_cut_bits = 24;

constexpr CutPlan cut_plan(u64 bits) {
    CutPlan plan{};
    plan.second = static_cast<u32>((7 + 4 * bits) >> 3);
    for (u64 i = 0; i < 8; ++i) {
        const u64 bit = 7 + i * bits;  // counted from the byte before the group
        const u64 byte = (bit >> 3) - (i < 4 ? 0 : plan.second);
        for (u64 t = 0; t < 4; ++t) plan.shuffle[4 * i + t] = static_cast<unsigned char>(byte + t);
        plan.up[i] = static_cast<u32>(32 - ((bit & 7) + bits + 1));
    }
    return plan;
}
struct CutPlans {
    CutPlan of[most_cut_bits - least_cut_bits + 1];
};
constexpr CutPlans make_cut_plans() {
    CutPlans plans{};
    for (u64 bits = least_cut_bits; bits <= most_cut_bits; ++bits) plans.of[bits - least_cut_bits] = cut_plan(bits);
    return plans;
}
constexpr CutPlans cut_plans = make_cut_plans();

class Cutter {
    __m256i shuffle_, up_, down_;
    u64 second_;

  public:
    // Bytes read beyond the group's address.
    static constexpr u64 reach = 32;
    explicit Cutter(u64 bits) {
        const CutPlan& plan = cut_plans.of[bits - least_cut_bits];
        shuffle_ = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.shuffle));
        up_ = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.up));
        down_ = _mm256_set1_epi32(static_cast<int>(31 - bits));
        second_ = plan.second;
    }

    [[gnu::always_inline]] void digits(const unsigned char* q, Vec::D* out) const {
        const auto load = [](const unsigned char* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
        __m256i v = _mm256_inserti128_si256(_mm256_castsi128_si256(load(q - 1)), load(q - 1 + second_), 1);
        v = _mm256_srav_epi32(_mm256_sllv_epi32(_mm256_shuffle_epi8(v, shuffle_), up_), down_);
        v = _mm256_srai_epi32(_mm256_add_epi32(v, _mm256_set1_epi32(1)), 1);
        if constexpr (Vec::lanes == 8) {
#ifdef __AVX512F__
            out[0] = _mm512_cvtepi32_pd(v);
#endif
        } else {
#ifndef __AVX512F__
            out[0] = _mm256_cvtepi32_pd(_mm256_castsi256_si128(v));
            out[1] = _mm256_cvtepi32_pd(_mm256_extracti128_si256(v, 1));
#endif
        }
    }
};
