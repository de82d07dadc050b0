#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "base/last_error.h"
#include "platform/system_error.h"
#include "platform/unbuffered_file.h"

namespace tervo::platform {
namespace {

constexpr std::size_t bufferSize = std::size_t{256} << 10;

class BufferedFile final : public OutputFile {
 public:
  explicit BufferedFile(std::unique_ptr<UnbufferedFile> file) : file_(std::move(file)) { buffer_.reserve(bufferSize); }

  bool write(std::span<const std::byte> bytes) override;
  bool patch(uint64_t offset, std::span<const std::byte> bytes) override;
  uint64_t position() const override { return flushed_ + buffer_.size(); }
  bool writeFrom(const ByteSource& source, uint64_t offset, uint64_t length) override;
  bool commit() override;

 private:
  bool usable() const;
  bool flush();
  bool keep(bool succeeded);

  std::unique_ptr<UnbufferedFile> file_;
  std::vector<std::byte> buffer_;
  uint64_t flushed_ = 0;
  bool ok_ = true;
};

bool BufferedFile::usable() const {
  if (ok_ && file_) return true;
  return fail(u"Writing to file failed");
}

bool BufferedFile::keep(bool succeeded) {
  ok_ = ok_ && succeeded;
  return succeeded;
}

bool BufferedFile::flush() {
  if (buffer_.empty()) return true;
  if (!keep(file_->writeAt(flushed_, buffer_))) return false;
  flushed_ += buffer_.size();
  buffer_.clear();
  return true;
}

bool BufferedFile::write(std::span<const std::byte> bytes) {
  if (!usable()) return false;
  if (bytes.size() > bufferSize - buffer_.size() && !flush()) return false;
  if (bytes.size() < bufferSize) {
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    return true;
  }
  if (!keep(file_->writeAt(flushed_, bytes))) return false;
  flushed_ += bytes.size();
  return true;
}

bool BufferedFile::patch(uint64_t offset, std::span<const std::byte> bytes) {
  if (!usable()) return false;
  if (offset > position() || bytes.size() > position() - offset) return keep(fail(u"Writing to file failed"));
  const std::size_t before =
      offset < flushed_ ? static_cast<std::size_t>(std::min<uint64_t>(flushed_ - offset, bytes.size())) : 0;
  if (before > 0 && !keep(file_->writeAt(offset, bytes.first(before)))) return false;
  if (const auto rest = bytes.subspan(before); !rest.empty()) {
    std::memcpy(buffer_.data() + (offset + before - flushed_), rest.data(), rest.size());
  }
  return true;
}

bool BufferedFile::writeFrom(const ByteSource& source, uint64_t offset, uint64_t length) {
  if (!usable()) return false;
  if (length >= bufferSize) {
    if (!flush()) return false;
    const uint64_t copied = file_->copyFrom(source, offset, flushed_, length);
    flushed_ += copied;
    offset += copied;
    length -= copied;
  }
  return keep(ByteSink::writeFrom(source, offset, length));
}

bool BufferedFile::commit() {
  if (!usable() || !flush() || !keep(file_->putInPlace())) return false;
  file_.reset();
  return true;
}

}  // namespace

std::unique_ptr<OutputFile> OutputFile::create(TextView target, Replace replace) {
  auto file = createUnbuffered(target, replace);
  if (!file) return nullptr;
  noteSystemError(0);
  return std::make_unique<BufferedFile>(std::move(file));
}

Text temporaryName() {
  std::random_device random;
  Text name = u".tervo-";
  for (int i = 0; i < 2; ++i) {
    const uint32_t bits = random();
    for (int shift = 28; shift >= 0; shift -= 4) name.push_back(u"0123456789abcdef"[(bits >> shift) & 0xF]);
  }
  return name;
}

bool sameFile(TextView pathA, TextView pathB) {
  const auto identity = fileIdentity(pathA);
  return identity && identity == fileIdentity(pathB);
}

}  // namespace tervo::platform
