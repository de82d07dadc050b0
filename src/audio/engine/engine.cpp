#include "audio/engine/engine.h"

#include <algorithm>
#include <thread>

#include "audio/engine/denormals.h"
#include "audio/engine/quad.h"
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
      mostTogether_(static_cast<std::size_t>(effects_ ? effects_->blocksTogether() : mostTogether)),
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
    if (framesUsed_ == framesRendered_) renderBlocks((frames - done + blockFrames - 1) / blockFrames);
    const std::size_t part = std::min(frames - done, framesRendered_ - framesUsed_);
    std::copy_n(rendered_ + 2 * framesUsed_, 2 * part, stereo.data() + 2 * done);
    framesUsed_ += part;
    done += part;
  }
  rendering_ = false;
  return frames;
}

void Engine::shedLoad(double load) noexcept {
  constexpr double tooHigh = 0.8, overrun = 1.0;
  if (load <= tooHigh) return;
  settle();
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

void Engine::execute(MidiMessage message) noexcept {
  settle();
  performer_.execute(message);
}

bool Engine::stealNote(Stealing stealing) noexcept {
  settle();
  return performer_.pool().steal(stealing, context_);
}

/// Voices that are done leave their groups, which decides about the last digits of the sum. So that these do not depend
/// on how many blocks are rendered together, that happens before every message and after so many blocks without any.
void Engine::settle() noexcept {
  if (unsettled_ == 0) return;
  unsettled_ = 0;
  if (endedUnsettled_ > 0) performer_.pool().collect();
  endedUnsettled_ = 0;
  if (effects_) effects_->settle();
}

/// Blocks in which no message is due and no controller moves.
std::size_t Engine::blocksTogether(std::size_t wanted) const noexcept {
  if (performer_.isMoving()) return 1;
  const int64_t untilMessage = std::max(ring_.nextTime(), time_ + 1) - time_;
  return std::min({wanted, mostTogether_ - unsettled_, static_cast<std::size_t>(untilMessage - 1) / blockFrames + 1});
}

void Engine::renderBlocks(std::size_t wanted) noexcept {
  takeInstruments();
  MidiMessage message;
  while (ring_.popUntil(time_, message)) execute(message);
  if (unsettled_ == mostTogether_) settle();
  performer_.advanceRamps();
  const std::size_t blocks = blocksTogether(wanted);
  const auto voices = performer_.pool().voices();
  const auto groups = workers_.render({voices, &context_, effects_.get(), static_cast<uint16_t>(blocks)});
  for (std::size_t i = 0; i < blocks; ++i) {
    const StereoBlock block = std::span(rendered_).subspan(2 * blockFrames * i).first<2 * blockFrames>();
    mixBlock(groups, i, block);
    measurePeak(block);
  }
  unsettled_ += blocks;
  endedUnsettled_ += workers_.endedVoices();
  activeVoices_ = static_cast<uint32_t>(voices.size()) - endedUnsettled_;
  if (isSilent()) settle();
  publishGeneration();
  time_ += static_cast<int64_t>(blocks) * blockFrames;
  framesRendered_ = blocks * blockFrames;
  framesUsed_ = 0;
}

void Engine::mixBlock(std::span<const WorkerPool::GroupBlocks> groups, std::size_t block, StereoBlock out) noexcept {
  BusBlock mix;
  for (std::size_t bus = 0; bus < busCount; ++bus)
    for (std::size_t n = 0; n < blockFrames; n += 4) {
      Quad sum{};
      for (const auto& group : groups) sum += loadQuad(group[block].bus[bus] + n);
      store(sum, mix.bus[bus] + n);
    }
  if (effects_) effects_->mixInto(mix, block);
  for (std::size_t n = 0; n < blockFrames; ++n) {
    out[2 * n] = mix.bus[leftBus][n];
    out[2 * n + 1] = mix.bus[rightBus][n];
  }
}

void Engine::measurePeak(StereoBlock block) noexcept {
  const float peak = dsp::peakOf(block);
  peak_ = peak;
  if (peak <= 1) return;
  clipped_ = true;
  if (!limit_) return;
  for (float& sample : block) sample = std::clamp(sample, -1.0f, 1.0f);
}

}  // namespace tervo::audio
