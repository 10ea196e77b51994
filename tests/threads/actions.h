#pragma once
// Forks of callable objects.

#include "threads/framework.h"

namespace kvt::test {

template <class Body>
class CallableAction final : public Threads::BasicAction {
  public:
    explicit CallableAction(Body& body) : body_(body) {}
    void run() override { body_(); }

  private:
    Body& body_;
};

template <class First, class Second>
void run_pair(Threads::ParallelFramework& framework, First first, Second second) {
    CallableAction<First> first_action(first);
    CallableAction<Second> second_action(second);
    framework.run_pair(&first_action, &second_action);
}

// Binary tree of forks; returns the number of leaves that ran.
inline u64 fork_tree(Threads::ParallelFramework& framework, unsigned depth) {
    if (depth == 0) return 1;
    u64 left = 0, right = 0;
    run_pair(
        framework, [&] { left = fork_tree(framework, depth - 1); }, [&] { right = fork_tree(framework, depth - 1); });
    return left + right;
}

}  // namespace kvt::test
