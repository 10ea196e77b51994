// "winpool" where the system has no pool of its own: a pool of the process with the same contract. Like an item of a
// system pool, a forked side that throws ends the process; one that no thread has begun is taken back by the waiter.

#include "frame/errors.h"
#include "platform/faults.h"
#include "platform/threads.h"
#include "threads/builtin.h"
#include "threads/child.h"
#include "threads/scheduler.h"

namespace kvt::Threads {
namespace {

class ForkedSide final : public BasicAction {
  public:
    explicit ForkedSide(BasicAction& action) : action_(action) {}
    void run() override { run_child(action_); }

  private:
    BasicAction& action_;
};

constinit Scheduler pool;

class WinPool final : public ParallelFramework {
  public:
    const char* name() override { return "Windows Thread Pool"; }
    void run_pair(BasicAction* first, BasicAction* second) override {
        if (platform::fails(platform::Fault::create_work))
            thread_failure(platform::injected_error, errors::pool_work_not_created);
        if (!pool.started())
            pool.start([] { pool.set_workers(platform::processor_count()); }, errors::pool_work_not_created);
        ForkedSide forked(*first);
        pool.run_pair(forked, *second);
    }
};

constinit WinPool winpool;

}  // namespace

ParallelFramework& winpool_framework() noexcept { return winpool; }

}  // namespace kvt::Threads
