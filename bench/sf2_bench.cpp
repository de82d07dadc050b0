// A large SoundFont bank: opened with its samples left in the file, made resident, written back, and beside FluidSynth
// loading it. TERVO_BENCH_BANK names the bank (Debian's FluidR3_GM.sf2 else), TERVO_BENCH_FOLDER the folder that is
// written to (/dev/shm else). Processor seconds; the file is in the page cache.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "core/collection.h"
#include "dsp/sample_kernels.h"
#include "formats/instrument/sf2_reader.h"
#include "formats/instrument/sf2_writer.h"
#include "platform/dynamic_library.h"
#include "platform/file.h"

namespace {

using namespace tervo;

Text fromVariable(const char* name, const char* usual) {
  const char* chosen = std::getenv(name);
  return fromUtf8(chosen ? chosen : usual);
}
const Text bankPath = fromVariable("TERVO_BENCH_BANK", "/usr/share/sounds/sf2/FluidR3_GM.sf2");
const Text copyPath = fromVariable("TERVO_BENCH_FOLDER", "/dev/shm") + u"/tervo-bench.sf2";

double processorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

/// The document of the bank, as the reader makes it.
struct OpenBank {
  Collection collection;
  Host host;
  ConversionReport report;
  Settings settings;
  bool ok = false;

  OpenBank() {
    std::shared_ptr<const ByteSource> bytes = platform::InputFile::open(bankPath);
    ok = bytes && readSf2(collection, {bytes, bankPath, host, report, settings}, 0);
  }
};

std::size_t bytesInUse() {
  const auto now = mallinfo2();
  return now.uordblks + now.hblkhd;
}

void open(benchmark::State& state) {
  std::size_t regions = 0, bytes = 0;
  for (auto _ : state) {
    const std::size_t before = bytesInUse();
    auto bank = std::make_unique<OpenBank>();
    if (!bank->ok) return state.SkipWithError("the bank cannot be read");
    state.PauseTiming();
    bytes = bytesInUse() - before;
    regions = 0;
    for (const auto& instrument : bank->collection.instruments()) regions += instrument->regionCount();
    bank.reset();
    state.ResumeTiming();
  }
  state.counters["MiB"] = static_cast<double>(bytes) / (1 << 20);
  state.counters["regions"] = static_cast<double>(regions);
}
BENCHMARK(open)->Unit(benchmark::kMillisecond);

/// Runs both in turns and tells the ratio of the best times: other work on the machine only makes times longer.
template <typename Ours, typename Other>
void against(benchmark::State& state, Ours ours, Other other) {
  double our = 1e9, their = 1e9;
  for (auto _ : state) {
    const double start = processorSeconds();
    if (!ours()) return state.SkipWithError("failed");
    const double between = processorSeconds();
    if (!other()) return state.SkipWithError("the other one failed");
    our = std::min(our, between - start);
    their = std::min(their, processorSeconds() - between);
  }
  state.counters["seconds"] = our;
  state.counters["other_seconds"] = their;
  state.counters["ratio"] = our / their;
}

bool makeAllResident(const OpenBank& bank) {
  std::vector<SampleRef> all;
  for (const auto& waveform : bank.collection.waveforms())
    if (waveform->samples) all.push_back(makeResident(waveform->samples));
  return bank.ok && !all.empty() && all.back();
}

/// The file read and all of it converted as 16-bit samples, without a document.
bool readAndConvert() {
  const auto file = platform::InputFile::open(bankPath);
  if (!file) return false;
  const auto samples = std::make_unique_for_overwrite<float[]>(file->size() / 2);
  std::vector<std::byte> block(256 * 1024);
  std::size_t done = 0;
  for (uint64_t at = 0; at + block.size() <= file->size(); at += block.size()) {
    if (!file->readExactly(at, block)) return false;
    done += dsp::decodeSamples(dsp::SampleWord::s16, ByteOrder::little, block,
                               std::span(samples.get() + done, block.size() / 2));
  }
  benchmark::DoNotOptimize(samples.get());
  return true;
}

void resident(benchmark::State& state) {
  const OpenBank bank;
  against(
      state, [&] { return makeAllResident(bank); }, readAndConvert);
}
BENCHMARK(resident)->Unit(benchmark::kMillisecond)->Iterations(5);

bool write(OpenBank& bank) {
  const auto out = platform::OutputFile::create(copyPath, platform::Replace::allowed);
  if (!out) return false;
  TargetFile file{*out, copyPath, bank.host, bank.report, bank.settings, FormatTable()[392], {}};
  return writeSf2(bank.collection, file, 0) && out->commit();
}

bool copyFile() {
  std::FILE* in = std::fopen(toUtf8(bankPath).c_str(), "rb");
  std::FILE* out = std::fopen(toUtf8(copyPath).c_str(), "wb");
  if (!in || !out) return false;
  std::setvbuf(in, nullptr, _IONBF, 0), std::setvbuf(out, nullptr, _IONBF, 0);
  std::vector<char> block(256 * 1024);
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), in))
    if (std::fwrite(block.data(), 1, count, out) != count) return false;
  std::fclose(in);
  return std::fclose(out) == 0;
}

void writeBack(benchmark::State& state) {
  OpenBank bank;
  against(
      state, [&] { return bank.ok && write(bank); }, copyFile);
  std::remove(toUtf8(copyPath).c_str());
}
BENCHMARK(writeBack)->Unit(benchmark::kMillisecond)->Iterations(12);

/// FluidSynth's own loading of the bank, samples included. Its library does not bear to be loaded twice.
class FluidLoader {
 public:
  FluidLoader() {
    static constexpr TextView names[] = {u"libfluidsynth.so.3"};
    library_ = platform::DynamicLibrary::open(names);
  }
  bool load() const {
    if (!library_) return false;
    const auto newSettings = library_->function<void*()>("new_fluid_settings");
    const auto newSynth = library_->function<void*(void*)>("new_fluid_synth");
    const auto loadFont = library_->function<int(void*, const char*, int)>("fluid_synth_sfload");
    const auto deleteSynth = library_->function<void(void*)>("delete_fluid_synth");
    void* synth = newSynth(newSettings());
    const bool ok = loadFont(synth, toUtf8(bankPath).c_str(), 0) >= 0;
    deleteSynth(synth);
    return ok;
  }

 private:
  std::unique_ptr<platform::DynamicLibrary> library_;
};

void openBesideFluidSynth(benchmark::State& state) {
  static const FluidLoader fluid;
  against(
      state, [] { return OpenBank().ok; }, [&] { return fluid.load(); });
}
BENCHMARK(openBesideFluidSynth)->Unit(benchmark::kMillisecond)->Iterations(12);

void openResidentBesideFluidSynth(benchmark::State& state) {
  static const FluidLoader fluid;
  against(
      state, [] { return makeAllResident(OpenBank()); }, [&] { return fluid.load(); });
}
BENCHMARK(openResidentBesideFluidSynth)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
