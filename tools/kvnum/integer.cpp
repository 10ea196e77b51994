#include "integer.h"

#include <cstdio>
#include <cstring>

#include "failure.h"

namespace program {
namespace {

bool muted = false;

void write_to_stderr(void*, const char* text, std::uint64_t bytes, char) {
    if (!muted) std::fwrite(text, 1, bytes, stderr);
}

void succeed(ExceptionWrapper* error) {
    if (error == nullptr) return;
    const std::string text = error->length != 0 ? error->message : "the operation failed; see above";
    error->destroy(error);
    throw LibraryError(text);
}

// Asks a question whose error is an answer: nothing is printed.
template <class Query>
bool succeeds(Query&& query) {
    muted = true;
    ExceptionWrapper* error = query();
    muted = false;
    if (error == nullptr) return true;
    error->destroy(error);
    return false;
}

// Table and scratch for products.
class Context {
  public:
    Context(std::uint64_t product_words, std::uint64_t scratch_bytes, unsigned threads)
        : scratch_(new unsigned char[scratch_bytes + 64]) {
        succeed(internal_ensure_global_table(64 * product_words));
        const auto start = reinterpret_cast<std::uintptr_t>(scratch_.get());
        params_ = {get_global_table(), scratch_.get() + (64 - start % 64), scratch_bytes, threads};
    }
    const BasicParameters* parameters() const { return &params_; }

  private:
    std::unique_ptr<unsigned char[]> scratch_;
    BasicParameters params_;
};

// The direct product serves lengths that no fast algorithm covers; factors are not zero.
Integer direct_product(const Integer& a, const Integer& b) {
    const BigInt_c64 &x = *a.get(), &y = *b.get();
    Integer out(x.L + y.L);
    mulB_c64(out.get()->buffer, x.T, x.L, y.T, y.L);
    succeed(BigInt_c64_set_uWs(out.get(), out.get()->buffer, x.L + y.L));
    out.get()->sign = x.sign == y.sign;
    return out;
}

}  // namespace

Integer::Integer(std::uint64_t capacity_words)
    : buffer_(new std::uint64_t[capacity_words + 1]),
      record_{buffer_.get(), 0, true, buffer_.get(), capacity_words} {}

Integer integer_from_hex(std::string_view text) {
    std::uint64_t words;
    succeed(BigInt_c64_set_string_hex_sizes(&words, text.size()));
    Integer out(words);
    succeed(BigInt_c64_set_string_hex(out.get(), text.data(), text.size()));
    return out;
}

Text hex_from_integer(const Integer& x) {
    std::uint64_t bytes;
    succeed(BigInt_c64_to_string_hex_sizes(&bytes, x.words()));
    Text out{std::unique_ptr<char[]>(new char[bytes]), {}};
    char* first;
    succeed(BigInt_c64_to_string_hex(&first, out.buffer.get(), x.get()));
    out.text = {first, std::strlen(first)};
    return out;
}

Integer product(const Integer& a, const Integer& b, unsigned threads) {
    const std::uint64_t words = a.words() + b.words();
    std::uint64_t bytes;
    if (!succeeds([&] { return BigInt_c64_mul_Psize(&bytes, a.words(), b.words(), threads); }))
        return direct_product(a, b);
    const Context context(words, bytes, threads);
    Integer out(words);
    succeed(BigInt_c64_set_mul(out.get(), context.parameters(), a.get(), b.get()));
    return out;
}

Integer square(const Integer& a, unsigned threads) {
    std::uint64_t bytes;
    if (!succeeds([&] { return BigInt_c64_mul_Psize(&bytes, a.words(), a.words(), threads); }))
        return direct_product(a, a);
    const Context context(2 * a.words(), bytes, threads);
    Integer out(2 * a.words());
    succeed(BigInt_c64_set_sqr(out.get(), context.parameters(), a.get()));
    return out;
}

void print_library_messages_to_stderr() { SetConsoleSink(write_to_stderr, nullptr); }

}  // namespace program
