#pragma once
// Devices that a test turns by hand, and sources that play what it says.

#include <gtest/gtest.h>

#include <cstring>

#include "audio/output/audio_output.h"
#include "base/last_error.h"

namespace tervo::test {

/// Asks for a buffer when the test does.
class HandDevice final : public platform::AudioDevice {
 public:
  HandDevice(platform::AudioFormat format, uint32_t frames) {
    format_ = format;
    bufferFrames_ = frames;
  }
  bool start(std::shared_ptr<platform::AudioClient> client) override {
    client_ = std::move(client);
    return true;
  }
  bool finish() override { return true; }
  bool isLost() const override { return lost; }

  std::vector<float> turn() {
    std::vector<float> frames(bufferFrames_ * static_cast<std::size_t>(format_.channels));
    sounding = client_->fill(std::as_writable_bytes(std::span(frames)));
    return frames;
  }

  bool lost = false;
  std::size_t sounding = 0;

 private:
  std::shared_ptr<platform::AudioClient> client_;
};

/// Plays these stereo frames once.
class FrameSource final : public audio::AudioSource {
 public:
  explicit FrameSource(std::vector<float> stereo) : stereo_(std::move(stereo)) {}
  std::size_t render(std::span<float> out) noexcept override {
    const std::size_t count = std::min(out.size(), stereo_.size() - at_);
    std::memcpy(out.data(), stereo_.data() + at_, count * sizeof(float));
    at_ += count;
    return count / 2;
  }
  bool isFinished() const noexcept override { return at_ == stereo_.size(); }

 private:
  std::vector<float> stereo_;
  std::size_t at_ = 0;
};

}  // namespace tervo::test
