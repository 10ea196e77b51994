// Exports of the frame: alignment, parameter splitting, progress and console sinks.

#include "frame/console.h"
#include "frame/export_guard.h"
#include "frame/parameters.h"
#include "frame/progress.h"

using namespace kvt;

extern "C" {

KVNUM_EXPORT u64 GetAlignment() noexcept { return data_alignment_bytes; }

KVNUM_EXPORT void BasicParameters_split(const BasicParameters* whole, BasicParameters* first,
                                        BasicParameters* second) noexcept {
    split_parameters(*whole, *first, *second);
}

KVNUM_EXPORT const ProgressSink* SetProgressSink(const ProgressSink* sink) noexcept {
    return set_progress_sink(sink);
}

KVNUM_EXPORT void SetConsoleSink(void (*write)(void*, const char*, u64, char), void* context) noexcept {
    set_console_sink(write, context);
}

}  // extern "C"
