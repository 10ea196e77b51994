// Exports of the twiddle table.

#include "frame/export_guard.h"
#include "multiply/twiddle_table.h"

using namespace kvt;

extern "C" {

KVNUM_EXPORT GlobalTwiddleTable* get_global_table() noexcept { return multiply::global_table(); }

KVNUM_EXPORT u64 get_global_table_size() noexcept { return multiply::global_table()->covered; }

KVNUM_EXPORT ExceptionWrapper* internal_ensure_global_table(u64 bits) noexcept {
    return guarded([&] { multiply::ensure_global_table(bits); });
}

KVNUM_EXPORT ExceptionWrapper* internal_make_table(GlobalTwiddleTable* table, u64 bits) noexcept {
    return guarded([&] { multiply::make_table(*table, bits); });
}

KVNUM_EXPORT void internal_free_table(GlobalTwiddleTable* table) noexcept { multiply::free_table(*table); }

}  // extern "C"
