// Threshold tables and size queries.

#include "multiply/thresholds.h"

#include <gtest/gtest.h>

#include "multiply/algorithms.h"
#include "multiply/dispatch.h"
#include "multiply/product_support.h"

namespace kvt::multiply {
namespace {

using test::CapturedConsole;

// Puts the default table back when a test has rebuilt it.
struct DefaultTables {
    ~DefaultTables() {
        rebuild_threshold_table<u32>(default_limits());
        rebuild_threshold_table<u64>(default_limits());
    }
};

template <class Call>
kv_exception caught(Call&& call) {
    CapturedConsole console;
    try {
        call();
    } catch (const kv_exception& error) {
        EXPECT_EQ(console.count(std::string("Exception Encountered: ") + error.title), 1u);
        return error;
    }
    ADD_FAILURE() << "nothing was raised";
    return {0, nullptr, nullptr};
}

template <class W>
void expect_limits(std::initializer_list<std::pair<const char*, u64>> want) {
    auto it = want.begin();
    for (const auto& entry : threshold_table<W>()) {
        ASSERT_NE(it, want.end());
        EXPECT_STREQ(entry.algorithm->short_name, it->first);
        EXPECT_EQ(entry.limit, it->second);
        ++it;
    }
    EXPECT_EQ(it, want.end());
}

TEST(Thresholds, DefaultTablesHaveTheStatedLimits) {
    expect_limits<u32>({{"BKT", 116}, {"FFT", 49'152}, {"N32", 100'663'296}, {"N64", 126'100'789'566'373'888}});
    expect_limits<u64>({{"BKT", 58}, {"FFT", 24'576}, {"N32", 50'331'648}, {"N64", 63'050'394'783'186'944}});
}

TEST(Thresholds, AlgorithmsHaveTheStatedNamesAndReach) {
    EXPECT_STREQ(basecase_algorithm<u32>.display_name, "Basecase/Karatsuba");
    EXPECT_STREQ(fft_algorithm<u32>.display_name, "Floating-Point FFT");
    EXPECT_STREQ(ntt32_algorithm<u64>.display_name, "32-bit NTT");
    EXPECT_STREQ(ntt64_algorithm<u64>.display_name, "64-bit NTT");
    EXPECT_EQ(basecase_algorithm<u64>.max_bits, 65'536u);
    EXPECT_EQ(fft_algorithm<u64>.max_bits, 17'179'869'184u);
    EXPECT_EQ(ntt32_algorithm<u32>.max_bits, 3'221'225'472u);
    EXPECT_EQ(ntt64_algorithm<u32>.max_bits, 4'035'225'266'123'964'416u);
}

template <class W>
void expect_selection(u64 last_basecase) {
    const auto& table = threshold_table<W>();
    EXPECT_STREQ(table.select(0).short_name, "BKT");
    EXPECT_STREQ(table.select(last_basecase).short_name, "BKT");
    EXPECT_STREQ(table.select(last_basecase + 1).short_name, "FFT");
    const u64 last = (table.end() - 1)->limit;
    EXPECT_STREQ(table.select(last).short_name, "N64");
    const kv_exception error = caught([&] { table.select(last + 1); });
    EXPECT_EQ(error.code, -4);
    EXPECT_STREQ(error.title, "Generic Exception");
    EXPECT_STREQ(error.what(), "");
}

TEST(Thresholds, TheFirstLimitThatIsLargeEnoughDecides) {
    expect_selection<u32>(116);
    expect_selection<u64>(58);
}

TEST(Thresholds, MalformedListsRaiseAndChangeNothing) {
    const DefaultTables restore;
    constexpr ThresholdLimit equal[] = {{"BKT", 3712}, {"FFT", 3712}};
    kv_exception error = caught([&] { rebuild_threshold_table<u64>(equal); });
    EXPECT_STREQ(error.what(), "Thresholds must be increasing.");
    EXPECT_STREQ(error.title, "Generic Exception");
    EXPECT_EQ(error.reaction, REACT_PRINT_THROW);

    constexpr ThresholdLimit beyond[] = {{"BKT", 65'536 + 64}};
    error = caught([&] { rebuild_threshold_table<u64>(beyond); });
    EXPECT_STREQ(error.what(), "Thresholds is larger than maximum size.");
    constexpr ThresholdLimit far_beyond[] = {{"NTT64", ~u64{0}}};
    error = caught([&] { rebuild_threshold_table<u32>(far_beyond); });
    EXPECT_STREQ(error.what(), "Thresholds is larger than maximum size.");

    expect_limits<u64>({{"BKT", 58}, {"FFT", 24'576}, {"N32", 50'331'648}, {"N64", 63'050'394'783'186'944}});
}

TEST(Thresholds, UnknownNamesAreIgnored) {
    const DefaultTables restore;
    constexpr ThresholdLimit limits[] = {{"bkt", 64}, {"BKT", 65'536}, {"NTT", 65'536}, {"", 1}};
    rebuild_threshold_table<u64>(limits);
    expect_limits<u64>({{"BKT", 1024}});
}

// Scratch of direct products by hand: 2 * ((8n + 39) / 32 * 32) + 24n + max(16n + 8M, 8S) + 8, where M and S sum the
// lengths of the Karatsuba levels from 18 and 19 words, each rounded up to even.
TEST(ProductSizes, BasecaseScratchFollowsItsRule) {
    const std::pair<u64, u64> cases[] = {
        {0, 64 + 0 + 8},
        {1, 64 + 24 + 8},
        {17, 320 + 24 * 17 + 8},
        {18, 320 + 24 * 18 + (16 * 18 + 8 * 18) + 8},
        {37, 640 + 24 * 37 + (16 * 37 + 8 * (38 + 20)) + 8},
        {58, 960 + 24 * 58 + (16 * 58 + 8 * (58 + 30)) + 8},
    };
    for (const auto& [n, bytes] : cases) {
        MulSizeRecord record;
        mul_Psize<u64>(record, n, 1);
        EXPECT_EQ(record.scratch_bytes, bytes) << n;
        EXPECT_EQ(record.bits, 64 * n);
        EXPECT_EQ(record.operand_bytes, (8 * n + 39) / 32 * 32);
        mul_Psize<u32>(record, 2 * n, 7);
        EXPECT_EQ(record.scratch_bytes, bytes) << n;
        EXPECT_EQ(record.bits, 64 * n);
        if (n == 0) continue;
        mulp_Psize<u32>(record, 2 * n - 1, 1);
        EXPECT_EQ(record.scratch_bytes, bytes) << n;
        EXPECT_EQ(record.bits, 64 * n - 32);
        EXPECT_EQ(record.operand_bytes, (8 * n + 39) / 32 * 32);
    }
}

TEST(ProductSizes, ScratchForAllLengthsIsARunningMaximum) {
    const DefaultTables restore;
    u64 bytes = 1, previous = 0;
    for (u64 L = 0; L <= 58; ++L) {
        mul_iPsize<u64>(bytes, L, 1);
        EXPECT_GE(bytes, previous);
        EXPECT_EQ(bytes, basecase_algorithm<u64>.scratch_bytes(L, 1));
        previous = bytes;
    }
    bytes = 1;
    const kv_exception error = caught([&] { mul_iPsize<u64>(bytes, ~u64{0} / 64, 1); });
    EXPECT_EQ(error.code, -4);
    EXPECT_EQ(bytes, 0u);
}

}  // namespace
}  // namespace kvt::multiply
