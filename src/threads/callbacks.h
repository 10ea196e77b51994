#pragma once
// Plain callback records of the C boundary, and the actions that call them.

#include <cstddef>

#include "threads/framework.h"

namespace kvt::Threads {

struct ActionCallback {
    void (*fn)(void* context);
    void* context;
};
struct IndexActionCallback {
    void (*fn)(void* context, u64 index);
    void* context;
};
static_assert(sizeof(ActionCallback) == 16 && offsetof(ActionCallback, context) == 8);
static_assert(sizeof(IndexActionCallback) == 16 && offsetof(IndexActionCallback, context) == 8);

class CallbackAction final : public BasicAction {
  public:
    explicit CallbackAction(const ActionCallback& callback) : callback_(callback) {}
    void run() override { callback_.fn(callback_.context); }

  private:
    const ActionCallback& callback_;
};

class CallbackIndexAction final : public IndexAction {
  public:
    explicit CallbackIndexAction(const IndexActionCallback& callback) : callback_(callback) {}
    void run(u64 index) override { callback_.fn(callback_.context, index); }

  private:
    const IndexActionCallback& callback_;
};

}  // namespace kvt::Threads
