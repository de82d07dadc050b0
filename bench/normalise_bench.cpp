// The load-time normalisation of large banks: without touching samples, and with everything on while merging into a
// collection that holds the same waveforms already, so that all samples are read to tell that they are equal. What
// reading those samples costs by itself stands beside it.

#include <benchmark/benchmark.h>

#include <array>
#include <bit>

#include "core/normalise/fix_up.h"
#include "core/parameter_id.h"

namespace {

using namespace tervo;

/// The frames of other data, without being the same data to the normalisation.
class SameFrames final : public SampleData {
 public:
  explicit SameFrames(SampleRef data) : SampleData(data->channels(), data->frames()), data_(std::move(data)) {}
  std::span<const float> resident() const override { return data_->resident(); }
  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override { return data_->open(firstFrame); }

 private:
  SampleRef data_;
};

using Content = std::vector<SampleRef>;

struct Size {
  int regions, waveforms;
  std::size_t frames;  ///< of each waveform
};

constexpr int keysOfRegion = 4, regionsOfLayer = 25;

/// Layers of regions side by side; every second layer overlaps the one before it. Half of the waveforms are pairs by
/// name that are not played as such.
void fill(Collection& collection, const Size& size, const Content& content) {
  for (int i = 0; i < size.waveforms; ++i) {
    Waveform& waveform = collection.add(std::make_unique<Waveform>());
    const std::string number = std::to_string(i / 2 * 7 % 500);
    waveform.name = u"Sample " + fromUtf8(number) + (i % 4 == 0 ? u"-L" : i % 4 == 1 ? u"-R" : u"");
    waveform.samples = std::make_shared<SameFrames>(content[static_cast<std::size_t>(i)]);
    waveform.markers.push_back({.type = MarkerType::loop, .start = 10, .end = 90, .loopType = LoopType::alternating});
  }
  Layer* layer = nullptr;
  for (int i = 0; i < size.regions; ++i) {
    if (i % (20 * regionsOfLayer) == 0) collection.add(std::make_unique<Instrument>()).name = u"Instrument";
    if (i % regionsOfLayer == 0) layer = &collection.instruments().back()->add(std::make_unique<Layer>());
    Region& region = layer->add(std::make_unique<Region>());
    region.waveform = collection.waveforms()[static_cast<std::size_t>(i % size.waveforms)]->id();
    const int key = i % regionsOfLayer * keysOfRegion;
    region.trigger.set(ParameterId::triggerLowKey, static_cast<float>(key));
    region.trigger.set(ParameterId::triggerHighKey, static_cast<float>(key + keysOfRegion - 1));
    region.trigger.set(ParameterId::triggerLowVelocity, static_cast<float>(i / (2 * regionsOfLayer) % 4 * 32));
    region.trigger.set(ParameterId::triggerHighVelocity, static_cast<float>(i / (2 * regionsOfLayer) % 4 * 32 + 31));
    for (int row = 0; row < 12; ++row)
      region.articulation.set(static_cast<ParameterId>(row * 5), static_cast<float>(row % 3 == 0 ? i : row));
  }
}

Content contentFor(const Size& size) {
  Content content;
  uint32_t state = 1;
  for (int i = 0; i < size.waveforms; ++i) {
    std::vector<float> frames(size.frames);
    for (float& sample : frames) sample = static_cast<float>((state = state * 1664525 + 1013904223) >> 16) / 65536;
    content.push_back(makeResident(std::move(frames), 1));
  }
  return content;
}

enum class Samples { left, changed };

Settings everything(Samples samples) {
  Settings settings;
  auto& load = settings.load;
  load.autoCompactLayers = load.autoRemoveDupWaves = load.autoMoveArticulation = load.autoMoveTriggerParams = 1;
  load.autoSortColl = load.autoSortWaves = load.ensureUniqueNames = load.autoMergeStereo = 1;
  load.autoSplitStereo = 0;
  load.autoAppend32 = load.autoBid2Fwd = samples == Samples::changed;
  return settings;
}

void run(benchmark::State& state, const Size& size, Samples samples) {
  const Content content = contentFor(size);
  const Settings settings = everything(samples);
  Host host;
  for (auto _ : state) {
    state.PauseTiming();
    ConversionReport report, unused;
    auto loaded = std::make_unique<Collection>(), there = std::make_unique<Collection>();
    fill(*loaded, size, content);
    if (samples == Samples::changed) {
      fill(*there, size, content);
      Settings alike = settings;
      alike.load.ensureUniqueNames = 0;
      FixUpItems(*there, nullptr, alike, host, unused);
    }
    state.ResumeTiming();
    FixUpItems(*loaded, samples == Samples::changed ? there.get() : nullptr, settings, host, report);
    state.PauseTiming();
    state.counters["waveforms left"] = static_cast<double>(loaded->waveforms().size());
    loaded.reset();
    there.reset();
    state.ResumeTiming();
  }
}

void withoutSamples(benchmark::State& state) {
  run(state, {5000, 1000, 100}, Samples::left);
}
void everythingWhileMerging(benchmark::State& state) {
  run(state, {10000, 1500, 52428}, Samples::changed);
}
void readingTheSamplesOnce(benchmark::State& state) {
  const Content content = contentFor({10000, 1500, 52428});
  for (auto _ : state) {
    std::array<uint32_t, 8> sums{};
    for (const SampleRef& each : content) {
      const auto frames = each->resident();
      for (std::size_t i = 0; i + 8 <= frames.size(); i += 8) {
        for (std::size_t k = 0; k < 8; ++k) sums[k] += std::bit_cast<uint32_t>(frames[i + k]);
      }
    }
    benchmark::DoNotOptimize(sums);
  }
}

BENCHMARK(withoutSamples)->Unit(benchmark::kMillisecond);
BENCHMARK(everythingWhileMerging)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(readingTheSamplesOnce)->Unit(benchmark::kMillisecond);

}  // namespace
