#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

TEST(TwiddleApi, TheLibrarysTableGrowsOnRequest) {
    ASSERT_NE(get_global_table(), nullptr);
    ASSERT_EQ(internal_ensure_global_table(10'000), nullptr);
    const uint64_t covered = get_global_table_size();
    EXPECT_GE(covered, 11'024u);
    EXPECT_EQ(covered, get_global_table()->covered);
    ASSERT_EQ(internal_ensure_global_table(1), nullptr);
    EXPECT_EQ(get_global_table_size(), covered);
}

TEST(TwiddleApi, ACallersTable) {
    GlobalTwiddleTable table = {};
    ASSERT_EQ(internal_make_table(&table, 3'000), nullptr);
    EXPECT_EQ(table.covered, 4'024u);
    EXPECT_NE(table.section[0], nullptr);
    internal_free_table(&table);
    EXPECT_EQ(table.covered, 0u);
    EXPECT_EQ(table.block, nullptr);
}

TEST(TwiddleApi, AnImmenseRequestSaturates) {
    GlobalTwiddleTable table = {};
    ASSERT_EQ(internal_make_table(&table, ~uint64_t{0}), nullptr);
    EXPECT_EQ(table.covered, ~uint64_t{0} - 1);
    internal_free_table(&table);
}
