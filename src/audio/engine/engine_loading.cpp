// The document thread's side of the engine: instruments, and what the status line says.

#include <fmt/format.h>

#include <algorithm>
#include <thread>

#include "audio/engine/engine.h"
#include "base/last_error.h"
#include "base/memory_guard.h"

namespace tervo::audio {

std::unique_ptr<Engine> Engine::create(const Setup& setup) {
  return guardMemory([&] { return std::unique_ptr<Engine>(new Engine(setup)); });
}

void Engine::setRunning(bool running) {
  running_ = running;
  // The audio thread looks at `running_` after it has said that it renders.
  while (!running && rendering_) std::this_thread::yield();
}

/// Frees what no voice and no block uses any more.
void Engine::reclaim() {
  const uint32_t oldest = oldestGeneration_;
  std::erase_if(retired_, [&](const auto& loaded) { return loaded->generation < oldest; });
}

bool Engine::change(Loading loading, std::unique_ptr<Loaded> next) {
  next->generation = current_->generation + 1;
  retired_.push_back(std::exchange(current_, std::move(next)));
  if (loading == Loading::replace) {
    // What the audio thread has not taken, it never will.
    if (const Loaded* untaken = pending_.exchange(current_.get()))
      std::erase_if(retired_, [&](const auto& loaded) { return loaded.get() == untaken; });
    reclaim();
    return true;
  }
  // Nothing renders now: the voices and what they play can go at once.
  performer_.pool().clear();
  pending_ = nullptr;
  performer_.setInstruments(&current_->table);
  performer_.generation = playedGeneration_ = oldestGeneration_ = current_->generation;
  retired_.clear();
  activeVoices_ = endedUnsettled_ = 0;
  return true;
}

bool Engine::loadInstrument(const Instrument& instrument, Loading loading) {
  return loadInstrumentAs(instrument, packedNumber(instrument), loading);
}

bool Engine::loadInstrumentAs(const Instrument& instrument, uint32_t number, Loading loading,
                              const PlayedNotes* notes) {
  if (loading == Loading::stopped) setRunning(false);
  const bool done = guardMemory([&] {
    auto copy = copyInstrument(instrument, setup_.sampleRate, sounds_, notes);
    auto next = std::make_unique<Loaded>(*current_);
    const bool hasSlot = current_->table.has(number) || current_->table.size() < setup_.instrumentCapacity;
    if (!copy || !hasSlot) return false;
    next->table.set(number, std::move(copy));
    return change(loading, std::move(next));
  });
  if (loading == Loading::stopped) {
    if (done) clipped_ = false;
    setRunning(true);
  }
  return done || fail(u"Couldn't create instrument");
}

bool Engine::reloadInstruments(std::span<const ItemId> instruments) {
  setRunning(false);
  bool done = true;
  for (const ItemId id : instruments)
    if (const auto* instrument = findItem<Instrument>(id)) done = loadInstrument(*instrument, Loading::stopped) && done;
  setRunning(true);
  return done;
}

Text Engine::statusText() {
  const uint32_t voices = activeVoices_;
  if (voices == 0 && peak_ == 0) return {};
  return fromUtf8(
      fmt::format("{} region{}{}", voices, voices == 1 ? "" : "s", clipped_.exchange(false) ? " -CLIPPING-" : ""));
}

bool loadInstrument(Engine* engine, const Instrument& instrument, Loading loading) {
  return engine ? engine->loadInstrument(instrument, loading) : fail(u"Synth not initialized!");
}

}  // namespace tervo::audio
