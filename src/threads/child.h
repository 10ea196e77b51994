#pragma once
// What the frameworks share: running the forked side, and waiting for it whatever the other side does.

#include "threads/framework.h"

namespace kvt::Threads {

// Runs the action on behalf of a caller that no exception can be carried back to: one that escapes is printed and
// ends the process with status 1.
void run_child(BasicAction& action) noexcept;

// The same as a thread's routine; the argument is the BasicAction.
void run_child_routine(void* action);

// Runs second on the calling thread, then join, also where second throws; its exception passes on after that.
template <class Join>
void run_then(BasicAction& second, Join&& join) {
    try {
        second.run();
    } catch (...) {
        join();
        throw;
    }
    join();
}

// An error of the operating system: printed with its message, then the process ends with status 1.
[[noreturn]] void thread_failure(int os_error, const char* message) noexcept;

}  // namespace kvt::Threads
