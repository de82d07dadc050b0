#pragma once
// A file handle that closes itself.

#include <windows.h>

#include <utility>

namespace tervo::platform {

class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE value) : value_(value) {}
  Handle(Handle&& other) noexcept : value_(std::exchange(other.value_, INVALID_HANDLE_VALUE)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Handle() {
    if (*this) CloseHandle(value_);
  }

  HANDLE get() const { return value_; }
  explicit operator bool() const { return value_ != INVALID_HANDLE_VALUE && value_ != nullptr; }

 private:
  HANDLE value_ = INVALID_HANDLE_VALUE;
};

/// For positional reads and writes on a handle that was not opened for overlapped ones: the call waits all the same.
inline OVERLAPPED atOffset(unsigned long long offset) {
  OVERLAPPED position{};
  position.Offset = static_cast<DWORD>(offset);
  position.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return position;
}

inline constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace tervo::platform
