// BasicInt: decimal text by repeated division.

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "frame/console.h"
#include "frame/format.h"
#include "objects/basic_int.h"
#include "objects/words.h"

namespace kvt::objects {
namespace {

constexpr u64 longest_quiet_words = 10000;
constexpr u32 group_base = 1000000000;
constexpr u64 group_digits = 9;

// Divides the number by 10^9 in place; returns the remainder.
template <class W>
u32 divide_by_group(W* T, u64 L) noexcept {
    u64 remainder = 0;
    for (u64 i = L; i-- > 0;) {
        W quotient = 0;
        for (unsigned shift = word_bits<W>; shift > 0;) {
            shift -= 32;
            const u64 dividend = remainder << 32 | static_cast<u32>(T[i] >> shift);
            quotient |= static_cast<W>(dividend / group_base) << shift;
            remainder = dividend % group_base;
        }
        T[i] = quotient;
    }
    return static_cast<u32>(remainder);
}

// Nine digits with leading zeros, two at a time.
void write_group(char* out, u32 group) noexcept {
    for (u64 i = group_digits; i > 1; i -= 2) {
        const u32 pair = group % 100;
        group /= 100;
        out[i - 2] = static_cast<char>('0' + pair / 10);
        out[i - 1] = static_cast<char>('0' + pair % 10);
    }
    out[0] = static_cast<char>('0' + group);
}

template <class W>
std::string decimal(const BasicInt<W>& x) {
    std::vector<W> left(x.T, x.T + x.L);
    std::vector<u32> groups;  // the least significant first
    u64 L = trimmed_length(left.data(), x.L);
    while (L > 0) {
        groups.push_back(divide_by_group(left.data(), L));
        if (left[L - 1] == 0) --L;
    }
    if (groups.empty()) return "0";
    std::string text = to_decimal(groups.back());
    u64 at = text.size();
    text.resize(at + group_digits * (groups.size() - 1));
    for (u64 i = groups.size() - 1; i-- > 0; at += group_digits) write_group(text.data() + at, groups[i]);
    return text;
}

}  // namespace

template <class W>
void to_string(TextRecord& out, const BasicInt<W>& x) {
    if (x.L > longest_quiet_words)
        kvt::print("BasicIntO::to_string(): Performance Warning\n    Converting a " + to_decimal(x.L) +
                   "-word number using the O(n^2) algorithm.\n");
    const std::string text = decimal(x);
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) throw std::bad_alloc();
    std::memcpy(copy, text.c_str(), text.size() + 1);
    if (out.text != nullptr) out.text_free(out.text);
    out = {text.size(), copy, [](char* text_copy) { std::free(text_copy); }};
}

template void to_string(TextRecord&, const BasicInt<u32>&);
template void to_string(TextRecord&, const BasicInt<u64>&);

}  // namespace kvt::objects
