#include "threads/child.h"

#include "frame/exceptions.h"
#include "frame/fatal.h"

namespace kvt::Threads {

void run_child(BasicAction& action) noexcept {
    try {
        action.run();
    } catch (const kv_exception& error) {
        print_exception(error);
        exit_with_failure();
    } catch (...) {
        fatal_exit(errors::unhandled_in_child);
    }
}

void run_child_routine(void* action) { run_child(*static_cast<BasicAction*>(action)); }

void thread_failure(int os_error, const char* message) noexcept {
    raise(ThreadException(os_error, message));
    exit_with_failure();
}

}  // namespace kvt::Threads
