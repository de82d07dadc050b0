#include "audio/engine/worker_pool.h"

#include <algorithm>

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

/// Where the group begins: the kernel renders several voices at once, and only the last of all has idle places. What is
/// over goes to the first groups, as other threads have the effects to do.
std::size_t beginOf(std::size_t group, std::size_t groups, std::size_t voices) {
  const std::size_t bundles = (voices + lanes - 1) / lanes;
  return std::min((group * bundles + groups - 1) / groups * lanes, voices);
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
    work(index);
  }
}

/// The audio thread takes the first and others take the last, so that voices mostly stay with the thread whose cache
/// they are in. Tasks are the groups, and the effects at both ends, or at the
/// end where the first groups have more to do.
std::optional<std::size_t> WorkerPool::takeTask(bool fromEnd) noexcept {
  uint32_t seen = waiting_;
  for (;;) {
    const uint32_t first = seen & 0xFFFF, end = seen >> 16;
    if (first == end) return std::nullopt;
    const uint32_t left = fromEnd ? seen - 0x10000 : seen + 1;
    if (waiting_.compare_exchange_weak(seen, left)) return fromEnd ? end - 1 : first;
  }
}

void WorkerPool::renderGroup(std::size_t group, VoiceGroup& with) noexcept {
  const std::size_t first = beginOf(group, groupCount_, voices_.size());
  const auto part = voices_.subspan(first, beginOf(group + 1, groupCount_, voices_.size()) - first);
  if (const uint32_t ended = with.render(part, *context_, kernel_, blocks_[group])) voicesEnded_ += ended;
}

void WorkerPool::work(std::size_t index) noexcept {
  while (const auto task = takeTask(index > 0)) {
    const std::size_t group = *task - firstGroup_;  // wraps around for the first effect
    if (group < groupCount_)
      renderGroup(group, *groups_[index]);
    else if (group == groupCount_)
      effects_->hearReverb();
    else
      effects_->hearChorus();
    ++tasksDone_;
  }
}

std::span<const BusBlock> WorkerPool::render(std::span<Voice* const> voices, const VoiceContext& context,
                                             Effects* effects) noexcept {
  voices_ = voices;
  context_ = &context;
  effects_ = effects;
  groupCount_ = groupsFor(voices.size());
  const bool isEven = (voices.size() + lanes - 1) / lanes % 2 == 0;
  firstGroup_ = effects && isEven ? 1 : 0;
  const auto tasks = static_cast<uint32_t>(groupCount_ + (effects ? 2 : 0));
  tasksDone_ = voicesEnded_ = 0;
  waiting_ = tasks << 16;
  const std::size_t sharers = std::clamp<std::size_t>(groupCount_, 1, groups_.size());
  for (std::size_t i = 1; i < sharers; ++i) {
    ++threads_[i - 1]->wake;
    platform::wakeOne(threads_[i - 1]->wake);
  }
  work(0);
  while (!holdsSoon([&] { return tasksDone_ == tasks; })) std::this_thread::yield();
  return {blocks_.data(), groupCount_};
}

}  // namespace tervo::audio
