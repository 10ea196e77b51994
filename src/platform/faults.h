#pragma once
// Test seam: failures of the operating system that tests cannot bring about otherwise.

#include <atomic>

namespace kvt::platform {

enum class Fault { none, create_thread, wait_thread, close_thread, create_work, performance_counter };

// What an injected failure reports as the operating system's error code.
inline constexpr int injected_error = 1455;

inline std::atomic<Fault> injected_fault{Fault::none};
inline bool fails(Fault fault) noexcept { return injected_fault.load(std::memory_order_relaxed) == fault; }

}  // namespace kvt::platform
