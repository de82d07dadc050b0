#pragma once
// Renders groups of voices on several threads. Which thread has which group never changes what comes out: each
// group has sums of its own.

#include <array>
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

  /// What to render: all of it is one cache line, on which idle workers keep their eye. What threads hand to each other
  /// takes a quarter of a microsecond a line.
  struct Work {
    std::span<Voice* const> voices;
    const VoiceContext* context = nullptr;
    Effects* effects = nullptr;  ///< null: none
    uint16_t blocks = 1;         ///< of each voice and effect in a row, up to `mostTogether`
  };
  /// Sums of the groups, in their order.
  using GroupBlocks = std::array<BusBlock, mostTogether>;

  /// Audio thread. Renders blocks of all voices and of what is heard of the effects.
  std::span<const GroupBlocks> render(const Work& work) noexcept;
  /// How many voices have come to their end in what was rendered last. Only then does the audio thread look at all of
  /// them: what another thread has written takes long to read.
  uint32_t endedVoices() const { return ended_; }
  int workers() const { return static_cast<int>(groups_.size()); }

 private:
  /// A worker sleeps on its own counter and is woken by its next value.
  struct Worker {
    std::atomic<uint32_t> wake{0};
    std::jthread thread;
  };
  /// What is being rendered, written before it is given out.
  struct alignas(64) Shared {
    /// Tasks that nobody has taken: the first and 2^16 times their end. In the upper half the call: how many threads
    /// are to share the work, 255 at most, and 2^8 times the number of such calls.
    std::atomic<uint64_t> waiting{0};
    Work work;
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
  Share takeTasks(std::size_t index) noexcept;
  uint32_t renderGroup(std::size_t group, VoiceGroup& with) noexcept;
  std::optional<uint32_t> takeTask(bool fromEnd) noexcept;
  uint32_t call() const noexcept { return static_cast<uint32_t>(shared_.waiting >> 32); }

  RenderLanes kernel_;
  std::vector<std::unique_ptr<VoiceGroup>> groups_;  ///< by thread
  std::vector<GroupBlocks> blocks_;                  ///< by group
  std::vector<std::unique_ptr<Worker>> threads_;
  uint32_t ended_ = 0;
  uint32_t tasksDone_ = 0, voicesEnded_ = 0;  ///< what `done_` was after the last work
  Shared shared_;
  Done done_;
  std::atomic<bool> ending_{false};
};

}  // namespace tervo::audio
