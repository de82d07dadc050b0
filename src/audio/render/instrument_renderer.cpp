#include "audio/render/instrument_renderer.h"

#include <algorithm>
#include <bitset>
#include <cmath>
#include <cstdlib>

#include "audio/engine/channel.h"
#include "audio/render/rendered_samples.h"
#include "base/last_error.h"
#include "base/memory_guard.h"
#include "core/levels.h"
#include "core/midi_events.h"
#include "core/parameter_lists.h"

namespace tervo::audio {
namespace {

constexpr int middle = 60, keyCount = 128;
constexpr float silence = 3.1622777e-5f;  // -90 dB
constexpr double silentSeconds = 0.1;     // that end a note
constexpr double fadeSeconds = 0.01;

std::vector<uint8_t> soundingKeys(const Instrument& instrument) {
  std::bitset<keyCount> sounding;
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions()) {
      const Range keys = keyRange(*region);
      for (int key = keys.low; key <= keys.high && key < keyCount; ++key) sounding.set(static_cast<std::size_t>(key));
    }
  }
  std::vector<uint8_t> keys;
  for (int key = 0; key < keyCount; ++key)
    if (sounding.test(static_cast<std::size_t>(key))) keys.push_back(static_cast<uint8_t>(key));
  return keys;
}

/// One note on its way, block by block.
class NoteRendering {
 public:
  NoteRendering(Engine& engine, const NoteRenderOptions& options)
      : engine_(engine),
        rate_(options.sampleRate),
        shortest_(framesOf(options.shortest)),
        longest_(std::max(framesOf(options.longest), shortest_)) {}

  void press(uint8_t key) { engine_.execute({MidiStatus::noteOn, key, 127}); }
  /// False once it is over, or when the sink has failed.
  bool renderBlock(RenderSink& sink) {
    float stereo[2 * blockFrames];
    engine_.render(stereo);
    const int64_t frames = std::min<int64_t>(blockFrames, longest_ - done_);
    float peak = 0;
    for (std::size_t i = 0; i < 2 * static_cast<std::size_t>(frames); ++i) {
      stereo[i] *= fadeAt(done_ + static_cast<int64_t>(i / 2));
      peak = std::max(peak, std::fabs(stereo[i]));
    }
    failed_ = !sink.append(std::span(stereo).first(2 * static_cast<std::size_t>(frames)));
    done_ += frames;
    silent_ = peak < silence ? silent_ + frames : 0;
    const bool isOver = engine_.activeVoices() == 0 || silent_ >= framesOf(silentSeconds);
    return !failed_ && done_ < longest_ && !(isOver && done_ >= shortest_);
  }
  double fraction() const { return static_cast<double>(done_) / static_cast<double>(longest_); }
  bool failed() const { return failed_; }

 private:
  int64_t framesOf(double seconds) const { return std::max<int64_t>(std::llround(seconds * rate_), 1); }
  float fadeAt(int64_t frame) const {
    const double left = static_cast<double>(longest_ - 1 - frame) / (fadeSeconds * rate_);
    return static_cast<float>(std::clamp(left, 0.0, 1.0));
  }

  Engine& engine_;
  double rate_;
  int64_t shortest_, longest_;
  int64_t done_ = 0, silent_ = 0;
  bool failed_ = false;
};

class InstrumentRendering {
 public:
  InstrumentRendering(const Instrument& instrument, const NoteRenderOptions& options, Host& host)
      : instrument_(instrument), options_(options), host_(host) {}

  std::vector<std::unique_ptr<Waveform>> render() {
    const auto keys = keysToRender(instrument_, options_.waveforms);
    if (keys.empty()) setLastErrorText(u"Failed to render synth to wave");
    host_.showStatus(u"Rendering " + instrument_.name + u" to waveform...");
    std::vector<std::unique_ptr<Waveform>> waveforms;
    for (const uint8_t key : keys) {
      SampleRef samples = renderKey(key, static_cast<double>(waveforms.size()), static_cast<double>(keys.size()));
      if (!samples) return {};
      auto& waveform = waveforms.emplace_back(std::make_unique<Waveform>());
      waveform->name = keys.size() == 1 ? instrument_.name : instrument_.name + u" " + keyName(key);
      waveform->sampleRate = options_.sampleRate;
      waveform->rootKey = key;
      waveform->samples = std::move(samples);
      waveform->setStoredFormat(SampleFormat::pcm24, 0);
    }
    return waveforms;
  }

 private:
  /// An engine for each note, so that none hears of another. Null with LastErrorText.
  std::unique_ptr<Engine> engineFor(uint8_t key) const {
    Engine::Setup setup;
    setup.sampleRate = options_.sampleRate;
    setup.workers = 1;
    setup.hasEffects = false;
    setup.interpolation = options_.interpolation;
    auto engine = Engine::create(setup);
    PlayedNotes notes;
    notes.add(key, 127);
    const uint32_t number = Channel(0).instrumentNumber();
    if (!engine || !engine->loadInstrumentAs(instrument_, number, Loading::stopped, &notes)) return nullptr;
    engine->execute({MidiStatus::controller, Controller::volume, 127});
    return engine;
  }

  SampleRef renderKey(uint8_t key, double part, double parts) {
    const auto engine = engineFor(key);
    if (!engine) return nullptr;
    NoteRendering note(*engine, options_);
    RenderSink sink;
    note.press(key);
    for (int64_t block = 0; note.renderBlock(sink); ++block) {
      constexpr int64_t blocksPerProgress = 256;
      if (block % blocksPerProgress == 0 && !host_.progress((part + note.fraction()) / parts))
        return fail(u"Save aborted!");
    }
    return note.failed() ? nullptr : sink.finish({.normalised = sink.peak() > 1});
  }

  const Instrument& instrument_;
  const NoteRenderOptions& options_;
  Host& host_;
};

}  // namespace

NoteRenderOptions noteRenderOptionsOf(const Settings& settings) {
  constexpr double perSecond = 1000;
  return {.sampleRate = std::max(settings.sy2wt.sampleRate, 1u),
          .longest = settings.sy2wt.msMaxLength / perSecond,
          .shortest = settings.sy2wt.msMinLength / perSecond,
          .waveforms = settings.sy2wt.numWaves};
}

std::vector<uint8_t> keysToRender(const Instrument& instrument, int count) {
  const std::vector<uint8_t> keys = soundingKeys(instrument);
  if (keys.empty()) return {};
  if (count <= 1)
    return {*std::min_element(keys.begin(), keys.end(),
                              [](int a, int b) { return std::abs(a - middle) < std::abs(b - middle); })};
  const std::size_t chosen = std::min(static_cast<std::size_t>(count), keys.size());
  std::vector<uint8_t> result;
  for (std::size_t i = 0; i < chosen; ++i) result.push_back(keys[(2 * i + 1) * keys.size() / (2 * chosen)]);
  return result;
}

std::vector<std::unique_ptr<Waveform>> renderInstrument(const Instrument& instrument, const NoteRenderOptions& options,
                                                        Host& host) {
  std::vector<std::unique_ptr<Waveform>> waveforms;
  guardMemory([&] {
    waveforms = InstrumentRendering(instrument, options, host).render();
    return !waveforms.empty();
  });
  return waveforms;
}

}  // namespace tervo::audio
