// The twiddle table: layout, growth, and the guards around its block.

#include "multiply/twiddle_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "frame/exceptions.h"
#include "multiply/fft/fft_component.h"
#include "multiply/fft/length_table.h"
#include "multiply/guarded_block.h"
#include "multiply/twiddle_builder.h"
#include "support/child_process.h"

namespace kvt::multiply {
namespace {

struct OwnTable : GlobalTwiddleTable {
    OwnTable() : GlobalTwiddleTable{} {}
    ~OwnTable() { free_table(*this); }
};

// An FFT section for one transform code.
void build_for_code(GlobalTwiddleTable& table, u64 code) {
    TableBuilder builder;
    builder.fft.configure_code(code, 1);
    builder.build_into(table);
}

TEST(TwiddleTable, TopLevelsFollowTheTransformCode) {
    for (u64 code : {24u, 28u, 32u, 34u, 37u, 38u, 65u, 66u, 124u}) {
        u64 words[16] = {};
        FftComponent component(words);
        component.configure_code(code, 1);
        const u64 k3 = (code + 2) / 4 - 1, k5 = (code + 3) / 4 - 2, k7 = (code + 1) / 4 - 2;
        const u64 k = std::max({(code + 4) / 4, k3, k5, k7});
        EXPECT_EQ(component.bytes(), (u64{8} << k) + 3 * (u64{8} << k3) + 5 * (u64{8} << k5)) << code;
    }
}

TEST(TwiddleTable, ConfiguringOnlyEverRaisesLevels) {
    u64 words[16] = {};
    FftComponent component(words);
    component.configure_code(66, 2);
    const u64 large = component.bytes();
    component.configure_code(24, 1);
    EXPECT_EQ(component.bytes(), large);
    EXPECT_EQ(words[0], 2u);
}

// Cosines in slots 0-3, sines in 4-7; lower levels are every second angle, bit for bit; heads are zero.
TEST(TwiddleTable, EveryLevelHoldsAQuarterOfTheCircle) {
    for (u64 code : {24u, 45u, 54u}) {
        OwnTable table;
        build_for_code(table, code);
        for (u64 radix : {1u, 3u, 5u}) {
            const FftTwiddles t = fft_twiddles(table, radix);
            ASSERT_GE(t.top, 4u);
            const auto* head = reinterpret_cast<const u8*>(t.start);
            for (u64 i = 0; i < 64 * radix; ++i) ASSERT_EQ(head[i], 0) << radix << " " << i;

            const u64 points = radix << t.top;
            const double step = 6.283185307179586 / static_cast<double>(points);
            const auto cosine = [&](u64 level, u64 i) { return t.level(level)[i / 4 * 8 + i % 4]; };
            const auto sine = [&](u64 level, u64 i) { return t.level(level)[i / 4 * 8 + 4 + i % 4]; };
            for (u64 i = 0; i < points / 4; ++i) {
                ASSERT_EQ(cosine(t.top, i), std::cos(static_cast<double>(i) * step));
                ASSERT_EQ(sine(t.top, i), std::sin(static_cast<double>(i) * step));
            }
            for (u64 level = 4; level < t.top; ++level)
                for (u64 i = 0; i < (radix << level) / 4; ++i) {
                    ASSERT_EQ(cosine(level, i), cosine(level + 1, 2 * i)) << radix << " " << level << " " << i;
                    ASSERT_EQ(sine(level, i), sine(level + 1, 2 * i));
                }
        }
    }
}

TEST(TwiddleTable, TheSmallestSubTableIs128Bytes) {
    u64 words[16] = {};
    words[2] = 4;  // radix-1 level
    alignas(64) u8 section[128 + 3 * 128 + 5 * 128];
    std::memset(section, 0xff, sizeof section);
    words[3] = words[4] = 4;
    FftComponent(words).fill(section);
    double block[8];
    std::memcpy(block, section + 64, 64);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(block[i], std::cos(i * (6.283185307179586 / 16)));
        EXPECT_EQ(block[4 + i], std::sin(i * (6.283185307179586 / 16)));
    }
    for (int i = 0; i < 64; ++i) EXPECT_EQ(section[i], 0);
}

TEST(TwiddleTable, BlockIsAlignedAndSectionsLieInIt) {
    OwnTable table;
    make_table(table, 100'000);
    EXPECT_EQ(table.covered, 101'024u);
    ASSERT_NE(table.block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(table.block) % 32, 0u);
    EXPECT_EQ(table.section[0], table.block);
    u64 head[3];
    std::memcpy(head, static_cast<u8*>(table.block) - 24, 24);
    EXPECT_LE(head[0] + 32, reinterpret_cast<std::uintptr_t>(table.block));
    EXPECT_LT(reinterpret_cast<std::uintptr_t>(table.block), head[0] + 64);
    EXPECT_GE(head[1], table.descriptor[1]);
    EXPECT_EQ(head[2], guard_word);
}

TEST(TwiddleTable, EveryDispatchedTransformFindsItsLevels) {
    for (u64 bits : {1u, 1'344u, 7'681u, 500'000u, 1'571'840u, 1'572'864u, 40'000'000u}) {
        OwnTable table;
        make_table(table, bits);
        const FftParameters p = choose_fft(std::min<u64>(bits, 1'572'864));
        EXPECT_GE(fft_twiddles(table, p.radix).top, p.exponent + 1) << bits;
        EXPECT_GE(table.descriptor[0], std::min<u64>(bits, 1'572'864));
    }
}

TEST(TwiddleTable, EnsureKeepsWhatIsLargeEnough) {
    ensure_global_table(5'000);
    GlobalTwiddleTable& table = *global_table();
    const u64 covered = table.covered;
    ASSERT_GE(covered, 6'024u);
    void* block = table.block;
    ensure_global_table(covered - 1024);
    EXPECT_EQ(table.block, block);
    EXPECT_EQ(table.covered, covered);
    ensure_global_table(covered - 1023);
    EXPECT_EQ(table.covered, covered + 1);
}

TEST(TwiddleTable, MakeAlwaysBuildsAfreshAndFreeZeroes) {
    OwnTable table;
    make_table(table, 50'000);
    make_table(table, 10);
    EXPECT_EQ(table.covered, 1'034u);
    EXPECT_EQ(fft_twiddles(table, 1).top, 7u);  // 64 points need level 7
    free_table(table);
    const GlobalTwiddleTable zero{};
    EXPECT_EQ(std::memcmp(static_cast<GlobalTwiddleTable*>(&table), &zero, sizeof zero), 0);
}

TEST(LengthTable, RowsAndCodes) {
    EXPECT_EQ(choose_fft(0).points, 64u);
    EXPECT_EQ(choose_fft(1'344).points, 64u);
    EXPECT_EQ(choose_fft(1'345).points, 128u);
    EXPECT_EQ(choose_fft(1'345).bits, 21u);
    EXPECT_EQ(choose_fft(1'572'864).code, 66u);
    const FftParameters last = choose_fft(17'179'869'184);
    EXPECT_EQ(last.points, u64{1} << 31);
    EXPECT_EQ(last.bits, 8u);
    EXPECT_THROW(choose_fft(17'179'869'185), kv_exception);
    for (u64 i = 0; i < fft_rows; ++i) {
        const FftParameters row = fft_row(i);
        EXPECT_EQ(choose_fft(row.capacity_bits).code, row.code);
        if (i + 1 < fft_rows) {
            EXPECT_EQ(choose_fft(row.capacity_bits + 1).code, fft_row(i + 1).code);
        }
        EXPECT_EQ(row.points, row.radix << row.exponent);
    }
    EXPECT_EQ(decode_fft_code(31).radix, 7u);
    EXPECT_EQ(decode_fft_code(31).points, 7u << 5);
    EXPECT_EQ(decode_fft_code(3).radix, 0u);
}

void release_damaged(long at) {
    auto* usable = static_cast<u8*>(allocate_guarded(100));
    std::memset(usable, 0, 104);
    usable[at] ^= 1;
    release_guarded(usable);
}

const test::ChildCase releases_an_under_run{"release_under_run", [] { release_damaged(-8); }};
const test::ChildCase releases_an_over_run{"release_over_run", [] { release_damaged(104); }};

TEST(GuardedBlock, DamageIsReportedOnRelease) {
    for (auto [damage, report] : {std::pair(&releases_an_under_run, "An array under-run has been detected."),
                                  std::pair(&releases_an_over_run, "An array over-run has been detected.")}) {
        const test::ChildEnd end = damage->run();
        EXPECT_TRUE(end.faulted);
        EXPECT_EQ(end.output.find("5451234810025522\n"), 0u) << end.output;
        EXPECT_NE(end.output.find(std::string("Array Bounds Checking: ") + report), std::string::npos) << end.output;
    }
}

const test::ChildCase asks_for_too_much{"guarded_too_much", [] { allocate_guarded(u64{1} << 62); }};
const test::ChildCase asks_for_an_overflow{"guarded_overflow", [] { allocate_guarded(~u64{0}); }};

TEST(GuardedBlock, NoMemoryEndsTheProcess) {
    for (const test::ChildCase* ask : {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which end the process their own way
             &asks_for_too_much,
#endif
                 &asks_for_an_overflow
         }) {
        const test::ChildEnd end = ask->run();
        EXPECT_TRUE(end.exited_with(1));
        EXPECT_EQ(end.output, "Memory Allocation Failure.\n");
    }
}

TEST(GuardedBlock, IntactBlocksAreReleased) {
    for (u64 bytes : {0u, 1u, 7u, 8u, 4096u}) {
        void* usable = allocate_guarded(bytes);
        std::memset(usable, 0xff, bytes);
        release_guarded(usable);
    }
    release_guarded(nullptr);
}

}  // namespace
}  // namespace kvt::multiply
