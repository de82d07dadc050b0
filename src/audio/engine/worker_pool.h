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
  /// `workers` counts the audio thread too. For a device they get the priority of sound; a rendering must not have it.
  enum class Use : uint8_t { device, rendering };
  WorkerPool(int workers, std::size_t voices, RenderLanes kernel, Use use);
  ~WorkerPool();

  /// Audio thread. Renders all voices and what is heard of the effects, if there are any: a block of sums for each
  /// group, in the order of the groups.
  std::span<const BusBlock> render(std::span<Voice* const> voices, const VoiceContext& context,
                                   Effects* effects) noexcept;
  /// Whether voices of the last block are done. Only then does the audio thread look at all of them: what another
  /// thread has written takes long to read.
  bool hasEndedVoices() const { return voicesEnded_ != 0; }
  int workers() const { return static_cast<int>(groups_.size()); }

 private:
  /// A worker sleeps on its own counter and is woken by its next value.
  struct Worker {
    std::atomic<uint32_t> wake{0};
    std::jthread thread;
  };
  void run(Worker& worker, std::size_t index, Use use) noexcept;
  void work(std::size_t index) noexcept;
  void renderGroup(std::size_t group, VoiceGroup& with) noexcept;
  std::optional<std::size_t> takeTask(bool fromEnd) noexcept;

  RenderLanes kernel_;
  std::vector<std::unique_ptr<VoiceGroup>> groups_;  ///< by thread
  std::vector<BusBlock> blocks_;                     ///< by group
  std::vector<std::unique_ptr<Worker>> threads_;

  // The block being rendered; written before the workers are woken.
  std::span<Voice* const> voices_;
  const VoiceContext* context_ = nullptr;
  Effects* effects_ = nullptr;
  std::size_t groupCount_ = 0, firstGroup_ = 0;
  alignas(64) std::atomic<uint32_t> waiting_{0};  ///< tasks that nobody has taken: the first, and 65536 times their end
  std::atomic<uint32_t> tasksDone_{0};
  std::atomic<uint32_t> voicesEnded_{0};  ///< will not sound again
  std::atomic<bool> ending_{false};
};

}  // namespace tervo::audio
