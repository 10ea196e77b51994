#pragma once
// The word kernels in use, picked by the active level. One load from a constant table: cheap enough for products of
// a few words.

#include "kernels/cpu.h"
#include "kernels/word_table.h"

namespace kvt::kernels {

inline constexpr const WordKernels* word_kernel_tables[] = {&word_kernels_scalar, &word_kernels_adx};

inline const WordKernels& word_kernels(WordLevel level) noexcept {
    return *word_kernel_tables[static_cast<unsigned>(level)];
}

inline const WordKernels& active_word_kernels() noexcept { return word_kernels(active_levels().word); }

}  // namespace kvt::kernels
