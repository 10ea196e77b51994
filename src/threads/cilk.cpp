// "cilk": work stealing by the library's own scheduler.

#include "frame/errors.h"
#include "threads/builtin.h"
#include "threads/scheduler.h"

namespace kvt::Threads {
namespace {

constinit Scheduler scheduler;

class Cilk final : public ParallelFramework {
  public:
    const char* name() override { return "Cilk Plus Work-Stealing"; }
    // Has an effect until the first fork.
    void apply_settings() override { scheduler.set_workers(workers); }
    void run_pair(BasicAction* first, BasicAction* second) override {
        if (!scheduler.started()) scheduler.start([this] { apply_settings(); }, errors::thread_not_created);
        scheduler.run_pair(*first, *second);
    }
};

constinit Cilk cilk;

}  // namespace

ParallelFramework& cilk_framework() noexcept { return cilk; }

}  // namespace kvt::Threads
