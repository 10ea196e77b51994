#pragma once
// Work stealing. Every thread that forks has a worker: a deque of the forks that nobody has begun. The forking thread
// runs the second action itself, then takes the first back from its deque. Idle pool threads steal it meanwhile; then
// the forking thread steals too until it is done.
//
// What a waiting thread may steal: forks of the same outermost call that lie at least as deep as the one it waits
// for. So the depth grows along every stack, stacks stay as deep as the nesting, waits cannot form a circle, and a
// caller is not held up by the work of another caller. Idle pool threads steal everything.

#include <atomic>
#include <exception>
#include <mutex>

#include "platform/threads.h"
#include "threads/deque.h"
#include "threads/framework.h"

namespace kvt::Threads {

struct Worker;

// One fork; lies on the stack of the forking call.
struct Task {
    BasicAction* action;
    Worker* owner;
    TaskTag tag;
    std::exception_ptr error;  // what the action threw on a thief's thread
    std::atomic<bool> done{false};
};

class Scheduler {
  public:
    constexpr Scheduler() = default;

    // Number of workers, the calling thread included; taken at the start.
    void set_workers(u64 workers) noexcept { workers_.store(workers, std::memory_order_relaxed); }

    // Starts the pool threads, one fewer than workers, if that has not been done: settings() first. A thread that
    // cannot be created ends the process with the message. The threads are never joined.
    template <class Settings>
    void start(Settings&& settings, const char* failure_message) {
        std::lock_guard lock(start_mutex_);
        if (started()) return;
        settings();
        start_threads(failure_message);
        started_.store(true, std::memory_order_release);
    }
    bool started() const noexcept { return started_.load(std::memory_order_acquire); }

    // Both have finished when it returns or throws. Throws what second threw, else what first threw.
    void run_pair(BasicAction& first, BasicAction& second);

  private:
    friend class Binding;

    void start_threads(const char* failure_message);
    void serve(Worker& self) noexcept;  // the life of a pool thread
    void wait_for(Worker& self, Task& task) noexcept;

    Worker* add_worker(bool taken);
    Worker& free_worker();
    template <class Suits>
    Task* steal(Worker& self, Suits&& suits) noexcept;
    template <class Suits>
    bool has_work(const Worker& self, Suits&& suits) const noexcept;

    bool sleep(Worker& self, Task* awaited) noexcept;
    void wake_for_fork(TaskTag tag) noexcept;
    void wake_for_rest() noexcept;
    void wake(Worker& sleeper) noexcept;
    void remove_sleeper(Worker& sleeper) noexcept;
    void release_sleeper(Worker& sleeper) noexcept;
    static void execute(Worker& self, Task& task) noexcept;

    std::atomic<u64> workers_{1};
    std::atomic<bool> started_{false};
    platform::Mutex start_mutex_;

    std::atomic<Worker*> all_workers_{nullptr};  // a list that only grows
    std::atomic<u32> worker_count_{0};

    // Pool threads that look for work, pool threads that sleep, waiting threads that sleep.
    alignas(64) std::atomic<u32> searching_{0};
    std::atomic<u32> idle_sleepers_{0};
    std::atomic<u32> waiting_sleepers_{0};
    platform::Mutex sleep_mutex_;
    Worker* sleepers_ = nullptr;  // guarded by sleep_mutex_
};

}  // namespace kvt::Threads
