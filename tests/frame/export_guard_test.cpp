#include "frame/export_guard.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "frame/console.h"
#include "support/child_process.h"
#include "support/console_capture.h"

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace kvt {
namespace {

using test::ConsoleCapture;

// Owns a wrapper for a test.
struct Released {
    ExceptionWrapper* wrapper;
    ~Released() { wrapper->destroy(wrapper); }
    ExceptionWrapper* operator->() const { return wrapper; }
};

TEST(Guarded, GivesNullOnSuccess) {
    int calls = 0;
    EXPECT_EQ(guarded([&] { ++calls; }), nullptr);
    EXPECT_EQ(calls, 1);
}

TEST(Guarded, PrintsALibraryErrorOnceMoreAndWrapsItsText) {
    constexpr char block[] = "\nException Encountered: Generic Exception\nError Code: 9\nLocation: place\ntext\n\n";
    ConsoleCapture console(set_console_sink);
    const Released wrapper{guarded([] { raise_generic(9, "place", "text"); })};
    EXPECT_EQ(console.take(), std::string(block) + block);
    EXPECT_EQ(wrapper->kind, 1u);
    EXPECT_EQ(wrapper->length, 4u);
    EXPECT_STREQ(wrapper->message, "text");
}

TEST(Guarded, WrapsAShortBufferWithAnEmptyMessage) {
    ConsoleCapture console(set_console_sink);
    const Released wrapper{guarded([] { require_capacity(1, 2, "place"); })};
    EXPECT_EQ(wrapper->kind, 1u);
    EXPECT_EQ(wrapper->length, 0u);
    EXPECT_STREQ(wrapper->message, "");
}

TEST(Guarded, WrapsAStandardErrorSilently) {
    ConsoleCapture console(set_console_sink);
    const Released wrapper{guarded([] { throw std::bad_alloc(); })};
    EXPECT_EQ(console.take(), "");
    EXPECT_EQ(wrapper->kind, 1u);
    EXPECT_STREQ(wrapper->message, std::bad_alloc().what());
    EXPECT_EQ(wrapper->length, std::string(wrapper->message).size());
}

TEST(Guarded, WrapsAnythingElseAsUnknown) {
    ConsoleCapture console(set_console_sink);
    const Released wrapper{guarded([] { throw 5; })};
    EXPECT_EQ(console.take(), "");
    EXPECT_EQ(wrapper->kind, 2u);
    EXPECT_STREQ(wrapper->message, "Unknown Exception");
    EXPECT_EQ(wrapper->length, 17u);
}

int messages_freed;

TEST(Wrapper, DestroyReleasesTheMessageThroughTheCarriedFunction) {
    ExceptionWrapper* wrapper = make_wrapper(1, "some text");
    static void (*free_message)(char*);
    free_message = wrapper->message_free;
    messages_freed = 0;
    wrapper->message_free = [](char* message) {
        ++messages_freed;
        free_message(message);
    };
    wrapper->destroy(wrapper);
    EXPECT_EQ(messages_freed, 1);
}

TEST(Wrapper, DestroyWithoutAMessageCallsNothing) {
    ExceptionWrapper* wrapper = make_wrapper(1, "");
    wrapper->message_free(wrapper->message);
    wrapper->message = nullptr;
    messages_freed = 0;
    wrapper->message_free = [](char*) { ++messages_freed; };
    wrapper->destroy(wrapper);
    EXPECT_EQ(messages_freed, 0);
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

const test::ChildCase wraps_without_memory{
    "wrap_without_memory", [] {
        const std::string text(64 << 20, 'x');
        const rlimit limit{96 << 20, 96 << 20};  // room for the program and the text, not for a copy of it
        setrlimit(RLIMIT_AS, &limit);
        std::_Exit(make_wrapper(1, text.c_str()) == nullptr ? 10 : 11);
    }};

TEST(Wrapper, IsNullWhenThereIsNoMemoryForItsMessage) { EXPECT_EQ(wraps_without_memory.run().status, 10); }

void use_up_memory() {
    const rlimit limit{96 << 20, 96 << 20};
    setrlimit(RLIMIT_AS, &limit);
    // Small sizes one by one: the allocator keeps freed blocks of each.
    for (std::size_t bytes = 64 << 20; bytes >= 16; bytes -= bytes > 4096 ? bytes / 2 : 16)
        for (bool taken = true; taken;) {
            void* volatile memory = std::malloc(bytes);
            taken = memory != nullptr;
        }
}

const test::ChildCase fails_without_memory{"fail_without_memory", [] {
                                               const kv_exception error(9, "title", "place", "text");
                                               use_up_memory();
                                               std::_Exit(guarded([&] { raise(error); }) == nullptr ? 10 : 11);
                                           }};

// Neither the first print nor the second has memory for its text, nor has the wrapper: the error is lost, no more.
TEST(Guarded, GivesNullWhenThereIsNoMemoryForAnything) {
    const test::ChildEnd end = fails_without_memory.run();
    EXPECT_EQ(end.status, 10);
    EXPECT_EQ(end.output, "");
}

#endif

}  // namespace
}  // namespace kvt
