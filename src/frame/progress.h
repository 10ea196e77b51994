#pragma once
// Progress of long operations: short phase tags pushed onto a sink that the client installs for its thread.

#include "frame/types.h"

namespace kvt {

// A C record of functions; called on the thread that called the library only, never inside a fork.
struct ProgressSink {
    void (*push)(void* context, const char* tag);
    void (*pop)(void* context);
    void (*show)(void* context, u64 digits);
    void* context;
};

// The calling thread's sink; null is silent. An explicit sink argument of an operation wins over it.
const ProgressSink* current_progress_sink() noexcept;
const ProgressSink* set_progress_sink(const ProgressSink* sink) noexcept;  // returns the old one

// Holds a tag on a sink for a scope.
class ProgressTag {
  public:
    ProgressTag(const ProgressSink* sink, const char* tag) noexcept : sink_(sink) {
        if (sink_ != nullptr) sink_->push(sink_->context, tag);
    }
    ~ProgressTag() {
        if (sink_ != nullptr) sink_->pop(sink_->context);
    }
    ProgressTag(const ProgressTag&) = delete;
    ProgressTag& operator=(const ProgressTag&) = delete;

  private:
    const ProgressSink* sink_;
};

}  // namespace kvt
