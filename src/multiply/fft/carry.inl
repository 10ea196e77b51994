// Rounding and carrying, lane-parallel: lane l owns segment l of the 2 half coefficients, so the carry chain of a
// step is one vector. Coefficients come by transposition of `lanes` vectors, words leave by another one.

constexpr double rounder = 6755399441055744.0;  // 1.5 * 2^52: x + rounder has the nearest integer in its low bits
constexpr u64 rounder_bits = 0x4338000000000000;
constexpr u64 magnitude_mask = 0x7fffffffffffffff;
// Added to the running carry so that logical shifts serve: |carry| < 2^51.
constexpr u64 carry_bias = u64{1} << 51;

template <int Bits>
class Carrier {
    static constexpr u64 lanes = Vec::lanes;
    static constexpr u64 low_mask = (u64{1} << Bits) - 1;

    const double* x_;   // of the next block of points
    const u64 stride_;  // doubles from one segment to the next of the same part
    const u64 segment_bytes_;
    unsigned char* out_;  // where the next words of segment 0 go
    const Vec::D scale_, rounder_ = Vec::broadcast(rounder);
    const Vec::I step_ = Vec::broadcast_int(carry_bias - (carry_bias >> Bits) - rounder_bits);
    const Vec::I magnitude_ = Vec::broadcast_int(magnitude_mask), low_ = Vec::broadcast_int(low_mask);
    Vec::I carry_ = Vec::broadcast_int(carry_bias), word_ = Vec::broadcast_int(0);
    Vec::I largest_[2] = {Vec::broadcast_int(0), Vec::broadcast_int(0)};
    Vec::I error_[2] = {Vec::broadcast_int(0), Vec::broadcast_int(0)};
    u64 pending_[lanes * lanes];  // finished words of all lanes that wait for a full transposition

  public:
    Carrier(const FftShape& shape, const double* x, unsigned char* out, u64 begin)
        : x_(x + 16 * begin),
          stride_(2 * (2 * shape.half / lanes)),
          segment_bytes_(2 * shape.half / lanes * shape.bits / 8),
          out_(out + begin * Bits),
          scale_(Vec::broadcast(1.0 / static_cast<double>(shape.half))) {}

    // All groups of eight coefficients a segment. The position in a word repeats after 64 coefficients.
    void run(u64 groups) {
        for (u64 left = groups;;) {
            if (step_groups<0>(left)) break;
        }
        finish(groups);
    }

    void report(i64* carries, FftExtremes& extremes) const {
        u64 carry[lanes];
        Vec::store_int(carry, Vec::right<Bits>(carry_));
        for (u64 l = 0; l < lanes; ++l)
            carries[l] = static_cast<i64>(carry[l]) - static_cast<i64>(carry_bias >> Bits);
        extremes.coefficient = top(Vec::larger(largest_[0], largest_[1]), extremes.coefficient);
        extremes.error = top(Vec::larger(error_[0], error_[1]), extremes.error);
    }

  private:
    static u64 top(Vec::I values, u64 so_far) {
        u64 v[lanes];
        Vec::store_int(v, values);
        for (u64 l = 0; l < lanes; ++l) so_far = v[l] > so_far ? v[l] : so_far;
        return so_far;
    }

    // Group Group of eight, and the ones behind it; true when all are done.
    template <int Group>
    [[gnu::always_inline]] bool step_groups(u64& left) {
        constexpr u64 halves = lanes / 2;
        for (u64 part = 0; part < 8 / lanes; ++part) {
            Vec::D v[lanes];
            for (u64 k = 0; k < halves; ++k) {
                v[k] = Vec::load(x_ + k * stride_);
                v[k + halves] = Vec::load(x_ + k * stride_ + lanes);
            }
            Vec::transpose(v);
            x_ += 2 * lanes;
            if (part == 0) {
                digits<8 * Group>(v);
            } else {
                digits<8 * Group + 4>(v);
            }
        }
        if (--left == 0) {
            constexpr u64 done = 8 * (Group + 1) * Bits / 64;  // words of this round
            write_pending(done % lanes);
            return true;
        }
        if constexpr (Group < 7) {
            return step_groups<Group + 1>(left);
        } else {
            write_pending(Bits % lanes);
            return false;
        }
    }

    template <int First>
    [[gnu::always_inline]] void digits(const Vec::D* v) {
        digit<First>(v[0]), digit<First + 1>(v[1]), digit<First + 2>(v[2]), digit<First + 3>(v[3]);
        if constexpr (lanes == 8)
            digit<First + 4>(v[4]), digit<First + 5>(v[5]), digit<First + 6>(v[6]), digit<First + 7>(v[7]);
    }

    template <int Index>
    [[gnu::always_inline]] void digit(Vec::D x) {
        const Vec::D rounded = Vec::fma(x, scale_, rounder_);
        const Vec::D error = Vec::fms(x, scale_, Vec::sub(rounded, rounder_));
        largest_[Index % 2] = Vec::larger(largest_[Index % 2], Vec::and_int(Vec::bits(x), magnitude_));
        error_[Index % 2] = Vec::larger(error_[Index % 2], Vec::and_int(Vec::bits(error), magnitude_));
        carry_ = Vec::add_int(Vec::right<Bits>(carry_), Vec::add_int(Vec::bits(rounded), step_));

        constexpr int position = Index * Bits % 64, room = 64 - position;
        constexpr int word = Index * Bits / 64 % static_cast<int>(lanes);
        if constexpr (Vec::double_shift) {
#ifdef __AVX512VBMI2__
            // The word is filled from the top; its last bits sink to their place with the digits that follow.
            if constexpr (room > Bits) {
                word_ = Vec::right_double<Bits>(word_, carry_);
            } else {
                word_ = Vec::right_double<room>(word_, carry_);
                finished<word>(word_);
                if constexpr (room < Bits) word_ = Vec::left<64 - Bits>(carry_);
            }
#endif
        } else {
            const Vec::I digit = Vec::and_int(carry_, low_);
            if constexpr (position == 0) {
                word_ = digit;
            } else {
                word_ = Vec::or_int(word_, Vec::left<position>(digit));
            }
            if constexpr (room <= Bits) {
                finished<word>(word_);
                if constexpr (room < Bits) word_ = Vec::right<room>(digit);
            }
        }
    }

    template <int Word>
    [[gnu::always_inline]] void finished(Vec::I word) {
        Vec::store_int(pending_ + Word * lanes, word);
        if constexpr (Word == lanes - 1) {
            Vec::D v[lanes];
            for (u64 k = 0; k < lanes; ++k) v[k] = Vec::load(reinterpret_cast<const double*>(pending_ + k * lanes));
            Vec::transpose(v);
            for (u64 k = 0; k < lanes; ++k) Vec::store(reinterpret_cast<double*>(out_ + k * segment_bytes_), v[k]);
            out_ += 8 * lanes;
        }
    }

    void write_pending(u64 words) {
        for (u64 l = 0; l < lanes; ++l)
            for (u64 w = 0; w < words; ++w)
                __builtin_memcpy(out_ + l * segment_bytes_ + 8 * w, &pending_[w * lanes + l], 8);
        out_ += 8 * words;
    }

    // The last, partial word of each lane; a whole number of bytes.
    void finish(u64 groups) {
        const u64 bytes = groups * Bits % 8;
        if (bytes == 0) return;
        u64 last[lanes];
        Vec::store_int(last, word_);
        for (u64 l = 0; l < lanes; ++l) {
            const u64 word = Vec::double_shift ? last[l] >> ((64 - 8 * bytes) & 63) : last[l];
            __builtin_memcpy(out_ + l * segment_bytes_, &word, bytes);
        }
    }
};

template <int Bits>
[[gnu::noinline]] void carry_bits(const FftShape& shape, const double* x, unsigned char* out, u64 begin, u64 end,
                                  i64* carries, FftExtremes& extremes) {
    Carrier<Bits> carrier(shape, x, out, begin);
    carrier.run(end - begin);
    carrier.report(carries, extremes);
}

void carry(const FftShape& shape, const double* x, unsigned char* out, u64 begin, u64 end, i64* carries,
           FftExtremes& extremes) {
    using Carry = void (*)(const FftShape&, const double*, unsigned char*, u64, u64, i64*, FftExtremes&);
    constexpr Carry by_bits[] = {carry_bits<8>,  carry_bits<9>,  carry_bits<10>, carry_bits<11>, carry_bits<12>,
                                 carry_bits<13>, carry_bits<14>, carry_bits<15>, carry_bits<16>, carry_bits<17>,
                                 carry_bits<18>, carry_bits<19>, carry_bits<20>, carry_bits<21>};
    by_bits[shape.bits - 8](shape, x, out, begin, end, carries, extremes);
}
