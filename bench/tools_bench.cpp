// Operations on waveforms in memory: everything from the call to the last frame that is read from the result, as a part
// of the speed at which the same frames are copied. Copy and operation take turns and count processor time, so
// "of_copy" depends little on what else the machine does.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <ctime>

#include "core/waveform.h"
#include "tools/operation.h"

namespace {

using namespace tervo;

constexpr std::size_t samples = std::size_t{1} << 25;  // 128 MiB, far more than caches hold

/// Of processor time.
double secondsSince(std::clock_t start) {
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

const std::vector<float>& noise() {
  static const std::vector<float> frames = [] {
    std::vector<float> made(samples);
    uint32_t state = 1;
    for (float& each : made)
      each = static_cast<float>(static_cast<int32_t>(state = state * 1664525 + 1013904223)) * 0x1p-32f;
    return made;
  }();
  return frames;
}

void readAll(const SampleData& data, std::span<float> out) {
  const auto stream = data.open();
  std::size_t done = 0;
  while (const auto frames = stream->read(out.subspan(done)).value_or(0))
    done += frames * static_cast<std::size_t>(data.channels());
}

using Options = std::vector<std::pair<TextView, TextView>>;

void operation(benchmark::State& state, TextView name, const Options& options, int channels) {
  const SampleRef source = makeResident(std::span<const float>(noise()), channels, nullptr);
  std::vector<float> out(2 * samples);
  const Operation& operation = *findOperation(name);
  OptionValues values(operation.options);
  for (const auto& [option, text] : options) values.set(option, text);
  double copying = 1e9, processing = 1e9;
  std::size_t made = samples;
  for (auto _ : state) {
    Waveform waveform;
    waveform.sampleRate = 44100;
    waveform.samples = source;
    Host host;
    ConversionReport report;
    auto start = std::clock();
    if (!RunOperation(operation, waveform, values, {host, report})) return state.SkipWithError("failed");
    readAll(*waveform.samples, out);
    const double seconds = secondsSince(start);
    made = static_cast<std::size_t>(waveform.frames() * waveform.channels());
    benchmark::DoNotOptimize(out.data());
    start = std::clock();
    std::memcpy(out.data(), noise().data(), samples * sizeof(float));
    copying = std::min(copying, secondsSince(start));
    processing = std::min(processing, seconds);
    state.SetIterationTime(seconds);
  }
  // Where an operation makes fewer or more samples than it gets, a copy of both halves is what compares.
  const double moved = static_cast<double>(samples + made) / static_cast<double>(2 * samples);
  state.counters["of_copy"] = moved * copying / processing;
}

void add(const char* title, TextView name, const Options& options, int channels) {
  benchmark::RegisterBenchmark(title, operation, name, options, channels)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond)
      ->Iterations(7);
}

const bool added = [] {
  add("softer", u"gain", {{u"by", u"-6"}}, 2);
  add("louder", u"gain", {{u"by", u"6"}}, 2);
  add("normalise", u"normalise", {}, 2);
  add("fade in/mono", u"fade-in", {{u"length", u"100"}, {u"unit", u"percent"}, {u"curve", u"s-curve"}}, 1);
  add("fade out/stereo", u"fade-out", {{u"length", u"100"}, {u"unit", u"percent"}, {u"curve", u"exponential"}}, 2);
  add("to stereo", u"change-channels", {{u"to", u"stereo"}}, 1);
  add("to mono", u"change-channels", {{u"to", u"mono"}}, 2);
  add("left channel", u"change-channels", {{u"to", u"left"}}, 2);
  add("swap channels", u"change-channels", {{u"to", u"swapped"}}, 2);
  add("invert phase", u"invert-phase", {}, 2);
  add("DC offset", u"remove-dc-offset", {}, 2);
  add("dither", u"reduce-bits", {}, 2);
  add("reverse/mono", u"reverse", {}, 1);
  add("reverse/stereo", u"reverse", {}, 2);
  return true;
}();

}  // namespace
