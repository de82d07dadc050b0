#include "platform/running_instance.h"

#include "platform/system_error.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

constexpr wchar_t windowClass[] = L"muiWindow";
constexpr std::wstring_view product = L"Tervo Studio";
constexpr int longestTitle = 128;
constexpr ULONG_PTR filesMessage = 0x54765374;  // "TvSt"
constexpr UINT patience = 2000;                 // ms

/// Paths end with a zero each.
std::vector<Text> pathsIn(std::wstring_view message) {
  std::vector<Text> paths;
  for (std::size_t end; (end = message.find(L'\0')) != std::wstring_view::npos; message.remove_prefix(end + 1))
    paths.push_back(fromWide(message.substr(0, end)));
  return paths;
}

/// A top-level window that never shows: the one that users see belongs to the toolkit, which names its class itself.
class FoundWindow final : public RunningInstance {
 public:
  explicit FoundWindow(Receiver receiver) : receiver_(std::move(receiver)) {}
  ~FoundWindow() override {
    if (window_) DestroyWindow(window_);
    UnregisterClassW(windowClass, GetModuleHandleW(nullptr));
  }

  bool create(TextView title) {
    WNDCLASSEXW facts{};
    facts.cbSize = sizeof facts;
    facts.lpfnWndProc = handle;
    facts.hInstance = GetModuleHandleW(nullptr);
    facts.hbrBackground = CreateSolidBrush(0xF0F0F0);
    facts.lpszClassName = windowClass;
    if (!RegisterClassExW(&facts)) return failBySystem(u"RegisterClassEx failed");
    window_ = CreateWindowExW(0, windowClass, toWide(title).c_str(), WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr,
                              facts.hInstance, this);
    return window_ || failBySystem(u"CreateWindow failed");
  }
  void setTitle(TextView title) override { SetWindowTextW(window_, toWide(title).c_str()); }

 private:
  static LRESULT CALLBACK handle(HWND window, UINT message, WPARAM word, LPARAM data) {
    if (message == WM_NCCREATE) {
      const auto* made = reinterpret_cast<const CREATESTRUCTW*>(data);
      SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(made->lpCreateParams));
    }
    auto* self = reinterpret_cast<FoundWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_COPYDATA && self) return self->take(*reinterpret_cast<const COPYDATASTRUCT*>(data));
    return DefWindowProcW(window, message, word, data);
  }
  LRESULT take(const COPYDATASTRUCT& sent) {
    if (sent.dwData != filesMessage) return FALSE;
    receiver_(pathsIn({static_cast<const wchar_t*>(sent.lpData), sent.cbData / sizeof(wchar_t)}));
    return TRUE;
  }

  Receiver receiver_;
  HWND window_ = nullptr;
};

HWND findOther() {
  HWND window = nullptr;
  while ((window = FindWindowExW(nullptr, window, windowClass, nullptr))) {
    wchar_t title[longestTitle + 1] = {};
    const int length = GetWindowTextW(window, title, longestTitle + 1);
    if (std::wstring_view(title, static_cast<std::size_t>(length)).find(product) != std::wstring_view::npos)
      return window;
  }
  return nullptr;
}

}  // namespace

std::unique_ptr<RunningInstance> RunningInstance::announce(TextView title, Receiver receiver) {
  auto window = std::make_unique<FoundWindow>(std::move(receiver));
  if (!window->create(title)) return nullptr;
  return window;
}

bool handOver(const std::vector<Text>& paths) {
  const HWND other = findOther();
  if (!other) return false;
  std::wstring message;
  for (const Text& path : paths) message.append(toWide(path)).push_back(L'\0');
  DWORD process = 0;
  GetWindowThreadProcessId(other, &process);
  // Only who is in the foreground may pass that on.
  AllowSetForegroundWindow(process);
  COPYDATASTRUCT sent{filesMessage, static_cast<DWORD>(message.size() * sizeof(wchar_t)), message.data()};
  DWORD_PTR answer = FALSE;
  return SendMessageTimeoutW(other, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&sent), SMTO_ABORTIFHUNG, patience,
                             &answer) &&
         answer == TRUE;
}

}  // namespace tervo::platform
