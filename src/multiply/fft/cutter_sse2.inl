// Cuts eight digits at a time. See cutter_avx2.inl.

class Cutter {
    u64 bits_;

  public:
    // Bytes read beyond the group's address.
    static constexpr u64 reach = 32;
    explicit Cutter(u64 bits) : bits_(bits) {}

    [[gnu::always_inline]] void digits(const unsigned char* q, Vec::D* out) const {
        double d[8];
        for (u64 i = 0; i < 8; ++i) {
            const u64 bit = 7 + i * bits_;
            u32 window;
            __builtin_memcpy(&window, q - 1 + (bit >> 3), 4);
            const i32 field = static_cast<i32>(window << (32 - ((bit & 7) + bits_ + 1))) >> (31 - bits_);
            d[i] = static_cast<double>((field + 1) >> 1);
        }
        out[0] = Vec::load(d);
        out[1] = Vec::load(d + 4);
    }
};
