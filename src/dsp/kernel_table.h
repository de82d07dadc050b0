#pragma once
// What each instruction set contributes. Plain arrays and pointers on purpose: an inline function of a library header
// that is compiled for AVX2 could be the copy that the linker keeps for everybody.

#include <utility>

#include "dsp/sample_kernels.h"

namespace tervo::dsp {

struct KernelTable {
  SampleKernels samples[sampleWordCount][2];  // by word and byte order
  ChannelKernels channels;
};

extern const KernelTable scalarKernels;
extern const KernelTable sse2Kernels;
extern const KernelTable avx2Kernels;

constexpr std::size_t sampleWordBytes(SampleWord word) {
  constexpr std::size_t bytes[sampleWordCount] = {1, 1, 2, 2, 3, 3, 4, 4, 4, 8, 4};
  return bytes[static_cast<std::size_t>(word)];
}
constexpr bool isUnsigned(SampleWord word) {
  return word == SampleWord::u8 || word == SampleWord::u16 || word == SampleWord::u24 || word == SampleWord::u32;
}
constexpr bool isFloatingPoint(SampleWord word) {
  return word == SampleWord::f32 || word == SampleWord::f64;
}

/// The table of a class with static functions decode<word, order>, encode<word, order>, mixToMono and interleave.
template <typename Kernels>
constexpr KernelTable makeKernelTable() {
  KernelTable table{};
  [&]<std::size_t... i>(std::index_sequence<i...>) {
    ((table.samples[i / 2][i % 2] =
          {Kernels::template decode<static_cast<SampleWord>(i / 2), static_cast<ByteOrder>(i % 2)>,
           Kernels::template encode<static_cast<SampleWord>(i / 2), static_cast<ByteOrder>(i % 2)>}),
     ...);
  }
  (std::make_index_sequence<2 * sampleWordCount>());
  table.channels = {Kernels::mixToMono, Kernels::interleave};
  return table;
}

}  // namespace tervo::dsp
