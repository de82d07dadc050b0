// The loop finder. Its worst case is a sound without a fundamental, where every two zero crossings of one direction may
// make a loop: music, where the search can leave out nearly all of them, and noise, where it can leave out none. Then
// what is usual: notes, by themselves and a bank of them.

#include <benchmark/benchmark.h>

#include <map>

#include "dsp/pitch_estimator.h"
#include "tests/dsp/tones.h"
#include "tools/loop/loop_crossfade.h"
#include "tools/loop/loop_finder.h"
#include "tools/loop/zero_crossings.h"

namespace {

using namespace tervo;
using Sound = std::vector<float>;

constexpr double rate = 44100;
const SearchProgress goOn = [](double) { return true; };

/// Five voices that play notes of a scale, each its own rhythm: some 1400 zero crossings a second and no period.
Sound music(double seconds) {
  std::mt19937 random(5);
  std::vector<double> sum(static_cast<std::size_t>(seconds * rate));
  std::map<int, Sound> notes;
  for (int voice = 0; voice < 5; ++voice) {
    double at = 0.03 * voice;
    while (at < seconds) {
      constexpr int scale[] = {0, 2, 4, 5, 7, 9, 11};
      const auto step = static_cast<int>(random() % 14);
      const int key = 45 + 5 * voice + 12 * (step / 7) + scale[step % 7];
      Sound& note = notes[8 * key + voice];
      if (note.empty()) note = tones::tone(tones::models[1 + voice % 3], 440 * std::exp2((key - 69) / 12.0), 1);
      const auto first = static_cast<std::size_t>(at * rate);
      for (std::size_t i = 0; i < note.size() && first + i < sum.size(); ++i) sum[first + i] += double{note[i]};
      at += 0.17 + 0.07 * static_cast<double>(random() % 5);
    }
  }
  Sound sound(sum.size());
  for (std::size_t i = 0; i < sum.size(); ++i) sound[i] = static_cast<float>(0.3 * sum[i]);
  tones::addNoise(sound, 60);
  return sound;
}

void search(benchmark::State& state, const Sound& sound) {
  const LoopRange range{0, sound.size(), 32, sound.size()};
  LoopSearch result;
  for (auto _ : state) result = findLoops(sound, range, 1, goOn);
  state.counters["crossings"] = static_cast<double>(zeroCrossings(sound, 0, sound.size()).size());
  state.counters["score"] = result.loops.empty() ? 0 : static_cast<double>(result.loops[0].score);
}

void musicOf10s(benchmark::State& state) {
  search(state, music(10));
}
void musicOf60s(benchmark::State& state) {
  search(state, music(60));
}
void musicOf10min(benchmark::State& state) {
  search(state, music(600));
}
void noiseOf10s(benchmark::State& state) {
  search(state, tones::noise(441000));
}
void noiseOf1s(benchmark::State& state) {
  search(state, tones::noise(44100));
}

const LoopFinderOptions usual{.part = {10, 95, 5}};

void findIn(benchmark::State& state, const Sound& sound) {
  LoopFinding found;
  for (auto _ : state) {
    Sound copy = sound;
    found = findLoop(copy, 1, rate, usual, goOn);
  }
  state.counters["frames"] = found.loop ? found.loop->end - found.loop->start : 0;
}

/// By number of the model and hertz.
void toneOf60s(benchmark::State& state) {
  const auto& model = tones::models[static_cast<std::size_t>(state.range(0))];
  state.SetLabel(model.name);
  findIn(state, tones::tone(model, static_cast<double>(state.range(1)), 60));
}
/// Bright, periodic and noisy: nearly all loops of some lengths are nearly equal.
void noisyReedOf60s(benchmark::State& state) {
  Sound sound = tones::tone(tones::models[4], static_cast<double>(state.range(0)), 60);
  tones::addNoise(sound, 50);
  findIn(state, sound);
}
/// Ten minutes of nothing but ties: all periods are alike to the last bit.
void squareOf10min(benchmark::State& state) {
  Sound sound(600 * 44100);
  for (std::size_t i = 0; i < sound.size(); ++i) sound[i] = i / 50 % 2 == 0 ? 1.0f : -1.0f;
  findIn(state, sound);
}

/// One after another, on one thread.
void bankOf200(benchmark::State& state) {
  std::vector<Sound> bank;
  for (int i = 0; i < 200; ++i) {
    const auto& model = tones::models[static_cast<std::size_t>(i) % std::size(tones::models)];
    bank.push_back(tones::tone(model, 440 * std::exp2((i % 80 - 45) / 12.0), 3));
    tones::addNoise(bank.back(), 50);
  }
  double found = 0;
  for (auto _ : state) {
    found = 0;
    for (Sound sound : bank) found += findLoop(sound, 1, rate, usual, goOn).loop.has_value();
  }
  state.counters["found"] = found;
}

void pitchOf3s(benchmark::State& state) {
  const Sound sound = tones::tone(tones::models[1], 220, 3);
  for (auto _ : state) benchmark::DoNotOptimize(estimatePitch(sound, rate));
}

void crossfadeOf10s(benchmark::State& state) {
  Sound sound = music(10);
  for (auto _ : state) crossfadeLoop(sound, 1, {200000, 400000, 0, true, state.range(0) != 0});
}

BENCHMARK(musicOf10s)->Unit(benchmark::kMillisecond);
BENCHMARK(musicOf60s)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(musicOf10min)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(noiseOf1s)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(noiseOf10s)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(toneOf60s)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->ArgsProduct({{0, 1, 2, 4, 5, 6, 7}, {55, 220, 440, 1046, 2093, 4186}});
BENCHMARK(noisyReedOf60s)->Unit(benchmark::kMillisecond)->Iterations(1)->ArgsProduct({{220, 440, 1046, 2093, 4186}});
BENCHMARK(squareOf10min)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(bankOf200)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(pitchOf3s)->Unit(benchmark::kMillisecond);
BENCHMARK(crossfadeOf10s)->Unit(benchmark::kMillisecond)->Arg(0)->Arg(1);

}  // namespace
