// Callers that are hard on the library, through the shared library alone: scratch at every alignment, operands that end
// at a page's end, lengths of 0 and lengths beyond all bounds, scratch a byte too short, many threads at once, and a
// floating-point unit in a state of the caller's own.

#include <gtest/gtest.h>
#include <kvnum/kvnum.h>
#include <xmmintrin.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "exports/refusal.h"
#include "reference/arithmetic.h"
#include "support/fenced.h"
#include "support/operands.h"
#include "support/scratch.h"

namespace {

namespace test = kvt::test;
namespace reference = kvt::reference;
using u32 = uint32_t;
using u64 = uint64_t;

constexpr u64 lengths[] = {7, 60, 700, 5000, 30000};  // the schoolbook, both transforms
constexpr u64 longest_bits = u64{2} * 30000 * 64 + 4096;

void expect_message(ExceptionWrapper* error, const std::string& message) {
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(std::string(error->message), message);
    error->destroy(error);
}

void expect_refused(ExceptionWrapper* error) {
    ASSERT_NE(error, nullptr);
    error->destroy(error);
}

// One of everything that computes through scratch memory. The words and texts of a round are appended to `seen`, so
// that two rounds can be compared.
class Round {
  public:
    explicit Round(u64 L, u64 seed, u64 skew = 0) : L_(L), skew_(skew), rng_(seed) {}

    void run() {
        const auto A = fenced(L_), B = fenced(L_ - L_ / 3);
        product(A, B);
        inverses(A, B);
        text(B);
    }
    std::vector<u64> seen;

  private:
    test::FencedWords<u64> fenced(u64 n) {
        test::FencedWords<u64> words(n);
        test::fill(test::Pattern::random, words.data(), n, rng_);
        words[n - 1] |= 1;
        return words;
    }
    template <class Words>
    void keep(const Words& words, u64 n) {
        seen.insert(seen.end(), words.begin(), words.begin() + n);
    }

    void product(const test::FencedWords<u64>& A, const test::FencedWords<u64>& B) {
        MulSizeRecord record;
        ASSERT_EQ(mul_Psize64(&record, A.size() + B.size(), 1), nullptr);
        const test::Scratch scratch(record.scratch_bytes, skew_);
        const BasicParameters params{get_global_table(), scratch.data(), record.scratch_bytes, 1};
        test::FencedWords<u64> C(A.size() + B.size());
        ASSERT_EQ(mul_p_c64(&params, C, A, A.size(), B, B.size()), nullptr);
        EXPECT_TRUE(scratch.intact());
        if (L_ <= 700 || KVNUM_HAVE_GMP) {
            EXPECT_EQ(std::vector<u64>(C.begin(), C.end()),
                      reference::product(A.data(), A.size(), B.data(), B.size()));
        }
        keep(C, C.size());
    }

    void inverses(const test::FencedWords<u64>& A, const test::FencedWords<u64>& B) {
        const u64 p = L_ / 4;
        const BigFloat_c64 a{A, A.size(), 3, true, A, A.size()}, b{B, B.size(), -9, false, B, B.size()};
        u64 out_words = 0, scratch_words = 0, bytes = 0;
        ASSERT_EQ(BigFloatR_c64_div_sizes(&out_words, &scratch_words, &bytes, p, 1), nullptr);
        const test::Scratch memory(bytes, skew_);
        test::FencedWords<u64> out(out_words), scratch(scratch_words);
        const BasicParameters params{get_global_table(), memory.data(), bytes, 1};
        BigFloat_c64 q{out, 0, 0, true, out, out_words};
        ASSERT_EQ(BigFloatR_c64_div(&params, &q, &a, &b, p, scratch, scratch_words, nullptr), nullptr);
        EXPECT_TRUE(memory.intact());
        EXPECT_FALSE(q.sign);
        seen.insert(seen.end(), q.T, q.T + q.L);
    }

    void text(const test::FencedWords<u64>& B) {
        const BigInt_c64 x{B, B.size(), true, B, B.size()};
        u64 chars = 0, bytes = 0, words = 0, reading_bytes = 0;
        ASSERT_EQ(BigInt_c64_to_string_dec_sizes(&chars, &bytes, x.L, 1), nullptr);
        const test::Scratch memory(bytes, skew_ & ~u64{7});
        const test::FencedBytes buffer(chars);
        BasicParameters params{get_global_table(), memory.data(), bytes, 1};
        char* result = nullptr;
        ASSERT_EQ(BigInt_c64_to_string_dec(&params, &result, reinterpret_cast<char*>(buffer.data()), &x), nullptr);
        const std::string digits = result;
        const test::FencedBytes given(digits.size());
        std::copy(digits.begin(), digits.end(), given.data());
        ASSERT_EQ(BigInt_c64_set_string_dec_sizes(&words, &reading_bytes, digits.size(), 1), nullptr);
        const test::Scratch reading(reading_bytes, skew_ & ~u64{7});
        params.memory = reading.data();
        params.memory_bytes = reading_bytes;
        test::FencedWords<u64> read(words);
        BigInt_c64 y{read, 0, true, read, words};
        ASSERT_EQ(BigInt_c64_set_string_dec(&params, &y, reinterpret_cast<char*>(given.data()), given.size()),
                  nullptr);
        EXPECT_TRUE(reading.intact());
        EXPECT_EQ(BigInt_c64_cmp(&x, &y), 0);
    }

    u64 L_, skew_;
    test::Rng rng_;
};

TEST(HostileCallers, ScratchMayStartAnywhereAndOperandsEndAtAPage) {
    ASSERT_EQ(internal_ensure_global_table(longest_bits), nullptr);
    for (u64 L : lengths) {
        Round straight(L, L);
        straight.run();
        for (u64 skew = 1; skew < 64; skew += L < 1000 ? 1 : L < 10000 ? 9 : 31) {
            Round skewed(L, L, skew);
            skewed.run();
            ASSERT_EQ(skewed.seen, straight.seen) << "L " << L << " skew " << skew;
        }
    }
}

TEST(HostileCallers, ManyThreadsWithTheirOwnScratch) {
    ASSERT_EQ(internal_ensure_global_table(longest_bits), nullptr);
    std::vector<std::vector<u64>> want;
    for (u64 L : lengths) {
        Round round(L, 9);
        round.run();
        want.push_back(round.seen);
    }
    std::vector<std::thread> threads;
    std::atomic<u64> wrong{0};
    for (u64 t = 0; t < 16; ++t)
        threads.emplace_back([&, t] {
            for (u64 i = 0; i < std::size(lengths); ++i) {
                const u64 k = (i + t) % std::size(lengths);
                Round round(lengths[k], 9, t);
                round.run();
                wrong += round.seen != want[k];
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0u);
}

// Flush-to-zero, denormals-are-zero and the other rounding modes change no result and are there afterwards.
TEST(HostileCallers, TheCallersFloatingPointStateNeitherHarmsNorChanges) {
    ASSERT_EQ(internal_ensure_global_table(longest_bits), nullptr);
    const unsigned before = _mm_getcsr();
    for (u64 L : lengths) {
        Round straight(L, L);
        straight.run();
        for (unsigned state : {0x9fc0u, 0x3f80u, 0x5f80u, 0x7f80u, 0xffc0u}) {
            _mm_setcsr(state);
            Round round(L, L);
            round.run();
            const unsigned after = _mm_getcsr();
            _mm_setcsr(before);
            ASSERT_EQ(round.seen, straight.seen) << "L " << L << " MXCSR " << std::hex << state;
            EXPECT_EQ(after & ~0x3fu, state & ~0x3fu) << "L " << L;
        }
    }
}

TEST(HostileCallers, ScratchAByteShortIsRefusedBeforeAnythingIsWritten) {
    ASSERT_EQ(internal_ensure_global_table(longest_bits), nullptr);
    test::ConsoleCapture console(SetConsoleSink);
    for (u64 L : {700, 5000, 30000}) {
        test::Rng rng(L);
        auto A = test::words<u64>(test::Pattern::random, L, rng);
        std::vector<u64> C(2 * L, 77), kept = C;
        MulSizeRecord record;
        ASSERT_EQ(mul_Psize64(&record, 2 * L, 1), nullptr);
        std::vector<unsigned char> memory(record.scratch_bytes);
        BasicParameters params{get_global_table(), memory.data(), record.scratch_bytes - 1, 1};
        expect_refused(mul_p_c64(&params, C.data(), A.data(), L, A.data(), L));
        EXPECT_EQ(C, kept);
        params.memory = nullptr;
        params.memory_bytes = 0;
        expect_refused(sqr_p_c64(&params, C.data(), A.data(), L));
        EXPECT_EQ(C, kept);

        u64 out_words = 0, scratch_words = 0, bytes = 0;
        ASSERT_EQ(BigFloatR_c64_rcp_sizes(&out_words, &scratch_words, &bytes, L, 1), nullptr);
        std::vector<u64> out(out_words), scratch(scratch_words);
        memory.resize(bytes);
        const BigFloat_c64 x{A.data(), L, 0, true, A.data(), L};
        BigFloat_c64 r{out.data(), 0, 0, true, out.data(), out_words};
        params = {get_global_table(), memory.data(), bytes, 1};
        params.memory_bytes = 0;
        expect_refused(BigFloatR_c64_rcp(&params, &r, &x, L, scratch.data(), scratch_words, nullptr));
        params.memory_bytes = bytes;
        expect_refused(BigFloatR_c64_rcp(&params, &r, &x, L, scratch.data(), scratch_words / 2, nullptr));
        r.buffer_size = out_words - 1;
        expect_refused(BigFloatR_c64_rcp(&params, &r, &x, L, scratch.data(), scratch_words, nullptr));
        EXPECT_EQ(out, std::vector<u64>(out_words));
    }
}

// A query for a length that no algorithm covers, or that overflows its own arithmetic, answers with an error.
TEST(HostileCallers, LengthsBeyondAllBoundsAreRefusedByTheQueries) {
    test::ConsoleCapture console(SetConsoleSink);
    const auto refused = [](ExceptionWrapper* error) {
        const bool is_refused = error != nullptr;
        if (is_refused) error->destroy(error);
        return is_refused;
    };
    for (unsigned shift : {58u, 60u, 61u, 62u, 63u}) {
        for (u64 n : {u64{1} << shift, (u64{1} << shift) - 1, ~u64{0} >> (63 - shift)}) {
            MulSizeRecord record;
            u64 a = 0, b = 0, c = 0;
            EXPECT_TRUE(refused(mul_Psize64(&record, n, 1))) << n;
            EXPECT_TRUE(refused(mul_Psize32(&record, n, 1))) << n;
            EXPECT_TRUE(refused(mul_iPsize_c64(&a, n, 1))) << n;
            EXPECT_TRUE(refused(BigInt_c64_mul_Psize(&a, n, n, 1))) << n;
            EXPECT_TRUE(refused(BigInt_c32_mul_Psize(&a, n, 1, 1))) << n;
            EXPECT_TRUE(refused(BigFloatR_c64_div_sizes(&a, &b, &c, n, 1))) << n;
            EXPECT_TRUE(refused(BigFloatR_c32_rcp_sizes(&a, &b, &c, n, 1))) << n;
            EXPECT_TRUE(refused(BigFloatR_c64_invsqrt_uW_sizes(&a, &b, &c, n, 1))) << n;
            EXPECT_TRUE(refused(BigInt_c64_to_string_dec_sizes(&a, &b, n, 1))) << n;
            EXPECT_TRUE(refused(BigFloat_c64_set_string_dec_sizes(&a, &b, 10, n, 1))) << n;
            if (n >> 62 == 0) continue;  // digits are shorter than words
            EXPECT_TRUE(refused(BigInt_c32_set_string_dec_sizes(&a, &b, n, 1))) << n;
            EXPECT_TRUE(refused(BigInt_c64_set_string_dec_sizes(&a, &b, n, 1))) << n;
            EXPECT_TRUE(refused(BigFloat_c64_to_string_dec_sizes(&a, &b, n, 1))) << n;
        }
    }
    // With the lengths themselves in the call nothing is read or written.
    u64 word = 5;
    const BasicParameters params{get_global_table(), &word, sizeof word, 1};
    EXPECT_TRUE(refused(mul_p_c64(&params, &word, &word, u64{1} << 60, &word, u64{1} << 59)));
    EXPECT_TRUE(refused(sqr_p_c32(&params, reinterpret_cast<u32*>(&word), reinterpret_cast<u32*>(&word), ~u64{0})));
    EXPECT_EQ(word, 5u);
}

TEST(HostileCallers, LengthsOfZero) {
    u64 words[4] = {1, 2, 3, 4};
    const BasicParameters params{get_global_table(), nullptr, 0, 1};
    const BigInt_c64 zero{nullptr, 0, true, nullptr, 0}, one{words, 1, true, words, 1};
    u64 out[4] = {9, 9, 9, 9};
    BigInt_c64 x{out, 0, true, out, 4};
    for (const BigInt_c64* other : {&zero, &one}) {
        EXPECT_EQ(BigInt_c64_set_mul(&x, &params, &zero, other), nullptr);
        EXPECT_EQ(x.L, 0u);
        EXPECT_EQ(BigInt_c64_set_add(&x, &zero, other), nullptr);
        EXPECT_EQ(x.L, other->L);
        EXPECT_EQ(BigInt_c64_cmp(&zero, other), other->L == 0 ? 0 : -1);
    }
    EXPECT_EQ(BigInt_c64_set_sqr(&x, &params, &zero), nullptr);
    EXPECT_EQ(BigInt_c64_shl(&x, 1000), nullptr);
    BigInt_c64_shr(&x, 1000);
    EXPECT_EQ(x.L, 0u);
    BigInt_c64_get_range(&zero, out, 0, 0);
    BigInt_c64_get_range(&one, out, 5, 2);
    EXPECT_EQ(out[0] | out[1], 0u);
    char buffer[64];
    char* text = nullptr;
    EXPECT_EQ(BigInt_c64_to_string_dec(&params, &text, buffer, &zero), nullptr);
    EXPECT_STREQ(text, "0");
    EXPECT_EQ(BigInt_c64_to_string_hex(&text, buffer, &zero), nullptr);
    EXPECT_STREQ(text, "0");
    test::ConsoleCapture console(SetConsoleSink);
    expect_message(BigInt_c64_set_string_dec(&params, &x, buffer, 0), "Invalid character at position 0.");
}

}  // namespace
