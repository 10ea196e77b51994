// One level of Karatsuba over the products in limbs. With a = a0 + a1 X, X = 2^(52 h), h a multiple of eight,
//     a b = a0 b0 + ((a0 b0 + a1 b1) - (a0 - a1) (b0 - b1)) X + a1 b1 X^2.
// What is added are column sums, before any carry: they stay below 3 h 2^53, but may be negative, by h 2^53 at most.

// Column sums go in from the lowest vector on, to memory.
class ColumnStore {
  public:
    ColumnStore(u64* columns, i64 count) noexcept : at_(columns), end_(columns + count) {}

    void put(__m512i low, __m512i high) noexcept {
        _mm512_store_si512(at_, _mm512_add_epi64(low, _mm512_alignr_epi64(high, last_high_, 7)));
        last_high_ = high;
        at_ += 8;
    }
    bool full() const noexcept { return at_ == end_; }

  private:
    u64 *at_, *end_;
    __m512i last_high_ = _mm512_setzero_si512();
};

// The limbs of an operand, each part between vectors of zeros: low half, high half, the difference of the two.
struct Halves {
    u64 *low, *high, *difference;
    i64 high_limbs;
    bool negative;  // the difference is high - low

    Halves(u64* memory, i64 h, const unsigned char* bytes, u64 n) noexcept
        : low(memory + 8), high(low + h + 8), difference(high + h + 8) {
        const u64 low_bytes = static_cast<u64>(h) / 8 * bytes_per_vector;
        high_limbs = static_cast<i64>(limbs_of(n - low_bytes));
        load_limbs(low, bytes, low_bytes);
        load_limbs(high, bytes + low_bytes, n - low_bytes);
        for (u64 i = 0; i < 3; ++i) _mm512_store_si512(memory + i * static_cast<u64>(h + 8), _mm512_setzero_si512());
        for (i64 i = (high_limbs + 7) & ~i64{7}; i < h; i += 8) _mm512_store_si512(high + i, _mm512_setzero_si512());
        _mm512_store_si512(difference + h, _mm512_setzero_si512());
        subtract(h);
    }

  private:
    void subtract(i64 h) noexcept {
        i64 i = h;
        unsigned less, greater;
        do {
            i -= 8;
            const __m512i x = _mm512_load_si512(low + i), y = _mm512_load_si512(high + i);
            less = _mm512_cmplt_epu64_mask(x, y);
            greater = _mm512_cmpgt_epu64_mask(x, y);
        } while (i != 0 && less == greater);
        negative = less > greater;  // the highest limb in which they differ decides
        const u64 *from = negative ? high : low, *what = negative ? low : high;

        const __m512i mask = _mm512_set1_epi64(limb_mask), ones = _mm512_set1_epi64(-1);
        unsigned borrow = 0;
        for (i = 0; i < h; i += 8) {
            const __m512i x = _mm512_load_si512(from + i), y = _mm512_load_si512(what + i);
            // A limb below the other borrows, one that equals it passes a borrow on.
            const unsigned borrows = _mm512_cmplt_epu64_mask(x, y), passes = _mm512_cmpeq_epu64_mask(x, y);
            const unsigned rippled = passes + (2 * borrows + borrow);
            borrow = rippled >> 8;
            const __m512i d = _mm512_sub_epi64(x, y);
            _mm512_store_si512(
                difference + i,
                _mm512_and_si512(_mm512_mask_add_epi64(d, static_cast<__mmask8>(rippled ^ passes), d, ones), mask));
        }
    }
};

// The middle product's column sums go in from the lowest vector on; the product's bytes come out.
class ColumnJoiner {
  public:
    // columns: the sums of the low and of the high product, 2 h of each. The middle one is added or else subtracted.
    ColumnJoiner(void* C, u64 bytes, const u64* columns, i64 h, bool adds) noexcept
        : out_(C, bytes, bias >> 52), at_(columns), h_(h), sign_(_mm512_set1_epi64(adds ? 0 : -1)) {
        for (i64 i = 0; i < h; i += 8) out_.put(lifted(i));
    }

    void put(__m512i low, __m512i high) noexcept {
        const __m512i middle = _mm512_add_epi64(low, _mm512_alignr_epi64(high, last_high_, 7));
        last_high_ = high;
        const __m512i outer = _mm512_add_epi64(_mm512_load_si512(at_), _mm512_load_si512(at_ + 2 * h_));
        const __m512i sum = _mm512_add_epi64(lifted(h_), outer);
        out_.put(_mm512_add_epi64(sum, _mm512_sub_epi64(_mm512_xor_si512(middle, sign_), sign_)));
        at_ += 8;
        if (++vectors_ == h_ / 4)
            for (; !out_.full(); at_ += 8) out_.put(lifted(h_));
    }
    bool full() const noexcept { return out_.full(); }

  private:
    // What every column is given; the next one gives it up, as 2^10.
    static constexpr u64 bias = u64{1} << 62;

    __m512i lifted(i64 column) const noexcept {
        return _mm512_add_epi64(_mm512_load_si512(at_ + column), _mm512_set1_epi64(bias - (bias >> 52)));
    }

    LimbWriter out_;
    const u64* at_;
    const i64 h_;
    i64 vectors_ = 0;
    const __m512i sign_;
    __m512i last_high_ = _mm512_setzero_si512();
};

i64 half_of(u64 limbs) noexcept { return static_cast<i64>((limbs + 15) / 16 * 8); }

void multiply_split(void* C, const void* A, u64 a_bytes, const void* B, u64 b_bytes, void* scratch) noexcept {
    const i64 h = half_of(limbs_of(a_bytes > b_bytes ? a_bytes : b_bytes));
    u64* const memory = aligned_limbs(scratch);
    u64* const columns = memory + 2 * (3 * h + 32);
    Halves a(memory, h, static_cast<const unsigned char*>(A), a_bytes);
    Halves b(memory + 3 * h + 32, h, static_cast<const unsigned char*>(B), b_bytes);
    multiply_limbs(ColumnStore(columns, 2 * h), a.low, h, b.low, h);
    multiply_limbs(ColumnStore(columns + 2 * h, 2 * h), a.high, a.high_limbs, b.high, b.high_limbs);
    multiply_limbs(ColumnJoiner(C, a_bytes + b_bytes, columns, h, a.negative != b.negative), a.difference, h,
                   b.difference, h);
}

void square_split(void* C, const void* A, u64 bytes, void* scratch) noexcept {
    const i64 h = half_of(limbs_of(bytes));
    u64* const memory = aligned_limbs(scratch);
    u64* const columns = memory + 3 * h + 32;
    Halves a(memory, h, static_cast<const unsigned char*>(A), bytes);
    square_limbs(ColumnStore(columns, 2 * h), a.low, h);
    square_limbs(ColumnStore(columns + 2 * h, 2 * h), a.high, a.high_limbs);
    square_limbs(ColumnJoiner(C, 2 * bytes, columns, h, false), a.difference, h);
}
