#include "audio/engine/worker_pool.h"

#include <algorithm>

#include "audio/engine/denormals.h"
#include "platform/thread.h"
#include "platform/word_wait.h"

namespace tervo::audio {
namespace {

constexpr uint32_t mostCalled = 0xFF;

/// Several groups are an even number of them, so that two threads have the same to do.
std::size_t groupsFor(std::size_t voices) {
  if (voices <= groupVoices) return voices > 0 ? 1 : 0;
  constexpr std::size_t most = 2 * groupVoices;
  return 2 * ((voices + most / 2 + most - 1) / most);
}

/// Where the group begins: the kernel renders several voices at once, and only the last of all has idle places. The two
/// groups in the middle, the last to be taken, have half of what others have, so that threads wait less for each other.
std::size_t beginOf(std::size_t group, std::size_t groups, std::size_t voices) {
  const std::size_t bundles = (voices + lanes - 1) / lanes, middle = groups / 2;
  if (groups < 2) return group == 0 ? 0 : voices;
  const std::size_t parts = 2 * groups - 2;
  const std::size_t before = 2 * group - (group >= middle ? 1 : 0) - (group > middle ? 1 : 0);
  return std::min((before * bundles + parts - 1) / parts * lanes, voices);
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
  for (std::size_t i = 1; i < count; ++i) threads_.push_back(std::make_unique<Worker>());
  // From here on nothing may throw: no destructor would tell the threads to end. Fewer threads do the same.
  std::size_t threads = 1;
  while (threads < count && start(threads, use)) ++threads;
  groups_.resize(std::min(threads, count));
  threads_.resize(groups_.size() - 1);
}

bool WorkerPool::start(std::size_t index, Use use) noexcept {
  Worker& worker = *threads_[index - 1];
  return platform::startThread(worker.thread, [this, &worker, index, use] { run(worker, index, use); });
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
  for (uint32_t seen = 0;;) {
    // Read first: whoever calls or ends this changes it last.
    const uint32_t wake = worker.wake;
    // The end may have come before this thread did: nobody would wake it again.
    if (ending_) return;
    const auto isCalled = [&] {
      const uint32_t now = call();
      return ending_ || (now != seen && (now & mostCalled) > index);
    };
    if (!holdsSoon(isCalled)) platform::waitWhile(worker.wake, wake);
    if (ending_) return;
    seen = call();
    const Share share = takeTasks(index);
    done_.voicesEnded += share.voicesEnded;
    done_.tasks += share.tasks;
  }
}

/// The audio thread takes the first and others take the last, so that voices mostly stay with the thread whose cache
/// they are in. The effects, which take the least time, are in the middle and so the last to be taken.
std::optional<uint32_t> WorkerPool::takeTask(bool fromEnd) noexcept {
  uint64_t seen = shared_.waiting;
  for (;;) {
    const auto first = static_cast<uint32_t>(seen & 0xFFFF), end = static_cast<uint32_t>(seen >> 16 & 0xFFFF);
    if (first == end) return std::nullopt;
    const uint64_t left = fromEnd ? seen - 0x10000 : seen + 1;
    if (shared_.waiting.compare_exchange_weak(seen, left)) return fromEnd ? end - 1 : first;
  }
}

uint32_t WorkerPool::renderGroup(std::size_t group, VoiceGroup& with) noexcept {
  const Work& work = shared_.work;
  const std::size_t count = work.voices.size(), first = beginOf(group, shared_.groups, count);
  const auto part = work.voices.subspan(first, beginOf(group + 1, shared_.groups, count) - first);
  uint32_t ended = 0;
  for (std::size_t i = 0; i < work.blocks; ++i) ended += with.render(part, *work.context, kernel_, blocks_[group][i]);
  return ended;
}

WorkerPool::Share WorkerPool::takeTasks(std::size_t index) noexcept {
  const Work& work = shared_.work;
  Share share;
  while (const auto task = takeTask(index > 0)) {
    ++share.tasks;
    const uint32_t effect = *task - shared_.effectsAt;
    if (!work.effects || *task < shared_.effectsAt)
      share.voicesEnded += renderGroup(*task, *groups_[index]);
    else if (effect >= Effects::parts)
      share.voicesEnded += renderGroup(*task - Effects::parts, *groups_[index]);
    else
      work.effects->hear(effect, work.blocks);
  }
  return share;
}

std::span<const WorkerPool::GroupBlocks> WorkerPool::render(const Work& work) noexcept {
  const std::size_t groups = groupsFor(work.voices.size());
  shared_.work = work;
  shared_.groups = static_cast<uint16_t>(groups);
  shared_.effectsAt = static_cast<uint16_t>((groups + 1) / 2);
  const auto tasks = static_cast<uint32_t>(groups + (work.effects ? Effects::parts : 0));
  const std::size_t sharers = std::clamp<std::size_t>(groups, 1, groups_.size());
  uint32_t called = call();
  if (sharers > 1)
    called = (called & ~mostCalled) + mostCalled + 1 + std::min(static_cast<uint32_t>(sharers), mostCalled);
  shared_.waiting = uint64_t{called} << 32 | tasks << 16;
  for (std::size_t i = 1; i < sharers; ++i) {
    ++threads_[i - 1]->wake;
    platform::wakeOne(threads_[i - 1]->wake);
  }
  const Share share = takeTasks(0);
  tasksDone_ += tasks - share.tasks;
  while (!holdsSoon([&] { return done_.tasks == tasksDone_; })) std::this_thread::yield();
  ended_ = share.voicesEnded + (done_.voicesEnded - voicesEnded_);
  voicesEnded_ = done_.voicesEnded;
  return {blocks_.data(), groups};
}

}  // namespace tervo::audio
