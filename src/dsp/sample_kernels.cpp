#include "dsp/sample_kernels.h"

#include <algorithm>

#include "dsp/kernel_table.h"

namespace tervo::dsp {
namespace {

#if defined(__x86_64__)
constexpr const KernelTable* tables[] = {&scalarKernels, &sse2Kernels, &avx2Kernels};

InstructionSet bestInstructionSet() noexcept {
  const bool hasAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");  // as they are compiled
  return hasAvx2 ? InstructionSet::avx2 : InstructionSet::sse2;
}
#else
constexpr const KernelTable* tables[] = {&scalarKernels, &scalarKernels, &scalarKernels};

InstructionSet bestInstructionSet() noexcept {
  return InstructionSet::scalar;
}
#endif

const KernelTable& tableOf(InstructionSet set) noexcept {
  return *tables[static_cast<std::size_t>(set)];
}

const KernelTable& bestTable() noexcept {
  static const KernelTable& table = tableOf(bestInstructionSet());
  return table;
}

const SampleKernels& row(const KernelTable& table, SampleWord word, ByteOrder order) noexcept {
  return table.samples[static_cast<std::size_t>(word)][static_cast<std::size_t>(order)];
}

}  // namespace

std::size_t bytesOf(SampleWord word) noexcept {
  return sampleWordBytes(word);
}

std::size_t decodeSamples(SampleWord word, ByteOrder order, std::span<const std::byte> in,
                          std::span<float> out) noexcept {
  const std::size_t samples = std::min(in.size() / bytesOf(word), out.size());
  row(bestTable(), word, order).decode(in.data(), out.data(), samples);
  return samples;
}

std::size_t encodeSamples(SampleWord word, ByteOrder order, std::span<const float> in,
                          std::span<std::byte> out) noexcept {
  const std::size_t samples = std::min(in.size(), out.size() / bytesOf(word));
  row(bestTable(), word, order).encode(in.data(), out.data(), samples);
  return samples;
}

bool isAvailable(InstructionSet set) noexcept {
  return set <= bestInstructionSet();
}

const SampleKernels& sampleKernels(InstructionSet set, SampleWord word, ByteOrder order) noexcept {
  return row(tableOf(set), word, order);
}

const ChannelKernels& channelKernels(InstructionSet set) noexcept {
  return tableOf(set).channels;
}
const ChannelKernels& channelKernels() noexcept {
  return bestTable().channels;
}

}  // namespace tervo::dsp
