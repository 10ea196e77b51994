#pragma once
// What a capacity one word short must look like from outside: printed twice, and a wrapper without a message.

#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

#include <string>

#include "support/console_capture.h"

namespace kvt::test {

template <class Call>
void expect_refused(Call&& call, const std::string& location) {
    ConsoleCapture console(SetConsoleSink);
    ExceptionWrapper* error = call();
    ASSERT_NE(error, nullptr) << location;
    EXPECT_EQ(error->kind, 1u);
    EXPECT_EQ(error->length, 0u);
    EXPECT_STREQ(error->message, "");
    error->destroy(error);
    const std::string block =
        "\nException Encountered: Buffer is too small.\nError Code: 1\nLocation: " + location + "\n\n";
    EXPECT_EQ(console.take(), block + block);
}

}  // namespace kvt::test
