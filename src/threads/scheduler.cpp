#include "threads/scheduler.h"

#include "threads/child.h"

namespace kvt::Threads {

struct alignas(64) Worker {
    Deque deque;
    Scheduler* scheduler;
    Worker* next;  // in the list of all workers
    u64 number;
    std::atomic<bool> taken;  // bound to a thread
    TaskTag tag = 0;          // of the task that its thread runs

    // While its thread sleeps; all but awake is guarded by the scheduler's sleep_mutex_, listed is also read without.
    std::atomic<bool> listed{false};
    bool idle = false;
    TaskTag awaited = 0;
    Worker* next_sleeper = nullptr;
    std::atomic<u32> awake{0};

    platform::ThreadHandle thread{};  // of a pool thread
};

namespace {

// Rounds of looking for work before a thread sleeps, some hundred microseconds in all: what waking it takes the forks of a
// product by several tasks.
constexpr unsigned search_rounds = 150;

void back_off(unsigned round) noexcept {
    for (unsigned i = 0, n = 1u << (round < 6 ? round : 6); i < n; ++i) platform::pause_briefly();
}

struct Bound {
    Worker* worker = nullptr;  // of the calling thread at present
    Worker* recent = nullptr;  // the last one it had, likely to be free still
};
thread_local constinit Bound bound;

constexpr auto anything = [](TaskTag) { return true; };

bool suits_waiter(TaskTag awaited, TaskTag tag) { return tag >> 32 == awaited >> 32 && tag >= awaited; }

}  // namespace

// Gives the calling thread a worker for the time of its outermost fork.
class Binding {
  public:
    explicit Binding(Scheduler& scheduler) : previous_(bound.worker) {
        if (previous_ != nullptr && previous_->scheduler == &scheduler) return;
        Worker* recent = bound.recent;
        if (recent == nullptr || recent->scheduler != &scheduler ||
            recent->taken.exchange(true, std::memory_order_acquire))
            recent = &scheduler.free_worker();
        recent->tag = recent->number << 32;
        bound = {recent, recent};
        bound_here_ = true;
    }
    ~Binding() {
        if (!bound_here_) return;
        bound.worker->taken.store(false, std::memory_order_release);
        bound.worker = previous_;
    }
    Binding(const Binding&) = delete;
    Binding& operator=(const Binding&) = delete;

    Worker& worker() const noexcept { return *bound.worker; }

  private:
    Worker* previous_;
    bool bound_here_ = false;
};

void Scheduler::run_pair(BasicAction& first, BasicAction& second) {
    Binding binding(*this);
    Worker& self = binding.worker();
    const TaskTag outer = self.tag;
    Task task{&first, &self, outer + 1, nullptr};
    self.tag = task.tag;
    const bool queued = self.deque.push(&task, task.tag);
    if (queued) wake_for_fork(task.tag);
    run_then(second, [&]() noexcept {
        if (!queued || self.deque.pop()) {
            try {
                first.run();
            } catch (...) {
                task.error = std::current_exception();
            }
        } else {
            wait_for(self, task);
        }
        self.tag = outer;
    });
    if (task.error) std::rethrow_exception(std::move(task.error));
}

// Once the task is done its memory may be gone; its owner's worker stays.
void Scheduler::execute(Worker& self, Task& task) noexcept {
    const TaskTag outer = self.tag;
    self.tag = task.tag;
    try {
        task.action->run();
    } catch (...) {
        task.error = std::current_exception();
    }
    self.tag = outer;
    Worker& owner = *task.owner;
    task.done.store(true, std::memory_order_seq_cst);
    if (owner.listed.load(std::memory_order_seq_cst)) owner.scheduler->wake(owner);
}

void Scheduler::wait_for(Worker& self, Task& task) noexcept {
    const auto suits = [&](TaskTag tag) { return suits_waiter(task.tag, tag); };
    for (unsigned round = 0; !task.done.load(std::memory_order_acquire);) {
        if (Task* other = steal(self, suits)) {
            execute(self, *other);
            round = 0;
        } else if (round < search_rounds) {
            back_off(round++);
        } else {
            sleep(self, &task);
            round = 0;
        }
    }
}

void Scheduler::serve(Worker& self) noexcept {
    platform::place_calling_thread(self.number);
    bound = {&self, &self};
    for (bool counted = false;;) {
        if (!counted) searching_.fetch_add(1, std::memory_order_seq_cst);
        Task* task = steal(self, anything);
        for (unsigned round = 0; task == nullptr && round < search_rounds; ++round) {
            back_off(round);
            task = steal(self, anything);
        }
        const bool last_searcher = searching_.fetch_sub(1, std::memory_order_seq_cst) == 1;
        if (task != nullptr) {
            if (last_searcher) wake_for_rest();
            execute(self, *task);
        }
        counted = task == nullptr && sleep(self, nullptr);
    }
}

// --- workers
// ---------------------------------------------------------------------------------------------------------

void Scheduler::start_threads(const char* failure_message) {
    const u64 workers = workers_.load(std::memory_order_relaxed);
    if (workers > 1) platform::pin_library();
    for (u64 i = 1; i < workers; ++i) {
        Worker* worker = add_worker(true);
        const auto routine = [](void* self) {
            auto& worker = *static_cast<Worker*>(self);
            worker.scheduler->serve(worker);
        };
        if (const int error = platform::start_thread(worker->thread, routine, worker))
            thread_failure(error, failure_message);
        platform::close_thread(worker->thread, false);
    }
}

Worker* Scheduler::add_worker(bool taken) {
    auto* worker = new Worker;
    worker->scheduler = this;
    worker->number = worker_count_.fetch_add(1, std::memory_order_relaxed) + 1;
    worker->taken.store(taken, std::memory_order_relaxed);
    worker->next = all_workers_.load(std::memory_order_relaxed);
    while (!all_workers_.compare_exchange_weak(worker->next, worker, std::memory_order_release)) {
    }
    return worker;
}

Worker& Scheduler::free_worker() {
    for (Worker* worker = all_workers_.load(std::memory_order_acquire); worker != nullptr; worker = worker->next)
        if (!worker->taken.load(std::memory_order_relaxed) &&
            !worker->taken.exchange(true, std::memory_order_acquire))
            return *worker;
    return *add_worker(true);
}

// Goes round the list once, from the worker after its own.
template <class Suits>
Task* Scheduler::steal(Worker& self, Suits&& suits) noexcept {
    for (Worker* victim = &self;;) {
        victim = victim->next != nullptr ? victim->next : all_workers_.load(std::memory_order_acquire);
        if (victim == &self) return nullptr;
        if (Task* task = victim->deque.steal(suits)) return task;
    }
}

template <class Suits>
bool Scheduler::has_work(const Worker& self, Suits&& suits) const noexcept {
    TaskTag tag;
    for (Worker* worker = all_workers_.load(std::memory_order_acquire); worker != nullptr; worker = worker->next)
        if (worker != &self && worker->deque.oldest(tag) && suits(tag)) return true;
    return false;
}

// --- sleeping
// ---------------------------------------------------------------------------------------------------------
//
// No wake-up is lost: a sleeper first enters the list, then looks for work once more; a forker first queues its fork,
// then looks whether somebody sleeps. All four are sequentially consistent, so at least one of them sees the other. A
// forker wakes nobody while a pool thread is searching; that one looks once more too, before it sleeps, and if it
// finds work while it is the last searcher, it wakes the next.

// True where a waker has counted this pool thread among the searchers.
bool Scheduler::sleep(Worker& self, Task* awaited) noexcept {
    {
        std::lock_guard lock(sleep_mutex_);
        self.awake.store(0, std::memory_order_relaxed);
        self.idle = awaited == nullptr;
        self.awaited = awaited != nullptr ? awaited->tag : 0;
        self.next_sleeper = sleepers_;
        sleepers_ = &self;
        self.listed.store(true, std::memory_order_seq_cst);
        (self.idle ? idle_sleepers_ : waiting_sleepers_).fetch_add(1, std::memory_order_seq_cst);
    }
    const bool stay_awake = awaited == nullptr
                                ? has_work(self, anything)
                                : awaited->done.load(std::memory_order_seq_cst) ||
                                      has_work(self, [&](TaskTag tag) { return suits_waiter(awaited->tag, tag); });
    if (stay_awake) {
        std::lock_guard lock(sleep_mutex_);
        if (self.listed.load(std::memory_order_relaxed)) {
            remove_sleeper(self);
            return false;
        }
    }
    while (self.awake.load(std::memory_order_acquire) == 0) platform::sleep_while(self.awake, 0);
    return self.idle;
}

// Both under sleep_mutex_, for a listed sleeper.
void Scheduler::remove_sleeper(Worker& sleeper) noexcept {
    Worker** link = &sleepers_;
    while (*link != &sleeper) link = &(*link)->next_sleeper;
    *link = sleeper.next_sleeper;
    sleeper.listed.store(false, std::memory_order_relaxed);
    (sleeper.idle ? idle_sleepers_ : waiting_sleepers_).fetch_sub(1, std::memory_order_seq_cst);
}

// A pool thread counts as searching from here on, so that forks made until it runs wake nobody else.
void Scheduler::release_sleeper(Worker& sleeper) noexcept {
    remove_sleeper(sleeper);
    if (sleeper.idle) searching_.fetch_add(1, std::memory_order_seq_cst);
    sleeper.awake.store(1, std::memory_order_release);
}

void Scheduler::wake(Worker& sleeper) noexcept {
    {
        std::lock_guard lock(sleep_mutex_);
        if (!sleeper.listed.load(std::memory_order_relaxed)) return;
        release_sleeper(sleeper);
    }
    platform::wake_sleeper(sleeper.awake);
}

// Wakes an idle pool thread, or else a waiting thread that may steal a fork with this tag.
void Scheduler::wake_for_fork(TaskTag tag) noexcept {
    if (searching_.load(std::memory_order_seq_cst) != 0 ||
        idle_sleepers_.load(std::memory_order_seq_cst) + waiting_sleepers_.load(std::memory_order_seq_cst) == 0)
        return;
    Worker* chosen = nullptr;
    {
        std::lock_guard lock(sleep_mutex_);
        for (Worker* sleeper = sleepers_; sleeper != nullptr; sleeper = sleeper->next_sleeper) {
            if (sleeper->idle || (chosen == nullptr && suits_waiter(sleeper->awaited, tag))) chosen = sleeper;
            if (sleeper->idle) break;
        }
        if (chosen == nullptr) return;
        release_sleeper(*chosen);
    }
    platform::wake_sleeper(chosen->awake);
}

void Scheduler::wake_for_rest() noexcept {
    if (idle_sleepers_.load(std::memory_order_seq_cst) + waiting_sleepers_.load(std::memory_order_seq_cst) == 0)
        return;
    TaskTag tag;
    for (Worker* worker = all_workers_.load(std::memory_order_acquire); worker != nullptr; worker = worker->next)
        if (worker->deque.oldest(tag)) return wake_for_fork(tag);
}

}  // namespace kvt::Threads
