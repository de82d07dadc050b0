// The streams of a compressed bank: decoded on one processor and on all of them, and by oggdec. TERVO_BENCH_SF3 names
// the bank (Debian's MuseScore_General_Lite.sf3 else), TERVO_BENCH_FOLDER the folder that streams are written to for
// oggdec (/dev/shm else). Processor and wall seconds; "busy" is how many processors worked on average. On a machine
// that does other work only the processor seconds mean something.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/ordered_work.h"
#include "core/collection.h"
#include "formats/instrument/sf2_reader.h"
#include "formats/instrument/sf2_writer.h"
#include "platform/file.h"

namespace {

using namespace tervo;

std::string fromVariable(const char* name, const char* usual) {
  const char* chosen = std::getenv(name);
  return chosen ? chosen : usual;
}
const Text bankPath = fromUtf8(fromVariable("TERVO_BENCH_SF3", "/usr/share/sounds/sf3/MuseScore_General_Lite.sf3"));
const std::string folder = fromVariable("TERVO_BENCH_FOLDER", "/dev/shm") + "/tervo-sf3-bench";

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}
double processorSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct OpenBank {
  Collection collection;
  Host host;
  ConversionReport report;
  Settings settings;
  std::vector<SampleRef> streams;

  OpenBank() {
    const std::shared_ptr<const ByteSource> bytes = platform::InputFile::open(bankPath);
    if (!bytes || !readSf2(collection, {bytes, bankPath, host, report, settings}, compressedBank)) return;
    for (const auto& waveform : collection.waveforms())
      if (waveform->samples && waveform->samples->stored()) streams.push_back(waveform->samples);
  }
};

template <typename Work>
void measure(benchmark::State& state, int who, Work work) {
  double processor = 0, wall = 0;
  for (auto _ : state) {
    const double before = processorSeconds(who);
    const auto start = std::chrono::steady_clock::now();
    if (!work()) return state.SkipWithError("failed");
    wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    processor += processorSeconds(who) - before;
  }
  const auto rounds = static_cast<double>(state.iterations());
  state.counters["cpu_s"] = processor / rounds;
  state.counters["wall_s"] = wall / rounds;
  state.counters["busy"] = processor / wall;
}

void decodeOnOne(benchmark::State& state) {
  const OpenBank bank;
  measure(state, RUSAGE_SELF, [&] {
    std::size_t frames = 0;
    for (const SampleRef& stream : bank.streams) {
      const SampleRef decoded = makeResident(stream);
      if (!decoded) return false;
      frames += decoded->resident().size();
    }
    return frames > 0;
  });
}
BENCHMARK(decodeOnOne)->Unit(benchmark::kMillisecond)->Iterations(3);

void decodeOnAll(benchmark::State& state) {
  const OpenBank bank;
  measure(state, RUSAGE_SELF, [&] {
    return makeInOrder(
        bank.streams.size(), [&](std::size_t i) { return makeResident(bank.streams[i]); },
        [](std::size_t, const SampleRef& decoded) { return decoded != nullptr; });
  });
}
BENCHMARK(decodeOnAll)->Unit(benchmark::kMillisecond)->Iterations(3);

/// What a save as plain bank takes: the streams decoded, rounded to 16 bits and written.
void convertToPlain(benchmark::State& state) {
  OpenBank bank;
  const std::string path = folder + ".sf2";
  measure(state, RUSAGE_SELF, [&] {
    const auto out = platform::OutputFile::create(fromUtf8(path), platform::Replace::allowed);
    if (!out) return false;
    TargetFile file{*out, fromUtf8(path), bank.host, bank.report, bank.settings, FormatTable()[392], {}};
    return !bank.streams.empty() && writeSf2(bank.collection, file, 0) && out->commit();
  });
  std::remove(path.c_str());
}
BENCHMARK(convertToPlain)->Unit(benchmark::kMillisecond)->Iterations(3);

/// The same streams by the codec's own program, one process for all.
void oggdec(benchmark::State& state) {
  const OpenBank bank;
  std::filesystem::create_directories(folder);
  for (std::size_t i = 0; i < bank.streams.size(); ++i) {
    const StoredSamples& stored = *bank.streams[i]->stored();
    const auto bytes = stored.source->readUpTo(stored.offset, stored.bytes, static_cast<std::size_t>(stored.bytes));
    std::ofstream(folder + "/" + std::to_string(i) + ".ogg", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  const std::string command = "cd " + folder + " && oggdec -Q *.ogg 2>/dev/null";
  measure(state, RUSAGE_CHILDREN, [&] { return std::system(command.c_str()) == 0; });
  std::filesystem::remove_all(folder);
}
BENCHMARK(oggdec)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
