#include "audio/output/synth_front.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "audio/output/audio_output.h"

namespace tervo::audio {
namespace {

using Clock = std::chrono::steady_clock;  // the performance counter

int64_t ticks() {
  return Clock::now().time_since_epoch().count();
}

constexpr double ticksPerSecond = 1.0 * Clock::period::den / Clock::period::num;

}  // namespace

float liveMasterGain(int voices) {
  return std::min(1.0f, 2.5f / std::sqrt(static_cast<float>(std::max(voices, 1))));
}

std::shared_ptr<SynthFront> SynthFront::create(const Setup& setup, uint32_t sampleRate, uint32_t bufferFrames) {
  Engine::Setup engineSetup;
  engineSetup.instrumentCapacity = setup.instrumentCapacity;
  engineSetup.voices = setup.voices;
  engineSetup.sampleRate = sampleRate;
  engineSetup.masterGain = setup.masterGain > 0 ? setup.masterGain : liveMasterGain(setup.voices);
  engineSetup.workers = setup.workers;
  engineSetup.hasEffects = setup.hasEffects;
  if (bufferFrames > 0) engineSetup.use = WorkerPool::Use::device;
  auto engine = Engine::create(engineSetup);
  if (!engine) return nullptr;
  return std::shared_ptr<SynthFront>(new SynthFront(std::move(engine), setup, bufferFrames));
}

SynthFront::SynthFront(std::unique_ptr<Engine> engine, const Setup& setup, uint32_t bufferFrames)
    : engine_(std::move(engine)),
      outputGain_(setup.outputGain),
      bufferFrames_(bufferFrames),
      loadFactor_(bufferFrames > 0 ? engine_->sampleRate() / (bufferFrames * ticksPerSecond) : 0),
      end_(engine_->sampleRate()) {
  engine_->setLimit(false);
}

void SynthFront::perform(SongEvents events, std::optional<double> tailSeconds) {
  events_ = std::move(events);
  performance_.emplace(*engine_, events_, tailSeconds);
}

bool SynthFront::post(MidiMessage message) noexcept {
  // What comes while a buffer sounds is heard at the same place of the next one.
  const double since = static_cast<double>(ticks() - bufferClock_) / ticksPerSecond * engine_->sampleRate();
  const auto frames = static_cast<int64_t>(std::clamp(since, 0.0, static_cast<double>(bufferFrames_)));
  return engine_->postEvent(bufferTime_ + frames, message);
}

/// Whole blocks, so that messages fall on the same ones whatever the device's buffer is.
std::size_t SynthFront::renderPerformance(std::span<float> stereo) noexcept {
  const std::size_t frames = stereo.size() / 2;
  std::size_t done = 0;
  while (done < frames && !finished_) {
    if (framesUsed_ == framesRendered_) {
      const std::size_t wanted = (frames - done + blockFrames - 1) / blockFrames;
      const auto room = std::span(rendered_).first(2 * blockFrames * std::min<std::size_t>(wanted, mostTogether));
      framesUsed_ = 0;
      framesRendered_ = performance_->renderBlocks(room);
      finished_ = framesRendered_ == 0;
    }
    const std::size_t part = std::min(frames - done, framesRendered_ - framesUsed_);
    std::copy_n(rendered_ + 2 * framesUsed_, 2 * part, stereo.data() + 2 * done);
    framesUsed_ += part;
    done += part;
  }
  seconds_ = performance_->seconds();
  return done;
}

/// Applies the gain, and the end. How many frames remain.
std::size_t SynthFront::finished(std::span<float> stereo) noexcept {
  std::size_t done = 0;
  for (; done < stereo.size() && !end_.isOver(); done += 2) {
    const float factor = outputGain_ * end_.next();
    stereo[done] *= factor;
    stereo[done + 1] *= factor;
  }
  if (end_.isOver() || (end_.isStopping() && stereo.empty())) finished_ = true;
  return done / 2;
}

std::size_t SynthFront::render(std::span<float> stereo) noexcept {
  if (finished_) return 0;
  const int64_t start = ticks();
  const std::size_t rendered = performance_ ? renderPerformance(stereo) : engine_->render(stereo);
  const std::size_t frames = finished(stereo.first(2 * rendered));
  bufferTime_ = engine_->time();
  bufferClock_ = start;
  if (loadFactor_ > 0 && frames > 0) {
    load_ = static_cast<float>(static_cast<double>(ticks() - start) * loadFactor_);
    engine_->shedLoad(static_cast<double>(load_));
  }
  return frames;
}

std::shared_ptr<SynthFront> startSynth(AudioOutput& output, const SynthFront::Setup& setup) {
  if (!output.openFor(u"Couldn't open the audio device!")) return nullptr;
  const uint32_t bufferFrames = output.keepsTime() ? output.bufferFrames() : 0;
  return SynthFront::create(setup, output.format().sampleRate, bufferFrames);
}

}  // namespace tervo::audio
