#include "frame/fatal.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "frame/console.h"
#include "frame/errors.h"
#include "support/child_process.h"

namespace kvt {
namespace {

using test::ChildCase;
using test::ChildEnd;

const ChildCase fails_an_assertion{"fatal_assertion",
                                   [] { fatal_assertion(errors::invalid_parameters, "second", "third"); }};

TEST(FatalAssertion, PrintsItsBlockAndFaults) {
    const ChildEnd end = fails_an_assertion.run();
    EXPECT_TRUE(end.faulted);
    EXPECT_EQ(end.output,
              "\n\nFATAL ERROR: Assertion Failure\n\nInvalid Function Parameters:   second\n\nthird\n\n\n"
              "If this error shows up consistantly with the current options,\n"
              "please report it as a bug.\n\n"
              "If this error comes and goes with the current options,\n"
              "please check your hardware for reliability issues.\n"
              "Are you overclocking?\n\n"
              "Terminating Program...\n");
}

const ChildCase exits_fatally{"fatal_exit", [] {
                                  std::atexit([] { print("exit handlers must not run"); });
                                  print("before ");
                                  fatal_exit("Memory Allocation Failure.");
                              }};

TEST(FatalExit, PrintsAndEndsWithStatusOneWithoutExitHandlers) {
    const ChildEnd end = exits_fatally.run();
    EXPECT_TRUE(end.exited_with(1));
    EXPECT_EQ(end.output, "before Memory Allocation Failure.\n");
}

}  // namespace
}  // namespace kvt
