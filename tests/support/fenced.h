#pragma once
// Arrays that end exactly at an unreadable page: reading or writing one byte past the end faults at once.

#include <cstddef>
#include <cstdint>
#include <utility>

namespace kvt::test {

// A block of bytes whose last byte is the last readable one. The start takes every alignment as the size varies.
class FencedBytes {
  public:
    explicit FencedBytes(std::size_t bytes);
    ~FencedBytes();
    FencedBytes(FencedBytes&& other) noexcept
        : mapping_(std::exchange(other.mapping_, nullptr)),
          mapping_bytes_(other.mapping_bytes_),
          data_(other.data_),
          bytes_(other.bytes_) {}
    FencedBytes& operator=(FencedBytes&&) = delete;

    unsigned char* data() const { return data_; }
    std::size_t size() const { return bytes_; }

  private:
    void* mapping_;
    std::size_t mapping_bytes_;
    unsigned char* data_;
    std::size_t bytes_;
};

template <class W>
class FencedWords {
  public:
    explicit FencedWords(std::size_t n) : bytes_(n * sizeof(W)), n_(n) {}
    W* data() const { return reinterpret_cast<W*>(bytes_.data()); }
    std::size_t size() const { return n_; }
    W& operator[](std::size_t i) const { return data()[i]; }
    W* begin() const { return data(); }
    W* end() const { return data() + n_; }
    operator W*() const { return data(); }

  private:
    FencedBytes bytes_;
    std::size_t n_;
};

}  // namespace kvt::test
