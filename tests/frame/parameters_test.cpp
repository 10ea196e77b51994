#include "frame/parameters.h"

#include <gtest/gtest.h>

namespace kvt {
namespace {

TEST(SplitParameters, HalvesMemoryOnTheAlignmentAndGivesTheFirstSideTheOddTask) {
    alignas(32) unsigned char memory[256];
    BasicParameters first, second;
    split_parameters({nullptr, memory, 100, 7}, first, second);
    EXPECT_EQ(first.memory, memory);
    EXPECT_EQ(second.memory, memory + 32);
    EXPECT_EQ(first.memory_bytes, 32u);
    EXPECT_EQ(second.memory_bytes, 32u);
    EXPECT_EQ(first.tasks, 4u);
    EXPECT_EQ(second.tasks, 3u);

    split_parameters({nullptr, memory, 63, 1}, first, second);
    EXPECT_EQ(first.memory_bytes, 0u);
    EXPECT_EQ(second.memory_bytes, 0u);
    EXPECT_EQ(first.tasks, 1u);
    EXPECT_EQ(second.tasks, 0u);
}

TEST(SplitParameters, FirstMayBeTheWholeRecord) {
    unsigned char memory[256];
    BasicParameters whole{nullptr, memory, 256, 2}, second;
    split_parameters(whole, whole, second);
    EXPECT_EQ(whole.memory_bytes, 128u);
    EXPECT_EQ(second.memory, memory + 128);
    EXPECT_EQ(second.tasks, 1u);
}

}  // namespace
}  // namespace kvt
