#include "platform/colour_scheme.h"

#include <thread>

#include "platform/thread.h"
#include "platform/windows/handle.h"

namespace tervo::platform {
namespace {

constexpr wchar_t personalization[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";

bool hasHighContrast() {
  HIGHCONTRASTW facts{};
  facts.cbSize = sizeof facts;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof facts, &facts, 0) && (facts.dwFlags & HCF_HIGHCONTRASTON);
}

class RegistryWatch final : public ColourSchemeWatch {
 public:
  explicit RegistryWatch(std::function<void()> changed) : changed_(std::move(changed)) {}
  ~RegistryWatch() override {
    if (thread_.joinable()) {
      SetEvent(end_.get());
      thread_.join();
    }
    if (key_) RegCloseKey(key_);
  }

  bool begin() {
    if (!end_ || !change_ || RegOpenKeyExW(HKEY_CURRENT_USER, personalization, 0, KEY_NOTIFY, &key_) != ERROR_SUCCESS ||
        !arm())
      return false;
    return startThread(thread_, [this] { run(); });
  }

 private:
  bool arm() {
    return RegNotifyChangeKeyValue(key_, FALSE, REG_NOTIFY_CHANGE_LAST_SET, change_.get(), TRUE) == ERROR_SUCCESS;
  }
  void run() {
    const HANDLE events[] = {end_.get(), change_.get()};
    while (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1 && arm()) changed_();
  }

  std::function<void()> changed_;
  Handle end_{CreateEventW(nullptr, TRUE, FALSE, nullptr)}, change_{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  HKEY key_ = nullptr;
  std::thread thread_;
};

}  // namespace

ColourScheme colourScheme() {
  DWORD isLight = 0, size = sizeof isLight;
  if (hasHighContrast() || RegGetValueW(HKEY_CURRENT_USER, personalization, L"AppsUseLightTheme", RRF_RT_REG_DWORD,
                                        nullptr, &isLight, &size) != ERROR_SUCCESS)
    return ColourScheme::none;
  return isLight ? ColourScheme::light : ColourScheme::dark;
}

std::unique_ptr<ColourSchemeWatch> ColourSchemeWatch::start(std::function<void()> changed) {
  auto watch = std::make_unique<RegistryWatch>(std::move(changed));
  if (!watch->begin()) return nullptr;
  return watch;
}

}  // namespace tervo::platform
