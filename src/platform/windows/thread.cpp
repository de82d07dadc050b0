#include "platform/thread.h"

#include <windows.h>

#include "platform/dynamic_library.h"

namespace tervo::platform {

/// The multimedia class scheduler (avrt) is loaded by name: server editions may lack it.
struct AudioPriority::Before {
  std::unique_ptr<DynamicLibrary> scheduler;
  HANDLE membership;
};

AudioPriority::AudioPriority() {
  constexpr TextView names[] = {u"avrt.dll"};
  auto scheduler = DynamicLibrary::open(names);
  const auto enter =
      scheduler ? scheduler->function<HANDLE WINAPI(const wchar_t*, DWORD*)>("AvSetMmThreadCharacteristicsW") : nullptr;
  DWORD taskIndex = 0;
  const HANDLE membership = enter ? enter(L"Pro Audio", &taskIndex) : nullptr;
  if (membership) before_ = std::make_unique<Before>(Before{std::move(scheduler), membership});
}

AudioPriority::~AudioPriority() {
  if (!before_) return;
  const auto leave = before_->scheduler->function<BOOL WINAPI(HANDLE)>("AvRevertMmThreadCharacteristics");
  if (leave) leave(before_->membership);
}

}  // namespace tervo::platform
