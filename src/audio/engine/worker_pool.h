#pragma once
// Renders the groups of a block on several threads. Which thread has which group never changes what comes out: each
// group has sums of its own.

#include <atomic>
#include <memory>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "audio/engine/effects.h"
#include "audio/engine/voice_group.h"

namespace tervo::audio {

class WorkerPool {
 public:
  /// `workers` counts the audio thread too; where the system has no more threads there are fewer. For a device they get
  /// the priority of sound; a rendering must not have it.
  enum class Use : uint8_t { device, rendering };
  WorkerPool(int workers, std::size_t voices, RenderLanes kernel, Use use);
  ~WorkerPool();

  /// Audio thread. Renders all voices and what is heard of the effects, if there are any: a block of sums for each
  /// group, in the order of the groups.
  std::span<const BusBlock> render(std::span<Voice* const> voices, const VoiceContext& context,
                                   Effects* effects) noexcept;
  /// Whether voices of the last block are done. Only then does the audio thread look at all of them: what another
  /// thread has written takes long to read.
  bool hasEndedVoices() const { return hasEnded_; }
  int workers() const { return static_cast<int>(groups_.size()); }

 private:
  /// A worker sleeps on its own counter and is woken by its next value.
  struct Worker {
    std::atomic<uint32_t> wake{0};
    std::jthread thread;
  };
  /// The block being rendered, written before it is given out. All of it is one cache line, on which idle workers keep
  /// their eye: what threads hand to each other takes a quarter of a microsecond a line.
  struct alignas(64) Block {
    /// Tasks that nobody has taken: the first and 2^16 times their end. In the upper half the call: how many threads
    /// are to share the block, 255 at most, and 2^8 times the number of such blocks.
    std::atomic<uint64_t> waiting{0};
    std::span<Voice* const> voices;
    const VoiceContext* context = nullptr;
    Effects* effects = nullptr;
    uint16_t groups = 0;
    uint16_t effectsAt = 0;  ///< the task that is the first effect; groups are the others
  };
  /// What workers have done since the beginning; may wrap around.
  struct alignas(64) Done {
    std::atomic<uint32_t> tasks{0};
    std::atomic<uint32_t> voicesEnded{0};  ///< will not sound again
  };
  struct Share {
    uint32_t tasks = 0, voicesEnded = 0;
  };
  bool start(std::size_t index, Use use) noexcept;
  void run(Worker& worker, std::size_t index, Use use) noexcept;
  Share work(std::size_t index) noexcept;
  uint32_t renderGroup(std::size_t group, VoiceGroup& with) noexcept;
  std::optional<uint32_t> takeTask(bool fromEnd) noexcept;
  uint32_t call() const noexcept { return static_cast<uint32_t>(block_.waiting >> 32); }

  RenderLanes kernel_;
  std::vector<std::unique_ptr<VoiceGroup>> groups_;  ///< by thread
  std::vector<BusBlock> blocks_;                     ///< by group
  std::vector<std::unique_ptr<Worker>> threads_;
  bool hasEnded_ = false;
  uint32_t tasksDone_ = 0, voicesEnded_ = 0;  ///< what `done_` was after the last block
  Block block_;
  Done done_;
  std::atomic<bool> ending_{false};
};

}  // namespace tervo::audio
