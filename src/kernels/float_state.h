#pragma once
// Floating-point kernels run with rounding to nearest and without flushing, whatever the caller or the thread has
// set.

#include <xmmintrin.h>

namespace kvt::kernels {

// Holds that state for a scope. The kernels must be called through a pointer (a table): the compiler moves plain
// arithmetic across the change.
class FloatState {
  public:
    FloatState() : callers_(_mm_getcsr()) {
        if ((callers_ & ~raised_exceptions) != default_state) _mm_setcsr(default_state);
    }
    ~FloatState() {
        if (_mm_getcsr() != callers_) _mm_setcsr(callers_);
    }
    FloatState(const FloatState&) = delete;
    FloatState& operator=(const FloatState&) = delete;

  private:
    // Writing the register drains the pipeline, reading it does not.
    static constexpr unsigned raised_exceptions = 0x3f;
    static constexpr unsigned default_state = 0x1f80;  // all exceptions masked, nearest, no FTZ, no DAZ
    unsigned callers_;
};

}  // namespace kvt::kernels
