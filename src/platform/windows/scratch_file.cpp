#include "platform/scratch_file.h"

#include <windows.h>

#include <winioctl.h>

#include <algorithm>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/system_error.h"
#include "platform/user_folders.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

constexpr std::size_t mostAtOnce = 1u << 30;  // ReadFile and WriteFile count in 32 bits

class WindowsScratchFile final : public ScratchFile {
 public:
  explicit WindowsScratchFile(Handle file) : file_(std::move(file)) {}

  std::size_t readWritten(uint64_t offset, std::span<std::byte> out) const noexcept override {
    std::size_t done = 0;
    while (done < out.size()) {
      OVERLAPPED position = atOffset(offset + done);
      DWORD got = 0;
      const auto count = static_cast<DWORD>(std::min(out.size() - done, mostAtOnce));
      if (!ReadFile(file_.get(), out.data() + done, count, &got, &position) || got == 0) break;
      done += got;
    }
    return done;
  }

  bool writeAt(uint64_t offset, std::span<const std::byte> bytes) override {
    while (!bytes.empty()) {
      OVERLAPPED position = atOffset(offset);
      DWORD put = 0;
      const auto count = static_cast<DWORD>(std::min(bytes.size(), mostAtOnce));
      if (!WriteFile(file_.get(), bytes.data(), count, &put, &position) || put == 0)
        return failBySystem(u"Writing to file failed", temporaryFolder());
      offset += put;
      bytes = bytes.subspan(put);
    }
    return true;
  }

 private:
  Handle file_;
};

}  // namespace

std::shared_ptr<ScratchFile> ScratchFile::create() {
  const Text path = join(temporaryFolder(), temporaryName());
  Handle file(CreateFileW(nativePath(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                          FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  if (!file) return failBySystem(u"Could not open file", temporaryFolder());
  // Where the volume cannot leave holes, they are zeros.
  DWORD unused = 0;
  DeviceIoControl(file.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr);
  return std::make_shared<WindowsScratchFile>(std::move(file));
}

}  // namespace tervo::platform
