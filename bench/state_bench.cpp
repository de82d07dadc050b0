// Undo and program-state files of a large bank: 10,000 regions, 1,500 waveforms, 150 MiB of 16-bit samples held as
// floats. Files are written to a memory-backed folder (TERVO_BENCH_FOLDER, /dev/shm by default) and measured in
// processor seconds against a copy of the same file in blocks of 256 KiB.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "core/history/document_history.h"
#include "formats/stored_samples.h"

namespace {

using namespace tervo;

constexpr std::size_t waveforms = 1500, regions = 10'000;
constexpr std::size_t framesEach = (150u << 20) / 2 / waveforms;

double processorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

std::filesystem::path folder() {
  const char* chosen = std::getenv("TERVO_BENCH_FOLDER");
  return std::filesystem::path(chosen ? chosen : "/dev/shm") / "tervo-state-bench";
}

Collection& bank() {
  static Collection document;
  if (!document.waveforms().empty()) return document;
  for (std::size_t i = 0; i < waveforms; ++i) {
    std::vector<float> frames(framesEach);
    for (std::size_t k = 0; k < frames.size(); ++k)
      frames[k] = static_cast<float>(static_cast<int16_t>(k * 31 + i)) / 32768.0f;
    Waveform& wave = document.add(std::make_unique<Waveform>());
    wave.name = u"Waveform";
    wave.samples = makeResident(std::move(frames), 1);
    wave.markers.push_back({MarkerType::loop, u"Loop", 100, 2000, LoopType::forward});
  }
  for (std::size_t i = 0; i < 100; ++i) {
    Layer& layer = document.add(std::make_unique<Instrument>()).add(std::make_unique<Layer>());
    for (std::size_t k = 0; k < regions / 100; ++k) {
      Region& region = layer.add(std::make_unique<Region>());
      region.waveform = document.waveforms()[(i * 100 + k) % waveforms]->id();
      for (const ParameterId row : {ParameterId::triggerLowKey, ParameterId::triggerHighKey})
        region.trigger.set(row, 60);
      for (uint16_t row = 0; row < 20; ++row) region.articulation.set(static_cast<ParameterId>(row), 1);
    }
  }
  return document;
}

struct StateFolder {
  std::filesystem::path path = folder();
  StateFolder() { std::filesystem::create_directories(path); }
  ~StateFolder() { std::filesystem::remove_all(path); }
  Text state() const { return (path / "state.tvs").u16string(); }
  std::string copy() const { return (path / "copy").string(); }
};

double copySeconds(const StateFolder& files) {
  const double start = processorSeconds();
  std::FILE* in = std::fopen((files.path / "state.tvs").string().c_str(), "rb");
  std::FILE* out = std::fopen(files.copy().c_str(), "wb");
  std::setvbuf(in, nullptr, _IONBF, 0), std::setvbuf(out, nullptr, _IONBF, 0);
  std::vector<char> block(256 * 1024);
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), in))
    std::fwrite(block.data(), 1, count, out);
  std::fclose(in), std::fclose(out);
  const double taken = processorSeconds() - start;
  std::filesystem::remove(files.copy());
  return taken;
}

/// `work` against a copy of the state file that it leaves.
template <typename Work>
void againstCopy(benchmark::State& state, const StateFolder& files, Work work) {
  double ours = 0, copies = 0;
  for (auto _ : state) {
    const double start = processorSeconds();
    if (!work()) return state.SkipWithError("failed");
    ours += processorSeconds() - start;
    copies += copySeconds(files);
  }
  const auto rounds = static_cast<double>(state.iterations());
  state.counters["seconds"] = ours / rounds;
  state.counters["copy_seconds"] = copies / rounds;
  state.counters["speed_of_copy"] = copies / ours;
}

void saveState(benchmark::State& state) {
  const Collection& document = bank();
  const StateFolder files;
  againstCopy(state, files, [&] { return writeStateFile(files.state(), imageOf(document), openStoredSamples); });
}
BENCHMARK(saveState)->Unit(benchmark::kMillisecond)->Iterations(5);

void loadState(benchmark::State& state) {
  const StateFolder files;
  writeStateFile(files.state(), imageOf(bank()), openStoredSamples);
  Collection loaded;
  againstCopy(state, files, [&] { return readStateFile(loaded, files.state(), openStoredSamples); });
}
BENCHMARK(loadState)->Unit(benchmark::kMillisecond)->Iterations(5);

/// What freezing costs the document thread before a recovery state is written in the background.
void freezeBank(benchmark::State& state) {
  const Collection& document = bank();
  for (auto _ : state) benchmark::DoNotOptimize(imageOf(document));
}
BENCHMARK(freezeBank)->Unit(benchmark::kMillisecond);

struct LongWaveform {
  Collection document;
  Host host;
  DocumentHistory history{document, host, {}, openStoredSamples};
  Waveform& wave = document.add(std::make_unique<Waveform>());

  LongWaveform() {
    wave.samples = makeResident(std::vector<float>((100u << 20) / sizeof(float)), 1);
    wave.markers.resize(100);
  }
};

void editMarkersOf100MiB(benchmark::State& state) {
  LongWaveform edited;
  for (auto _ : state) edited.history.editMarkers(edited.wave.id(), [&] { edited.wave.markers[7].start += 1; });
}
BENCHMARK(editMarkersOf100MiB)->Unit(benchmark::kMicrosecond);

/// New samples of the same length each time; what recording adds to making them.
void editSamplesOf100MiB(benchmark::State& state) {
  LongWaveform edited;
  const SampleRef versions[] = {edited.wave.samples, makeResident(std::vector<float>((100u << 20) / sizeof(float)), 1)};
  std::size_t next = 0;
  for (auto _ : state)
    edited.history.edit(edited.wave.id(), u"Edit", [&] { edited.wave.samples = versions[++next % 2]; });
}
BENCHMARK(editSamplesOf100MiB)->Unit(benchmark::kMicrosecond);

}  // namespace
