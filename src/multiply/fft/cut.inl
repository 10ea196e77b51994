// Cutting an operand into digits, fused with the first pass.

// Eight digits of every stream go through the pass at once. Stream s reads the groups s * stride_groups + g; streams
// from Radix on are imaginary parts.
template <int Radix, bool Real>
struct CutPass {
    static constexpr int streams = Real ? Radix : 2 * Radix;
    static constexpr u64 vectors = 8 / Vec::lanes;

    const FirstPass<Radix> pass;
    const Cutter cutter;
    const u64 stride;  // doubles from one block to the next

    CutPass(const FftShape& shape) : pass(shape), cutter(shape.bits), stride(2 * shape.half / Radix) {}

    // count groups from x on; stream s starts at from[s] and advances by step[s] bytes a group.
    [[gnu::always_inline]] void run(double* x, u64 count, const unsigned char* const* from, const u64* step) const {
        const unsigned char* at[streams];
        for (int s = 0; s < streams; ++s) at[s] = from[s];
        for (; count != 0; --count, x += 16) {
            Vec::D re[Radix][vectors], im[Radix][vectors];
            for (int k = 0; k < Radix; ++k) {
                cutter.digits(at[k], re[k]);
                if constexpr (!Real) cutter.digits(at[k + Radix], im[k]);
            }
            for (int s = 0; s < streams; ++s) at[s] += step[s];
            for (u64 n = 0; n < vectors; ++n) {
                Complex v[Radix];
                for (int k = 0; k < Radix; ++k) {
                    v[k].re = re[k][n];
                    v[k].im = Real ? Vec::zero() : im[k][n];
                }
                if constexpr (Real)
                    pass.forward_real(v);
                else
                    pass.forward(v);
                for (int k = 0; k < Radix; ++k) store(x + k * stride + n * 2 * Vec::lanes, v[k]);
            }
        }
    }
};

// Groups near the operand's ends are read from copies in here, so that nothing outside the operand is touched.
struct CutWindow {
    static constexpr u64 before = 16, after = 32;
    unsigned char bytes[before + after];

    // For the group at byte offset, below count + 1.
    const unsigned char* fill(const FftSource& source, u64 offset) {
        for (u64 i = 0; i < before + after; i += 16)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + i), _mm_setzero_si128());
        const u64 begin = offset < before ? before - offset : 0;
        const u64 rest = source.count + before - offset;
        const u64 end = rest < before + after ? rest : before + after;
        for (u64 i = begin; i < end; ++i) bytes[i] = source.bytes[offset + i - before];
        return bytes + before;
    }
};

// The caller's scratch need not be aligned to a double.
inline void add_unaligned(double* at, double term) {
    double value;
    __builtin_memcpy(&value, at, sizeof value);
    value += term;
    __builtin_memcpy(at, &value, sizeof value);
}

template <int Radix, bool Real>
[[gnu::noinline]] void cut_pass(const FftShape& shape, const FftSource& source, double* x, u64 begin, u64 end) {
    using Pass = CutPass<Radix, Real>;
    const Pass pass(shape);
    const u64 stream_groups = shape.half / Radix / 8;

    const unsigned char* from[Pass::streams];
    u64 step[Pass::streams];
    if (source.padded) {
        for (u64 s = 0; s < Pass::streams; ++s) {
            from[s] = source.bytes + (s * stream_groups + begin) * shape.bits;
            step[s] = shape.bits;
        }
        pass.run(x + 16 * begin, end - begin, from, step);
    } else {
        // Groups [1, safe) are read in place; from `nothing` on all digits are zero.
        const u64 safe = source.count >= CutWindow::after ? (source.count - CutWindow::after) / shape.bits + 1 : 0;
        const u64 nothing = source.count / shape.bits + 1;
        CutWindow windows[Pass::streams], zeros{};
        for (u64 g = begin; g < end;) {
            u64 length = end - g;
            for (u64 s = 0; s < Pass::streams; ++s) {
                const u64 group = s * stream_groups + g;
                if (group >= nothing) {
                    from[s] = zeros.bytes + CutWindow::before;
                    step[s] = 0;
                } else if (group != 0 && group < safe) {
                    from[s] = source.bytes + group * shape.bits;
                    step[s] = shape.bits;
                    length = length < safe - group ? length : safe - group;
                } else {
                    from[s] = windows[s].fill(source, group * shape.bits);
                    step[s] = 0;
                    length = 1;
                }
            }
            pass.run(x + 16 * g, length, from, step);
            g += length;
        }
    }
    if (begin == 0) {
        // Point 0 enters every block with factor 1.
        for (u64 k = 0; k < Radix; ++k) {
            add_unaligned(x + k * pass.stride, source.first_re);
            add_unaligned(x + k * pass.stride + Vec::lanes, source.first_im);
        }
    }
}

template <int Radix>
void cut_radix(const FftShape& shape, const FftSource& source, double* x, u64 begin, u64 end) {
    if (source.real)
        cut_pass<Radix, true>(shape, source, x, begin, end);
    else
        cut_pass<Radix, false>(shape, source, x, begin, end);
}
void cut(const FftShape& shape, const FftSource& source, double* x, u64 begin, u64 end) {
    switch (shape.first_radix) {
        case 1: return cut_radix<1>(shape, source, x, begin, end);
        case 2: return cut_radix<2>(shape, source, x, begin, end);
        case 3: return cut_radix<3>(shape, source, x, begin, end);
        case 4: return cut_radix<4>(shape, source, x, begin, end);
        case 5: return cut_radix<5>(shape, source, x, begin, end);
    }
}
