#include "threads/thread.h"

#include "frame/console.h"
#include "frame/errors.h"
#include "threads/child.h"

namespace kvt::Threads {

Thread::Thread(int priority, void (*function)(void*), void* argument) {
    if (const int error = platform::start_thread(handle_, function, argument))
        thread_failure(error, errors::thread_not_created);
    joinable_ = true;
    if (priority == 0) return;
    if (priority < -3 || priority > 3)
        print_line(errors::unknown_priority);
    else if (platform::set_thread_priority(handle_, priority) != 0)
        print_line(errors::priority_not_set);
}

Thread::~Thread() {
    if (joinable_) join();
}

void Thread::join() noexcept {
    if (const int error = platform::wait_for_thread(handle_)) thread_failure(error, errors::thread_wait_failed);
    if (const int error = platform::close_thread(handle_, true)) thread_failure(error, errors::thread_not_closed);
    joinable_ = false;
}

}  // namespace kvt::Threads
