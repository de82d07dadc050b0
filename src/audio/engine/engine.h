#pragma once
// The synthesizer: plays instruments of the document, driven by MIDI messages, in blocks of 64 stereo frames, some of
// them together where nothing happens between them. It holds its own copy of every instrument that is loaded into it.
//
// Document thread: create, load, statusText. Any thread: postEvent. Audio thread: render and everything below it. The
// audio thread is whoever calls render; nothing on its way allocates, locks or waits for more than its workers.

#include <atomic>
#include <memory>
#include <span>
#include <vector>

#include "audio/engine/effects.h"
#include "audio/engine/event_ring.h"
#include "audio/engine/performer.h"
#include "audio/engine/worker_pool.h"
#include "base/text.h"

namespace tervo::audio {

enum class Interpolation : uint8_t {
  cubic,
  sinc  ///< free of aliasing, at several times the work
};

enum class Loading : uint8_t {
  stopped,  ///< all voices are ended and the engine stands still meanwhile
  replace   ///< notes go on sounding, with what they were started with
};

class Engine {
 public:
  struct Setup {
    std::size_t instrumentCapacity = 256;
    int voices = 128;
    uint32_t sampleRate = 48000;
    float masterGain = 1;
    int workers = 0;  ///< threads that render; 0: as many as there are processors
    bool hasEffects = true;
    Interpolation interpolation = Interpolation::cubic;
    WorkerPool::Use use = WorkerPool::Use::rendering;
    RenderLanes kernel = nullptr;  ///< null: the fastest
  };

  /// Null with "Out of memory".
  static std::unique_ptr<Engine> create(const Setup& setup);
  ~Engine();

  // Document thread.
  /// Under its own number. False with "Couldn't create instrument", when it cannot be read or all slots are taken.
  bool loadInstrument(const Instrument& instrument, Loading loading);
  /// The same under another number, for one that takes the place of what is missing, and only with the regions that the
  /// notes reach.
  bool loadInstrumentAs(const Instrument& instrument, uint32_t number, Loading loading,
                        const PlayedNotes* notes = nullptr);
  /// Those of the list that are still in the document.
  bool reloadInstruments(std::span<const ItemId> instruments);
  bool has(uint32_t number) const { return current_->table.has(number); }
  /// What sounds: "%d region%s", and " -CLIPPING-" once after a block that clipped; empty while nothing sounds.
  Text statusText();
  void setRunning(bool running);
  void setLimit(bool limit) { limit_ = limit; }

  /// Any thread. False when too many events wait.
  bool postEvent(int64_t time, MidiMessage message) noexcept { return ring_.push({time, message}); }

  // Audio thread.
  /// Fills interleaved stereo frames and returns how many: all, or 0 while the engine is stopped. Many at once are
  /// rendered faster than few; what comes out is the same.
  std::size_t render(std::span<float> stereo) noexcept;
  /// For who renders song by song without a ring: takes effect with the next block. Not while another thread renders.
  void execute(MidiMessage message) noexcept;
  bool stealNote(Stealing stealing) noexcept;
  /// Ends notes as a load (time spent by time that the buffer lasts) above 0.8 asks for.
  void shedLoad(double load) noexcept;

  int64_t time() const { return time_; }  ///< frames rendered
  uint32_t activeVoices() const { return activeVoices_; }
  /// Neither a voice nor an effect sounds.
  bool isSilent() const { return activeVoices_ == 0 && (!effects_ || effects_->isIdle()); }
  /// Nor does a controller move: without a message all blocks to come are the same.
  bool isAtRest() const { return isSilent() && !performer_.isMoving(); }
  uint32_t sampleRate() const { return setup_.sampleRate; }

 private:
  /// Instruments in use, with a number that voices remember.
  struct Loaded {
    InstrumentTable table;
    uint32_t generation = 0;
  };

  explicit Engine(const Setup& setup);
  bool change(Loading loading, std::unique_ptr<Loaded> next);
  void reclaim();
  void takeInstruments() noexcept;
  void publishGeneration() noexcept;
  void settle() noexcept;
  std::size_t blocksTogether(std::size_t wanted) const noexcept;
  void renderBlocks(std::size_t wanted) noexcept;
  using StereoBlock = std::span<float, 2 * blockFrames>;
  void mixBlock(std::span<const WorkerPool::GroupBlocks> groups, std::size_t block, StereoBlock out) noexcept;
  void measurePeak(StereoBlock block) noexcept;

  Setup setup_;
  VoiceContext context_;
  EventRing ring_;
  Performer performer_;
  WorkerPool workers_;
  std::unique_ptr<Effects> effects_;  ///< null: everything stays dry
  std::size_t mostTogether_;          ///< blocks
  SoundCopies sounds_;

  std::unique_ptr<Loaded> current_;               ///< what was loaded last; document thread
  std::vector<std::unique_ptr<Loaded>> retired_;  ///< may still sound; document thread
  std::atomic<const Loaded*> pending_{nullptr};   ///< handed to the audio thread
  std::atomic<uint32_t> oldestGeneration_{0};     ///< that a voice or the audio thread still uses
  uint32_t playedGeneration_ = 0;                 ///< audio thread

  std::atomic<bool> running_{true};
  std::atomic<bool> rendering_{false};
  std::atomic<bool> clipped_{false};
  std::atomic<bool> limit_{false};
  std::atomic<uint32_t> activeVoices_{0};
  std::atomic<float> peak_{0};

  int64_t time_ = 0;
  std::size_t unsettled_ = 0;    ///< blocks since the last time that everything was settled
  uint32_t endedUnsettled_ = 0;  ///< voices that have come to their end since then
  alignas(32) float rendered_[2 * blockFrames * mostTogether] = {};
  std::size_t framesRendered_ = 0, framesUsed_ = 0;  ///< of these; handed out of them
};

/// For callers that may have no engine yet: "Synth not initialized!".
bool loadInstrument(Engine* engine, const Instrument& instrument, Loading loading);

}  // namespace tervo::audio
