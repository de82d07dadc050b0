#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

#include "base/last_error.h"
#include "platform/system_error.h"
#include "platform/unbuffered_file.h"

namespace tervo::platform {
namespace {

constexpr std::size_t bufferSize = std::size_t{256} << 10;
constexpr std::size_t copiedAlone = std::size_t{32} << 10;  // from where on the system copies faster than we do

class BufferedFile final : public OutputFile {
 public:
  explicit BufferedFile(std::unique_ptr<UnbufferedFile> file) : file_(std::move(file)) {}

  bool write(std::span<const std::byte> bytes) override;
  bool patch(uint64_t offset, std::span<const std::byte> bytes) override;
  uint64_t position() const override { return flushed_ + used_; }
  bool writeFrom(const ByteSource& source, uint64_t offset, uint64_t length) override;
  bool commit() override;

 private:
  bool usable() const;
  bool flush();
  bool keep(bool succeeded);

  std::unique_ptr<UnbufferedFile> file_;
  // Not cleared: what is copied from other files is read into it.
  std::unique_ptr<std::byte[]> buffer_ = std::make_unique_for_overwrite<std::byte[]>(bufferSize);
  std::size_t used_ = 0;
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
  if (used_ == 0) return true;
  if (!keep(file_->writeAt(flushed_, std::span(buffer_.get(), used_)))) return false;
  flushed_ += used_;
  used_ = 0;
  return true;
}

bool BufferedFile::write(std::span<const std::byte> bytes) {
  if (!usable()) return false;
  if (bytes.size() > bufferSize - used_ && !flush()) return false;
  if (bytes.size() < bufferSize) {
    std::copy(bytes.begin(), bytes.end(), buffer_.get() + used_);
    used_ += bytes.size();
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
    std::memcpy(buffer_.get() + (offset + before - flushed_), rest.data(), rest.size());
  }
  return true;
}

bool BufferedFile::writeFrom(const ByteSource& source, uint64_t offset, uint64_t length) {
  if (!usable()) return false;
  if (length >= copiedAlone) {
    if (!flush()) return false;
    const uint64_t copied = file_->copyFrom(source, offset, flushed_, length);
    flushed_ += copied;
    offset += copied;
    length -= copied;
  }
  while (length > 0) {
    if (used_ == bufferSize && !flush()) return false;
    const std::span part(buffer_.get() + used_,
                         static_cast<std::size_t>(std::min<uint64_t>(length, bufferSize - used_)));
    if (!keep(source.readExactly(offset, part))) return false;
    used_ += part.size();
    offset += part.size();
    length -= part.size();
  }
  return true;
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
