#pragma once
// Every error code and fixed text of the library, in one place.

#include "frame/types.h"

namespace kvt::errors {

// Error codes, printed after "Error Code: ". Pinned: clients read them from logs.
inline constexpr i32 buffer_too_small = 1;
inline constexpr i32 negative_value = 1;
inline constexpr i32 lookup_table_too_small = 2;
inline constexpr i32 convergence_failure = 2;
inline constexpr i32 convolution_too_small = 4;
inline constexpr i32 redundancy_check = 5;
inline constexpr i32 unsupported_value = 6;
inline constexpr i32 parse = 7;
inline constexpr i32 threshold_table = 8;
inline constexpr i32 text_order = 9;
inline constexpr i32 divide_by_zero = -3;
inline constexpr i32 radix_base = -3;
inline constexpr i32 radix_overlap = 0x10000002;
inline constexpr i32 no_algorithm = -4;

// Titles: the kind of an error, printed in its header line.
inline constexpr const char* title_generic = "Generic Exception";
inline constexpr const char* title_buffer = "Buffer is too small.";
inline constexpr const char* title_table = "Lookup table is too small.";
inline constexpr const char* title_transform_length = "Transform length is too small.";
inline constexpr const char* title_unsupported = "Value is unsupported.";
inline constexpr const char* title_redundancy = "Redundancy Check Failed:  ";
inline constexpr const char* title_parse = "Parse Error";
inline constexpr const char* title_thread = "Thread Exception";

// Messages.
inline constexpr const char* zero_encountered = "Zero was encountered.";
inline constexpr const char* negative_encountered = "A negative value was encountered.";
inline constexpr const char* allocation_failure = "Memory Allocation Failure.";
inline constexpr const char* unknown_exception = "Unknown Exception";
inline constexpr const char* coefficient_too_large = "Coefficient is too large.\n";
inline constexpr const char* thresholds_not_increasing = "Thresholds must be increasing.";
inline constexpr const char* threshold_too_large = "Thresholds is larger than maximum size.";
inline constexpr const char* misaligned_data = "Data Misalignment. Possible performance penalty.";
inline constexpr const char* thread_not_created = "Unable to create thread.";
inline constexpr const char* pool_work_not_created = "Unable to create thread pool work.";
inline constexpr const char* thread_wait_failed = "Wait for thread has failed.";
inline constexpr const char* thread_not_closed = "Unable to close a thread handle.";
inline constexpr const char* unknown_priority = "Warning: Ignoring unknown priority number.";
inline constexpr const char* priority_not_set = "Warning: Unable to set thread priority.";
inline constexpr const char* unhandled_in_child = "FATAL ERROR: Unhandled exception in child thread.";

// Heads of fatal assertions (three trailing blanks each).
inline constexpr const char* invalid_parameters = "Invalid Function Parameters:   ";
inline constexpr const char* impossible_result = "Impossible Functional Result:   ";

}  // namespace kvt::errors
