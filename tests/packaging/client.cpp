// The C++ example of README.md.
#include <cstdio>
#include <kvnum/kvnum.hpp>

int main() {
    kv::Context context(2);
    const kv::Integer x = kv::pow(kv::Integer(2), 200) - 1;
    std::puts(x.to_hex().str().c_str());
}
