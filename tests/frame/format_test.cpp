#include "frame/format.h"

#include <gtest/gtest.h>

namespace kvt {
namespace {

TEST(Format, CoversTheWholeRange) {
    EXPECT_EQ(to_decimal(0), "0");
    EXPECT_EQ(to_decimal(10), "10");
    EXPECT_EQ(to_decimal(UINT64_MAX), "18446744073709551615");
    EXPECT_EQ(to_decimal_signed(-1), "-1");
    EXPECT_EQ(to_decimal_signed(INT64_MIN), "-9223372036854775808");
    EXPECT_EQ(to_decimal_signed(INT64_MAX), "9223372036854775807");
    EXPECT_EQ(to_hexadecimal(0), "0");
    EXPECT_EQ(to_hexadecimal(0x10), "10");
    EXPECT_EQ(to_hexadecimal(UINT64_MAX), "ffffffffffffffff");
}

}  // namespace
}  // namespace kvt
