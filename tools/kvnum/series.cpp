#include "series.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <tuple>

#include "failure.h"

namespace program {
namespace {

// A range of terms as integers: P and Q are the products of its p(k) and q(k), T / Q its sum divided by what stands
// before it.
struct Part {
    kv::Real P, Q, T;
};

constexpr std::uint64_t leaf_terms = 32;
constexpr std::uint64_t least_parallel_terms = 8 * leaf_terms;
constexpr std::uint64_t most_leaf_words = 2048;

// The words of p(k), q(k) or a(k): factors gathered as long as they fit in one.
class Words {
  public:
    void multiply(std::uint64_t m) {
        std::uint64_t low = words_[n_ - 1];
        if (std::bit_width(low) + std::bit_width(m) <= 64)
            words_[n_ - 1] = low * m;
        else
            words_[n_++] = m;
    }
    void start() {
        n_ = 1;
        words_[0] = 1;
    }
    const std::uint64_t* begin() const { return words_; }
    const std::uint64_t* end() const { return words_ + n_; }
    static constexpr unsigned most = 40;

  private:
    std::uint64_t words_[most];
    unsigned n_ = 0;
};

void evaluate(const Product& product, std::uint64_t k, Words& out) {
    out.start();
    out.multiply(product.constant);
    for (const Factor& factor : product.factors) {
        const std::uint64_t value = factor.multiplier * k + static_cast<std::uint64_t>(factor.addend);
        for (unsigned i = 0; i < factor.power; ++i) out.multiply(value);
    }
}

// A small integer on the stack.
class Small {
  public:
    Small() { set(1); }
    void set(std::uint64_t x) {
        record_ = {buffer_, 0, true, buffer_, most_leaf_words};
        kv::detail::check(BigInt_c64_set_uL(&record_, x));
    }
    void multiply(const Words& words) {
        for (std::uint64_t m : words)
            if (m != 1) kv::detail::check(BigInt_c64_mul_uW(&record_, m));
    }
    void multiply_add(std::uint64_t m, std::uint64_t c) {
        const std::uint64_t top = mul_ir_c64(buffer_, record_.L, m, c);
        if (top != 0) buffer_[record_.L++] = top;
    }
    BigInt_c64& get() { return record_; }
    kv::Real real(std::uint64_t precision) const {
        return kv::Real(kv::Integer::from_words(record_.T, record_.L, !record_.sign), precision);
    }

  private:
    BigInt_c64 record_;
    std::uint64_t buffer_[most_leaf_words];
};

class Splitting {
  public:
    Splitting(const Series& series, std::uint64_t precision, std::atomic<std::uint64_t>& done)
        : series_(series),
          precision_(precision),
          done_(done),
          p_is_a_sign_(series.p.constant == 1 && series.p.factors.empty()) {}

    // Terms begin .. end - 1; P is left out where nothing stands behind the range.
    Part run(std::uint64_t begin, std::uint64_t end, bool need_p) {
        if (end - begin <= leaf_terms) return leaf(begin, end);
        const std::uint64_t middle = begin + (end - begin) / 2;
        Part left, right;
        kv::Context& context = kv::Context::current();
        if (end - begin < least_parallel_terms) {
            left = run(begin, middle, true);
            right = run(middle, end, need_p);
        } else {
            context.run_pair([&] { left = run(begin, middle, true); }, [&] { right = run(middle, end, need_p); });
        }
        Part out = combine(std::move(left), std::move(right), need_p);
        done_.fetch_add(end - begin, std::memory_order_relaxed);
        return out;
    }

  private:
    // Term by term: T = T q(k) + a(k) P, with P and Q including p(k) and q(k).
    Part leaf(std::uint64_t begin, std::uint64_t end) {
        Small P, Q, T, a, addend;
        T.set(0);
        Words p, q;
        for (std::uint64_t k = begin; k < end; ++k) {
            if (k != 0) {
                evaluate(series_.p, k, p);
                evaluate(series_.q, k, q);
                P.multiply(p);
                Q.multiply(q);
                T.multiply(q);
                if (series_.p.negative) P.get().sign = !P.get().sign;
                if (series_.q.negative) {
                    Q.get().sign = !Q.get().sign;
                    T.get().sign = !T.get().sign;
                }
            }
            a.set(series_.a.back());
            for (std::size_t i = series_.a.size() - 1; i-- != 0;) a.multiply_add(k, series_.a[i]);
            BigInt_c64 &x = P.get(), &y = a.get(), &sum = addend.get();
            if (y.L != 0) {
                mulB_c64(sum.buffer, x.T, x.L, y.T, y.L);
                kv::detail::check(BigInt_c64_set_uWs(&sum, sum.buffer, x.L + y.L));
                sum.sign = x.sign;
                kv::detail::check(BigInt_c64_set_add(&T.get(), &T.get(), &sum));
            }
        }
        return {P.real(precision_), Q.real(precision_), T.real(precision_)};
    }

    // T = T1 Q2 + P1 T2, Q = Q1 Q2, P = P1 P2: Q2 and P1 are factors of two products each.
    Part combine(Part left, Part right, bool need_p) {
        Part out;
        std::tie(out.T, out.Q) = products_with(left.T, right.Q, left.Q);
        left.T = left.Q = right.Q = kv::Real();
        out.Q.drop_zero_words();
        if (p_is_a_sign_) {
            out.P = left.P.sign() < 0 ? -std::move(right.P) : std::move(right.P);
            out.T += left.P.sign() < 0 ? -std::move(right.T) : std::move(right.T);
            return out;
        }
        kv::Real later;
        if (need_p)
            std::tie(later, out.P) = products_with(right.T, left.P, right.P);
        else
            later = left.P * right.T;
        left.P = right.P = right.T = kv::Real();
        out.T += later;
        return out;
    }

    const Series& series_;
    const std::uint64_t precision_;
    std::atomic<std::uint64_t>& done_;
    const bool p_is_a_sign_;
};

// log10 of the product over k = 1 .. n.
double log10_of(const Product& product, double n) {
    double out = n * std::log10(static_cast<double>(product.constant));
    for (const Factor& factor : product.factors) {
        const double m = static_cast<double>(factor.multiplier), shift = static_cast<double>(factor.addend) / m;
        out += factor.power *
               (n * std::log10(m) + (std::lgamma(n + 1 + shift) - std::lgamma(1 + shift)) / std::log(10.0));
    }
    return out;
}

// Decimal digits that the n-th term is below 1.
double digits_after(const Series& series, double n) {
    double a = 0;
    for (std::size_t i = series.a.size(); i-- != 0;) a = a * n + static_cast<double>(series.a[i]);
    return log10_of(series.q, n) - log10_of(series.p, n) - std::log10(std::max(a, 1.0));
}

// What a Splitting holds at most while it sums a range; follows its steps with the sizes of the numbers alone.
class Forecast {
  public:
    Forecast(const Series& series, std::uint64_t precision) : series_(series), precision_(precision) {}

    std::uint64_t bytes(double begin, double end, std::uint64_t tasks) const {
        if (end - begin <= leaf_terms) return 0;
        const double middle = begin + std::floor((end - begin) / 2);
        const Sizes left = sizes(begin, middle), right = sizes(middle, end), whole = sizes(begin, end);
        // The right half's terms are the longer ones.
        const bool parallel = tasks > 1 && end - begin >= least_parallel_terms;
        const std::uint64_t halves = parallel
                                         ? bytes(begin, middle, tasks - tasks / 2) + bytes(middle, end, tasks / 2)
                                         : left.total() + bytes(middle, end, tasks);
        // First T1 Q2 and Q1 Q2, then T2 P1 and P2 P1, then their sum.
        const std::uint64_t first = left.total() + right.total() + whole.T + whole.Q + arena(left.Q, right.Q, tasks);
        const std::uint64_t second = left.P + right.P + right.T + 2 * whole.T + whole.Q + whole.P +
                                     arena(left.P, std::max(right.P, right.T), tasks);
        const std::uint64_t third = 3 * whole.T + whole.Q + whole.P + arena(left.Q, right.Q, tasks);
        return std::max({halves, first, second, third});
    }

  private:
    struct Sizes {  // bytes
        std::uint64_t P, Q, T;
        std::uint64_t total() const { return P + Q + T; }
    };
    Sizes sizes(double begin, double end) const {
        auto bits = [&](const Product& product) {
            return (log10_of(product, end) - log10_of(product, begin)) * std::log2(10.0);
        };
        double a = 1;
        for (std::size_t i = series_.a.size(); i-- != 0;) a = a * end + static_cast<double>(series_.a[i]);
        const double p = bits(series_.p), q = bits(series_.q);
        return {number(p), number(q), number(std::max(p, q) + std::log2(a) + std::log2(end))};
    }
    std::uint64_t number(double bits) const {
        return 8 * (std::min(static_cast<std::uint64_t>(bits / 64) + 2, precision_ + 2) + 2);
    }
    static std::uint64_t arena(std::uint64_t a, std::uint64_t b, std::uint64_t tasks) {
        std::uint64_t bytes;
        kv::detail::check(mul_iPsize_c64(&bytes, (a + b) / 8, tasks));
        return bytes;
    }

    const Series& series_;
    const std::uint64_t precision_;
};

}  // namespace

std::uint64_t sum_bytes(const Series& series, std::uint64_t terms, std::uint64_t precision, std::uint64_t tasks) {
    return Forecast(series, precision).bytes(0, static_cast<double>(terms), tasks);
}

namespace {

// Terms may fall first and rise later: all of them are looked at, a 64th apart from some place on.
constexpr double most_terms = 1e17;
double next_looked_at(double n) { return n + std::max(1.0, std::floor(n / 64)); }

}  // namespace

std::uint64_t terms_needed(const Series& series, double digits) {
    // Room for the rest of the series: a geometric tail of terms that shrink slowly.
    const double goal = digits + 20;
    double low = 16, high = 16;
    for (double n = 16; n < most_terms; n = next_looked_at(n)) {
        if (digits_after(series, n) >= goal) continue;
        low = n;
        high = next_looked_at(n);
    }
    if (high >= most_terms) throw UserError("the series does not converge fast enough");
    while (high - low > 0.5) {
        const double middle = (low + high) / 2;
        (digits_after(series, middle) < goal ? low : high) = middle;
    }
    return static_cast<std::uint64_t>(high) + 2;
}

double integer_digits(const Series& series) {
    double most = 0, largest = 0, before = 0, low = 0, high = 1;
    for (double n = 0; n < most_terms; n = next_looked_at(n)) {
        const double digits = -digits_after(series, n);
        if (digits > most) {
            most = digits;
            largest = n;
            low = before;
            high = next_looked_at(n);
        }
        before = n;
    }
    // The largest one lies beside the one that was met.
    while (high - low > 1) {
        const double left = low + (high - low) / 3, right = high - (high - low) / 3;
        if (digits_after(series, left) < digits_after(series, right))
            high = right;
        else
            low = left;
        largest = (low + high) / 2;
    }
    return std::max(most, -digits_after(series, largest)) + 2;
}

std::uint64_t work_units(std::uint64_t terms) {
    std::uint64_t levels = 0;
    for (std::uint64_t n = terms; n > leaf_terms; n = (n + 1) / 2) ++levels;
    return terms * levels;
}

Fraction sum_series(const Series& series, std::uint64_t terms, std::uint64_t precision,
                    std::atomic<std::uint64_t>& done) {
    // Several threads may compute: the table covers the longest product beforehand.
    kv::Context::cover(64 * (2 * precision + 32));
    Part whole = Splitting(series, precision, done).run(0, terms, false);
    return {std::move(whole.T), std::move(whole.Q)};
}

}  // namespace program
