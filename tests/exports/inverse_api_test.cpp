// The inverse operations as a client calls them: what the queries answer, what a sink is shown, what is refused.

#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

#include <regex>
#include <string>
#include <vector>

#include "support/console_capture.h"
#include "support/progress_recorder.h"

namespace {

struct Sizes {
    uint64_t out, scratch, bytes;
};

// One operation at p words: its output and scratch as the query says, and everything that the sink was shown.
class InverseApi : public testing::TestWithParam<uint64_t> {
  protected:
    InverseApi() { internal_ensure_global_table(uint64_t{1} << 20); }

    template <class Query>
    Sizes prepare(Query query) {
        Sizes sizes{};
        EXPECT_EQ(query(&sizes.out, &sizes.scratch, &sizes.bytes, p, 1), nullptr);
        out_.assign(sizes.out, 0);
        scratch_.assign(sizes.scratch, 0);
        memory_.assign(sizes.bytes / 8 + 1, 0);
        params = {get_global_table(), memory_.data(), sizes.bytes, 1};
        result = {out_.data(), 0, 0, true, out_.data(), out_.size()};
        recorder.text.clear();
        return sizes;
    }

    // The steps to p words, each with the digits of the precision that it starts from; first: the tag of its first half.
    std::string steps(uint64_t to, const std::string& first) const {
        if (to < 10) return "";
        const uint64_t h = (to + 1) / 2;
        return steps(h, first) + first + digits(h) + " - [UO]1M - " + digits(h);
    }
    std::string digits(uint64_t words) const {
        return std::to_string(static_cast<uint64_t>(static_cast<double>(words) * 19.265919722494797) + 1) + "[.]";
    }
    void expect_events(const std::string& pattern) const {
        EXPECT_TRUE(std::regex_match(recorder.text, std::regex(pattern))) << recorder.text << "\nagainst " << pattern;
    }

    const uint64_t p = GetParam();
    kvt::test::ProgressRecorder<ProgressSink> recorder;
    BasicParameters params{};
    BigFloat_c64 result{};
    std::vector<uint64_t> a_ = std::vector<uint64_t>(30, 5), b_ = std::vector<uint64_t>(40, 7), out_, scratch_,
                          memory_;
    BigFloat_c64 a{a_.data(), a_.size(), 3, true, a_.data(), a_.size()};
    BigFloat_c64 b{b_.data(), b_.size(), -9, false, b_.data(), b_.size()};
};

TEST_P(InverseApi, ReciprocalsShowTheirSteps) {
    const Sizes sizes = prepare(BigFloatR_c64_rcp_sizes);
    EXPECT_EQ(sizes.out, p + 3);
    EXPECT_EQ(sizes.scratch, p + 6);
    EXPECT_EQ(BigFloatR_c64_rcp(&params, &result, &b, p, scratch_.data(), sizes.scratch, &recorder.sink), nullptr);
    expect_events(steps(p, " - 0M - "));
}

TEST_P(InverseApi, QuotientsShowTheReciprocalsStepsAndTheirOwn) {
    const Sizes sizes = prepare(BigFloatR_c64_div_sizes);
    EXPECT_EQ(sizes.out, p + 2);
    EXPECT_EQ(sizes.scratch, p < 10 ? 2 * p + 9 : p + ((p + 1) & ~uint64_t{1}) + 10);
    // A division shows its progress on the thread's sink where it is given none.
    const ProgressSink* before = SetProgressSink(&recorder.sink);
    EXPECT_EQ(BigFloatR_c64_div(&params, &result, &a, &b, p, scratch_.data(), sizes.scratch, nullptr), nullptr);
    SetProgressSink(before);
    const uint64_t h = (p + 1) / 2;
    std::string own;
    if (p >= 10) own = " - 0M - " + digits(h) + " - 1M - " + digits(h) + " - 2M - " + digits(h);
    expect_events((p < 10 ? "" : steps(h, " - 0M - ")) + own);

    recorder.text.clear();
    EXPECT_EQ(BigFloatR_c64_div(&params, &result, &b, &b, p, scratch_.data(), sizes.scratch, &recorder.sink),
              nullptr);
    expect_events((p < 10 ? "" : steps(h, " - 0M - ")) + own);
}

TEST_P(InverseApi, InverseRootsShowTheirSteps) {
    const Sizes sizes = prepare(BigFloatR_c64_invsqrt_uW_sizes);
    EXPECT_EQ(sizes.out, p + 4);
    EXPECT_EQ(sizes.scratch, p + 7);
    EXPECT_EQ(BigFloatR_c64_invsqrt_uW(&params, &result, 10, p, scratch_.data(), sizes.scratch, &recorder.sink),
              nullptr);
    expect_events(steps(p, " - 0S - "));
}

TEST_P(InverseApi, WithoutTableOrScratchNothingIsWritten) {
    if (p < 10) return;  // no transforms
    const auto refused = [&](ExceptionWrapper* error, const char* title, kvt::test::ConsoleCapture& console) {
        ASSERT_NE(error, nullptr);
        error->destroy(error);
        EXPECT_NE(console.take().find(title), std::string::npos) << title;
        for (uint64_t word : out_) ASSERT_EQ(word, 0u);
    };
    const auto every_operation = [&](auto&& spoil, const char* title) {
        kvt::test::ConsoleCapture console(SetConsoleSink);
        Sizes sizes = prepare(BigFloatR_c64_rcp_sizes);
        spoil(params);
        refused(BigFloatR_c64_rcp(&params, &result, &b, p, scratch_.data(), sizes.scratch, nullptr), title, console);
        sizes = prepare(BigFloatR_c64_div_sizes);
        spoil(params);
        refused(BigFloatR_c64_div(&params, &result, &a, &b, p, scratch_.data(), sizes.scratch, nullptr), title,
                console);
        sizes = prepare(BigFloatR_c64_invsqrt_uW_sizes);
        spoil(params);
        refused(BigFloatR_c64_invsqrt_uW(&params, &result, 3, p, scratch_.data(), sizes.scratch, nullptr), title,
                console);
    };
    if (p > 58)  // shorter products need no table
        every_operation([](BasicParameters& some) { some.table = nullptr; }, "Lookup table is too small.");
    every_operation([](BasicParameters& some) { some.memory_bytes = 64; }, "Buffer is too small.");
}

INSTANTIATE_TEST_SUITE_P(Precisions, InverseApi, testing::Values(0, 1, 2, 3, 9, 10, 11, 40, 77, 400, 1501));

}  // namespace
