#include "platform/file.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

class HeldFile final : public PresenceFile {
 public:
  explicit HeldFile(Handle file) : file_(std::move(file)) {}

 private:
  Handle file_;
};

}  // namespace

std::unique_ptr<PresenceFile> PresenceFile::tryHold(TextView path) {
  Handle file(CreateFileW(nativePath(path).c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE,
                          nullptr));
  if (!file) return nullptr;
  return std::make_unique<HeldFile>(std::move(file));
}

}  // namespace tervo::platform
