#pragma once
// Everything that a progress sink is told, as one text: tags, the digits shown, and a point for every tag that ends.

#include <cstdint>
#include <string>

namespace kvt::test {

// Sink: the record of the library or of the public header.
template <class Sink>
struct ProgressRecorder {
    std::string text;
    Sink sink{[](void* self, const char* tag) { static_cast<ProgressRecorder*>(self)->text += tag; },
              [](void* self) { static_cast<ProgressRecorder*>(self)->text += '.'; },
              [](void* self, std::uint64_t n) { static_cast<ProgressRecorder*>(self)->text += std::to_string(n); },
              this};

    ProgressRecorder() = default;
    ProgressRecorder(const ProgressRecorder&) = delete;
    ProgressRecorder& operator=(const ProgressRecorder&) = delete;
};

}  // namespace kvt::test
