#pragma once
// An operation that must raise an error: its code, texts and level, and what the console shows.

#include <gtest/gtest.h>

#include <string>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "support/console_capture.h"

namespace kvt::test {

struct ExpectedError {
    i32 code;
    const char* title;
    const char* location;  // null: none
    const char* what;
    const char* printed;  // somewhere in what was printed
};

template <class Operation>
void expect_error(const ExpectedError& expected, Operation&& operation) {
    ConsoleCapture console(set_console_sink);
    try {
        operation();
        ADD_FAILURE() << "no error: " << expected.what;
    } catch (const kv_exception& error) {
        EXPECT_EQ(error.code, expected.code);
        EXPECT_STREQ(error.title, expected.title);
        EXPECT_STREQ(error.location, expected.location);
        EXPECT_STREQ(error.what(), expected.what);
        EXPECT_EQ(error.reaction, REACT_PRINT_THROW);
        const std::string printed = console.take();
        EXPECT_NE(printed.find(expected.printed), std::string::npos) << printed;
    }
}

}  // namespace kvt::test
