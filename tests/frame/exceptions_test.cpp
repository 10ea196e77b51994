#include "frame/exceptions.h"

#include <gtest/gtest.h>

#include "frame/console.h"
#include "support/child_process.h"
#include "support/console_capture.h"

namespace kvt {
namespace {

using test::ChildCase;
using test::ChildEnd;
using test::ConsoleCapture;

TEST(PrintException, PrintsOnlyTheHeadWhenNothingElseIsSet) {
    ConsoleCapture console(set_console_sink);
    print_exception(kv_exception(-4, "Generic Exception", nullptr));
    EXPECT_EQ(console.take_coloured(),
              "\n"
              "{w}Exception Encountered: {R}Generic Exception\n"
              "{w}Error Code: -4\n"
              "{w}\n");
}

TEST(PrintException, PrintsLocationAndEveryMessageInOrder) {
    kv_exception error(12, "A Title", "Class::method()", "static text");
    error.message = "built text";
    error.wide_message = L"wide \u00e9 text";
    ConsoleCapture console(set_console_sink);
    print_exception(error);
    EXPECT_EQ(console.take(),
              "\n"
              "Exception Encountered: A Title\n"
              "Error Code: 12\n"
              "Location: Class::method()\n"
              "static text\n"
              "built text\n"
              "wide ? text\n"
              "\n");
}

TEST(What, PrefersTheStaticMessage) {
    kv_exception error(1, "title", nullptr, "static text");
    error.message = "built text";
    EXPECT_STREQ(error.what(), "static text");
    error.static_message = nullptr;
    EXPECT_STREQ(error.what(), "built text");
}

TEST(BufferTooSmall, KeepsItsTextsOutOfWhat) {
    const BufferTooSmallException error("BigInt::set_mul()", 18446744073709551615u, 0);
    EXPECT_STREQ(error.what(), "");
    EXPECT_STREQ(error.title, "Buffer is too small.");
    EXPECT_EQ(error.code, 1);
    EXPECT_EQ(error.reaction, REACT_PRINT_THROW);
    EXPECT_EQ(error.details, "    Buffer Size  : 18446744073709551615\n    Required Size: 0");
}

// Calls what must throw E, and gives the exception and everything printed.
template <class E, class Call>
std::pair<E, std::string> thrown_by(Call&& call) {
    ConsoleCapture console(set_console_sink);
    try {
        call();
    } catch (const E& error) {
        EXPECT_EQ(typeid(error), typeid(E)) << "thrown as its most derived class";
        return {error, console.take()};
    }
    throw std::logic_error("nothing was thrown");
}

TEST(Raise, FollowsTheReactionLevel) {
    ConsoleCapture console(set_console_sink);
    raise(UnsupportedValueException(6, "here", errors::zero_encountered, REACT_IGNORE));
    EXPECT_EQ(console.take(), "");

    EXPECT_THROW(raise(UnsupportedValueException(6, "here", errors::zero_encountered, REACT_THROW)),
                 UnsupportedValueException);
    EXPECT_EQ(console.take(), "");

    EXPECT_THROW(raise(UnsupportedValueException(6, "here", errors::zero_encountered)), UnsupportedValueException);
    EXPECT_EQ(console.take(),
              "\nException Encountered: Value is unsupported.\nError Code: 6\nLocation: here\n"
              "Zero was encountered.\n\n");
}

const ChildCase raises_print_exit{
    "raise_print_exit",
    [] { raise(UnsupportedValueException(1, "there", errors::negative_encountered, REACT_PRINT_EXIT)); }};

TEST(Raise, EndsTheProcessAfterPrintingAtTheFatalLevel) {
    const ChildEnd end = raises_print_exit.run();
    EXPECT_TRUE(end.exited_with(1));
    EXPECT_EQ(end.output,
              "\nException Encountered: Value is unsupported.\nError Code: 1\nLocation: there\n"
              "A negative value was encountered.\n\n");
}

TEST(Raise, FiresEveryClassAsItself) {
    using Threads::ThreadException;
    auto level = [](auto error) {
        error.reaction = REACT_THROW;
        return error;
    };
    EXPECT_THROW(raise(level(kv_exception(1, "t", nullptr))), kv_exception);
    EXPECT_THROW(raise(level(BufferTooSmallException("l", 1, 2))), BufferTooSmallException);
    EXPECT_THROW(raise(level(InvalidTransformParametersException(3, "t", "l"))), InvalidTransformParametersException);
    EXPECT_THROW(raise(level(ConvolutionTooSmallException("l", 1, 2, 3, 4))), ConvolutionTooSmallException);
    EXPECT_THROW(raise(level(Serialization::ParseException("l", "text"))), Serialization::ParseException);
    EXPECT_THROW(raise(level(ThreadException(5, "text"))), ThreadException);
}

TEST(ThreadException, EndsTheProcessUnlessTold) {
    EXPECT_EQ(Threads::ThreadException(5, "text").reaction, REACT_PRINT_EXIT);
}

TEST(RequireCapacity, IsSilentWhenThereIsEnough) {
    ConsoleCapture console(set_console_sink);
    require_capacity(5, 5, "x");
    require_capacity(6, 5, "x");
    EXPECT_EQ(console.take(), "");
}

TEST(RequireCapacity, RaisesOneWordShort) {
    const auto [error, printed] =
        thrown_by<BufferTooSmallException>([] { require_capacity(4, 5, "BigInt::set_add()"); });
    EXPECT_EQ(error.buffer_size, 4u);
    EXPECT_EQ(error.required_size, 5u);
    EXPECT_EQ(printed,
              "\nException Encountered: Buffer is too small.\nError Code: 1\nLocation: BigInt::set_add()\n\n");
}

TEST(RaiseScratchTooSmall, CarriesTheSizesInItsMessage) {
    const auto [error, printed] = thrown_by<BufferTooSmallException>([] { raise_scratch_too_small("x", 31, 64); });
    EXPECT_STREQ(error.what(), "    Buffer Size  : 31\n    Required Size: 64");
    EXPECT_EQ(error.code, 1);
}

TEST(RaiseTableTooSmall, NamesBothSizes) {
    const auto [error, printed] = thrown_by<kv_exception>([] { raise_table_too_small("x", 1024, 4096); });
    EXPECT_STREQ(error.title, "Lookup table is too small.");
    EXPECT_STREQ(error.what(), "    Table bits   : 1024\n    Required bits: 4096");
    EXPECT_EQ(error.code, 2);
}

TEST(RaiseParseError, CarriesItsMessage) {
    const auto [error, printed] = thrown_by<Serialization::ParseException>([] { raise_parse_error("x", "at 5"); });
    EXPECT_STREQ(error.title, "Parse Error");
    EXPECT_STREQ(error.what(), "at 5");
    EXPECT_EQ(error.code, 7);
}

TEST(RaiseNoAlgorithm, IsAPlainGenericError) {
    const auto [error, printed] = thrown_by<kv_exception>([] { raise_no_algorithm(); });
    EXPECT_EQ(printed, "\nException Encountered: Generic Exception\nError Code: -4\n\n");
    EXPECT_STREQ(error.what(), "");
}

TEST(RaiseRedundancyFailure, IsThrownAndNeverIgnored) {
    const auto [error, printed] = thrown_by<kv_exception>([] { raise_redundancy_failure("fft", "text"); });
    EXPECT_STREQ(error.title, "Redundancy Check Failed:  ");
    EXPECT_EQ(error.code, errors::redundancy_check);
    EXPECT_EQ(error.reaction, REACT_PRINT_THROW);
}

}  // namespace
}  // namespace kvt
