#include "frame/progress.h"

namespace kvt {
namespace {
thread_local const ProgressSink* thread_sink = nullptr;
}

const ProgressSink* current_progress_sink() noexcept { return thread_sink; }

const ProgressSink* set_progress_sink(const ProgressSink* sink) noexcept {
    const ProgressSink* old = thread_sink;
    thread_sink = sink;
    return old;
}

}  // namespace kvt
