#pragma once
// Inside platform/: a device without hardware: a thread that takes one buffer after another from the client.

#include <atomic>
#include <thread>

#include "platform/audio_backends.h"

namespace tervo::platform {

class PulledDevice : public AudioDevice {
 public:
  bool start(std::shared_ptr<AudioClient> client) override;
  bool finish() override;
  bool isLost() const override { return lost_; }
  bool keepsTime() const override { return pace_ == AudioPace::asItSounds; }

 protected:
  PulledDevice(const AudioRequest& request, AudioCoding coding);
  /// For the destructors of those that derive: deliver() must not be called any more.
  void stop();
  /// Takes the frames that sound; false when it cannot.
  virtual bool deliver(std::span<const std::byte> frames) = 0;

 private:
  void run();

  AudioPace pace_;
  std::shared_ptr<AudioClient> client_;
  std::atomic<bool> stopping_{false};
  std::atomic<bool> lost_{false};
  int lostBy_ = 0;  ///< the system's error number, written before `lost_`
  std::thread thread_;
};

}  // namespace tervo::platform
