#include "platform/thread.h"

#include <windows.h>

#include <atomic>

#include "base/last_error.h"
#include "platform/dynamic_library.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

constexpr int timeCritical = THREAD_PRIORITY_TIME_CRITICAL;  // 15

/// The multimedia class scheduler: server editions may lack it.
struct Scheduler {
  std::unique_ptr<DynamicLibrary> library;
  HANDLE WINAPI (*enter)(const wchar_t*, DWORD*) = nullptr;
  BOOL WINAPI (*setPriority)(HANDLE, int) = nullptr;
  BOOL WINAPI (*leave)(HANDLE) = nullptr;
  std::atomic<bool> isAbsent{true};

  Scheduler() {
    constexpr TextView names[] = {u"avrt.dll"};
    library = DynamicLibrary::open(names);
    if (!library) return;
    enter = library->function<HANDLE WINAPI(const wchar_t*, DWORD*)>("AvSetMmThreadCharacteristicsW");
    setPriority = library->function<BOOL WINAPI(HANDLE, int)>("AvSetMmThreadPriority");
    leave = library->function<BOOL WINAPI(HANDLE)>("AvRevertMmThreadCharacteristics");
    isAbsent = !enter || !setPriority;
  }
};

/// Loaded when the first audio thread starts.
Scheduler& scheduler() {
  static Scheduler instance;
  return instance;
}

std::atomic<bool>& usesMultimediaClass() {
  static std::atomic<bool> uses{environment(L"TERVO_MULTIMEDIA_CLASS") != u"0"};
  return uses;
}

/// Null when the thread could not be registered; what failed once is not tried again.
HANDLE enterProAudio() {
  if (!usesMultimediaClass() || scheduler().isAbsent) return nullptr;
  constexpr int high = 1;  // AVRT_PRIORITY_HIGH
  DWORD taskIndex = 0;
  const HANDLE membership = scheduler().enter(L"Pro Audio", &taskIndex);
  if (membership && scheduler().setPriority(membership, high)) return membership;
  if (membership && scheduler().leave) scheduler().leave(membership);
  scheduler().isAbsent = true;
  return nullptr;
}

}  // namespace

struct AudioPriority::Before {
  HANDLE membership = nullptr;  ///< null: the thread's own priority was raised
  int priority = THREAD_PRIORITY_NORMAL;
};

AudioPriority::AudioPriority() {
  const SilentFailures silent;
  Before before;
  before.membership = enterProAudio();
  before.priority = GetThreadPriority(GetCurrentThread());
  if (before.membership || SetThreadPriority(GetCurrentThread(), timeCritical))
    before_ = std::make_unique<Before>(before);
}

AudioPriority::~AudioPriority() {
  if (!before_) return;
  if (!before_->membership) {
    SetThreadPriority(GetCurrentThread(), before_->priority);
  } else if (scheduler().leave) {
    scheduler().leave(before_->membership);
  }
}

void useMultimediaClass(bool use) noexcept {
  usesMultimediaClass() = use;
}

}  // namespace tervo::platform
