// Sample kernels against what the machine can do. Both sides of a ratio are measured in the same run, in turns, and the
// fastest turn of each counts, so that other load on the machine does not decide.
//
//   copy_ratio     time of memcpy moving as many bytes (read + written) / time of the kernel; buffers beyond the cache
//   scalar_ratio   time of the scalar loop / time of the kernel; buffers within the second-level cache
//   ns_per_sample  of the kernel

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "dsp/channel_kernels.h"
#include "dsp/sample_kernels.h"

namespace {

using namespace tervo;
using namespace tervo::dsp;

constexpr std::size_t largeSamples = std::size_t{1} << 25;  // 128 MiB of floats
constexpr std::size_t smallSamples = std::size_t{1} << 14;  // 64 KiB of floats

/// The fastest turn, in seconds.
class Stopwatch {
 public:
  template <typename Work>
  void time(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    benchmark::ClobberMemory();
    best_ = std::min(best_, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  double best() const { return best_; }

 private:
  double best_ = std::numeric_limits<double>::max();
};

enum class Direction { decode, encode };

struct Kernel {
  SampleWord word;
  ByteOrder order;
  Direction direction;
  std::string name;
};

std::vector<std::byte>& storedBuffer() {
  static std::vector<std::byte> buffer(largeSamples * 8, std::byte{1});
  return buffer;
}
std::vector<float>& floatBuffer() {
  static std::vector<float> buffer(largeSamples, 0.25f);
  return buffer;
}
/// Source and target of the copies: apart, as those of the kernels are.
std::vector<std::byte>& copyBuffer() {
  static std::vector<std::byte> buffer(largeSamples * 12, std::byte{2});
  return buffer;
}

void convert(const Kernel& kernel, InstructionSet set, std::size_t samples) {
  const SampleKernels& kernels = sampleKernels(set, kernel.word, kernel.order);
  if (kernel.direction == Direction::decode) {
    kernels.decode(storedBuffer().data(), floatBuffer().data(), samples);
  } else {
    kernels.encode(floatBuffer().data(), storedBuffer().data(), samples);
  }
}

InstructionSet bestSet() {
  return isAvailable(InstructionSet::avx2) ? InstructionSet::avx2 : InstructionSet::sse2;
}

void againstCopy(benchmark::State& state, const Kernel& kernel) {
  const std::size_t bytes = largeSamples * (bytesOf(kernel.word) + sizeof(float)) / 2;
  auto& buffer = copyBuffer();
  Stopwatch copy, own;
  for (auto _ : state) {
    copy.time([&] { std::memcpy(buffer.data() + buffer.size() / 2, buffer.data(), bytes); });
    own.time([&] { convert(kernel, bestSet(), largeSamples); });
  }
  state.counters["copy_ratio"] = copy.best() / own.best();
  state.counters["ns_per_sample"] = own.best() * 1e9 / static_cast<double>(largeSamples);
}

void againstScalar(benchmark::State& state, const Kernel& kernel, InstructionSet set) {
  constexpr int repeats = 100;
  Stopwatch scalar, own;
  for (auto _ : state) {
    scalar.time([&] {
      for (int i = 0; i < repeats; ++i) convert(kernel, InstructionSet::scalar, smallSamples);
    });
    own.time([&] {
      for (int i = 0; i < repeats; ++i) convert(kernel, set, smallSamples);
    });
  }
  state.counters["scalar_ratio"] = scalar.best() / own.best();
  state.counters["ns_per_sample"] = own.best() * 1e9 / static_cast<double>(smallSamples * repeats);
}

void channelsAgainstScalar(benchmark::State& state) {
  std::vector<float> stereo(2 * smallSamples, 0.5f), left(smallSamples, 0.25f), right(smallSamples, 0.125f);
  constexpr int repeats = 100;
  Stopwatch scalarMix, mix, scalarJoin, join;
  const auto run = [&](const ChannelKernels& kernels, Stopwatch& mixWatch, Stopwatch& joinWatch) {
    mixWatch.time([&] {
      for (int i = 0; i < repeats; ++i) kernels.mixToMono(stereo.data(), left.data(), smallSamples);
    });
    joinWatch.time([&] {
      for (int i = 0; i < repeats; ++i) kernels.interleave(left.data(), right.data(), stereo.data(), smallSamples);
    });
  };
  for (auto _ : state) {
    run(channelKernels(InstructionSet::scalar), scalarMix, scalarJoin);
    run(channelKernels(), mix, join);
  }
  state.counters["mix_scalar_ratio"] = scalarMix.best() / mix.best();
  state.counters["join_scalar_ratio"] = scalarJoin.best() / join.best();
}

int registerAll() {
  const struct {
    SampleWord word;
    const char* name;
  } words[] = {{SampleWord::u8, "u8"},   {SampleWord::s16, "s16"}, {SampleWord::s24, "s24"},
               {SampleWord::s32, "s32"}, {SampleWord::f32, "f32"}, {SampleWord::f64, "f64"}};
  for (const auto& word : words) {
    for (auto order : {ByteOrder::little, ByteOrder::big}) {
      if (bytesOf(word.word) == 1 && order == ByteOrder::big) continue;
      for (auto direction : {Direction::decode, Direction::encode}) {
        const std::string name = std::string(direction == Direction::decode ? "decode/" : "encode/") + word.name +
                                 (order == ByteOrder::big ? "be" : "le");
        const Kernel kernel{word.word, order, direction, name};
        benchmark::RegisterBenchmark((name + "/large").c_str(), againstCopy, kernel)->Iterations(12);
        for (auto set : {InstructionSet::sse2, InstructionSet::avx2})
          if (isAvailable(set))
            benchmark::RegisterBenchmark(
                (name + (set == InstructionSet::avx2 ? "/cached_avx2" : "/cached_sse2")).c_str(), againstScalar, kernel,
                set)
                ->Iterations(8);
      }
    }
  }
  benchmark::RegisterBenchmark("channels/cached", channelsAgainstScalar)->Iterations(8);
  return 0;
}

const int registered = registerAll();

}  // namespace
