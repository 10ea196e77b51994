#include "multiply/twiddle_table.h"

#include <algorithm>

#include "multiply/fft/fft_component.h"
#include "multiply/guarded_block.h"
#include "multiply/ntt32/ntt_components.h"
#include "multiply/twiddle_builder.h"

namespace kvt::multiply {
namespace {

constinit GlobalTwiddleTable the_table{};

// Added to every request, so that slightly larger ones need no rebuild.
constexpr u64 slack_bits = 1024;
constexpr u64 covering(u64 bits) { return std::min(bits, ~u64{0} - 1025) + slack_bits; }

// The largest product that each transform may be used for: the multiplication thresholds of a word width, whose unit
// is the multiplier. Direct products have no part in the table.
enum class Transform { fft, ntt32, ntt64 };
struct RegistryEntry {
    u64 limit_words;
    Transform transform;
};
struct Registry {
    u64 multiplier;
    RegistryEntry entries[3];
};
constexpr Registry registries[] = {
    {32,
     {{1'572'864 / 32, Transform::fft},
      {3'221'225'472 / 32, Transform::ntt32},
      {4'035'225'266'123'964'416 / 32, Transform::ntt64}}},
    {64,
     {{1'572'864 / 64, Transform::fft},
      {3'221'225'472 / 64, Transform::ntt32},
      {4'035'225'266'123'964'416 / 64, Transform::ntt64}}},
};

}  // namespace

void TableBuilder::configure(u64 bits) {
    covered_ = covering(bits);
    const auto configure_transform = [&](Transform transform, u64 length) {
        switch (transform) {
            case Transform::fft: fft.configure(length); break;
            case Transform::ntt32: configure_ntt32(ntt1, ntt2, length); break;
            case Transform::ntt64: configure_ntt64(ntt2, length); break;
        }
    };
    for (const Registry& registry : registries) {
        for (const RegistryEntry& entry : registry.entries) {
            const u64 limit = entry.limit_words * registry.multiplier;
            configure_transform(entry.transform, std::min(covered_, limit));
            if (covered_ <= limit) break;
        }
    }
}

void TableBuilder::build_into(GlobalTwiddleTable& table) {
    const u64 bytes = fft.bytes() + ntt1.bytes() + ntt2.bytes();
    u8* block = bytes == 0 ? nullptr : static_cast<u8*>(allocate_guarded(bytes));

    void* sections[3] = {};
    u8* at = block;
    TwiddleComponent* const components[3] = {&fft, &ntt1, &ntt2};
    for (u64 i = 0; i < 3; ++i) {
        if (components[i]->bytes() != 0) sections[i] = at;
        at = components[i]->build(at);
    }

    // The new block is complete: exchange, then let the old one go.
    void* old = table.block;
    table.block = block;
    std::copy_n(sections, 3, table.section);
    std::copy_n(words_, 64, table.descriptor);
    table.covered = covered_;
    release_guarded(old);
}

GlobalTwiddleTable* global_table() noexcept { return &the_table; }

void ensure_global_table(u64 bits) {
    if (covering(bits) > the_table.covered) make_table(the_table, bits);
}

void make_table(GlobalTwiddleTable& table, u64 bits) {
    TableBuilder builder;
    builder.configure(bits);
    builder.build_into(table);
}

void free_table(GlobalTwiddleTable& table) {
    release_guarded(table.block);
    table = {};
}

}  // namespace kvt::multiply
