#pragma once
// What a thread is for, and so what it may touch. Debug builds stop where a thread does what is another one's business.

#include <cassert>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace tervo::platform {

enum class ThreadRole : uint8_t {
  document,     ///< owns the document and the windows; the main thread has this role from the start
  audio,        ///< runs blocks: no allocation, no lock, no waiting, no files
  voiceWorker,  ///< renders its group of voices, nothing else
  other,        ///< everything else: decoding ahead, writing, libraries' own threads
};

void setThreadRole(ThreadRole role) noexcept;
ThreadRole currentThreadRole() noexcept;

#ifdef NDEBUG
inline void assertThreadRole(ThreadRole) noexcept {}
#else
inline void assertThreadRole(ThreadRole role) noexcept {
  assert(currentThreadRole() == role);
}
#endif

/// For tests: how many threads startThread() may start from now on, as if the system had no more; below 0 any number.
void limitThreads(int count) noexcept;
bool mayStartThread() noexcept;

/// Starts a thread. False where the system has no more of them (a limit of processes, no memory for its stack).
template <typename Thread, typename Work>
bool startThread(Thread& thread, Work work) noexcept {
  if (!mayStartThread()) return false;
  try {
    thread = Thread(std::move(work));
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

/// Gives the thread that makes it the priority of sound for as long as it lives, where the user may have it: the
/// multimedia class "Pro Audio" on Windows, or else time-critical priority; first-in-first-out scheduling on Linux, or
/// else a lower nice value. For the roles audio and voiceWorker.
class AudioPriority {
 public:
  AudioPriority();
  ~AudioPriority();
  AudioPriority(const AudioPriority&) = delete;
  AudioPriority& operator=(const AudioPriority&) = delete;

  bool isRaised() const { return before_ != nullptr; }

 private:
  struct Before;
  std::unique_ptr<Before> before_;
};

/// False: from now on audio threads do not register with the multimedia class of Windows. The environment variable
/// TERVO_MULTIMEDIA_CLASS=0 does the same from the start.
void useMultimediaClass(bool use) noexcept;

}  // namespace tervo::platform
