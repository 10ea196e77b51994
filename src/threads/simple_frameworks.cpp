// The frameworks without a pool: "none", "spawn" and "cppasync".

#include <future>
#include <system_error>

#include "frame/errors.h"
#include "threads/builtin.h"
#include "threads/child.h"
#include "threads/thread.h"

namespace kvt::Threads {
namespace {

class None final : public ParallelFramework {
  public:
    const char* name() override { return "None (No Multi-threading)"; }
    void run_range(IndexAction* action, u64 begin, u64 end) override {
        for (u64 i = begin; i < end; ++i) action->run(i);
    }
    void run_pair(BasicAction* first, BasicAction* second) override {
        first->run();
        second->run();
    }
};

class Spawn final : public ParallelFramework {
  public:
    const char* name() override { return "Thread Spawn (1 Thread/Task)"; }
    void run_pair(BasicAction* first, BasicAction* second) override {
        Thread thread(0, run_child_routine, first);
        run_then(*second, [&] { thread.join(); });
    }
};

// An exception of the first side comes back through the future, unless the second side threw as well.
class CppAsync final : public ParallelFramework {
  public:
    const char* name() override { return "std::async()"; }
    void run_pair(BasicAction* first, BasicAction* second) override {
        std::future<void> forked = launch(*first);
        run_then(*second, [&] { forked.wait(); });
        forked.get();
    }

  private:
    static std::future<void> launch(BasicAction& first) {
        try {
            return std::async(std::launch::async, [&first] { first.run(); });
        } catch (const std::system_error& error) {
            thread_failure(error.code().value(), errors::thread_not_created);
        }
    }
};

constinit None none;
constinit Spawn spawn;
constinit CppAsync cppasync;

}  // namespace

ParallelFramework& none_framework() noexcept { return none; }
ParallelFramework& spawn_framework() noexcept { return spawn; }
ParallelFramework& cppasync_framework() noexcept { return cppasync; }

}  // namespace kvt::Threads
