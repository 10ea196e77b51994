#include "frame/progress.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace kvt {
namespace {

TEST(Progress, EachThreadHasItsOwnSink) {
    const ProgressSink sink{};
    ASSERT_EQ(set_progress_sink(&sink), nullptr);
    const ProgressSink* seen = &sink;
    std::thread([&] { seen = current_progress_sink(); }).join();
    EXPECT_EQ(seen, nullptr);
    EXPECT_EQ(current_progress_sink(), &sink);
    EXPECT_EQ(set_progress_sink(nullptr), &sink);
}

TEST(Progress, TagsBracketTheirScopeAndANullSinkIsSilent) {
    std::string log;
    const ProgressSink sink{
        [](void* context, const char* tag) { *static_cast<std::string*>(context) += std::string("+") + tag; },
        [](void* context) { *static_cast<std::string*>(context) += "-"; }, nullptr, &log};
    {
        ProgressTag outer(&sink, "outer");
        { ProgressTag inner(&sink, "inner"); }
        { ProgressTag silent(nullptr, "silent"); }
        log += ".";
    }
    EXPECT_EQ(log, "+outer+inner-.-");
}

}  // namespace
}  // namespace kvt
