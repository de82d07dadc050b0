#include "audio/engine/worker_pool.h"

#include <algorithm>
#include <optional>

#include "audio/engine/denormals.h"
#include "platform/thread.h"
#include "platform/word_wait.h"

namespace tervo::audio {
namespace {

/// Several groups are an even number of them, so that two threads have the same to do.
std::size_t groupsFor(std::size_t voices) {
  if (voices <= groupVoices) return voices > 0 ? 1 : 0;
  return 2 * ((voices + 2 * groupVoices - 1) / (2 * groupVoices));
}

/// Looks again and again for some microseconds: falling asleep and being woken takes longer than most waits here.
template <typename Condition>
bool holdsSoon(const Condition& condition) noexcept {
  constexpr int looks = 600;
  for (int i = 0; i < looks; ++i) {
    if (condition()) return true;
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
  }
  return false;
}

}  // namespace

WorkerPool::WorkerPool(int workers, std::size_t voices, RenderLanes kernel, Use use)
    : kernel_(kernel), blocks_(groupsFor(voices)) {
  // More threads than groups would never have anything to do.
  const auto count = std::clamp<std::size_t>(static_cast<std::size_t>(std::max(workers, 1)), 1, groupsFor(voices));
  for (std::size_t i = 0; i < count; ++i) groups_.push_back(std::make_unique<VoiceGroup>());
  for (std::size_t i = 1; i < count; ++i) {
    Worker* worker = threads_.emplace_back(std::make_unique<Worker>()).get();
    worker->thread = std::jthread([this, worker, i, use] { run(*worker, i, use); });
  }
}

WorkerPool::~WorkerPool() {
  ending_ = true;
  for (auto& worker : threads_) {
    ++worker->wake;
    platform::wakeOne(worker->wake);
  }
  threads_.clear();  // waits for them, while what they use is still there
}

void WorkerPool::run(Worker& worker, std::size_t index, Use use) noexcept {
  platform::setThreadRole(platform::ThreadRole::voiceWorker);
  std::optional<platform::AudioPriority> priority;
  if (use == Use::device) priority.emplace();
  const FlushDenormals flush;
  for (uint32_t seen = 0;; ++seen) {
    if (!holdsSoon([&] { return worker.wake != seen; })) platform::waitWhile(worker.wake, seen);
    if (ending_) return;
    renderShare(index);
  }
}

void WorkerPool::renderShare(std::size_t index) noexcept {
  uint32_t done = 0, ended = 0;
  const std::size_t groups = groupsFor(voices_.size());
  for (std::size_t g = index; g < groups; g += sharers_) {
    const std::size_t first = g * voices_.size() / groups, end = (g + 1) * voices_.size() / groups;
    const auto part = voices_.subspan(first, end - first);
    ended += groups_[index]->render(part, *context_, kernel_, blocks_[g]);
    done += static_cast<uint32_t>(part.size());
  }
  if (ended > 0) voicesEnded_ += ended;
  voicesDone_ += done;
}

std::span<const BusBlock> WorkerPool::render(std::span<Voice* const> voices, const VoiceContext& context) noexcept {
  const std::size_t groups = groupsFor(voices.size());
  voices_ = voices;
  context_ = &context;
  sharers_ = std::clamp<std::size_t>(groups, 1, groups_.size());
  voicesDone_ = voicesEnded_ = 0;
  for (std::size_t i = 1; i < sharers_; ++i) {
    ++threads_[i - 1]->wake;
    platform::wakeOne(threads_[i - 1]->wake);
  }
  renderShare(0);
  while (!holdsSoon([&] { return voicesDone_ == voices.size(); })) std::this_thread::yield();
  return {blocks_.data(), groups};
}

}  // namespace tervo::audio
