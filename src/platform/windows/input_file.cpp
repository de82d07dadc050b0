#include <algorithm>

#include "platform/file.h"
#include "platform/system_error.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

// ReadFile counts in 32 bits.
constexpr std::size_t mostAtOnce = 1u << 30;

class WindowsInputFile final : public InputFile {
 public:
  WindowsInputFile(Handle file, uint64_t size) : file_(std::move(file)), size_(size) {}

  uint64_t size() const override { return size_; }

  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override {
    if (offset >= size_) return 0;
    out = out.first(static_cast<std::size_t>(std::min<uint64_t>(out.size(), size_ - offset)));
    std::size_t done = 0;
    while (done < out.size()) {
      const auto count = static_cast<DWORD>(std::min(out.size() - done, mostAtOnce));
      OVERLAPPED position = atOffset(offset + done);
      DWORD got = 0;
      const bool read = ReadFile(file_.get(), out.data() + done, count, &got, &position);
      if (!read || got == 0) {
        noteSystemError(read || GetLastError() == ERROR_HANDLE_EOF ? 0 : static_cast<int>(GetLastError()));
        break;
      }
      done += got;
    }
    return done;
  }

 private:
  Handle file_;
  uint64_t size_;
};

}  // namespace

std::shared_ptr<InputFile> InputFile::open(TextView path) {
  // A folder is refused because the flag that opens one is not given.
  Handle file(CreateFileW(nativePath(path).c_str(), GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!file) return failBySystem(u"Could not open file");
  LARGE_INTEGER size{};
  if (GetFileType(file.get()) == FILE_TYPE_DISK && !GetFileSizeEx(file.get(), &size))
    return failBySystem(u"Could not open file");
  noteSystemError(0);
  return std::make_shared<WindowsInputFile>(std::move(file), static_cast<uint64_t>(size.QuadPart));
}

}  // namespace tervo::platform
