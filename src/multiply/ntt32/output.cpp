#include "multiply/ntt32/output.h"

#include <algorithm>
#include <cstring>

#include "kernels/residue61.h"
#include "threads/parallel.h"

namespace kvt::multiply::ntt32 {
namespace {

// Little-endian number of 32-bit words, large enough for the product of a set.
struct SmallNumber {
    u32 word[12] = {1};

    void multiply(u32 factor) {
        u64 carry = 0;
        for (u32& w : word) {
            carry += u64{w} * factor;
            w = static_cast<u32>(carry);
            carry >>= 32;
        }
    }
    // 2^bits - this; bits < 384
    SmallNumber minus_from_power(unsigned bits) const {
        SmallNumber out;
        u64 borrow = 0;
        for (unsigned i = 0; i < 12; ++i) {
            const u64 d = (i == bits / 32 ? u64{1} << (bits % 32) : 0) - word[i] - borrow;
            out.word[i] = static_cast<u32>(d);
            borrow = d >> 63;
        }
        return out;
    }
    u64 limb(unsigned index, unsigned bits) const {
        u64 out = 0;
        for (unsigned b = 0; b < bits; ++b) {
            const unsigned at = index * bits + b;
            if (at < 384) out |= u64{word[at / 32] >> (at % 32) & 1} << b;
        }
        return out;
    }
};

constexpr unsigned chunk_points = 256, lead_points = 16, max_point_bytes = 16;

// Streams of digits of a chunk; each may be overrun by 64 bytes.
struct Streams {
    static constexpr u64 bytes = (chunk_points + 2) * max_point_bytes + 64;
    alignas(64) u8 low[bytes], middle[bytes], high[bytes];
    alignas(64) u8 words[chunk_points * max_point_bytes + 64];
    alignas(64) u8 bias[chunk_points * max_point_bytes];
};

class PartWriter {
  public:
    PartWriter(const Layout& layout, const KernelTable& kernels, const Joiner& joiner, const u32* residues,
               Window out)
        : layout_(layout), kernels_(kernels), joiner_(joiner), residues_(residues), out_(out) {}

    void run(u64 first_point, u64 last_point, OutputPart& part) const {
        const u64 step = layout_.shape.point_bytes(), n_points = layout_.shape.points();
        Streams s;
        // The digits that the points before spill into this part. Modulo 2^wrap_bits + 1 those of the last points are
        // subtracted in the end; at the bottom stands what the bias of two points would give.
        join((first_point + n_points - lead_points) % n_points, lead_points, s.low, s.middle, s.high);
        std::memmove(s.middle, s.middle + (lead_points - 1) * step, step);
        std::memmove(s.high, s.high + (lead_points - 2) * step, 2 * step);
        if (joiner_.centred) {
            for (unsigned k = 0; k < chunk_points; ++k) put_bias(s.bias + k * step, step);
            if (first_point == 0) {
                std::memset(s.middle, 0, step);
                for (unsigned k = 0; k < 2; ++k) put_bias(s.high + k * step, step);
            }
        }
        const u64 words = chunk_points * step / 8;
        part = OutputPart{};
        part.first_word = first_point * step / 8;
        part.last_word = last_point * step / 8;
        u64 at = part.first_word, carry = 0, borrow = 0;
        for (u64 k = first_point; k < last_point; k += chunk_points, at += words) {
            join(k, chunk_points, s.low, s.middle + step, s.high + 2 * step);
            const bool all_kept = 2 * at >= out_.first && 2 * (at + words) <= out_.first + out_.count;
            u8* const to = all_kept ? out_.bytes + 4 * (2 * at - out_.first) : s.words;
            carry = kernels_.add_streams(s.low, s.middle, s.high, words, to, carry);
            if (joiner_.centred) borrow = subtract(to, s.bias, words, borrow);
            std::memcpy(s.middle, s.middle + chunk_points * step, step);
            std::memcpy(s.high, s.high + chunk_points * step, 2 * step);
            const u64 residue = kernels::residue_of(to, 2 * words);
            const i64 shift = static_cast<i64>(64 * (at - part.first_word) % 61);
            part.residue = kernels::residue_add(part.residue, kernels::residue_shift(residue, shift));
            if (!all_kept) keep(to, 2 * at, 2 * words, part);
        }
        part.carry = static_cast<i64>(carry) - static_cast<i64>(borrow);
        if (joiner_.centred && last_point == n_points) part.spill = spill(s, step);
    }

  private:
    u32 bias() const { return u32{1} << (31 - joiner_.primes); }
    void put_bias(u8* digit, u64 step) const {
        const u32 value = bias();
        std::memset(digit, 0, step);
        std::memcpy(digit, &value, 4);
    }
    static u64 subtract(u8* words, const u8* bias, u64 n, u64 borrow) {
        for (u64 i = 0; i < n; ++i) {
            u64 x, y;
            std::memcpy(&x, words + 8 * i, 8);
            std::memcpy(&y, bias + 8 * i, 8);
            const u64 less = x < y || (x == y && borrow != 0) ? 1 : 0;
            x -= y + borrow;
            borrow = less;
            std::memcpy(words + 8 * i, &x, 8);
        }
        return borrow;
    }
    // What the last two points spill over the top.
    Spill spill(const Streams& s, u64 step) const {
        Spill out;
        out.add(s.middle, step, 0);
        out.add(s.high, step, 0);
        out.add(s.high + step, step, step / 2);
        out.subtract(bias(), 0);
        out.subtract(bias(), step / 2);
        return out;
    }

    void join(u64 point, u64 n, u8* low, u8* middle, u8* high) const {
        const Shape& shape = layout_.shape;
        const u64 at = (point >> shape.block_log) * shape.pitch + (point & ((u64{1} << shape.block_log) - 1));
        const u32* columns[max_primes];
        for (unsigned i = 0; i < shape.primes; ++i) columns[i] = residues_ + i * layout_.prime_words + at;
        kernels_.join(joiner_, columns, n, low, middle, high);
    }

    // 32-bit words [at, at + n) of the product.
    void keep(const u8* bytes, u64 at, u64 n, OutputPart& part) const {
        const u64 begin = std::clamp(out_.first, at, at + n);
        const u64 end = std::clamp(out_.first + out_.count, begin, at + n);
        if (begin > at) part.before.append(bytes, begin - at);
        if (end > begin)
            std::memcpy(out_.bytes + 4 * (begin - out_.first), bytes + 4 * (begin - at), 4 * (end - begin));
        if (end < at + n && end > begin) part.after.append(bytes + 4 * (end - at), at + n - end);
        if (end == begin && end < at + n) {
            (end <= out_.first ? part.before : part.after).append(bytes + 4 * (end - at), at + n - end);
        }
    }

    const Layout& layout_;
    const KernelTable& kernels_;
    const Joiner& joiner_;
    const u32* residues_;
    Window out_;
};

i64 add_to_words(u8* bytes, u64 n, i64 carry) {
    for (u64 i = 0; i < n && carry != 0; ++i) {
        u32 word;
        std::memcpy(&word, bytes + 4 * i, 4);
        carry += word;
        word = static_cast<u32>(carry);
        carry >>= 32;
        std::memcpy(bytes + 4 * i, &word, 4);
    }
    return carry;
}

// Adds a carry at the bottom of a part that is written already.
i64 add_to_part(OutputPart& part, i64 carry, Window out) {
    if (carry != 0) carry = part.before.add(carry);
    const u64 begin = std::clamp(2 * part.first_word, out.first, out.first + out.count);
    const u64 end = std::clamp(2 * part.last_word, out.first, out.first + out.count);
    if (carry != 0) carry = add_to_words(out.bytes + 4 * (begin - out.first), end - begin, carry);
    if (carry != 0) carry = part.after.add(carry);
    return carry;
}

// words + over * 2^(32 n) = words - over modulo 2^(32 n) + 1; true as below.
bool finish_wrap(u8* bytes, u64 n, i64 over) {
    if (over == 0) return false;
    i64 carry = add_to_words(bytes, n, -over);
    if (carry < 0) carry = add_to_words(bytes, n, 1);  // zero less one: back to zero, which stands for 2^(32 n)
    return carry != 0;
}

// words = words - spill modulo 2^(32 n) + 1; true: the result is 2^(32 n), the words are zero.
bool subtract_spill(u8* bytes, u64 n, const Spill& spill) {
    i64 carry = 0;
    for (u64 i = 0; i < n; ++i) {
        if (i >= Spill::words && carry == (spill.negative() ? -1 : 0)) {
            return false;  // nothing changes above
        }
        u32 word;
        std::memcpy(&word, bytes + 4 * i, 4);
        carry += i64{word} - i64{spill.word[i < Spill::words ? i : Spill::words - 1]};
        word = static_cast<u32>(carry);
        carry >>= 32;
        std::memcpy(bytes + 4 * i, &word, 4);
    }
    return finish_wrap(bytes, n, carry + (spill.negative() ? 1 : 0));
}

}  // namespace

void DroppedRun::append(const u8* bytes, u64 words) noexcept {
    for (u64 i = 0; i < words && rest_ones; ++i) {
        u32 word;
        std::memcpy(&word, bytes + 4 * i, 4);
        if (n + i == 0) {
            first = word;
        } else {
            rest_ones = word == 0xffffffff;
        }
    }
    n += words;
}

void Spill::add(const u8* bytes, u64 n_bytes, u64 shift_halves) noexcept {
    for (u64 i = 0; i < n_bytes; i += 2) {
        const u64 at = shift_halves + i / 2, half = bytes[i] | u64{bytes[i + 1]} << 8;
        i64 carry = static_cast<i64>(half << (16 * (at % 2)));
        for (u64 j = at / 2; j < words && carry != 0; ++j) {
            carry += word[j];
            word[j] = static_cast<u32>(carry);
            carry >>= 32;
        }
    }
}

void Spill::subtract(u32 value, u64 shift_halves) noexcept {
    i64 carry = -static_cast<i64>(u64{value} << (16 * (shift_halves % 2)));
    for (u64 j = shift_halves / 2; j < words && carry != 0; ++j) {
        carry += word[j];
        word[j] = static_cast<u32>(carry);
        carry >>= 32;
    }
}

void Spill::add_carry(i64 carry) noexcept {
    for (u64 j = 0; j < words && carry != 0; ++j) {
        carry += word[j];
        word[j] = static_cast<u32>(carry);
        carry >>= 32;
    }
}

i64 DroppedRun::add(i64 carry) noexcept {
    if (n == 0) return carry;
    carry += first;
    first = static_cast<u32>(carry);
    if (carry >> 32 == 0) return 0;
    const bool passes = rest_ones;
    if (n > 1) rest_ones = false;  // they turn to zeros, or one of them stops the carry
    return passes ? 1 : 0;
}

Joiner make_joiner(const NttPrimeSet& set, const Shape& shape, const KernelTable& kernels) {
    Joiner joiner{};
    joiner.primes = set.count;
    joiner.p = set.primes;
    joiner.centred = shape.negacyclic;
    SmallNumber product;
    for (unsigned i = 0; i < set.count; ++i) {
        const u32 p = set.primes[i];
        product.multiply(p);
        SmallNumber cofactor;
        for (unsigned j = 0; j < set.count; ++j) {
            if (j != i) cofactor.multiply(set.primes[j]);
        }
        for (unsigned k = 0; k < 10; ++k) joiner.cofactor28[i][k] = cofactor.limb(k, 28);
        for (unsigned k = 0; k < 6; ++k) joiner.cofactor52[i][k] = cofactor.limb(k, 52);
        joiner.quotient52[i] = set.reciprocal[i];
        joiner.quotient28[i] = static_cast<u32>((u64{1} << 58) / p);

        // The transforms back multiply by radix * 2^(exponent - 3); cutting divides each operand by a power of R, the
        // pointwise product by one more.
        u32 scale = mul_mod(set.scale[i], set.cofactor_inverse[i], p);
        for (unsigned k = 4; k < shape.exponent; ++k) scale = scale % 2 == 0 ? scale / 2 : scale / 2 + p / 2 + 1;
        const u32 r = static_cast<u32>((u64{1} << kernels.r_bits) % p);
        for (unsigned k = 0; k < 2 * kernels.cut_powers[set.count] + 1; ++k) scale = mul_mod(scale, r, p);
        joiner.scale[i] = scale;
    }
    const unsigned limbs28 = (31 * set.count + 27) / 28, limbs52 = (31 * set.count + 51) / 52;
    const SmallNumber minus28 = product.minus_from_power(28 * limbs28),
                      minus52 = product.minus_from_power(52 * limbs52);
    for (unsigned k = 0; k < limbs28; ++k) joiner.minus_product28[k] = minus28.limb(k, 28);
    for (unsigned k = 0; k < limbs52; ++k) joiner.minus_product52[k] = minus52.limb(k, 52);
    return joiner;
}

u64 write_output(const Layout& layout, const KernelTable& kernels, const u32* residues, Window out, u8* records,
                 u64 record_step, u64 tasks) {
    const Joiner joiner = make_joiner(prime_sets[layout.row.set()], layout.shape, kernels);
    const PartWriter writer(layout, kernels, joiner, residues, out);
    const u64 chunks = layout.shape.points() / chunk_points;
    const u64 n_parts = std::min(tasks, chunks);
    const auto part = [&](u64 i) -> OutputPart& { return *reinterpret_cast<OutputPart*>(records + i * record_step); };
    Threads::run_parts(n_parts, [&](u64 i) {
        const Threads::Share share = Threads::share_of(chunks, n_parts, i);
        writer.run(share.first * chunk_points, share.last * chunk_points, part(i));
    });

    u64 residue = 0;
    i64 carry = 0;
    for (u64 i = 0; i < n_parts; ++i) {
        OutputPart& p = part(i);
        residue = kernels::residue_add(residue,
                                       kernels::residue_shift(p.residue, static_cast<i64>(64 * p.first_word % 61)));
        residue = kernels::residue_add(
            residue, kernels::residue_shift(static_cast<u64>(p.carry), static_cast<i64>(64 * p.last_word % 61)));
        carry = add_to_part(p, carry, out) + p.carry;
    }
    const u64 all = 2 * part(n_parts - 1).last_word;
    if (joiner.centred) {
        Spill& spill = part(n_parts - 1).spill;
        spill.add_carry(carry);
        const bool top = subtract_spill(out.bytes, all, spill);
        std::memset(out.bytes + 4 * all, 0, 4 * (out.count - all));
        if (top) out.bytes[4 * all] = 1;
        return 0;
    }
    for (u64 i = 0; i < n_parts && carry != 0; ++i) carry = add_to_part(part(i), carry, out);

    if (out.first + out.count > all) {
        const u64 from = std::max(out.first, all);
        std::memset(out.bytes + 4 * (from - out.first), 0, 4 * (out.first + out.count - from));
    }
    return residue;
}

}  // namespace kvt::multiply::ntt32
