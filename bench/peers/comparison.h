#pragma once
// What a comparison is: an operation of ours and a peer's equivalent on the same operands. Operations are listed in
// tables (operations_*.cpp); adding one is one entry and one function that prepares it.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <string_view>

namespace peers {

struct Setting {
    std::size_t words;        // 64-bit words of the first operand
    std::size_t short_words;  // of the second one
    std::uint64_t tasks;
};

// One prepared comparison. Each side runs its call a number of times.
struct Comparison {
    std::function<void(std::uint64_t)> ours, theirs;
    std::function<bool()> same_result;  // after both sides ran
};

struct Operation {
    std::string_view name;
    std::string_view peer;       // library, or "own" where our own operation is the opponent
    std::string_view peer_call;  // what runs on the other side
    std::size_t least_words;     // of each operand
    Comparison (*prepare)(const Setting&);
};

std::span<const Operation> kernel_operations();
std::span<const Operation> product_operations();
std::span<const Operation> object_operations();
std::span<const Operation> inverse_operations();
std::span<const Operation> text_operations();
std::span<const Operation> pi_operations();

// Thrown by prepare: the operation does not reach this size.
struct NotAvailable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The loop stands around the call itself, so that a side costs no more than the call.
template <class Call>
std::function<void(std::uint64_t)> repeated(Call call) {
    return [call](std::uint64_t repeats) {
        for (; repeats != 0; --repeats) call();
    };
}

}  // namespace peers
