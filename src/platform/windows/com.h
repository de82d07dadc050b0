#pragma once
// Inside platform/windows/: references to COM objects, and the component model for as long as a thread needs it.

#include <windows.h>

#include <objbase.h>

#include <utility>

namespace tervo::platform {

template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }
  ~ComPtr() { reset(); }

  Interface* operator->() const { return pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }
  Interface* get() const { return pointer_; }
  void reset() {
    if (pointer_) std::exchange(pointer_, nullptr)->Release();
  }
  /// For functions that give an object.
  Interface** put() {
    reset();
    return &pointer_;
  }
  void** putAny() { return reinterpret_cast<void**>(put()); }

 private:
  Interface* pointer_ = nullptr;
};

/// The component model on this thread. A thread that has it already, in whatever form, keeps that.
class ComThread {
 public:
  ComThread() : owned_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
  ~ComThread() {
    if (owned_) CoUninitialize();
  }
  ComThread(const ComThread&) = delete;
  ComThread& operator=(const ComThread&) = delete;

 private:
  bool owned_;
};

}  // namespace tervo::platform
