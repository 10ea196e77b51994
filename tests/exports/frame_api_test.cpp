#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

#include <thread>

namespace {

TEST(FrameApi, AlignmentIsThirtyTwoBytes) { EXPECT_EQ(GetAlignment(), 32u); }

TEST(FrameApi, SplitsParametersInPlace) {
    unsigned char memory[200];
    BasicParameters whole{nullptr, memory, 200, 5}, second;
    BasicParameters_split(&whole, &whole, &second);
    EXPECT_EQ(whole.memory_bytes, 96u);
    EXPECT_EQ(second.memory_bytes, 96u);
    EXPECT_EQ(second.memory, memory + 96);
    EXPECT_EQ(whole.tasks, 3u);
    EXPECT_EQ(second.tasks, 2u);
}

TEST(FrameApi, ProgressSinkBelongsToTheCallingThread) {
    const ProgressSink sink{};
    EXPECT_EQ(SetProgressSink(&sink), nullptr);
    std::thread([] { EXPECT_EQ(SetProgressSink(nullptr), nullptr); }).join();
    EXPECT_EQ(SetProgressSink(nullptr), &sink);
}

}  // namespace

extern "C" unsigned kvnum_c99_client_alignment(void);

TEST(PublicHeader, ServesC99) { EXPECT_EQ(kvnum_c99_client_alignment(), 32u); }
