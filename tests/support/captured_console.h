#pragma once
// Collects what the library prints while it lives; for tests behind the interface.

#include <string>

#include "frame/console.h"

namespace kvt::test {

class CapturedConsole {
  public:
    CapturedConsole() {
        set_console_sink([](void* self, const char* text, u64 bytes,
                            char) { static_cast<CapturedConsole*>(self)->text_.append(text, bytes); },
                         this);
    }
    ~CapturedConsole() { set_console_sink(nullptr, nullptr); }
    CapturedConsole(const CapturedConsole&) = delete;
    CapturedConsole& operator=(const CapturedConsole&) = delete;

    const std::string& text() const { return text_; }

    // How often part was printed.
    unsigned count(const std::string& part) const {
        unsigned n = 0;
        for (std::size_t at = 0; (at = text_.find(part, at)) != std::string::npos; at += part.size()) ++n;
        return n;
    }

  private:
    std::string text_;
};

}  // namespace kvt::test
