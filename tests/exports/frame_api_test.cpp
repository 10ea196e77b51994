#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

TEST(FrameApi, AlignmentIsThirtyTwoBytes) { EXPECT_EQ(GetAlignment(), 32u); }
