// The synthesizer: the voice kernel alone, whole voices, and the effects. What counts are nanoseconds of one voice for
// one frame, and how many times faster than it sounds everything is.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <thread>
#include <vector>

#include "audio/engine/engine.h"
#include "core/collection.h"

namespace {

using namespace tervo;
using namespace tervo::audio;

constexpr float rate = 48000;
constexpr int bufferFrames = 480;

std::vector<float> tone(std::size_t frames) {
  std::vector<float> result(frames);
  for (std::size_t i = 0; i < frames; ++i) result[i] = std::sin(static_cast<float>(i) * 0.05f);
  return result;
}

/// Eight voices with a filter, two sends and moving gains.
void voiceKernel(benchmark::State& state) {
  const RenderLanes kernel = availableKernels().kernels[state.range(0)];
  if (!kernel) return state.SkipWithError("not on this processor");
  const std::vector<float> frames = tone(4096);
  auto bundle = std::make_unique<LaneBundle>();
  auto sums = std::make_unique<LaneSums>();
  std::array<FilterStage, 2> stages;
  designFilter(FilterType::lowPass12, 2000, 6, rate, stages);
  bundle->stages = 1;
  bundle->busesUsed = busCount;
  for (std::size_t i = 0; i < lanes; ++i) {
    bundle->window[i] = frames.data() + 500 * i;
    bundle->increment[i] = static_cast<uint32_t>((0.5 + 0.2 * static_cast<double>(i)) * static_cast<double>(fixedOne));
    for (auto& gain : bundle->gain) gain[i] = 0.1f;
    for (auto& step : bundle->gainStep) step[i] = 1e-4f;
    LaneStage& stage = bundle->stage[0];
    stage.a1[i] = stages[0].a1, stage.a2[i] = stages[0].a2, stage.a3[i] = stages[0].a3;
    stage.m0[i] = stages[0].m0, stage.m1[i] = stages[0].m1, stage.m2[i] = stages[0].m2;
  }
  for (auto _ : state) {
    *sums = {};
    kernel(*bundle, *sums);
    benchmark::DoNotOptimize(*sums);
  }
  state.counters["ns/voice-frame"] =
      benchmark::Counter(static_cast<double>(lanes) * blockFrames * static_cast<double>(state.iterations()) * 1e-9,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(voiceKernel)->Arg(0)->Arg(1)->Arg(2);

/// One region that uses filter, envelopes and two LFOs, as many voices as asked for, loops of ordinary length.
class Choir {
 public:
  Choir(int voices, int workers, bool hasEffects, float amplitude = 1) {
    auto waveform = std::make_unique<Waveform>();
    waveform->sampleRate = 44100;
    std::vector<float> frames = tone(20000);
    for (float& x : frames) x *= amplitude;
    waveform->samples = makeResident(std::move(frames), 1);
    waveform->markers.push_back({.type = MarkerType::loop, .start = 5000, .end = 20000, .loopType = LoopType::forward});
    auto region = std::make_unique<Region>();
    region->articulation.set(ParameterId::filterType, 2);
    region->articulation.set(ParameterId::filterCutoff, 3000);
    region->articulation.set(ParameterId::pLfoToPitch, 0.2f);
    region->articulation.set(ParameterId::fEnvToCutoff, 12);
    region->articulation.set(ParameterId::send1Level, 0.3f);
    region->articulation.set(ParameterId::send3Level, 0.2f);
    region->waveform = collection_.add(std::move(waveform)).id();
    auto instrument = std::make_unique<Instrument>();
    instrument->add(std::make_unique<Layer>()).add(std::move(region));
    Engine::Setup setup;
    setup.voices = voices;
    setup.workers = workers;
    setup.hasEffects = hasEffects;
    engine_ = Engine::create(setup);
    engine_->loadInstrument(*instrument, Loading::stopped);
    for (int i = 0; i < voices; ++i)
      engine_->execute({static_cast<uint8_t>(0x90 | (i / 64 % 16)), static_cast<uint8_t>(30 + i % 64), 100});
  }
  /// A buffer of 10 ms.
  void render() { engine_->render(buffer_); }

 private:
  Collection collection_;
  std::unique_ptr<Engine> engine_;
  std::vector<float> buffer_ = std::vector<float>(2 * bufferFrames);
};

void voices(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  Choir choir(count, static_cast<int>(state.range(1)), state.range(2) != 0);
  for (auto _ : state) choir.render();
  const double frames = bufferFrames * static_cast<double>(state.iterations());
  state.counters["ns/voice-frame"] =
      benchmark::Counter(frames * count * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["core"] =  // share of one that playing takes
      benchmark::Counter(frames / rate, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(voices)
    ->Args({64, 1, 0})
    ->Args({256, 1, 0})
    ->Args({130, 1, 1})
    ->Args({256, 1, 1})
    ->MeasureProcessCPUTime()
    ->UseRealTime();

struct Cost {
  double wall, processor;  ///< ns
};

template <typename Work>
Cost costOf(const Work& work) {
  const auto processor = [] { return 1e9 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC; };
  const double used = processor();
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double, std::nano> wall = std::chrono::steady_clock::now() - start;
  std::this_thread::sleep_for(std::chrono::milliseconds(1));  // a thread's time counts once it has gone to sleep
  return {wall.count(), processor() - used};
}

/// What voices and effects take where everything is too small for a normal float, of what they take at full level: 1
/// where denormals cost nothing. In turns, and the middle of many.
void denormals(benchmark::State& state) {
  constexpr int buffers = 14, count = 64;
  Choir loud(count, 1, true), tiny(count, 1, true, 1e-39f);
  std::vector<double> ratios;
  for (auto _ : state) {
    const auto timeOf = [](Choir& choir) {
      const auto start = std::clock();
      for (int i = 0; i < buffers; ++i) choir.render();
      return static_cast<double>(std::clock() - start);
    };
    const double usual = timeOf(loud);
    ratios.push_back(timeOf(tiny) / std::max(usual, 1.0));
  }
  const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
  std::nth_element(ratios.begin(), middle, ratios.end());
  state.counters["tiny/loud"] = *middle;
}
BENCHMARK(denormals)->MeasureProcessCPUTime()->Iterations(40);

/// What two workers take of what one takes, in turns of some milliseconds and the middle of many turns, because other
/// guests of the host come and go. `limit`: two threads that never wait for each other, with half of the voices each.
void twoWorkers(benchmark::State& state) {
  constexpr int buffers = 27;
  const auto count = static_cast<int>(state.range(0));
  Choir alone(count, 1, true), shared(count, 2, true), first(count / 2, 1, false), second(count / 2, 1, false);
  const auto renderAll = [](Choir& choir) {
    for (int i = 0; i < buffers; ++i) choir.render();
  };
  std::vector<double> wall, processor, limitWall, limitProcessor;
  const auto middleOf = [](std::vector<double>& values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
  };
  for (auto _ : state) {
    const Cost one = costOf([&] { renderAll(alone); });
    const Cost two = costOf([&] { renderAll(shared); });
    const Cost both = costOf([&] { renderAll(first), renderAll(second); });
    const Cost apart = costOf([&] {
      std::jthread other([&] { renderAll(second); });
      renderAll(first);
    });
    wall.push_back(two.wall / one.wall);
    processor.push_back(two.processor / one.processor);
    limitWall.push_back(apart.wall / both.wall);
    limitProcessor.push_back(apart.processor / both.processor);
  }
  state.counters["wall"] = middleOf(wall);
  state.counters["processor"] = middleOf(processor);
  state.counters["limit wall"] = middleOf(limitWall);
  state.counters["limit processor"] = middleOf(limitProcessor);
}
BENCHMARK(twoWorkers)->Arg(130)->Arg(256)->Iterations(200)->UseRealTime();

/// Both effects for one second of sound.
void effects(benchmark::State& state) {
  Chorus chorus({}, rate);
  Reverb reverb[] = {{{}, rate, Reverb::Side::left}, {{}, rate, Reverb::Side::right}};
  const std::vector<float> in = tone(blockFrames);
  const std::span<const float, blockFrames> block(in.data(), blockFrames);
  std::array<float, blockFrames> left{}, right{};
  for (auto _ : state) {
    for (int i = 0; i < static_cast<int>(rate) / blockFrames; ++i) {
      chorus.hear(0, left, right), reverb[0].hear(0, left), reverb[1].hear(0, right);
      chorus.feed(block), reverb[0].feed(block), reverb[1].feed(block);
      chorus.settle(), reverb[0].settle(), reverb[1].settle();
      benchmark::DoNotOptimize(left);
      left = right = {};
    }
  }
}
BENCHMARK(effects)->Unit(benchmark::kMillisecond);

}  // namespace
