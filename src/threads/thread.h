#pragma once
// One thread of the operating system, joined at the latest by its destructor.

#include "platform/threads.h"

namespace kvt::Threads {

class Thread {
  public:
    // Runs function(argument) on a new thread. priority: -3 (idle) to 3 (time-critical), 0 leaves it as it is. An
    // unknown number or a refused change prints a warning and the thread goes on; a thread that cannot be created
    // ends the process.
    Thread(int priority, void (*function)(void*), void* argument);
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    // Waits without time limit and closes the handle; once.
    void join() noexcept;
    bool joinable() const noexcept { return joinable_; }

  private:
    platform::ThreadHandle handle_;
    bool joinable_;
};

}  // namespace kvt::Threads
