#include "platform/scratch_file.h"

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

  uint64_t size() const override { return size_; }

  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override {
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

  bool append(std::span<const std::byte> bytes) override {
    while (!bytes.empty()) {
      OVERLAPPED position = atOffset(size_);
      DWORD put = 0;
      const auto count = static_cast<DWORD>(std::min(bytes.size(), mostAtOnce));
      if (!WriteFile(file_.get(), bytes.data(), count, &put, &position) || put == 0)
        return failBySystem(u"Writing to file failed");
      size_ += put;
      bytes = bytes.subspan(put);
    }
    return true;
  }

 private:
  Handle file_;
  uint64_t size_ = 0;
};

}  // namespace

std::shared_ptr<ScratchFile> ScratchFile::create() {
  const Text path = join(temporaryFolder(), temporaryName());
  Handle file(CreateFileW(nativePath(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                          FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  if (!file) return failBySystem(u"Could not open file");
  return std::make_shared<WindowsScratchFile>(std::move(file));
}

}  // namespace tervo::platform
