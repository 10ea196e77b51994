// "winpool" on Windows: the default thread pool of the process.

#include <atomic>

#include "frame/errors.h"
#include "platform/pool.h"
#include "platform/threads.h"
#include "threads/builtin.h"
#include "threads/child.h"

namespace kvt::Threads {
namespace {

// Items submitted that nobody has claimed yet.
std::atomic<u64> waiting_items{0};

// More than this many would only cost time: no thread of the pool is idle while so many wait. A further fork stays
// with its thread, and the next one is offered again once some have been taken.
u64 enough_items() {
    static const u64 enough = 2 * platform::processor_count() + 2;
    return enough;
}

// The forked side of one fork. Whoever claims it first runs it: a thread of the pool, or the forking thread when it
// comes to wait. So nested forks finish even where every thread of the pool waits for another one.
class ForkedSide {
  public:
    explicit ForkedSide(BasicAction& action) : action_(action) {
        if (waiting_items.load(std::memory_order_relaxed) >= enough_items()) return;
        if (const int error = platform::create_work(work_, run_from_pool, this))
            thread_failure(error, errors::pool_work_not_created);
        submitted_ = true;
        waiting_items.fetch_add(1, std::memory_order_relaxed);
        platform::submit_work(work_);
    }

    void join() noexcept {
        if (!submitted_) return run_child(action_);
        const bool taken_back = claim();
        if (taken_back) run_child(action_);
        platform::wait_for_work(work_, taken_back);
        platform::close_work(work_);
    }

  private:
    bool claim() noexcept {
        if (claimed_.exchange(true, std::memory_order_acq_rel)) return false;
        waiting_items.fetch_sub(1, std::memory_order_relaxed);
        return true;
    }

    static void run_from_pool(void* self) {
        auto& side = *static_cast<ForkedSide*>(self);
        if (side.claim()) run_child(side.action_);
    }

    BasicAction& action_;
    std::atomic<bool> claimed_{false};
    bool submitted_ = false;
    platform::PoolWork work_;
};

class WinPool final : public ParallelFramework {
  public:
    const char* name() override { return "Windows Thread Pool"; }
    void run_pair(BasicAction* first, BasicAction* second) override {
        ForkedSide forked(*first);
        run_then(*second, [&] { forked.join(); });
    }
};

constinit WinPool winpool;

}  // namespace

ParallelFramework& winpool_framework() noexcept { return winpool; }

}  // namespace kvt::Threads
