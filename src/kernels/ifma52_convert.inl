// Between bytes and limbs of 52 bits in 64-bit lanes. Eight limbs are 52 bytes; limb l begins at byte 13 l / 2, the
// odd ones in the middle of it.

constexpr u64 limb_mask = (u64{1} << 52) - 1;
constexpr u64 bytes_per_vector = 52;

__mmask64 first_bytes(u64 n) noexcept { return n >= 64 ? ~u64{0} : (u64{1} << n) - 1; }

// For every byte of the eight limbs' lanes, its place in the 52 bytes.
alignas(64) constexpr unsigned char spread_bytes[64] = {
    0,  1,  2,  3,  4,  5,  6,  7,  6,  7,  8,  9,  10, 11, 12, 13, 13, 14, 15, 16, 17, 18,
    19, 20, 19, 20, 21, 22, 23, 24, 25, 26, 26, 27, 28, 29, 30, 31, 32, 33, 32, 33, 34, 35,
    36, 37, 38, 39, 39, 40, 41, 42, 43, 44, 45, 46, 45, 46, 47, 48, 49, 50, 51, 52};

// limbs [vectors of eight that hold the n bytes], aligned to 64
void load_limbs(u64* limbs, const unsigned char* bytes, u64 n) noexcept {
    const __m512i places = _mm512_load_si512(spread_bytes);
    const __m512i shifts = _mm512_set_epi64(4, 0, 4, 0, 4, 0, 4, 0);
    const __m512i mask = _mm512_set1_epi64(limb_mask);
    const auto convert = [&](__m512i v) {
        v = _mm512_srlv_epi64(_mm512_permutexvar_epi8(places, v), shifts);
        _mm512_store_si512(limbs, _mm512_and_si512(v, mask));
        limbs += 8;
    };
    for (; n >= 64; n -= bytes_per_vector, bytes += bytes_per_vector) convert(_mm512_loadu_si512(bytes));
    for (; n > bytes_per_vector; n -= bytes_per_vector, bytes += bytes_per_vector)
        convert(_mm512_maskz_loadu_epi8(first_bytes(n), bytes));
    convert(_mm512_maskz_loadu_epi8(first_bytes(n), bytes));
}

// For every byte of the output the place of its low part (even limbs) and its high part (odd limbs, moved up by four
// bits); the byte between an even and the next odd limb has both.
alignas(64) constexpr unsigned char even_bytes[64] = {0,  1,  2,  3,  4, 5, 6, 0,  0,  0,  0,  0,  0,  16, 17, 18,
                                                      19, 20, 21, 22, 0, 0, 0, 0,  0,  0,  32, 33, 34, 35, 36, 37,
                                                      38, 0,  0,  0,  0, 0, 0, 48, 49, 50, 51, 52, 53, 54};
alignas(64) constexpr unsigned char odd_bytes[64] = {
    0, 0, 0, 0, 0, 0, 8,  9,  10, 11, 12, 13, 14, 0, 0, 0, 0, 0, 0, 24, 25, 26, 27, 28, 29, 30,
    0, 0, 0, 0, 0, 0, 40, 41, 42, 43, 44, 45, 46, 0, 0, 0, 0, 0, 0, 56, 57, 58, 59, 60, 61, 62};
constexpr u64 repeat_each_13(u64 bits) { return bits | bits << 13 | bits << 26 | bits << 39; }
constexpr u64 even_mask = repeat_each_13(0x7f), odd_mask = repeat_each_13(0x7f << 6);

// Column sums go in from the lowest vector on; bytes come out.
class LimbWriter {
  public:
    // `addend` is added to the first limb.
    LimbWriter(void* out, u64 bytes, u64 addend = 0) noexcept
        : out_(static_cast<unsigned char*>(out)),
          left_(bytes),
          last_upper_(_mm512_set1_epi64(static_cast<long long>(addend))) {}

    // Column k's sum is low[k] + high[k-1], below 2^64.
    void put(__m512i low, __m512i high) noexcept {
        const __m512i sum = _mm512_add_epi64(low, _mm512_alignr_epi64(high, last_high_, 7));
        last_high_ = high;
        put(sum);
    }
    void put(__m512i sum) noexcept {
        const __m512i mask = _mm512_set1_epi64(limb_mask);
        // Each column's upper bits go one column up: limbs below 2^52 + 2^12.
        const __m512i upper = _mm512_maskz_srli_epi64(0xff, sum, 52);
        __m512i limbs = _mm512_add_epi64(_mm512_and_si512(sum, mask), _mm512_alignr_epi64(upper, last_upper_, 7));
        last_upper_ = upper;
        // The carries that are left are single bits: a limb above the mask sends one, a limb equal to it passes one
        // on.
        const unsigned sends = _mm512_cmpgt_epu64_mask(limbs, mask), passes = _mm512_cmpeq_epu64_mask(limbs, mask);
        const unsigned rippled = passes + (2 * sends + carry_);
        carry_ = rippled >> 8;
        limbs = _mm512_mask_add_epi64(limbs, static_cast<__mmask8>(rippled ^ passes), limbs, _mm512_set1_epi64(1));
        pack(_mm512_and_si512(limbs, mask));
    }
    bool full() const noexcept { return left_ == 0; }

  private:
    void pack(__m512i limbs) noexcept {
        limbs = _mm512_sllv_epi64(limbs, _mm512_set_epi64(4, 0, 4, 0, 4, 0, 4, 0));
        const __m512i bytes =
            _mm512_or_si512(_mm512_maskz_permutexvar_epi8(even_mask, _mm512_load_si512(even_bytes), limbs),
                            _mm512_maskz_permutexvar_epi8(odd_mask, _mm512_load_si512(odd_bytes), limbs));
        if (left_ >= 64) {  // what is written beyond the 52 bytes, the next vector overwrites
            _mm512_storeu_si512(out_, bytes);
            out_ += bytes_per_vector;
            left_ -= bytes_per_vector;
            return;
        }
        const u64 n = left_ < bytes_per_vector ? left_ : bytes_per_vector;
        _mm512_mask_storeu_epi8(out_, first_bytes(n), bytes);
        out_ += n;
        left_ -= n;
    }

    unsigned char* out_;
    u64 left_;
    __m512i last_high_ = _mm512_setzero_si512(), last_upper_;
    unsigned carry_ = 0;
};
