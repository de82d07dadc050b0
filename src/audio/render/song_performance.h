#pragma once
// A song on its way through the engine: what rendering and playing have in common. Its operations but
// the constructor belong to the thread that renders.

#include <functional>
#include <optional>
#include <span>

#include "audio/engine/engine.h"
#include "audio/render/song_events.h"

namespace tervo::audio {

class SongPerformance {
 public:
  /// Engine and events stay the caller's. The tail is how long it goes on behind the last event; without a time until
  /// releases and reverb are 90 dB below the loudest so far, or full scale where that is less, at most 10 s.
  SongPerformance(Engine& engine, const SongEvents& events, std::optional<double> tailSeconds);

  /// Who is asked now and then while many events of one time are executed. False: it is over at once. Must not throw.
  void askWhileItTakesLong(std::function<bool()> mayGoOn) { mayGoOn_ = std::move(mayGoOn); }

  /// Renders the next blocks, up to so many as there is room for, and returns how many frames: 0 once it is over.
  std::size_t renderBlocks(std::span<float> stereo) noexcept;
  /// Passes over the blocks in which nothing can sound, instead of rendering them, and returns how many.
  int64_t skipSilence() noexcept;
  double seconds() const { return static_cast<double>(block_) * secondsPerBlock_; }

 private:
  bool isPlaying() const { return seconds() <= events_.seconds || next_ < events_.messages.size(); }
  bool isTailOver() const;
  void endNotes() noexcept;
  bool executeDue() noexcept;
  std::size_t blocksUntilEvent(std::size_t most) const noexcept;

  Engine& engine_;
  const SongEvents& events_;
  std::optional<double> tailSeconds_;
  double secondsPerBlock_;
  std::function<bool()> mayGoOn_;
  int64_t block_ = 0;
  float loudest_ = 0;
  std::size_t next_ = 0;
  double tailEnd_ = 0;  ///< 0 while the song plays
  double silent_ = 0;   ///< seconds of silence so far, in the tail
};

}  // namespace tervo::audio
