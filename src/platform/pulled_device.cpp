#include "platform/pulled_device.h"

#include <chrono>
#include <optional>

#include "base/last_error.h"
#include "platform/system_error.h"

namespace tervo::platform {
namespace {

constexpr uint32_t usualRate = 48000;

class NullDevice final : public PulledDevice {
 public:
  explicit NullDevice(const AudioRequest& request) : PulledDevice(request, AudioCoding::float32) {}
  ~NullDevice() override { stop(); }

 private:
  bool deliver(std::span<const std::byte>) override { return true; }
};

}  // namespace

PulledDevice::PulledDevice(const AudioRequest& request, AudioCoding coding) : pace_(request.pace) {
  format_.sampleRate = request.sampleRate ? request.sampleRate : usualRate;
  format_.channels = request.channels > 0 ? request.channels : 2;
  format_.coding = request.coding.value_or(coding);
  format_.bytesPerSample = bytesOf(format_.coding);
  bufferFrames_ = framesOf(request.bufferSeconds, format_.sampleRate);
}

bool PulledDevice::start(std::shared_ptr<AudioClient> client) {
  client_ = std::move(client);
  return startThread(thread_, [this] { run(); }) || fail(u"Could not start a thread");
}

void PulledDevice::stop() {
  stopping_ = true;
  if (thread_.joinable()) thread_.join();
}

bool PulledDevice::finish() {
  stop();
  return !lost_ || failBySystem(u"Writing to file failed", lostBy_);
}

void PulledDevice::run() {
  using Clock = std::chrono::steady_clock;
  const bool isPaced = keepsTime();
  // A thread that never sleeps must not come before all others.
  std::optional<AudioThreadScope> scope;
  if (isPaced) scope.emplace();
  const std::chrono::duration<double> length(1.0 * bufferFrames_ / format_.sampleRate);
  std::vector<std::byte> buffer(bufferFrames_ * format_.bytesPerFrame());
  auto next = Clock::now();
  while (!stopping_) {
    const std::size_t frames = client_->fill(buffer);
    if (frames > 0 && !deliver(std::span(buffer).first(frames * format_.bytesPerFrame()))) {
      lostBy_ = notedSystemError();
      lost_ = true;
      return;
    }
    if (isPaced) {
      next += std::chrono::duration_cast<Clock::duration>(length);
      std::this_thread::sleep_until(next);
    } else if (frames == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
}

std::unique_ptr<AudioDevice> openNullDevice(const AudioRequest& request) {
  AudioRequest paced = request;
  paced.pace = AudioPace::asItSounds;
  return std::make_unique<NullDevice>(paced);
}

}  // namespace tervo::platform
