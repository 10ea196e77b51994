#pragma once
// kv::Error, kv::Context and what kv::Integer and kv::Real share. Included by kvnum/kvnum.hpp.

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "kvnum/kvnum.h"

namespace kv {

// An error that the library reported, or that this layer found in its arguments.
class Error : public std::runtime_error {
  public:
    explicit Error(const std::string& text) : std::runtime_error(text) {}
    // Takes the wrapper over and releases it.
    explicit Error(ExceptionWrapper* error) : std::runtime_error(text_of(error)), kind_(error->kind) {
        error->destroy(error);
    }

    // 1: an error of the library or the C++ standard library; 2: anything else; 0: found by this layer.
    std::uint32_t kind() const { return kind_; }

  private:
    // A few errors travel without a message: what they are is printed.
    static std::string text_of(const ExceptionWrapper* error) {
        return error->length != 0 ? std::string(error->message, error->length)
                                  : "A buffer is too small, or a number too long.";
    }

    std::uint32_t kind_ = 0;
};

// Memory that an operation takes beyond its operands.
//   result_bytes    the words or characters of what it returns
//   scratch_bytes   the Context's arena, which later operations use again
struct Bytes {
    std::uint64_t result_bytes = 0;
    std::uint64_t scratch_bytes = 0;
    std::uint64_t total() const { return result_bytes + scratch_bytes; }
};

namespace detail {

inline void check(ExceptionWrapper* error) {
    if (error != nullptr) throw Error(error);
}

// What an operation asks of a Context.
//   table_bits   longest product, in bits, that the table must serve
//   bytes        memory of the parameters
//   words        temporaries besides
struct Need {
    std::uint64_t table_bits = 0;
    std::uint64_t bytes = 0;
    std::uint64_t words = 0;

    // Both parts of the arena start at a multiple of 64.
    static constexpr std::uint64_t alignment = 64;
    std::uint64_t words_bytes() const { return (words * 8 + alignment - 1) / alignment * alignment; }
    std::uint64_t arena_bytes() const { return words_bytes() + bytes; }
};

}  // namespace detail

// Tasks and scratch memory of the operations of one thread. The newest Context of a thread serves its operators until
// it is destroyed; without one they use a single task. Contexts of a thread end in the reverse order of their making.
//
// The table of roots and the parallel framework belong to the process. The table grows on demand, which only one
// thread may do while no other one computes. Before several threads compute, cover(64 * (2 * n + 64)): n the most
// words of any number, precision or result of a power, 19 characters of a text counting as a word. No operation asks
// for more.
class Context {
  public:
    // tasks: parallel tasks that an operation may use; framework: a built-in name (kvnum/threads.h), null: as it is.
    explicit Context(std::uint64_t tasks = std::thread::hardware_concurrency(), const char* framework = nullptr)
        : tasks_(std::max<std::uint64_t>(1, tasks)), before_(newest()) {
        if (framework != nullptr) use_framework(framework);
        newest() = this;
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context() { newest() = before_; }

    static Context& current();

    std::uint64_t tasks() const { return tasks_; }

    // Bytes that the arena holds now; release() gives them back.
    std::uint64_t arena_bytes() const { return arena_bytes_; }
    void release() {
        arena_.reset();
        arena_bytes_ = 0;
    }

    // Grows the table of roots to products of that many bits.
    static void cover(std::uint64_t bits) {
        if (get_global_table_size() < bits) detail::check(internal_ensure_global_table(bits));
    }

    static void use_framework(const char* name) {
        ParallelFramework* framework = GetBuiltInFrameworkByName(name);
        if (framework == nullptr) throw Error("There is no parallel framework of that name.");
        SetParallelFramework(framework);
    }
    static std::string framework() {
        ParallelFramework* framework = GetParallelFramework();
        return framework != nullptr ? GetFrameworkName(framework) : "none";
    }

    // The library prints the details of an error on standard output, besides returning it; quiet() drops what it
    // prints. For the whole process.
    static void quiet(bool on = true) {
        SetConsoleSink(on ? +[](void*, const char*, std::uint64_t, char) {} : nullptr, nullptr);
    }

    // Runs both functions, at the same time where this Context has two tasks. Each runs under a Context of its own
    // with its share of the tasks. Returns when both have ended; an exception of theirs is thrown then.
    template <class First, class Second>
    void run_pair(First&& first, Second&& second) {
        Side<First> a{first, tasks_ - tasks_ / 2, nullptr};
        Side<Second> b{second, tasks_ / 2, nullptr};
        if (tasks_ < 2) {
            Side<First>::run(&a);
            Side<Second>::run(&b);
        } else {
            const ActionCallback one{Side<First>::run, &a}, two{Side<Second>::run, &b};
            dll_RunInParallel_BasicAction(&one, &two);
        }
        if (b.failure) std::rethrow_exception(b.failure);
        if (a.failure) std::rethrow_exception(a.failure);
    }

    // For calls of the C interface: parameters and temporaries that last until the next operation.
    struct Scratch {
        BasicParameters params;
        std::uint64_t* words;
        std::uint64_t words_count;
    };
    Scratch prepare(const detail::Need& need) {
        cover(need.table_bits);
        if (arena_bytes_ < need.arena_bytes()) {
            release();
            arena_.reset(new unsigned char[need.arena_bytes() + detail::Need::alignment]);
            arena_bytes_ = need.arena_bytes();
        }
        if (arena_ == nullptr) return {{get_global_table(), nullptr, 0, tasks_}, nullptr, 0};
        const auto address = reinterpret_cast<std::uintptr_t>(arena_.get());
        unsigned char* start = arena_.get() + (detail::Need::alignment - address % detail::Need::alignment);
        return {{get_global_table(), start + need.words_bytes(), arena_bytes_ - need.words_bytes(), tasks_},
                reinterpret_cast<std::uint64_t*>(start),
                need.words};
    }

  private:
    struct Plain;

    // One side of run_pair: callbacks must not throw, so a failure is carried over the join.
    template <class Function>
    struct Side {
        Function& function;
        std::uint64_t tasks;
        std::exception_ptr failure;

        static void run(void* self) {
            Side& side = *static_cast<Side*>(self);
            try {
                Context context(side.tasks);
                side.function();
            } catch (...) {
                side.failure = std::current_exception();
            }
        }
    };

    static Context*& newest() {
        thread_local Context* context = nullptr;
        return context;
    }

    std::uint64_t tasks_;
    Context* before_;
    std::unique_ptr<unsigned char[]> arena_;
    std::uint64_t arena_bytes_ = 0;
};

// The Context of a thread that has made none; it is not the newest, so that one made later takes over.
struct Context::Plain {
    Context context{1};
    Plain() { newest() = nullptr; }
};

inline Context& Context::current() {
    if (newest() != nullptr) return *newest();
    thread_local Plain plain;
    return plain.context;
}

// Characters in a buffer of their own.
class Text {
  public:
    explicit Text(std::uint64_t capacity) : buffer_(new char[capacity]) {}
    Text(Text&& other) noexcept : buffer_(std::move(other.buffer_)), text_(std::exchange(other.text_, {})) {}
    Text& operator=(Text&& other) noexcept {
        buffer_ = std::move(other.buffer_);
        text_ = std::exchange(other.text_, {});
        return *this;
    }

    std::string_view view() const { return text_; }
    std::string str() const { return std::string(text_); }

    char* buffer() { return buffer_.get(); }
    void set(const char* first) { text_ = first; }

  private:
    std::unique_ptr<char[]> buffer_;
    std::string_view text_;
};

namespace detail {

// A record of the C interface (BigInt_c64, BigFloat_c64) together with the words it points to.
template <class Record>
class Owner {
  public:
    Owner() { record_.sign = true; }
    explicit Owner(std::uint64_t capacity_words) : Owner() { allocate(capacity_words); }
    Owner(const Owner& other) : record_(other.record_) {
        allocate(other.record_.L);
        if (record_.L != 0) std::memcpy(record_.T, other.record_.T, record_.L * 8);
    }
    Owner(Owner&& other) noexcept
        : record_(std::exchange(other.record_, empty())), buffer_(std::move(other.buffer_)) {}
    Owner& operator=(const Owner& other) { return *this = Owner(other); }
    Owner& operator=(Owner&& other) noexcept {
        record_ = std::exchange(other.record_, empty());
        buffer_ = std::move(other.buffer_);
        return *this;
    }
    ~Owner() = default;

    Record* get() { return &record_; }
    const Record* get() const { return &record_; }
    std::uint64_t words() const { return record_.L; }
    bool is_zero() const { return record_.L == 0; }
    int sign() const { return record_.L == 0 ? 0 : record_.sign ? 1 : -1; }

  protected:
    static Record empty() {
        Record record{};
        record.sign = true;
        return record;
    }
    void allocate(std::uint64_t capacity_words) {
        // The calls that set a word write one unchecked.
        const std::uint64_t n = std::max<std::uint64_t>(1, capacity_words);
        buffer_.reset(new std::uint64_t[n]);
        record_.T = record_.buffer = buffer_.get();
        record_.buffer_size = n;
    }
    // Zero has no sign here.
    void negate() {
        if (record_.L != 0) record_.sign = !record_.sign;
    }
    void normalise_sign() {
        if (record_.L == 0) record_.sign = true;
    }

    Record record_{};
    std::unique_ptr<std::uint64_t[]> buffer_;
};

template <class T>
concept Native = std::integral<T> && !std::same_as<T, bool> && sizeof(T) <= sizeof(std::uint64_t);

template <Native T>
std::uint64_t magnitude(T x) {
    return x < 0 ? ~static_cast<std::uint64_t>(x) + 1 : static_cast<std::uint64_t>(x);
}

}  // namespace detail
}  // namespace kv
