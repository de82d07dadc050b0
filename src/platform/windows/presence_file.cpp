#include "platform/file.h"
#include "platform/path.h"
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

std::vector<Text> namesIn(TextView folder) {
  std::vector<Text> names;
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(nativePath(join(folder, u"*")).c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    const std::wstring_view name = entry.cFileName;
    if (name != L"." && name != L"..") names.push_back(fromWide(name));
  } while (FindNextFileW(search, &entry));
  FindClose(search);
  return names;
}

}  // namespace tervo::platform
