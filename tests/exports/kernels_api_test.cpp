// Every word kernel through its export, against one word at a time in a wider type.

#include <gtest/gtest.h>
#include <kvnum/kernels.h>

#include <random>
#include <utility>
#include <vector>

namespace {

struct Narrow {
    using Word = uint32_t;
    using Wide = uint64_t;
    static constexpr auto add1_ip = add1_ip_c32;
    static constexpr auto add1_ir = add1_ir_c32;
    static constexpr auto add_ip = add_ip_c32, sub_ip = sub_ip_c32;
    static constexpr auto add_ir = add_ir_c32, sub_ir = sub_ir_c32;
    static constexpr auto add_nr = add_nr_c32, sub_nr = sub_nr_c32;
    static constexpr auto mul_ir = mul_ir_c32;
    static constexpr auto mul_nr = mul_nr_c32;
    static constexpr auto mulB = mulB_c32;
    static constexpr auto sqrB = sqrB_c32;
    static constexpr std::pair<uint32_t, bool> flags[] = {
        {0, false}, {1, true}, {2, true}, {0x100, true}, {~0u, true}};
};

struct Long {
    using Word = uint64_t;
    using Wide = unsigned __int128;
    static constexpr auto add1_ip = add1_ip_c64;
    static constexpr auto add1_ir = add1_ir_c64;
    static constexpr auto add_ip = add_ip_c64, sub_ip = sub_ip_c64;
    static constexpr auto add_ir = add_ir_c64, sub_ir = sub_ir_c64;
    static constexpr auto add_nr = add_nr_c64, sub_nr = sub_nr_c64;
    static constexpr auto mul_ir = mul_ir_c64;
    static constexpr auto mul_nr = mul_nr_c64;
    static constexpr auto mulB = mulB_c64;
    static constexpr auto sqrB = sqrB_c64;
    static constexpr std::pair<uint32_t, bool> flags[] = {{0, false}, {1, true}, {2, true}, {0xff, true}};
};

template <class Kernels>
class WordKernels : public testing::Test {
  protected:
    using Word = typename Kernels::Word;
    using Double = typename Kernels::Wide;
    using Words = std::vector<Word>;
    static constexpr unsigned bits = 8 * sizeof(Word);

    Word word() {
        const uint64_t r = random_();
        return r % 8 == 0 ? Word{0} : r % 8 == 1 ? static_cast<Word>(~Word{0}) : static_cast<Word>(r >> 3);
    }
    Words words(uint64_t n) {
        Words out(n);
        for (Word& w : out) w = word();
        return out;
    }

    // The sum or difference with its carry or borrow as the word above.
    static Words sum(const Words& A, const Words& B, bool flag, bool subtract) {
        Words out(A.size() + 1);
        Word carry = flag;
        for (size_t i = 0; i < A.size(); ++i) {
            const Double t = subtract ? Double{A[i]} - B[i] - carry : Double{A[i]} + B[i] + carry;
            out[i] = static_cast<Word>(t);
            carry = static_cast<Word>(t >> bits) & 1;
        }
        out.back() = carry;
        return out;
    }
    static Words product(const Words& A, const Words& B) {
        Words out(A.size() + B.size());
        for (size_t j = 0; j < B.size(); ++j) {
            Double t = 0;
            for (size_t i = 0; i < A.size(); ++i) {
                t += Double{A[i]} * B[j] + out[i + j];
                out[i + j] = static_cast<Word>(t);
                t >>= bits;
            }
            out[j + A.size()] = static_cast<Word>(t);
        }
        return out;
    }

    std::mt19937_64 random_{1};
};
using Widths = testing::Types<Narrow, Long>;
TYPED_TEST_SUITE(WordKernels, Widths);

TYPED_TEST(WordKernels, SumsAndDifferencesCarryAsTheirNamesSay) {
    using K = TypeParam;
    using Words = typename TestFixture::Words;
    using Word = typename K::Word;
    for (int round = 0; round < 400; ++round) {
        const uint64_t n = round % 40;
        const Words A = this->words(n), B = this->words(n);
        for (const auto& [flag, set] : K::flags) {
            for (const bool subtract : {false, true}) {
                const Words want = this->sum(A, B, set, subtract);
                Words C(n + 1, 7), D = A;
                D.push_back(7);
                const auto carry = (subtract ? K::sub_nr : K::add_nr)(C.data(), A.data(), B.data(), n, flag);
                EXPECT_EQ(carry, want[n]);
                EXPECT_EQ((subtract ? K::sub_ir : K::add_ir)(D.data(), B.data(), n, flag), want[n]);
                EXPECT_EQ(C, D);
                EXPECT_EQ(C[n], 7u);
                C[n] = want[n];
                EXPECT_EQ(C, want);

                // Above the words: one that hands the carry on, and one that takes it.
                const Word all = static_cast<Word>(~Word{0}), edge = subtract ? 0 : all, taken = subtract ? all : 0;
                Words P = A;
                P.insert(P.end(), {edge, 5});
                (subtract ? K::sub_ip : K::add_ip)(P.data(), B.data(), n, flag);
                EXPECT_EQ(P[n], carry != 0 ? taken : edge);
                EXPECT_EQ(P[n + 1], carry == 0 ? 5u : subtract ? 4u : 6u);
            }
        }
    }
}

TYPED_TEST(WordKernels, OneCarryRipples) {
    using K = TypeParam;
    using Words = typename TestFixture::Words;
    const auto all = static_cast<typename K::Word>(~typename K::Word{0});
    for (const auto& [flag, set] : {std::pair{0u, false}, {1u, true}, {0x100u, true}, {~0u, true}}) {
        Words A{all, all, 5}, B{all, all, 5}, C{3, all};
        EXPECT_EQ(K::add1_ir(A.data(), 2, flag), set);
        EXPECT_EQ(A, set ? (Words{0, 0, 5}) : (Words{all, all, 5}));
        K::add1_ip(B.data(), flag);
        EXPECT_EQ(B, set ? (Words{0, 0, 6}) : (Words{all, all, 5}));
        EXPECT_EQ(K::add1_ir(C.data(), 2, flag), 0u);
        EXPECT_EQ(C, (Words{set ? 4u : 3u, all}));
    }
}

TYPED_TEST(WordKernels, ProductsAreExact) {
    using K = TypeParam;
    using Words = typename TestFixture::Words;
    for (int round = 0; round < 1500; ++round) {
        const uint64_t n = 1 + round % 31, m = 1 + this->random_() % 31;
        const Words A = this->words(n), B = this->words(m);
        Words C(n + m);
        K::mulB(C.data(), A.data(), n, B.data(), m);
        EXPECT_EQ(C, this->product(A, B)) << n << " x " << m;
        Words S(2 * n);
        K::sqrB(S.data(), A.data(), n);
        EXPECT_EQ(S, this->product(A, A)) << n;

        // A row, its carry word added at the bottom.
        const auto carry = this->word();
        Words low(n + 1), R(n + 1, 7), I = A;
        low[0] = carry;
        Words want = this->sum(this->product(A, {B[0]}), low, false, false);
        want.pop_back();
        EXPECT_EQ(K::mul_nr(R.data(), A.data(), n, B[0], carry), want[n]);
        EXPECT_EQ(R[n], 7u);
        EXPECT_EQ(K::mul_ir(I.data(), n, B[0], carry), want[n]);
        R.pop_back();
        want.pop_back();
        EXPECT_EQ(R, want);
        EXPECT_EQ(I, want);
    }
}

}  // namespace
