#include "audio/engine/engine.h"

#include <algorithm>
#include <thread>

#include "audio/engine/denormals.h"
#include "dsp/frame_kernels.h"

namespace tervo::audio {
namespace {

constexpr std::size_t ringCapacity = 4096;
constexpr int mostVoices = 65000;  // notes have 16-bit numbers

int workersFor(const Engine::Setup& setup) {
  return setup.workers > 0 ? setup.workers : static_cast<int>(std::max(std::thread::hardware_concurrency(), 1u));
}

}  // namespace

Engine::Engine(const Setup& setup)
    : setup_(setup),
      context_{static_cast<float>(setup.sampleRate), setup.masterGain, setup.hasEffects,
               setup.interpolation == Interpolation::sinc ? &SincOscillator::shared() : nullptr},
      ring_(ringCapacity),
      performer_(static_cast<std::size_t>(std::clamp(setup.voices, 1, mostVoices)), context_),
      workers_(workersFor(setup), performer_.pool().capacity(), setup.kernel ? setup.kernel : bestRenderLanes(),
               setup.use),
      effects_(setup.hasEffects ? std::make_unique<Effects>(context_.sampleRate) : nullptr),
      current_(std::make_unique<Loaded>()) {
  prepareFilters();
  performer_.setInstruments(&current_->table);
}

Engine::~Engine() = default;

std::size_t Engine::render(std::span<float> stereo) noexcept {
  rendering_ = true;
  if (!running_) {
    rendering_ = false;
    return 0;
  }
  const FlushDenormals flush;
  const std::size_t frames = stereo.size() / 2;
  for (std::size_t done = 0; done < frames;) {
    if (blockUsed_ == blockFrames) renderBlock();
    const std::size_t part = std::min(frames - done, blockFrames - blockUsed_);
    std::copy_n(block_ + 2 * blockUsed_, 2 * part, stereo.data() + 2 * done);
    blockUsed_ += part;
    done += part;
  }
  rendering_ = false;
  return frames;
}

void Engine::shedLoad(double load) noexcept {
  constexpr double tooHigh = 0.8, overrun = 1.0;
  if (load <= tooHigh) return;
  const auto wanted = static_cast<std::size_t>((load - tooHigh) * 20) + 1;
  const std::size_t most = (performer_.pool().voices().size() + 2) / 4;
  for (std::size_t i = std::min(wanted, most); i > 0; --i) stealNote(load < overrun ? Stealing::soft : Stealing::hard);
}

void Engine::takeInstruments() noexcept {
  const Loaded* loaded = pending_.exchange(nullptr);
  if (!loaded) return;
  performer_.setInstruments(&loaded->table);
  performer_.generation = loaded->generation;
  playedGeneration_ = loaded->generation;
}

void Engine::publishGeneration() noexcept {
  if (oldestGeneration_ == playedGeneration_) return;
  uint32_t oldest = playedGeneration_;
  for (const Voice* voice : performer_.pool().voices()) oldest = std::min(oldest, voice->generation);
  oldestGeneration_ = oldest;
}

void Engine::renderBlock() noexcept {
  takeInstruments();
  MidiMessage message;
  while (ring_.popUntil(time_, message)) performer_.execute(message);
  performer_.advanceRamps();
  mixBlock(workers_.render(performer_.pool().voices(), context_, effects_.get()));
  if (workers_.hasEndedVoices()) performer_.pool().collect();
  activeVoices_ = static_cast<uint32_t>(performer_.pool().voices().size());
  publishGeneration();
  measurePeak();
  time_ += blockFrames;
  blockUsed_ = 0;
}

void Engine::mixBlock(std::span<const BusBlock> groups) noexcept {
  BusBlock mix{};
  for (const BusBlock& group : groups)
    for (std::size_t bus = 0; bus < busCount; ++bus)
      for (std::size_t n = 0; n < blockFrames; ++n) mix.bus[bus][n] += group.bus[bus][n];
  if (effects_) effects_->mixInto(mix);
  for (std::size_t n = 0; n < blockFrames; ++n) {
    block_[2 * n] = mix.bus[leftBus][n];
    block_[2 * n + 1] = mix.bus[rightBus][n];
  }
}

void Engine::measurePeak() noexcept {
  const float peak = dsp::peakOf(block_);
  peak_ = peak;
  if (peak <= 1) return;
  clipped_ = true;
  if (!limit_) return;
  for (float& sample : block_) sample = std::clamp(sample, -1.0f, 1.0f);
}

}  // namespace tervo::audio
