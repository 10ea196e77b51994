// Chunked products: the ring, the stages, their checks and tags, and products against the oracle.

#include "multiply/chunked_transform.h"

#include "frame/progress.h"
#include "multiply/dispatch.h"
#include "multiply/product_support.h"
#include "reference/arithmetic.h"
#include "support/child_process.h"
#include "support/progress_recorder.h"
#include "threads/builtin.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

// Scratch of one stage, and memory for ring products.
struct Work {
    Work(const FermatRing<u64>& ring, u64 units)
        : unit_words(units * ring.unit_words()), spare(ring.spare_words()), product(20'000) {
        scratch = {unit_words.data(), 8 * unit_words.size(), spare.data(),
                   BasicParameters{global_table(), product.data(), 8 * product.size(), 1}};
    }
    std::vector<u64> unit_words, spare, product;
    StageScratch scratch;
};

// x modulo 2^M + 1 by the reference: words of an element.
std::vector<u64> element(const std::vector<u64>& value, u64 n) {
    std::vector<u64> out(n + 1);
    i64 carry = 0;
    for (u64 i = 0; i < n; ++i) {
        const i128 d =
            static_cast<i128>(i < value.size() ? value[i] : 0) - (n + i < value.size() ? value[n + i] : 0) + carry;
        out[i] = static_cast<u64>(d);
        carry = d < 0 ? -1 : 0;
    }
    for (u64 i = 0; carry != 0; ++i) {  // + 1
        if (i == n) {
            out[n] = 1;
            break;
        }
        if (++out[i] != 0) break;
    }
    return out;
}

TEST(FermatRing, ShiftsAndProductsAgreeWithTheReference) {
    ensure_global_table(1 << 14);
    Rng rng(111);
    for (u64 n : {1, 2, 5, 40}) {
        const FermatRing<u64> ring(n);
        const Work work(ring, 1);
        std::vector<u64> spare(ring.spare_words());
        for (Pattern pattern : {Pattern::random, Pattern::all_ones, Pattern::sparse, Pattern::zero})
            for (u64 e : {u64{0}, u64{1}, u64{63}, 64 * n - 1, 64 * n, 64 * n + 5, 128 * n - 1, rng.below(128 * n)}) {
                std::vector<u64> x = words<u64>(pattern, n, rng), y = words<u64>(Pattern::random, n, rng);
                x.push_back(0), y.push_back(0);
                std::vector<u64> product = reference::product(x.data(), n, y.data(), n), u = x;
                ring.multiply(work.scratch.params, u.data(), y.data(), spare.data());
                EXPECT_EQ(u, element(product, n));

                std::vector<u64> power(n + 1);
                power[e % (64 * n) / 64] = u64{1} << e % 64;
                u = x;
                ring.shift(u.data(), e % (64 * n), spare.data());
                EXPECT_EQ(u, element(reference::product(x.data(), n, power.data(), n), n)) << n << " by " << e;
                // A shift by M changes the sign, and twice that is nothing.
                std::vector<u64> v = x;
                ring.shift(v.data(), e, spare.data());
                ring.shift(v.data(), (128 * n - e) % (128 * n), spare.data());
                EXPECT_EQ(v, x);
                u = x, v = y;
                ring.forward(u.data(), v.data(), e, spare.data());
                ring.inverse(u.data(), v.data(), e, spare.data());
                ring.shift(u.data(), 128 * n - 1, spare.data());
                ring.shift(v.data(), 128 * n - 1, spare.data());
                EXPECT_EQ(u, x);
                EXPECT_EQ(v, y);
            }
        // 2^M = -1, the one element of more than M bits.
        std::vector<u64> top(n + 1), x = words<u64>(Pattern::random, n, rng);
        top[n] = 1;
        x.push_back(0);
        std::vector<u64> a = top, b = x;
        ring.multiply(work.scratch.params, a.data(), x.data(), spare.data());
        ring.shift(b.data(), 64 * n, spare.data());
        EXPECT_EQ(a, b);
        ring.multiply(work.scratch.params, top.data(), top.data(), spare.data());
        EXPECT_EQ(top, element({1}, n));
    }
}

void check(u64 LA, u64 LB, u64 top_bk, u64 s, u64 scratch_units, Rng& rng) {
    SCOPED_TRACE(::testing::Message() << LA << " x " << LB << ", 2^" << top_bk << " points, 2^" << s
                                      << " an iteration, scratch of " << scratch_units << " units");
    const auto A = words<u64>(hard_patterns[rng.below(6)], LA, rng),
               B = words<u64>(hard_patterns[rng.below(6)], LB, rng);
    const ChunkedShape shape = ChunkedShape::choose(LA + LB, top_bk, s);
    const FermatRing<u64> ring(shape.ring_words);
    const Work work(ring, scratch_units);
    FencedWords<u64> a(shape.store_words()), b(shape.store_words()), C(LA + LB);
    MemoryStore store_a(a, ring.unit_words()), store_b(b, ring.unit_words());
    chunked_product(shape, C, A.data(), LA, B.data(), LB, store_a, &store_b, work.scratch);
    EXPECT_TRUE(same(C.data(), reference::product(A, B).data(), LA + LB));

    const ChunkedShape square = ChunkedShape::choose(2 * LA, top_bk, s);
    if (square.ring_words > shape.ring_words) return;
    FencedWords<u64> S(2 * LA);
    const FermatRing<u64> square_ring(square.ring_words);
    MemoryStore square_store(a, square_ring.unit_words());
    chunked_product(square, S, A.data(), LA, nullptr, 0, square_store, nullptr, work.scratch);
    EXPECT_TRUE(same(S.data(), reference::product(A, A).data(), 2 * LA));
}

TEST(ChunkedProduct, EqualsThePlainProduct) {
    ensure_global_table(1 << 16);
    Rng rng(112);
    for (u64 top_bk = 2; top_bk <= 8; ++top_bk)
        for (u64 s = 0; s + 2 <= top_bk; ++s)
            for (u64 units : {u64{4} << s, u64{8} << s, u64{1} << top_bk, u64{8} << top_bk}) {
                if (units < (u64{1} << (top_bk - s))) units = u64{1} << (top_bk - s);
                check(rng.between(1, 300), rng.between(1, 300), top_bk, s, units, rng);
                check(rng.between(200, 400), rng.between(1, 20), top_bk, s, units, rng);
            }
}

TEST(ChunkedProduct, ReadsAheadOnEveryFramework) {
    ensure_global_table(1 << 16);
    Threads::ParallelFramework* const before = Threads::current_framework();
    Rng rng(113);
    for (const char* name : {"none", "spawn", "cppasync", "winpool", "cilk"}) {
        Threads::set_current_framework(Threads::find_builtin_framework(name));
        check(150, 130, 5, 1, 16, rng);
    }
    Threads::set_current_framework(before);
}

TEST(ChunkedProduct, LabelsItsStages) {
    test::ProgressRecorder<ProgressSink> recorder;
    const ProgressSink* before = set_progress_sink(&recorder.sink);
    Rng rng(114);
    check(20, 20, 4, 1, 16, rng);
    set_progress_sink(before);
    EXPECT_EQ(recorder.text, "F: .F: .-PM: .I: .F: .-PS: .I: .");
}

// it, u, s, S -> units: the largest power of two of iterations that fit S / 4 bytes, and a quarter of all.
TEST(ChunkedProduct, BlocksArePowersOfTwoOfIterations) {
    EXPECT_EQ(fpb_t::block_units(4, 16, 0, 1 << 20), 1u);
    EXPECT_EQ(fpb_t::block_units(40, 16, 0, 1 << 20), 8u);
    EXPECT_EQ(fpb_t::block_units(40, 16, 0, 4 * 16 * 7), 4u);
    EXPECT_EQ(fpb_t::block_units(40, 16, 3, 4 * 16 * 16), 16u);
    EXPECT_EQ(fpb_t::block_units(40, 16, 3, 0), 8u);
    EXPECT_EQ(fpb_t::block_units(4, 16, 64, 1 << 20), 0u);
}

// Each body must end the process with its text.
struct Stages {
    FermatRing<u64> ring{3};
    Work work{ring, 64};
    std::vector<u64> words = std::vector<u64>(64 * 4);
    MemoryStore store{words.data(), 4};
};
const ChildCase fatal_cases[] = {
    {"few_iterations_product",
     [] {
         Stages t;
         fpb_t(t.ring).me_fmul(3, 1, t.store, t.store, t.work.scratch);
     }},
    {"few_iterations_square",
     [] {
         Stages t;
         fpb_t(t.ring).me_fsqr(3, 1, t.store, t.work.scratch);
     }},
    {"shift_overflow_product",
     [] {
         Stages t;
         fpb_t(t.ring).me_fmul(4, 64, t.store, t.store, t.work.scratch);
     }},
    {"shift_overflow_square",
     [] {
         Stages t;
         fpb_t(t.ring).me_fsqr(4, 64, t.store, t.work.scratch);
     }},
    {"short_columns", [] { fpb_t::get_buffer_k(8, 32, 8 * 32 - 1); }},
    {"short_blocks", [] { fpb_t::get_buffer_L(4, 32, 4 * 32 - 1); }},
    {"stage_above_top",
     [] {
         Stages t;
         ftp_t(t.ring, 4, true).inverse_t(t.store, 5, 0, t.work.scratch);
     }},
    {"cyclic_shift",
     [] {
         Stages t;
         ftp_t(t.ring, 4, true).inverse_t(t.store, 2, 1, t.work.scratch);
     }},
};
constexpr const char* fatal_texts[] = {
    "fpb_t::me_fmul(): Insufficient Iterations (it < 4)",
    "fpb_t::me_fsqr(): Insufficient Iterations (it < 4)",
    "fpb_t::me_fmul(): Buffer is not large enough.",
    "fpb_t::me_fsqr(): Buffer is not large enough.",
    "fpb_t::get_buffer_k(): Buffer is not large enough.",
    "fpb_t::get_buffer_L(): Buffer is not large enough.",
    "ftp_t::inverse_t(): top_bk < bk",
    "ftp_t::inverse_t(): Cyclic convolution requires: s == 0",
};

TEST(ChunkedProduct, BrokenCallsEndTheProcessWithTheirText) {
    for (u64 i = 0; i < std::size(fatal_cases); ++i) {
        const ChildEnd end = fatal_cases[i].run();
        EXPECT_TRUE(end.exited_with(1));
        EXPECT_EQ(end.output, std::string(fatal_texts[i]) + "\n");
    }
    EXPECT_EQ(fpb_t::get_buffer_k(8, 32, 17 * 32), 2u);
    EXPECT_EQ(fpb_t::get_buffer_L(4, 32, 128), 128u);
}

// Units times 2^(M i / K) make the convolution negacyclic: what wraps around comes back with a minus sign.
TEST(ChunkedProduct, WeightedTransformsAreNegacyclic) {
    const FermatRing<u64> ring(2);
    const Work work(ring, 16);
    const u64 top_bk = 3, s = ring.bits() >> top_bk;
    std::vector<u64> a(8 * 3), b(8 * 3);
    a[5 * 3] = 7;  // 7 t^5 * 11 t^6 = -77 t^3 modulo t^8 + 1
    b[6 * 3] = 11;
    MemoryStore store_a(a.data(), 3), store_b(b.data(), 3);
    const ftp_t passes(ring, top_bk, false);
    passes.forward_t(store_a, store_a, 1, s, work.scratch);
    passes.forward_t(store_b, store_b, 1, s, work.scratch);
    fpb_t(ring).me_fmul(4, 1, store_a, store_b, work.scratch);
    passes.inverse_t(store_a, 1, s, work.scratch);
    std::vector<u64> want(8 * 3);
    want[3 * 3] = 77;
    ring.shift(want.data() + 3 * 3, ring.bits(), const_cast<u64*>(work.spare.data()));
    EXPECT_EQ(a, want);
}

}  // namespace
}  // namespace kvt::multiply
