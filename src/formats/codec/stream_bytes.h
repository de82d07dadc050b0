#pragma once
// A stretch of a source as the byte streams that codec libraries want to read: a position, reads in front of it, and
// failures that wait until the library has returned.

#include <algorithm>
#include <memory>
#include <vector>

#include "base/last_error.h"
#include "core/sample_data.h"

namespace tervo {

class StreamBytes {
 public:
  explicit StreamBytes(const StoredSamples& stored)
      : source_(stored.source), offset_(stored.offset), size_(stored.bytes) {}

  uint64_t size() const { return size_; }
  uint64_t position() const { return position_; }
  /// True, with LastErrorText, when the source failed; nothing can be read from then on.
  bool hasFailed() const {
    if (failed_) setLastErrorText(u"Reading from file failed");
    return failed_;
  }

  bool seek(uint64_t position) noexcept {
    if (position > size_) return false;
    position_ = position;
    return true;
  }

  /// Fills as much of `out` as there is.
  std::size_t read(std::span<std::byte> out) noexcept {
    std::size_t done = 0;
    while (done < out.size() && position_ < size_ && !failed_) {
      if (position_ < bufferAt_ || position_ >= bufferAt_ + buffered_) fill();
      if (failed_) break;
      const auto skipped = static_cast<std::size_t>(position_ - bufferAt_);
      const std::size_t count = std::min(out.size() - done, buffered_ - skipped);
      std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(skipped), count,
                  out.begin() + static_cast<std::ptrdiff_t>(done));
      position_ += count;
      done += count;
    }
    return done;
  }

 private:
  void fill() noexcept {
    bufferAt_ = position_;
    buffered_ = static_cast<std::size_t>(std::min<uint64_t>(buffer_.size(), size_ - position_));
    failed_ = source_->readAt(offset_ + position_, std::span(buffer_).first(buffered_)) != buffered_;
  }

  std::shared_ptr<const ByteSource> source_;
  uint64_t offset_, size_, position_ = 0, bufferAt_ = 0;
  std::size_t buffered_ = 0;
  std::vector<std::byte> buffer_ = std::vector<std::byte>(32 * 1024);
  bool failed_ = false;
};

}  // namespace tervo
