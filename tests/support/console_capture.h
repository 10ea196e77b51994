#pragma once
// Collects what the library prints. Tests behind the interface pass kvt::set_console_sink, tests of the shared
// library SetConsoleSink: each has a console of its own.

#include <mutex>
#include <string>
#include <utility>

#include "frame/types.h"

namespace kvt::test {

class ConsoleCapture {
  public:
    using Writer = void (*)(void*, const char*, u64, char);
    using Setter = void (*)(Writer, void*);

    explicit ConsoleCapture(Setter set_sink) : set_sink_(set_sink) { set_sink_(write, this); }
    ~ConsoleCapture() { set_sink_(nullptr, nullptr); }
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    // What was printed since the last call.
    std::string take() {
        std::lock_guard lock(mutex_);
        coloured_.clear();
        return std::exchange(text_, {});
    }
    // The same with {c} before each piece whose colour code is c and not ' '.
    std::string take_coloured() {
        std::lock_guard lock(mutex_);
        text_.clear();
        return std::exchange(coloured_, {});
    }

  private:
    static void write(void* context, const char* text, u64 bytes, char colour) {
        auto& self = *static_cast<ConsoleCapture*>(context);
        std::lock_guard lock(self.mutex_);
        self.text_.append(text, bytes);
        if (colour != ' ') self.coloured_ += {'{', colour, '}'};
        self.coloured_.append(text, bytes);
    }

    Setter set_sink_;
    std::mutex mutex_;
    std::string text_, coloured_;
};

}  // namespace kvt::test
