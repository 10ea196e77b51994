#pragma once
// Threads of the operating system, sleeping and waking on a word of memory, and how many processors there are.
// Functions that may fail return 0 or the operating system's error code.

#include <atomic>
#include <cstdint>

namespace kvt::platform {

// One thread. It lies still from start_thread until close_thread: the new thread reads its routine from here.
struct ThreadHandle {
    void (*routine)(void* argument);
    void* argument;
    std::uintptr_t native;
};

// Fills routine and argument in and starts the thread with the default stack size.
int start_thread(ThreadHandle& thread, void (*routine)(void*), void* argument) noexcept;
// Waits until its routine has returned, without time limit; once.
int wait_for_thread(ThreadHandle& thread) noexcept;
// Gives the handle up: after wait_for_thread, or of a thread that nobody will wait for. Such a thread may still be
// about to read its handle, so that one is never freed.
int close_thread(ThreadHandle& thread, bool waited_for) noexcept;

// -3 (idle) to 3 (time-critical).
int set_thread_priority(ThreadHandle& thread, int priority) noexcept;

// Sleeps while word holds expected; may also return for no reason. A waker changes the word first, then wakes.
void sleep_while(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept;
void wake_sleeper(std::atomic<std::uint32_t>& word) noexcept;

// A lock without initialisation or clean-up; for short, rare sections.
class Mutex {
  public:
    void lock() noexcept {
        if (word_.exchange(1, std::memory_order_acquire) == 0) return;
        while (word_.exchange(2, std::memory_order_acquire) != 0) sleep_while(word_, 2);
    }
    void unlock() noexcept {
        if (word_.exchange(0, std::memory_order_release) == 2) wake_sleeper(word_);
    }

  private:
    std::atomic<std::uint32_t> word_{0};  // 0 free, 1 held, 2 held and perhaps awaited
};

inline void pause_briefly() noexcept { __builtin_ia32_pause(); }

// Keeps the library in memory until the process ends, for the sake of threads that are never joined.
void pin_library() noexcept;

unsigned processor_groups() noexcept;
// Processors that this process may use, as they were when it was first asked; 0 where unknown. On Windows all that the
// system could have, over all groups, whatever the affinity, asked at each call.
std::uint64_t processor_count() noexcept;
// Spreads threads over processor groups: puts the calling thread into the group that the index-th processor is in.
// Nothing happens where there is one group.
void place_calling_thread(std::uint64_t index) noexcept;

}  // namespace kvt::platform
