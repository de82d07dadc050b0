#pragma once
// Instruments made in memory, an engine that plays them, and measurements on what comes out. Tests measure the rendered
// sound, never the engine's inside.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

#include "audio/engine/engine.h"
#include "core/collection.h"

namespace tervo::test {

using P = ParameterId;
using audio::Engine;
using audio::Loading;
using audio::MidiMessage;

inline constexpr double rate = 48000;
using Frames = std::vector<float>;

inline Frames sineFrames(double hertz, std::size_t frames, double amplitude = 1) {
  Frames result(frames);
  for (std::size_t i = 0; i < frames; ++i)
    result[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / rate));
  return result;
}

/// One instrument of the document, whose regions are added one by one.
class SoundLab {
 public:
  SoundLab() {
    auto made = std::make_unique<Instrument>();
    made->add(std::make_unique<Layer>());
    instrument = &collection.add(std::move(made));
  }

  Region& add(Frames frames, int channels = 1, std::optional<Marker> loop = std::nullopt) {
    auto waveform = std::make_unique<Waveform>();
    waveform->sampleRate = rate;
    waveform->samples = makeResident(std::move(frames), channels);
    if (loop) waveform->markers.push_back(*loop);
    auto region = std::make_unique<Region>();
    region->waveform = collection.add(std::move(waveform)).id();
    return instrument->layers()[0]->add(std::move(region));
  }
  /// A loud steady sound: a sine of whole periods, looped. Key 60 plays it at its frequency.
  Region& addSine(double hertz = 480, double amplitude = 1) {
    const std::size_t frames = 48000;
    return add(sineFrames(hertz, frames, amplitude), 1, loopOver(0, static_cast<double>(frames)));
  }
  Region& addConstant(float value = 1) { return add(Frames(4800, value), 1, loopOver(100, 4700)); }
  static Marker loopOver(double start, double end, LoopType type = LoopType::forward, uint8_t count = loopForever) {
    return {.type = MarkerType::loop, .start = start, .end = end, .loopType = type, .loopCount = count};
  }

  /// Without effects and at full volume unless the test says otherwise.
  Engine& start() {
    Engine::Setup setup;
    setup.hasEffects = false;
    return start(setup);
  }
  Engine& start(Engine::Setup setup) {
    setup.workers = std::max(setup.workers, 1);
    engine = Engine::create(setup);
    EXPECT_TRUE(engine->loadInstrument(*instrument, Loading::stopped));
    control(7, 127);
    return *engine;
  }
  void send(int status, int data1 = 0, int data2 = 0) {
    engine->execute({static_cast<uint8_t>(status), static_cast<uint8_t>(data1), static_cast<uint8_t>(data2)});
  }
  void press(int key = 60, int velocity = 127) { send(0x90, key, velocity); }
  void lift(int key = 60) { send(0x80, key, 0); }
  void control(int controller, int value) { send(0xB0, controller, value); }

  /// Left and right, so many seconds.
  struct Stereo {
    Frames left, right;
  };
  Stereo render(double seconds) {
    Frames both(2 * static_cast<std::size_t>(seconds * rate));
    EXPECT_EQ(engine->render(both), both.size() / 2);
    Stereo result;
    for (std::size_t i = 0; i < both.size(); i += 2) {
      result.left.push_back(both[i]);
      result.right.push_back(both[i + 1]);
    }
    return result;
  }
  Frames left(double seconds) { return render(seconds).left; }

  Collection collection;
  Instrument* instrument;
  std::unique_ptr<Engine> engine;
};

inline std::span<const float> part(const Frames& frames, double from, double to) {
  const auto first = static_cast<std::size_t>(from * rate), last = static_cast<std::size_t>(to * rate);
  return std::span(frames).subspan(first, std::min(last, frames.size()) - first);
}

inline double rms(std::span<const float> frames) {
  double sum = 0;
  for (const float x : frames) sum += static_cast<double>(x) * x;
  return std::sqrt(sum / static_cast<double>(std::max<std::size_t>(frames.size(), 1)));
}
inline double dB(double ratio) {
  return 20 * std::log10(ratio);
}
inline double peak(std::span<const float> frames) {
  double result = 0;
  for (const float x : frames) result = std::max(result, std::fabs(static_cast<double>(x)));
  return result;
}

/// The level of one frequency, by correlation under a Hann window.
inline double levelAt(std::span<const float> frames, double hertz) {
  double real = 0, imaginary = 0, weight = 0;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const double t = static_cast<double>(i);
    const double w = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * t / static_cast<double>(frames.size()));
    const double angle = 2 * std::numbers::pi * hertz * t / rate;
    real += w * static_cast<double>(frames[i]) * std::cos(angle);
    imaginary += w * static_cast<double>(frames[i]) * std::sin(angle);
    weight += w;
  }
  return 2 * std::hypot(real, imaginary) / weight;
}

/// The frequency of a tone, from its upward zero crossings.
inline double hertzOf(std::span<const float> frames) {
  double first = -1, last = -1;
  int periods = -1;
  for (std::size_t i = 1; i < frames.size(); ++i) {
    const double a = static_cast<double>(frames[i - 1]), b = static_cast<double>(frames[i]);
    if (!(a < 0 && b >= 0)) continue;
    last = static_cast<double>(i - 1) + a / (a - b);
    if (periods < 0) first = last;
    ++periods;
  }
  return periods > 0 ? rate * periods / (last - first) : 0;
}
inline double centsBetween(double a, double b) {
  return 1200 * std::log2(a / b);
}

}  // namespace tervo::test
