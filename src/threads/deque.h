#pragma once
// The forks of one worker that nobody has begun. The owner pushes and pops at the bottom, thieves take from the top,
// without locks.
//   source   D. Chase, Y. Lev: Dynamic Circular Work-Stealing Deque (2005); here the buffer does not grow: a full
//   deque
//            refuses, and its owner runs the fork itself
//
// Orders: every load and store that decides between owner and thief is sequentially consistent. A store of bottom is
// an exchange, because it must be visible before the loads after it (of top in pop, of the sleepers in the
// scheduler).
//
// A slot is rewritten only after top has passed it: the owner removes the fork in the slot that top names only by
// moving top itself. So what a thief read from the slot is right whenever its own move of top succeeds.

#include <atomic>

#include "frame/types.h"

namespace kvt::Threads {

struct Task;

// Where a fork stands: the outermost call it comes from in the upper half, its depth below it in the lower.
using TaskTag = u64;

class Deque {
  public:
    static constexpr u64 capacity = 256;

    bool push(Task* task, TaskTag tag) noexcept {
        const u64 bottom = bottom_.load(std::memory_order_relaxed);
        if (bottom - top_.load(std::memory_order_acquire) >= capacity) return false;
        Slot& slot = slots_[bottom % capacity];
        slot.task.store(task, std::memory_order_relaxed);
        slot.tag.store(tag, std::memory_order_relaxed);
        bottom_.exchange(bottom + 1, std::memory_order_seq_cst);
        return true;
    }

    // Takes back the newest fork; false where a thief has taken it.
    bool pop() noexcept {
        const u64 bottom = bottom_.load(std::memory_order_relaxed) - 1;
        bottom_.exchange(bottom, std::memory_order_seq_cst);
        u64 top = top_.load(std::memory_order_seq_cst);
        if (top < bottom) return true;
        // The last one, or none: thieves may be after it too.
        const bool mine = top == bottom && top_.compare_exchange_strong(top, top + 1, std::memory_order_seq_cst);
        bottom_.store(bottom + 1, std::memory_order_seq_cst);
        return mine;
    }

    // Takes the oldest fork, if it suits; null where there is none, or another one was faster.
    template <class Suits>
    Task* steal(Suits&& suits) noexcept {
        u64 top = top_.load(std::memory_order_seq_cst);
        if (top >= bottom_.load(std::memory_order_seq_cst)) return nullptr;
        const Slot& slot = slots_[top % capacity];
        Task* task = slot.task.load(std::memory_order_relaxed);
        if (!suits(slot.tag.load(std::memory_order_relaxed))) return nullptr;
        return top_.compare_exchange_strong(top, top + 1, std::memory_order_seq_cst) ? task : nullptr;
    }

    // Tag of the oldest fork; false where there is none.
    bool oldest(TaskTag& tag) const noexcept {
        const u64 top = top_.load(std::memory_order_seq_cst);
        if (top >= bottom_.load(std::memory_order_seq_cst)) return false;
        tag = slots_[top % capacity].tag.load(std::memory_order_relaxed);
        return true;
    }

  private:
    struct Slot {
        std::atomic<Task*> task;
        std::atomic<TaskTag> tag;
    };

    alignas(64) std::atomic<u64> top_{1};  // from 1, so that bottom - 1 never wraps
    alignas(64) std::atomic<u64> bottom_{1};
    alignas(64) Slot slots_[capacity]{};
};

}  // namespace kvt::Threads
