// Products through their residues modulo 2^L - 1 and 2^L + 1.

#include "multiply/crt_mulp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "kernels/residue61.h"
#include "multiply/crt_words.h"
#include "multiply/ntt64/ntt64_roots.h"
#include "multiply/twiddle_table.h"
#include "reference/arithmetic.h"
#include "support/child_process.h"
#include "support/console_capture.h"
#include "support/fenced.h"
#include "support/operands.h"
#include "support/scratch.h"

using namespace kvt;
using namespace kvt::multiply;
using namespace kvt::test;

namespace {

const GlobalTwiddleTable& test_table() {
    static const auto roots = std::make_unique<ntt64::Roots>();
    static const GlobalTwiddleTable table = ntt64::table_of_roots(roots.get());
    return table;
}

// A wrapped transform as plain as can be: an operand's buffer holds its length and its words; residues are taken word
// by word, and 2^L modulo 2^L + 1 comes out as a one above N zero words.
class PlainWrapping final : public TransformEngine {
  public:
    TransformPlan plan(u64) const override { return {}; }
    static TransformPlan wrapped(u64 L_bits, int sign) {
        TransformPlan plan;
        plan.wrap_bits = plan.capacity_bits = L_bits;
        plan.wrap_sign = sign;
        plan.operand_bytes = 8 + L_bits / 4;
        return plan;
    }
    Residue forward(const TransformPlan&, const GlobalTwiddleTable&, Operand a, void* operand, void*,
                    u64) const override {
        std::memcpy(operand, &a.n, 8);
        std::memcpy(static_cast<u8*>(operand) + 8, a.bytes, 4 * a.n);
        return {};
    }
    void multiply(const TransformPlan&, const GlobalTwiddleTable&, void* a, const void* b, void*,
                  u64) const override {
        u64 na, nb;
        std::memcpy(&na, a, 8);
        std::memcpy(&nb, b, 8);
        const std::vector<u32> A = words_of(a, na), B = words_of(b, nb);
        const std::vector<u32> C = reference::product(A, B);
        const u64 n = C.size();
        std::memcpy(a, &n, 8);
        std::memcpy(static_cast<u8*>(a) + 8, C.data(), 4 * n);
    }
    void inverse(const TransformPlan& plan, const GlobalTwiddleTable&, void* operand, Window out, const Residue*,
                 void*, u64) const override {
        u64 n;
        std::memcpy(&n, operand, 8);
        const std::vector<u32> C = words_of(operand, n);
        const u64 N = plan.wrap_bits / 32;
        std::vector<i64> sums(N);
        for (u64 i = 0; i < n; ++i) sums[i % N] += i < N ? i64{C[i]} : plan.wrap_sign * i64{C[i]};
        std::vector<u32> words(N + 1);
        i64 carry = 0;
        for (u64 i = 0; i < N; ++i, carry >>= 32) words[i] = static_cast<u32>(carry += sums[i]);
        while (carry != 0) {
            const bool zero = std::all_of(words.begin(), words.end(), [](u32 w) { return w == 0; });
            if (plan.wrap_sign < 0 && carry == 1 && zero) {
                words[N] = 1;
                break;
            }
            carry *= plan.wrap_sign;
            for (u64 i = 0; i < N; ++i, carry >>= 32) words[i] = static_cast<u32>(carry += words[i]);
        }
        std::memcpy(out.bytes, words.data() + out.first, 4 * out.count);
    }
    void product(const TransformPlan&, const GlobalTwiddleTable&, void*, Residue, Operand, Window, bool, void*,
                 u64) const override {}

  private:
    static std::vector<u32> words_of(const void* buffer, u64 n) {
        std::vector<u32> words(n);
        std::memcpy(words.data(), static_cast<const u8*>(buffer) + 8, 4 * n);
        return words;
    }
};
const PlainWrapping plain_wrapping;

std::vector<u32> power_of_two(u64 bit) {
    std::vector<u32> A(bit / 32 + 1);
    A.back() = u32{1} << bit % 32;
    return A;
}

enum class Way { thresholds, ntt64, wrapped };

CrtConvolution convolution_for(Way way, u64 L_bits) {
    if (way == Way::thresholds) return crt_convolution(L_bits);
    if (way == Way::ntt64) {
        const TransformPlan plan = ntt64_engine().plan(2 * L_bits);
        return {false, {&ntt64_engine(), plan}, {&ntt64_engine(), plan}};
    }
    return {true,
            {&plain_wrapping, PlainWrapping::wrapped(L_bits, 1)},
            {&plain_wrapping, PlainWrapping::wrapped(L_bits, -1)}};
}

void check(Way way, const std::vector<u32>& A, const std::vector<u32>& B, u64 N, u64 skew = 0, u64 tasks = 1) {
    SCOPED_TRACE(testing::Message() << "way " << static_cast<int>(way) << ", N " << N << ", " << A.size() << " x "
                                    << B.size());
    const CrtConvolution convolution = convolution_for(way, 32 * N);
    const CrtSizes sizes = crt_mulp_sizes(convolution, 32 * N, tasks);
    const Scratch scratch(sizes.scratch_bytes, skew), memory(sizes.storage_bytes, skew + 1);
    MemoryStorage storage(memory.data(), memory.size());
    FencedWords<u32> C(A.size() + B.size());
    CRT_mulp(convolution, scratch.parameters(&test_table(), tasks), storage, nullptr, C.data(), A.data(), A.size(),
             B.data(), B.size(), 32 * N);
    EXPECT_EQ(std::vector<u32>(C.begin(), C.end()), reference::product(A, B));
    EXPECT_TRUE(scratch.intact());
    EXPECT_TRUE(memory.intact());
}

TEST(CrtMulp, EveryLengthAndWay) {
    Rng rng(4401);
    for (u64 N = 1; N <= 24; ++N) {
        for (Way way : {Way::thresholds, Way::ntt64, Way::wrapped}) {
            for (Pattern pattern : hard_patterns) {
                const u64 na = rng.between(1, 2 * N - 1), nb = rng.between(1, 2 * N - na);
                check(way, words<u32>(pattern, na, rng), words<u32>(Pattern::random, nb, rng), N, rng.below(64));
                check(way, words<u32>(Pattern::all_ones, 2 * N - nb, rng), words<u32>(pattern, nb, rng), N,
                      rng.below(64));
            }
        }
    }
}

// Rows of the 32-bit engine: wrapped transforms; next to them plain ones.
TEST(CrtMulp, LengthsOfTheWrappedTransforms) {
    GlobalTwiddleTable table{};
    make_table(table, 2'000'000);
    Rng rng(4407);
    for (u64 L : {u64{65'536}, u64{81'920}, u64{147'456}, u64{172'032}, u64{262'144}, u64{65'536 + 32}}) {
        if (!KVNUM_HAVE_GMP && L > 81'920) break;
        const u64 N = L / 32;
        EXPECT_EQ(crt_convolution(L).wrapped, L != 65'536 + 32) << L;
        for (u64 tasks : {1u, 3u}) {
            const CrtSizes sizes = crt_mulp_sizes(L, tasks);
            const Scratch scratch(sizes.scratch_bytes, 5), memory(sizes.storage_bytes, 9);
            const u64 nb = rng.between(1, N);
            std::vector<u32> A = words<u32>(Pattern::random, 2 * N - nb, rng), B = words<u32>(Pattern::runs, nb, rng);
            if (tasks == 3) {  // -1 modulo 2^L + 1
                A = power_of_two(L - 77);
                B = power_of_two(77);
            }
            MemoryStorage storage(memory.data(), memory.size());
            std::vector<u32> C(A.size() + B.size());
            CRT_mulp(scratch.parameters(&table, tasks), storage, nullptr, C.data(), A.data(), A.size(), B.data(),
                     B.size(), L);
            EXPECT_TRUE(C == reference::product(A, B)) << L << " " << tasks;
            EXPECT_TRUE(scratch.intact() && memory.intact());
        }
    }
    free_table(table);
}

TEST(CrtMulp, LongerOperands) {
    if (!KVNUM_HAVE_GMP) GTEST_SKIP() << "no fast oracle";
    Rng rng(4402);
    check(Way::ntt64, words<u32>(Pattern::random, 30'000, rng), words<u32>(Pattern::runs, 9'000, rng), 19'999, 5, 3);
    check(Way::ntt64, words<u32>(Pattern::all_ones, 20'000, rng), words<u32>(Pattern::all_ones, 20'000, rng), 20'000);
}

// The residues that are easily mistaken: -1 modulo 2^L + 1 (which has no N words), its neighbours, and 0.
TEST(CrtMulp, SpecialResidues) {
    Rng rng(4403);
    for (u64 N : {1u, 2u, 3u, 5u, 8u, 17u}) {
        for (Way way : {Way::thresholds, Way::wrapped}) {
            const u64 L = 32 * N;
            for (u64 k : {u64{1}, L / 2, L - 1}) check(way, power_of_two(L - k), power_of_two(k), N);  // -1
            check(way, power_of_two(L - 1), power_of_two(2), N);                                       // -2
            // A = 2^L (h + 1) + h ... : A is -1 and -2, and 2^L - 1 (0 of the cyclic half)
            for (u32 difference : {1u, 2u}) {
                if (N == 1) continue;
                std::vector<u32> A(2 * N - 1);
                fill(Pattern::random, A.data(), N - 1, rng);
                std::copy_n(A.begin(), N - 1, A.begin() + static_cast<long>(N));
                A[0] &= 0xffff;
                A[N] = A[0] + difference;
                check(way, A, {1}, N);
                check(way, A, {7}, N);
                check(way, A, {0}, N);
            }
            std::vector<u32> ones(N, ~u32{0});
            check(way, ones, {1}, N);
            check(way, ones, ones, N);
            check(way, ones, {0}, N);
            if (N > 1) check(way, std::vector<u32>(2 * N - 1, ~u32{0}), {~u32{0}}, N);
        }
    }
    // 2^96 + 1 = (2^32 + 1) (2^64 - 2^32 + 1): 0 of the negacyclic half without a factor 0
    for (Way way : {Way::thresholds, Way::wrapped}) check(way, {1, 1}, {1, ~u32{0}}, 3);
}

TEST(CrtMulp, OrderOfOperandsDoesNotMatter) {
    Rng rng(4404);
    const std::vector<u32> A = words<u32>(Pattern::random, 5, rng), B = words<u32>(Pattern::random, 27, rng);
    check(Way::thresholds, A, B, 16);
    check(Way::thresholds, B, A, 16);
}

// Records what is asked of the storage and of the sink.
class Recorder final : public StorageProvider {
  public:
    Recorder(void* memory, u64 bytes) : memory_(memory, bytes) {}
    u32* create(const char* name, u64 bytes) override {
        log_.push_back(std::string("+") + name);
        u32* const object = memory_.create(name, bytes);
        names_.emplace_back(object, name);
        sizes_.emplace_back(name, bytes);
        return object;
    }
    void release(u32* object) noexcept override {
        const auto at =
            std::find_if(names_.rbegin(), names_.rend(), [&](const auto& n) { return n.first == object; });
        log_.push_back("-" + at->second);
        memory_.release(object);
    }
    ProgressSink sink() {
        return {[](void* self, const char* tag) { static_cast<Recorder*>(self)->log_.push_back(tag); },
                [](void* self) { static_cast<Recorder*>(self)->log_.push_back("pop"); }, [](void*, u64) {}, this};
    }
    std::vector<std::string> log_;
    std::vector<std::pair<std::string, u64>> sizes_;

  private:
    MemoryStorage memory_;
    std::vector<std::pair<u32*, std::string>> names_;
};

TEST(CrtMulp, StagesTagsAndObjects) {
    Rng rng(4405);
    const u64 N = 16;
    const std::vector<u32> A = words<u32>(Pattern::random, 20, rng), B = words<u32>(Pattern::random, 12, rng);
    const CrtSizes sizes = crt_mulp_sizes(32 * N, 1);
    const Scratch scratch(sizes.scratch_bytes);
    std::vector<u8> memory(sizes.storage_bytes);
    Recorder storage(memory.data(), memory.size());
    const ProgressSink sink = storage.sink();
    std::vector<u32> C(32);
    CRT_mulp(scratch.parameters(&test_table()), storage, &sink, C.data(), A.data(), 20, B.data(), 12, 32 * N);
    EXPECT_EQ(C, reference::product(A, B));
    const std::vector<std::string> want = {"+qtn_CRT_Ac.sf",
                                           "+qtn_CRT_An.sf",
                                           "+qtn_CRT_T(Ac).sf",
                                           "CRT-CA-",
                                           "CRT-F: ",
                                           "-qtn_CRT_Ac.sf",
                                           "pop",
                                           "pop",
                                           "CRT-CB-",
                                           "CRT-F: ",
                                           "+qtn_CRT_T(Bc).sf",
                                           "pop",
                                           "pop",
                                           "CRT-CM-",
                                           "-qtn_CRT_T(Bc).sf",
                                           "pop",
                                           "CRT-CI-",
                                           "CRT-I: ",
                                           "+qtn_CRT_Cc.sf",
                                           "pop",
                                           "pop",
                                           "-qtn_CRT_T(Ac).sf",
                                           "+qtn_CRT_T(An).sf",
                                           "CRT-NA-",
                                           "CRT-F: ",
                                           "-qtn_CRT_An.sf",
                                           "pop",
                                           "pop",
                                           "CRT-NB-",
                                           "CRT-F: ",
                                           "+qtn_CRT_T(Bn).sf",
                                           "pop",
                                           "pop",
                                           "CRT-NM-",
                                           "-qtn_CRT_T(Bn).sf",
                                           "pop",
                                           "CRT-NI-",
                                           "CRT-I: ",
                                           "+qtn_CRT_Cn.sf",
                                           "pop",
                                           "pop",
                                           "-qtn_CRT_T(An).sf",
                                           "-qtn_CRT_Cn.sf",
                                           "-qtn_CRT_Cc.sf"};
    EXPECT_EQ(storage.log_, want);
    for (const auto& [name, bytes] : storage.sizes_) {
        EXPECT_TRUE(name.find("T(") != std::string::npos || bytes == 4 * N) << name;
    }
}

TEST(CrtMulp, ShortagesAreFoundBeforeAnythingIsWritten) {
    ConsoleCapture console(set_console_sink);
    Rng rng(4406);
    const u64 N = 2000;
    const std::vector<u32> A = words<u32>(Pattern::random, N, rng);
    const CrtConvolution convolution = convolution_for(Way::ntt64, 32 * N);
    const CrtSizes sizes = crt_mulp_sizes(convolution, 32 * N, 1);
    std::vector<u8> memory(sizes.storage_bytes), scratch(sizes.scratch_bytes);
    std::vector<u32> C(2 * N, 5);
    const auto text_of = [&](const GlobalTwiddleTable& table, u64 scratch_bytes, u64 storage_bytes) {
        MemoryStorage storage(memory.data(), storage_bytes);
        try {
            CRT_mulp(convolution, {&table, scratch.data(), scratch_bytes, 1}, storage, nullptr, C.data(), A.data(), N,
                     A.data(), N, 32 * N);
        } catch (const kv_exception& error) {
            return std::string(error.title);
        }
        return std::string();
    };
    const GlobalTwiddleTable empty{};
    EXPECT_EQ(text_of(empty, scratch.size(), memory.size()), "Lookup table is too small.");
    EXPECT_EQ(text_of(test_table(), scratch.size() - 1, memory.size()), "Buffer is too small.");
    EXPECT_EQ(text_of(test_table(), scratch.size(), 1000), "Buffer is too small.");
    EXPECT_TRUE(all_equal(C.data(), C.size(), 5));
    EXPECT_EQ(text_of(test_table(), scratch.size(), memory.size()), "");
}

void call_with_length(u64 na, u64 nb, u64 L_bits) {
    const std::vector<u32> A(na, 3), B(nb, 5);
    std::vector<u32> C(na + nb);
    std::vector<u8> memory(1 << 16), scratch(1 << 16);
    MemoryStorage storage(memory.data(), memory.size());
    CRT_mulp({&test_table(), scratch.data(), scratch.size(), 1}, storage, nullptr, C.data(), A.data(), na, B.data(),
             nb, L_bits);
}
const ChildCase length_33{"crt_mulp_length_33", [] { call_with_length(1, 1, 33); }};
const ChildCase too_short{"crt_mulp_too_short", [] { call_with_length(3, 2, 64); }};
const ChildCase just_enough{"crt_mulp_just_enough", [] { call_with_length(2, 2, 64); }};

TEST(CrtMulp, WrongLengthsEndTheProcess) {
    const ChildEnd odd = length_33.run();
    EXPECT_TRUE(odd.exited_with(1));
    EXPECT_EQ(odd.output, "CRT_mulp(): Convolution length is not divisible by the word-size.\n");
    const ChildEnd narrow = too_short.run();
    EXPECT_TRUE(narrow.exited_with(1));
    EXPECT_EQ(narrow.output, "CRT_mulp(): Convolution length is not long enough.\n");
    EXPECT_TRUE(just_enough.run().exited_with(ChildCase::returned));
}

TEST(MemoryStorage, FillsTheLowestGap) {
    alignas(64) u8 memory[64 * 6];
    MemoryStorage storage(memory, sizeof memory);
    u32* const a = storage.create("a", 65);
    u32* const b = storage.create("b", 64);
    u32* const c = storage.create("c", 1);
    EXPECT_EQ(reinterpret_cast<u8*>(b), memory + 128);
    EXPECT_EQ(reinterpret_cast<u8*>(c), memory + 192);
    storage.release(a);
    EXPECT_EQ(storage.create("d", 100), a);
    EXPECT_EQ(reinterpret_cast<u8*>(storage.create("e", 128)), memory + 256);
    ConsoleCapture console(set_console_sink);
    EXPECT_THROW(storage.create("f", 1), BufferTooSmallException);
    storage.release(b);
    EXPECT_EQ(storage.create("f", 1), b);
}

}  // namespace
